#include "real_dag.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "emit.h"

namespace gen {

int RealDag::Intern(const RealNode& n) {
    auto key = std::make_tuple(static_cast<int>(n.op), n.a, n.b, n.index, n.c);
    auto it = index_.find(key);
    if (it != index_.end()) return it->second;
    nodes_.push_back(n);
    int id = size() - 1;
    index_.emplace(key, id);
    return id;
}

RealValue RealDag::Load(int slot) {
    RealNode n{RealOp::kLoad};
    n.index = slot;
    return {Intern(n), false};
}

RealValue RealDag::Add(RealValue x, RealValue y) {
    if (x.IsZero()) return y;
    if (y.IsZero()) return x;
    if (x.negated && y.negated) return Neg(Add(Neg(x), Neg(y)));
    if (y.negated) return Sub(x, Neg(y));
    if (x.negated) return Sub(y, Neg(x));
    RealNode n{RealOp::kAdd};
    n.a = std::min(x.node, y.node);
    n.b = std::max(x.node, y.node);
    return {Intern(n), false};
}

RealValue RealDag::Sub(RealValue x, RealValue y) {
    if (y.IsZero()) return x;
    if (x.IsZero()) return Neg(y);
    if (y.negated) return Add(x, Neg(y));
    if (x.negated) return Neg(Add(Neg(x), y));
    if (x.node == y.node) return RealValue{};
    // b - a is -(a - b): one node for both orders.
    if (x.node > y.node) return Neg(Sub(y, x));
    RealNode n{RealOp::kSub};
    n.a = x.node;
    n.b = y.node;
    return {Intern(n), false};
}

RealValue RealDag::Mul(RealValue x, Real c) {
    if (x.IsZero() || c == 0) return RealValue{};
    if (c < 0) return Neg(Mul(x, -c));
    if (x.negated) return Neg(Mul(Neg(x), c));
    // Kernels hold their constants as doubles: constants that agree to
    // double precision are one constant (the transformed Rader kernels of
    // conjugate bins come out of separate long double sums).
    c = static_cast<Real>(static_cast<double>(c));
    if (c == 1) return x;
    if (fold_doubled_sums_)
        if (const RealNode& sum = nodes_[x.node]; sum.op == RealOp::kAdd && sum.a == sum.b)
            return Mul(RealValue{sum.a, false}, 2 * c);
    if (fold_product_chains_)
        if (const RealNode& inner = nodes_[x.node]; inner.op == RealOp::kMul)
            return Mul(RealValue{inner.a, false}, inner.c * c);
    RealNode n{RealOp::kMul};
    n.a = x.node;
    n.c = c;
    return {Intern(n), false};
}

std::vector<RealPair> Lower(const Dag& dag, const Signal& outputs, RealDag& real,
                            const std::vector<RealPair>& inputs) {
    std::map<int, RealPair> parts;
    auto signed_part = [&](const Value& v) {
        if (v.IsZero()) return RealPair{};
        RealPair p = parts.at(v.node);
        return v.negated ? RealPair{RealDag::Neg(p.re), RealDag::Neg(p.im)} : p;
    };
    for (int id : ReachableNodes(dag, outputs)) {
        auto label = dag.labels().equal_range(id);
        for (auto it = label.first; it != label.second; ++it) real.Label(real.size(), it->second);
        const Node& n = dag.at(id);
        RealPair out;
        switch (n.op) {
            case Op::kLoad: out = inputs.at(n.index); break;
            case Op::kAdd:
            case Op::kSub: {
                const RealPair& a = parts.at(n.a);
                const RealPair& b = parts.at(n.b);
                out = n.op == Op::kAdd ? RealPair{real.Add(a.re, b.re), real.Add(a.im, b.im)}
                                       : RealPair{real.Sub(a.re, b.re), real.Sub(a.im, b.im)};
                break;
            }
            case Op::kMulReal: {
                const RealPair& a = parts.at(n.a);
                out = {real.Mul(a.re, n.c), real.Mul(a.im, n.c)};
                break;
            }
            case Op::kConj: {
                const RealPair& a = parts.at(n.a);
                out = {a.re, RealDag::Neg(a.im)};
                break;
            }
            case Op::kRealPart: out = {parts.at(n.a).re, RealValue{}}; break;
            case Op::kImagPart: out = {RealValue{}, parts.at(n.a).im}; break;
            case Op::kMulThree: {  // (a + ib)(c + id) = (k - (c + d)b) + i(k + (d - c)a), k = c(a + b)
                const RealPair& a = parts.at(n.a);
                auto product = [&](RealValue v) { return !v.IsZero() && real.at(v.node).op == RealOp::kMul; };
                // Two products either way; four where a part's own product folds in.
                if (a.re.IsZero() || a.im.IsZero() ||
                    (real.folds_product_chains() && (product(a.re) || product(a.im)))) {
                    out.re = real.Sub(real.Mul(a.re, n.c), real.Mul(a.im, n.d));
                    out.im = real.Add(real.Mul(a.re, n.d), real.Mul(a.im, n.c));
                    break;
                }
                RealValue k = real.Mul(real.Add(a.re, a.im), n.c);
                out.re = real.Sub(k, real.Mul(a.im, n.c + n.d));
                out.im = real.Add(k, real.Mul(a.re, n.d - n.c));
                break;
            }
            case Op::kMulI: {  // (a + ib) i = -b + ia
                const RealPair& a = parts.at(n.a);
                out = {RealDag::Neg(a.im), a.re};
                break;
            }
            case Op::kMulImag: {  // (a + ib) id = -db + ida
                const RealPair& a = parts.at(n.a);
                out = {RealDag::Neg(real.Mul(a.im, n.d)), real.Mul(a.re, n.d)};
                break;
            }
            case Op::kMulCplx: {  // (a + ib)(c + id) = (ca - db) + i(da + cb)
                const RealPair& a = parts.at(n.a);
                if (n.c == std::fabs(n.d)) {
                    // d = +-c: c(a -+ b) + i c(+-a + b)
                    const bool up = n.d > 0;
                    out.re = real.Mul(up ? real.Sub(a.re, a.im) : real.Add(a.re, a.im), n.c);
                    out.im = real.Mul(up ? real.Add(a.re, a.im) : real.Sub(a.im, a.re), n.c);
                } else {
                    out.re = real.Sub(real.Mul(a.re, n.c), real.Mul(a.im, n.d));
                    out.im = real.Add(real.Mul(a.re, n.d), real.Mul(a.im, n.c));
                }
                break;
            }
        }
        parts[id] = out;
    }
    for (const Dag::Twins& t : dag.twins()) {
        RealDag::TwinNodes pairs, crossed;
        auto add = [](RealDag::TwinNodes& to, RealValue x, RealValue y) {
            if (!x.IsZero() && !y.IsZero() && x.node != y.node) to.push_back({x.node, y.node});
        };
        for (int k = 0; k < t.count; ++k) {
            auto a = parts.find(t.first_begin + k), b = parts.find(t.second_begin + k);
            if (a == parts.end() || b == parts.end()) continue;
            add(pairs, a->second.re, b->second.re);
            add(pairs, a->second.im, b->second.im);
            add(crossed, a->second.re, b->second.im);
            add(crossed, a->second.im, b->second.re);
        }
        if (!pairs.empty()) real.AddTwins(std::move(pairs));
        if (!crossed.empty()) real.AddCrossedTwins(std::move(crossed));
    }
    for (const Dag::Siblings& group : dag.siblings())
        for (size_t i = 0; i < group.ranges.size(); ++i)
            for (size_t j = i + 1; j < group.ranges.size(); ++j) {
                auto [ib, ie] = group.ranges[i];
                auto [jb, je] = group.ranges[j];
                if (ie - ib != je - jb) continue;
                for (int k = 0; k < ie - ib; ++k) {
                    auto a = parts.find(ib + k), b = parts.find(jb + k);
                    if (a == parts.end() || b == parts.end()) continue;
                    for (auto [x, y] : {std::make_pair(a->second.re, b->second.re), std::make_pair(a->second.im, b->second.im)})
                        if (!x.IsZero() && !y.IsZero() && x.node != y.node) real.AddKin(x.node, y.node);
                }
            }
    std::vector<RealPair> result;
    for (const Value& v : outputs) result.push_back(signed_part(v));
    return result;
}

std::vector<int> ReachableNodes(const RealDag& dag, const std::vector<RealValue>& outputs) {
    return LiveNodes(dag, outputs);
}

int CountProducts(const RealDag& dag, const std::vector<RealValue>& outputs) {
    int count = 0;
    for (int id : ReachableNodes(dag, outputs)) count += dag.at(id).op == RealOp::kMul;
    return count;
}

}  // namespace gen
