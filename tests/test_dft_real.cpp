// Tests of the real-valued entries, N = 2..64 in both precisions: the forward
// real DFT into CCS, Pack and Perm and the inverse from each, checked for
// their values, and, together with the Hartley entries (one entry frame
// serves all seven families), for flags, argument checks, placement and the
// generic length entries. The Hartley values are tested in test_hartley.cpp.
// Bin positions always come from frame/packed_layout.h. Every check loops
// over the exports and names the failing one.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <climits>
#include <cmath>
#include <complex>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "aligned_block.h"
#include "frame/packed_layout.h"
#include "guarded_buffer.h"
#include "qvngen.h"
#include "reference.h"
#include "same_bits.h"

namespace {

using qvn::Layout;
using qvntest::GuardedBuffer;
using qvntest::Bits;
using qvntest::Hex;
using qvntest::SameBits;

enum class Kind { kForward, kInverse, kHartley };
constexpr Layout kLayouts[] = {Layout::kCCS, Layout::kPack, Layout::kPerm};
constexpr int32_t kValidFlags[] = {kScaleFwdByN, kScaleInvByN, kScaleBySqrtN, kScaleNone};

template <class Real>
using Fn = Status(QVN_API*)(const Real*, Real*, ScaleFlag);

struct Entry {
    const char* name;
    int n;
    Kind kind;
    Layout layout;  // of the spectrum written (forward) or read (inverse); unused for Hartley
    Fn<float> f32;  // exactly one of the two is set
    Fn<double> f64;

    int InCount() const { return kind == Kind::kInverse ? qvn::PackedCount(layout, n) : n; }
    int OutCount() const { return kind == Kind::kForward ? qvn::PackedCount(layout, n) : n; }
    // Elements the entry may read: an inverse CCS entry stops at element N,
    // so for even N the last element (Im N/2) is left out.
    int ReadCount() const { return kind == Kind::kInverse && layout == Layout::kCCS ? n + 1 : InCount(); }
};

// Per length and precision: forward CCS, Pack, Perm, inverse CCS, Pack, Perm,
// Hartley; single precision first.
#define QVNT_F32(f) f, nullptr
#define QVNT_F64(f) nullptr, f
#define QVNT_FWD(N, P, PTR, L) \
    {"qvngDFTFwd_RTo" #L "_" #N "_" #P, N, Kind::kForward, Layout::k##L, PTR(qvngDFTFwd_RTo##L##_##N##_##P)},
#define QVNT_INV(N, P, PTR, L) \
    {"qvngDFTInv_" #L "ToR_" #N "_" #P, N, Kind::kInverse, Layout::k##L, PTR(qvngDFTInv_##L##ToR_##N##_##P)},
#define QVNT_PREC(N, P, PTR)                                                                    \
    QVNT_FWD(N, P, PTR, CCS) QVNT_FWD(N, P, PTR, Pack) QVNT_FWD(N, P, PTR, Perm)                \
    QVNT_INV(N, P, PTR, CCS) QVNT_INV(N, P, PTR, Pack) QVNT_INV(N, P, PTR, Perm)                \
    {"qvngHartley_" #N "_" #P, N, Kind::kHartley, Layout::kCCS, PTR(qvngHartley_##N##_##P)},
#define QVNT_ENTRIES(N) QVNT_PREC(N, 32f, QVNT_F32) QVNT_PREC(N, 64f, QVNT_F64)
const Entry kEntries[] = {QVNG_FOR_EACH_LENGTH(QVNT_ENTRIES)};
static_assert(std::size(kEntries) == 63 * 14);

const Entry& Find(int n, bool isDouble, Kind kind, Layout layout = Layout::kCCS) {
    const int slot = kind == Kind::kHartley ? 6 : (kind == Kind::kInverse ? 3 : 0) + static_cast<int>(layout);
    return kEntries[(n - 2) * 14 + (isDouble ? 7 : 0) + slot];
}

template <class Real>
Status Call(const Entry& e, const Real* src, Real* dst, int32_t flag) {
    if constexpr (std::is_same_v<Real, float>) {
        return e.f32(src, dst, flag);
    } else {
        return e.f64(src, dst, flag);
    }
}

// check(entry, Real{}) for every entry of the given kinds, under its name.
template <class Check>
void ForEachEntry(std::initializer_list<Kind> kinds, Check check) {
    for (const Entry& e : kEntries) {
        if (std::find(kinds.begin(), kinds.end(), e.kind) == kinds.end()) continue;
        SCOPED_TRACE(e.name);
        if (e.f32) check(e, float{});
        else check(e, double{});
    }
}

// check(N, Real{}) for N = 2..64 and both precisions.
template <class Check>
void ForEachLength(Check check) {
    for (int n = 2; n <= 64; ++n) {
        SCOPED_TRACE(testing::Message() << "N = " << n);
        check(n, float{});
        check(n, double{});
    }
}

template <class Real>
std::vector<Real> RandomVector(int n, unsigned seed) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> dist(-1.0, 1.0);
    std::vector<Real> x(n);
    for (Real& v : x) v = static_cast<Real>(dist(gen));
    return x;
}

// n elements placed `shift` elements past a 64-byte boundary (shift 1 takes
// them off 16-byte alignment) in a block whose other bytes hold a sentinel,
// so that a write beside the data shows.
template <class Real>
class Array {
public:
    static constexpr unsigned char kSentinel = 0xA5;

    explicit Array(int n, int shift = 0)
        : n_(n), shift_(shift), bytes_(((n + shift) * sizeof(Real) + 64 + 63) / 64 * 64),
          mem_(qvntest::AllocateAligned64(bytes_)) {
        std::memset(mem_.get(), kSentinel, bytes_);
    }
    // The values of x first; an array longer than x keeps the sentinel behind them.
    explicit Array(const std::vector<Real>& x, int shift = 0, int n = 0)
        : Array(std::max(n, static_cast<int>(x.size())), shift) {
        std::copy(x.begin(), x.end(), data());
    }
    Real* data() const { return reinterpret_cast<Real*>(mem_.get()) + shift_; }
    Real& operator[](int i) const { return data()[i]; }

    bool SurroundingsIntact() const {
        const std::size_t begin = shift_ * sizeof(Real), end = begin + n_ * sizeof(Real);
        for (std::size_t i = 0; i < bytes_; ++i) {
            if ((i < begin || i >= end) && mem_.get()[i] != kSentinel) return false;
        }
        return true;
    }
    std::vector<unsigned char> Snapshot() const { return {mem_.get(), mem_.get() + bytes_}; }
    bool Unchanged(const std::vector<unsigned char>& snapshot) const {
        return std::memcmp(mem_.get(), snapshot.data(), bytes_) == 0;
    }

private:
    int n_, shift_;
    std::size_t bytes_;
    qvntest::AlignedBlock mem_;
};

// Bins 0..N/2 read from a packed spectrum through the layout header; a bin
// whose imaginary part has no place in the layout gets zero.
template <class Real>
std::vector<Complex64f> Unpack(const Real* a, Layout layout, int n) {
    std::vector<Complex64f> bins(n / 2 + 1);
    for (int k = 0; k <= n / 2; ++k) {
        const int im = qvn::ImAt(layout, n, k);
        bins[k] = {static_cast<double>(a[qvn::ReAt(layout, n, k)]), im < 0 ? 0.0 : static_cast<double>(a[im])};
    }
    return bins;
}

// The factor an entry applies: 1/N or 1/sqrt(N) computed in double, rounded
// once to the element precision. The Hartley transform divides for flag 1
// and flag 2 alike.
template <class Real>
Real ExpectedScale(const Entry& e, int32_t flag) {
    const Real invN = static_cast<Real>(1.0 / e.n);
    switch (flag) {
        case kScaleFwdByN: return e.kind == Kind::kInverse ? Real(1) : invN;
        case kScaleInvByN: return e.kind == Kind::kForward ? Real(1) : invN;
        case kScaleBySqrtN: return static_cast<Real>(1.0 / std::sqrt(static_cast<double>(e.n)));
        default: return Real(1);
    }
}

long double ExactScale(const Entry& e, int32_t flag) {
    if (ExpectedScale<double>(e, flag) == 1.0) return 1.0L;
    const long double n = e.n;
    return flag == kScaleBySqrtN ? 1.0L / std::sqrt(n) : 1.0L / n;
}

// ---------------------------------------------------------------------------
// Spectra worked out by hand, written out in each layout (these tables also
// check the layout header's positions), and the input the inverse gives back
// with flag 2.

struct Example {
    std::vector<double> x;
    std::vector<std::complex<double>> bins;  // X[0] .. X[N/2]
    std::vector<double> layouts[3];          // CCS, Pack, Perm
    double tol;                              // 0 where every sum is exact
};

constexpr double kHalfRoot3 = 0.8660254037844386;
const Example kExamples[] = {
    {{0.75, -2.5}, {-1.75, 3.25}, {{-1.75, 0, 3.25, 0}, {-1.75, 3.25}, {-1.75, 3.25}}, 0},
    {{1, 2, 3},
     {6, {-1.5, kHalfRoot3}},
     {{6, 0, -1.5, kHalfRoot3}, {6, -1.5, kHalfRoot3}, {6, -1.5, kHalfRoot3}},
     1e-6},
    {{1, 2, 3, 4}, {10, {-2, 2}, -2}, {{10, 0, -2, 2, -2, 0}, {10, -2, 2, -2}, {10, -2, -2, 2}}, 0},
    {{1, 2, 3, 4, 5},  // six decimals
     {15, {-2.5, 3.440955}, {-2.5, 0.812299}},
     {{15, 0, -2.5, 3.440955, -2.5, 0.812299},
      {15, -2.5, 3.440955, -2.5, 0.812299},
      {15, -2.5, 3.440955, -2.5, 0.812299}},
     2e-6},
};

template <class Real>
void CheckExample(const Example& ex, Layout layout) {
    const int n = static_cast<int>(ex.x.size());
    const std::vector<double>& packed = ex.layouts[static_cast<int>(layout)];
    const Entry& fwd = Find(n, sizeof(Real) == 8, Kind::kForward, layout);
    const Entry& inv = Find(n, sizeof(Real) == 8, Kind::kInverse, layout);
    const std::vector<Real> x(ex.x.begin(), ex.x.end()), spectrum(packed.begin(), packed.end());
    std::vector<Real> y(packed.size()), back(n);
    ASSERT_EQ(Call(fwd, x.data(), y.data(), kScaleNone), kStatusOk) << fwd.name;
    ASSERT_EQ(Call(inv, spectrum.data(), back.data(), kScaleInvByN), kStatusOk) << inv.name;
    for (std::size_t i = 0; i < packed.size(); ++i) {
        EXPECT_NEAR(y[i], packed[i], ex.tol) << fwd.name << " [" << i << "]";
    }
    for (int i = 0; i < n; ++i) EXPECT_NEAR(back[i], ex.x[i], ex.tol) << inv.name << " [" << i << "]";
}

TEST(RealDftByHand, WorkedExamples) {
    for (const Example& ex : kExamples) {
        const int n = static_cast<int>(ex.x.size());
        for (Layout layout : kLayouts) {
            std::vector<double> placed(qvn::PackedCount(layout, n), 0.0);
            for (int k = 0; k <= n / 2; ++k) {
                placed[qvn::ReAt(layout, n, k)] = ex.bins[k].real();
                if (qvn::ImAt(layout, n, k) >= 0) placed[qvn::ImAt(layout, n, k)] = ex.bins[k].imag();
            }
            EXPECT_EQ(placed, ex.layouts[static_cast<int>(layout)]) << "header places N = " << n << " "
                                                                     << qvn::LayoutName(layout) << " differently";
            CheckExample<float>(ex, layout);
            CheckExample<double>(ex, layout);
        }
    }
}

// ---------------------------------------------------------------------------
// Accuracy against the long double reference, random data, every flag. The
// inverse gets random values in every element, the unread CCS ones included.

constexpr double kBound32 = 4e-7, kBound64 = 8e-16;

TEST(RealDftAccuracy, ForwardAndInverseMatchReference) {
    struct Worst {
        double error = 0;
        const char* name = "";
    } worst[2][2];  // [double][inverse]
    ForEachEntry({Kind::kForward, Kind::kInverse}, [&](const Entry& e, auto real) {
        using Real = decltype(real);
        const bool isDouble = sizeof(Real) == 8, inverse = e.kind == Kind::kInverse;
        for (int32_t flag : kValidFlags) {
            const std::vector<Real> in = RandomVector<Real>(e.InCount(), 100u * e.n + flag);
            std::vector<Real> out(e.OutCount());
            ASSERT_EQ(Call(e, in.data(), out.data(), flag), kStatusOk) << "flag " << flag;
            double error;
            if (inverse) {
                const std::vector<Complex64f> bins = Unpack(in.data(), e.layout, e.n);
                error = qvntest::RelativeRmsError(
                    out.data(), qvntest::ReferenceRealInverse(qvntest::Widen(bins.data(), bins.size()), e.n,
                                                              ExactScale(e, flag)));
            } else {
                const std::vector<long double> x(in.begin(), in.end());
                error = qvntest::RelativeRmsError(Unpack(out.data(), e.layout, e.n).data(),
                                                  qvntest::ReferenceRealDft(x, ExactScale(e, flag)));
            }
            EXPECT_LE(error, isDouble ? kBound64 : kBound32) << "relative RMS error, flag " << flag;
            if (error >= worst[isDouble][inverse].error) worst[isDouble][inverse] = {error, e.name};
        }
    });
    for (int d = 0; d < 2; ++d) {
        for (int inv = 0; inv < 2; ++inv) {
            const std::string key = std::string(d ? "64f" : "32f") + (inv ? "_inverse" : "_forward");
            std::printf("max relative RMS error %s: %.3e (%s)\n", key.c_str(), worst[d][inv].error, worst[d][inv].name);
            RecordProperty("max_rel_rms_" + key, std::to_string(worst[d][inv].error));
        }
    }
}

// ---------------------------------------------------------------------------
// The three forward layouts are the same bins, bit for bit, in different
// places. CCS stores +0.0 where a bin is real by definition, and no
// imaginary part comes out as -0.0: a constant input makes every bin but the
// first vanish, where a kernel negating with a plain minus would give -0.0.

TEST(RealDftLayouts, ForwardLayoutsHoldTheSameBits) {
    ForEachLength([](int n, auto real) {
        using Real = decltype(real);
        const Entry& ccs = Find(n, sizeof(Real) == 8, Kind::kForward, Layout::kCCS);
        for (int32_t flag : kValidFlags) {
            for (bool constant : {false, true}) {
                const std::vector<Real> x =
                    constant ? std::vector<Real>(n, Real(1)) : RandomVector<Real>(n, 7u * n + flag);
                Array<Real> want(ccs.OutCount());
                ASSERT_EQ(Call(ccs, x.data(), want.data(), flag), kStatusOk) << ccs.name;
                for (int k = 0; k <= n / 2; ++k) {
                    const Real im = want[qvn::ImAt(Layout::kCCS, n, k)];
                    if (qvn::ImagIsZero(n, k)) {
                        EXPECT_EQ(Bits(im), 0u) << ccs.name << " Im " << k << " is " << Hex(im) << ", flag " << flag;
                    } else if (constant) {
                        EXPECT_FALSE(im == 0 && std::signbit(im))
                            << ccs.name << " Im " << k << " is -0.0, flag " << flag;
                    }
                }
                for (Layout layout : {Layout::kPack, Layout::kPerm}) {
                    const Entry& e = Find(n, sizeof(Real) == 8, Kind::kForward, layout);
                    Array<Real> y(e.OutCount());
                    ASSERT_EQ(Call(e, x.data(), y.data(), flag), kStatusOk) << e.name;
                    for (int k = 0; k <= n / 2; ++k) {
                        const Real re = y[qvn::ReAt(layout, n, k)], wantRe = want[qvn::ReAt(Layout::kCCS, n, k)];
                        EXPECT_EQ(Bits(re), Bits(wantRe)) << e.name << " Re " << k << ": " << Hex(re) << ", "
                                                          << ccs.name << ": " << Hex(wantRe) << ", flag " << flag;
                        if (qvn::ImAt(layout, n, k) < 0) continue;
                        const Real im = y[qvn::ImAt(layout, n, k)], wantIm = want[qvn::ImAt(Layout::kCCS, n, k)];
                        EXPECT_EQ(Bits(im), Bits(wantIm)) << e.name << " Im " << k << ": " << Hex(im) << ", "
                                                          << ccs.name << ": " << Hex(wantIm) << ", flag " << flag;
                    }
                }
            }
        }
    });
}

// One spectrum in the three layouts gives bit-identical samples; NaN in the
// CCS elements that hold Im 0 and (even N) Im N/2 changes nothing, since the
// inverse never reads them.
TEST(RealDftLayouts, InverseLayoutsGiveTheSameBits) {
    ForEachLength([](int n, auto real) {
        using Real = decltype(real);
        const std::vector<Real> values = RandomVector<Real>(n + 2, 11u * n);
        for (int32_t flag : kValidFlags) {
            std::vector<Real> want;
            for (Layout layout : kLayouts) {
                const Entry& e = Find(n, sizeof(Real) == 8, Kind::kInverse, layout);
                for (bool nan : {false, true}) {
                    if (nan && layout != Layout::kCCS) continue;
                    std::vector<Real> spectrum(e.InCount(), nan ? std::numeric_limits<Real>::quiet_NaN() : Real(0));
                    for (int k = 0; k <= n / 2; ++k) {
                        spectrum[qvn::ReAt(layout, n, k)] = values[2 * k];
                        if (!qvn::ImagIsZero(n, k)) spectrum[qvn::ImAt(layout, n, k)] = values[2 * k + 1];
                    }
                    std::vector<Real> y(n);
                    ASSERT_EQ(Call(e, spectrum.data(), y.data(), flag), kStatusOk) << e.name;
                    if (want.empty()) {
                        want = y;
                    } else {
                        EXPECT_TRUE(SameBits(y.data(), want.data(), n))
                            << e.name << (nan ? " with NaN in the unread elements" : "") << ", flag " << flag;
                    }
                }
            }
        }
    });
}

// ---------------------------------------------------------------------------
// Flags. An impulse (forward and Hartley: x = (1, 0, ..., 0); inverse: Re 0 = 1,
// all else 0) comes out as exactly the scale factor in every real value and 0
// in every imaginary part. Flags selecting the same factor give the same bits
// (forward 2 and 8, inverse 1 and 8, Hartley 1 and 2). The factor multiplies
// each finished value once; for double entries that is checkable bit for bit
// (single-precision kernels may apply it to a value still held in double).

TEST(RealEntriesScale, FlagsSelectTheFactorExactly) {
    // Single-precision factors known as decimals pin ExpectedScale itself.
    const struct {
        int n;
        float invN, invSqrtN;
    } known[] = {{2, 0.5f, 0.70710677f}, {3, 0.33333334f, 0.57735026f}, {5, 0.2f, 0.4472136f},
                 {37, 0.027027028f, 0.16439898f}, {64, 0.015625f, 0.125f}};
    for (const auto& d : known) {
        const Entry& e = Find(d.n, false, Kind::kHartley);
        EXPECT_EQ(ExpectedScale<float>(e, kScaleFwdByN), d.invN) << "N = " << d.n;
        EXPECT_EQ(ExpectedScale<float>(e, kScaleBySqrtN), d.invSqrtN) << "N = " << d.n;
    }
    ForEachEntry({Kind::kForward, Kind::kInverse, Kind::kHartley}, [](const Entry& e, auto real) {
        using Real = decltype(real);
        std::vector<bool> isImag(e.OutCount(), false);
        for (int k = 0; e.kind == Kind::kForward && k <= e.n / 2; ++k) {
            if (qvn::ImAt(e.layout, e.n, k) >= 0) isImag[qvn::ImAt(e.layout, e.n, k)] = true;
        }
        std::vector<Real> impulse(e.InCount(), Real(0)), y(e.OutCount()), unscaled(e.OutCount());
        impulse[0] = 1;
        const std::vector<Real> x = RandomVector<Real>(e.InCount(), 13u * e.n);
        ASSERT_EQ(Call(e, x.data(), unscaled.data(), kScaleNone), kStatusOk);
        std::vector<Real> results[4];
        for (int f = 0; f < 4; ++f) {
            const int32_t flag = kValidFlags[f];
            const Real s = ExpectedScale<Real>(e, flag);
            ASSERT_EQ(Call(e, impulse.data(), y.data(), flag), kStatusOk) << "flag " << flag;
            for (int i = 0; i < e.OutCount(); ++i) {
                if (isImag[i] ? y[i] != 0 : Bits(y[i]) != Bits(s)) {
                    ADD_FAILURE() << "impulse, flag " << flag << ": [" << i << "] is " << Hex(y[i]) << ", expected "
                                  << (isImag[i] ? "0" : Hex(s));
                    break;
                }
            }
            ASSERT_EQ(Call(e, x.data(), y.data(), flag), kStatusOk) << "flag " << flag;
            results[f] = y;
            if (sizeof(Real) == 8) {
                std::vector<Real> want(e.OutCount());
                for (int i = 0; i < e.OutCount(); ++i) want[i] = unscaled[i] * s;
                EXPECT_TRUE(SameBits(y.data(), want.data(), e.OutCount()))
                    << "flag " << flag << " against flag 8 times " << Hex(s);
            }
        }
        for (int f = 0; f < 4; ++f) {
            for (int g = f + 1; g < 4; ++g) {
                if (ExpectedScale<Real>(e, kValidFlags[f]) != ExpectedScale<Real>(e, kValidFlags[g])) continue;
                EXPECT_TRUE(SameBits(results[f].data(), results[g].data(), e.OutCount()))
                    << "flags " << kValidFlags[f] << " and " << kValidFlags[g];
            }
        }
    });
}

// ---------------------------------------------------------------------------
// Argument checks: null pointers win over a bad flag, any flag other than 1,
// 2, 4, 8 is refused, and a refused call writes nothing.

TEST(RealEntries, BadArgumentsRejectedWithoutWriting) {
    ForEachEntry({Kind::kForward, Kind::kInverse, Kind::kHartley}, [](const Entry& e, auto real) {
        using Real = decltype(real);
        Array<Real> src(RandomVector<Real>(e.InCount(), 17u * e.n)), dst(e.OutCount());
        const auto srcBefore = src.Snapshot(), dstBefore = dst.Snapshot();
        for (int32_t flag : {0, 3, 5, 16, -1, INT32_MIN}) {
            EXPECT_EQ(Call(e, src.data(), dst.data(), flag), kStatusBadFlag) << "flag " << flag;
        }
        for (int32_t flag : {int32_t{kScaleNone}, 3, 0}) {
            EXPECT_EQ(Call<Real>(e, nullptr, dst.data(), flag), kStatusNullPointer) << "null src, flag " << flag;
            EXPECT_EQ(Call<Real>(e, src.data(), nullptr, flag), kStatusNullPointer) << "null dst, flag " << flag;
            EXPECT_EQ(Call<Real>(e, nullptr, nullptr, flag), kStatusNullPointer) << "both null, flag " << flag;
        }
        EXPECT_TRUE(dst.Unchanged(dstBefore)) << "a refused call wrote its destination";
        EXPECT_TRUE(src.Unchanged(srcBefore)) << "a refused call wrote its source";
    });
}

// ---------------------------------------------------------------------------
// Where the arrays lie changes no bit: one element off 16-byte alignment, in
// place (one array holding the larger count), and flush against inaccessible
// pages on either side, so that a read or write outside the elements the
// entry may touch faults. The source of an inverse CCS entry ends before
// element N+1, which it never reads.

TEST(RealEntries, PlacementChangesNoBit) {
    using Guard = GuardedBuffer::Guard;
    ForEachEntry({Kind::kForward, Kind::kInverse, Kind::kHartley}, [](const Entry& e, auto real) {
        using Real = decltype(real);
        const int out = e.OutCount(), reads = e.ReadCount(), both = std::max(e.InCount(), out);
        const std::vector<Real> input = RandomVector<Real>(e.InCount(), 19u * e.n);
        Array<Real> src(input), want(out);
        const auto srcBefore = src.Snapshot();
        ASSERT_EQ(Call(e, src.data(), want.data(), kScaleBySqrtN), kStatusOk);
        EXPECT_TRUE(src.Unchanged(srcBefore)) << "out-of-place call modified its source";
        EXPECT_TRUE(want.SurroundingsIntact()) << "write outside the " << out << " destination elements";
        const int shifts[][2] = {{0, 1}, {1, 0}, {1, 1}};
        for (const auto& [srcShift, dstShift] : shifts) {
            Array<Real> s(input, srcShift), d(out, dstShift);
            ASSERT_EQ(Call(e, s.data(), d.data(), kScaleBySqrtN), kStatusOk);
            EXPECT_TRUE(SameBits(d.data(), want.data(), out)) << "src shifted " << srcShift << ", dst " << dstShift;
            EXPECT_TRUE(d.SurroundingsIntact()) << "write outside the destination, shifted " << dstShift;
        }
        for (int shift : {0, 1}) {
            Array<Real> io(input, shift, both);
            ASSERT_EQ(Call(e, io.data(), io.data(), kScaleBySqrtN), kStatusOk);
            EXPECT_TRUE(SameBits(io.data(), want.data(), out)) << "in place, shifted " << shift;
            EXPECT_TRUE(io.SurroundingsIntact()) << "in place, shifted " << shift << ": wrote outside the array";
        }
        for (Guard srcGuard : {Guard::kAfterEnd, Guard::kBeforeStart}) {
            const char* where = srcGuard == Guard::kAfterEnd ? "after" : "before";
            for (Guard dstGuard : {Guard::kAfterEnd, Guard::kBeforeStart}) {
                GuardedBuffer s(reads * sizeof(Real), srcGuard), d(out * sizeof(Real), dstGuard);
                std::copy_n(input.data(), reads, s.As<Real>());
                ASSERT_EQ(Call(e, s.As<Real>(), d.As<Real>(), kScaleBySqrtN), kStatusOk);
                EXPECT_TRUE(SameBits(d.As<Real>(), want.data(), out))
                    << "guard " << where << " src, " << (dstGuard == Guard::kAfterEnd ? "after" : "before") << " dst";
            }
            GuardedBuffer io(std::max(reads, out) * sizeof(Real), srcGuard);
            std::copy_n(input.data(), reads, io.As<Real>());
            ASSERT_EQ(Call(e, io.As<Real>(), io.As<Real>(), kScaleBySqrtN), kStatusOk);
            EXPECT_TRUE(SameBits(io.As<Real>(), want.data(), out)) << "in place, guard " << where;
        }
    });
}

// ---------------------------------------------------------------------------
// Generic entries: the length is tested before anything else; a valid length
// reaches the fixed-length entry of that length, statuses included.

template <class Real>
using GenericFn = Status(QVN_API*)(const Real*, Real*, int32_t, ScaleFlag);

struct Generic {
    const char* name;
    Kind kind;
    Layout layout;
    GenericFn<float> g32;
    GenericFn<double> g64;
};

#define QVNT_GENERICS(P, PTR)                                                                        \
    {"qvngDFTFwd_RToCCS_" #P, Kind::kForward, Layout::kCCS, PTR(qvngDFTFwd_RToCCS_##P)},             \
    {"qvngDFTFwd_RToPack_" #P, Kind::kForward, Layout::kPack, PTR(qvngDFTFwd_RToPack_##P)},          \
    {"qvngDFTFwd_RToPerm_" #P, Kind::kForward, Layout::kPerm, PTR(qvngDFTFwd_RToPerm_##P)},          \
    {"qvngDFTInv_CCSToR_" #P, Kind::kInverse, Layout::kCCS, PTR(qvngDFTInv_CCSToR_##P)},             \
    {"qvngDFTInv_PackToR_" #P, Kind::kInverse, Layout::kPack, PTR(qvngDFTInv_PackToR_##P)},          \
    {"qvngDFTInv_PermToR_" #P, Kind::kInverse, Layout::kPerm, PTR(qvngDFTInv_PermToR_##P)},          \
    {"qvngHartley_" #P, Kind::kHartley, Layout::kCCS, PTR(qvngHartley_##P)},
const Generic kGenerics[] = {QVNT_GENERICS(32f, QVNT_F32) QVNT_GENERICS(64f, QVNT_F64)};

template <class Real>
void CheckGeneric(GenericFn<Real> generic, const Generic& g) {
    for (int n = 2; n <= 64; ++n) {
        const Entry& e = Find(n, sizeof(Real) == 8, g.kind, g.layout);
        Array<Real> x(RandomVector<Real>(e.InCount(), 23u * n)), direct(e.OutCount()), viaGeneric(e.OutCount());
        ASSERT_EQ(Call(e, x.data(), direct.data(), kScaleBySqrtN), kStatusOk) << e.name;
        ASSERT_EQ(generic(x.data(), viaGeneric.data(), n, kScaleBySqrtN), kStatusOk) << "N = " << n;
        EXPECT_TRUE(SameBits(viaGeneric.data(), direct.data(), e.OutCount())) << "N = " << n << " against " << e.name;
        EXPECT_TRUE(viaGeneric.SurroundingsIntact()) << "N = " << n << ": write outside the destination";
        EXPECT_EQ(generic(nullptr, viaGeneric.data(), n, kScaleNone), kStatusNullPointer) << "N = " << n;
        EXPECT_EQ(generic(x.data(), viaGeneric.data(), n, 3), kStatusBadFlag) << "N = " << n;
    }
    Array<Real> x(RandomVector<Real>(66, 5u)), y(66);
    const auto before = y.Snapshot();
    for (int32_t n : {1, 0, -1, 65, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(generic(x.data(), y.data(), n, kScaleNone), kStatusBadSize) << "N = " << n;
        EXPECT_EQ(generic(nullptr, nullptr, n, 3), kStatusBadSize) << "N = " << n << ", null pointers, flag 3";
    }
    EXPECT_TRUE(y.Unchanged(before)) << "a refused call wrote";
}

TEST(RealEntriesGeneric, ForwardEveryLengthAndRefuseOthersFirst) {
    static_assert(std::size(kGenerics) == 14);
    for (const Generic& g : kGenerics) {
        SCOPED_TRACE(g.name);
        if (g.g32) CheckGeneric<float>(g.g32, g);
        else CheckGeneric<double>(g.g64, g);
    }
}

}  // namespace
