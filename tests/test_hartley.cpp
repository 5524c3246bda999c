// Tests of the discrete Hartley transform's values, N = 2..64 in both
// precisions: worked examples, accuracy against the long double reference,
// the transform undoing itself, and its tie to the forward real DFT. The
// flags, argument checks, placement and generic entries of the Hartley
// exports are tested with the real DFT entries in test_dft_real.cpp, which
// share their entry frame.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <random>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "frame/packed_layout.h"
#include "qvngen.h"
#include "reference.h"

namespace {

template <class Real>
using Fn = Status(QVN_API*)(const Real*, Real*, ScaleFlag);

struct Entry {
    const char* name;
    int n;
    Fn<float> f32;  // exactly one of the two is set
    Fn<double> f64;
};

#define QVNT_ENTRIES(N)                                          \
    {"qvngHartley_" #N "_32f", N, qvngHartley_##N##_32f, nullptr}, \
    {"qvngHartley_" #N "_64f", N, nullptr, qvngHartley_##N##_64f},
const Entry kEntries[] = {QVNG_FOR_EACH_LENGTH(QVNT_ENTRIES)};
#undef QVNT_ENTRIES
static_assert(std::size(kEntries) == 126);

const Entry& Find(int n, bool isDouble) { return kEntries[(n - 2) * 2 + (isDouble ? 1 : 0)]; }

template <class Real>
std::vector<Real> Transform(const Entry& e, const std::vector<Real>& x, int32_t flag) {
    std::vector<Real> y(e.n);
    Status status;
    if constexpr (std::is_same_v<Real, float>) {
        status = e.f32(x.data(), y.data(), flag);
    } else {
        status = e.f64(x.data(), y.data(), flag);
    }
    EXPECT_EQ(status, kStatusOk) << e.name << ", flag " << flag;
    return y;
}

// check(entry, Real{}) for every entry, under its name.
template <class Check>
void ForEachEntry(Check check) {
    for (const Entry& e : kEntries) {
        SCOPED_TRACE(e.name);
        if (e.f32) check(e, float{});
        else check(e, double{});
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

constexpr double kBound32 = 4e-7, kBound64 = 8e-16;

template <class Real>
constexpr double Bound() {
    return sizeof(Real) == 4 ? kBound32 : kBound64;
}

// ---------------------------------------------------------------------------
// Values worked out by hand (flag 8), and N = 2 with flag 4, whose factor
// multiplies exact sums: (4 s, 2 s) with s = 1/sqrt(2) rounded to the
// element precision (0.70710677 in single precision).

TEST(HartleyByHand, WorkedExamples) {
    const struct {
        std::vector<double> x, h;
        double tol;
    } examples[] = {
        {{0.75, -2.5}, {-1.75, 3.25}, 0},
        {{1, 2, 3, 4}, {10, -4, -2, 0}, 0},
        {{1, 2, 3, 4, 5}, {15, -5.940955, -3.312299, -1.687701, 0.940955}, 2e-6},  // six decimals
    };
    for (const auto& ex : examples) {
        const int n = static_cast<int>(ex.x.size());
        const std::vector<float> x32(ex.x.begin(), ex.x.end());
        const std::vector<float> h32 = Transform(Find(n, false), x32, kScaleNone);
        const std::vector<double> h64 = Transform(Find(n, true), ex.x, kScaleNone);
        for (int k = 0; k < n; ++k) {
            EXPECT_NEAR(h32[k], ex.h[k], ex.tol) << Find(n, false).name << " H[" << k << "]";
            EXPECT_NEAR(h64[k], ex.h[k], ex.tol) << Find(n, true).name << " H[" << k << "]";
        }
    }
    const float s32 = 0.70710677f;
    const double s64 = 1.0 / std::sqrt(2.0);
    EXPECT_EQ(Transform(Find(2, false), std::vector<float>{3, 1}, kScaleBySqrtN),
              (std::vector<float>{4 * s32, 2 * s32}));
    EXPECT_EQ(Transform(Find(2, true), std::vector<double>{3, 1}, kScaleBySqrtN),
              (std::vector<double>{4 * s64, 2 * s64}));
}

// ---------------------------------------------------------------------------
// Accuracy against the long double reference, every flag; and the transform
// is its own inverse: flag 8 then 1 (or 2), or 4 twice, gives back the input.

TEST(HartleyAccuracy, MatchesReferenceAndUndoesItself) {
    std::pair<double, const char*> worst[2] = {{0, ""}, {0, ""}};
    ForEachEntry([&](const Entry& e, auto real) {
        using Real = decltype(real);
        const std::vector<Real> x = RandomVector<Real>(e.n, 31u * e.n);
        const std::vector<long double> wide(x.begin(), x.end());
        for (int32_t flag : {kScaleFwdByN, kScaleInvByN, kScaleBySqrtN, kScaleNone}) {
            const long double n = e.n;
            const long double s = flag == kScaleNone ? 1.0L : flag == kScaleBySqrtN ? 1.0L / std::sqrt(n) : 1.0L / n;
            const std::vector<Real> h = Transform(e, x, flag);
            const double error = qvntest::RelativeRmsError(h.data(), qvntest::ReferenceHartley(wide, s));
            EXPECT_LE(error, Bound<Real>()) << "relative RMS error, flag " << flag;
            auto& w = worst[sizeof(Real) == 8];
            if (error >= w.first) w = {error, e.name};
        }
        const int32_t flagPairs[][2] = {{kScaleNone, kScaleFwdByN}, {kScaleNone, kScaleInvByN},
                                        {kScaleBySqrtN, kScaleBySqrtN}};
        for (const auto& [first, second] : flagPairs) {
            const std::vector<Real> back = Transform(e, Transform(e, x, first), second);
            EXPECT_LE(qvntest::RelativeRmsError(back.data(), wide), 2 * Bound<Real>())
                << "flag " << first << " then flag " << second;
        }
    });
    for (int d = 0; d < 2; ++d) {
        std::printf("max relative RMS error %s: %.3e (%s)\n", d ? "64f" : "32f", worst[d].first, worst[d].second);
        RecordProperty(std::string("max_rel_rms_") + (d ? "64f" : "32f"), std::to_string(worst[d].first));
    }
}

// ---------------------------------------------------------------------------
// H[k] = Re X[k] - Im X[k] for the forward real DFT X, and with
// X[N-k] = conj(X[k]), H[N-k] = Re X[k] + Im X[k]. Compared within rounding,
// not bit for bit: the two families may break a length down differently.

TEST(Hartley, IsRealMinusImaginaryPartOfForwardDft) {
    using qvn::Layout;
    ForEachEntry([](const Entry& e, auto real) {
        using Real = decltype(real);
        const int n = e.n;
        const std::vector<Real> x = RandomVector<Real>(n, 37u * n);
        const std::vector<Real> h = Transform(e, x, kScaleNone);
        std::vector<Real> ccs(qvn::PackedCount(Layout::kCCS, n));
        if constexpr (std::is_same_v<Real, float>) {
            ASSERT_EQ(qvngDFTFwd_RToCCS_32f(x.data(), ccs.data(), n, kScaleNone), kStatusOk);
        } else {
            ASSERT_EQ(qvngDFTFwd_RToCCS_64f(x.data(), ccs.data(), n, kScaleNone), kStatusOk);
        }
        std::vector<long double> fromDft(n);
        for (int k = 0; k < n; ++k) {
            const int bin = std::min(k, n - k);
            const long double re = ccs[qvn::ReAt(Layout::kCCS, n, bin)], im = ccs[qvn::ImAt(Layout::kCCS, n, bin)];
            fromDft[k] = k == bin ? re - im : re + im;
        }
        EXPECT_LE(qvntest::RelativeRmsError(h.data(), fromDft), 2 * Bound<Real>())
            << "against qvngDFTFwd_RToCCS_" << n << (sizeof(Real) == 4 ? "_32f" : "_64f");
    });
}

}  // namespace
