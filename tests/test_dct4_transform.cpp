// The DCT-IV transform: values against an exact evaluation for every
// supported power of two up to 8192, the defining small cases, inversion,
// the refusal of an unknown kind, placement independence and memory safety.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <numbers>
#include <random>
#include <thread>
#include <vector>

#include "guarded_buffer.h"
#include "qvncore.h"
#include "qvngen.h"

namespace {

using qvntest::GuardedBuffer;

template <class T>
struct Api;
template <>
struct Api<float> {
    static constexpr auto GetSize = qvngDCT4GetSize_32f;
    static constexpr auto Init = qvngDCT4Init_32f;
    static constexpr auto InitAlloc = qvngDCT4InitAlloc_32f;
    static constexpr auto Free = qvngDCT4Free_32f;
    static constexpr auto Run = qvngDCT4_32f;
    static constexpr double kTolerance = 1e-6;
};
template <>
struct Api<double> {
    static constexpr auto GetSize = qvngDCT4GetSize_64f;
    static constexpr auto Init = qvngDCT4Init_64f;
    static constexpr auto InitAlloc = qvngDCT4InitAlloc_64f;
    static constexpr auto Free = qvngDCT4Free_64f;
    static constexpr auto Run = qvngDCT4_64f;
    static constexpr double kTolerance = 5e-15;
};

// y[k] = sum x[n] cos(pi (2n+1)(2k+1) / (4N)) in long double. The angle's
// numerator is reduced modulo 8N exactly in integers, so one table of 8N
// cosines serves every term.
template <class T>
std::vector<long double> Reference(const std::vector<T>& x) {
    const long long n = static_cast<long long>(x.size());
    const long double pi = 3.141592653589793238462643383279502884L;
    std::vector<long double> cosines(8 * n);
    for (long long m = 0; m < 8 * n; ++m) cosines[m] = cosl(pi * m / (4 * n));
    std::vector<long double> y(n, 0.0L);
    for (long long k = 0; k < n; ++k) {
        long double s = 0;
        for (long long i = 0; i < n; ++i) s += x[i] * cosines[((2 * i + 1) * (2 * k + 1)) % (8 * n)];
        y[k] = s;
    }
    return y;
}

template <class T>
double RelativeRms(const T* got, const std::vector<long double>& want) {
    long double num = 0, den = 0;
    for (size_t i = 0; i < want.size(); ++i) {
        const long double d = got[i] - want[i];
        num += d * d;
        den += want[i] * want[i];
    }
    return static_cast<double>(sqrtl(num / den));
}

template <class T>
std::vector<T> RandomInput(int n, unsigned seed) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> dist(-1.0, 1.0);
    std::vector<T> x(n);
    for (T& v : x) v = static_cast<T>(dist(rng));
    return x;
}

// A DCT4Spec owned by the test, from InitAlloc.
template <class T>
struct Spec {
    explicit Spec(int n) { EXPECT_EQ(Api<T>::InitAlloc(&spec, n), kStatusOk) << "N = " << n; }
    ~Spec() {
        if (spec) Api<T>::Free(spec);
    }
    DCT4Spec* spec = nullptr;
};

template <class T>
class Dct4Transform : public ::testing::Test {};
using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Dct4Transform, Precisions);

TYPED_TEST(Dct4Transform, MatchesExactEvaluationForEveryPowerOfTwo) {
    using T = TypeParam;
    double worst = 0;
    int worst_n = 0;
    for (int n = 2; n <= 8192; n *= 2) {
        Spec<T> s(n);
        ASSERT_NE(s.spec, nullptr);
        const std::vector<T> x = RandomInput<T>(n, 1000u + n);
        std::vector<T> y(n);
        ASSERT_EQ(Api<T>::Run(x.data(), y.data(), s.spec), kStatusOk);
        const double err = RelativeRms(y.data(), Reference(x));
        EXPECT_LT(err, Api<T>::kTolerance) << "N = " << n;
        if (err > worst) worst = err, worst_n = n;
    }
    std::printf("[ measured ] %s: largest relative RMS error %.3g at N = %d\n", sizeof(T) == 4 ? "single" : "double", worst,
                worst_n);
}

TYPED_TEST(Dct4Transform, TwoPointCasesAreTheRotationByPiOverEight) {
    using T = TypeParam;
    Spec<T> s(2);
    const T c1 = static_cast<T>(std::cos(std::numbers::pi / 8)), c3 = static_cast<T>(std::cos(3 * std::numbers::pi / 8));
    const T tol = sizeof(T) == 4 ? T(1e-7) : T(1e-16);
    T y[2];
    const T e0[2] = {1, 0}, e1[2] = {0, 1};
    ASSERT_EQ(Api<T>::Run(e0, y, s.spec), kStatusOk);
    EXPECT_NEAR(y[0], c1, tol);
    EXPECT_NEAR(y[1], c3, tol);
    ASSERT_EQ(Api<T>::Run(e1, y, s.spec), kStatusOk);
    EXPECT_NEAR(y[0], c3, tol);
    EXPECT_NEAR(y[1], -c1, tol);
}

// The transform is its own inverse up to N/2; this also checks the kernels
// against each other at lengths where the exact evaluation is too slow.
TYPED_TEST(Dct4Transform, TwiceIsHalfTheLengthTimesTheInput) {
    using T = TypeParam;
    for (int n : {4, 32, 64, 512, 4096, 16384, 65536, 262144}) {
        Spec<T> s(n);
        const std::vector<T> x = RandomInput<T>(n, 7u + n);
        std::vector<T> y(n), z(n);
        ASSERT_EQ(Api<T>::Run(x.data(), y.data(), s.spec), kStatusOk);
        ASSERT_EQ(Api<T>::Run(y.data(), z.data(), s.spec), kStatusOk);
        long double num = 0, den = 0;
        for (int i = 0; i < n; ++i) {
            const long double d = z[i] / (n / 2.0L) - x[i];
            num += d * d;
            den += static_cast<long double>(x[i]) * x[i];
        }
        EXPECT_LT(std::sqrt(static_cast<double>(num / den)), 4 * Api<T>::kTolerance) << "N = " << n;
    }
}

// Every kind word other than 1..6 is refused before anything is touched;
// the same DCT4Spec works again once its kind is restored.
TYPED_TEST(Dct4Transform, UnknownKindIsRefusedAndTheDestinationUntouched) {
    using T = TypeParam;
    for (int n : {2, 32, 64, 1024}) {
        Spec<T> s(n);
        std::int32_t kind;
        std::memcpy(&kind, reinterpret_cast<char*>(s.spec) + 32, 4);
        const std::vector<T> x = RandomInput<T>(n, 3u);
        for (std::int32_t bad : {0, 7, -1, 6 + kind}) {
            if (bad >= 1 && bad <= 6) continue;
            std::memcpy(reinterpret_cast<char*>(s.spec) + 32, &bad, 4);
            std::vector<T> y(n, T(-123.5));
            EXPECT_EQ(Api<T>::Run(x.data(), y.data(), s.spec), kStatusBadSpec) << "N = " << n << ", kind " << bad;
            for (int i = 0; i < n; ++i) ASSERT_EQ(y[i], T(-123.5)) << "N = " << n << ", kind " << bad;
        }
        std::memcpy(reinterpret_cast<char*>(s.spec) + 32, &kind, 4);
        std::vector<T> y(n);
        EXPECT_EQ(Api<T>::Run(x.data(), y.data(), s.spec), kStatusOk);
        EXPECT_LT(RelativeRms(y.data(), Reference(x)), Api<T>::kTolerance);
    }
}

// A DCT4Spec of the other precision has tables of the wrong element size.
TEST(Dct4TransformPrecision, SpecOfTheOtherPrecisionIsRefused) {
    for (int n : {2, 64, 4096}) {
        Spec<float> single(n);
        Spec<double> dbl(n);
        std::vector<float> xf(n, 1.0f), yf(n, -7.0f);
        std::vector<double> xd(n, 1.0), yd(n, -7.0);
        EXPECT_EQ(qvngDCT4_32f(xf.data(), yf.data(), dbl.spec), kStatusBadSpec) << "N = " << n;
        EXPECT_EQ(qvngDCT4_64f(xd.data(), yd.data(), single.spec), kStatusBadSpec) << "N = " << n;
        for (int i = 0; i < n; ++i) ASSERT_TRUE(yf[i] == -7.0f && yd[i] == -7.0) << "N = " << n;
    }
}

TYPED_TEST(Dct4Transform, NullArgumentsAreRefused) {
    using T = TypeParam;
    Spec<T> s(64);
    T x[64] = {}, y[64];
    std::fill(y, y + 64, T(9));
    EXPECT_EQ(Api<T>::Run(x, y, nullptr), kStatusNullPointer);
    EXPECT_EQ(Api<T>::Run(nullptr, y, s.spec), kStatusNullPointer);
    EXPECT_EQ(Api<T>::Run(x, nullptr, s.spec), kStatusNullPointer);
    EXPECT_EQ(Api<T>::Run(nullptr, nullptr, nullptr), kStatusNullPointer);
    for (T v : y) EXPECT_EQ(v, T(9));
}

// Source and destination anywhere (no alignment is required), the DCT4Spec in a
// caller block at any 4-byte offset: always the same bits.
TYPED_TEST(Dct4Transform, ResultDoesNotDependOnPlacement) {
    using T = TypeParam;
    for (int n : {16, 64, 256, 8192}) {
        Spec<T> s(n);
        const std::vector<T> x = RandomInput<T>(n, 11u + n);
        std::vector<T> want(n);
        ASSERT_EQ(Api<T>::Run(x.data(), want.data(), s.spec), kStatusOk);

        std::int32_t size = 0;
        ASSERT_EQ(Api<T>::GetSize(n, &size), kStatusOk);
        std::vector<unsigned char> block(size + 64);
        std::vector<T> src(n + 3), dst(n + 3);
        for (int shift : {1, 2, 3}) {
            DCT4Spec* placed = nullptr;
            ASSERT_EQ(Api<T>::Init(&placed, n, block.data() + 4 * shift), kStatusOk);
            std::copy(x.begin(), x.end(), src.begin() + shift);
            ASSERT_EQ(Api<T>::Run(src.data() + shift, dst.data() + shift, placed), kStatusOk);
            EXPECT_EQ(std::memcmp(dst.data() + shift, want.data(), n * sizeof(T)), 0) << "N = " << n << ", shift " << shift;
        }
    }
}

// Arrays of exactly N elements flush against an inaccessible page on either
// side, and the DCT4Spec in a block of exactly GetSize bytes before such a page:
// any stray access faults. The one-more-than-a-power-of-two lengths that the
// planner accepts are run too; their values are not a DCT-IV.
TYPED_TEST(Dct4Transform, TouchesNothingOutsideItsArraysAndBlock) {
    using T = TypeParam;
    std::vector<int> lengths;
    for (int n = 2; n <= 16384; n *= 2) lengths.push_back(n);
    for (int n = 3; n <= 16385; n = 2 * n - 1) lengths.push_back(n);
    int accepted = 0;
    for (int n : lengths) {
        std::int32_t size = 0;
        if (Api<T>::GetSize(n, &size) != kStatusOk) continue;
        GuardedBuffer block(size, GuardedBuffer::Guard::kAfterEnd);
        DCT4Spec* spec = nullptr;
        ASSERT_EQ(Api<T>::Init(&spec, n, block.As<std::uint8_t>()), kStatusOk) << "N = " << n;
        ++accepted;
        const std::vector<T> x = RandomInput<T>(n, 5u);
        for (auto guard : {GuardedBuffer::Guard::kAfterEnd, GuardedBuffer::Guard::kBeforeStart}) {
            GuardedBuffer src(n * sizeof(T), guard), dst(n * sizeof(T), guard);
            std::copy(x.begin(), x.end(), src.As<T>());
            EXPECT_EQ(Api<T>::Run(src.As<T>(), dst.As<T>(), spec), kStatusOk) << "N = " << n;
        }
    }
    EXPECT_GE(accepted, 14);
}

// One DCT4Spec per thread: every thread gets the single-threaded bits.
TYPED_TEST(Dct4Transform, ThreadsWithTheirOwnSpecsAgree) {
    using T = TypeParam;
    const int n = 2048;
    const std::vector<T> x = RandomInput<T>(n, 21u);
    std::vector<T> want(n);
    {
        Spec<T> s(n);
        ASSERT_EQ(Api<T>::Run(x.data(), want.data(), s.spec), kStatusOk);
    }
    std::vector<std::vector<T>> got(4, std::vector<T>(n));
    std::vector<std::thread> threads;
    for (auto& out : got)
        threads.emplace_back([&x, &out] {
            Spec<T> s(n);
            for (int rep = 0; rep < 50; ++rep) Api<T>::Run(x.data(), out.data(), s.spec);
        });
    for (auto& t : threads) t.join();
    for (const auto& out : got) EXPECT_EQ(std::memcmp(out.data(), want.data(), n * sizeof(T)), 0);
}

}  // namespace
