// Pieces shared by the emitters that put two independent operations into
// one vector (emit_sse_paired.cpp for the complex DFT, emit_real_sse.cpp for
// the real families): how a paired add/sub takes its operands, and in which
// order the planned units can be emitted.
#pragma once

#include <algorithm>
#include <set>
#include <utility>
#include <vector>

namespace gen {

// Operands of a paired add/sub, in the order the two operations take them:
// (a_lo, a_hi) and (b_lo, b_hi) go into the two operand vectors.
struct OperandArrangement {
    int a_lo, b_lo, a_hi, b_hi, cost;
};

// The cheapest arrangement of the operands of nodes `lo` and `hi`: an add
// may swap its own operands, and a sum paired with a difference costs one
// sign flip. `pair_cost(p, q)` prices a vector holding p and q.
template <class Node, class Cost>
OperandArrangement BestAddSub(const Node& lo, bool lo_adds, const Node& hi, bool hi_adds, Cost pair_cost) {
    OperandArrangement best{-1, -1, -1, -1, 1 << 20};
    for (int sl = 0; sl < (lo_adds ? 2 : 1); ++sl)
        for (int sh = 0; sh < (hi_adds ? 2 : 1); ++sh) {
            OperandArrangement a{sl ? lo.b : lo.a, sl ? lo.a : lo.b, sh ? hi.b : hi.a, sh ? hi.a : hi.b, 0};
            a.cost = pair_cost(a.a_lo, a.a_hi) + pair_cost(a.b_lo, a.b_hi) + (lo_adds != hi_adds ? 1 : 0);
            if (a.cost < best.cost) best = a;
        }
    return best;
}

// Planned units (lo, hi; hi -1 for a unit alone) in dependency order, the
// smallest node first among the ready ones. `operands(node)` lists what a
// node needs; `available` holds what exists before any unit (the loads). A
// pair whose halves wait on each other is split.
template <class Operands>
std::vector<std::pair<int, int>> OrderUnits(std::vector<std::pair<int, int>> pending, std::set<int> available,
                                            Operands operands) {
    std::vector<std::pair<int, int>> order;
    auto ready = [&](int node) {
        for (int o : operands(node))
            if (o >= 0 && !available.count(o)) return false;
        return true;
    };
    auto key = [](const std::pair<int, int>& u) { return u.second >= 0 ? std::min(u.first, u.second) : u.first; };
    while (!pending.empty()) {
        int best = -1;
        for (size_t i = 0; i < pending.size(); ++i) {
            auto [lo, hi] = pending[i];
            if (!ready(lo) || (hi >= 0 && !ready(hi))) continue;
            if (best < 0 || key(pending[i]) < key(pending[best])) best = static_cast<int>(i);
        }
        if (best < 0) {
            for (auto& unit : pending)
                if (unit.second >= 0) {
                    int hi = unit.second;
                    unit.second = -1;
                    pending.push_back({hi, -1});
                    break;
                }
            continue;
        }
        order.push_back(pending[best]);
        available.insert(pending[best].first);
        if (pending[best].second >= 0) available.insert(pending[best].second);
        pending.erase(pending.begin() + best);
    }
    return order;
}

}  // namespace gen
