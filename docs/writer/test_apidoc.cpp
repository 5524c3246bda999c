// Tests of the reference writer's own logic: matching the export list to the
// documented forms, finding an entry's check order by calling it, and taking
// text out of the headers. A fault here would not fail the build; it would
// quietly put wrong statements into docs/api/.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <stdexcept>

#include "check_order.h"
#include "header_text.h"
#include "manifest.h"

namespace apidoc {
namespace {

Manifest FromNames(const std::vector<std::string>& names) {
    const std::string path = testing::TempDir() + "apidoc_manifest.txt";
    std::ofstream(path) << [&] {
        std::string text;
        for (const std::string& n : names) text += n + "\n";
        return text;
    }();
    Manifest m = Manifest::Read(path);
    std::remove(path.c_str());
    return m;
}

TEST(Manifest, FormsClaimTheirNamesAndOnlyThose) {
    Manifest m = FromNames({"qvngWHT_1_32f", "qvngWHT_13_32f", "qvngWHT_2_32f", "qvngWHT_32f",
                            "qvngWHTGetBufferSize_32f", "qvngWHT_3_64f"});
    // The fixed-order pattern must not take the generic entry, the size query
    // or the other precision, and reports its numbers in order.
    EXPECT_EQ(m.Claim({"qvngWHT_<k>_32f", "()"}), (std::vector<int>{1, 2, 13}));
    EXPECT_TRUE(m.Claim({"qvngWHT_32f", "()"}).empty());
    EXPECT_EQ(m.Unclaimed(), (std::vector<std::string>{"qvngWHTGetBufferSize_32f", "qvngWHT_3_64f"}));
    // A form that matches nothing describes an entry that does not exist; a
    // name claimed twice would be described on two pages.
    EXPECT_THROW(m.Claim({"qvngWHT_<k>_16f", "()"}), std::runtime_error);
    EXPECT_THROW(m.Claim({"qvngWHT_32f", "()"}), std::runtime_error);
}

TEST(Manifest, RangesCollapseOnlyUnbrokenRuns) {
    EXPECT_EQ(Ranges({2, 3, 4, 5}), "2..5");
    EXPECT_EQ(Ranges({2, 3, 5}), "2, 3, 5");
    EXPECT_EQ(Ranges({7}), "7");
}

// A fake entry with three faults; `order` is the order it checks them in.
Status FakeEntry(unsigned faults, const std::vector<int>& order) {
    const Status statuses[] = {kStatusNullPointer, kStatusBadFlag, kStatusBadSize};
    for (int check : order)
        if (faults >> check & 1u) return statuses[check];
    return kStatusOk;
}

TEST(CheckOrder, FollowsWhatTheEntryAnswers) {
    const std::vector<Check> checks = {{"null", kStatusNullPointer}, {"flag", kStatusBadFlag}, {"size", kStatusBadSize}};
    for (const std::vector<int>& order : {std::vector<int>{0, 1, 2}, {2, 0, 1}, {1, 2, 0}}) {
        const std::vector<Check> found = CheckOrder(checks, [&](unsigned f) { return FakeEntry(f, order); });
        ASSERT_EQ(found.size(), 3u);
        for (int i = 0; i < 3; ++i) EXPECT_EQ(found[i].fault, checks[order[i]].fault);
    }
}

TEST(CheckOrder, RefusesAnswersThatDoNotFit) {
    const std::vector<Check> checks = {{"null", kStatusNullPointer}, {"flag", kStatusBadFlag}};
    // An entry that ignores a fault, or fails without one.
    EXPECT_THROW(CheckOrder(checks, [](unsigned f) { return f & 1u ? kStatusNullPointer : kStatusOk; }),
                 std::runtime_error);
    EXPECT_THROW(CheckOrder(checks, [](unsigned f) { return f ? FakeEntry(f, {0, 1}) : kStatusBadSpec; }),
                 std::runtime_error);
    // Two checks with one status could not be told apart.
    EXPECT_THROW(CheckOrder({{"a", kStatusBadFlag}, {"b", kStatusBadFlag}}, [](unsigned) { return kStatusOk; }),
                 std::logic_error);
}

const char kHeader[] =
    "/*\n"
    " * library: intro.\n"
    " *\n"
    " * Thing A, for N = 2..4:\n"
    " *   Status qvngA_<N>(const float* src);\n"
    " *   (and _64f)\n"
    " *\n"
    " *   y = s * x\n"
    " *\n"
    " * A note on A.\n"
    " *\n"
    " * Thing B:\n"
    " *   Status qvngB(void);\n"
    " */\n"
    "/* Result of every call. */\n"
    "typedef int Status;\n"
    "enum {\n"
    "    kStatusOk = 0,  /* fine */\n"
    "    kStatusBadFlag = -16  /* flag is odd */\n"
    "};\n";

TEST(HeaderText, OverviewSectionKeepsProseAndDropsDeclarations) {
    EXPECT_EQ(OverviewSection(kHeader, "Thing A"), "  y = s * x\n\nA note on A.\n");
    EXPECT_EQ(OverviewSection(kHeader, "Thing B"), "");
    EXPECT_THROW(OverviewSection(kHeader, "Thing C"), std::runtime_error);
}

TEST(HeaderText, CommentsNextToDeclarations) {
    EXPECT_EQ(EnumeratorComment(kHeader, "kStatusBadFlag"), "flag is odd");
    EXPECT_EQ(EnumeratorComment(kHeader, "kStatusOk"), "fine");
    EXPECT_THROW(EnumeratorComment(kHeader, "kStatusBadSize"), std::runtime_error);
    EXPECT_EQ(CommentAbove(kHeader, "typedef int Status;"), "Result of every call.");
}

}  // namespace
}  // namespace apidoc
