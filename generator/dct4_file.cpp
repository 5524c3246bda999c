// The type-IV DCT kernels.
//
// All of them rest on one folding of the real input into half as many
// complex values, v[m] = x[2m] + i*x[N-1-2m] (m < L = N/2), for which
//   W[j] = sum_m v[m] * e^(-i*pi*(4m+1)(4j+1)/(4N)),
//   y[2j] = Re W[j],  y[N-1-2j] = -Im W[j].
// The exponent splits as 2*pi*m*j/L + pi*m/N + pi*(4j+1)/(4N): a DFT of L
// points between a rotation of each input and a rotation of each output.
//
// direct  N = 2..32: that formula written out, scalar (for N <= 4 the sums
//         themselves, which round less); or, where whole vectors fit
//         (N = 32, and N = 16 in double), the plan below done in registers
//         with its tables as constants.
// Longer N take r phases a of v (m = r*b + a, B = L/r points each) and
// outputs j = q + B*t:
//   W[q + B*t] = e^(-i*pi*t/(2r)) * sum_a e^(-2*pi*i*a*t/r) * T(a, q) * J_a(q),
//   J_a(q) = sum_b v[r*b + a] * e^(-2*pi*i*b*(q + 1/4)/B),
//   T(a, q) = e^(-i*pi*(4a+1)(4q+1)/(4N))   (the plan's rotation table).
// leaf    J of B = 2..32 points for 4 (single) or 2 (double) phases at once,
//         one phase per lane, read straight from the folded source.
// step    one decimation-in-time level of J for longer phases: b points as
//         r2 interleaved sub-phases of b/r2, recombined by
//         J(q2 + b2*e) = sum_d e^(-2*pi*i*d*e/r2) * w(d, q2) * J_d(q2),
//         w(d, q2) = e^(-2*pi*i*d*(q2 + 1/4)/b) from the plan's step table.
// output  the sum over the r phases for w consecutive q at once (one q per
//         lane, after an in-register transpose), then the stores of y; the
//         q-groups Q and B/w-1-Q are done together because y[2j+1] belongs
//         to W[L-1-j].
#include "dct4_file.h"

#include <stdexcept>

#include "algorithms.h"
#include "emit_lanes.h"
#include "recipe.h"

namespace gen {
namespace {

enum class KernelKind { kDirect, kLeaf, kStep, kOutput };

struct KernelId {
    KernelKind kind;
    int size;  // N, B, r2 or r
};

const KernelId kKernels[] = {
    {KernelKind::kDirect, 2}, {KernelKind::kDirect, 4},  {KernelKind::kDirect, 8},  {KernelKind::kDirect, 16},
    {KernelKind::kDirect, 32}, {KernelKind::kLeaf, 2},   {KernelKind::kLeaf, 4},    {KernelKind::kLeaf, 8},
    {KernelKind::kLeaf, 16},  {KernelKind::kLeaf, 32},   {KernelKind::kStep, 8},    {KernelKind::kStep, 16},
    {KernelKind::kStep, 32},  {KernelKind::kOutput, 2},  {KernelKind::kOutput, 4},  {KernelKind::kOutput, 8},
    {KernelKind::kOutput, 16}, {KernelKind::kOutput, 32},
};

// Forward DFT of x.size() points with the minimum-operation scheme of the
// complex DFT table (the double-precision column: lanes need no pairing).
Signal Dft(Dag& dag, const Signal& x) {
    const int n = static_cast<int>(x.size());
    if (n == 1) return x;
    for (const auto& row : kComplexDftTable)
        if (row.n == n) return Transform(dag, ParseRecipe(row.dbl), x, -1);
    throw std::runtime_error("no DFT scheme for " + std::to_string(n));
}

std::string I(long long v) { return std::to_string(v); }

struct Text {
    std::string signature, body, census, scheme;
};

// --- direct: N = 2..32, scalar ----------------------------------------------
Text Direct(int n, LaneType type) {
    const int l = n / 2;
    Dag dag;
    Signal v(l);
    Signal w(l);
    if (l <= 2) {
        // The sums written out: one rounded product per term instead of a
        // rotation before and after the DFT, which measured a sixth less
        // error at N = 4 for the same speed class.
        for (int j = 0; j < l; ++j)
            for (int m = 0; m < l; ++m)
                w[j] = dag.Add(w[j], dag.Mul(dag.Load(m), Rotation((4 * m + 1) * (4 * j + 1), 8 * n, -1)));
    } else {
        for (int m = 0; m < l; ++m) v[m] = dag.Mul(dag.Load(m), Rotation(m, 2 * n, -1));
        w = Dft(dag, v);
        for (int j = 0; j < l; ++j) w[j] = dag.Mul(w[j], Rotation(4 * j + 1, 8 * n, -1));
    }

    LaneEmitter e(dag, type);
    const std::string t = type.Name();
    for (int m = 0; m < l; ++m) {
        const std::string re = "x" + I(2 * m), im = "x" + I(n - 1 - 2 * m);
        int load = e.AddLoad("const " + t + " " + re + " = x[" + I(2 * m) + "], " + im + " = x[" + I(n - 1 - 2 * m) + "];");
        e.BindInput(m, load, re, im);
    }
    e.Compute(w);
    for (int j = 0; j < l; ++j) {
        std::vector<int> deps;
        const std::string re = e.Part(w[j], false, false, &deps);
        e.AddStore("y[" + I(2 * j) + "] = " + re + ";", deps);
        std::vector<int> deps2;
        const std::string im = e.Part(w[j], true, true, &deps2);
        e.AddStore("y[" + I(n - 1 - 2 * j) + "] = " + im + ";", deps2);
    }
    Text k;
    k.signature = "template <>\nvoid Direct<" + I(n) + ", " + t + ">(const " + t + "* x, " + t + "* y)";
    k.body = e.Body("    ");
    k.census = e.census().Text();
    k.scheme = l <= 2 ? "fold, the sums written out" : "fold, rotate, " + I(l) + "-point DFT, rotate";
    return k;
}

// Loads of the folded source for one group of lanes (consecutive m).
struct FoldedLoads {
    std::string re, im;  // statements defining <name>r and <name>i from xr / xm at offset `off`
};

FoldedLoads FoldedVectorLoad(LaneType type, const std::string& name, const std::string& off) {
    const std::string t = type.Name();
    if (type.elem == ElemType::kFloat) {
        // re: x[2m + 0, 2, 4, 6]; im: x[N-1-2m - 0, 2, 4, 6], the odd slots of
        // the eight floats below, in reverse.
        return {"const __m128 " + name + "a = _mm_loadu_ps(xr + " + off + "), " + name + "b = _mm_loadu_ps(xr + " + off +
                    " + 4);\nconst __m128 " + name + "r = _mm_shuffle_ps(" + name + "a, " + name + "b, _MM_SHUFFLE(2, 0, 2, 0));",
                "const __m128 " + name + "c = _mm_loadu_ps(xm - " + off + " - 8), " + name + "d = _mm_loadu_ps(xm - " + off +
                    " - 4);\nconst __m128 " + name + "i = _mm_shuffle_ps(" + name + "d, " + name + "c, _MM_SHUFFLE(1, 3, 1, 3));"};
    }
    return {"const __m128d " + name + "a = _mm_loadu_pd(xr + " + off + "), " + name + "b = _mm_loadu_pd(xr + " + off +
                " + 2);\nconst __m128d " + name + "r = _mm_unpacklo_pd(" + name + "a, " + name + "b);",
            "const __m128d " + name + "c = _mm_loadu_pd(xm - " + off + " - 4), " + name + "d = _mm_loadu_pd(xm - " + off +
                " - 2);\nconst __m128d " + name + "i = _mm_unpackhi_pd(" + name + "d, " + name + "c);"};
}

std::string Store(LaneType type, const std::string& ptr, const std::string& value) {
    return std::string(type.elem == ElemType::kFloat ? "_mm_store_ps(" : "_mm_store_pd(") + ptr + ", " + value + ");";
}
std::string Load(LaneType type, const std::string& ptr) {
    return std::string(type.elem == ElemType::kFloat ? "_mm_load_ps(" : "_mm_load_pd(") + ptr + ")";
}

// Statements turning w rows of w lanes into w columns: column c (named
// <out>c) holds lane c of every row, in row order.
std::string Transpose(LaneType type, const std::vector<std::string>& rows, const std::string& out) {
    if (type.elem == ElemType::kFloat) {
        const std::string& a = rows[0], &b = rows[1], &c = rows[2], &d = rows[3];
        return "const __m128 " + out + "t0 = _mm_unpacklo_ps(" + a + ", " + b + "), " + out + "t1 = _mm_unpacklo_ps(" + c + ", " + d +
               "), " + out + "t2 = _mm_unpackhi_ps(" + a + ", " + b + "), " + out + "t3 = _mm_unpackhi_ps(" + c + ", " + d + ");\n" +
               "const __m128 " + out + "0 = _mm_movelh_ps(" + out + "t0, " + out + "t1), " + out + "1 = _mm_movehl_ps(" + out + "t1, " +
               out + "t0), " + out + "2 = _mm_movelh_ps(" + out + "t2, " + out + "t3), " + out + "3 = _mm_movehl_ps(" + out + "t3, " + out +
               "t2);";
    }
    return "const __m128d " + out + "0 = _mm_unpacklo_pd(" + rows[0] + ", " + rows[1] + "), " + out + "1 = _mm_unpackhi_pd(" + rows[0] +
           ", " + rows[1] + ");";
}

// --- 256-bit helpers -----------------------------------------------------------
// A 256-bit vector is two 128-bit halves that each do what one SSE2 vector
// does in the kernels above: the halves come from two addresses and go to two
// addresses, and every shuffle stays within its half except where noted.

// The vector whose low half is the 128-bit load at `lo` and high half the one at `hi`.
std::string LoadHalves(LaneType type, const std::string& lo, const std::string& hi) {
    const bool single = type.elem == ElemType::kFloat;
    const std::string load = single ? "_mm_loadu_ps(" : "_mm_loadu_pd(";
    return std::string(single ? "_mm256_set_m128(" : "_mm256_set_m128d(") + load + hi + "), " + load + lo + "))";
}

// Stores of the two halves of `value` at `lo` and `hi`.
std::string StoreHalves(LaneType type, const std::string& lo, const std::string& hi, const std::string& value) {
    const bool single = type.elem == ElemType::kFloat;
    const std::string store = single ? "_mm_storeu_ps(" : "_mm_storeu_pd(";
    return store + lo + ", " + (single ? "_mm256_castps256_ps128(" : "_mm256_castpd256_pd128(") + value + ")); " + store + hi +
           ", " + (single ? "_mm256_extractf128_ps(" : "_mm256_extractf128_pd(") + value + ", 1));";
}

// The folded source for two lane groups at once: the first group in the low
// halves, the next one (w complex indices on) in the high halves.
FoldedLoads FoldedWideLoad(LaneType type, const std::string& name, const std::string& off) {
    const std::string v = type.Name();
    auto at = [&](const char* base, const char* sign, int k) { return std::string(base) + " " + sign + " " + off + " " + sign + " " + I(k); };
    if (type.elem == ElemType::kFloat) {
        // re: x[2m], m = 0..7: blocks 0, 2 and 1, 3 of the sixteen floats, even slots.
        // im: x[N-1-2m]: the odd slots of the sixteen floats below, in reverse.
        return {"const " + v + " " + name + "a = " + LoadHalves(type, "xr + " + off, at("xr", "+", 8)) + ", " + name + "b = " +
                    LoadHalves(type, at("xr", "+", 4), at("xr", "+", 12)) + ";\nconst " + v + " " + name + "r = _mm256_shuffle_ps(" + name +
                    "a, " + name + "b, _MM_SHUFFLE(2, 0, 2, 0));",
                "const " + v + " " + name + "c = " + LoadHalves(type, at("xm", "-", 8), at("xm", "-", 16)) + ", " + name + "d = " +
                    LoadHalves(type, at("xm", "-", 4), at("xm", "-", 12)) + ";\nconst " + v + " " + name + "i = _mm256_shuffle_ps(" + name +
                    "d, " + name + "c, _MM_SHUFFLE(1, 3, 1, 3));"};
    }
    return {"const " + v + " " + name + "a = " + LoadHalves(type, "xr + " + off, at("xr", "+", 4)) + ", " + name + "b = " +
                LoadHalves(type, at("xr", "+", 2), at("xr", "+", 6)) + ";\nconst " + v + " " + name + "r = _mm256_unpacklo_pd(" + name +
                "a, " + name + "b);",
            "const " + v + " " + name + "c = " + LoadHalves(type, at("xm", "-", 4), at("xm", "-", 8)) + ", " + name + "d = " +
                LoadHalves(type, at("xm", "-", 2), at("xm", "-", 6)) + ";\nconst " + v + " " + name + "i = _mm256_unpackhi_pd(" + name +
                "d, " + name + "c);"};
}

// Transpose() in each half of 256-bit rows.
std::string TransposeHalves(LaneType type, const std::vector<std::string>& rows, const std::string& out) {
    if (type.elem == ElemType::kFloat) {
        const std::string& a = rows[0], &b = rows[1], &c = rows[2], &d = rows[3];
        auto sh = [&](const std::string& x, const std::string& y, const char* sel) {
            return "_mm256_shuffle_ps(" + out + x + ", " + out + y + ", _MM_SHUFFLE(" + sel + "))";
        };
        return "const __m256 " + out + "t0 = _mm256_unpacklo_ps(" + a + ", " + b + "), " + out + "t1 = _mm256_unpacklo_ps(" + c + ", " +
               d + "), " + out + "t2 = _mm256_unpackhi_ps(" + a + ", " + b + "), " + out + "t3 = _mm256_unpackhi_ps(" + c + ", " + d +
               ");\nconst __m256 " + out + "0 = " + sh("t0", "t1", "1, 0, 1, 0") + ", " + out + "1 = " + sh("t0", "t1", "3, 2, 3, 2") + ", " +
               out + "2 = " + sh("t2", "t3", "1, 0, 1, 0") + ", " + out + "3 = " + sh("t2", "t3", "3, 2, 3, 2") + ";";
    }
    return "const __m256d " + out + "0 = _mm256_unpacklo_pd(" + rows[0] + ", " + rows[1] + "), " + out + "1 = _mm256_unpackhi_pd(" +
           rows[0] + ", " + rows[1] + ");";
}

// Adds the statement defining <out>r, <out>i = (xr + i*xi)(c - i*s), the
// rotation by a table (or constant) cosine and sine; `prelude` may define c
// and s. Returns the instruction for BindInput.
int AddConjRotation(LaneEmitter& e, const std::string& out, const std::string& xr, const std::string& xi, const std::string& c,
                    const std::string& s, std::vector<int> deps, const std::string& prelude = "") {
    const std::string suffix = e.type().elem == ElemType::kFloat ? "_ps" : "_pd", pre = e.type().Prefix();
    const std::string add = pre + "_add" + suffix, sub = pre + "_sub" + suffix, mul = pre + "_mul" + suffix;
    e.census().muls += 4;
    e.census().adds += 2;
    return e.AddHelper(prelude + "const " + e.type().Name() + " " + out + "r = " + add + "(" + mul + "(" + xr + ", " + c + "), " + mul +
                           "(" + xi + ", " + s + ")), " + out + "i = " + sub + "(" + mul + "(" + xi + ", " + c + "), " + mul + "(" + xr +
                           ", " + s + "));",
                       std::move(deps));
}

// Adds the store of 2w elements of y at `at`: the even slots from the lanes
// of `even`, the odd ones from the lanes of `odd` in reverse order (the
// mirror q-group runs the other way).
void AddInterleavedStore(LaneEmitter& e, const std::string& at, const std::string& even, const std::string& odd,
                         std::vector<int> deps) {
    if (e.type().elem == ElemType::kFloat) {
        e.AddStore("{\n    const __m128 o = _mm_shuffle_ps(" + odd + ", " + odd + ", _MM_SHUFFLE(0, 1, 2, 3));\n    _mm_storeu_ps(" + at +
                       ", _mm_unpacklo_ps(" + even + ", o));\n    _mm_storeu_ps(" + at + " + 4, _mm_unpackhi_ps(" + even + ", o));\n}",
                   std::move(deps));
        e.census().shuffles += 3;
    } else {
        e.AddStore("_mm_storeu_pd(" + at + ", _mm_shuffle_pd(" + even + ", " + odd + ", 2));\n_mm_storeu_pd(" + at +
                       " + 2, _mm_shuffle_pd(" + even + ", " + odd + ", 1));",
                   std::move(deps));
        e.census().shuffles += 2;
    }
    e.census().stores += 1;
}

// --- direct kernels in lanes --------------------------------------------------
// The plan of the longer lengths done in registers, with the rotation table
// as per-lane constants: r phases of B = N/(2r) points, w phases per vector
// (lane groups g), the phase transforms, w x w transposes to vectors of w
// consecutive q (q-groups Q), rotations T(a, q), the r-point sums over the
// phases, and the stores pairing q-group Q with its mirror.
Text DirectInLanes(int n, int r, LaneType type) {
    const int b = n / (2 * r), w = type.Lanes(), groups = r / w, qgroups = b / w;
    const bool single = type.elem == ElemType::kFloat;
    const std::string v = type.Name(), t = type.Elem();
    if (groups * w != r || qgroups * w != b) throw std::runtime_error("lane form needs whole vectors");
    Census census;
    auto add = [&census](const Census& c) {
        census.adds += c.adds, census.muls += c.muls, census.shuffles += c.shuffles;
        census.loads += c.loads, census.stores += c.stores;
    };
    // Phase transforms J_a(q), one lane group after the other.
    Dag leaf;
    std::vector<Signal> j(groups);
    for (int g = 0; g < groups; ++g) {
        Signal f(b);
        for (int i = 0; i < b; ++i) f[i] = leaf.Mul(leaf.Load(g * b + i), Rotation(i, 4 * b, -1));
        j[g] = Dft(leaf, f);
    }
    LaneEmitter e1(leaf, type);
    for (int g = 0; g < groups; ++g)
        for (int i = 0; i < b; ++i) {
            const std::string name = "v" + I(g) + "_" + I(i);
            FoldedLoads l = FoldedVectorLoad(type, name, I(2 * (g * w + r * i)));
            e1.BindInput(g * b + i, e1.AddLoad(l.re), e1.AddLoad(l.im), name + "r", name + "i");
            e1.census().shuffles += 2;
            e1.census().loads += 2;
        }
    Signal all_j;
    for (const Signal& s : j) all_j.insert(all_j.end(), s.begin(), s.end());
    e1.Compute(all_j);
    for (int g = 0; g < groups; ++g)
        for (int q = 0; q < b; ++q) {
            std::vector<int> deps;
            const std::string re = e1.Part(j[g][q], false, false, &deps), im = e1.Part(j[g][q], true, false, &deps);
            const std::string name = "j" + I(g) + "_" + I(q);
            e1.AddStore("const " + v + " " + name + "r = " + re + ", " + name + "i = " + im + ";", deps);
            e1.census().stores -= 1;  // stays in a register
        }
    add(e1.census());
    // Rows q (lanes a) to columns a (lanes q), per lane group and q-group.
    std::string transpose = "// phases to lanes of q\n";
    for (int g = 0; g < groups; ++g)
        for (int qg = 0; qg < qgroups; ++qg)
            for (char pc : {'r', 'i'}) {
                std::vector<std::string> rows;
                for (int i = 0; i < w; ++i) rows.push_back("j" + I(g) + "_" + I(qg * w + i) + pc);
                transpose += Transpose(type, rows, "a" + I(qg) + "_" + I(g) + pc) + "\n";
                census.shuffles += single ? 8 : 2;
            }
    // Rotations, sums over the phases, stores.
    Dag out;
    std::vector<Signal> wq(qgroups);
    for (int qg = 0; qg < qgroups; ++qg) {
        Signal a(r);
        for (int i = 0; i < r; ++i) a[i] = out.Load(qg * r + i);
        wq[qg] = Dft(out, a);
        for (int k = 0; k < r; ++k) wq[qg][k] = out.Mul(wq[qg][k], Rotation(k, 4 * r, -1));
    }
    LaneEmitter e2(out, type, "s");
    const std::string setr = single ? "_mm_setr_ps(" : "_mm_setr_pd(";
    for (int qg = 0; qg < qgroups; ++qg)
        for (int a = 0; a < r; ++a) {
            std::string c = setr, sn = setr;
            for (int l = 0; l < w; ++l) {
                const int q = qg * w + l;
                const Cx rot = Rotation((4 * a + 1) * (4 * q + 1), 8 * n, +1);  // e^(i*pi*(4a+1)(4q+1)/(4N))
                c += std::string(l ? ", " : "") + HexLiteral(rot.real(), type.elem);
                sn += std::string(l ? ", " : "") + HexLiteral(rot.imag(), type.elem);
            }
            c += ")", sn += ")";
            const std::string col = "a" + I(qg) + "_" + I(a / w), xr = col + "r" + I(a % w), xi = col + "i" + I(a % w);
            const std::string u = "u" + I(qg) + "_" + I(a);
            const int h = AddConjRotation(e2, u, xr, xi, u + "c", u + "s", {},
                                          "const " + v + " " + u + "c = " + c + ", " + u + "s = " + sn + ";\n");
            e2.BindInput(qg * r + a, h, u + "r", u + "i");
        }
    Signal all_w;
    for (const Signal& s : wq) all_w.insert(all_w.end(), s.begin(), s.end());
    e2.Compute(all_w);
    // y[2j] = Re W[j], y[2j+1] = -Im W[L-1-j]: lanes j = Q*w + l + B*k take
    // their odd slots from the mirror q-group at r-1-k, lanes reversed.
    for (int qg = 0; qg < qgroups; ++qg)
        for (int k = 0; k < r; ++k) {
            std::vector<int> deps;
            const std::string even = e2.Part(wq[qg][k], false, false, &deps);
            const std::string odd = e2.Part(wq[qgroups - 1 - qg][r - 1 - k], true, true, &deps);
            AddInterleavedStore(e2, "y + " + I(2 * (qg * w + b * k)), even, odd, deps);
        }
    add(e2.census());
    Text k;
    k.signature = "template <>\nvoid Direct<" + I(n) + ", " + t + ">(const " + t + "* x, " + t + "* y)";
    std::string indented;
    for (size_t at = 0, end; at < transpose.size(); at = end + 1) {
        end = transpose.find('\n', at);
        indented += "    " + transpose.substr(at, end - at) + "\n";
    }
    k.body = "    const " + t + "* xr = x;\n    const " + t + "* xm = x + " + I(n) + ";\n" + e1.Body("    ") + indented + e2.Body("    ");
    k.census = census.Text();
    k.scheme = I(r) + " phases of " + I(b) + " points in lanes: rotate, " + I(b) + "-point DFT, transpose, rotate (constants), " + I(r) +
               "-point DFT, rotate";
    return k;
}

// --- 512-bit helpers -----------------------------------------------------------
// A 512-bit vector holds four lane groups, group k in the k-th 128-bit block,
// so that every lane does what it does in the 128-bit kernels.

std::string IndexList(const std::vector<int>& idx) {
    std::string s;
    for (size_t i = 0; i < idx.size(); ++i) s += (i ? ", " : "") + I(idx[i]);
    return s;
}

// The folded source for four consecutive lane groups: two whole-vector loads
// from each end and one two-source permute per part (re: the even slots in
// order; im: the odd slots of the elements below xm, in reverse).
FoldedLoads FoldedQuadLoad(LaneType type, const std::string& name, const std::string& off) {
    const bool single = type.elem == ElemType::kFloat;
    const int l = type.Lanes();  // complex values per vector
    const std::string v = type.Name(), sfx = single ? "ps" : "pd", set = single ? "_mm512_setr_epi32(" : "_mm512_setr_epi64(";
    std::vector<int> even, odd;
    for (int m = 0; m < l; ++m) {
        even.push_back(2 * m);
        odd.push_back(m < l / 2 ? l - 1 - 2 * m : 3 * l - 1 - 2 * m);  // from the upper vector, then the lower one
    }
    const std::string load = "_mm512_loadu_" + sfx + "(", perm = "_mm512_permutex2var_" + sfx + "(";
    return {"const " + v + " " + name + "a = " + load + "xr + " + off + "), " + name + "b = " + load + "xr + " + off + " + " + I(l) +
                ");\nconst " + v + " " + name + "r = " + perm + name + "a, " + set + IndexList(even) + "), " + name + "b);",
            "const " + v + " " + name + "c = " + load + "xm - " + off + " - " + I(2 * l) + "), " + name + "d = " + load + "xm - " + off +
                " - " + I(l) + ");\nconst " + v + " " + name + "i = " + perm + name + "d, " + set + IndexList(odd) + "), " + name + "c);"};
}

// Stores of the real and imaginary vectors of four lane groups at `at`, laid
// out group by group as [re of the group][im of the group].
std::string StoreQuad(LaneType type, const std::string& at, const std::string& re, const std::string& im) {
    const bool single = type.elem == ElemType::kFloat;
    const int l = type.Lanes(), w = l / 4;
    const std::string sfx = single ? "ps" : "pd", set = single ? "_mm512_setr_epi32(" : "_mm512_setr_epi64(";
    std::string text;
    for (int half = 0; half < 2; ++half) {
        std::vector<int> idx;
        for (int g = 2 * half; g < 2 * half + 2; ++g) {
            for (int k = 0; k < w; ++k) idx.push_back(g * w + k);
            for (int k = 0; k < w; ++k) idx.push_back(l + g * w + k);
        }
        text += std::string(half ? "\n" : "") + "_mm512_storeu_" + sfx + "(" + at + (half ? " + " + I(l) : "") + ", _mm512_permutex2var_" +
                sfx + "(" + re + ", " + set + IndexList(idx) + "), " + im + "));";
    }
    return text;
}

// --- leaf: J of B points for one group of lanes per iteration ---------------
// The statements of one iteration and their census. A 256-bit type does two
// lane groups, g in the low halves and g+1 in the high halves.
std::pair<std::string, Census> LeafCode(int b, LaneType type, const std::string& indent) {
    const bool wide = type.bits == 256, quad = type.bits == 512;
    const int w = quad ? type.Lanes() / 4 : wide ? type.Lanes() / 2 : type.Lanes();  // lanes of one group
    Dag dag;
    Signal f(b);
    for (int i = 0; i < b; ++i) f[i] = dag.Mul(dag.Load(i), Rotation(i, 4 * b, -1));
    Signal j = Dft(dag, f);

    LaneEmitter e(dag, type);
    for (int i = 0; i < b; ++i) {
        FoldedLoads l = quad ? FoldedQuadLoad(type, "v" + I(i), I(i) + " * s2")
                        : wide ? FoldedWideLoad(type, "v" + I(i), I(i) + " * s2")
                               : FoldedVectorLoad(type, "v" + I(i), I(i) + " * s2");
        int re = e.AddLoad(l.re), im = e.AddLoad(l.im);
        e.BindInput(i, re, im, "v" + I(i) + "r", "v" + I(i) + "i");
        e.census().shuffles += wide ? 6 : 2;  // with the inserts of the upper halves
        e.census().loads += wide ? 6 : 2;  // 128-bit loads, or four 512-bit ones
    }
    e.Compute(j);
    for (int q = 0; q < b; ++q) {
        std::vector<int> deps;
        std::string re = e.Part(j[q], false, false, &deps), im = e.Part(j[q], true, false, &deps);
        const std::string at = "o + " + I(q) + " * os";
        if (quad) {
            e.AddStore(StoreQuad(type, at, re, im), deps);
            e.census().stores += 1;
            e.census().shuffles += 2;
        } else if (wide) {
            e.AddStore(StoreHalves(type, at, at + " + " + I(2 * w), re) + "\n" + StoreHalves(type, at + " + " + I(w), at + " + " + I(3 * w), im),
                       deps);
            e.census().stores += 3;
        } else {
            e.AddStore(Store(type, at, re) + " " + Store(type, at + " + " + I(w), im), deps);
            e.census().stores += 1;
        }
    }
    return {e.Body(indent), e.census()};
}

// The loop of a leaf kernel over lane groups: the 128-bit code one group at
// a time; with 256-bit code, two groups at a time and the 128-bit code for
// an odd one left over. `head` defines the pointers of group g.
std::string GroupLoop(const std::string& head, const std::string& narrow, const std::string& wide,
                      const std::string& quad = "") {
    auto pointers = [&](int at) {
        std::string text;
        for (size_t pos = 0, end = 0; end != std::string::npos; pos = end + 1) {
            end = head.find('\n', pos);
            text += std::string(at, ' ') + head.substr(pos, end - pos) + "\n";
        }
        return text;
    };
    if (wide.empty()) return "    for (int g = 0; g < groups; ++g) {\n" + pointers(8) + narrow + "    }\n";
    if (!quad.empty())
        return "    int g = 0;\n    for (; g + 4 <= groups; g += 4) {\n" + pointers(8) + quad + "    }\n" +
               "    if (g + 2 <= groups) {  // two groups left over\n" + pointers(8) + wide + "        g += 2;\n    }\n" +
               "    if (g < groups) {  // an odd group left over\n" + pointers(8) + narrow + "    }\n";
    return "    int g = 0;\n    for (; g + 2 <= groups; g += 2) {\n" + pointers(8) + wide + "    }\n" +
           "    if (g < groups) {  // an odd group left over\n" + pointers(8) + narrow + "    }\n";
}

// `wide`: 256-bit code for pairs of groups (with the 128-bit code of `type`
// for an odd group).
// `quad`: 512-bit code for four groups at a time, then the 256-bit and the
// 128-bit code for what is left.
Text Leaf(int b, LaneType type, bool wide = false, bool quad = false) {
    const int w = type.Lanes();
    const std::string t = type.Elem();
    auto [narrow, census] = LeafCode(b, type, "        ");
    std::string wide_code, quad_code;
    if (wide) {
        LaneType wt = type;
        wt.bits = 256;
        auto [code, wc] = LeafCode(b, wt, "        ");
        wide_code = code;
        census = wc;
    }
    if (quad) {
        LaneType qt = type;
        qt.bits = 512;
        auto [code, qc] = LeafCode(b, qt, "        ");
        quad_code = code;
        census = qc;
    }
    const std::string head = "const " + t + "* xr = x + 2 * (off + g * " + I(w) + ");\nconst " + t + "* xm = x + n - 2 * (off + g * " + I(w) +
                             ");\n" + t + "* o = out + g * " + I(2 * w) + ";";
    Text k;
    k.signature = "template <>\nvoid Leaf<" + I(b) + ", " + t + ">(const " + t + "* x, int n, int off, int stride, int groups, " +
                  t + "* out, std::ptrdiff_t os)";
    k.body = "    const std::ptrdiff_t s2 = 2 * static_cast<std::ptrdiff_t>(stride);\n" + GroupLoop(head, narrow, wide_code, quad_code);
    k.census = census.Text() + (quad ? " (four lane groups)" : wide ? " (two lane groups)" : "");
    k.scheme = "rotate by e^(-i*pi*b/(2B)), " + I(b) + "-point DFT" +
               (quad ? ", four lane groups per 512-bit vector" : wide ? ", two lane groups per 256-bit vector" : "");
    return k;
}

// --- step: radix r2 recombination with the step table ------------------------
// The statements of one iteration of a step kernel and their census. A
// 512-bit type does four lane groups: their [re][im] units are two whole
// vectors, split into re and im vectors by two-source permutes (and joined
// again for the stores); the table units are broadcast to every block.
std::pair<std::string, Census> StepCode(int r2, LaneType type, const std::string& indent) {
    const bool quad = type.bits == 512;
    const int w = quad ? type.Lanes() / 4 : type.Lanes();  // lanes of one group
    const std::string v = type.Name();
    Dag dag;
    Signal x(r2);
    for (int d = 0; d < r2; ++d) x[d] = dag.Load(d);
    Signal y = Dft(dag, x);

    LaneEmitter e(dag, type);
    for (int d = 0; d < r2; ++d) {
        const std::string p = "ip + " + I(d) + " * is";
        const std::string a = "a" + I(d);
        int load;
        if (quad) {
            const bool single = type.elem == ElemType::kFloat;
            const int l = type.Lanes();
            const std::string sfx = single ? "ps" : "pd", set = single ? "_mm512_setr_epi32(" : "_mm512_setr_epi64(";
            std::vector<int> re, im;
            for (int g = 0; g < 4; ++g)
                for (int k = 0; k < w; ++k) re.push_back(g * 2 * w + k), im.push_back(g * 2 * w + w + k);
            load = e.AddLoad("const " + v + " " + a + "x = _mm512_loadu_" + sfx + "(" + p + "), " + a + "y = _mm512_loadu_" + sfx + "(" + p +
                             " + " + I(l) + ");\nconst " + v + " " + a + "r = _mm512_permutex2var_" + sfx + "(" + a + "x, " + set +
                             IndexList(re) + "), " + a + "y), " + a + "i = _mm512_permutex2var_" + sfx + "(" + a + "x, " + set +
                             IndexList(im) + "), " + a + "y);");
            e.census().loads += 1;
            e.census().shuffles += 2;
        } else {
            load = e.AddLoad("const " + v + " " + a + "r = " + Load(type, p) + ", " + a + "i = " + Load(type, p + " + " + I(w)) + ";");
            e.census().loads += 1;
        }
        if (d == 0) {
            e.BindInput(d, load, a + "r", a + "i");
            continue;
        }
        // (re + i*im)(c - i*s) with the table's cosine and sine.
        const std::string tw = "tw + " + I((d - 1) * 2 * w);
        int tl;
        if (quad) {
            const bool single = type.elem == ElemType::kFloat;
            const std::string b = single ? "_mm512_broadcast_f32x4(" : "_mm512_broadcast_f64x2(";
            const std::string narrow = single ? "_mm_load_ps(" : "_mm_load_pd(";
            tl = e.AddLoad("const " + v + " c" + I(d) + " = " + b + narrow + tw + ")), s" + I(d) + " = " + b + narrow + tw + " + " + I(w) +
                           "));");
        } else {
            tl = e.AddLoad("const " + v + " c" + I(d) + " = " + Load(type, tw) + ", s" + I(d) + " = " + Load(type, tw + " + " + I(w)) + ";");
        }
        e.census().loads += 1;
        const int rot = AddConjRotation(e, a + "t", a + "r", a + "i", "c" + I(d), "s" + I(d), {load, tl});
        e.BindInput(d, rot, a + "tr", a + "ti");
    }
    e.Compute(y);
    for (int k = 0; k < r2; ++k) {
        std::vector<int> deps;
        std::string re = e.Part(y[k], false, false, &deps), im = e.Part(y[k], true, false, &deps);
        if (quad) {
            e.AddStore(StoreQuad(type, "op + " + I(k) + " * os", re, im), deps);
            e.census().stores += 1;
            e.census().shuffles += 2;
        } else {
            e.AddStore(Store(type, "op + " + I(k) + " * os", re) + " " + Store(type, "op + " + I(k) + " * os + " + I(w), im), deps);
            e.census().stores += 1;
        }
    }
    return {e.Body(indent), e.census()};
}

// `quad`: 512-bit code for four lane groups at a time, the 128-bit code for
// the groups left over.
Text Step(int r2, LaneType type, bool quad = false) {
    const int w = type.Lanes();
    const std::string t = type.Elem();
    auto [narrow, census] = StepCode(r2, type, "        ");
    const std::string head = "        const " + t + "* ip = in + g * " + I(2 * w) + ";\n        " + t + "* op = out + g * " + I(2 * w) + ";\n";
    Text k;
    k.signature = "template <>\nvoid Step<" + I(r2) + ", " + t + ">(const " + t + "* in, std::ptrdiff_t is, " + t + "* out, std::ptrdiff_t os, const " +
                  t + "* tw, int groups)";
    if (quad) {
        LaneType qt = type;
        qt.bits = 512;
        auto [code, qc] = StepCode(r2, qt, "        ");
        k.body = "    int g = 0;\n    for (; g + 4 <= groups; g += 4) {\n" + head + code + "    }\n    for (; g < groups; ++g) {\n" + head +
                 narrow + "    }\n";
        census = qc;
    } else {
        k.body = "    for (int g = 0; g < groups; ++g) {\n" + head + narrow + "    }\n";
    }
    k.census = census.Text() + (quad ? " (four lane groups)" : "");
    k.scheme = "table rotations, " + I(r2) + "-point DFT" + (quad ? ", four lane groups per 512-bit vector" : "");
    return k;
}

// --- output: sum over the r phases, rotations, stores of y -------------------
// `pair`: q-groups q and qm (distinct); otherwise the group q is its own mirror.
// The output stage's r-point DFT of the phases loaded from `first` on,
// each output rotated by e^(-i*pi*k/(2r)).
Signal RotatedDft(Dag& dag, int first, int r) {
    Signal a(r);
    for (int i = 0; i < r; ++i) a[i] = dag.Load(first + i);
    Signal out = Dft(dag, a);
    for (int k = 0; k < r; ++k) out[k] = dag.Mul(out[k], Rotation(k, 4 * r, -1));
    return out;
}

// Address of row i (the real or, `imag`, the imaginary part) of lane group g
// of q-group `qv` in the output stage's work buffer: rows of w lanes, `groups`
// lane groups per q.
std::string WorkRow(const std::string& qv, int w, int i, int groups, int g, bool imag) {
    return "work + ((" + qv + " * " + I(w) + " + " + I(i) + ") * " + I(groups) + " + " + I(g) + ") * " + I(2 * w) +
           (imag ? " + " + I(w) : "");
}

// Address of the cosines (or, `sine`, the sines) of phase `ph` for q-group
// `qv` in the rotation table: w lanes each.
std::string RotationUnit(const std::string& qv, int r, int ph, int w, bool sine) {
    return "rot + (" + qv + " * " + I(r) + " + " + I(ph) + ") * " + I(2 * w) + (sine ? " + " + I(w) : "");
}

Text Output(int r, LaneType type, bool pair) {
    const int w = type.Lanes();
    const int groups = r / w;  // lane groups of phases in the work buffer
    const bool single = type.elem == ElemType::kFloat;
    const std::string t = type.Elem(), v = type.Name();
    const int sets = pair ? 2 : 1;
    Dag dag;
    std::vector<Signal> out(sets);
    for (int s = 0; s < sets; ++s) out[s] = RotatedDft(dag, s * r, r);
    LaneEmitter e(dag, type);
    for (int s = 0; s < sets; ++s) {
        const std::string qv = s == 0 ? "q" : "qm";
        for (int g = 0; g < groups; ++g) {
            // w rows (one per q) of w phases each, turned into w phases of w q's.
            const std::string n = "g" + I(s) + "_" + I(g);
            std::string text;
            for (int part = 0; part < 2; ++part) {
                const char pc = part ? 'i' : 'r';
                std::vector<std::string> rows;
                text += "const " + v + " ";
                for (int i = 0; i < w; ++i) {
                    rows.push_back(n + pc + "row" + I(i));
                    text += std::string(i ? ", " : "") + rows.back() + " = " + Load(type, WorkRow(qv, w, i, groups, g, part));
                }
                text += ";\n" + Transpose(type, rows, n + pc);
                e.census().shuffles += single ? 8 : 2;
                if (!part) text += "\n";
            }
            int load = e.AddLoad(text);
            e.census().loads += 2 * w - 1;
            for (int l = 0; l < w; ++l) {
                const int a = g * w + l;
                const std::string c = "c" + I(s) + "_" + I(a), sn = "s" + I(s) + "_" + I(a);
                int tl = e.AddLoad("const " + v + " " + c + " = " + Load(type, RotationUnit(qv, r, a, w, false)) + ", " + sn +
                                   " = " + Load(type, RotationUnit(qv, r, a, w, true)) + ";");
                e.census().loads += 1;
                const std::string xr = n + "r" + I(l), xi = n + "i" + I(l), u = "u" + I(s) + "_" + I(a);
                const int h = AddConjRotation(e, u, xr, xi, c, sn, {load, tl});
                e.BindInput(s * r + a, h, u + "r", u + "i");
            }
        }
    }
    Signal all;
    for (const Signal& s : out) all.insert(all.end(), s.begin(), s.end());
    e.Compute(all);
    // y[2j] = Re W[j] and y[2j+1] = -Im W[L-1-j]: for lanes j = Q*w + l + B*t
    // the odd slots come from the mirror group at r-1-t, lanes reversed.
    auto store = [&](int s, int k) {
        const int mirror = pair ? 1 - s : s;
        std::vector<int> deps;
        const std::string even = e.Part(out[s][k], false, false, &deps);
        const std::string odd = e.Part(out[mirror][r - 1 - k], true, true, &deps);
        AddInterleavedStore(e, "y + 2 * (" + std::string(s == 0 ? "q" : "qm") + " * " + I(w) + " + b * " + I(k) + ")", even, odd, deps);
    };
    for (int s = 0; s < sets; ++s)
        for (int k = 0; k < r; ++k) store(s, k);
    Text k;
    k.signature = "template <>\nvoid " + std::string(pair ? "OutputPair" : "OutputSelf") + "<" + I(r) + ", " + t + ">(const " + t +
                  "* work, const " + t + "* rot, " + t + "* y, int b, int q" + (pair ? ", int qm" : "") + ")";
    k.body = e.Body("    ");
    k.census = e.census().Text();
    k.scheme = "transpose, table rotations, " + I(r) + "-point DFT, rotate by e^(-i*pi*t/(2r))";
    return k;
}

// OutputPair with 256-bit vectors: q-group q in the low halves, qm in the
// high halves, so one r-point DFT on whole vectors does both. The work rows
// and table units of the two q-groups are 128-bit loads joined into one
// vector; the transposes stay within the halves; for the stores the mirror
// values have their halves exchanged (q's odd slots come from qm and back),
// and each half is stored where its q-group goes.
Text OutputPairWide(int r, LaneType type) {
    const int w = type.Lanes() / 2;  // lanes of one q-group
    const int groups = r / w;
    const bool single = type.elem == ElemType::kFloat;
    const std::string t = type.Elem(), v = type.Name();
    Dag dag;
    const Signal out = RotatedDft(dag, 0, r);
    LaneEmitter e(dag, type);
    for (int g = 0; g < groups; ++g) {
        const std::string n = "g" + I(g);
        std::string text;
        for (int part = 0; part < 2; ++part) {
            const char pc = part ? 'i' : 'r';
            std::vector<std::string> rows;
            text += "const " + v + " ";
            for (int i = 0; i < w; ++i) {
                rows.push_back(n + pc + "row" + I(i));
                text += std::string(i ? ", " : "") + rows.back() + " = " +
                        LoadHalves(type, WorkRow("q", w, i, groups, g, part), WorkRow("qm", w, i, groups, g, part));
            }
            text += ";\n" + TransposeHalves(type, rows, n + pc);
            e.census().shuffles += (single ? 8 : 2) + w;
            if (!part) text += "\n";
        }
        int load = e.AddLoad(text);
        e.census().loads += 4 * w - 1;
        for (int l = 0; l < w; ++l) {
            const int ph = g * w + l;
            auto unit = [&](bool sine) {
                return LoadHalves(type, RotationUnit("q", r, ph, w, sine), RotationUnit("qm", r, ph, w, sine));
            };
            const std::string c = "c" + I(ph), sn = "s" + I(ph);
            int tl = e.AddLoad("const " + v + " " + c + " = " + unit(false) + ", " + sn + " = " + unit(true) + ";");
            e.census().loads += 3;
            e.census().shuffles += 2;
            const std::string xr = n + "r" + I(l), xi = n + "i" + I(l), u = "u" + I(ph);
            const int h = AddConjRotation(e, u, xr, xi, c, sn, {load, tl});
            e.BindInput(ph, h, u + "r", u + "i");
        }
    }
    e.Compute(out);
    // y[2j] = Re W[j] and y[2j+1] = -Im W[L-1-j], as in Output(); the mirror
    // of the low half (q) is the high half (qm) and back, so the odd values
    // are the vector of r-1-k with its halves exchanged (for float, with the
    // lane reversal, one full reversal of the eight lanes).
    for (int k = 0; k < r; ++k) {
        std::vector<int> deps;
        const std::string even = e.Part(out[k], false, false, &deps);
        const std::string odd = e.Part(out[r - 1 - k], true, true, &deps);
        const std::string at0 = "y + 2 * (q * " + I(w) + " + b * " + I(k) + ")", at1 = "y + 2 * (qm * " + I(w) + " + b * " + I(k) + ")";
        if (single) {
            e.AddStore("{\n    const __m256 o = _mm256_permutevar8x32_ps(" + odd + ", _mm256_setr_epi32(7, 6, 5, 4, 3, 2, 1, 0));\n" +
                           "    const __m256 lo = _mm256_unpacklo_ps(" + even + ", o), hi = _mm256_unpackhi_ps(" + even + ", o);\n    " +
                           StoreHalves(type, at0, at1, "lo") + "\n    " + StoreHalves(type, at0 + " + 4", at1 + " + 4", "hi") + "\n}",
                       deps);
            e.census().shuffles += 3;
        } else {
            e.AddStore("{\n    const __m256d o = _mm256_permute4x64_pd(" + odd + ", 0x4E);\n" +
                           "    const __m256d lo = _mm256_shuffle_pd(" + even + ", o, 0xA), hi = _mm256_shuffle_pd(" + even + ", o, 0x5);\n    " +
                           StoreHalves(type, at0, at1, "lo") + "\n    " + StoreHalves(type, at0 + " + 2", at1 + " + 2", "hi") + "\n}",
                       deps);
            e.census().shuffles += 3;
        }
        e.census().stores += 3;  // four 128-bit stores
    }
    Text k;
    k.signature = "template <>\nvoid OutputPair<" + I(r) + ", " + t + ">(const " + t + "* work, const " + t + "* rot, " + t +
                  "* y, int b, int q, int qm)";
    k.body = e.Body("    ");
    k.census = e.census().Text();
    k.scheme = "q and qm in the halves of " + v + ": transpose, table rotations, " + I(r) + "-point DFT, rotate by e^(-i*pi*t/(2r))";
    return k;
}

std::string Prec(bool single) { return single ? "32f" : "64f"; }

}  // namespace

int Dct4FileCount() { return static_cast<int>(sizeof kKernels / sizeof kKernels[0]); }

GeneratedFile Dct4File(int index, bool single, Isa isa) {
    // 256-bit vectors for x86-64-v3 (and v4 until it has its own kernels).
    const bool wide = isa != Isa::kX86_64;
    KernelId id = kKernels[index];
    // Single precision has at least 4 phases (one vector); its radix-2 slot
    // holds nothing.
    if (single && id.kind == KernelKind::kOutput && id.size == 2) {
        GeneratedFile none;
        none.name = "dct4_output_2_32f.cpp";
        none.text = "// Generated by qvngen-gen dct4 -- do not edit.\n// Single precision never splits into 2 phases.\n";
        return none;
    }
    const LaneType scalar{single ? ElemType::kFloat : ElemType::kDouble, false};
    const LaneType vec{single ? ElemType::kFloat : ElemType::kDouble, true};
    std::vector<Text> texts;
    std::string what, stem;
    switch (id.kind) {
        case KernelKind::kDirect:
            // The lane form where its blocks fill whole vectors: it measured
            // 1.6 to 2.9 times faster than the scalar form there. Double
            // N = 8 (two phases of two points) would be twice as fast too,
            // but its extra rotation stages cost a fifth more error.
            if (id.size == 32 || (!single && id.size == 16)) {
                texts.push_back(DirectInLanes(id.size, 4, vec));
                what = "type-IV DCT of 32 points, phases in the lanes of " + vec.Name();
            } else {
                texts.push_back(Direct(id.size, scalar));
                what = "type-IV DCT of " + I(id.size) + " points, scalar";
            }
            stem = "direct";
            break;
        case KernelKind::kLeaf:
            texts.push_back(Leaf(id.size, vec, wide, isa == Isa::kX86_64_v4));
            what = "phase transform J of " + I(id.size) + " points, one phase per lane";
            stem = "leaf";
            break;
        case KernelKind::kStep:
            // 128-bit in the x86-64-v3 build: two lane groups per 256-bit
            // vector, from 128-bit halves, measured slower (4096 and 8192
            // points). x86-64-v4 takes four groups per 512-bit vector.
            texts.push_back(Step(id.size, vec, isa == Isa::kX86_64_v4));
            what = "radix-" + I(id.size) + " recombination of a phase transform, one phase per lane";
            stem = "step";
            break;
        case KernelKind::kOutput:
            if (wide) {
                LaneType wt = vec;
                wt.bits = 256;
                texts.push_back(OutputPairWide(id.size, wt));
            } else {
                texts.push_back(Output(id.size, vec, true));
            }
            texts.push_back(Output(id.size, vec, false));
            what = "output stage of radix " + I(id.size) + ", one q per lane";
            stem = "output";
            break;
    }
    GeneratedFile file;
    file.name = "dct4_" + stem + "_" + I(id.size) + "_" + Prec(single) + ".cpp";
    std::string head = "// Generated by qvngen-gen dct4 -- do not edit.\n// DCT-IV kernel: " + what + ", " +
                       (single ? "single" : "double") + " precision.\n";
    std::string bodies;
    for (const Text& k : texts) {
        const std::string fn = k.signature.substr(k.signature.find("void ") + 5, k.signature.find('(') - k.signature.find("void ") - 5);
        head += "// " + fn + ": " + k.scheme + "\n//   census: " + k.census + "\n";
        file.census += "dct4 " + fn + ": " + k.census + "\n";
        bodies += k.signature + " {\n" + k.body + "}\n\n";
    }
    file.text = head + (wide ? "#include <immintrin.h>\n\n" : "#include <emmintrin.h>\n\n") + "#include <cstddef>\n\n#include \"dct4/kernels.h\"\n\n" + "namespace qvn::dct4 {\n\n" + bodies +
                "}  // namespace qvn::dct4\n";
    return file;
}

}  // namespace gen
