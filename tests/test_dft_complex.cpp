// Tests of the fixed-length complex DFT exports, N = 2..64, both directions
// and both precisions. Every check runs per export and names it on failure.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <climits>
#include <cmath>
#include <complex>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "aligned_block.h"
#include "guarded_buffer.h"
#include "qvngen.h"
#include "reference.h"
#include "same_bits.h"

namespace {

using qvntest::GuardedBuffer;
using qvntest::RefComplex;
using qvntest::Bits;
using qvntest::Hex;

struct Entry {
    const char* name;
    int n;
    bool inverse;
    Status(QVN_API* f32)(const Complex32f*, Complex32f*, ScaleFlag);  // exactly one of the two is set
    Status(QVN_API* f64)(const Complex64f*, Complex64f*, ScaleFlag);
};

// Per length: Fwd/Inv single, then Fwd/Inv double, so entry i ^ 1 is the
// opposite direction of entry i.
#define QVNT_ENTRIES(N)                                                              \
    {"qvngDFTFwd_CToC_" #N "_32fc", N, false, qvngDFTFwd_CToC_##N##_32fc, nullptr}, \
    {"qvngDFTInv_CToC_" #N "_32fc", N, true, qvngDFTInv_CToC_##N##_32fc, nullptr},  \
    {"qvngDFTFwd_CToC_" #N "_64fc", N, false, nullptr, qvngDFTFwd_CToC_##N##_64fc}, \
    {"qvngDFTInv_CToC_" #N "_64fc", N, true, nullptr, qvngDFTInv_CToC_##N##_64fc},
const Entry kEntries[] = {QVNG_FOR_EACH_LENGTH(QVNT_ENTRIES)};
#undef QVNT_ENTRIES
constexpr int kEntryCount = static_cast<int>(std::size(kEntries));
static_assert(kEntryCount == 252);

const Entry& Find(int n, bool isDouble, bool inverse) {
    return kEntries[(n - 2) * 4 + (isDouble ? 2 : 0) + (inverse ? 1 : 0)];
}

template <class Elem>
using RealOf = decltype(Elem::re);

template <class Elem>
Status Call(const Entry& e, const Elem* src, Elem* dst, int32_t flag) {
    if constexpr (std::is_same_v<Elem, Complex32f>) {
        return e.f32(src, dst, flag);
    } else {
        return e.f64(src, dst, flag);
    }
}

constexpr int32_t kValidFlags[] = {kScaleFwdByN, kScaleInvByN, kScaleBySqrtN, kScaleNone};

// The factor an entry applies: the double constant 1/N or 1/sqrt(N), rounded
// once to the element precision.
template <class Real>
Real ExpectedScale(int n, bool inverse, int32_t flag) {
    const Real invN = static_cast<Real>(1.0 / n);
    switch (flag) {
        case kScaleFwdByN: return inverse ? Real(1) : invN;
        case kScaleInvByN: return inverse ? invN : Real(1);
        case kScaleBySqrtN: return static_cast<Real>(1.0 / std::sqrt(static_cast<double>(n)));
        default: return Real(1);
    }
}

template <class Elem>
std::vector<Elem> RandomSignal(int n, unsigned seed) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> dist(-1.0, 1.0);
    std::vector<Elem> x(n);
    for (Elem& v : x) v = {static_cast<RealOf<Elem>>(dist(gen)), static_cast<RealOf<Elem>>(dist(gen))};
    return x;
}

// Heap array of n elements in a 64-byte aligned block, placed at `offset`
// bytes into the block (8 makes it misaligned for SSE). The rest of the block
// holds a sentinel byte pattern, so stray writes next to the data show up.
template <class Elem>
class Array {
public:
    static constexpr unsigned char kSentinel = 0xA5;

    Array(int n, std::size_t offset = 0)
        : n_(n), offset_(offset), bytes_((n * sizeof(Elem) + offset + 63) / 64 * 64),
          mem_(qvntest::AllocateAligned64(bytes_)) {
        std::memset(mem_.get(), kSentinel, bytes_);
    }
    Array(const std::vector<Elem>& x, std::size_t offset = 0) : Array(static_cast<int>(x.size()), offset) {
        std::memcpy(data(), x.data(), x.size() * sizeof(Elem));
    }
    Elem* data() const { return reinterpret_cast<Elem*>(mem_.get() + offset_); }
    Elem& operator[](int i) const { return data()[i]; }

    // True when the bytes outside the n elements still hold the sentinel.
    bool SurroundingsIntact() const {
        for (std::size_t i = 0; i < bytes_; ++i) {
            const bool inside = i >= offset_ && i < offset_ + n_ * sizeof(Elem);
            if (!inside && mem_.get()[i] != kSentinel) return false;
        }
        return true;
    }
    bool AllBytesEqual(const std::vector<unsigned char>& snapshot) const {
        return std::memcmp(mem_.get(), snapshot.data(), bytes_) == 0;
    }
    std::vector<unsigned char> Snapshot() const { return {mem_.get(), mem_.get() + bytes_}; }

private:
    std::size_t n_, offset_, bytes_;
    qvntest::AlignedBlock mem_;
};

template <class Elem>
testing::AssertionResult SameBits(const Elem* got, const Elem* want, int n) {
    for (int i = 0; i < n; ++i) {
        if (std::memcmp(&got[i], &want[i], sizeof(Elem)) != 0) {
            return testing::AssertionFailure()
                   << "first difference at [" << i << "]: got (" << Hex(got[i].re) << ", "
                   << Hex(got[i].im) << "), expected (" << Hex(want[i].re) << ", " << Hex(want[i].im) << ")";
        }
    }
    return testing::AssertionSuccess();
}

// ---------------------------------------------------------------------------
// Scaling: an impulse at index 0 comes out as exactly s in every bin, and the
// factor is applied as the last step, so every flag's output equals the
// unscaled output times s, rounded once.

template <class Elem>
void CheckImpulse(const Entry& e) {
    using Real = RealOf<Elem>;
    Array<Elem> x(std::vector<Elem>(e.n, Elem{0, 0})), y(e.n);
    x[0].re = 1;
    for (int32_t flag : kValidFlags) {
        const Real s = ExpectedScale<Real>(e.n, e.inverse, flag);
        ASSERT_EQ(Call(e, x.data(), y.data(), flag), kStatusOk) << "flag " << flag;
        for (int k = 0; k < e.n; ++k) {
            if (Bits(y[k].re) != Bits(s) || y[k].im != 0) {
                ADD_FAILURE() << "flag " << flag << " bin " << k << ": got (" << Hex(y[k].re) << ", "
                              << Hex(y[k].im) << "), expected (" << Hex(s) << ", 0)";
                break;
            }
        }
    }
}

template <class Elem>
void CheckScaleIsLastStep(const Entry& e) {
    using Real = RealOf<Elem>;
    Array<Elem> x(RandomSignal<Elem>(e.n, 1000u + e.n)), unscaled(e.n), y(e.n), want(e.n);
    ASSERT_EQ(Call(e, x.data(), unscaled.data(), kScaleNone), kStatusOk);
    for (int32_t flag : {kScaleFwdByN, kScaleInvByN, kScaleBySqrtN}) {
        const Real s = ExpectedScale<Real>(e.n, e.inverse, flag);
        for (int k = 0; k < e.n; ++k) want[k] = {unscaled[k].re * s, unscaled[k].im * s};
        ASSERT_EQ(Call(e, x.data(), y.data(), flag), kStatusOk) << "flag " << flag;
        EXPECT_TRUE(SameBits(y.data(), want.data(), e.n)) << "flag " << flag;
    }
}

// ---------------------------------------------------------------------------
// Argument checks: null pointers win over a bad flag, any flag other than
// 1, 2, 4, 8 is rejected (the values are compared, not tested as bits), and a
// rejected call writes nothing. Misaligned pointers take a separate path in
// the library, so every case also runs with pointers at 8 mod 16.

template <class Elem>
void CheckBadArguments(const Entry& e) {
    const std::vector<Elem> input = RandomSignal<Elem>(e.n, 2000u + e.n);
    for (std::size_t srcOffset : {0u, 8u}) {
        for (std::size_t dstOffset : {0u, 8u}) {
            SCOPED_TRACE(testing::Message() << "src at +" << srcOffset << ", dst at +" << dstOffset);
            Array<Elem> src(input, srcOffset), dst(e.n, dstOffset);
            const auto srcBefore = src.Snapshot(), dstBefore = dst.Snapshot();
            for (int32_t flag : {0, 3, 5, 6, 9, 12, 16, -1, -8, INT32_MIN}) {
                EXPECT_EQ(Call(e, src.data(), dst.data(), flag), kStatusBadFlag) << "flag " << flag;
                EXPECT_TRUE(dst.AllBytesEqual(dstBefore)) << "destination written with flag " << flag;
            }
            for (int32_t flag : {int32_t{kScaleNone}, int32_t{kScaleFwdByN}, 3}) {
                EXPECT_EQ(Call<Elem>(e, nullptr, dst.data(), flag), kStatusNullPointer) << "null src, flag " << flag;
                EXPECT_EQ(Call<Elem>(e, src.data(), nullptr, flag), kStatusNullPointer) << "null dst, flag " << flag;
                EXPECT_EQ(Call<Elem>(e, nullptr, nullptr, flag), kStatusNullPointer) << "both null, flag " << flag;
                EXPECT_TRUE(dst.AllBytesEqual(dstBefore)) << "destination written, null src, flag " << flag;
            }
            EXPECT_TRUE(src.AllBytesEqual(srcBefore)) << "source modified";
        }
    }
}

// ---------------------------------------------------------------------------
// Memory placement must not change a single bit: in place, source and/or
// destination at 8 mod 16 (the unaligned body) all match the aligned
// out-of-place result. Valid calls touch only the n destination elements
// and never the source.

template <class Elem>
void CheckPlacement(const Entry& e) {
    const std::vector<Elem> input = RandomSignal<Elem>(e.n, 3000u + e.n);
    for (int32_t flag : kValidFlags) {
        SCOPED_TRACE(testing::Message() << "flag " << flag);
        Array<Elem> src(input), want(e.n);
        const auto srcBefore = src.Snapshot();
        ASSERT_EQ(Call(e, src.data(), want.data(), flag), kStatusOk);
        EXPECT_TRUE(src.AllBytesEqual(srcBefore)) << "out-of-place call modified its source";
        EXPECT_TRUE(want.SurroundingsIntact()) << "write outside the destination";
        const std::size_t offsets[][2] = {{0, 8}, {8, 0}, {8, 8}};
        for (const auto& [srcOffset, dstOffset] : offsets) {
            Array<Elem> s(input, srcOffset), d(e.n, dstOffset);
            ASSERT_EQ(Call(e, s.data(), d.data(), flag), kStatusOk);
            EXPECT_TRUE(SameBits(d.data(), want.data(), e.n))
                << "src at +" << srcOffset << ", dst at +" << dstOffset;
            EXPECT_TRUE(d.SurroundingsIntact()) << "write outside the destination at +" << dstOffset;
        }
        for (std::size_t offset : {0u, 8u}) {
            Array<Elem> io(input, offset);
            ASSERT_EQ(Call(e, io.data(), io.data(), flag), kStatusOk);
            EXPECT_TRUE(SameBits(io.data(), want.data(), e.n)) << "in place at +" << offset;
            EXPECT_TRUE(io.SurroundingsIntact()) << "in place at +" << offset << " wrote outside the array";
        }
    }
}

// Source and destination flush against inaccessible pages on either side: any
// read or write outside the arrays faults. The result must still be exact.
// A flush array of even length starts 16-byte aligned, so the unaligned body
// is reached by pairing it with a heap array at 8 mod 16.
template <class Elem>
void CheckGuardPages(const Entry& e) {
    using Guard = GuardedBuffer::Guard;
    const std::vector<Elem> input = RandomSignal<Elem>(e.n, 4000u + e.n);
    const std::size_t bytes = e.n * sizeof(Elem);
    Array<Elem> src(input), want(e.n);
    ASSERT_EQ(Call(e, src.data(), want.data(), kScaleBySqrtN), kStatusOk);
    for (Guard srcGuard : {Guard::kAfterEnd, Guard::kBeforeStart}) {
        for (Guard dstGuard : {Guard::kAfterEnd, Guard::kBeforeStart}) {
            SCOPED_TRACE(testing::Message() << "src guard " << (srcGuard == Guard::kAfterEnd ? "after" : "before")
                                            << ", dst guard " << (dstGuard == Guard::kAfterEnd ? "after" : "before"));
            GuardedBuffer s(bytes, srcGuard), d(bytes, dstGuard);
            std::memcpy(s.As<Elem>(), input.data(), bytes);
            ASSERT_EQ(Call(e, s.As<Elem>(), d.As<Elem>(), kScaleBySqrtN), kStatusOk);
            EXPECT_TRUE(SameBits(d.As<Elem>(), want.data(), e.n));
            ASSERT_EQ(Call(e, s.As<Elem>(), s.As<Elem>(), kScaleBySqrtN), kStatusOk);
            EXPECT_TRUE(SameBits(s.As<Elem>(), want.data(), e.n)) << "in place";
        }
        SCOPED_TRACE(testing::Message() << "guard " << (srcGuard == Guard::kAfterEnd ? "after" : "before")
                                        << ", other array at 8 mod 16");
        GuardedBuffer s(bytes, srcGuard), d(bytes, srcGuard);
        std::memcpy(s.As<Elem>(), input.data(), bytes);
        Array<Elem> misalignedSrc(input, 8), misalignedDst(e.n, 8);
        ASSERT_EQ(Call(e, s.As<Elem>(), misalignedDst.data(), kScaleBySqrtN), kStatusOk);
        EXPECT_TRUE(SameBits(misalignedDst.data(), want.data(), e.n)) << "guarded src";
        ASSERT_EQ(Call(e, misalignedSrc.data(), d.As<Elem>(), kScaleBySqrtN), kStatusOk);
        EXPECT_TRUE(SameBits(d.As<Elem>(), want.data(), e.n)) << "guarded dst";
    }
}

// Arrays that cross a 4 KB page boundary, starting `delta` bytes before it
// for every multiple of 16 (and 8, 24, 40, 56) that makes them cross: the
// wide builds send such calls to bodies that move the same values in 128-bit
// pieces or 256-bit halves, chosen by the arrays' alignment, so every
// combination must give the bits of an aligned call that crosses nothing.
template <class Elem>
void CheckPageCrossing(const Entry& e) {
    constexpr std::size_t kPage = 4096;
    const std::size_t bytes = e.n * sizeof(Elem);
    const std::vector<Elem> input = RandomSignal<Elem>(e.n, 6000u + e.n);
    std::vector<std::size_t> deltas = {8, 24, 40, 56};
    for (std::size_t d = 16; d < bytes; d += 16) deltas.push_back(d);
    std::erase_if(deltas, [&](std::size_t d) { return d >= bytes; });

    qvntest::AlignedBlock srcBlock = qvntest::AllocateAligned64(4 * kPage);
    qvntest::AlignedBlock dstBlock = qvntest::AllocateAligned64(4 * kPage);
    const auto boundary = [](unsigned char* block) {
        const auto p = reinterpret_cast<std::uintptr_t>(block) + kPage;
        return block + ((kPage - p % kPage) % kPage) + kPage;
    };
    unsigned char* const srcPage = boundary(srcBlock.get());
    unsigned char* const dstPage = boundary(dstBlock.get());
    const auto at = [](unsigned char* page, std::size_t delta) { return reinterpret_cast<Elem*>(page - delta); };
    // Out-of-place calls must leave the destination's neighbours alone.
    const auto neighboursIntact = [&](std::size_t delta) {
        for (std::size_t i = 0; i < 2 * kPage; ++i) {
            const unsigned char* b = dstPage - kPage + i;
            const bool inside = b >= dstPage - delta && b < dstPage - delta + bytes;
            if (!inside && *b != 0x5A) return false;
        }
        return true;
    };

    for (int32_t flag : kValidFlags) {
        SCOPED_TRACE(testing::Message() << "flag " << flag);
        Array<Elem> src(input), want(e.n);
        ASSERT_EQ(Call(e, src.data(), want.data(), flag), kStatusOk);
        for (std::size_t delta : deltas) {
            // (source delta, destination delta); 0 is page aligned, crossing nothing.
            const std::size_t other = delta + 16 < bytes ? delta + 16 : delta;
            const std::size_t pairs[][2] = {{delta, 0}, {0, delta}, {delta, delta}, {delta, other}, {other, delta}};
            for (const auto& [sd, dd] : pairs) {
                std::memset(dstPage - kPage, 0x5A, 2 * kPage);
                std::memcpy(at(srcPage, sd), input.data(), bytes);
                ASSERT_EQ(Call(e, at(srcPage, sd), at(dstPage, dd), flag), kStatusOk);
                EXPECT_TRUE(SameBits(at(dstPage, dd), want.data(), e.n))
                    << "src " << sd << " and dst " << dd << " bytes before a page";
                EXPECT_TRUE(neighboursIntact(dd)) << "write outside the destination " << dd << " bytes before a page";
            }
            std::memcpy(at(dstPage, delta), input.data(), bytes);
            ASSERT_EQ(Call(e, at(dstPage, delta), at(dstPage, delta), flag), kStatusOk);
            EXPECT_TRUE(SameBits(at(dstPage, delta), want.data(), e.n)) << "in place " << delta << " bytes before a page";
        }
    }
}

// Forward then inverse restores the input for the flag pairs whose scales
// multiply to 1/N; without scaling the input comes back multiplied by N.
template <class Elem>
void CheckRoundTrip(const Entry& fwd) {
    const Entry& inv = kEntries[(&fwd - kEntries) ^ 1];
    const double bound = std::is_same_v<Elem, Complex32f> ? 2e-6 : 8e-15;
    const std::vector<Elem> input = RandomSignal<Elem>(fwd.n, 5000u + fwd.n);
    for (int32_t flag : {kScaleFwdByN, kScaleInvByN, kScaleBySqrtN, kScaleNone}) {
        Array<Elem> x(input), mid(fwd.n), back(fwd.n);
        ASSERT_EQ(Call(fwd, x.data(), mid.data(), flag), kStatusOk);
        ASSERT_EQ(Call(inv, mid.data(), back.data(), flag), kStatusOk);
        std::vector<RefComplex> expected = qvntest::Widen(input.data(), input.size());
        if (flag == kScaleNone) {
            for (RefComplex& v : expected) v *= static_cast<long double>(fwd.n);
        }
        EXPECT_LE(qvntest::RelativeRmsError(back.data(), expected), bound)
            << "through " << inv.name << ", flag " << flag << " both ways";
    }
}

class ComplexDft : public testing::TestWithParam<int> {
protected:
    static const Entry& Param() { return kEntries[GetParam()]; }
};
class ComplexDftForward : public ComplexDft {};

#define QVNT_RUN(check)                                       \
    SCOPED_TRACE(Param().name);                               \
    if (Param().f32) check<Complex32f>(Param());              \
    else check<Complex64f>(Param())

TEST_P(ComplexDft, ImpulseGivesScaleInEveryBin) { QVNT_RUN(CheckImpulse); }
TEST_P(ComplexDft, FlagScalesUnscaledResultExactly) { QVNT_RUN(CheckScaleIsLastStep); }
TEST_P(ComplexDft, BadArgumentsRejectedWithoutWriting) { QVNT_RUN(CheckBadArguments); }
TEST_P(ComplexDft, InPlaceAndMisalignedAreBitIdentical) { QVNT_RUN(CheckPlacement); }
TEST_P(ComplexDft, StaysInsideGuardPages) { QVNT_RUN(CheckGuardPages); }
TEST_P(ComplexDft, PageCrossingArraysAreBitIdentical) { QVNT_RUN(CheckPageCrossing); }
TEST_P(ComplexDftForward, RoundTripRestoresInput) { QVNT_RUN(CheckRoundTrip); }

std::string EntryName(const testing::TestParamInfo<int>& info) { return kEntries[info.param].name; }
INSTANTIATE_TEST_SUITE_P(All, ComplexDft, testing::Range(0, kEntryCount), EntryName);
INSTANTIATE_TEST_SUITE_P(All, ComplexDftForward, testing::Range(0, kEntryCount, 2), EntryName);

// ---------------------------------------------------------------------------
// Accuracy against the long double reference, random inputs, every flag.

template <class Elem>
double MeasureError(const Entry& e) {
    double worst = 0;
    for (int trial = 0; trial < 4; ++trial) {
        const int32_t flag = kValidFlags[trial];
        const std::vector<Elem> input = RandomSignal<Elem>(e.n, 6000u + 100u * e.n + trial);
        Array<Elem> x(input), y(e.n);
        EXPECT_EQ(Call(e, x.data(), y.data(), flag), kStatusOk) << e.name << " flag " << flag;
        const long double n = e.n;
        const long double scale = flag == kScaleBySqrtN                       ? 1.0L / std::sqrt(n)
                                  : flag == (e.inverse ? kScaleInvByN : kScaleFwdByN) ? 1.0L / n
                                                                              : 1.0L;
        const auto ref = qvntest::ReferenceDft(qvntest::Widen(input.data(), input.size()), e.inverse ? 1 : -1, scale);
        worst = std::max(worst, qvntest::RelativeRmsError(y.data(), ref));
    }
    return worst;
}

TEST(ComplexDftAccuracy, AllEntriesMatchReference) {
    struct Worst {
        double error = 0;
        const char* name = "";
    } worst[2][2];  // [double][inverse]
    for (const Entry& e : kEntries) {
        const bool isDouble = e.f64 != nullptr;
        const double bound = isDouble ? 4e-15 : 1e-6;
        const double error = isDouble ? MeasureError<Complex64f>(e) : MeasureError<Complex32f>(e);
        EXPECT_LE(error, bound) << e.name << ": relative RMS error";
        Worst& w = worst[isDouble][e.inverse];
        if (error >= w.error) w = {error, e.name};
    }
    for (int d = 0; d < 2; ++d) {
        for (int inv = 0; inv < 2; ++inv) {
            const std::string key = std::string(d ? "64fc" : "32fc") + (inv ? "_inverse" : "_forward");
            std::printf("max relative RMS error %s: %.3e (%s)\n", key.c_str(), worst[d][inv].error, worst[d][inv].name);
            RecordProperty("max_rel_rms_" + key, std::to_string(worst[d][inv].error));
        }
    }
}

// ---------------------------------------------------------------------------
// Small lengths worked out by hand; integer inputs keep the sums exact.

template <class Elem>
void CheckByHand(bool inverse) {
    using C = std::complex<double>;
    const C i(0, 1), sgn = inverse ? -1.0 : 1.0;  // the inverse flips the sign of i
    const C a(1, 2), b(3, -1), c(-2, 5), d(4, 0.5);
    const std::vector<std::vector<C>> inputs = {{a, b}, {a, b, c, d}};
    const std::vector<std::vector<C>> outputs = {
        {a + b, a - b},
        {a + b + c + d, a - sgn * i * b - c + sgn * i * d, a - b + c - d, a + sgn * i * b - c - sgn * i * d}};
    const double tol = std::is_same_v<Elem, Complex32f> ? 4e-6 : 1e-13;
    for (std::size_t t = 0; t < inputs.size(); ++t) {
        const int n = static_cast<int>(inputs[t].size());
        const Entry& e = Find(n, std::is_same_v<Elem, Complex64f>, inverse);
        Array<Elem> x(n), y(n);
        for (int j = 0; j < n; ++j) x[j] = {RealOf<Elem>(inputs[t][j].real()), RealOf<Elem>(inputs[t][j].imag())};
        ASSERT_EQ(Call(e, x.data(), y.data(), kScaleNone), kStatusOk) << e.name;
        for (int k = 0; k < n; ++k) {
            EXPECT_NEAR(y[k].re, outputs[t][k].real(), tol) << e.name << " bin " << k;
            EXPECT_NEAR(y[k].im, outputs[t][k].imag(), tol) << e.name << " bin " << k;
        }
    }
}

TEST(ComplexDftByHand, LengthsTwoAndFour) {
    for (bool inverse : {false, true}) {
        CheckByHand<Complex32f>(inverse);
        CheckByHand<Complex64f>(inverse);
    }
}

// ---------------------------------------------------------------------------
// Scale constants pinned to their bit patterns, read back from the library
// through an impulse (forward and inverse) and from ExpectedScale, which the
// impulse test relies on.

template <class Elem>
void CheckScaleBits(int n, int32_t fwdFlag, uint64_t bits) {
    using Real = RealOf<Elem>;
    const int32_t invFlag = fwdFlag == kScaleFwdByN ? kScaleInvByN : fwdFlag;
    EXPECT_EQ(Bits(ExpectedScale<Real>(n, false, fwdFlag)), bits) << "N=" << n << " flag " << fwdFlag;
    for (bool inverse : {false, true}) {
        const Entry& e = Find(n, std::is_same_v<Elem, Complex64f>, inverse);
        Array<Elem> x(std::vector<Elem>(n, Elem{0, 0})), y(n);
        x[0].re = 1;
        const int32_t flag = inverse ? invFlag : fwdFlag;
        ASSERT_EQ(Call(e, x.data(), y.data(), flag), kStatusOk) << e.name;
        EXPECT_EQ(Bits(y[n - 1].re), bits) << e.name << " flag " << flag << ": " << Hex(y[n - 1].re);
    }
}

TEST(ComplexDftScale, KnownConstantBits) {
    CheckScaleBits<Complex32f>(10, kScaleFwdByN, 0x3DCCCCCD);
    CheckScaleBits<Complex32f>(10, kScaleBySqrtN, 0x3EA1E89B);
    CheckScaleBits<Complex64f>(10, kScaleFwdByN, 0x3FB999999999999A);
    CheckScaleBits<Complex64f>(10, kScaleBySqrtN, 0x3FD43D136248490F);
    CheckScaleBits<Complex32f>(3, kScaleFwdByN, 0x3EAAAAAB);
    CheckScaleBits<Complex32f>(3, kScaleBySqrtN, 0x3F13CD3A);
    CheckScaleBits<Complex32f>(63, kScaleFwdByN, 0x3C820821);
    CheckScaleBits<Complex32f>(63, kScaleBySqrtN, 0x3E01030A);
    CheckScaleBits<Complex64f>(63, kScaleBySqrtN, 0x3FC02061446FFA99);
    CheckScaleBits<Complex32f>(2, kScaleBySqrtN, 0x3F3504F3);
}

// ---------------------------------------------------------------------------
// Generic entries: the length is tested first; a valid length reaches the
// fixed-length entry of that length, statuses included.

template <class Elem>
using Generic = Status(QVN_API*)(const Elem*, Elem*, int32_t, ScaleFlag);

template <class Elem>
void CheckGeneric(Generic<Elem> generic, bool isDouble, bool inverse) {
    for (int n = 2; n <= 64; ++n) {
        const Entry& e = Find(n, isDouble, inverse);
        const std::vector<Elem> input = RandomSignal<Elem>(n, 900u + n);
        Array<Elem> x(input), direct(n), viaGeneric(n);
        ASSERT_EQ(Call(e, x.data(), direct.data(), kScaleBySqrtN), kStatusOk) << e.name;
        ASSERT_EQ(generic(x.data(), viaGeneric.data(), n, kScaleBySqrtN), kStatusOk) << e.name;
        EXPECT_EQ(std::memcmp(direct.data(), viaGeneric.data(), n * sizeof(Elem)), 0) << "generic, N = " << n;
        EXPECT_EQ(generic(nullptr, viaGeneric.data(), n, 3), kStatusNullPointer) << "N = " << n;
        EXPECT_EQ(generic(x.data(), viaGeneric.data(), n, 3), kStatusBadFlag) << "N = " << n;
    }
    Array<Elem> x(RandomSignal<Elem>(64, 5u)), y(64);
    const std::vector<unsigned char> before = y.Snapshot();
    for (int32_t n : {1, 0, -1, -2, 65, 66, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(generic(x.data(), y.data(), n, kScaleNone), kStatusBadSize) << "N = " << n;
        EXPECT_EQ(generic(nullptr, nullptr, n, 3), kStatusBadSize) << "length before pointers, N = " << n;
    }
    EXPECT_TRUE(y.AllBytesEqual(before)) << "a refused call wrote";
}

TEST(ComplexDftGeneric, ForwardsEveryLengthAndRejectsOthersFirst) {
    CheckGeneric<Complex32f>(qvngDFTFwd_CToC_32fc, false, false);
    CheckGeneric<Complex32f>(qvngDFTInv_CToC_32fc, false, true);
    CheckGeneric<Complex64f>(qvngDFTFwd_CToC_64fc, true, false);
    CheckGeneric<Complex64f>(qvngDFTInv_CToC_64fc, true, true);
}

// ---------------------------------------------------------------------------
// Re-entrancy: the entries keep no state, so four threads running every
// entry at once on their own data get exactly the single-threaded bits. A
// kernel that kept a scratch array or a lazily built table in static storage
// would fail here (under the sanitizer build, loudly).

template <class Elem>
std::vector<Elem> RunOnce(const Entry& e, unsigned seed) {
    Array<Elem> x(RandomSignal<Elem>(e.n, seed)), y(e.n);
    EXPECT_EQ(Call(e, x.data(), y.data(), kScaleBySqrtN), kStatusOk) << e.name;
    return std::vector<Elem>(y.data(), y.data() + e.n);
}

template <class Elem>
bool SameBits(const std::vector<Elem>& a, const std::vector<Elem>& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(Elem)) == 0;
}

TEST(ComplexDftConcurrency, ThreadsGetSingleThreadedBits) {
    constexpr int kThreads = 4, kRounds = 20;
    std::vector<std::vector<Complex32f>> want32(kEntryCount);
    std::vector<std::vector<Complex64f>> want64(kEntryCount);
    for (int i = 0; i < kEntryCount; ++i) {
        if (kEntries[i].f32) want32[i] = RunOnce<Complex32f>(kEntries[i], 77u + i);
        else want64[i] = RunOnce<Complex64f>(kEntries[i], 77u + i);
    }
    std::atomic<int> mismatches{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            for (int round = 0; round < kRounds; ++round)
                for (int k = 0; k < kEntryCount; ++k) {
                    const int i = (k + t * 61) % kEntryCount;  // threads run different entries at once
                    const bool same = kEntries[i].f32 ? SameBits(RunOnce<Complex32f>(kEntries[i], 77u + i), want32[i])
                                                      : SameBits(RunOnce<Complex64f>(kEntries[i], 77u + i), want64[i]);
                    if (!same) ++mismatches;
                }
        });
    for (std::thread& th : threads) th.join();
    EXPECT_EQ(mismatches.load(), 0);
}

}  // namespace
