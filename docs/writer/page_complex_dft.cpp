// docs/api/complex-dft.md
#include "forms.h"
#include "pages.h"
#include "qvngen.h"

namespace apidoc {

BuiltPage ComplexDftPage(Sources& s) {
    Page page("complex-dft.md", "Complex DFT");
    page.Text("Forward and inverse discrete Fourier transforms of N = 2..64 complex values, single "
              "(`32fc`, `Complex32f`) and double (`64fc`, `Complex64f`) precision. Each length has its own "
              "entry with a straight-line kernel; the entries without a length in the name take it as an "
              "argument and forward to the fixed-length entry.");
    HeaderExcerpt(page, s.header, "Complex DFT");

#define APIDOC_CTOC(D, P, T)                                                                     \
    APIDOC_FORM(Status, qvngDFT##D##_CToC_2_##P, "qvngDFT" #D "_CToC_<N>_" #P,                    \
                (const T* src, T* dst, ScaleFlag flag)),                                          \
        APIDOC_FORM(Status, qvngDFT##D##_CToC_##P, "qvngDFT" #D "_CToC_" #P,                      \
                    (const T* src, T* dst, int32_t n, ScaleFlag flag))
    const std::size_t count = EntriesSection(page, s.manifest,
                                             {APIDOC_CTOC(Fwd, 32fc, Complex32f), APIDOC_CTOC(Inv, 32fc, Complex32f),
                                              APIDOC_CTOC(Fwd, 64fc, Complex64f), APIDOC_CTOC(Inv, 64fc, Complex64f)},
                                             "N");
#undef APIDOC_CTOC

    static Complex64f in[8], out[8];
    const Check null{"`src` or `dst` is null", kStatusNullPointer};
    const Check flag{"`flag` is not 1, 2, 4 or 8", kStatusBadFlag};
    const Check length{"`n` is outside 2..64", kStatusBadSize};
    ChecksSection(
        page, s.header,
        {{"Fixed-length entries",
          {null, flag},
          [](unsigned f) { return qvngDFTFwd_CToC_8_64fc(f & 1 ? nullptr : in, out, f & 2 ? 3 : kScaleNone); }},
         {"Entries with the length as an argument",
          {null, flag, length},
          [](unsigned f) {
              return qvngDFTInv_CToC_64fc(f & 1 ? nullptr : in, out, f & 4 ? 65 : 8, f & 2 ? 0 : kScaleNone);
          }}},
        "Before these checks, most entries choose between a body for 16-byte aligned `src` and `dst` and one "
        "for any other address; the two give bit-identical results, and misalignment is never an error. "
        "`src` may equal `dst`.");

    ScaleSection(page, {{"forward s", qvn::Direction::kForward}, {"inverse s", qvn::Direction::kInverse}}, "N");
    page.Text("So a forward and an inverse call with the same flag 1, 2 or 4 give back the input.");
    return {page, {page.file(), "Complex DFT", count}};
}

}  // namespace apidoc
