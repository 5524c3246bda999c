// docs/api/hartley.md
#include "forms.h"
#include "pages.h"
#include "qvngen.h"

namespace apidoc {

BuiltPage HartleyPage(Sources& s) {
    Page page("hartley.md", "Discrete Hartley transform");
    page.Text("The discrete Hartley transform of N = 2..64 real samples into N real values in natural order, "
              "single (`32f`) and double (`64f`) precision. It is its own inverse up to the factor 1/N, so one "
              "family serves both directions. There is no alignment condition.");
    HeaderExcerpt(page, s.header, "Discrete Hartley");

#define APIDOC_DHT(P, T)                                                                                    \
    APIDOC_FORM(Status, qvngHartley_2_##P, "qvngHartley_<N>_" #P, (const T* src, T* dst, ScaleFlag flag)), \
        APIDOC_FORM(Status, qvngHartley_##P, "qvngHartley_" #P, (const T* src, T* dst, int32_t n, ScaleFlag flag))
    const std::size_t count = EntriesSection(page, s.manifest, {APIDOC_DHT(32f, float), APIDOC_DHT(64f, double)}, "N");
#undef APIDOC_DHT

    static double in[64], out[64];
    const Check null{"`src` or `dst` is null", kStatusNullPointer};
    const Check flag{"`flag` is not 1, 2, 4 or 8", kStatusBadFlag};
    const Check length{"`n` is outside 2..64", kStatusBadSize};
    ChecksSection(page, s.header,
                  {{"Fixed-length entries",
                    {null, flag},
                    [](unsigned f) { return qvngHartley_12_64f(in, f & 1 ? nullptr : out, f & 2 ? 5 : kScaleNone); }},
                   {"Entries with the length as an argument",
                    {null, flag, length},
                    [](unsigned f) {
                        return qvngHartley_64f(f & 1 ? nullptr : in, out, f & 4 ? -1 : 12, f & 2 ? 0 : kScaleNone);
                    }}},
                  "`src` may equal `dst`.");
    ScaleSection(page, {{"s", qvn::Direction::kSelfInverse}}, "N");

    const double x[4] = {1, 2, 3, 4};
    double h[4];
    if (qvngHartley_4_64f(x, h, kScaleNone) != kStatusOk) throw std::runtime_error("qvngHartley_4_64f failed");
    page.Text("Worked example from the library: `qvngHartley_4_64f` with `kScaleNone` turns x = (1, 2, 3, 4) "
              "into H = (" + Num(h[0]) + ", " + Num(h[1]) + ", " + Num(h[2]) + ", " + Num(h[3]) +
              "); H[k] = Re X[k] − Im X[k] of the forward DFT on the real DFT page.");
    return {page, {page.file(), "Discrete Hartley transform", count}};
}

}  // namespace apidoc
