// Recipes: how a transform of one length is computed, as a small tree.
//
// Text form (the recipe table is written in it):
//   7                 the default scheme of a stage of that length
//   q5                five-point stage in the 1/4, sqrt(5)/4 form
//   pairs(p)          direct symmetric pairs for an odd prime p
//   rader(E)          Rader for prime p, convolution by transforms E of length p-1
//   radpad(p, E)      Rader for prime p, convolution zero-padded to E's length
//   ct(E1, E2)        Cooley-Tukey: E1 over strided inputs, rotations of order N, E2
//   pfa(E1, E2, ...)  Good-Thomas prime-factor mapping, no rotations
// Defaults: 2..5 direct butterflies, 7 and 11 direct symmetric pairs, other
// primes Rader, prime powers Cooley-Tukey, other lengths prime-factor splits.
#pragma once

#include <string>
#include <vector>

namespace gen {

struct Recipe {
    enum class Kind { kButterfly, kPairs, kQuarterFive, kRader, kPaddedRader, kCooleyTukey, kPrimeFactor };
    Kind kind;
    int length;
    std::vector<Recipe> parts;
};

Recipe ParseRecipe(const std::string& text);
Recipe DefaultRecipe(int n);
std::string Describe(const Recipe& r);  // fully expanded text form

// One row of the complex DFT table: the schemes of both precisions.
struct ComplexDftRow {
    int n;
    const char* single;
    const char* dbl;
};
extern const std::vector<ComplexDftRow> kComplexDftTable;

// One row of the real-input table: the most multiplications by constants
// the double-precision forward kernel may use, and the schemes of the three
// real families (both precisions use the same breakdown).
struct RealDftRow {
    int n;
    int forward_budget;
    const char* forward;
    const char* inverse;
    const char* hartley;
};
extern const std::vector<RealDftRow> kRealDftTable;

}  // namespace gen
