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
// Wider vectors (256 bits: 8 floats or 4 doubles; 512 bits: 16 or 8) are two
// or four 128-bit blocks, and rows keep their natural order. The bits inside
// a block are done as above, with in-block shuffles; the one or two bits
// that select the block come next, each a butterfly between a vector and
// its blocks swapped (one block shuffle, one xor and one add per vector),
// then the bits between whole vectors. Loads and stores are whole vectors,
// and columns need no shuffle at all. Every element sees the same sums in
// the same order, with the same operand order, as in the 128-bit kernels,
// so the results are the same bits. Transforms shorter than one 512-bit
// vector keep the 256-bit kernels, and so do those of exactly four (see
// KeepsNarrower). The 32 registers of the 512-bit target let a blocked
// transform keep sixteen vectors busy instead of eight.
#include "wht_file.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <set>
#include <string>
#include <vector>

#include "frame/wht_buffer.h"

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

// The 256-bit shape of a 512-bit target, for the transforms that
// KeepsNarrower names.
Prec Narrower(const Prec& p) { return PrecOf(p.single, Isa::kX86_64_v3); }

// Whether a 512-bit target writes the n-point transform with the 256-bit
// shape: below one vector, and at four. In four 512-bit vectors most bits
// lie inside the vectors, each a shuffle, a xor and an add per vector, and
// only two between them; on a core that splits each 512-bit operation in
// two that is 120 (single, order 6) and 96 (double, order 5) pipe slots
// against 104 and 80 for the 256-bit kernel, which took 0.87-0.88 of the
// time. At eight vectors and more the slots still favour 256 bits (single
// order 7: 256 against 224), but the 512-bit kernels measured faster
// (1.05-1.08) or level, so they stay.
bool KeepsNarrower(const Prec& p, int n) { return p.Blocks() == 4 && (n < p.lanes || n == 4 * p.lanes); }

// The bits inside the vectors a blocked transform does, and their order:
// none (columns), the order of the 128-bit vector kernels (in single
// precision bit 1, then bit 0), or that of the scalar code (bit 0 first),
// for an order that the 128-bit build does in scalar code.
enum class LaneBits { kNone, kVectorOrder, kScalarOrder };

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
    void LaneStages(std::vector<std::string>& v, LaneBits order) {
        comment(p_.Wide() ? "bits inside each 128-bit block" : "bits inside each vector");
        const std::string sh = std::string(p_.prefix) + "_shuffle_" + p_.suffix + "(";
        for (std::string& x : v) {
            if (p_.single) {
                auto swapped = [&](const char* selector) { return sh + x + ", " + x + ", " + selector + ")"; };
                const char* bit0 = "_MM_SHUFFLE(2, 3, 0, 1)";
                const char* bit1 = "_MM_SHUFFLE(1, 0, 3, 2)";
                if (order == LaneBits::kScalarOrder) {
                    x = LaneButterfly(x, swapped(bit0), "neg_odd");
                    x = LaneButterfly(x, swapped(bit1), "neg_hi_half");
                } else {
                    x = LaneButterfly(x, swapped(bit1), "neg_hi_half");
                    x = LaneButterfly(x, swapped(bit0), "neg_odd");
                }
            } else {
                // One selector bit per element: swap within every block.
                x = LaneButterfly(x, sh + x + ", " + x + ", " + (p_.Blocks() == 4 ? "0x55" : p_.Wide() ? "5" : "1") + ")",
                                  "neg_odd");
            }
        }
        if (!p_.Wide()) return;
        // Wide vectors are in their natural order, so the bits that select
        // the 128-bit block come next, each a butterfly with the vector's
        // blocks swapped: halves for 256 bits; pairs (0xB1: 1 0 3 2), then
        // halves (0x4E: 2 3 0 1) for 512. One shuffle per vector and bit,
        // where regrouping the blocks there and back would take two.
        comment("bits between the 128-bit blocks of each vector");
        const std::string swap = std::string(p_.prefix) + (p_.Blocks() == 2 ? std::string("_permute2f128_") + p_.suffix
                                                           : p_.single        ? "_shuffle_f32x4"
                                                                              : "_shuffle_f64x2");
        const std::vector<const char*> selectors =
            p_.Blocks() == 2 ? std::vector<const char*>{"1"} : std::vector<const char*>{"0xB1", "0x4E"};
        for (std::string& x : v)
            for (size_t bit = 0; bit < selectors.size(); ++bit)
                x = LaneButterfly(x, swap + "(" + x + ", " + x + ", " + selectors[bit] + ")",
                                  "neg_block_bit" + std::to_string(bit));
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
// vector as `lane_bits` says), in two phases that each keep at most eight
// vectors busy (sixteen with 32 registers), so the values fit the
// registers: first groups of eight (sixteen) consecutive vectors are
// loaded and butterflied on their low bits, then the vectors that share
// those low bits are butterflied on the high bits and stored. All loads come before the first store, so `in` may be
// `out`. Returns the code; the census goes to `census`.
//
// Wide vectors are loaded and stored whole, unaligned: the aligned body
// only knows 16 bytes.
std::string BlockedTransform(const Prec& p, int count, const std::string& step, const std::string& store_step,
                             LaneBits lane_bits, bool scaled, Census& census) {
    Writer w(p);
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
            } else {
                w.line("const " + std::string(p.vec) + " " + t + " = " + p.prefix + "_loadu_" + p.suffix + "(in + " +
                       std::to_string(index) + " * " + step + ");");
            }
            group.push_back(t);
        }
        w.census.loads += low;
        if (lane_bits != LaneBits::kNone) w.LaneStages(group, lane_bits);
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
    for (int i = 0; i < count; ++i) {
        std::string value =
            scaled ? std::string(p.prefix) + "_mul_" + std::string(p.suffix) + "(" + v[i] + ", s)" : v[i];
        if (p.Wide())
            w.line(std::string(p.prefix) + "_storeu_" + p.suffix + "(out + " + std::to_string(i) + " * " + store_step +
                   ", " + value + ");");
        else
            w.line("Mem::Store(out + " + std::to_string(i) + " * " + store_step + ", " + value + ");");
    }
    w.census.stores += count;
    if (scaled) w.census.muls += count;
    census = w.census;
    std::string masks;
    for (const std::string& m : w.masks) {
        std::string def = m == "neg_hi_half" ? "qvn::SignMaskPs(false, false, true, true)"
                          : p.single        ? "qvn::SignMaskPs(false, true, false, true)"
                                            : "qvn::SignMaskPd(false, true)";
        if (m.starts_with("neg_block_bit")) {
            // Sign bits on the lanes of the blocks whose index has that bit.
            const int bit = m.back() - '0';
            def = std::string(p.prefix) + "_set_" + p.suffix + "(";
            for (int lane = p.lanes - 1; lane >= 0; --lane)
                def += std::string((lane / p.Block()) >> bit & 1 ? "-0.0" : "0.0") + (p.single ? "f" : "") +
                       (lane ? ", " : ")");
        } else if (p.Blocks() == 4)  // the same mask in every block
            def = std::string(p.prefix) + "_broadcast_" + (p.single ? "f32x4" : "f64x2") + "(" + def + ")";
        else if (p.Wide())
            def = std::string(p.prefix) + "_set_m128" + (p.single ? "" : "d") + "(" + def + ", " + def + ")";
        masks += "    const " + std::string(p.vec) + " " + m + " = " + def + ";\n";
    }
    return masks + w.text;
}

// Transform of n contiguous values, in registers: in -> out, scaled or not.
std::string RowKernel(const Prec& p, int n, bool scaled, const std::string& name, Census& census,
                      LaneBits lane_bits = LaneBits::kVectorOrder) {
    const std::string step = std::to_string(p.lanes);
    std::string body = BlockedTransform(p, n / p.lanes, step, step, lane_bits, scaled, census);
    std::string sig = scaled ? ", " + std::string(p.vec) + " s" : "";
    return "template <class Mem>\ninline void " + name + "(const " + p.real + "* in, " + p.real + "* out" + sig +
           ") {\n" + body + "}\n\n";
}

// Transform of n values down a column, `lanes` columns at once, read
// kInStride and written kOutStride elements apart.
std::string ColumnKernel(const Prec& p, int n, const std::string& name, Census& census) {
    Census scaled_census;
    std::string scaled = BlockedTransform(p, n, "kInStride", "kOutStride", LaneBits::kNone, true, scaled_census);
    std::string plain = BlockedTransform(p, n, "kInStride", "kOutStride", LaneBits::kNone, false, census);
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
    return "template <class Mem, int kInStride, int kOutStride, bool kScaled>\ninline void " + name + "(const " +
           p.real + "* in, " + p.real + "* out, " + p.vec + " s) {\n    if constexpr (kScaled) {\n" + indent(scaled) +
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
// go to `kernels`, the census counts every call. `gap` receives the
// elements between the work area's blocks (kGap in the text), 0 for none.
std::string PassesBody(const Prec& p, int order, std::string& kernels, Census& census, int& gap) {
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
    // A pass from one array into another walks its `count` iterations,
    // `step` elements apart, forward or backward, as qvn::PassWalk
    // (frame/pass_direction.h) says for the two arrays; `offset` names the
    // element offset of an iteration, `period` is in bytes.
    const int elem = p.single ? 4 : 8;
    auto walked_loop = [&](const std::string& offset, const std::string& walk, int count, int step,
                           const std::string& in, const std::string& out, int period, const std::string& call) {
        const std::string n_iter = std::to_string(count);
        return "    const qvn::PassWalk " + walk + "(" + in + ", " + out + ", " + std::to_string(std::min(period, 4096)) +
               ", " + n_iter + ", " + std::to_string(step) + ");\n" +
               "    for (int i = 0; i < " + n_iter + "; ++i) {\n" +
               "        const std::ptrdiff_t " + offset + " = " + walk + ".Offset(i);\n" +
               "        " + call + "\n" +
               "    }\n";
    };
    // In the three-pass orders the work area holds its blocks a cache line
    // apart (kGap elements): the last pass reads a column across the blocks,
    // and blocks a power of two apart would put all of its rows (16 at most)
    // into one or two sets of the 8-way L1 cache, where the destination's
    // rows, at the same offsets, pushed them out (up to 1.6 times the time).
    // The buffer's surplus over one element per point pays for the gaps.
    const int block = shape.size() == 3 ? shape[1] * row : n;  // elements per block
    gap = shape.size() == 3 ? 64 / elem : 0;
    const int buffer_bytes = p.single ? qvn::WhtBufferBytes<float>(order) : qvn::WhtBufferBytes<double>(order);
    if ((n + gap * (n / block)) * elem > buffer_bytes)
        throw std::runtime_error("work-area gaps of order " + std::to_string(order) + " exceed the buffer");
    const std::string stride = gap ? std::to_string(block) + " + kGap" : std::to_string(block);
    body += "    // Pass 1: rows of " + std::to_string(row) + " contiguous values, into the work area" +
            (gap ? ", in blocks of " + std::to_string(block) + " values kGap apart" : "") + ".\n";
    body += walked_loop("r", "rows", n / row, row, "x", "work", 4096,
                        "Row" + std::to_string(row) + "<Mem>(x + r, work + r" +
                            (gap ? " + kGap * (r / " + std::to_string(block) + ")" : "") + ");");
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
        body += walked_loop("c", "columns", row / lanes, lanes, "work", "y", row * elem,
                            "Column" + std::to_string(rows) + "<Mem, " + std::to_string(row) + ", " +
                                std::to_string(row) + ", true>(work + c, y + c, s);");
    } else {
        const int a = shape[0], b = shape[1];
        body += "    // Pass 2: the " + std::to_string(b) + "-point transform down the columns of each of the " +
                std::to_string(a) + " blocks of " + std::to_string(b) + " x " + std::to_string(row) +
                ", in place.\n";
        body += "    for (int blk = 0; blk < " + std::to_string(a) + "; ++blk)\n";
        const std::string at = "work + (" + stride + ") * blk + c";
        body += "        for (int c = 0; c < " + std::to_string(row) + "; c += " + std::to_string(lanes) + ") Column" +
                std::to_string(b) + "<Mem, " + std::to_string(row) + ", " + std::to_string(row) + ", false>(" + at +
                ", " + at + ", s);\n";
        body += "    // Pass 3: the " + std::to_string(a) + "-point transform across the blocks, scaled, into "
                "the destination.\n";
        body += walked_loop("c", "columns", b * row / lanes, lanes, "work", "y", b * row * elem,
                            "Column" + std::to_string(a) + "<Mem, " + stride + ", " + std::to_string(block) +
                                ", true>(work + c, y + c, s);");
    }
    return body;
}

}  // namespace

GeneratedFile WhtFile(int order, bool single, Isa isa) {
    const int n = 1 << order;
    Prec p = PrecOf(single, isa);
    if (KeepsNarrower(p, n)) p = Narrower(p);
    const std::string prec = single ? "32f" : "64f";
    // Orders 1 and 2 are scalar code, and so is order 3 in single precision
    // unless it fills one 256-bit vector.
    const bool scalar = order <= 2 || (single && order == 3 && !p.Wide());
    const bool passes = order >= 8;
    const ElemType type = single ? ElemType::kFloat : ElemType::kDouble;

    GeneratedFile file;
    file.name = "wht_" + std::to_string(order) + "_" + prec + ".cpp";
    std::string kernels, body, layout;
    Census census;
    int gap = 0;  // elements between the work area's blocks
    if (scalar) {
        layout = "scalar";
        body = ScalarBody(p, n, census);
    } else if (!passes) {
        layout = std::string(p.Blocks() == 4 ? "AVX-512" : p.Wide() ? "AVX" : "SSE2") + " in registers, " + std::to_string(p.lanes) +
                 " values per vector";
        const bool scalar_in_baseline = single && order == 3;
        kernels = RowKernel(p, n, true, "Transform", census,
                            scalar_in_baseline ? LaneBits::kScalarOrder : LaneBits::kVectorOrder);
        body = "    Transform<Mem>(x, y, " + std::string(p.prefix) + "_set1_" + std::string(p.suffix) + "(scale));\n";
    } else {
        layout = "passes";
        body = PassesBody(p, order, kernels, census, gap);
    }

    const std::string gap_arg = gap ? ", " + std::to_string(gap) : "";
    const double inv_n = 1.0 / n, inv_sqrt = 1.0 / std::sqrt(static_cast<double>(n));
    std::string scales = "{" + HexLiteral(1.0L, type) + ", " + HexLiteral(inv_n, type) + " /* " + DecimalText(inv_n, type) +
                         " */, " + HexLiteral(inv_sqrt, type) + " /* " + DecimalText(inv_sqrt, type) + " */}";
    // Scalar code and wide vectors load and store without alignment.
    const bool two_bodies = !scalar && !p.Wide();
    // The census says when the instructions are 512 bits wide: a core that
    // splits them in two gives each two pipe cycles.
    file.census = "qvngWHT_" + std::to_string(order) + "_" + prec + ": " + census.Text() +
                  (p.Blocks() == 4 ? " (512-bit)" : "") + "\n";
    file.text = "// Generated by qvngen-gen wht -- do not edit.\n"
                "// Walsh-Hadamard transform, order " + std::to_string(order) + " (" + std::to_string(n) +
                " points), " + (single ? "single" : "double") + " precision (" + layout + ").\n"
                "// " + census.Text() + "\n"
                + (p.Wide() ? "#include <immintrin.h>\n\n" : "#include <emmintrin.h>\n\n") +
                (passes ? "#include \"frame/pass_direction.h\"\n" : "") +
                "#include \"frame/sse_access.h\"\n"
                "#include \"frame/wht_entry.h\"\n\n"
                "namespace {\n\n"
                "constexpr qvn::ScaleSet<" + p.real + "> kScales = " + scales + ";\n\n" + kernels +
                (gap ? "// kGap: elements between the blocks of the work area; 0 when the destination\n"
                         "// serves as the work area, which has no room for gaps.\n"
                         "template <class Mem, int kGap>\n"
                       : "template <class Mem>\n") +
                "inline void Body(const " + p.real + "* x, " + p.real + "* y, " + p.real + " scale, " + p.real +
                "* work) {\n" + (passes ? "" : "    (void)work;\n") + body + "}\n\n"
                "using Kernel = qvn::WhtKernel<" + p.real + ", " + std::to_string(order) + ", kScales, " +
                (two_bodies ? "true" : "false") + ", Body<qvn::AlignedAccess" + gap_arg +
                ">, Body<qvn::UnalignedAccess" + gap_arg + ">, Body<qvn::UnalignedAccess" + (gap ? ", 0" : "") +
                ">>;\n\n"
                "}  // namespace\n\n"
                "QVN_DEFINE_WHT_ENTRY(qvngWHT_" + std::to_string(order) + "_" + prec + ", Kernel)\n";
    return file;
}

}  // namespace gen
