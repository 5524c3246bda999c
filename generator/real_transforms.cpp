#include "real_transforms.h"

#include <stdexcept>

#include "algorithms.h"

namespace gen {
namespace {

// The forward transform of real samples: complex inputs with a zero
// imaginary part, of which only the bins 0..N/2 are kept.
std::vector<RealPair> ForwardBins(RealDag& real, const Recipe& recipe) {
    const int n = recipe.length;
    Dag dag;
    Signal x(n);
    std::vector<RealPair> inputs(n);
    for (int i = 0; i < n; ++i) {
        x[i] = dag.Load(i);
        inputs[i] = {real.Load(i), RealValue{}};
    }
    Signal y = Transform(dag, recipe, x, -1, Symmetry::kRealInput);
    y.resize(n / 2 + 1);
    std::vector<RealPair> bins = Lower(dag, y, real, inputs);
    if (!bins[0].im.IsZero() || (n % 2 == 0 && !bins[n / 2].im.IsZero()))
        throw std::runtime_error("real transform of length " + std::to_string(n) + ": Im 0 or Im N/2 not zero");
    return bins;
}

}  // namespace

ForwardRealDag BuildForwardReal(const Recipe& recipe, bool fold_doubled_sums, bool fold_product_chains) {
    ForwardRealDag out;
    if (fold_doubled_sums) out.dag.FoldDoubledSums();
    if (fold_product_chains) out.dag.FoldProductChains();
    out.bins = ForwardBins(out.dag, recipe);
    return out;
}

RealOutputsDag BuildInverseReal(const Recipe& recipe, bool fold_doubled_sums, bool fold_product_chains) {
    const int n = recipe.length;
    RealOutputsDag out;
    RealDag& real = out.dag;
    if (fold_doubled_sums) real.FoldDoubledSums();
    if (fold_product_chains) real.FoldProductChains();
    // X[k] for k <= N/2 from the slots, X[N-k] = conj X[k] above.
    std::vector<RealPair> inputs(n);
    for (int k = 0; 2 * k <= n; ++k) {
        RealValue im = 2 * k == n || k == 0 ? RealValue{} : real.Load(ImSlot(k));
        inputs[k] = {real.Load(ReSlot(k)), im};
        if (k > 0) inputs[n - k] = {inputs[k].re, RealDag::Neg(im)};
    }
    Dag dag;
    Signal x(n);
    for (int i = 0; i < n; ++i) x[i] = dag.Load(i);
    Signal y = Transform(dag, recipe, x, +1, Symmetry::kHermitianInput);
    for (const RealPair& p : Lower(dag, y, real, inputs)) out.outputs.push_back(p.re);
    return out;
}

RealOutputsDag BuildHartley(const Recipe& recipe, bool fold_doubled_sums, bool fold_product_chains) {
    const int n = recipe.length;
    RealOutputsDag out;
    RealDag& real = out.dag;
    if (fold_doubled_sums) real.FoldDoubledSums();
    if (fold_product_chains) real.FoldProductChains();
    std::vector<RealPair> bins = ForwardBins(real, recipe);
    out.outputs.resize(n);
    // X[k] = C[k] - i S[k]: H[k] = C + S = Re - Im, H[N-k] = C - S = Re + Im.
    for (int k = 0; 2 * k <= n; ++k) {
        out.outputs[k] = real.Sub(bins[k].re, bins[k].im);
        if (k > 0 && 2 * k != n) out.outputs[n - k] = real.Add(bins[k].re, bins[k].im);
    }
    return out;
}

}  // namespace gen
