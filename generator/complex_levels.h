// Shared by the emitters that pack several complex values into a register
// (emit_sse_paired.cpp, emit_quad.cpp): the kinds of operation that may
// share an instruction, and the operations left after the twin planning,
// grouped by kind and DAG level.
#pragma once

#include <algorithm>
#include <map>
#include <set>
#include <stdexcept>
#include <utility>
#include <vector>

#include "dag.h"

namespace gen {

enum class OpClass { kAddSub, kMulReal, kMulCplx, kMulI, kMulImag, kLoad };

inline OpClass ClassOf(Op op) {
    switch (op) {
        case Op::kAdd:
        case Op::kSub: return OpClass::kAddSub;
        case Op::kMulReal: return OpClass::kMulReal;
        case Op::kMulCplx: return OpClass::kMulCplx;
        case Op::kMulI: return OpClass::kMulI;
        case Op::kMulImag: return OpClass::kMulImag;
        case Op::kLoad: return OpClass::kLoad;
        default: throw std::runtime_error("real-kernel operation in a complex kernel");
    }
}

// The reachable nodes that `planned(node)` rejects, by level and kind; the
// level of every reachable node goes to `levels` if given.
// Levels go in quarter steps: an add or subtract is one level above its
// operands, a multiplication a quarter level, so rotations do not shift the
// stage after them; operations of one kind on one level never depend on each
// other, so any two of them may share an instruction.
template <class Planned>
std::map<int, std::map<OpClass, std::vector<int>>> UnplannedByLevel(const Dag& dag, const std::set<int>& reachable,
                                                                    Planned planned,
                                                                    std::map<int, int>* levels = nullptr) {
    std::map<int, int> level;
    std::map<int, std::map<OpClass, std::vector<int>>> groups;
    for (int id : reachable) {
        const Node& n = dag.at(id);
        if (n.op == Op::kLoad) {
            level[id] = 0;
            continue;
        }
        int operands = std::max(level[n.a], n.b >= 0 ? level[n.b] : 0);
        level[id] = ClassOf(n.op) == OpClass::kAddSub ? (operands / 4 + 1) * 4 : operands + 1;
        if (!planned(id)) groups[level[id]][ClassOf(n.op)].push_back(id);
    }
    if (levels) *levels = std::move(level);
    return groups;
}

}  // namespace gen
