// Tests of the library frame: the build identification record, the
// aligned allocation pair, and the entries' body choice for page-crossing
// arrays.
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "frame/entry.h"
#include "qvncore.h"
#include "qvngen.h"

namespace {

TEST(LibraryVersion, ReportsThisBuild) {
    const LibraryVersion* v = qvngenGetLibVersion();
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v->major, 7);
    EXPECT_EQ(v->minor, 0);
    EXPECT_EQ(v->majorBuild, 205);
    EXPECT_EQ(v->build, 570);
    // The build's instruction-set code: "z3" (SSE2), "a2" (v3) or "a5" (v4);
    // this tree's unless the run names the variant library it loads.
    const char* expected = std::getenv("QVNGEN_EXPECT_TARGET_CPU");
    if (expected == nullptr) expected = QVN_TARGET_CPU_CODE;
    ASSERT_EQ(std::strlen(expected), 2u);
    EXPECT_EQ(std::memcmp(v->targetCpu, expected, 3), 0) << "targetCpu is '" << v->targetCpu << "'";
    EXPECT_EQ(v->targetCpu[3], '\0');
    ASSERT_NE(v->name, nullptr);
    ASSERT_NE(v->version, nullptr);
    ASSERT_NE(v->buildDate, nullptr);
    EXPECT_STREQ(v->name, "qvngenz3-7.0.dll");
    EXPECT_STREQ(v->version, "7.0 build 205.85");
    EXPECT_STREQ(v->buildDate, "Nov 26 2011");
}

TEST(LibraryVersion, SameRecordOnEveryCall) {
    const LibraryVersion* first = qvngenGetLibVersion();
    for (int i = 0; i < 3; ++i) EXPECT_EQ(qvngenGetLibVersion(), first);
}

// Every block is 64-byte aligned and fully usable; writing all of it lets the
// sanitizer build catch a block shorter than requested. Blocks are held
// together so that distinct live allocations are checked not to overlap.
TEST(Allocation, AlignedAndUsable) {
    struct Block {
        unsigned char* p;
        int32_t size;
    };
    std::vector<Block> blocks;
    for (int32_t size : {1, 7, 8, 16, 63, 64, 65, 100, 4096, 4097, 1 << 20}) {
        auto* p = static_cast<unsigned char*>(qvnMalloc(size));
        ASSERT_NE(p, nullptr) << "size " << size;
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % 64, 0u) << "size " << size;
        std::memset(p, size & 0xFF, size);
        blocks.push_back({p, size});
    }
    for (const Block& b : blocks) {
        for (int32_t i = 0; i < b.size; ++i) {
            if (b.p[i] != static_cast<unsigned char>(b.size & 0xFF)) {
                ADD_FAILURE() << "block of size " << b.size << " overwritten at byte " << i;
                break;
            }
        }
        qvnFree(b.p);
    }
}

// Null for counts <= 0; qvnFree accepts the null it may hand out.
TEST(Allocation, NonPositiveCountGivesNull) {
    for (int32_t size : {0, -1, -64, INT32_MIN}) {
        void* p = qvnMalloc(size);
        EXPECT_EQ(p, nullptr) << "size " << size;
        qvnFree(p);
    }
}

// A kernel for frame/entry.h whose bodies only report which one ran, with
// the page check of a 528-byte array whose first body is safe on 32-byte
// boundaries.
enum class Ran { kNone, kFirst, kPieces };
Ran g_ran = Ran::kNone;
using Body = void (*)();

// Free functions: GCC under the sanitizers does not fold comparisons of the
// addresses of a class template's static members, which Entry makes with
// if constexpr.
void First() { g_ran = Ran::kFirst; }
void Pieces() { g_ran = Ran::kPieces; }

struct FakeKernel {
    static constexpr bool kTwoBodies = false;
    static constexpr Body kAligned = First;
    static constexpr Body kUnaligned = Pieces;
    static constexpr qvn::PageCheck kPageCheck{528, 32};
    static Status Checked(Body body, const char*, char*) {
        body();
        return kStatusOk;
    }
};

Ran RunAt(std::uintptr_t src, std::uintptr_t dst) {
    g_ran = Ran::kNone;
    qvn::Entry<FakeKernel>(reinterpret_cast<const char*>(src), reinterpret_cast<char*>(dst));
    return g_ran;
}

TEST(PageChoice, CrossingUnalignedArraysTakeTheTwin) {
    const std::uintptr_t page = 1u << 20;  // never dereferenced
    EXPECT_EQ(RunAt(page - 528, page + 16), Ran::kFirst) << "source ends exactly at the boundary";
    EXPECT_EQ(RunAt(page - 520, page + 16), Ran::kPieces) << "source crosses by 8 bytes";
    EXPECT_EQ(RunAt(page + 16, page - 16), Ran::kPieces) << "destination crosses";
    EXPECT_EQ(RunAt(page - 8, page - 8), Ran::kPieces) << "8-byte aligned, both cross";
    EXPECT_EQ(RunAt(page - 32, page - 96), Ran::kFirst) << "crossing on the safe boundary";
    EXPECT_EQ(RunAt(page - 48, page + 64), Ran::kPieces) << "16-byte aligned source crosses";
    EXPECT_EQ(RunAt(page + 48, page + 96), Ran::kFirst) << "16-byte aligned but crossing nothing";
    EXPECT_EQ(RunAt(0, page - 16), Ran::kPieces) << "a null source is decided by the destination";
    EXPECT_EQ(RunAt(0, 0), Ran::kFirst);
}

}  // namespace
