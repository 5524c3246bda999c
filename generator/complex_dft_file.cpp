#include "complex_dft_file.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "algorithms.h"
#include "emit.h"
#include "recipe.h"
#include "vector_shape.h"

namespace gen {
namespace {

const ComplexDftRow& RowFor(int n) {
    for (const auto& row : kComplexDftTable)
        if (row.n == n) return row;
    throw std::runtime_error("no recipe for length " + std::to_string(n));
}

}  // namespace

// Scale constants are computed in double precision exactly as 1.0 / N and
// 1.0 / sqrt(double(N)); single-precision kernels round them once to float.
std::string ScaleSetText(int n, ElemType type) {
    double inv_n = 1.0 / n, inv_sqrt = 1.0 / std::sqrt(static_cast<double>(n));
    return "{" + HexLiteral(1.0L, type) + ", " + HexLiteral(inv_n, type) + " /* " + DecimalText(inv_n, type) + " */, " +
           HexLiteral(inv_sqrt, type) + " /* " + DecimalText(inv_sqrt, type) + " */}";
}

std::string UnscaledCopyText(int n, bool pressure_scheduled) {
    if (pressure_scheduled) return "qvn::UnscaledCopy::kSeparatePressureScheduled";
    return n <= 16 ? "qvn::UnscaledCopy::kInline" : "qvn::UnscaledCopy::kSeparate";
}

namespace {

// Baseline (SSE2) kernels: scalar single precision up to N = 5, then two
// complex floats per __m128; one complex double per __m128d. The wider
// targets run two complex doubles per __m256d from N = 6. In single
// precision they keep the scalar kernels and, from N = 6, take four complex
// floats per __m256 where that kernel's census promises to be faster than
// the two-per-__m128 one (the shuffles a DAG needs to fill four slots can
// cost more than the halved arithmetic saves). The estimate, in half
// cycles: two vector FP operations per cycle, one shuffle.
int EstimatedCycles(const Census& c) { return std::max(c.adds + c.muls, 2 * c.shuffles); }

// Builds the DAG of each direction of the transform, forward first, and
// hands `visit` the emitters' input for it: with the rotated products fused
// (Dag::FuseRotations), as the kernels are written, unless `fused` is false.
template <class Visit>
void ForEachDirection(int n, const Recipe& recipe, Isa isa, Visit visit, bool fused = true) {
    for (int dir = 0; dir < 2; ++dir) {
        const bool forward = dir == 0;
        Dag dag;
        Signal x(n);
        for (int i = 0; i < n; ++i) x[i] = dag.Load(i);
        Signal y = Transform(dag, recipe, x, forward ? -1 : +1);
        if (fused) dag.FuseRotations(y);
        visit(forward,
              KernelInput{dag, y, n, forward ? "kForwardConstants" : "kInverseConstants", BodyRegisters(isa)});
    }
}

enum class SingleBody { kSsePair, kQuad, kTwinHalves };

// The single-precision body of the wider targets. Four complex values per
// __m256 where that body's estimate beats the two-per-__m128 one; otherwise
// the two-per-__m128 body with its sibling instructions fused into the
// halves of a __m256, where that beats it by a margin of one part in 30 (the
// inserts and extracts between 128-bit and 256-bit code add latency the
// estimate does not see; measured, twin bodies estimated 3% better than
// the body they replaced ran 1-2% slower); else the two-per-__m128 body.
//
// The quad body is also taken where it needs fewer instructions in all
// (loads and stores counted) than the body it replaces and its estimate is
// at most 30% above that body's: most of what the census counts as shuffles
// (sign flips, blends) issues on three ports, and so do 256-bit adds, so the
// shuffle bound overstates the quad body. On the AVX-512 target the 14
// lengths this first added ran 4-32% faster; the next one out (N = 23, 33%
// above) was 5% slower, as were twin-halves lengths at 26-40% above.
// Counting the loads and stores kept the quad body for N = 12 and 20 over
// twin-halves bodies that load and store in 128-bit halves (10-16% faster
// in both wider builds). The rule was first made for the AVX-512 target;
// in the AVX2 build it made 26 of the 126 single-precision kernels 5-30%
// faster and 5 slower by 6-13% (forward and inverse 13 and 22, forward 17),
// a geometric mean of 0.962.
//
// These margins were measured on bodies without fused rotations, and the
// choice is still made on those: judged on the fused bodies, N = 7 (both
// wider builds) and 47 (x86-64-v3) changed body and ran 12-19% slower.
SingleBody CheapestSingle(int n, const std::string& recipe_text, const QuadShape& quad, Isa isa) {
    const Recipe recipe = ParseRecipe(recipe_text);
    int cost[3] = {0, 0, 0}, total[3] = {0, 0, 0};
    auto add = [&](int body, const Census& c) {
        cost[body] += EstimatedCycles(c);
        total[body] += c.adds + c.muls + c.shuffles + c.loads + c.stores;
    };
    bool twin_ok = true;
    ForEachDirection(n, recipe, isa, [&](bool, const KernelInput& in) {
        add(0, EmitSsePaired(in).census);
        add(1, EmitQuad(in, quad).census);
        try {
            add(2, EmitTwinHalves(in).census);
        } catch (const std::runtime_error&) {
            twin_ok = false;
        }
    }, /*fused=*/false);
    if (cost[1] < cost[0]) return SingleBody::kQuad;
    const bool twin = twin_ok && 30 * cost[2] < 29 * cost[0];
    const int other = twin ? 2 : 0;
    if (total[1] < total[other] && 10 * cost[1] <= 13 * cost[other]) return SingleBody::kQuad;
    return twin ? SingleBody::kTwinHalves : SingleBody::kSsePair;
}

// The page check of a wide body (frame/entry.h), read from its text: every
// 256-bit access (`Mem::Load(x + k)`, `Mem::Store(y + k, ...)`). The first
// body is safe on a 32-byte-aligned array if each access sits at a multiple
// of 32 bytes; otherwise on none. Empty when the body has no such access
// (128-bit pieces cross no page on a 16-byte-aligned array).
std::string PageCheckText(const std::string& body, int elem_bytes, int n) {
    constexpr int kWideBytes = 32;
    bool aligned_safe = true, any = false;
    for (const std::string prefix : {"Mem::Load(", "Mem::Store("}) {
        for (size_t at = body.find(prefix); at != std::string::npos; at = body.find(prefix, at + 1)) {
            size_t p = at + prefix.size();
            if (body[p] != 'x' && body[p] != 'y') throw std::runtime_error("unexpected address in " + prefix);
            ++p;
            long offset = 0;
            if (body.compare(p, 3, " + ") == 0) {
                p += 3;
                size_t used = 0;
                offset = std::stol(body.substr(p, 12), &used);
                p += used;
            }
            if (body[p] != ')' && body[p] != ',') throw std::runtime_error("unexpected address in " + prefix);
            any = true;
            if (offset * elem_bytes % kWideBytes != 0) aligned_safe = false;
        }
    }
    if (!any) return "";
    return "qvn::PageCheck{" + std::to_string(n * 2 * elem_bytes) + ", " + std::to_string(aligned_safe ? kWideBytes : 0) +
           "}";
}

GeneratedFile BuildFile(int n, bool single, const std::string& recipe_text, Isa isa) {
    const Recipe recipe = ParseRecipe(recipe_text);
    if (recipe.length != n) throw std::runtime_error("recipe length mismatch for " + std::to_string(n));
    const bool products_in_double = single && (n == 3 || n == 5);
    // On the wider targets N = 5 forms its products in double two complex
    // values at a time (__m256d), the same operations as the scalar kernel.
    const bool vector_double_products = products_in_double && n == 5 && isa != Isa::kX86_64;
    const bool scalar = single && n <= 5 && !vector_double_products;
    const char* real = single ? "float" : "double";
    const std::string prec = single ? "32fc" : "64fc";
    const ElemType type = single ? ElemType::kFloat : ElemType::kDouble;
    // Up to N = 5 a double kernel is a short dependency chain: pairing only
    // adds shuffles to it (measured 5-30% slower), so it keeps its SSE2 text.
    const bool avx_double = !single && isa != Isa::kX86_64 && n > 5;
    // The AVX-512 target masks operations per slot (mixed products).
    const QuadShape& quad_float = isa == Isa::kX86_64_v4 ? AvxQuadFloatMasked() : AvxQuadFloat();
    const SingleBody body = single && !scalar && !vector_double_products && isa != Isa::kX86_64
                                ? CheapestSingle(n, recipe_text, quad_float, isa)
                                : SingleBody::kSsePair;
    const bool avx_single = body == SingleBody::kQuad;
    const bool twin_halves = body == SingleBody::kTwinHalves;
    const bool avx = avx_double || avx_single || twin_halves;
    // Bodies for any alignment: the wide kernels load and store unaligned
    // throughout, so they need no aligned twin; their twin is the page-safe
    // body where they have accesses wider than 128 bits.
    const bool two_bodies = !scalar && !avx;

    GeneratedFile file;
    file.name = "dft_c_" + std::to_string(n) + "_" + prec + ".cpp";
    std::string layout = scalar ? (products_in_double ? "scalar, constant products formed in double"
                                                      : "scalar single precision")
                                : avx_single ? "AVX, four complex values per __m256"
                                : twin_halves ? "AVX, sibling pairs of two complex values in the halves of a __m256"
                                : vector_double_products ? "two complex values per __m128, constant products formed in double"
                                : single    ? "SSE2, two complex values per __m128"
                                : avx_double ? "AVX, two complex values per __m256d"
                                             : "SSE2, one complex value per __m128d";
    std::string kernels, entries, census_comment;
    ForEachDirection(n, recipe, isa, [&](bool forward, const KernelInput& in) {
        const std::string fn = forward ? "Forward" : "Inverse";
        KernelText k = scalar       ? EmitScalar(in, products_in_double)
                       : avx_single ? EmitQuad(in, quad_float)
                       : twin_halves ? EmitTwinHalves(in)
                       : vector_double_products ? EmitSsePairedDoubleProducts(in)
                       : single     ? EmitSsePaired(in)
                       : avx_double ? EmitPaired(in, AvxPairDouble())
                                    : EmitSseDouble(in);

        const std::string export_name =
            std::string("qvngDFT") + (forward ? "Fwd" : "Inv") + "_CToC_" + std::to_string(n) + "_" + prec;
        census_comment += "// " + fn + ": " + k.census.Text() + "\n";
        file.census += export_name + ": " + k.census.Text() + "\n";
        if (!k.constants.empty()) kernels += k.constants + "\n";
        kernels += "template <class Mem>\ninline void " + fn + "(const " + real + "* x, " + real + "* y, " + real +
                   " scale) {\n" + k.body + "}\n\n";
        std::string alias = fn + "Kernel";
        const std::string page_check = avx ? PageCheckText(k.body, single ? 4 : 8, n) : std::string();
        const std::string bodies = !avx ? fn + "<qvn::AlignedAccess>, " + fn + "<qvn::UnalignedAccess>"
                                   : page_check.empty()
                                       ? fn + "<qvn::Unaligned256>, " + fn + "<qvn::Unaligned256>"
                                       : fn + "<qvn::Unaligned256>, " + fn + "<qvn::PageSafe256>, " + page_check;
        kernels += "using " + alias + " = qvn::ComplexKernel<qvn::Direction::k" + (forward ? "Forward" : "Inverse") +
                   ", " + real + ", kScales, " + UnscaledCopyText(n) + ", " + (two_bodies ? "true" : "false") + ", " +
                   bodies + ">;\n\n";
        entries += "QVN_DEFINE_COMPLEX_ENTRY(" + export_name + ", " + alias + ")\n";
    });

    file.text = "// Generated by qvngen-gen complex-dft -- do not edit.\n"
                "// Complex DFT, N = " + std::to_string(n) + ", " + (single ? "single" : "double") +
                " precision (" + layout + ").\n"
                "// Scheme: " + recipe_text + " = " + Describe(recipe) + "\n" + census_comment +
                (avx || vector_double_products ? "#include <immintrin.h>\n\n" : "#include <emmintrin.h>\n\n") +
                "#include \"frame/complex_entry.h\"\n" +
                (avx ? "#include \"frame/avx_complex_access.h\"\n\n" : "#include \"frame/sse_access.h\"\n\n") +
                "namespace {\n\n"
                "constexpr qvn::ScaleSet<" + real + "> kScales = " + ScaleSetText(n, type) + ";\n\n" +
                kernels + "}  // namespace\n\n" + entries;
    return file;
}

}  // namespace

GeneratedFile ComplexDftFile(int n, bool single, Isa isa) {
    const ComplexDftRow& row = RowFor(n);
    return BuildFile(n, single, single ? row.single : row.dbl, isa);
}

std::string ExploreComplexDft(int n, bool single, const std::string& recipe, Isa isa) {
    return BuildFile(n, single, recipe, isa).census;
}

}  // namespace gen
