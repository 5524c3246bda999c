// docs/api/real-dft.md: forward real DFT into the packed layouts and the
// inverse from them. The layout tables come from frame/packed_layout.h and
// the worked example from the library itself.
#include <cmath>
#include <string>
#include <vector>

#include "forms.h"
#include "frame/packed_layout.h"
#include "header_text.h"
#include "pages.h"
#include "qvngen.h"

namespace apidoc {
namespace {

using qvn::Layout;
constexpr Layout kLayouts[] = {Layout::kCCS, Layout::kPack, Layout::kPerm};

// What each element of a layout holds for N points: "Re k", "Im k", or
// "Im k = 0" for the places CCS keeps for the zero imaginary parts.
std::vector<std::string> Contents(Layout l, int n) {
    std::vector<std::string> out(qvn::PackedCount(l, n));
    for (int k = 0; k <= n / 2; ++k) {
        out.at(qvn::ReAt(l, n, k)) = "Re " + std::to_string(k);
        if (const int im = qvn::ImAt(l, n, k); im >= 0)
            out.at(im) = "Im " + std::to_string(k) + (qvn::ImagIsZero(n, k) ? " = 0" : "");
    }
    for (const std::string& c : out)
        if (c.empty()) throw std::runtime_error(std::string(qvn::LayoutName(l)) + " leaves an element unused");
    return out;
}

std::string Join(const std::vector<std::string>& items) {
    std::string out;
    for (const std::string& i : items) out += (out.empty() ? "" : ", ") + i;
    return out;
}

using RealEntry = Status(QVN_API*)(const double*, double*, ScaleFlag);

void LayoutSection(Page& page, const std::string& layoutHeader) {
    page.Heading("Packed layouts");
    page.Text("A real signal's spectrum is conjugate-symmetric, X[N−k] = conj(X[k]), so the forward entries "
              "keep bins k = 0..N/2 (rounded down) and the inverse entries read them back, in one of three "
              "layouts. From `frame/packed_layout.h`, the description the kernels are generated from:");
    page.Code("text", LineCommentFrom(layoutHeader, "For N points"));

    std::vector<std::vector<std::string>> rows;
    for (int n : {4, 5})
        for (Layout l : kLayouts) {
            const std::vector<std::string> c = Contents(l, n);
            rows.push_back({std::to_string(n), qvn::LayoutName(l), std::to_string(c.size()), Join(c)});
        }
    page.Text("Element by element, for an even and an odd length:");
    page.Table({"N", "layout", "elements", "contents, element 0 first"}, rows);

    // The worked example runs the library's own entries.
    const double x[4] = {1, 2, 3, 4};
    const RealEntry forward[] = {qvngDFTFwd_RToCCS_4_64f, qvngDFTFwd_RToPack_4_64f, qvngDFTFwd_RToPerm_4_64f};
    const RealEntry inverse[] = {qvngDFTInv_CCSToR_4_64f, qvngDFTInv_PackToR_4_64f, qvngDFTInv_PermToR_4_64f};
    std::vector<std::vector<std::string>> example;
    for (int i = 0; i < 3; ++i) {
        double spectrum[6], back[4];
        if (forward[i](x, spectrum, kScaleNone) != kStatusOk || inverse[i](spectrum, back, kScaleInvByN) != kStatusOk)
            throw std::runtime_error("the N = 4 real DFT entries failed");
        const std::vector<std::string> contents = Contents(kLayouts[i], 4);
        std::vector<std::string> values, samples;
        for (std::size_t e = 0; e < contents.size(); ++e) values.push_back(Num(spectrum[e]));
        for (double v : back) samples.push_back(Num(v));
        example.push_back({qvn::LayoutName(kLayouts[i]), Join(values), Join(contents), Join(samples)});
    }
    double ccs[6];
    qvngDFTFwd_RToCCS_4_64f(x, ccs, kScaleNone);
    std::string bins;
    for (int k = 0; k <= 2; ++k) {
        bins += (k ? ", X[" : "X[") + std::to_string(k) + "] = " + Num(ccs[2 * k]);
        if (ccs[2 * k + 1] != 0) bins += (ccs[2 * k + 1] < 0 ? " − " : " + ") + Num(std::abs(ccs[2 * k + 1])) + "i";
    }
    page.Text("Worked example, N = 4, x = (1, 2, 3, 4): the bins are " + bins +
              ". The forward entries with `kScaleNone` store, and the inverse entries with `kScaleInvByN` "
              "return from those arrays:");
    page.Table({"layout", "forward output", "holding", "inverse output"}, example);
}

}  // namespace

BuiltPage RealDftPage(Sources& s) {
    Page page("real-dft.md", "Real DFT");
    page.Text("Forward discrete Fourier transforms of N = 2..64 real samples into a packed half spectrum "
              "(`CCS`, `Pack` or `Perm`), and inverse transforms from each layout back to N real samples; "
              "single (`32f`, `float`) and double (`64f`, `double`) precision. There is no alignment "
              "condition: any element-aligned address works.");
    HeaderExcerpt(page, s.header, "Real-input DFT");

#define APIDOC_REAL(NAME, P, T)                                                                             \
    APIDOC_FORM(Status, qvngDFT##NAME##_2_##P, "qvngDFT" #NAME "_<N>_" #P, (const T* src, T* dst, ScaleFlag flag)), \
        APIDOC_FORM(Status, qvngDFT##NAME##_##P, "qvngDFT" #NAME "_" #P,                                    \
                    (const T* src, T* dst, int32_t n, ScaleFlag flag))
#define APIDOC_REAL_ALL(P, T)                                                                            \
    APIDOC_REAL(Fwd_RToCCS, P, T), APIDOC_REAL(Fwd_RToPack, P, T), APIDOC_REAL(Fwd_RToPerm, P, T),       \
        APIDOC_REAL(Inv_CCSToR, P, T), APIDOC_REAL(Inv_PackToR, P, T), APIDOC_REAL(Inv_PermToR, P, T)
    const std::size_t count =
        EntriesSection(page, s.manifest, {APIDOC_REAL_ALL(32f, float), APIDOC_REAL_ALL(64f, double)}, "N");
#undef APIDOC_REAL_ALL
#undef APIDOC_REAL
    page.Text("Element counts: a `CCS` array holds N + 2 elements for even N and N + 1 for odd N; `Pack` and "
              "`Perm` hold N. A forward entry writes exactly that many, an inverse entry writes N samples. "
              "`src` may equal `dst` when the array holds the larger count.");

    static double in[66], out[66];
    const Check null{"`src` or `dst` is null", kStatusNullPointer};
    const Check flag{"`flag` is not 1, 2, 4 or 8", kStatusBadFlag};
    const Check length{"`n` is outside 2..64", kStatusBadSize};
    ChecksSection(page, s.header,
                  {{"Fixed-length forward entries",
                    {null, flag},
                    [](unsigned f) { return qvngDFTFwd_RToPack_16_64f(f & 1 ? nullptr : in, out, f & 2 ? 3 : kScaleNone); }},
                   {"fixed-length inverse entries",
                    {null, flag},
                    [](unsigned f) { return qvngDFTInv_CCSToR_16_64f(in, f & 1 ? nullptr : out, f & 2 ? 16 : kScaleNone); }},
                   {"Entries with the length as an argument",
                    {null, flag, length},
                    [](unsigned f) {
                        return qvngDFTFwd_RToCCS_64f(f & 1 ? nullptr : in, out, f & 4 ? 1 : 16, f & 2 ? -1 : kScaleNone);
                    }}},
                  "");

    ScaleSection(page, {{"forward s", qvn::Direction::kForward}, {"inverse s", qvn::Direction::kInverse}}, "N");
    page.Text("Forward flag 1 with inverse flag 1, forward 2 or 8 with inverse 2, and 4 with 4 give back the "
              "input samples.");
    LayoutSection(page, s.layoutHeader);
    return {page, {page.file(), "Real DFT", count}};
}

}  // namespace apidoc
