// Flag -> scale factor selection shared by every transform family.
#pragma once

#include <cstdint>

#include "qvngen.h"

namespace qvn {

// kSelfInverse: transforms that are their own inverse (WHT, Hartley), where
// flags 1 and 2 both select 1/N.
enum class Direction { kForward, kInverse, kSelfInverse };

// The three scale constants a fixed-length entry can apply: 1, 1/N, 1/sqrt(N).
// Kernels keep them as literals of their own precision.
template <class Real>
struct ScaleSet {
    Real one;
    Real invN;
    Real invSqrtN;
};

// Compares the flag with 8, 4, 1, 2 in that order (equality, not bits) and
// picks the factor for the direction. False for any other flag value.
template <Direction kDir, class Real>
inline bool SelectScale(int32_t flag, const ScaleSet<Real>& k, Real* scale) {
    if (flag == kScaleNone) {
        *scale = k.one;
    } else if (flag == kScaleBySqrtN) {
        *scale = k.invSqrtN;
    } else if (flag == kScaleFwdByN) {
        *scale = kDir == Direction::kInverse ? k.one : k.invN;
    } else if (flag == kScaleInvByN) {
        *scale = kDir == Direction::kForward ? k.one : k.invN;
    } else {
        return false;
    }
    return true;
}

}  // namespace qvn
