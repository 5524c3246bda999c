#include "plan_runtime/plan_math.h"

#include <cmath>
#include <numbers>

namespace qvn::plan {

Status ChooseRadix(std::int32_t* radix, std::int32_t n) {
    // Each candidate is tried only once n has reached its minimum; a failed
    // divisibility test falls through to the smaller candidates.
    std::int32_t chosen;
    if (n >= 512 && n % 32 == 0) chosen = 32;
    else if (n >= 128 && n % 16 == 0) chosen = 16;
    else if (n >= 32 && n % 8 == 0) chosen = 8;
    else if (n >= 16 && n % 4 == 0) chosen = 4;
    else if (n >= 4 && n % 2 == 0) chosen = 2;
    else return kStatusBadSize;
    *radix = chosen;
    return kStatusOk;
}

float SinPi32f(float x) { return static_cast<float>(std::sin(static_cast<double>(x) * std::numbers::pi)); }
float CosPi32f(float x) { return static_cast<float>(std::cos(static_cast<double>(x) * std::numbers::pi)); }
double SinPi64f(double x) { return std::sin(x * std::numbers::pi); }
double CosPi64f(double x) { return std::cos(x * std::numbers::pi); }

}  // namespace qvn::plan
