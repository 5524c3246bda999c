// docs/api/wht.md: the buffer-size table is what the library's own size
// queries answer.
#include "forms.h"
#include "pages.h"
#include "qvngen.h"

namespace apidoc {

BuiltPage WhtPage(Sources& s) {
    Page page("wht.md", "Walsh–Hadamard transform");
    page.Text("The Walsh–Hadamard transform of 2^k real values in natural order, orders k = 1..13 (2 to 8192 "
              "points), single (`32f`) and double (`64f`) precision. Orders 8 and up pass their data through a "
              "work buffer.");
    HeaderExcerpt(page, s.header, "Walsh-Hadamard");

#define APIDOC_WHT(P, T)                                                                                  \
    APIDOC_FORM(Status, qvngWHT_1_##P, "qvngWHT_<k>_" #P, (const T* src, T* dst, ScaleFlag flag, uint8_t* buffer)), \
        APIDOC_FORM(Status, qvngWHT_##P, "qvngWHT_" #P,                                                   \
                    (const T* src, T* dst, int32_t order, ScaleFlag flag, uint8_t* buffer)),              \
        APIDOC_FORM(Status, qvngWHTGetBufferSize_##P, "qvngWHTGetBufferSize_" #P, (int32_t order, int32_t* size))
    const std::size_t count = EntriesSection(page, s.manifest, {APIDOC_WHT(32f, float), APIDOC_WHT(64f, double)},
                                             "order k");
#undef APIDOC_WHT

    static float in[8], out[8];
    static int32_t size;
    const Check null{"`src` or `dst` is null", kStatusNullPointer};
    const Check flag{"`flag` is not 1, 2, 4 or 8", kStatusBadFlag};
    const Check order{"`order` is outside 1..13", kStatusBadSize};
    ChecksSection(
        page, s.header,
        {{"Fixed-order entries",
          {null, flag},
          [](unsigned f) { return qvngWHT_3_32f(f & 1 ? nullptr : in, out, f & 2 ? 3 : kScaleNone, nullptr); }},
         {"Entries with the order as an argument",
          {null, flag, order},
          [](unsigned f) {
              return qvngWHT_32f(in, f & 1 ? nullptr : out, f & 4 ? 0 : 3, f & 2 ? 16 : kScaleNone, nullptr);
          }},
         {"Buffer-size queries",
          {order},
          [](unsigned f) { return qvngWHTGetBufferSize_32f(f & 1 ? 14 : 3, &size); }}},
        "Before these checks, most orders choose between a body for 16-byte aligned `src` and `dst` and one "
        "for any other address; misalignment is never an error. The buffer and the size "
        "pointer are never tested: a null buffer makes the call allocate one, and a null size pointer is "
        "not allowed.");
    ScaleSection(page, {{"s", qvn::Direction::kSelfInverse}}, "2^k");

    std::vector<std::vector<std::string>> rows;
    for (int k = 1; k <= 13; ++k) {
        int32_t single = -1, dbl = -1;
        if (qvngWHTGetBufferSize_32f(k, &single) != kStatusOk || qvngWHTGetBufferSize_64f(k, &dbl) != kStatusOk)
            throw std::runtime_error("qvngWHTGetBufferSize failed for order " + std::to_string(k));
        rows.push_back({std::to_string(k), std::to_string(1 << k), std::to_string(single), std::to_string(dbl)});
    }
    page.Heading("Work buffer sizes");
    page.Text("Bytes of the buffer `qvngWHTGetBufferSize_32f` and `_64f` report, and the entries allocate for "
              "themselves when given a null buffer. The buffer must be 16-byte aligned (`qvnMalloc` blocks are).");
    page.Table({"order k", "points", "`32f` bytes", "`64f` bytes"}, rows);
    page.Code("c",
              "int32_t bytes;\n"
              "qvngWHTGetBufferSize_32f(10, &bytes);         /* " + rows[9][2] + " */\n"
              "uint8_t* work = qvnMalloc(bytes);\n"
              "qvngWHT_10_32f(x, y, kScaleNone, work);       /* any number of calls */\n"
              "qvnFree(work);\n");
    return {page, {page.file(), "Walsh–Hadamard transform", count}};
}

}  // namespace apidoc
