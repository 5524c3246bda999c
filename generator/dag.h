// Expression DAG of complex values.
//
// Every node is one complex number; every operation acts on both parts, which
// is what the SSE2 kernels compute (a complex value is one vector, or half of
// one). Nodes are hash-consed, so an expression built twice is one node, and
// the constructors simplify as they build:
//   x + 0, x * 1, x * 0 vanish; x * (+-i) is a swap, never a multiply;
//   negations travel on the edges (Value::negated) and are folded into the
//   add/sub that consumes them; constants are kept positive.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "twiddle.h"

namespace gen {

enum class Op : std::uint8_t {
    kLoad,     // input element `index`
    kAdd,      // a + b
    kSub,      // a - b
    kMulReal,  // a * c, c > 0 real
    kMulCplx,  // a * (c + i*d), c > 0, d != 0
    kMulI,     // a * i
    // a * i*d, d > 0: the product and the rotation in one (FuseRotations).
    kMulImag,
    // Only in the real-input transforms, which lower them to real parts
    // (real_dag.h); the complex emitters refuse them.
    kConj,      // conj(a)
    kRealPart,  // re a (imaginary part zero)
    kImagPart,  // i im a (real part zero)
    kMulThree,  // a * (c + i*d) with three real products (Gauss)
};

struct Node {
    Op op;
    int a = -1, b = -1;  // operands (node ids), always taken positive
    int index = -1;      // kLoad: input element
    Real c = 0, d = 0;   // constants of the multiplications
};

// A reference to a node, possibly negated; node == -1 is the constant zero.
struct Value {
    int node = -1;
    bool negated = false;
    bool IsZero() const { return node < 0; }
};

class Dag {
public:
    Value Load(int index);
    Value Add(Value x, Value y);
    Value Sub(Value x, Value y);
    static Value Neg(Value x) { return x.IsZero() ? x : Value{x.node, !x.negated}; }
    Value MulReal(Value x, Real c);
    Value MulI(Value x);
    Value Mul(Value x, Cx w);  // any complex constant, simplified
    Value Conj(Value x);
    Value RealPart(Value x);
    Value ImagPart(Value x);
    // As Mul, but a constant with unequal nonzero parts is applied as
    // c(a + b) - (c + d)b and c(a + b) + (d - c)a: three products, not four.
    Value MulThree(Value x, Cx w);

    // Turns every product by a real constant that is rotated by i, or the
    // rotation that is then multiplied, into one kMulImag node where the
    // inner node has no other use: x * (-d, d) on the swapped parts is one
    // multiply where the rotation's sign flip would be an instruction (and a
    // cycle of latency) of its own. The bits are the same: (-d)b = -(db).
    // Only the complex emitters take kMulImag; after this the DAG is
    // final (its nodes change in place, so nothing may be interned).
    void FuseRotations(const std::vector<Value>& outputs);

    const Node& at(int id) const { return nodes_[id]; }
    int size() const { return static_cast<int>(nodes_.size()); }

    // Twin sub-transforms: two sibling transforms of one stage built the same
    // node sequence, independent of each other. An emitter that puts two
    // complex values in one register runs each such pair side by side, node
    // i of the first next to node i of the second. `depth` is the nesting
    // level of the stage (0 = outermost), so outer pairings can be preferred.
    struct Twins {
        int depth;
        int first_begin, second_begin, count;
    };
    // Ranges [begin, end) of the nodes each sibling created, in stage order;
    // neighbours (0, 1), (2, 3), ... become twins where their nodes match.
    void MarkSiblings(const std::vector<std::pair<int, int>>& ranges, int depth);
    const std::vector<Twins>& twins() const { return twins_; }
    // Every group of siblings MarkSiblings saw, matching or not: the node
    // ranges [begin, end) of one stage's sub-transforms, in order.
    struct Siblings {
        int depth;
        std::vector<std::pair<int, int>> ranges;
    };
    const std::vector<Siblings>& siblings() const { return siblings_; }

    // Labels for the generated code: the node id where a stage of the
    // algorithm starts, and what it computes ("16-point ct(4, 4), column 3").
    void Label(int first_node, std::string text) { labels_.emplace(first_node, std::move(text)); }
    const std::multimap<int, std::string>& labels() const { return labels_; }

private:
    int Intern(const Node& n);
    std::vector<Node> nodes_;
    std::vector<Twins> twins_;
    std::vector<Siblings> siblings_;
    std::multimap<int, std::string> labels_;
    std::map<std::tuple<int, int, int, int, Real, Real>, int> index_;
};

// Complex vector of DAG values: the inputs or outputs of a transform.
using Signal = std::vector<Value>;

// Nodes the outputs depend on, in topological order (ids ascending), for the
// complex DAG and the real one alike: nodes name their operands a and b
// (-1: none), values their node and whether they are the constant zero.
template <class AnyDag, class Values>
std::vector<int> LiveNodes(const AnyDag& dag, const Values& outputs) {
    std::vector<char> live(dag.size(), 0);
    for (const auto& v : outputs)
        if (!v.IsZero()) live[v.node] = 1;
    for (int id = dag.size() - 1; id >= 0; --id) {
        if (!live[id]) continue;
        const auto& n = dag.at(id);
        if (n.a >= 0) live[n.a] = 1;
        if (n.b >= 0) live[n.b] = 1;
    }
    std::vector<int> order;
    for (int id = 0; id < dag.size(); ++id)
        if (live[id]) order.push_back(id);
    return order;
}

}  // namespace gen
