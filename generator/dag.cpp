#include "dag.h"

#include <cassert>
#include <cmath>
#include <utility>

namespace gen {

int Dag::Intern(const Node& n) {
    auto key = std::make_tuple(static_cast<int>(n.op), n.a, n.b, n.index, n.c, n.d);
    auto it = index_.find(key);
    if (it != index_.end()) return it->second;
    nodes_.push_back(n);
    int id = static_cast<int>(nodes_.size()) - 1;
    index_.emplace(key, id);
    return id;
}

Value Dag::Load(int index) {
    Node n{Op::kLoad};
    n.index = index;
    return {Intern(n), false};
}

Value Dag::Add(Value x, Value y) {
    if (x.IsZero()) return y;
    if (y.IsZero()) return x;
    if (x.negated && y.negated) return Neg(Add(Neg(x), Neg(y)));
    if (y.negated) return Sub(x, Neg(y));
    if (x.negated) return Sub(y, Neg(x));
    Node n{Op::kAdd};
    n.a = std::min(x.node, y.node);  // commutative: one canonical order
    n.b = std::max(x.node, y.node);
    return {Intern(n), false};
}

Value Dag::Sub(Value x, Value y) {
    if (y.IsZero()) return x;
    if (x.IsZero()) return Neg(y);
    if (y.negated) return Add(x, Neg(y));
    if (x.negated) return Neg(Add(Neg(x), y));
    if (x.node == y.node) return Value{};
    Node n{Op::kSub};
    n.a = x.node;
    n.b = y.node;
    return {Intern(n), false};
}

Value Dag::MulReal(Value x, Real c) {
    if (x.IsZero() || c == 0) return Value{};
    if (c < 0) return Neg(MulReal(x, -c));
    if (x.negated) return Neg(MulReal(Neg(x), c));
    if (c == 1) return x;
    Node n{Op::kMulReal};
    n.a = x.node;
    n.c = c;
    return {Intern(n), false};
}

Value Dag::MulI(Value x) {
    if (x.IsZero()) return x;
    if (x.negated) return Neg(MulI(Neg(x)));
    const Node& inner = nodes_[x.node];
    if (inner.op == Op::kMulI) return Neg(Value{inner.a, false});  // i * i = -1
    Node n{Op::kMulI};
    n.a = x.node;
    return {Intern(n), false};
}

Value Dag::Conj(Value x) {
    if (x.IsZero()) return x;
    const Node& inner = nodes_[x.node];
    if (inner.op == Op::kConj) return Value{inner.a, x.negated};
    Node n{Op::kConj};
    n.a = x.node;
    return {Intern(n), x.negated};
}

Value Dag::RealPart(Value x) {
    if (x.IsZero()) return x;
    Node n{Op::kRealPart};
    n.a = x.node;
    return {Intern(n), x.negated};
}

Value Dag::ImagPart(Value x) {
    if (x.IsZero()) return x;
    Node n{Op::kImagPart};
    n.a = x.node;
    return {Intern(n), x.negated};
}

Value Dag::MulThree(Value x, Cx w) {
    if (x.IsZero()) return x;
    if (w.imag() == 0 || w.real() == 0 || std::fabs(w.real()) == std::fabs(w.imag())) return Mul(x, w);
    if (w.real() < 0) return Neg(MulThree(x, -w));
    if (x.negated) return Neg(MulThree(Neg(x), w));
    Node n{Op::kMulThree};
    n.a = x.node;
    n.c = w.real();
    n.d = w.imag();
    return {Intern(n), false};
}

Value Dag::Mul(Value x, Cx w) {
    if (x.IsZero()) return x;
    if (w.imag() == 0) return MulReal(x, w.real());
    if (w.real() == 0) return MulReal(MulI(x), w.imag());
    if (w.real() < 0) return Neg(Mul(x, -w));
    if (x.negated) return Neg(Mul(Neg(x), w));
    Node n{Op::kMulCplx};
    n.a = x.node;
    n.c = w.real();
    n.d = w.imag();
    return {Intern(n), false};
}

void Dag::FuseRotations(const std::vector<Value>& outputs) {
    std::vector<int> uses(nodes_.size(), 0);
    const std::vector<int> live = LiveNodes(*this, outputs);
    for (int id : live) {
        if (nodes_[id].a >= 0) ++uses[nodes_[id].a];
        if (nodes_[id].b >= 0) ++uses[nodes_[id].b];
    }
    for (const Value& v : outputs)
        if (!v.IsZero()) ++uses[v.node];
    for (int id : live) {
        Node& n = nodes_[id];
        if (n.a < 0 || uses[n.a] != 1) continue;
        const Node& inner = nodes_[n.a];
        Real d = 0;
        if (n.op == Op::kMulI && inner.op == Op::kMulReal) d = inner.c;  // i * (c x)
        if (n.op == Op::kMulReal && inner.op == Op::kMulI) d = n.c;      // c * (i x)
        if (d == 0) continue;
        Node fused{Op::kMulImag};
        fused.a = inner.a;
        fused.d = d;
        uses[n.a] = 0;
        n = fused;
    }
    // Twins whose nodes no longer agree (one fused, the other not) part.
    std::vector<Twins> kept;
    for (const Twins& t : twins_) {
        bool same = true;
        for (int k = 0; k < t.count && same; ++k) same = nodes_[t.first_begin + k].op == nodes_[t.second_begin + k].op;
        if (same) kept.push_back(t);
    }
    twins_ = std::move(kept);
    index_.clear();
}

void Dag::MarkSiblings(const std::vector<std::pair<int, int>>& ranges, int depth) {
    siblings_.push_back(Siblings{depth, ranges});
    for (size_t i = 0; i + 1 < ranges.size(); i += 2) {
        auto [a, a_end] = ranges[i];
        auto [b, b_end] = ranges[i + 1];
        int count = a_end - a;
        if (count == 0 || count != b_end - b) continue;
        bool same = true;
        for (int k = 0; k < count && same; ++k) same = nodes_[a + k].op == nodes_[b + k].op;
        if (same) twins_.push_back(Twins{depth, a, b, count});
    }
}

}  // namespace gen
