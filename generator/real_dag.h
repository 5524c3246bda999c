// Expression DAG of real values, for the real-input DFT and Hartley kernels.
//
// Those kernels are built with the complex DFT's own algorithm builders
// (algorithms.h) and then lowered here, one complex node into a pair of real
// values. Real inputs are complex values whose imaginary part is the
// constant zero, so the lowering prunes everything that only feeds zeros, and
// hash-consing merges the real and imaginary parts that conjugate symmetry
// makes equal (X[N-k] = conj X[k] shows up as the same nodes, one of them
// negated). Only what the requested outputs need is ever emitted.
//
// Rules of the constructors, as in the complex DAG: x + 0, x * 1, x * 0
// vanish; negations travel on the edges and are folded into the add or
// subtract that consumes them; constants are kept positive; a - b and b - a
// are one node (the second negated).
#pragma once

#include <algorithm>
#include <map>
#include <set>
#include <tuple>
#include <utility>
#include <vector>

#include "dag.h"

namespace gen {

enum class RealOp : std::uint8_t { kLoad, kAdd, kSub, kMul };

struct RealNode {
    RealOp op;
    int a = -1, b = -1;  // operands, always taken positive
    int index = -1;      // kLoad: input slot
    Real c = 0;          // kMul: constant, > 0
};

// A possibly negated node; node == -1 is the constant zero.
struct RealValue {
    int node = -1;
    bool negated = false;
    bool IsZero() const { return node < 0; }
    bool operator==(const RealValue&) const = default;
};

class RealDag {
public:
    RealValue Load(int slot);
    RealValue Add(RealValue x, RealValue y);
    RealValue Sub(RealValue x, RealValue y);
    static RealValue Neg(RealValue x) { return x.IsZero() ? x : RealValue{x.node, !x.negated}; }
    RealValue Mul(RealValue x, Real c);
    // From now on a product of x + x takes x and twice the constant. x + x is
    // exactly 2x (the factor 2 of a conjugate pair), and 2x times c is x
    // times 2c: the same value, rounded once either way (only where x + x
    // itself would overflow do they differ). The product comes one add
    // earlier, the add goes where nothing else uses it, and times 0.5 the
    // product is x itself.
    void FoldDoubledSums() { fold_doubled_sums_ = true; }
    // From now on a product of a product takes the inner operand and the
    // product of the constants: (x * c1) * c2 becomes x * (c1 c2), the
    // constant rounded once to double. The chain loses a product and a
    // rounding (a three-point stage's sine product that a rotation or a
    // Rader kernel multiplies again); an inner product with other users
    // stays for them. Lower then forms a Gauss product (MulThree) of a value
    // one of whose parts is a product with four real products, so that the
    // chains inside it fold too.
    void FoldProductChains() { fold_product_chains_ = true; }
    bool folds_product_chains() const { return fold_product_chains_; }

    const RealNode& at(int id) const { return nodes_[id]; }
    int size() const { return static_cast<int>(nodes_.size()); }

    // Stage labels carried over from the complex DAG (see Dag::Label).
    void Label(int first_node, const std::string& text) { labels_.emplace(first_node, text); }
    const std::multimap<int, std::string>& labels() const { return labels_; }

    // Twin sub-transforms carried over from the complex DAG (see
    // Dag::Twins): per pair of siblings, the real and imaginary parts of
    // their matching values, node of the first next to node of the second.
    using TwinNodes = std::vector<std::pair<int, int>>;
    void AddTwins(TwinNodes pairs) { twins_.push_back(std::move(pairs)); }
    const std::vector<TwinNodes>& twins() const { return twins_; }
    // The same siblings with the real part of one next to the imaginary part
    // of the other: where a conjugate-symmetric input makes one sibling's
    // input real and the other's imaginary (the inverse real DFT), these
    // are the parts that do the same operations.
    void AddCrossedTwins(TwinNodes pairs) { crossed_twins_.push_back(std::move(pairs)); }
    const std::vector<TwinNodes>& crossed_twins() const { return crossed_twins_; }

    // Matching values of any two equal sibling sub-transforms of one stage
    // (Dag::siblings), not only of neighbours: the 256-bit emitter fuses
    // the operations of two twin pairs into one instruction.
    void AddKin(int a, int b) { kin_.insert({std::min(a, b), std::max(a, b)}); }
    bool Kin(int a, int b) const { return kin_.count({std::min(a, b), std::max(a, b)}) != 0; }

private:
    int Intern(const RealNode& n);
    std::vector<RealNode> nodes_;
    std::multimap<int, std::string> labels_;
    std::vector<TwinNodes> twins_, crossed_twins_;
    std::set<std::pair<int, int>> kin_;
    std::map<std::tuple<int, int, int, int, Real>, int> index_;
    bool fold_doubled_sums_ = false;
    bool fold_product_chains_ = false;
};

// Real and imaginary part of one complex value.
struct RealPair {
    RealValue re, im;
};

// Lowers the complex values `outputs` of `dag` into `real`: `input(i)` gives
// the parts of complex input element i. A product by a constant whose real
// and imaginary parts have equal magnitude is formed as c * (a -+ b), one
// product per part instead of two.
std::vector<RealPair> Lower(const Dag& dag, const Signal& outputs, RealDag& real,
                            const std::vector<RealPair>& inputs);

// Nodes the outputs depend on, in topological order.
std::vector<int> ReachableNodes(const RealDag& dag, const std::vector<RealValue>& outputs);

// Multiplications by constants among the reachable nodes.
int CountProducts(const RealDag& dag, const std::vector<RealValue>& outputs);

}  // namespace gen
