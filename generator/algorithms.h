// DAG builders of the DFT schemes. Transform() computes
//   y[k] = sum_n x[n] * e^(sign * 2*pi*i * n*k / N)
// (sign -1: forward) with the scheme the recipe names. Both directions use the
// same scheme and the same constants up to the sign of their imaginary parts.
#pragma once

#include "dag.h"
#include "recipe.h"

namespace gen {

Signal Transform(Dag& dag, const Recipe& recipe, const Signal& x, int sign);

}  // namespace gen
