// docs/api/dct4.md: the lifecycle of a specification, with the sizes and
// accepted lengths the library itself reports.
#include <vector>

#include "forms.h"
#include "pages.h"
#include "qvngen.h"

namespace apidoc {
namespace {

template <class Real>
struct Lifecycle {
    Status (*getSize)(int32_t, int32_t*);
    Status (*init)(DCT4Spec**, int32_t, uint8_t*);
};

// The lengths the precision accepts, as the library answers: the powers of
// two GetSize sizes, and up to 4096 the other lengths Init builds and those
// GetSize sizes but Init refuses.
template <class Real>
std::string AcceptedLengths(const char* precision, Lifecycle<Real> entries) {
    int32_t bytes;
    int largest = 0;
    for (int k = 1; k < 31; ++k)
        if (entries.getSize(1 << k, &bytes) == kStatusOk) largest = k;
    std::vector<uint8_t> block;
    std::string built, sizedOnly;
    for (int n = 1; n <= 4096; ++n) {
        if ((n & (n - 1)) == 0 || entries.getSize(n, &bytes) != kStatusOk) continue;
        block.assign(bytes, 0);
        DCT4Spec* spec;
        std::string& list = entries.init(&spec, n, block.data()) == kStatusOk ? built : sizedOnly;
        list += (list.empty() ? "" : ", ") + std::to_string(n);
    }
    std::string text = std::string("In ") + precision + ": the powers of two 2, 4, 8, .., 2^" + std::to_string(largest);
    if (!built.empty()) text += "; of the other lengths up to 4096, " + built;
    if (!sizedOnly.empty()) text += ". GetSize also gives a size for " + sizedOnly + ", which Init refuses";
    return text + ".";
}

}  // namespace

BuiltPage Dct4Page(Sources& s) {
    Page page("dct4.md", "Type-IV DCT");
    page.Text("The type-IV discrete cosine transform, the one planned family: a specification is built once "
              "for a length and precision, then used for any number of transforms, then released.");
    HeaderExcerpt(page, s.header, "Type-IV DCT");

#define APIDOC_DCT4(P, T)                                                                                      \
    APIDOC_FORM(Status, qvngDCT4GetSize_##P, "qvngDCT4GetSize_" #P, (int32_t n, int32_t* size)),                \
        APIDOC_FORM(Status, qvngDCT4Init_##P, "qvngDCT4Init_" #P, (DCT4Spec** spec, int32_t n, uint8_t* block)), \
        APIDOC_FORM(Status, qvngDCT4InitAlloc_##P, "qvngDCT4InitAlloc_" #P, (DCT4Spec** spec, int32_t n)),      \
        APIDOC_FORM(Status, qvngDCT4Free_##P, "qvngDCT4Free_" #P, (DCT4Spec* spec)),                            \
        APIDOC_FORM(Status, qvngDCT4_##P, "qvngDCT4_" #P, (const T* src, T* dst, DCT4Spec* spec))
    const std::size_t count = EntriesSection(page, s.manifest, {APIDOC_DCT4(32f, float), APIDOC_DCT4(64f, double)}, "");
#undef APIDOC_DCT4

    page.Heading("Lifecycle");
    page.Text("1. `qvngDCT4GetSize_32f(n, &bytes)` gives the size of the block a specification of length n "
              "needs.\n"
              "2. `qvngDCT4Init_32f(&spec, n, block)` builds the specification inside the caller's block of that "
              "size (any alignment; nothing outside it is touched). Or `qvngDCT4InitAlloc_32f(&spec, n)` does "
              "both steps with a block from `qvnMalloc`.\n"
              "3. `qvngDCT4_32f(src, dst, spec)` transforms, as often as needed. It writes the specification's "
              "work area, so concurrent transforms need a specification each; `src` and `dst` must not overlap.\n"
              "4. `qvngDCT4Free_32f(spec)` releases a specification from InitAlloc. One built by Init in the "
              "caller's block is released by releasing the block; it must not be given to Free.\n\n"
              "The `_64f` entries work the same way with `double` elements; a specification serves only the "
              "precision it was built for.");

    int32_t bytes32 = 0, bytes64 = 0;
    std::vector<std::vector<std::string>> sizes;
    for (int n : {2, 32, 64, 256, 1024, 4096, 65536}) {
        if (qvngDCT4GetSize_32f(n, &bytes32) != kStatusOk || qvngDCT4GetSize_64f(n, &bytes64) != kStatusOk)
            throw std::runtime_error("qvngDCT4GetSize failed for " + std::to_string(n));
        sizes.push_back({std::to_string(n), std::to_string(bytes32), std::to_string(bytes64)});
    }
    int32_t bytes1024 = 0;
    qvngDCT4GetSize_32f(1024, &bytes1024);
    page.Text("Sizing example, as the library reports it: a single-precision specification of 1024 points "
              "takes " + std::to_string(bytes1024) + " bytes.");
    page.Code("c",
              "int32_t bytes;\n"
              "DCT4Spec* spec;\n"
              "qvngDCT4GetSize_32f(1024, &bytes);             /* bytes = " + std::to_string(bytes1024) + " */\n"
              "uint8_t* block = malloc(bytes);                /* any alignment */\n"
              "if (qvngDCT4Init_32f(&spec, 1024, block) == kStatusOk) {\n"
              "    qvngDCT4_32f(x, y, spec);                  /* y = DCT-IV of x, unscaled */\n"
              "    qvngDCT4_32f(y, x, spec);                  /* x times N/2 = 512 */\n"
              "}\n"
              "free(block);                                   /* no qvngDCT4Free_32f for a caller's block */\n");
    page.Table({"N", "`32f` bytes", "`64f` bytes"}, sizes);
    page.Text("Lengths Init and InitAlloc build a specification for, as the library answers; every other length "
              "gives `kStatusBadSize`.\n\n" +
              AcceptedLengths<float>("single precision", {qvngDCT4GetSize_32f, qvngDCT4Init_32f}) + "\n\n" +
              AcceptedLengths<double>("double precision", {qvngDCT4GetSize_64f, qvngDCT4Init_64f}));

    static float in[16], out[16];
    static uint8_t block[4096];
    static int32_t size;
    static DCT4Spec *spec32, *spec64;
    if (qvngDCT4InitAlloc_32f(&spec32, 16) != kStatusOk || qvngDCT4InitAlloc_64f(&spec64, 16) != kStatusOk)
        throw std::runtime_error("qvngDCT4InitAlloc failed");
    const Check null{"a pointer argument is null", kStatusNullPointer};
    const Check length{"`n` is not a length the planner accepts", kStatusBadSize};
    ChecksSection(
        page, s.header,
        {{"`qvngDCT4GetSize_*`", {length}, [](unsigned f) { return qvngDCT4GetSize_32f(f ? 24 : 16, &size); }},
         {"`qvngDCT4Init_*`",
          {null, length},
          [](unsigned f) {
              DCT4Spec* built;
              return qvngDCT4Init_32f(&built, f & 2 ? 24 : 16, f & 1 ? nullptr : block);
          }},
         {"`qvngDCT4InitAlloc_*`",
          {null, length},
          [](unsigned f) {
              DCT4Spec* built = nullptr;
              const Status st = qvngDCT4InitAlloc_32f(f & 1 ? nullptr : &built, f & 2 ? 24 : 16);
              if (built != nullptr) qvngDCT4Free_32f(built);
              return st;
          }},
         {"`qvngDCT4Free_*`",
          {null},
          [](unsigned f) -> Status {
              DCT4Spec* built = nullptr;
              if (f == 0 && qvngDCT4InitAlloc_32f(&built, 16) != kStatusOk) return kStatusBadSize;
              return qvngDCT4Free_32f(built);
          }},
         {"`qvngDCT4_*`",
          {null, {"the specification was built for the other precision, or its kind word is damaged",
                  kStatusBadSpec}},
          [](unsigned f) {
              return qvngDCT4_32f(in, f & 1 ? nullptr : out, f & 2 ? reinterpret_cast<DCT4Spec*>(spec64) : spec32);
          }}},
        "GetSize does not test its size pointer. Init tests the specification pointer and the block, "
        "InitAlloc the specification pointer, Free the specification, the transform the specification, "
        "`src` and `dst`.");
    qvngDCT4Free_32f(spec32);
    qvngDCT4Free_64f(spec64);
    return {page, {page.file(), "Type-IV DCT", count}};
}

}  // namespace apidoc
