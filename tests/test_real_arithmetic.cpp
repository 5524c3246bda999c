// The real DFT and Hartley kernels compute exactly the arithmetic their DAG
// prescribes, whichever way the generator emitted them (scalar statements or
// packed SSE2 vectors): sums and differences in the working precision;
// products with constants in double, from the widened operand in single
// precision, rounded back once where a float sum takes them; every output
// s * v, or 0 - s * v where the DAG hands over a negated value, a single
// precision product scaled in double and rounded once.
//
// An interpreter of the generator's own DAG (linked in from the generator
// library) gives the expected bits, and every entry must reproduce them for
// every length, layout and flag, on random inputs and on inputs full of
// signed zeros. A packed kernel that pairs two operations wrongly, drops a
// rounding or flips the sign of a zero fails here even where the value is
// within the accuracy bounds of the other tests.
//
// The interpreter runs the plain DAG, where many kernels are built from the
// DAG with their doubled sums folded into the products (x * 2c for
// (x + x) * c, RealDag::FoldDoubledSums). Short of an overflowing x + x the
// two give the same bits, and this test holds the folded kernels to that,
// down to the subnormal inputs. Folded product chains (x * (c1 c2) for
// (x * c1) * c2) round differently, so for the kernels the generator builds
// that way (gen::FoldsProductChains) the interpreter runs that DAG too.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "frame/packed_layout.h"
#include "qvngen.h"
#include "real_dag.h"
#include "real_dft_file.h"
#include "real_transforms.h"
#include "recipe.h"
#include "same_bits.h"

namespace {

using gen::RealDag;
using gen::RealNode;
using gen::RealOp;
using gen::RealValue;
using qvn::Layout;
using qvntest::Bits;
using qvntest::Hex;

// The scalar meaning of a real DAG in precision T.
template <class T>
class DagArithmetic {
public:
    DagArithmetic(const RealDag& dag, std::vector<RealValue> outputs)
        : dag_(dag), outputs_(std::move(outputs)), order_(gen::ReachableNodes(dag, outputs_)) {}

    std::vector<T> Run(const std::function<T(int slot)>& input, T scale) const {
        std::vector<T> sum(dag_.size());         // loads and sums
        std::vector<double> product(dag_.size());  // products, always formed in double
        auto is_product = [&](int id) { return dag_.at(id).op == RealOp::kMul; };
        auto as_sum = [&](int id) { return is_product(id) ? static_cast<T>(product[id]) : sum[id]; };
        auto as_factor = [&](int id) { return is_product(id) ? product[id] : static_cast<double>(sum[id]); };
        for (int id : order_) {
            const RealNode& n = dag_.at(id);
            switch (n.op) {
                case RealOp::kLoad: sum[id] = input(n.index); break;
                case RealOp::kAdd: sum[id] = as_sum(n.a) + as_sum(n.b); break;
                case RealOp::kSub: sum[id] = as_sum(n.a) - as_sum(n.b); break;
                case RealOp::kMul: product[id] = as_factor(n.a) * static_cast<double>(n.c); break;
            }
        }
        std::vector<T> out;
        for (const RealValue& v : outputs_) {
            if (v.IsZero()) {
                out.push_back(T(0));
            } else if (is_product(v.node)) {
                const double scaled = static_cast<double>(scale) * product[v.node];
                out.push_back(static_cast<T>(v.negated ? 0.0 - scaled : scaled));
            } else {
                const T scaled = scale * sum[v.node];
                out.push_back(v.negated ? T(0) - scaled : scaled);
            }
        }
        return out;
    }

private:
    const RealDag& dag_;
    std::vector<RealValue> outputs_;
    std::vector<int> order_;
};

template <class T>
using GenericFn = Status (*)(const T*, T*, int32_t, ScaleFlag);

template <class T>
struct Entries;
template <>
struct Entries<float> {
    static constexpr GenericFn<float> kForward[] = {qvngDFTFwd_RToCCS_32f, qvngDFTFwd_RToPack_32f, qvngDFTFwd_RToPerm_32f};
    static constexpr GenericFn<float> kInverse[] = {qvngDFTInv_CCSToR_32f, qvngDFTInv_PackToR_32f, qvngDFTInv_PermToR_32f};
    static constexpr GenericFn<float> kHartley = qvngHartley_32f;
};
template <>
struct Entries<double> {
    static constexpr GenericFn<double> kForward[] = {qvngDFTFwd_RToCCS_64f, qvngDFTFwd_RToPack_64f, qvngDFTFwd_RToPerm_64f};
    static constexpr GenericFn<double> kInverse[] = {qvngDFTInv_CCSToR_64f, qvngDFTInv_PackToR_64f, qvngDFTInv_PermToR_64f};
    static constexpr GenericFn<double> kHartley = qvngHartley_64f;
};

constexpr Layout kLayouts[] = {Layout::kCCS, Layout::kPack, Layout::kPerm};
constexpr int32_t kFlags[] = {kScaleFwdByN, kScaleInvByN, kScaleBySqrtN, kScaleNone};

// Where part `slot` of the half spectrum (Re k = 2k, Im k = 2k + 1) sits.
int PartAt(Layout l, int n, int slot) {
    return slot % 2 == 0 ? qvn::ReAt(l, n, slot / 2) : qvn::ImAt(l, n, slot / 2);
}

const gen::RealDftRow& RowFor(int n) {
    for (const auto& row : gen::kRealDftTable)
        if (row.n == n) return row;
    throw std::runtime_error("no row");
}

// The scale an entry applies under a flag: the sum of an impulse is exactly
// 1, in every output of the inverse and Hartley and in bin 0 of the forward.
template <class T>
T ScaleOf(const std::function<Status(const T*, T*, int32_t)>& call, int in_count, int n, int32_t flag) {
    std::vector<T> x(in_count, T(0)), y(std::max(in_count, n + 2), T(0));
    x[0] = T(1);  // x[0] in the time domain, Re 0 in every layout
    EXPECT_EQ(call(x.data(), y.data(), flag), kStatusOk);
    return y[0];
}

// Random values, values among which zeros of both signs abound, and values
// at the bottom of the exponent range, subnormals among them: there a float
// product by 0.5 rounds, and only where the double product rounded to float
// gives the same bits may a kernel form it in float.
template <class T>
std::vector<std::vector<T>> Inputs(int count, unsigned seed) {
    std::mt19937 gen(seed);
    std::normal_distribution<double> normal;
    const int lowest = std::numeric_limits<T>::min_exponent - std::numeric_limits<T>::digits;
    std::vector<std::vector<T>> sets(4, std::vector<T>(count));
    for (int i = 0; i < count; ++i) {
        sets[0][i] = static_cast<T>(normal(gen));
        sets[1][i] = static_cast<T>(std::ldexp(normal(gen), static_cast<int>(gen() % 40) - 20));
        sets[2][i] = gen() % 3 == 0 ? static_cast<T>(normal(gen)) : (gen() % 2 ? T(0) : -T(0));
        sets[3][i] = static_cast<T>(std::ldexp(normal(gen), lowest + static_cast<int>(gen() % 30)));
    }
    return sets;
}

// Runs one entry on every input set and flag and compares bit for bit.
// `input_position(slot)` is where the entry reads DAG input `slot`;
// `output_position[i]` where it writes DAG output i (-1: nowhere).
template <class T>
void ExpectDagBits(const char* what, const DagArithmetic<T>& arithmetic, int n, int in_count, int out_count,
                   const std::function<int(int)>& input_position, const std::vector<int>& output_position,
                   const std::function<Status(const T*, T*, int32_t)>& call) {
    for (int32_t flag : kFlags) {
        const T scale = ScaleOf<T>(call, in_count, n, flag);
        int set_index = 0;
        for (const auto& x : Inputs<T>(in_count, 1000u * n + flag)) {
            std::vector<T> y(out_count, T(7));
            ASSERT_EQ(call(x.data(), y.data(), flag), kStatusOk);
            const std::vector<T> want = arithmetic.Run([&](int slot) { return x[input_position(slot)]; }, scale);
            for (size_t i = 0; i < want.size(); ++i) {
                if (output_position[i] < 0) continue;
                const T got = y[output_position[i]];
                ASSERT_EQ(Bits(got), Bits(want[i]))
                    << what << " N = " << n << ", flag " << flag << ", input set " << set_index << ": element "
                    << output_position[i] << " is " << Hex(got) << ", the DAG gives " << Hex(want[i]);
            }
            ++set_index;
        }
    }
}

template <class T>
void CheckLength(int n) {
    const gen::RealDftRow& row = RowFor(n);
    constexpr bool kSingle = std::is_same_v<T, float>;
    auto chains = [&](gen::RealFamily family) { return gen::FoldsProductChains(family, n, kSingle); };
    const gen::ForwardRealDag fwd =
        gen::BuildForwardReal(gen::ParseRecipe(row.forward), false, chains(gen::RealFamily::kForward));
    std::vector<RealValue> bins;
    for (const auto& b : fwd.bins) {
        bins.push_back(b.re);
        bins.push_back(b.im);
    }
    const DagArithmetic<T> forward(fwd.dag, bins);
    const gen::RealOutputsDag inv =
        gen::BuildInverseReal(gen::ParseRecipe(row.inverse), false, chains(gen::RealFamily::kInverse));
    const DagArithmetic<T> inverse(inv.dag, inv.outputs);
    const gen::RealOutputsDag dht =
        gen::BuildHartley(gen::ParseRecipe(row.hartley), false, chains(gen::RealFamily::kHartley));
    const DagArithmetic<T> hartley(dht.dag, dht.outputs);

    std::vector<int> identity(n);
    for (int i = 0; i < n; ++i) identity[i] = i;
    auto same_place = [](int i) { return i; };

    for (int l = 0; l < 3; ++l) {
        const Layout layout = kLayouts[l];
        const int packed = qvn::PackedCount(layout, n);
        std::vector<int> bin_places;
        for (int slot = 0; slot < static_cast<int>(bins.size()); ++slot) bin_places.push_back(PartAt(layout, n, slot));
        ExpectDagBits<T>(qvn::LayoutName(layout), forward, n, n, packed, same_place, bin_places,
                         [&](const T* x, T* y, int32_t flag) { return Entries<T>::kForward[l](x, y, n, flag); });
        ExpectDagBits<T>(qvn::LayoutName(layout), inverse, n, packed, n,
                         [&](int slot) { return PartAt(layout, n, slot); }, identity,
                         [&](const T* x, T* y, int32_t flag) { return Entries<T>::kInverse[l](x, y, n, flag); });
    }
    ExpectDagBits<T>("Hartley", hartley, n, n, n, same_place, identity,
                     [&](const T* x, T* y, int32_t flag) { return Entries<T>::kHartley(x, y, n, flag); });
}

TEST(RealKernelArithmetic, EveryEntryComputesItsDagBitForBit) {
    for (int n = 2; n <= 64; ++n) {
        SCOPED_TRACE(testing::Message() << "N = " << n);
        CheckLength<float>(n);
        CheckLength<double>(n);
    }
}

}  // namespace
