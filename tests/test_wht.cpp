// Tests of the Walsh-Hadamard exports: the fixed-order entries (orders 1..13,
// both precisions), the generic entries in front of them and the work-buffer
// size queries. A transform of small integers is exact in floating point, so
// most checks compare bit for bit with an integer evaluation of the sums.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "aligned_block.h"
#include "allocation_watch.h"
#include "guarded_buffer.h"
#include "qvncore.h"
#include "qvngen.h"
#include "same_bits.h"

namespace {

// The library's own qvnMalloc/qvnFree calls, counted (allocation_watch.cpp).
using qvntest::g_alloc;
using qvntest::GuardedBuffer;
using qvntest::SameBits;
using Guard = GuardedBuffer::Guard;

template <class Real>
struct Api {
    using Fixed = Status(QVN_API*)(const Real*, Real*, ScaleFlag, uint8_t*);
    const char* suffix;
    Fixed fixed[13];
    Status(QVN_API* generic)(const Real*, Real*, int32_t, ScaleFlag, uint8_t*);
    Status(QVN_API* bufferSize)(int32_t, int32_t*);
};
#define QVNT_FIXED32(K) qvngWHT_##K##_32f,
#define QVNT_FIXED64(K) qvngWHT_##K##_64f,
const Api<float> kApi32 = {"32f", {QVNG_FOR_EACH_WHT_ORDER(QVNT_FIXED32)}, qvngWHT_32f, qvngWHTGetBufferSize_32f};
const Api<double> kApi64 = {"64f", {QVNG_FOR_EACH_WHT_ORDER(QVNT_FIXED64)}, qvngWHT_64f, qvngWHTGetBufferSize_64f};
#undef QVNT_FIXED32
#undef QVNT_FIXED64

template <class Real>
const Api<Real>& ApiOf() {
    if constexpr (std::is_same_v<Real, float>) return kApi32;
    else return kApi64;
}

// One transform through the fixed entry of the order, or through the generic
// entry, which must behave identically.
template <class Real>
Status Run(int order, const Real* src, Real* dst, int32_t flag, uint8_t* buffer, bool viaGeneric = false) {
    const Api<Real>& api = ApiOf<Real>();
    return viaGeneric ? api.generic(src, dst, order, flag, buffer) : api.fixed[order - 1](src, dst, flag, buffer);
}

template <class Real>
int32_t BufferBytes(int order) {
    int32_t size = -1;
    EXPECT_EQ(ApiOf<Real>().bufferSize(order, &size), kStatusOk) << "order " << order;
    return size;
}

constexpr int32_t kValidFlags[] = {kScaleFwdByN, kScaleInvByN, kScaleBySqrtN, kScaleNone};

// The factor a flag stands for: 1/N or 1/sqrt(N) formed in double, rounded
// once to the element type.
template <class Real>
Real Scale(int order, int32_t flag) {
    const double n = std::ldexp(1.0, order);
    if (flag == kScaleBySqrtN) return static_cast<Real>(1.0 / std::sqrt(n));
    return flag == kScaleNone ? Real(1) : static_cast<Real>(1.0 / n);
}

// Byte offsets of the source or destination: aligned first, then those that
// send a pointer to the unaligned body (a float can sit at 4 or 8 mod 16).
template <class Real>
std::vector<std::size_t> Offsets() {
    if constexpr (sizeof(Real) == 4) return {0, 4, 8};
    else return {0, 8};
}

// n elements `offset` bytes into a 64-byte aligned block; every other byte of
// the block (at least 64 of them after the data) holds a sentinel, so stray
// writes next to the data show up.
template <class T>
class Array {
public:
    explicit Array(std::size_t n, std::size_t offset = 0)
        : n_(n), offset_(offset), bytes_((n * sizeof(T) + offset + 64) / 64 * 64),
          mem_(qvntest::AllocateAligned64(bytes_)) {
        std::memset(mem_.get(), 0xA5, bytes_);
    }
    Array(const std::vector<T>& x, std::size_t offset = 0) : Array(x.size(), offset) {
        std::memcpy(data(), x.data(), x.size() * sizeof(T));
    }
    T* data() const { return reinterpret_cast<T*>(mem_.get() + offset_); }
    std::vector<unsigned char> Bytes() const { return {mem_.get(), mem_.get() + bytes_}; }
    bool SurroundingsIntact() const {
        for (std::size_t i = 0; i < bytes_; ++i)
            if ((i < offset_ || i >= offset_ + n_ * sizeof(T)) && mem_.get()[i] != 0xA5) return false;
        return true;
    }

private:
    std::size_t n_, offset_, bytes_;
    qvntest::AlignedBlock mem_;
};

// The buffer a caller passes: for orders 8..13 a block of exactly the queried
// size (`offset` 16 keeps it 16-byte but not 64-byte aligned); for orders
// 1..7, which must never touch it, a pointer to an inaccessible page.
template <class Real>
class WorkBuffer {
public:
    explicit WorkBuffer(int order, std::size_t offset = 0) : noAccess_(0, Guard::kAfterEnd) {
        if (order >= 8) block_.emplace(BufferBytes<Real>(order), offset);
    }
    uint8_t* get() const { return block_ ? block_->data() : noAccess_.As<uint8_t>(); }
    std::vector<unsigned char> Bytes() const { return block_ ? block_->Bytes() : std::vector<unsigned char>{}; }

private:
    GuardedBuffer noAccess_;
    std::optional<Array<uint8_t>> block_;
};

// y[j] = sum_n x[n] * (-1)^popcount(n & j), straight from the definition.
std::vector<int64_t> IntegerWht(const std::vector<int64_t>& x) {
    std::vector<int64_t> y(x.size(), 0);
    for (std::size_t j = 0; j < x.size(); ++j)
        for (std::size_t i = 0; i < x.size(); ++i) y[j] += std::popcount(i & j) % 2 ? -x[i] : x[i];
    return y;
}

// Inputs in -8..8: a Walsh row of +-8, whose energy all ends up in the last
// output at the largest magnitude possible, and two random vectors.
std::vector<std::vector<int64_t>> IntegerInputs(int order) {
    std::vector<std::vector<int64_t>> inputs(3, std::vector<int64_t>(std::size_t{1} << order));
    for (std::size_t i = 0; i < inputs[0].size(); ++i) inputs[0][i] = std::popcount(i) % 2 ? -8 : 8;
    std::mt19937 gen(77u + order);
    std::uniform_int_distribution<int> dist(-8, 8);
    for (int t = 1; t < 3; ++t)
        for (int64_t& v : inputs[t]) v = dist(gen);
    return inputs;
}

template <class Real>
std::vector<Real> RandomSignal(int order, unsigned seed) {
    std::mt19937 gen(seed * 100u + order);
    std::uniform_real_distribution<double> dist(-1.0, 1.0);
    std::vector<Real> x(std::size_t{1} << order);
    for (Real& v : x) v = static_cast<Real>(dist(gen));
    return x;
}

// ---------------------------------------------------------------------------
// Values. Integer input gives the integer transform times the flag's factor,
// rounded once, for every flag (so flags 1 and 2 agree bit for bit), through
// the fixed and the generic entry alike; transforming the 1/N result again
// unscaled gives the input back exactly.

template <class Real>
void CheckIntegerInput(int order) {
    const int n = 1 << order;
    WorkBuffer<Real> work(order);
    for (const std::vector<int64_t>& input : IntegerInputs(order)) {
        const std::vector<int64_t> ref = IntegerWht(input);
        const std::vector<Real> x(input.begin(), input.end());
        Array<Real> src(x), dst(n), back(n);
        const auto srcBefore = src.Bytes();
        for (bool viaGeneric : {false, true}) {
            for (int32_t flag : kValidFlags) {
                SCOPED_TRACE(testing::Message() << "flag " << flag << (viaGeneric ? ", generic entry" : ""));
                std::vector<Real> want(n);
                for (int j = 0; j < n; ++j) want[j] = static_cast<Real>(ref[j]) * Scale<Real>(order, flag);
                ASSERT_EQ(Run(order, src.data(), dst.data(), flag, work.get(), viaGeneric), kStatusOk);
                EXPECT_TRUE(SameBits(dst.data(), want.data(), n));
                EXPECT_TRUE(dst.SurroundingsIntact()) << "write outside the destination";
                if (flag != kScaleFwdByN) continue;
                ASSERT_EQ(Run(order, dst.data(), back.data(), kScaleNone, work.get(), viaGeneric), kStatusOk);
                EXPECT_TRUE(SameBits(back.data(), x.data(), n)) << "transformed twice";
            }
        }
        EXPECT_EQ(src.Bytes(), srcBefore) << "out-of-place call modified its source";
    }
}

// Random real input: the unscaled result is as accurate as the precision
// allows (integers cannot tell a double entry that computes in single
// precision), and each flag's result is that result times the factor,
// rounded once: the factor is the last operation before the store.
template <class Real>
void CheckRandomInput(int order) {
    const int n = 1 << order;
    WorkBuffer<Real> work(order);
    const std::vector<Real> x = RandomSignal<Real>(order, 1);
    Array<Real> src(x), unscaled(n), dst(n);
    ASSERT_EQ(Run(order, src.data(), unscaled.data(), kScaleNone, work.get()), kStatusOk);
    std::vector<long double> ref(x.begin(), x.end());  // exact for float input, near enough for double
    for (int h = 1; h < n; h *= 2)
        for (int i = 0; i < n; i += 2 * h)
            for (int j = i; j < i + h; ++j) {
                const long double a = ref[j], b = ref[j + h];
                ref[j] = a + b, ref[j + h] = a - b;
            }
    long double err = 0, norm = 0;
    for (int j = 0; j < n; ++j) {
        const long double d = unscaled.data()[j] - ref[j];
        err += d * d, norm += ref[j] * ref[j];
    }
    EXPECT_LE(static_cast<double>(std::sqrt(err / norm)), sizeof(Real) == 4 ? 1e-6 : 2e-15) << "relative RMS error";
    for (int32_t flag : {kScaleFwdByN, kScaleInvByN, kScaleBySqrtN}) {
        std::vector<Real> want(n);
        for (int j = 0; j < n; ++j) want[j] = unscaled.data()[j] * Scale<Real>(order, flag);
        ASSERT_EQ(Run(order, src.data(), dst.data(), flag, work.get()), kStatusOk) << "flag " << flag;
        EXPECT_TRUE(SameBits(dst.data(), want.data(), n)) << "flag " << flag;
    }
}

// ---------------------------------------------------------------------------
// Arguments. A null source or destination is reported before a bad flag; any
// flag but 1, 2, 4, 8 is rejected; a rejected call writes neither the
// destination nor the buffer and leaves nothing allocated. Both bodies run
// the checks, so every case is repeated with misaligned pointers, and the
// generic entry must answer as the fixed one does.

template <class Real>
void CheckBadArguments(int order) {
    const std::vector<Real> x = RandomSignal<Real>(order, 2);
    for (std::size_t offset : Offsets<Real>()) {
        SCOPED_TRACE(testing::Message() << "src and dst at +" << offset);
        Array<Real> src(x, offset), dst(x.size(), offset);
        WorkBuffer<Real> work(order);
        const auto srcBefore = src.Bytes(), dstBefore = dst.Bytes(), workBefore = work.Bytes();
        g_alloc = {};
        for (bool viaGeneric : {false, true}) {
            for (uint8_t* buffer : {work.get(), static_cast<uint8_t*>(nullptr)}) {
                SCOPED_TRACE(testing::Message() << (viaGeneric ? "generic entry" : "fixed entry") << (buffer ? "" : ", no buffer"));
                for (int32_t flag : {0, 3, 5, 6, 7, 9, 12, 16, -1, -8, INT32_MIN, INT32_MAX})
                    EXPECT_EQ(Run(order, src.data(), dst.data(), flag, buffer, viaGeneric), kStatusBadFlag) << "flag " << flag;
                for (int32_t flag : {int32_t{kScaleNone}, int32_t{kScaleBySqrtN}, 3}) {
                    EXPECT_EQ(Run<Real>(order, nullptr, dst.data(), flag, buffer, viaGeneric), kStatusNullPointer) << "null src, flag " << flag;
                    EXPECT_EQ(Run<Real>(order, src.data(), nullptr, flag, buffer, viaGeneric), kStatusNullPointer) << "null dst, flag " << flag;
                    EXPECT_EQ(Run<Real>(order, nullptr, nullptr, flag, buffer, viaGeneric), kStatusNullPointer) << "both null, flag " << flag;
                }
            }
        }
        EXPECT_EQ(dst.Bytes(), dstBefore) << "rejected call wrote the destination";
        EXPECT_EQ(work.Bytes(), workBefore) << "rejected call wrote the buffer";
        EXPECT_EQ(src.Bytes(), srcBefore) << "rejected call wrote the source";
        EXPECT_TRUE(g_alloc.live.empty()) << "rejected call left a block allocated";
    }
}

// ---------------------------------------------------------------------------
// Memory. Placement never changes a bit: misaligned source and/or
// destination, in place, a buffer that is only 16-byte aligned, or no buffer
// at all all match the aligned out-of-place result.

template <class Real>
void CheckPlacement(int order) {
    const int n = 1 << order;
    const std::vector<Real> x = RandomSignal<Real>(order, 4);
    for (int32_t flag : {kScaleNone, kScaleBySqrtN}) {
        SCOPED_TRACE(testing::Message() << "flag " << flag);
        WorkBuffer<Real> work(order), shifted(order, 16);
        Array<Real> src(x), want(n);
        ASSERT_EQ(Run(order, src.data(), want.data(), flag, work.get()), kStatusOk);
        for (std::size_t so : Offsets<Real>()) {
            for (std::size_t dof : Offsets<Real>()) {
                Array<Real> s(x, so), d(n, dof);
                const auto srcBefore = s.Bytes();
                ASSERT_EQ(Run(order, s.data(), d.data(), flag, so == dof ? shifted.get() : work.get()), kStatusOk);
                EXPECT_TRUE(SameBits(d.data(), want.data(), n)) << "src at +" << so << ", dst at +" << dof;
                EXPECT_TRUE(d.SurroundingsIntact()) << "write outside the destination at +" << dof;
                EXPECT_EQ(s.Bytes(), srcBefore) << "source at +" << so << " modified";
            }
            for (uint8_t* buffer : {work.get(), static_cast<uint8_t*>(nullptr)}) {
                Array<Real> io(x, so);
                ASSERT_EQ(Run(order, io.data(), io.data(), flag, buffer), kStatusOk);
                EXPECT_TRUE(SameBits(io.data(), want.data(), n)) << "in place at +" << so << (buffer ? "" : ", no buffer");
                EXPECT_TRUE(io.SurroundingsIntact()) << "in place at +" << so << " wrote outside the array";
            }
        }
    }
}

// Source, destination and buffer flush against inaccessible pages on either
// side: any access outside them faults. In place too.
template <class Real>
void CheckGuardPages(int order) {
    const int n = 1 << order;
    const std::size_t bytes = n * sizeof(Real);
    const std::vector<Real> x = RandomSignal<Real>(order, 5);
    WorkBuffer<Real> work(order);
    Array<Real> src(x), want(n);
    ASSERT_EQ(Run(order, src.data(), want.data(), kScaleFwdByN, work.get()), kStatusOk);
    for (Guard g : {Guard::kAfterEnd, Guard::kBeforeStart}) {
        SCOPED_TRACE(g == Guard::kAfterEnd ? "guard pages behind the arrays" : "guard pages in front of the arrays");
        GuardedBuffer s(bytes, g), d(bytes, g), b(order >= 8 ? BufferBytes<Real>(order) : 0, g);
        uint8_t* buffer = order >= 8 ? b.As<uint8_t>() : work.get();
        std::memcpy(s.As<Real>(), x.data(), bytes);
        ASSERT_EQ(Run(order, s.As<Real>(), d.As<Real>(), kScaleFwdByN, buffer), kStatusOk);
        EXPECT_TRUE(SameBits(d.As<Real>(), want.data(), n));
        ASSERT_EQ(Run(order, s.As<Real>(), s.As<Real>(), kScaleFwdByN, buffer), kStatusOk);
        EXPECT_TRUE(SameBits(s.As<Real>(), want.data(), n)) << "in place";
    }
}

// A null buffer makes orders 8..13 take one block of at least the queried
// size and return it before they do; orders 1..7 and supplied buffers
// allocate nothing. When the allocation fails the result is still the same.
template <class Real>
void CheckOwnBuffer(int order) {
    const int n = 1 << order;
    const std::vector<Real> x = RandomSignal<Real>(order, 6);
    WorkBuffer<Real> work(order);
    Array<Real> src(x), want(n);
    g_alloc = {};
    ASSERT_EQ(Run(order, src.data(), want.data(), kScaleBySqrtN, work.get()), kStatusOk);
    EXPECT_EQ(g_alloc.mallocs, 0) << "allocated although a buffer was supplied";
    for (std::size_t offset : Offsets<Real>()) {
        for (bool fail : {false, true}) {
            SCOPED_TRACE(testing::Message() << "dst at +" << offset << (fail ? ", allocation fails" : ""));
            Array<Real> d(n, offset), io(x, offset);
            g_alloc = {};
            g_alloc.fail = fail;
            ASSERT_EQ(Run(order, src.data(), d.data(), kScaleBySqrtN, nullptr), kStatusOk);
            ASSERT_EQ(Run(order, io.data(), io.data(), kScaleBySqrtN, nullptr), kStatusOk);
            g_alloc.fail = false;
            EXPECT_TRUE(SameBits(d.data(), want.data(), n));
            EXPECT_TRUE(SameBits(io.data(), want.data(), n)) << "in place";
            EXPECT_TRUE(d.SurroundingsIntact() && io.SurroundingsIntact()) << "write outside the destination";
            EXPECT_EQ(g_alloc.mallocs, order >= 8 ? 2 : 0) << "allocations in two calls";
            if (order >= 8) EXPECT_GE(g_alloc.largest, BufferBytes<Real>(order)) << "block smaller than the queried size";
            EXPECT_TRUE(g_alloc.live.empty()) << "block not returned";
            EXPECT_EQ(g_alloc.strayFrees, 0) << "freed a block it did not allocate";
        }
    }
}

// The loop passes of orders 8..13 walk their iterations forward or backward,
// depending on where, modulo a page, the array a pass writes lies relative to
// the one it reads (frame/pass_direction.h). Putting the work area just after
// and just before the source, and the destination just after and just before
// the work area, makes the first and the last pass walk both ways; neither
// may change a bit or write outside the three arrays.
template <class Real>
void CheckBothWalks(int order) {
    if (order < 8) return;
    const int n = 1 << order;
    const std::size_t page = 4096, bytes = n * sizeof(Real), bufferBytes = BufferBytes<Real>(order);
    const auto pages = [&](std::size_t b) { return (b + page - 1) / page * page + page; };
    const std::vector<Real> x = RandomSignal<Real>(order, 7);
    WorkBuffer<Real> work(order);
    Array<Real> src(x), want(n);
    ASSERT_EQ(Run(order, src.data(), want.data(), kScaleBySqrtN, work.get()), kStatusOk);
    const std::size_t blockBytes = 2 * page + pages(bytes) + pages(bufferBytes) + pages(bytes);
    for (std::ptrdiff_t workShift : {64, -64}) {
        for (std::ptrdiff_t dstShift : {32, -32, 40, -24}) {  // the last two reach the unaligned body
            SCOPED_TRACE(testing::Message() << "work area " << workShift << " B from the source, destination "
                                            << dstShift << " B from the work area, modulo a page");
            Array<unsigned char> block(blockBytes);
            unsigned char* base = block.data();
            const std::size_t srcAt = page, workAt = srcAt + pages(bytes) + workShift,
                              dstAt = workAt + pages(bufferBytes) + dstShift;
            std::memcpy(base + srcAt, x.data(), bytes);
            ASSERT_EQ(Run(order, reinterpret_cast<Real*>(base + srcAt), reinterpret_cast<Real*>(base + dstAt),
                          kScaleBySqrtN, base + workAt),
                      kStatusOk);
            EXPECT_TRUE(SameBits(reinterpret_cast<Real*>(base + dstAt), want.data(), n));
            EXPECT_EQ(std::memcmp(base + srcAt, x.data(), bytes), 0) << "source modified";
            const auto inside = [&](std::size_t i) {
                return (i >= srcAt && i < srcAt + bytes) || (i >= workAt && i < workAt + bufferBytes) ||
                       (i >= dstAt && i < dstAt + bytes);
            };
            std::size_t stray = 0;
            for (std::size_t i = 0; i < blockBytes; ++i) stray += !inside(i) && base[i] != 0xA5;
            EXPECT_EQ(stray, 0u) << "bytes written outside source, work area and destination";
        }
    }
}

class WhtEntry : public testing::TestWithParam<int> {};  // param: 2 * (order - 1) + (double ? 1 : 0)

std::string EntryName(int param) { return "qvngWHT_" + std::to_string(param / 2 + 1) + (param % 2 ? "_64f" : "_32f"); }

#define QVNT_RUN(check)                                    \
    SCOPED_TRACE(EntryName(GetParam()));                   \
    if (GetParam() % 2) check<double>(GetParam() / 2 + 1); \
    else check<float>(GetParam() / 2 + 1)

TEST_P(WhtEntry, IntegerInputExactForEveryFlag) { QVNT_RUN(CheckIntegerInput); }
TEST_P(WhtEntry, AccurateAndScaledLast) { QVNT_RUN(CheckRandomInput); }
TEST_P(WhtEntry, BadArgumentsRejectedWithoutEffect) { QVNT_RUN(CheckBadArguments); }
TEST_P(WhtEntry, PlacementAndBufferDoNotChangeBits) { QVNT_RUN(CheckPlacement); }
TEST_P(WhtEntry, StaysInsideGuardPages) { QVNT_RUN(CheckGuardPages); }
TEST_P(WhtEntry, PassesWalkEitherWayWithSameBits) { QVNT_RUN(CheckBothWalks); }
TEST_P(WhtEntry, OwnBufferAllocatedAndReturned) { QVNT_RUN(CheckOwnBuffer); }

INSTANTIATE_TEST_SUITE_P(All, WhtEntry, testing::Range(0, 26),
                         [](const testing::TestParamInfo<int>& info) { return EntryName(info.param); });

// ---------------------------------------------------------------------------
// Hand-worked sums pin the output order of the integer reference (natural,
// not sequency), which the entries are held to above.
TEST(WhtReference, NaturalOrderByHand) {
    const std::vector<int64_t> x3 = {3, 1, 4, 1, 5, 9, 2, 6}, y3 = IntegerWht(x3);
    EXPECT_EQ(IntegerWht({1, 2, 3, 4}), (std::vector<int64_t>{10, -2, -4, 0}));
    EXPECT_EQ(y3[1], 3 - 1 + 4 - 1 + 5 - 9 + 2 - 6);
    EXPECT_EQ(y3[3], 3 - 1 - 4 + 1 + 5 - 9 - 2 + 6);
    EXPECT_EQ(y3[4], 3 + 1 + 4 + 1 - 5 - 9 - 2 - 6);
    EXPECT_EQ(y3[7], 3 - 1 - 4 + 1 - 5 + 9 + 2 - 6);
}

// An order outside 1..13 is reported before any pointer or flag is looked
// at; the size query then leaves its output alone.
template <class Real>
void CheckBadOrder() {
    const Api<Real>& api = ApiOf<Real>();
    Array<Real> src(RandomSignal<Real>(13, 7)), dst(8192);
    const auto before = dst.Bytes();
    for (int32_t order : {0, 14, 15, 32, -1, -13, INT32_MIN, INT32_MAX}) {
        SCOPED_TRACE(testing::Message() << api.suffix << " order " << order);
        EXPECT_EQ(api.generic(src.data(), dst.data(), order, kScaleNone, nullptr), kStatusBadSize);
        EXPECT_EQ(api.generic(nullptr, nullptr, order, 3, nullptr), kStatusBadSize);
        EXPECT_EQ(api.generic(src.data(), nullptr, order, kScaleNone, nullptr), kStatusBadSize);
        int32_t size = 12345;
        EXPECT_EQ(api.bufferSize(order, &size), kStatusBadSize);
        EXPECT_EQ(size, 12345) << "size written for a bad order";
    }
    EXPECT_EQ(dst.Bytes(), before) << "rejected call wrote the destination";
}

TEST(WhtGeneric, BadOrderReportedFirst) {
    CheckBadOrder<float>();
    CheckBadOrder<double>();
}

TEST(WhtGeneric, BufferSizes) {
    const int32_t sizes32[] = {0, 0, 0, 0, 0, 0, 0, 1024, 2048, 4096, 8192, 18432, 34816};
    const int32_t sizes64[] = {0, 0, 0, 0, 0, 0, 0, 2048, 4096, 8192, 18432, 34816, 73728};
    for (int order = 1; order <= 13; ++order) {
        int32_t size32 = -1, size64 = -1;
        EXPECT_EQ(qvngWHTGetBufferSize_32f(order, &size32), kStatusOk);
        EXPECT_EQ(qvngWHTGetBufferSize_64f(order, &size64), kStatusOk);
        EXPECT_EQ(size32, sizes32[order - 1]) << "32f order " << order;
        EXPECT_EQ(size64, sizes64[order - 1]) << "64f order " << order;
    }
}

}  // namespace
