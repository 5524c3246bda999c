// DAG builders of the DFT schemes. Transform() computes
//   y[k] = sum_n x[n] * e^(sign * 2*pi*i * n*k / N)
// (sign -1: forward) with the scheme the recipe names. Both directions use the
// same scheme and the same constants up to the sign of their imaginary parts.
#pragma once

#include "dag.h"
#include "recipe.h"

namespace gen {

// What the builders may assume about the input:
//   kRealInput       imaginary parts zero, so y[N-k] = conj y[k];
//   kHermitianInput  x[N-n] = conj x[n], so every output is real.
// They then form only one of each conjugate pair of sub-transforms (and
// products) and take the other as its conjugate, which the real kernels'
// lowering turns into sign changes (real_dag.h). The complex kernels assume
// nothing.
enum class Symmetry { kNone, kRealInput, kHermitianInput };
Signal Transform(Dag& dag, const Recipe& recipe, const Signal& x, int sign, Symmetry sym = Symmetry::kNone);

}  // namespace gen
