// The radix a planned length is split by at each level, and the sine and
// cosine of pi*x from which every twiddle table is filled.
#pragma once

#include <cstdint>

#include "qvngen.h"

namespace qvn::plan {

// Picks the radix for splitting a length whose half is `n`: the largest of
// 32, 16, 8, 4, 2 that divides n and whose minimum n (512, 128, 32, 16, 4
// respectively) is reached, so n = 16 gives 4 and n = 256 gives 16. Writes
// *radix and returns kStatusOk, or returns kStatusBadSize with *radix
// untouched (n below 4, or odd).
Status ChooseRadix(std::int32_t* radix, std::int32_t n);

// sin and cos of pi*x. The single-precision pair widens x to double, takes
// the double-precision function of pi*x and rounds the result once.
float SinPi32f(float x);
float CosPi32f(float x);
double SinPi64f(double x);
double CosPi64f(double x);

}  // namespace qvn::plan
