// Rounding error of a real-input scheme, estimated before any code exists.
//
// The real DAG of a scheme is evaluated on random inputs with the rounding
// the kernels perform:
//   double  every operation rounded to double;
//   single  sums and differences rounded to float, products formed in double
//           from their (float or still double) operand and rounded to float
//           only where a sum or an output takes them.
// The result is compared with the exact transform of the same inputs,
// summed in long double from the definition, so the error includes that of
// the constants (held as doubles). Two schemes of one length can then be
// compared by accuracy as the census compares them by cost.
#pragma once

#include <vector>

#include "dag.h"
#include "recipe.h"

namespace gen {

enum class RealFamily { kForward, kInverse, kHartley };

struct SchemeError {
    double dbl;     // mean over the trials of rms error / rms exact output
    double single;  // the same under the single-precision rule
};

SchemeError EstimateRealError(RealFamily family, const Recipe& recipe, int trials = 200);

// rms of got - want over the rms of want.
double RelativeRms(const std::vector<Real>& got, const std::vector<Real>& want);

}  // namespace gen
