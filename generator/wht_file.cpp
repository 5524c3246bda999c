// Walsh-Hadamard kernels. The transform of N = 2^k points is the Kronecker
// power of the 2-point butterfly, so it factors along the bits of the index:
//   - bits that select the vector (or the row, or the column) are butterflies
//     between whole vectors, lane by lane, with no shuffles;
//   - the bits inside a vector (2 for float, 1 for double) are butterflies
//     between a vector and its lane-swapped copy, one shuffle and one sign
//     flip per bit.
// Orders up to 7 stay in registers. Larger orders run in passes through the
// work area: contiguous rows first, then columns a few lanes at a time, the
// largest ones with a middle pass; every pass is a short loop around a
// straight-line kernel written here.
//
// Wider vectors (256 bits: 8 floats or 4 doubles) are two 128-bit blocks.
// The bits inside a block are done as above, with in-block shuffles. The
// block bit is the row's top bit: vector k of a row holds block k and block
// k + count (count = vectors per row), so every bit in between is a
// butterfly between whole vectors, and the top bit, the last one, pairs two
// vectors by their halves (one cross-half permute per vector) and stores
// the halves where they belong. Columns need no shuffle at all. Every
// element sees the same sums in the same order, with the same operand
// order, as in the 128-bit kernels, so the results are the same bits.
//
// 512-bit vectors (16 floats or 8 doubles) are four 128-bit blocks and stay
// in natural order: after the bits inside the blocks, the two bits that
// select the block are butterflies between a vector and its blocks swapped
// (one block shuffle, one xor and one add per bit), then the bits between
// whole vectors; loads and stores are whole vectors. The bits are taken in
// the same order as in the narrower kernels, so the sums are the same. Only
// transforms shorter than one such vector keep the 256-bit kernels. The 32
// registers let a blocked transform keep sixteen vectors busy instead of
// eight.
#include "wht_file.h"

#include <cmath>
#include <stdexcept>
#include <set>
#include <string>
#include <vector>

namespace gen {
namespace {

// Vector shape of one target: element type, vector type, intrinsic prefix
// and suffix, elements per vector and per 128-bit block.
struct Prec {
    bool single;
    const char* real;
    const char* vec;
    const char* suffix;
    int lanes;
    const char* prefix = "_mm";
    int block = 0;  // elements per 128-bit block; 0: lanes (one block)
    int registers = 16;  // vector registers of the target
    int Block() const { return block ? block : lanes; }
    bool Wide() const { return Block() != lanes; }
    int Blocks() const { return lanes / Block(); }  // 128-bit blocks per vector
    // The 128-bit type of one block.
    const char* half() const { return single ? "__m128" : "__m128d"; }
};

Prec PrecOf(bool single, Isa isa) {
    if (isa == Isa::kX86_64_v4)
        return single ? Prec{true, "float", "__m512", "ps", 16, "_mm512", 4, 32}
                      : Prec{false, "double", "__m512d", "pd", 8, "_mm512", 2, 32};
    if (isa != Isa::kX86_64)
        return single ? Prec{true, "float", "__m256", "ps", 8, "_mm256", 4}
                      : Prec{false, "double", "__m256d", "pd", 4, "_mm256", 2};
    return single ? Prec{true, "float", "__m128", "ps", 4} : Prec{false, "double", "__m128d", "pd", 2};
}

// The 256-bit shape of a 512-bit target, for transforms shorter than one
// 512-bit vector.
Prec Narrower(const Prec& p) { return PrecOf(p.single, Isa::kX86_64_v3); }

// Straight-line code with SSA names and a census.
class Writer {
public:
    explicit Writer(const Prec& p) : p_(p) {}
    std::string New() { return "t" + std::to_string(next_++); }
    std::string Op(const char* op, const std::string& a, const std::string& b) {
        std::string t = New();
        line("const " + std::string(p_.vec) + " " + t + " = " + p_.prefix + "_" + op + "_" + p_.suffix + "(" + a + ", " + b +
             ");");
        return t;
    }
    // Butterflies between the values whose positions differ in bit `stride`.
    void Stage(std::vector<std::string>& v, size_t stride) {
        for (size_t i = 0; i < v.size(); ++i)
            if ((i & stride) == 0) {
                std::string a = Op("add", v[i], v[i | stride]);
                std::string b = Op("sub", v[i], v[i | stride]);
                census.adds += 2;
                v[i] = a;
                v[i | stride] = b;
            }
    }
    void AllStages(std::vector<std::string>& v) {
        for (size_t stride = 1; stride < v.size(); stride <<= 1) Stage(v, stride);
    }
    // The bits inside each vector, one vector at a time: for lane bit b,
    // partner = the vector with lanes swapped across b, and the lanes with b
    // set take the difference: v' = partner + (v with those lanes negated).
    // One shuffle, one xor and one add per bit; the xor runs on any FP pipe,
    // which leaves the shuffle pipes less crowded than a transpose would.
    void LaneStages(std::vector<std::string>& v) {
        comment(p_.Wide() ? "bits inside each 128-bit block" : "bits inside each vector");
        const std::string sh = std::string(p_.prefix) + "_shuffle_" + p_.suffix + "(";
        for (std::string& x : v) {
            if (p_.single) {
                x = LaneButterfly(x, sh + x + ", " + x + ", _MM_SHUFFLE(1, 0, 3, 2))", "neg_hi_half");
                x = LaneButterfly(x, sh + x + ", " + x + ", _MM_SHUFFLE(2, 3, 0, 1))", "neg_odd");
            } else {
                // One selector bit per element: swap within every block.
                x = LaneButterfly(x, sh + x + ", " + x + ", " + (p_.Blocks() == 4 ? "0x55" : p_.Wide() ? "5" : "1") + ")",
                                  "neg_odd");
            }
        }
        if (p_.Blocks() != 4) return;
        // 512-bit vectors are in their natural order, so the two bits that
        // select the 128-bit block come next, each a butterfly with the
        // vector's blocks swapped in pairs (0xB1: 1 0 3 2) or in halves
        // (0x4E: 2 3 0 1): one shuffle per vector and bit, where a 4 x 4
        // transpose of the blocks there and back would take two.
        comment("bits between the 128-bit blocks of each vector");
        const std::string blocks = std::string(p_.prefix) + "_shuffle_" + (p_.single ? "f32x4(" : "f64x2(");
        for (std::string& x : v) {
            x = LaneButterfly(x, blocks + x + ", " + x + ", 0xB1)", "neg_odd_blocks");
            x = LaneButterfly(x, blocks + x + ", " + x + ", 0x4E)", "neg_hi_blocks");
        }
    }
    std::string LaneButterfly(const std::string& x, const std::string& partner, const std::string& mask) {
        masks.insert(mask);
        census.adds += 1;
        census.shuffles += 2;  // the shuffle and the xor
        std::string t = New();
        line("const " + std::string(p_.vec) + " " + t + " = " + p_.prefix + "_add_" + p_.suffix + "(" + partner + ", " +
             p_.prefix + "_xor_" + p_.suffix + "(" + x + ", " + mask + "));");
        return t;
    }
    void line(const std::string& s) { text += "    " + s + "\n"; }
    void comment(const std::string& s) { line("// " + s); }

    std::string text;
    Census census;
    std::set<std::string> masks;  // sign masks the code uses

private:
    const Prec& p_;
    int next_ = 0;
};

// The transform of `count` vectors (lane by lane, plus the bits inside each
// vector when `lanes_too`), in two phases that each keep at most eight
// vectors busy (sixteen with 32 registers), so the values fit the
// registers: first groups of eight (sixteen) consecutive vectors are
// loaded and butterflied on their low bits, then the vectors that share
// those low bits are butterflied on the high bits and stored. All loads come before the first store, so `in` may be
// `out`. Returns the code; the census goes to `census`.
//
// Wide rows (`lanes_too` with blocks narrower than the vector) hold blocks k
// and k + count in vector k, `step` being the block; they end with the top
// bit between the halves (see the head of the file); 512-bit rows are in
// natural order.
// Wide columns load and store whole vectors, unaligned: the aligned body
// only knows 16 bytes.
std::string BlockedTransform(const Prec& p, int count, const std::string& step, bool lanes_too, bool scaled,
                             Census& census) {
    Writer w(p);
    const bool halves = lanes_too && p.Blocks() == 2;
    int low = 1;
    while (low < count && low < p.registers / 2) low <<= 1;
    const int groups = count / low;
    std::vector<std::string> v(count);
    for (int g = 0; g < groups; ++g) {
        std::vector<std::string> group;
        for (int i = 0; i < low; ++i) {
            int index = g * low + i;
            std::string t = w.New();
            if (!p.Wide()) {
                w.line("const " + std::string(p.vec) + " " + t + " = Mem::Load(in + " + std::to_string(index) + " * " +
                       step + ");");
            } else if (halves) {
                // Blocks `index` and `index + count` of the row.
                w.line("const " + std::string(p.vec) + " " + t + " = " + p.prefix + "_set_m128" +
                       (p.single ? "" : "d") + "(Mem::Load(in + " + std::to_string(index + count) + " * " + step +
                       "), Mem::Load(in + " + std::to_string(index) + " * " + step + "));");
                w.census.loads += 1;
                w.census.shuffles += 1;  // the insert of the upper half
            } else {
                w.line("const " + std::string(p.vec) + " " + t + " = " + p.prefix + "_loadu_" + p.suffix + "(in + " +
                       std::to_string(index) + " * " + step + ");");
            }
            group.push_back(t);
        }
        w.census.loads += low;
        if (lanes_too) w.LaneStages(group);
        if (low > 1) w.comment("vectors " + std::to_string(g * low) + ".." + std::to_string(g * low + low - 1));
        w.AllStages(group);
        std::copy(group.begin(), group.end(), v.begin() + g * low);
    }
    std::string stores;
    for (int r = 0; r < low; ++r) {
        std::vector<std::string> set;
        for (int g = 0; g < groups; ++g) set.push_back(v[g * low + r]);
        if (groups > 1) w.comment("vectors " + std::to_string(r) + " + " + std::to_string(low) + "k");
        w.AllStages(set);
        for (int g = 0; g < groups; ++g) v[g * low + r] = set[g];
    }
    if (halves) {
        // The top bit, between the halves: vectors 2i and 2i+1 regrouped as
        // (low halves, high halves), the butterfly, then each half stored as
        // the block it is: the sums are blocks 2i and 2i+1, the differences
        // blocks 2i + count and 2i+1 + count.
        w.comment("top bit, between the 128-bit halves");
        const std::string perm = std::string(p.prefix) + "_permute2f128_" + p.suffix + "(";
        std::vector<std::string> out(count);
        for (int i = 0; i < count; i += 2) {
            const std::string lo = w.New(), hi = w.New();
            w.line("const " + std::string(p.vec) + " " + lo + " = " + perm + v[i] + ", " + v[i + 1] + ", 0x20), " + hi +
                   " = " + perm + v[i] + ", " + v[i + 1] + ", 0x31);");
            w.census.shuffles += 2;
            std::vector<std::string> pair{lo, hi};
            w.Stage(pair, 1);
            out[i] = pair[0];
            out[i + 1] = pair[1];
        }
        const std::string cast = p.single ? "_mm256_castps256_ps128(" : "_mm256_castpd256_pd128(";
        const std::string extract = std::string(p.prefix) + "_extractf128_" + p.suffix + "(";
        for (int i = 0; i < count; i += 2)
            for (int k = 0; k < 2; ++k) {
                const std::string& value0 = out[i + k];
                std::string value = value0;
                if (scaled) {
                    value = w.New();
                    w.line("const " + std::string(p.vec) + " " + value + " = " + p.prefix + "_mul_" + p.suffix + "(" +
                           value0 + ", s);");
                }
                const int lo_block = i + k * count, hi_block = i + 1 + k * count;
                w.line("Mem::Store(out + " + std::to_string(lo_block) + " * " + step + ", " + cast + value + "));");
                w.line("Mem::Store(out + " + std::to_string(hi_block) + " * " + step + ", " + extract + value +
                       ", 1));");
            }
        w.census.stores += 2 * count;
    } else {
        for (int i = 0; i < count; ++i) {
            std::string value =
                scaled ? std::string(p.prefix) + "_mul_" + std::string(p.suffix) + "(" + v[i] + ", s)" : v[i];
            if (p.Wide())
                w.line(std::string(p.prefix) + "_storeu_" + p.suffix + "(out + " + std::to_string(i) + " * " + step +
                       ", " + value + ");");
            else
                w.line("Mem::Store(out + " + std::to_string(i) + " * " + step + ", " + value + ");");
        }
        w.census.stores += count;
    }
    if (scaled) w.census.muls += count;
    census = w.census;
    std::string masks;
    for (const std::string& m : w.masks) {
        std::string def = m == "neg_hi_half" ? "qvn::SignMaskPs(false, false, true, true)"
                          : p.single        ? "qvn::SignMaskPs(false, true, false, true)"
                                            : "qvn::SignMaskPd(false, true)";
        if (m == "neg_odd_blocks" || m == "neg_hi_blocks") {
            // Sign bits on the lanes of blocks 1 and 3, or of blocks 2 and 3.
            const int bit = m == "neg_odd_blocks" ? 1 : 2;
            def = std::string(p.prefix) + "_set_" + p.suffix + "(";
            for (int lane = p.lanes - 1; lane >= 0; --lane)
                def += std::string((lane / p.Block()) & bit ? "-0.0" : "0.0") + (p.single ? "f" : "") + (lane ? ", " : ")");
        } else if (p.Blocks() == 4)  // the same mask in every block
            def = std::string(p.prefix) + "_broadcast_" + (p.single ? "f32x4" : "f64x2") + "(" + def + ")";
        else if (p.Wide())
            def = std::string(p.prefix) + "_set_m128" + (p.single ? "" : "d") + "(" + def + ", " + def + ")";
        masks += "    const " + std::string(p.vec) + " " + m + " = " + def + ";\n";
    }
    return masks + w.text;
}

// Transform of n contiguous values, in registers: in -> out, scaled or not.
std::string RowKernel(const Prec& p, int n, bool scaled, const std::string& name, Census& census) {
    // 256-bit rows hold blocks k and k + count in vector k, so their step is
    // one block; 512-bit rows are in natural order, one vector per step.
    const int step = p.Blocks() == 4 ? p.lanes : p.Block();
    std::string body = BlockedTransform(p, n / p.lanes, std::to_string(step), true, scaled, census);
    std::string sig = scaled ? ", " + std::string(p.vec) + " s" : "";
    return "template <class Mem>\ninline void " + name + "(const " + p.real + "* in, " + p.real + "* out" + sig +
           ") {\n" + body + "}\n\n";
}

// Transform of n values down a column, `lanes` columns at once, kStride apart.
std::string ColumnKernel(const Prec& p, int n, const std::string& name, Census& census) {
    Census scaled_census;
    std::string scaled = BlockedTransform(p, n, "kStride", false, true, scaled_census);
    std::string plain = BlockedTransform(p, n, "kStride", false, false, census);
    auto indent = [](const std::string& text) {
        std::string out;
        size_t start = 0;
        while (start < text.size()) {
            size_t end = text.find('\n', start);
            out += "    " + text.substr(start, end - start + 1);
            start = end + 1;
        }
        return out;
    };
    census.stores = 0;  // counted per call by the caller
    return "template <class Mem, int kStride, bool kScaled>\ninline void " + name + "(const " + p.real + "* in, " +
           p.real + "* out, " + p.vec + " s) {\n    if constexpr (kScaled) {\n" + indent(scaled) +
           "    } else {\n        (void)s;\n" + indent(plain) + "    }\n}\n\n";
}

// Scalar body for the smallest orders: plain float/double arithmetic.
std::string ScalarBody(const Prec& p, int n, Census& census) {
    std::string text;
    std::vector<std::string> v;
    for (int i = 0; i < n; ++i) {
        v.push_back("x" + std::to_string(i));
        text += "    const " + std::string(p.real) + " x" + std::to_string(i) + " = x[" + std::to_string(i) + "];\n";
    }
    int next = 0;
    for (int stride = 1; stride < n; stride <<= 1)
        for (int i = 0; i < n; ++i)
            if ((i & stride) == 0) {
                std::string a = "t" + std::to_string(next++), b = "t" + std::to_string(next++);
                text += "    const " + std::string(p.real) + " " + a + " = " + v[i] + " + " + v[i | stride] + ", " + b +
                        " = " + v[i] + " - " + v[i | stride] + ";\n";
                v[i] = a;
                v[i | stride] = b;
                census.adds += 2;
            }
    for (int i = 0; i < n; ++i) text += "    y[" + std::to_string(i) + "] = " + v[i] + " * scale;\n";
    census.loads += n;
    census.stores += n;
    census.muls += n;
    return text;
}

// The order that fills exactly one 256-bit vector (8 floats), which the
// 128-bit build does in scalar code: the bits in the scalar code's order
// (0, 1, then 2 across the halves), each as a butterfly with a permuted copy.
std::string OneVectorBody(const Prec& p, Census& census) {
    const std::string v = p.vec, pre = p.prefix, sfx = p.suffix;
    std::string text = "    const " + v + " x0 = " + pre + "_loadu_" + sfx + "(x);\n";
    struct Bit {
        std::string partner, mask;
    };
    const std::vector<Bit> bits = {
        {pre + "_shuffle_" + sfx + "(x0, x0, _MM_SHUFFLE(2, 3, 0, 1))", "qvn::SignMaskPs(false, true, false, true), qvn::SignMaskPs(false, true, false, true)"},
        {pre + "_shuffle_" + sfx + "(x1, x1, _MM_SHUFFLE(1, 0, 3, 2))", "qvn::SignMaskPs(false, false, true, true), qvn::SignMaskPs(false, false, true, true)"},
        {pre + "_permute2f128_" + sfx + "(x2, x2, 1)", "qvn::SignMaskPs(true, true, true, true), qvn::SignMaskPs(false, false, false, false)"},
    };
    for (size_t b = 0; b < bits.size(); ++b) {
        const std::string x = "x" + std::to_string(b), y = "x" + std::to_string(b + 1);
        text += "    // bit " + std::to_string(b) + "\n    const " + v + " " + y + " = " + pre + "_add_" + sfx + "(" + bits[b].partner + ", " + pre +
                "_xor_" + sfx + "(" + x + ", " + pre + "_set_m128(" + bits[b].mask + ")));\n";
        census.adds += 1;
        census.shuffles += 2;
    }
    text += "    " + std::string(pre) + "_storeu_" + sfx + "(y, " + pre + "_mul_" + sfx + "(x3, " + pre + "_set1_" + sfx + "(scale)));\n";
    census.loads += 1;
    census.stores += 1;
    census.muls += 1;
    return text;
}

// Row and column lengths of the passes (row = contiguous, the last one
// first): orders 8..11 (float) and 8..10 (double) in two passes, the larger
// ones in three.
std::vector<int> PassShape(int order, bool single, bool wide512) {
    if (wide512) {
        // Measured: rows of four vectors up to order 11 (double: 10), where
        // longer rows were slower or no faster; orders 12 and 13 take rows
        // of sixteen vectors, all in registers, and short middle passes,
        // 7-13% faster than the rows of four.
        if (single) {
            switch (order) {
                case 8: return {4, 64};
                case 9: return {8, 64};
                case 10: return {16, 64};
                case 11: return {32, 64};
                case 12: return {16, 256};
                case 13: return {4, 8, 256};
            }
        } else {
            switch (order) {
                case 8: return {8, 32};
                case 9: return {16, 32};
                case 10: return {32, 32};
                // Rows of 128: sixteen vectors in registers, one pass fewer.
                case 11: return {16, 128};
                case 12: return {4, 8, 128};
                case 13: return {4, 16, 128};
            }
        }
    }
    if (single) {
        switch (order) {
            case 8: return {8, 32};
            case 9: return {16, 32};
            case 10: return {32, 32};
            case 11: return {32, 64};
            case 12: return {16, 16, 16};
            case 13: return {16, 16, 32};
        }
    } else {
        switch (order) {
            case 8: return {16, 16};
            case 9: return {16, 32};
            case 10: return {32, 32};
            case 11: return {8, 16, 16};
            case 12: return {16, 16, 16};
            case 13: return {4, 32, 64};  // measured: a short last pass keeps 64 KB arrays out of trouble
        }
    }
    throw std::runtime_error("no pass shape for order " + std::to_string(order));
}

// Body of the orders that pass through the work area: the kernels it calls
// go to `kernels`, the census counts every call.
std::string PassesBody(const Prec& p, int order, std::string& kernels, Census& census) {
    const int n = 1 << order;
    std::string body;
    std::vector<int> shape = PassShape(order, p.single, p.Blocks() == 4);
    const int row = shape.back();
    Census c;
    kernels += RowKernel(p, row, false, "Row" + std::to_string(row), c);
    census.adds += c.adds * (n / row);
    census.shuffles += c.shuffles * (n / row);
    census.loads += c.loads * (n / row);
    census.stores += c.stores * (n / row);
    std::string vs = std::string(p.prefix) + "_set1_" + std::string(p.suffix) + "(scale)";
    body += "    const " + std::string(p.vec) + " s = " + vs + ";\n";
    body += "    // Pass 1: rows of " + std::to_string(row) + " contiguous values, into the work area.\n";
    body += "    for (int r = 0; r < " + std::to_string(n / row) + "; ++r) Row" + std::to_string(row) +
            "<Mem>(x + " + std::to_string(row) + " * r, work + " + std::to_string(row) + " * r);\n";
    // Column kernels, one per distinct length; the census counts every call.
    auto count_calls = [&](const Census& k, int calls, bool scaled, int len) {
        census.adds += k.adds * calls;
        census.loads += k.loads * calls;
        census.stores += len * calls;
        if (scaled) census.muls += len * calls;
    };
    std::vector<int> lengths{shape[0]};
    if (shape.size() == 3 && shape[1] != shape[0]) lengths.push_back(shape[1]);
    for (int len : lengths) {
        Census k;
        kernels += ColumnKernel(p, len, "Column" + std::to_string(len), k);
        if (len == shape[0]) count_calls(k, n / len / p.lanes, true, len);
        if (shape.size() == 3 && len == shape[1]) count_calls(k, n / len / p.lanes, false, len);
    }
    const int lanes = p.lanes;
    if (shape.size() == 2) {
        const int rows = shape[0];
        body += "    // Pass 2: the " + std::to_string(rows) + "-point transform down the " + std::to_string(row) +
                " columns, " + std::to_string(lanes) + " at a time, scaled, into the destination.\n";
        body += "    for (int c = 0; c < " + std::to_string(row) + "; c += " + std::to_string(lanes) + ") Column" +
                std::to_string(rows) + "<Mem, " + std::to_string(row) + ", true>(work + c, y + c, s);\n";
    } else {
        const int a = shape[0], b = shape[1];
        body += "    // Pass 2: the " + std::to_string(b) + "-point transform down the columns of each of the " +
                std::to_string(a) + " blocks of " + std::to_string(b) + " x " + std::to_string(row) +
                ", in place.\n";
        body += "    for (int blk = 0; blk < " + std::to_string(a) + "; ++blk)\n";
        body += "        for (int c = 0; c < " + std::to_string(row) + "; c += " + std::to_string(lanes) +
                ") Column" + std::to_string(b) + "<Mem, " + std::to_string(row) + ", false>(work + " +
                std::to_string(b * row) + " * blk + c, work + " + std::to_string(b * row) + " * blk + c, s);\n";
        body += "    // Pass 3: the " + std::to_string(a) + "-point transform across the blocks, scaled, into "
                "the destination.\n";
        body += "    for (int c = 0; c < " + std::to_string(b * row) + "; c += " + std::to_string(lanes) +
                ") Column" + std::to_string(a) + "<Mem, " + std::to_string(b * row) +
                ", true>(work + c, y + c, s);\n";
    }
    return body;
}

}  // namespace

GeneratedFile WhtFile(int order, bool single, Isa isa) {
    const int n = 1 << order;
    Prec p = PrecOf(single, isa);
    if (p.Blocks() == 4 && n < p.lanes) p = Narrower(p);
    const std::string prec = single ? "32f" : "64f";
    // Order 3 in single precision fills one 256-bit vector: a kernel of its
    // own there. The orders below one vector are scalar code.
    const bool one_vector = p.Blocks() == 2 && single && n == p.lanes;
    const bool scalar = !one_vector && (single ? order <= 3 : order <= 2);
    const bool passes = order >= 8;
    const ElemType type = single ? ElemType::kFloat : ElemType::kDouble;

    GeneratedFile file;
    file.name = "wht_" + std::to_string(order) + "_" + prec + ".cpp";
    std::string kernels, body, layout;
    Census census;
    if (one_vector) {
        layout = "AVX, one vector";
        body = OneVectorBody(p, census);
    } else if (scalar) {
        layout = "scalar";
        body = ScalarBody(p, n, census);
    } else if (!passes) {
        layout = std::string(p.Blocks() == 4 ? "AVX-512" : p.Wide() ? "AVX" : "SSE2") + " in registers, " + std::to_string(p.lanes) +
                 " values per vector";
        kernels = RowKernel(p, n, true, "Transform", census);
        body = "    Transform<Mem>(x, y, " + std::string(p.prefix) + "_set1_" + std::string(p.suffix) + "(scale));\n";
    } else {
        layout = "passes";
        body = PassesBody(p, order, kernels, census);
    }

    const double inv_n = 1.0 / n, inv_sqrt = 1.0 / std::sqrt(static_cast<double>(n));
    std::string scales = "{" + HexLiteral(1.0L, type) + ", " + HexLiteral(inv_n, type) + " /* " + DecimalText(inv_n, type) +
                         " */, " + HexLiteral(inv_sqrt, type) + " /* " + DecimalText(inv_sqrt, type) + " */}";
    const bool two_bodies = !scalar && !one_vector;  // those two load and store without alignment
    file.census = "qvngWHT_" + std::to_string(order) + "_" + prec + ": " + census.Text() + "\n";
    file.text = "// Generated by qvngen-gen wht -- do not edit.\n"
                "// Walsh-Hadamard transform, order " + std::to_string(order) + " (" + std::to_string(n) +
                " points), " + (single ? "single" : "double") + " precision (" + layout + ").\n"
                "// " + census.Text() + "\n"
                + (p.Wide() ? "#include <immintrin.h>\n\n" : "#include <emmintrin.h>\n\n") +
                "#include \"frame/sse_access.h\"\n"
                "#include \"frame/wht_entry.h\"\n\n"
                "namespace {\n\n"
                "constexpr qvn::ScaleSet<" + p.real + "> kScales = " + scales + ";\n\n" + kernels +
                "template <class Mem>\n"
                "inline void Body(const " + p.real + "* x, " + p.real + "* y, " + p.real + " scale, " + p.real +
                "* work) {\n" + (passes ? "" : "    (void)work;\n") + body + "}\n\n"
                "using Kernel = qvn::WhtKernel<" + p.real + ", " + std::to_string(order) + ", kScales, " +
                (two_bodies ? "true" : "false") + ", Body<qvn::AlignedAccess>, Body<qvn::UnalignedAccess>>;\n\n"
                "}  // namespace\n\n"
                "QVN_DEFINE_WHT_ENTRY(qvngWHT_" + std::to_string(order) + "_" + prec + ", Kernel)\n";
    return file;
}

}  // namespace gen
