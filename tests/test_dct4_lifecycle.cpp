// Tests of the DCT-IV specification lifecycle and planner: GetSize against
// an independent evaluation of the size rules, statuses, accepted lengths,
// construction in caller blocks of exactly the reported size at every
// alignment (guard page behind the block), arena accounting, the plan's
// structure and table contents, and InitAlloc/Free pairs.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

#include "allocation_watch.h"
#include "dct4/plan_view.h"
#include "guarded_buffer.h"
#include "qvncore.h"
#include "qvngen.h"

namespace {

// The library's own qvnMalloc/qvnFree calls, counted (allocation_watch.cpp).
using qvntest::g_alloc;
using qvntest::GuardedBuffer;

template <class Real>
struct Api {
    const char* suffix;
    int width;  // elements per vector
    Status(QVN_API* getSize)(int32_t, int32_t*);
    Status(QVN_API* init)(DCT4Spec**, int32_t, uint8_t*);
    Status(QVN_API* initAlloc)(DCT4Spec**, int32_t);
    Status(QVN_API* free)(DCT4Spec*);
};
const Api<float> kApi32 = {"32f", 4, qvngDCT4GetSize_32f, qvngDCT4Init_32f, qvngDCT4InitAlloc_32f, qvngDCT4Free_32f};
const Api<double> kApi64 = {"64f", 2, qvngDCT4GetSize_64f, qvngDCT4Init_64f, qvngDCT4InitAlloc_64f,
                            qvngDCT4Free_64f};

template <class Real>
const Api<Real>& ApiOf() {
    if constexpr (std::is_same_v<Real, float>) return kApi32;
    else return kApi64;
}

// ---------------------------------------------------------------------------
// The size rules, evaluated here from their statement: a radix table, the
// list of terms of each block, 64-bit sums refused beyond INT32_MAX.

std::optional<int64_t> Radix(int64_t half) {
    const int64_t table[][2] = {{32, 512}, {16, 128}, {8, 32}, {4, 16}, {2, 4}};
    for (const auto& [radix, minimum] : table) {
        if (half >= minimum && half % radix == 0) return radix;
    }
    return std::nullopt;
}

bool IsDirect(int64_t n, int64_t largest) { return n >= 2 && n <= largest && (n & (n - 1)) == 0; }

int64_t Up(int64_t bytes) { return (bytes + 31) / 32 * 32; }

struct Sum {
    int64_t total = 0;
    bool fits = true;
    void Add(int64_t term) {
        total += term;
        if (term > INT32_MAX || total > INT32_MAX) fits = false;
    }
};

// Elements per vector, and the bytes of the rotation table a plan of
// length N with top radix r fills: 32 per radix row and vector of N/(2r).
template <class Real>
constexpr int64_t kWidth = 16 / sizeof(Real);

template <class Real>
int64_t RotationTableBytes(int64_t N, int64_t r) {
    return 32 * r * ((N / (2 * r)) / kWidth<Real>);
}

template <class Real>
std::optional<int32_t> ExpectedSize(int32_t length) {
    constexpr int64_t node = 32, e = sizeof(Real), w = kWidth<Real>;
    const int64_t N = length;
    Sum sum;
    if (IsDirect(N, 32)) {
        for (int64_t t : {Up(0), Up(44), node, node, node}) sum.Add(t);
    } else {
        const auto r = Radix(N / 2);
        if (!r) return std::nullopt;
        // Both stages run on whole vectors.
        if ((N / (2 * *r)) % w != 0 || *r % w != 0) return std::nullopt;
        // output-stage block; the rotation table counts as N elements
        for (int64_t t : {Up(N * e), Up(64), node, Up(0), Up(64), 2 * node, 2 * node, Up(28), node}) sum.Add(t);
        // input-stage block: the stages from N/r down, then the stage itself
        int64_t n = N / *r, plan = 60;
        while (!IsDirect(n, 64)) {
            const auto r2 = Radix(n / 2);
            if (!r2) return std::nullopt;
            for (int64_t t : {Up((*r2 - 1) * 32 * (n / (2 * *r2))), Up(72), node, Up(N * e), Up(64), 3 * node,
                              2 * node, Up(24), node, 2 * node, Up(0), Up(plan), 2 * node, 2 * node})
                sum.Add(t);
            n /= *r2;
            plan = 68;
        }
        for (int64_t t : {Up(0), Up(plan), 2 * node}) sum.Add(t);
        for (int64_t t : {Up(0), Up(60), 2 * node, 2 * node}) sum.Add(t);
        // DCT4Spec block
        for (int64_t t : {Up(N * e), Up(44), 3 * node, 2 * node, Up(36), node, 2 * node}) sum.Add(t);
    }
    sum.Add(64);
    if (!sum.fits) return std::nullopt;
    return static_cast<int32_t>(sum.total);
}

std::vector<int32_t> SizeQueryLengths() {
    std::vector<int32_t> lengths;
    for (int32_t n = -2; n <= 5000; ++n) lengths.push_back(n);
    for (int k = 13; k <= 30; ++k) lengths.push_back(int32_t{1} << k);
    for (int k = 13; k <= 30; ++k) lengths.push_back((int32_t{1} << k) + 1);
    for (int32_t n : {INT32_MIN, -1024, 12288, 3 << 20, INT32_MAX, INT32_MAX - 1}) lengths.push_back(n);
    return lengths;
}

template <class Real>
void CheckGetSizeAgainstRules() {
    const Api<Real>& api = ApiOf<Real>();
    int accepted = 0;
    int32_t largestPower = 0;
    for (int32_t n : SizeQueryLengths()) {
        const std::optional<int32_t> expected = ExpectedSize<Real>(n);
        int32_t size = -12345;
        const Status status = api.getSize(n, &size);
        if (expected) {
            ASSERT_EQ(status, kStatusOk) << api.suffix << " N = " << n;
            ASSERT_EQ(size, *expected) << api.suffix << " N = " << n;
            ++accepted;
            if ((n & (n - 1)) == 0) largestPower = std::max(largestPower, n);
        } else {
            ASSERT_EQ(status, kStatusBadSize) << api.suffix << " N = " << n;
            ASSERT_EQ(size, -12345) << api.suffix << " N = " << n << ": size written on failure";
        }
    }
    std::printf("GetSize_%s: %d lengths sized, largest power of two 2^%d\n", api.suffix, accepted,
                std::countr_zero(static_cast<uint32_t>(largestPower)));
}

TEST(DCT4GetSize, EqualsTheSizeRulesForEveryLength) {
    CheckGetSizeAgainstRules<float>();
    CheckGetSizeAgainstRules<double>();
}

TEST(DCT4GetSize, ReferenceValuesAndLimits) {
    // One more than a power of two: 9 and 17 fail the single-precision
    // vector-width tests (N/(2r) = 2, then r = 2); the rotation table counts
    // as 4N or 8N bytes rounded up, 32 more than the table Init fills.
    constexpr int32_t refused = 0;
    const int32_t cases[][3] = {// N, single, double
                                {2, 224, 224},      {4, 224, 224},       {8, 224, 224},      {16, 224, 224},
                                {32, 224, 224},     {64, 1632, 2144},    {1024, 9312, 17504}, {9, refused, 1312},
                                {17, refused, 1440}, {33, 1440, 1696},   {65, 1696, 2208}};
    const auto check = [](const auto& api, int32_t n, int32_t want) {
        int32_t size = -1;
        EXPECT_EQ(api.getSize(n, &size), want == refused ? kStatusBadSize : kStatusOk) << api.suffix << " N = " << n;
        EXPECT_EQ(size, want == refused ? -1 : want) << api.suffix << " N = " << n;
    };
    for (const auto& c : cases) {
        check(kApi32, c[0], c[1]);
        check(kApi64, c[0], c[2]);
    }
    for (int32_t n : {128, 4096, 8192, 65536, 1 << 20}) {
        int32_t s32 = 0, s64 = 0;
        qvngDCT4GetSize_32f(n, &s32);
        qvngDCT4GetSize_64f(n, &s64);
        std::printf("GetSize N = %d: %d single, %d double\n", n, s32, s64);
    }
    // The largest powers of two whose sizes fit a positive 32-bit count.
    int32_t size = 0;
    EXPECT_EQ(qvngDCT4GetSize_32f(1 << 26, &size), kStatusOk);
    std::printf("GetSize N = 2^26 single: %d\n", size);
    EXPECT_EQ(qvngDCT4GetSize_32f(1 << 27, &size), kStatusBadSize);
    EXPECT_EQ(qvngDCT4GetSize_64f(1 << 25, &size), kStatusOk);
    std::printf("GetSize N = 2^25 double: %d\n", size);
    EXPECT_EQ(qvngDCT4GetSize_64f(1 << 26, &size), kStatusBadSize);
    // Huge 2^k+1 lengths pass every radix choice; only the size refuses them.
    EXPECT_EQ(qvngDCT4GetSize_32f((1 << 30) + 1, &size), kStatusBadSize);
    EXPECT_EQ(qvngDCT4GetSize_64f((1 << 30) + 1, &size), kStatusBadSize);
}

// ---------------------------------------------------------------------------
// Construction in caller blocks

uintptr_t ArenaWordOf(const uint8_t* block) {
    uintptr_t word;
    std::memcpy(&word, block, sizeof word);
    return word;
}

// Where Init puts the arena's first free byte: the first 32-byte boundary at
// least 33 bytes into the block.
uintptr_t ArenaStart(const uint8_t* block) {
    const auto address = reinterpret_cast<uintptr_t>(block);
    return (address + 33 + 31) / 32 * 32;
}

int32_t Word(const DCT4Spec* spec, int byteOffset) {
    int32_t value;
    std::memcpy(&value, reinterpret_cast<const unsigned char*>(spec) + byteOffset, sizeof value);
    return value;
}

int ExpectedKind(int32_t n) {
    for (int kind = 1; kind <= 5; ++kind) {
        if (n == 1 << kind) return kind;
    }
    return 6;
}

// Builds length n in a block of exactly GetSize bytes, `shift` bytes past a
// 32-byte boundary, ending at a guard page, and checks where everything went.
template <class Real>
void CheckPlacement(int32_t n, size_t shift) {
    const Api<Real>& api = ApiOf<Real>();
    SCOPED_TRACE(testing::Message() << api.suffix << " N = " << n << " shift " << shift);
    int32_t size = 0;
    ASSERT_EQ(api.getSize(n, &size), kStatusOk);
    // The block ends at the guard page when it is 32-byte aligned, and within
    // 32 bytes of it otherwise (the guard is page aligned, sizes are whole
    // 32-byte units); the region checks below cover that gap.
    GuardedBuffer memory(static_cast<size_t>(size) + 64, GuardedBuffer::Guard::kAfterEnd);
    uint8_t* end = memory.As<uint8_t>() + size + 64;
    uint8_t* block = end - size;
    block -= (reinterpret_cast<uintptr_t>(block) - shift) % 32;
    end = block + size;
    const uintptr_t start = ArenaStart(block);

    // The plan takes GetSize - 64 bytes of arena, less whatever the N-element
    // count of the rotation table exceeds the table actually filled (one
    // unit on one more than a power of two).
    uintptr_t surplus = 0;
    if (ExpectedKind(n) == 6) {
        const int64_t r = *Radix(n / 2);
        surplus = static_cast<uintptr_t>(Up(int64_t{n} * int64_t{sizeof(Real)}) - RotationTableBytes<Real>(n, r));
    }
    DCT4Spec* spec = nullptr;
    ASSERT_EQ(api.init(&spec, n, block), kStatusOk);
    ASSERT_EQ(ArenaWordOf(block) - start, static_cast<uintptr_t>(size) - 64 - surplus)
        << "arena used != GetSize - 64 - surplus " << surplus;
    ASSERT_EQ(reinterpret_cast<uintptr_t>(spec), start);
    EXPECT_EQ(Word(spec, 4), 44);
    EXPECT_EQ(Word(spec, 32), ExpectedKind(n));
    EXPECT_EQ(Word(spec, 40), n);
    if (ExpectedKind(n) != 6) return;

    qvn::dct4::PlanView view;
    qvn::dct4::ReadPlan(spec, &view);
    EXPECT_EQ(Word(spec, 36), view.radix);
    EXPECT_TRUE(view.input_usable);
    EXPECT_TRUE(view.output_usable);

    // Every table and buffer: 32-byte aligned, inside the block, and no two
    // of them (or the DCT4Spec record) overlapping.
    const auto e = static_cast<uintptr_t>(sizeof(Real));
    const uintptr_t N = static_cast<uintptr_t>(n);
    std::vector<std::pair<uintptr_t, uintptr_t>> regions = {
        {reinterpret_cast<uintptr_t>(spec), reinterpret_cast<uintptr_t>(spec) + 44},
        {reinterpret_cast<uintptr_t>(view.rotation),
         reinterpret_cast<uintptr_t>(view.rotation) + static_cast<uintptr_t>(RotationTableBytes<Real>(n, view.radix))},
        {reinterpret_cast<uintptr_t>(view.work), reinterpret_cast<uintptr_t>(view.work) + N * e},
    };
    for (int s = 0; s < view.steps; ++s) {
        const auto& step = view.step[s];
        const uintptr_t table = reinterpret_cast<uintptr_t>(step.twiddles);
        const uintptr_t work = reinterpret_cast<uintptr_t>(step.work);
        regions.push_back({table, table + (step.radix - 1) * 32 * (step.points / step.radix)});
        regions.push_back({work, work + N * e});
        std::memset(step.work, 0x5A, N * e);  // the transform writes all of it
    }
    std::memset(view.work, 0x5A, N * e);
    std::sort(regions.begin(), regions.end());
    for (size_t i = 0; i < regions.size(); ++i) {
        EXPECT_EQ(regions[i].first % 32, 0u) << "region " << i;
        EXPECT_GE(regions[i].first, start);
        EXPECT_LE(regions[i].second, reinterpret_cast<uintptr_t>(end));
        if (i > 0) {
            EXPECT_LE(regions[i - 1].second, regions[i].first) << "regions overlap";
        }
    }
}

template <class Real>
void CheckPlacementOverLengths() {
    const int shifts = 32;
    int built = 0;
    for (int k = 1; k <= 20; ++k) {
        const int32_t n = int32_t{1} << k;
        for (int shift = 0; shift < shifts; shift += (k <= 12 ? 1 : 4)) {
            CheckPlacement<Real>(n, static_cast<size_t>(shift));
            if (testing::Test::HasFatalFailure()) return;
            ++built;
        }
    }
    // One more than a power of two: accepted from 33 (single) or 9 (double).
    for (int k = std::is_same_v<Real, float> ? 5 : 3; k <= 15; ++k) {
        for (int shift = 0; shift < 32; shift += 4) {
            CheckPlacement<Real>((int32_t{1} << k) + 1, static_cast<size_t>(shift));
            if (testing::Test::HasFatalFailure()) return;
            ++built;
        }
    }
    std::printf("%s: %d specifications built in exact-size guarded blocks\n", ApiOf<Real>().suffix, built);
}

TEST(DCT4Init, BuildsInsideExactBlocksAtEveryAlignment) {
    CheckPlacementOverLengths<float>();
    CheckPlacementOverLengths<double>();
}

// A length the rules refuse: GetSize reports kStatusBadSize and writes no
// size; Init reports it too, with the arena word back at its start and the
// out pointer untouched; InitAlloc takes no block. Init gets a generous
// block, since GetSize gives no size for these lengths.
template <class Real>
void CheckRefused(int32_t n) {
    const Api<Real>& api = ApiOf<Real>();
    SCOPED_TRACE(testing::Message() << api.suffix << " N = " << n);
    static std::vector<uint8_t> storage(1 << 20);
    uint8_t* block = storage.data() + 3;
    int32_t size = -12345;
    EXPECT_EQ(api.getSize(n, &size), kStatusBadSize);
    EXPECT_EQ(size, -12345);
    DCT4Spec* const untouched = reinterpret_cast<DCT4Spec*>(uintptr_t{0x1234560});
    DCT4Spec* spec = untouched;
    EXPECT_EQ(api.init(&spec, n, block), kStatusBadSize);
    EXPECT_EQ(spec, untouched);
    EXPECT_EQ(ArenaWordOf(block), ArenaStart(block)) << "arena not restored";
    EXPECT_EQ(api.initAlloc(&spec, n), kStatusBadSize);
    EXPECT_EQ(spec, untouched);
    EXPECT_TRUE(g_alloc.live.empty()) << "InitAlloc leaked its block";
}

TEST(DCT4Init, RefusedLengthsLeaveNothingBehind) {
    for (int32_t n : {INT32_MIN, -64, -4, -1, 0, 1, 3, 5, 6, 7, 10, 12, 24, 48, 96, 100, 192, 768, 1536, 1 << 27,
                      1 << 30, INT32_MAX}) {
        CheckRefused<float>(n);
        CheckRefused<double>(n);
    }
    // Single precision only: every radix choice passes, but 9 has N/(2r) = 2
    // and 17 has r = 2, not whole vectors of 4.
    CheckRefused<float>(9);
    CheckRefused<float>(17);
    // Refused for size alone, after the whole rest of the rules passed.
    CheckRefused<double>(1 << 26);
    CheckRefused<float>((1 << 27) + 1);
}

// Init and InitAlloc accept exactly the lengths GetSize gives a size for:
// every length up to 5000 in both precisions.
template <class Real>
void CheckInitAgreesWithGetSize() {
    const Api<Real>& api = ApiOf<Real>();
    int built = 0;
    for (int32_t n = -2; n <= 5000; ++n) {
        int32_t size = 0;
        if (api.getSize(n, &size) != kStatusOk) {
            CheckRefused<Real>(n);
        } else {
            DCT4Spec* spec = nullptr;
            ASSERT_EQ(api.initAlloc(&spec, n), kStatusOk) << api.suffix << " N = " << n << " has a size";
            EXPECT_EQ(g_alloc.lastSize, size) << api.suffix << " N = " << n;
            EXPECT_EQ(api.free(spec), kStatusOk);
            ++built;
        }
        if (testing::Test::HasFailure()) return;
    }
    std::printf("%s: %d lengths up to 5000 sized and built\n", api.suffix, built);
}

TEST(DCT4Init, AcceptsExactlyTheLengthsGetSizeSizes) {
    CheckInitAgreesWithGetSize<float>();
    CheckInitAgreesWithGetSize<double>();
}

TEST(DCT4Lifecycle, NullPointers) {
    std::vector<uint8_t> storage(4096);
    DCT4Spec* spec = nullptr;
    for (int32_t n : {16, 64, 7}) {
        EXPECT_EQ(qvngDCT4Init_32f(nullptr, n, storage.data()), kStatusNullPointer);
        EXPECT_EQ(qvngDCT4Init_64f(nullptr, n, storage.data()), kStatusNullPointer);
        EXPECT_EQ(qvngDCT4Init_32f(&spec, n, nullptr), kStatusNullPointer);
        EXPECT_EQ(qvngDCT4Init_64f(&spec, n, nullptr), kStatusNullPointer);
        EXPECT_EQ(qvngDCT4InitAlloc_32f(nullptr, n), kStatusNullPointer);
        EXPECT_EQ(qvngDCT4InitAlloc_64f(nullptr, n), kStatusNullPointer);
    }
    EXPECT_EQ(spec, nullptr);
    EXPECT_EQ(qvngDCT4Free_32f(nullptr), kStatusNullPointer);
    EXPECT_EQ(qvngDCT4Free_64f(nullptr), kStatusNullPointer);
}

TEST(DCT4Lifecycle, InitAllocTakesOneBlockOfTheReportedSizeAndFreeReturnsIt) {
    g_alloc = {};
    for (int k = 1; k <= 16; ++k) {
        const int32_t n = int32_t{1} << k;
        int32_t s32 = 0, s64 = 0;
        qvngDCT4GetSize_32f(n, &s32);
        qvngDCT4GetSize_64f(n, &s64);
        DCT4Spec* a = nullptr;
        DCT4Spec* b = nullptr;
        ASSERT_EQ(qvngDCT4InitAlloc_32f(&a, n), kStatusOk);
        EXPECT_EQ(g_alloc.lastSize, s32);
        ASSERT_EQ(qvngDCT4InitAlloc_64f(&b, n), kStatusOk);
        EXPECT_EQ(g_alloc.lastSize, s64);
        ASSERT_EQ(g_alloc.live.size(), 2u);
        EXPECT_EQ(qvngDCT4Free_32f(a), kStatusOk);
        EXPECT_EQ(qvngDCT4Free_64f(b), kStatusOk);
        ASSERT_TRUE(g_alloc.live.empty()) << "N = " << n;
    }
    EXPECT_EQ(g_alloc.mallocs, 32);
    EXPECT_EQ(g_alloc.frees, 32);
    EXPECT_EQ(g_alloc.strayFrees, 0);

    // An allocation that fails surfaces as Init's null-block status.
    g_alloc.fail = true;
    DCT4Spec* spec = nullptr;
    EXPECT_EQ(qvngDCT4InitAlloc_32f(&spec, 256), kStatusNullPointer);
    EXPECT_EQ(qvngDCT4InitAlloc_64f(&spec, 8), kStatusNullPointer);
    EXPECT_EQ(spec, nullptr);
    g_alloc.fail = false;
    // A length GetSize refuses never reaches the allocator.
    const int mallocs = g_alloc.mallocs;
    EXPECT_EQ(qvngDCT4InitAlloc_32f(&spec, 6), kStatusBadSize);
    EXPECT_EQ(g_alloc.mallocs, mallocs);
}

// ---------------------------------------------------------------------------
// Plan structure and tables

template <class Real>
struct Built {
    explicit Built(int32_t n) {
        EXPECT_EQ(ApiOf<Real>().initAlloc(&spec, n), kStatusOk) << "N = " << n;
        if (spec) qvn::dct4::ReadPlan(spec, &view);
    }
    ~Built() {
        if (spec) ApiOf<Real>().free(spec);
    }
    DCT4Spec* spec = nullptr;
    qvn::dct4::PlanView view{};
};

TEST(DCT4Plan, RadicesStepsAndLeaves) {
    struct Case {
        int32_t n;
        int radix, phase;
        std::vector<std::pair<int, int>> steps;  // radix, points
        int leaf;
    };
    const Case single[] = {
        {64, 8, 4, {}, 4},
        {128, 8, 8, {}, 8},
        {1024, 32, 16, {}, 16},
        {4096, 32, 64, {{8, 64}}, 8},
        {8192, 32, 128, {{16, 128}}, 8},
        {1 << 16, 32, 1024, {{32, 1024}}, 32},
        {1 << 20, 32, 1 << 14, {{32, 1 << 14}, {32, 512}}, 16},
        {33, 4, 4, {}, 4},
    };
    for (const Case& c : single) {
        Built<float> b(c.n);
        ASSERT_NE(b.spec, nullptr);
        EXPECT_EQ(b.view.kind, 6);
        EXPECT_EQ(b.view.length, c.n);
        EXPECT_EQ(b.view.radix, c.radix) << "N = " << c.n;
        EXPECT_EQ(b.view.phase_points, c.phase) << "N = " << c.n;
        EXPECT_EQ(b.view.output_selector, std::countr_zero(static_cast<unsigned>(c.radix))) << "N = " << c.n;
        ASSERT_EQ(b.view.steps, static_cast<int>(c.steps.size())) << "N = " << c.n;
        for (size_t s = 0; s < c.steps.size(); ++s) {
            EXPECT_EQ(b.view.step[s].radix, c.steps[s].first) << "N = " << c.n << " step " << s;
            EXPECT_EQ(b.view.step[s].points, c.steps[s].second) << "N = " << c.n << " step " << s;
        }
        EXPECT_EQ(b.view.leaf_points, c.leaf) << "N = " << c.n;
    }
    // Double precision: same radices, a width test of 2.
    Built<double> d(512);
    EXPECT_EQ(d.view.radix, 16);
    EXPECT_EQ(d.view.phase_points, 16);
    EXPECT_EQ(d.view.steps, 0);
    Built<double> d9(9);
    EXPECT_EQ(d9.view.radix, 2);
    EXPECT_EQ(d9.view.phase_points, 2);
    EXPECT_EQ(d9.view.leaf_points, 2);
}

// Table entries against the layouts of plan_view.h, angles evaluated in long
// double; every entry of every unit is compared.
template <class Real>
void CheckTables(int32_t n) {
    Built<Real> b(n);
    ASSERT_NE(b.spec, nullptr);
    const auto& v = b.view;
    constexpr int w = 16 / sizeof(Real);
    const long double pi = 3.141592653589793238462643383279502884L;
    // Angles reach 2*pi; the single-precision argument is rounded once.
    const double tolerance = sizeof(Real) == 4 ? 6e-7 : 2e-15;
    const Real* rot = static_cast<const Real*>(v.rotation);
    double worst = 0;
    for (int g = 0; g < v.phase_points / w; ++g) {
        for (int a = 0; a < v.radix; ++a) {
            const Real* unit = rot + (g * v.radix + a) * 2 * w;
            for (int l = 0; l < w; ++l) {
                const int q = g * w + l;
                const long double t = pi * (4 * a + 1) * (4 * q + 1) / (4.0L * n);
                worst = std::max(worst, double(std::fabs(unit[l] - std::cos(t))));
                worst = std::max(worst, double(std::fabs(unit[w + l] - std::sin(t))));
            }
        }
    }
    EXPECT_LT(worst, tolerance) << "rotation table, N = " << n;
    for (int s = 0; s < v.steps; ++s) {
        const auto& step = v.step[s];
        const Real* table = static_cast<const Real*>(step.twiddles);
        const int b2 = step.points / step.radix;
        double worstStep = 0;
        for (int q2 = 0; q2 < b2; ++q2) {
            for (int d = 1; d < step.radix; ++d) {
                const Real* unit = table + (q2 * (step.radix - 1) + d - 1) * 2 * w;
                const long double u = pi * d * (4 * q2 + 1) / (2.0L * step.points);
                for (int l = 0; l < w; ++l) {
                    ASSERT_EQ(unit[l], unit[0]) << "copies differ";
                    ASSERT_EQ(unit[w + l], unit[w]) << "copies differ";
                }
                worstStep = std::max(worstStep, double(std::fabs(unit[0] - std::cos(u))));
                worstStep = std::max(worstStep, double(std::fabs(unit[w] - std::sin(u))));
            }
        }
        EXPECT_LT(worstStep, tolerance) << "step " << s << " table, N = " << n;
    }
}

TEST(DCT4Plan, TablesHoldTheLaidOutRotations) {
    for (int32_t n : {64, 256, 1024, 4096, 8192, 1 << 16}) {
        CheckTables<float>(n);
        CheckTables<double>(n);
    }
}

}  // namespace
