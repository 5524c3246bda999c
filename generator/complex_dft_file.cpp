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
// hands `visit` the emitters' input for it.
template <class Visit>
void ForEachDirection(int n, const Recipe& recipe, Isa isa, Visit visit) {
    for (int dir = 0; dir < 2; ++dir) {
        const bool forward = dir == 0;
        Dag dag;
        Signal x(n);
        for (int i = 0; i < n; ++i) x[i] = dag.Load(i);
        Signal y = Transform(dag, recipe, x, forward ? -1 : +1);
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
// On the AVX-512 target the quad body is also taken where it needs fewer
// instructions in all than the body it replaces and its estimate is at most
// 30% above that body's: there most of what the census counts as shuffles
// (sign flips, blends) issues on three ports, and so do 256-bit adds, so
// the shuffle bound overstates the quad body. Measured, the 14 lengths this
// adds ran 4-32% faster; the next one out (N = 23, 33% above) was 5% slower,
// as were twin-halves lengths at 26-40% above.
SingleBody CheapestSingle(int n, const std::string& recipe_text, const QuadShape& quad, Isa isa) {
    const Recipe recipe = ParseRecipe(recipe_text);
    const bool fewer_instructions = isa == Isa::kX86_64_v4;
    int cost[3] = {0, 0, 0}, total[3] = {0, 0, 0};
    auto add = [&](int body, const Census& c) {
        cost[body] += EstimatedCycles(c);
        total[body] += c.adds + c.muls + c.shuffles;
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
    });
    if (cost[1] < cost[0]) return SingleBody::kQuad;
    const bool twin = twin_ok && 30 * cost[2] < 29 * cost[0];
    const int other = twin ? 2 : 0;
    if (fewer_instructions && total[1] < total[other] && 10 * cost[1] <= 13 * cost[other]) return SingleBody::kQuad;
    return twin ? SingleBody::kTwinHalves : SingleBody::kSsePair;
}

// The double-precision body of the 512-bit target: four complex doubles per
// __m512d where that body's estimate beats two per __m256d. The estimate, in
// half cycles: 256-bit arithmetic issues on two ports and shuffles on a
// third (EstimatedCycles); 512-bit arithmetic and shuffles share two ports,
// the shuffles only one of them. Measured over N = 6..64, the quad body ran
// 10-38% slower wherever it needed half again the pair body's shuffles, and
// up to 20% faster where it did not.
int EstimatedCycles512(const Census& c) { return std::max(c.adds + c.muls + c.shuffles, 2 * c.shuffles); }

bool QuadDoubleWins(int n, const std::string& recipe_text) {
    const Recipe recipe = ParseRecipe(recipe_text);
    int pair = 0, quad = 0;
    ForEachDirection(n, recipe, Isa::kX86_64_v4, [&](bool, const KernelInput& in) {
        pair += EstimatedCycles(EmitPaired(in, AvxPairDouble()).census);
        quad += EstimatedCycles512(EmitQuad(in, Avx512QuadDouble()).census);
    });
    return quad < pair;
}

// The page check of a wide body (frame/entry.h), read from its text: every
// access wider than 128 bits (`Mem::Load(x + k)`, `Mem::Store(y + k, ...)`,
// two or three values of LoadComplexesLow512/StoreComplexesLow512), with its
// width in bytes. The first body is safe on an array aligned to the widest
// of them if each sits at a multiple of its own width; otherwise on none.
// Empty when the body has no such access (128-bit pieces cross no page on a
// 16-byte-aligned array).
std::string PageCheckText(const std::string& body, int elem_bytes, int wide_bytes, int n) {
    struct Pattern {
        const char* prefix;
        int width;
    };
    const Pattern patterns[] = {{"Mem::Load(", wide_bytes},
                                {"Mem::Store(", wide_bytes},
                                {"qvn::LoadComplexesLow512<2, Mem>(", 32},
                                {"qvn::LoadComplexesLow512<3, Mem>(", 64},
                                {"qvn::StoreComplexesLow512<2, Mem>(", 32},
                                {"qvn::StoreComplexesLow512<3, Mem>(", 64}};
    int align = 0;
    bool aligned_safe = true, any = false;
    for (const Pattern& pat : patterns) {
        const std::string prefix = pat.prefix;
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
            align = std::max(align, pat.width);
            if (offset * elem_bytes % pat.width != 0) aligned_safe = false;
        }
    }
    if (!any) return "";
    return "qvn::PageCheck{" + std::to_string(n * 2 * elem_bytes) + ", " + std::to_string(aligned_safe ? align : 0) +
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
    const bool quad_double = avx_double && isa == Isa::kX86_64_v4 && QuadDoubleWins(n, recipe_text);
    // The AVX-512 target masks operations per slot (mixed products).
    const QuadShape& quad_float = isa == Isa::kX86_64_v4 ? AvxQuadFloatMasked() : AvxQuadFloat();
    const SingleBody body = single && !scalar && !vector_double_products && isa != Isa::kX86_64
                                ? CheapestSingle(n, recipe_text, quad_float, isa)
                                : SingleBody::kSsePair;
    const bool avx_single = body == SingleBody::kQuad;
    const bool twin_halves = body == SingleBody::kTwinHalves;
    const bool avx = avx_double || avx_single || twin_halves;
    const std::string wide_access = quad_double ? "qvn::Unaligned512" : "qvn::Unaligned256";
    // Bodies for any alignment: the wide kernels load and store unaligned
    // throughout, so they need no aligned twin; their twin is the page-safe
    // body where they have accesses wider than 128 bits.
    const bool two_bodies = !scalar && !avx;

    GeneratedFile file;
    file.name = "dft_c_" + std::to_string(n) + "_" + prec + ".cpp";
    std::string layout = scalar ? (products_in_double ? "scalar, constant products formed in double"
                                                      : "scalar single precision")
                                : quad_double ? "AVX-512, four complex values per __m512d"
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
                       : quad_double ? EmitQuad(in, Avx512QuadDouble())
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
        const std::string page_check =
            avx ? PageCheckText(k.body, single ? 4 : 8, quad_double ? 64 : 32, n) : std::string();
        // A 512-bit body safe on 64-byte-aligned arrays also gets a body of
        // 256-bit halves for crossing arrays on a 32-byte boundary.
        const std::string halves =
            quad_double && page_check.ends_with(", 64}") ? ", " + fn + "<qvn::Halves512>" : std::string();
        // Its own body in 128-bit pieces costs three inserts per load
        // (measured 1.25-1.45x its whole-access time at N = 16 and 32).
        // Up to 768 bytes (N <= 48) the crossing arrays off a 32-byte
        // boundary take the two-per-__m256d body in 128-bit pieces instead
        // (1.1-1.25x); beyond, the one split load and store of the first
        // body cost less than either (N = 52, 53, 60, 64: first body
        // 1.04-1.15x, pair body 1.2-1.3x), so the first body serves them.
        if (quad_double && !page_check.empty() && halves.empty())
            throw std::runtime_error("512-bit body of length " + std::to_string(n) +
                                     " is not safe on 64-byte-aligned arrays: no page-safe body for it");
        const bool pair_twin = !halves.empty() && n <= 48;
        if (pair_twin) {
            const KernelText pair =
                EmitPaired(KernelInput{in.dag, in.outputs, n, forward ? "kForwardPairConstants" : "kInversePairConstants",
                                       in.registers},
                           AvxPairDouble());
            if (!pair.constants.empty()) kernels += pair.constants + "\n";
            kernels += "template <class Mem>\ninline void " + fn + "Pair(const " + real + "* x, " + real + "* y, " +
                       real + " scale) {\n" + pair.body + "}\n\n";
        }
        const std::string safe_body = !halves.empty() && n > 48 ? fn + "<" + wide_access + ">"
                                      : pair_twin                ? fn + "Pair<qvn::PageSafe256>"
                                                                 : fn + "<qvn::PageSafe256>";
        const std::string bodies = !avx ? fn + "<qvn::AlignedAccess>, " + fn + "<qvn::UnalignedAccess>"
                                   : page_check.empty()
                                       ? fn + "<" + wide_access + ">, " + fn + "<" + wide_access + ">"
                                       : fn + "<" + wide_access + ">, " + safe_body + ", " + page_check +
                                             halves;
        kernels += "using " + alias + " = qvn::ComplexKernel<qvn::Direction::k" + (forward ? "Forward" : "Inverse") +
                   ", " + real + ", kScales, " + (two_bodies ? "true" : "false") + ", " + bodies + ">;\n\n";
        entries += "QVN_DEFINE_COMPLEX_ENTRY(" + export_name + ", " + alias + ")\n";
    });

    file.text = "// Generated by qvngen-gen complex-dft -- do not edit.\n"
                "// Complex DFT, N = " + std::to_string(n) + ", " + (single ? "single" : "double") +
                " precision (" + layout + ").\n"
                "// Scheme: " + recipe_text + " = " + Describe(recipe) + "\n" + census_comment +
                (quad_double && n <= 48 ? "// ForwardPair, InversePair: the same DAG two complex values per __m256d, in\n"
                                          "// 128-bit accesses for arrays that cross a 4 KB page off a 32-byte boundary.\n"
                                        : "") +
                (avx || vector_double_products ? "#include <immintrin.h>\n\n" : "#include <emmintrin.h>\n\n") +
                "#include \"frame/complex_entry.h\"\n" +
                (quad_double && n <= 48 ? "#include \"frame/avx512_complex_access.h\"\n#include \"frame/avx_complex_access.h\"\n\n"
                 : quad_double ? "#include \"frame/avx512_complex_access.h\"\n\n"
                 : avx       ? "#include \"frame/avx_complex_access.h\"\n\n"
                             : "#include \"frame/sse_access.h\"\n\n") +
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
