// The complex DFT schemes, one row per length: single precision, double
// precision. A bare number is the default scheme of a stage of that length
// (see recipe.h). The two precisions differ on purpose where the columns
// differ: single 7 and 11 use Rader, single 47 and 59 a padded convolution,
// single 24, 40, 45, 48, 56, 60 rotations of order N, double 10, 35, 50, 60
// the quarter form of the five-point stage. The radix order of the powers
// of two and of 27, and the split of the six single-precision mixed-radix
// lengths, were chosen by timing the candidates in all three builds. A last
// stage of four rows (ct(N/4, 4)) lets the wider builds run four sibling
// sub-transforms side by side: at N = 16, 32, 40, 48, 56 and 60 (single) it
// made the x86-64-v4 build 15-35% faster and the x86-64-v3 build up to 26%,
// where the SSE2 build lost at most 8% (N = 60), mostly 0-3%. Elsewhere the
// order that was fastest in all three builds is kept. Inside Rader and the
// prime-factor splits the default schemes are already the cheapest.
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
    {8, "ct(4, 2)", "ct(4, 2)"},
    {9, "ct(3, 3)", "ct(3, 3)"},
    {10, "pfa(2, 5)", "pfa(2, q5)"},
    {11, "rader(10)", "11"},
    {12, "pfa(4, 3)", "pfa(4, 3)"},
    {13, "rader(12)", "rader(12)"},
    {14, "pfa(2, 7)", "pfa(2, 7)"},
    {15, "pfa(3, 5)", "pfa(3, 5)"},
    {16, "ct(4, 4)", "ct(4, 4)"},
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
    {27, "ct(3, 9)", "ct(3, 9)"},
    {28, "pfa(4, 7)", "pfa(4, 7)"},
    {29, "rader(28)", "rader(28)"},
    {30, "pfa(2, 3, 5)", "pfa(2, 3, 5)"},
    {31, "rader(30)", "rader(30)"},
    {32, "ct(8, 4)", "ct(8, 4)"},
    {33, "pfa(3, 11)", "pfa(3, 11)"},
    {34, "pfa(2, 17)", "pfa(2, 17)"},
    {35, "pfa(5, 7)", "pfa(q5, rader(6))"},
    {36, "pfa(4, 9)", "pfa(4, 9)"},
    {37, "rader(36)", "rader(36)"},
    {38, "pfa(2, 19)", "pfa(2, 19)"},
    {39, "pfa(3, 13)", "pfa(3, 13)"},
    {40, "ct(10, 4)", "pfa(8, 5)"},
    {41, "rader(40)", "rader(40)"},
    {42, "pfa(2, 3, 7)", "pfa(2, 3, 7)"},
    {43, "rader(42)", "rader(42)"},
    {44, "pfa(4, 11)", "pfa(4, 11)"},
    {45, "ct(15, 3)", "pfa(9, 5)"},
    {46, "pfa(2, rader(pfa(2, rader(10))))", "pfa(2, rader(pfa(2, rader(10))))"},
    {47, "radpad(47, ct(48, 2))", "rader(pfa(2, rader(pfa(2, rader(10)))))"},
    {48, "ct(12, 4)", "pfa(16, 3)"},
    {49, "ct(7, 7)", "ct(7, 7)"},
    {50, "pfa(2, 25)", "pfa(2, ct(q5, q5))"},
    {51, "pfa(3, 17)", "pfa(3, 17)"},
    {52, "pfa(4, 13)", "pfa(4, 13)"},
    {53, "rader(52)", "rader(52)"},
    {54, "pfa(2, 27)", "pfa(2, 27)"},
    {55, "pfa(5, 11)", "pfa(5, 11)"},
    {56, "ct(14, 4)", "pfa(8, 7)"},
    {57, "pfa(3, 19)", "pfa(3, 19)"},
    {58, "pfa(2, 29)", "pfa(2, 29)"},
    {59, "radpad(59, ct(32, 4))", "rader(58)"},
    {60, "ct(15, 4)", "pfa(4, 3, q5)"},
    {61, "rader(60)", "rader(60)"},
    {62, "pfa(2, 31)", "pfa(2, 31)"},
    {63, "pfa(9, 7)", "pfa(9, 7)"},
    {64, "ct(16, 4)", "ct(8, 8)"},
};

// The real-input schemes, one row per length: the multiplication budget of
// the double-precision forward kernel (products with constants, the scale
// not counted; the generator refuses a kernel above it), then the scheme of
// the forward real DFT, the inverse real DFT and the Hartley transform. The
// classes follow the lengths: butterflies (2, 4), symmetric pairs (3, 5, 7,
// 11), Cooley-Tukey for prime powers, prime-factor splits for coprime
// factors, Rader for the other primes (23 and 47 too, although the direct
// form would cost as many products), no quarter-form five-point stage. The
// 11-point stages differ on purpose between the families:
//   forward  direct in 11, 22, 33, 44, 55; Rader-10 inside 23, 46, 47;
//   inverse  Rader-10 in 11, 22, 33, 44, 55 and inside 47; direct inside 23, 46;
//   Hartley  direct in 11, 22 and inside 23, 46; Rader-10 in 33, 44, 55 and 47.
// Factor orders (of the prime-factor splits, inside the powers and inside
// the Rader convolutions) were chosen per family by timing every order
// within the budget in both precisions and all three builds, taking the one
// with the smallest geometric mean where it beat the order before by 3% or
// more. The order changes which sub-transforms share a register, and so the
// shuffles, far more than it changes the operation count: forward 40 as
// pfa(5, ct(4, 2)) instead of pfa(8, 5) runs 25-30% faster in the wider
// builds and 6-10% in SSE2.
const std::vector<RealDftRow> kRealDftTable = {
    // N, budget  forward                                    inverse                                    Hartley
    {2, 0,     "2",                                       "2",                                       "2"},
    {3, 2,     "3",                                       "3",                                       "3"},
    {4, 0,     "4",                                       "4",                                       "4"},
    {5, 8,     "5",                                       "5",                                       "5"},
    {6, 4,     "pfa(2, 3)",                               "pfa(2, 3)",                               "pfa(2, 3)"},
    {7, 18,    "7",                                       "7",                                       "7"},
    {8, 2,     "ct(2, 4)",                                "ct(2, 4)",                                "ct(4, 2)"},
    {9, 20,    "ct(3, 3)",                                "ct(3, 3)",                                "ct(3, 3)"},
    {10, 16,   "pfa(2, 5)",                               "pfa(2, 5)",                               "pfa(5, 2)"},
    {11, 50,   "11",                                      "rader(10)",                               "11"},
    {12, 8,    "pfa(3, 4)",                               "pfa(4, 3)",                               "pfa(4, 3)"},
    {13, 41,   "rader(12)",                               "rader(12)",                               "rader(12)"},
    {14, 36,   "pfa(7, 2)",                               "pfa(2, 7)",                               "pfa(2, 7)"},
    {15, 34,   "pfa(3, 5)",                               "pfa(3, 5)",                               "pfa(5, 3)"},
    {16, 12,   "ct(4, 4)",                                "ct(4, 4)",                                "ct(4, 4)"},
    {17, 54,   "rader(16)",                               "rader(16)",                               "rader(16)"},
    {18, 40,   "pfa(9, 2)",                               "pfa(2, 9)",                               "pfa(2, 9)"},
    {19, 108,  "rader(18)",                               "rader(18)",                               "rader(18)"},
    {20, 32,   "pfa(5, 4)",                               "pfa(4, 5)",                               "pfa(5, 4)"},
    {21, 68,   "pfa(3, 7)",                               "pfa(7, 3)",                               "pfa(7, 3)"},
    {22, 100,  "pfa(2, 11)",                              "pfa(2, rader(10))",                       "pfa(2, 11)"},
    {23, 242,  "rader(pfa(2, rader(10)))",                "rader(pfa(2, 11))",                       "rader(pfa(2, 11))"},
    {24, 22,   "pfa(ct(4, 2), 3)",                        "pfa(8, 3)",                               "pfa(8, 3)"},
    {25, 112,  "ct(5, 5)",                                "ct(5, 5)",                                "ct(5, 5)"},
    {26, 82,   "pfa(2, 13)",                              "pfa(13, 2)",                              "pfa(13, 2)"},
    {27, 110,  "ct(3, 9)",                                "ct(9, 3)",                                "ct(3, 9)"},
    {28, 72,   "pfa(7, 4)",                               "pfa(4, 7)",                               "pfa(7, 4)"},
    {29, 210,  "rader(28)",                               "rader(28)",                               "rader(pfa(7, 4))"},
    {30, 68,   "pfa(5, 3, 2)",                            "pfa(3, 5, 2)",                            "pfa(2, 5, 3)"},
    {31, 192,  "rader(30)",                               "rader(pfa(3, 2, 5))",                     "rader(pfa(2, 5, 3))"},
    {32, 44,   "ct(8, 4)",                                "ct(4, 8)",                                "ct(16, 2)"},
    {33, 172,  "pfa(3, 11)",                              "pfa(3, rader(10))",                       "pfa(rader(10), 3)"},
    {34, 108,  "pfa(2, 17)",                              "pfa(2, 17)",                              "pfa(17, 2)"},
    {35, 146,  "pfa(7, 5)",                               "pfa(5, 7)",                               "pfa(7, 5)"},
    {36, 80,   "pfa(9, 4)",                               "pfa(4, 9)",                               "pfa(9, 4)"},
    {37, 228,  "rader(36)",                               "rader(36)",                               "rader(pfa(9, 4))"},
    {38, 216,  "pfa(2, 19)",                              "pfa(2, 19)",                              "pfa(2, 19)"},
    {39, 149,  "pfa(13, 3)",                              "pfa(3, 13)",                              "pfa(13, 3)"},
    {40, 74,   "pfa(5, ct(4, 2))",                        "pfa(ct(4, 2), 5)",                        "pfa(5, ct(4, 2))"},
    {41, 242,  "rader(40)",                               "rader(40)",                               "rader(pfa(5, 8))"},
    {42, 136,  "pfa(3, 2, 7)",                            "pfa(2, 3, 7)",                            "pfa(2, 3, 7)"},
    {43, 352,  "rader(42)",                               "rader(pfa(7, 3, 2))",                     "rader(pfa(3, 7, 2))"},
    {44, 200,  "pfa(11, 4)",                              "pfa(4, rader(10))",                       "pfa(rader(10), 4)"},
    {45, 172,  "pfa(5, 9)",                               "pfa(9, 5)",                               "pfa(5, 9)"},
    {46, 484,  "pfa(rader(pfa(2, rader(10))), 2)",        "pfa(2, rader(pfa(2, 11)))",               "pfa(2, rader(pfa(2, 11)))"},
    {47, 1058, "rader(pfa(rader(pfa(2, rader(10))), 2))", "rader(pfa(2, rader(pfa(rader(10), 2))))", "rader(pfa(rader(pfa(2, rader(10))), 2))"},
    {48, 68,   "pfa(3, 16)",                              "pfa(16, 3)",                              "pfa(16, 3)"},
    {49, 324,  "ct(7, 7)",                                "ct(7, 7)",                                "ct(7, 7)"},
    {50, 224,  "pfa(2, 25)",                              "pfa(2, 25)",                              "pfa(2, 25)"},
    {51, 196,  "pfa(17, 3)",                              "pfa(3, 17)",                              "pfa(17, 3)"},
    {52, 164,  "pfa(13, 4)",                              "pfa(4, 13)",                              "pfa(13, 4)"},
    {53, 456,  "rader(52)",                               "rader(52)",                               "rader(pfa(13, 4))"},
    {54, 220,  "pfa(2, 27)",                              "pfa(2, 27)",                              "pfa(2, 27)"},
    {55, 338,  "pfa(11, 5)",                              "pfa(5, rader(10))",                       "pfa(rader(10), 5)"},
    {56, 158,  "pfa(7, 8)",                               "pfa(ct(4, 2), 7)",                        "pfa(7, ct(4, 2))"},
    {57, 362,  "pfa(19, 3)",                              "pfa(19, 3)",                              "pfa(19, 3)"},
    {58, 420,  "pfa(2, 29)",                              "pfa(29, 2)",                              "pfa(2, 29)"},
    {59, 954,  "rader(pfa(29, 2))",                       "rader(58)",                               "rader(pfa(29, 2))"},
    {60, 136,  "pfa(3, 5, 4)",                            "pfa(4, 3, 5)",                            "pfa(5, 4, 3)"},
    {61, 415,  "rader(60)",                               "rader(pfa(5, 3, 4))",                     "rader(pfa(5, 3, 4))"},
    {62, 384,  "pfa(2, 31)",                              "pfa(2, 31)",                              "pfa(2, 31)"},
    {63, 302,  "pfa(9, 7)",                               "pfa(9, 7)",                               "pfa(7, 9)"},
    {64, 132,  "ct(16, 4)",                               "ct(4, 16)",                               "ct(16, 4)"},
};

}  // namespace gen
