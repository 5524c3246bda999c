// Unit tests of the plan runtime: arena accounting, list nodes, the release
// walk, the radix chooser and the pi-scaled sine and cosine. The library
// keeps these functions hidden, so this program compiles them itself.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <numbers>
#include <vector>

#include "plan_runtime/arena.h"
#include "plan_runtime/plan_math.h"

namespace {

using namespace qvn::plan;

// A 32-byte aligned block with its arena word at the start and the first
// free byte 64 bytes in.
class TestArena {
public:
    explicit TestArena(std::size_t bytes) : storage_(bytes + 32) {
        auto address = reinterpret_cast<std::uintptr_t>(storage_.data());
        block_ = storage_.data() + ((32 - address % 32) % 32);
        ArenaSetNext(arena(), start());
    }
    PlanArena* arena() { return reinterpret_cast<PlanArena*>(block_); }
    unsigned char* start() { return block_ + 64; }
    std::ptrdiff_t used() { return ArenaNext(arena()) - start(); }

private:
    std::vector<unsigned char> storage_;
    unsigned char* block_;
};

TEST(PlanArena, RoundsEverySizeToWholeUnits) {
    const std::uint32_t cases[][2] = {{0, 0}, {1, 32}, {12, 32}, {31, 32}, {32, 32}, {33, 64},
                                      {44, 64}, {64, 64}, {65, 96}, {4096, 4096}, {0x7fffffe1u, 0x80000000u}};
    for (const auto& c : cases) EXPECT_EQ(RoundUp32(c[0]), c[1]) << "RoundUp32(" << c[0] << ")";
    EXPECT_EQ(NodeBytes(0), 0);
    EXPECT_EQ(NodeBytes(3), 96);
}

TEST(PlanArena, TakeReturnsTheOldPointerAndGiveBackUndoesAnyOrder) {
    TestArena a(4096);
    unsigned char* start = a.start();
    EXPECT_EQ(ArenaTake(a.arena(), 0), start);
    EXPECT_EQ(a.used(), 0) << "taking 0 bytes must not move the arena";

    const std::uint32_t sizes[] = {44, 12, 1, 1950, 64, 72};
    std::vector<void*> taken;
    std::ptrdiff_t expected = 0;
    for (std::uint32_t size : sizes) {
        void* p = ArenaTake(a.arena(), size);
        EXPECT_EQ(static_cast<unsigned char*>(p), start + expected);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % 32, 0u);
        expected += RoundUp32(size);
        taken.push_back(p);
    }
    EXPECT_EQ(a.used(), expected);
    // Give back in an order unrelated to the takes (and with pointers that do
    // not match the sizes): only the total counts.
    const int order[] = {2, 5, 0, 4, 1, 3};
    for (int i : order) EXPECT_EQ(ArenaGiveBack(a.arena(), taken[5 - i], sizes[i]), RoundUp32(sizes[i]));
    EXPECT_EQ(a.used(), 0);
}

TEST(PlanList, AppendFillsTheHeadThenTakesOneNodePerValue) {
    TestArena a(4096);
    PlanNode* head = ListCreate(a.arena());
    EXPECT_EQ(a.used(), 32);
    EXPECT_EQ(head->value, 0u);
    EXPECT_EQ(head->next, 0u);

    EXPECT_EQ(ListAppend(head, 101), 101u);
    EXPECT_EQ(a.used(), 32) << "the first value goes into the head";
    EXPECT_EQ(ListAppend(head, 102), 102u);
    EXPECT_EQ(a.used(), 64) << "a second value takes exactly one node";
    EXPECT_EQ(ListAppend(head, 0), 0u);
    EXPECT_EQ(a.used(), 96) << "appending 0 still links an (empty) node";
    EXPECT_EQ(ListAppend(head, 103), 103u);
    EXPECT_EQ(a.used(), 96) << "the empty last slot is reused";
    ListAppend(head, 104);
    EXPECT_EQ(a.used(), 128);

    const std::uint32_t expected[] = {101, 102, 103, 104};
    for (int i = 0; i < 4; ++i) EXPECT_EQ(ListGet(head, i), expected[i]) << "index " << i;
    EXPECT_EQ(ListGet(head, 4), 0u);
    EXPECT_EQ(ListGet(head, 1000), 0u);
    EXPECT_EQ(ListGet(head, -1), 0u);
    EXPECT_EQ(ListGet(head, INT32_MIN), 0u);

    ListFreeNodes(head);
    EXPECT_EQ(a.used(), 32) << "every node but the head is given back";
}

// Objects of a size that is not a multiple of 32, recording the release calls.
struct TestObject {
    PlanObject header;
    std::uint32_t id;
    std::uint32_t extra;  // bytes this object took beyond its record
};
std::vector<std::uint32_t> g_released;
void ReleaseTestObject(PlanObject* object) {
    auto* o = reinterpret_cast<TestObject*>(object);
    g_released.push_back(o->id);
    ArenaGiveBack(ArenaOf(object), nullptr, o->extra);
}

TEST(PlanList, ReleaseWalkReleasesEveryObjectAndGivesBackItsSize) {
    TestArena a(8192);
    PlanNode* owned = ListCreate(a.arena());
    for (std::uint32_t id = 1; id <= 3; ++id) {
        auto* o = TakeObject<TestObject>(a.arena(), 1, 0);
        EXPECT_EQ(o->header.size, sizeof(TestObject));
        o->id = id;
        o->extra = 100 * id;
        ArenaTake(a.arena(), o->extra);
        ListAppend(owned, OffsetIn(a.arena(), o));
        ListAppend(owned, 0);  // an empty slot after every object
    }
    const std::ptrdiff_t nodes = 32 + 3 * 32;
    g_released.clear();
    ListReleaseObjects(owned, ReleaseTestObject);
    EXPECT_EQ(g_released, (std::vector<std::uint32_t>{1, 2, 3}));
    EXPECT_EQ(a.used(), nodes) << "objects and what they took are back; the nodes stay";
    ListFreeNodes(owned);
    ArenaGiveBack(a.arena(), owned, sizeof(PlanNode));
    EXPECT_EQ(a.used(), 0);

    g_released.clear();
    ListReleaseObjects(nullptr, ReleaseTestObject);
    EXPECT_TRUE(g_released.empty());
}

TEST(ChooseRadix, LargestCandidateThatReachesItsMinimumAndDivides) {
    const std::int32_t cases[][2] = {
        {4, 2},     {6, 2},     {8, 2},     {12, 2},   {14, 2},   {16, 4},   {20, 4},  {24, 4},   {28, 4},
        {30, 2},    {32, 8},    {48, 8},    {64, 8},   {100, 4},  {120, 8},  {128, 16}, {136, 8}, {256, 16},
        {496, 16},  {500, 4},   {512, 32},  {528, 16}, {1024, 32}, {1028, 4}, {1030, 2}, {1 << 30, 32},
    };
    for (const auto& c : cases) {
        std::int32_t radix = -1;
        EXPECT_EQ(ChooseRadix(&radix, c[0]), kStatusOk) << "n = " << c[0];
        EXPECT_EQ(radix, c[1]) << "n = " << c[0];
    }
    for (std::int32_t n : {INT32_MIN, -1024, -4, -1, 0, 1, 2, 3, 5, 15, 513, 1025, INT32_MAX}) {
        std::int32_t radix = 12345;
        EXPECT_EQ(ChooseRadix(&radix, n), kStatusBadSize) << "n = " << n;
        EXPECT_EQ(radix, 12345) << "output written on failure, n = " << n;
    }
}

TEST(TrigPi, SinglePrecisionIsTheRoundedDoubleValue) {
    EXPECT_EQ(SinPi32f(1.0f), static_cast<float>(std::sin(std::numbers::pi)));
    EXPECT_NE(SinPi32f(1.0f), 0.0f) << "pi*1 is not exactly pi, so its sine is not 0";
    EXPECT_EQ(SinPi64f(1.0), std::sin(std::numbers::pi));
    EXPECT_EQ(CosPi32f(0.0f), 1.0f);
    EXPECT_EQ(CosPi64f(1.0), -1.0);
    // Widening before the multiply matters: pi rounded to float times 1 has
    // a sine of about -8.7e-8, pi in double about 1.2e-16.
    EXPECT_LT(std::fabs(SinPi32f(1.0f)), 1e-15f);
    EXPECT_FLOAT_EQ(CosPi32f(0.25f), static_cast<float>(std::numbers::sqrt2 / 2));
}

}  // namespace
