// The complex DFT schemes, one row per length: single precision, double
// precision. A bare number is the default scheme of a stage of that length
// (see recipe.h). The two precisions differ on purpose where the columns
// differ: single 7 and 11 use Rader, single 47 and 59 a padded convolution,
// single 24, 40, 45, 48, 56, 60 rotations of order N, double 10, 35, 50, 60
// the quarter form of the five-point stage. The radix order is chosen by the
// census: single-precision kernels run twin sub-transforms side by side, so
// a last stage of two or four rows (ct(N/2, 2), ct(N/4, 4)) needs the fewest
// shuffles; inside Rader and the prime-factor splits the default schemes are
// already the cheapest.
#include "recipe.h"

namespace gen {

const std::vector<ComplexDftRow> kComplexDftTable = {
    // N   single precision                 double precision
    {2, "2", "2"},
    {3, "3", "3"},
    {4, "4", "4"},
    {5, "5", "5"},
    {6, "pfa(2, 3)", "pfa(2, 3)"},
    {7, "rader(6)", "7"},
    {8, "ct(4, 2)", "ct(2, 4)"},
    {9, "ct(3, 3)", "ct(3, 3)"},
    {10, "pfa(2, 5)", "pfa(2, q5)"},
    {11, "rader(10)", "11"},
    {12, "pfa(4, 3)", "pfa(4, 3)"},
    {13, "rader(12)", "rader(12)"},
    {14, "pfa(2, 7)", "pfa(2, 7)"},
    {15, "pfa(3, 5)", "pfa(3, 5)"},
    {16, "ct(8, 2)", "ct(4, 4)"},
    {17, "rader(16)", "rader(16)"},
    {18, "pfa(2, 9)", "pfa(2, 9)"},
    {19, "rader(18)", "rader(18)"},
    {20, "pfa(4, 5)", "pfa(4, 5)"},
    {21, "pfa(3, 7)", "pfa(3, 7)"},
    {22, "pfa(2, 11)", "pfa(2, 11)"},
    {23, "rader(pfa(2, 11))", "rader(pfa(2, rader(10)))"},
    {24, "ct(12, 2)", "pfa(8, 3)"},
    {25, "ct(5, 5)", "ct(5, 5)"},
    {26, "pfa(2, 13)", "pfa(2, 13)"},
    {27, "ct(9, 3)", "ct(3, 9)"},
    {28, "pfa(4, 7)", "pfa(4, 7)"},
    {29, "rader(28)", "rader(28)"},
    {30, "pfa(2, 3, 5)", "pfa(2, 3, 5)"},
    {31, "rader(30)", "rader(30)"},
    {32, "ct(16, 2)", "ct(4, 8)"},
    {33, "pfa(3, 11)", "pfa(3, 11)"},
    {34, "pfa(2, 17)", "pfa(2, 17)"},
    {35, "pfa(5, 7)", "pfa(q5, rader(6))"},
    {36, "pfa(4, 9)", "pfa(4, 9)"},
    {37, "rader(36)", "rader(36)"},
    {38, "pfa(2, 19)", "pfa(2, 19)"},
    {39, "pfa(3, 13)", "pfa(3, 13)"},
    {40, "ct(20, 2)", "pfa(8, 5)"},
    {41, "rader(40)", "rader(40)"},
    {42, "pfa(2, 3, 7)", "pfa(2, 3, 7)"},
    {43, "rader(42)", "rader(42)"},
    {44, "pfa(4, 11)", "pfa(4, 11)"},
    {45, "ct(15, 3)", "pfa(9, 5)"},
    {46, "pfa(2, rader(pfa(2, rader(10))))", "pfa(2, rader(pfa(2, rader(10))))"},
    {47, "radpad(47, ct(48, 2))", "rader(pfa(2, rader(pfa(2, rader(10)))))"},
    {48, "ct(24, 2)", "pfa(16, 3)"},
    {49, "ct(7, 7)", "ct(7, 7)"},
    {50, "pfa(2, 25)", "pfa(2, ct(q5, q5))"},
    {51, "pfa(3, 17)", "pfa(3, 17)"},
    {52, "pfa(4, 13)", "pfa(4, 13)"},
    {53, "rader(52)", "rader(52)"},
    {54, "pfa(2, 27)", "pfa(2, 27)"},
    {55, "pfa(5, 11)", "pfa(5, 11)"},
    {56, "ct(28, 2)", "pfa(8, 7)"},
    {57, "pfa(3, 19)", "pfa(3, 19)"},
    {58, "pfa(2, 29)", "pfa(2, 29)"},
    {59, "radpad(59, ct(32, 4))", "rader(58)"},
    {60, "ct(30, 2)", "pfa(4, 3, q5)"},
    {61, "rader(60)", "rader(60)"},
    {62, "pfa(2, 31)", "pfa(2, 31)"},
    {63, "pfa(9, 7)", "pfa(9, 7)"},
    {64, "ct(16, 4)", "ct(4, 16)"},
};

}  // namespace gen
