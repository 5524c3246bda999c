// The real-input transforms as real DAGs, built from the complex DFT's
// algorithm builders and lowered (real_dag.h):
//   forward  N real samples in, bins 0..N/2 of y[k] = sum x[n] e^(-2 pi i nk/N);
//   inverse  the half spectrum in (Re k and Im k for k = 0..N/2, Im 0 and,
//            for even N, Im N/2 taken as zero), N real samples out:
//            the complex inverse DFT of the conjugate-symmetric spectrum;
//   Hartley  N real samples in; with the forward bins X[k] = C[k] - i S[k]
//            (C the cosine sums, S the sine sums), H[k] = C[k] + S[k] and
//            H[N-k] = C[k] - S[k].
#pragma once

#include <vector>

#include "real_dag.h"
#include "recipe.h"

namespace gen {

// Input slots of the inverse kernel: Re k is slot 2k, Im k slot 2k+1.
inline int ReSlot(int k) { return 2 * k; }
inline int ImSlot(int k) { return 2 * k + 1; }

struct ForwardRealDag {
    RealDag dag;
    std::vector<RealPair> bins;  // k = 0 .. N/2
};
// fold_doubled_sums, fold_product_chains: see RealDag::FoldDoubledSums and
// RealDag::FoldProductChains.
ForwardRealDag BuildForwardReal(const Recipe& recipe, bool fold_doubled_sums = false, bool fold_product_chains = false);

struct RealOutputsDag {
    RealDag dag;
    std::vector<RealValue> outputs;  // N values
};
RealOutputsDag BuildInverseReal(const Recipe& recipe, bool fold_doubled_sums = false, bool fold_product_chains = false);
RealOutputsDag BuildHartley(const Recipe& recipe, bool fold_doubled_sums = false, bool fold_product_chains = false);

}  // namespace gen
