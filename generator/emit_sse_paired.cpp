// SSE2 emitter for single precision: two complex values per __m128, lanes
// (re0, im0, re1, im1). Operations of the same kind on the same DAG level are
// independent of each other, so they are paired into one vector operation
// (SLP-style): candidate pairs are ranked by how many shuffles it takes to
// bring their operands into matching halves, cheapest first. Packed constants
// carry a value and a sign per lane, so one multiply serves both halves.
// Unpaired operations run in one half of a vector.
#include <algorithm>
#include <map>
#include <stdexcept>
#include <tuple>

#include "emit.h"

namespace gen {
namespace {

enum class OpClass { kAddSub, kMulReal, kMulCplx, kMulI, kLoad };

OpClass ClassOf(Op op) {
    switch (op) {
        case Op::kAdd:
        case Op::kSub: return OpClass::kAddSub;
        case Op::kMulReal: return OpClass::kMulReal;
        case Op::kMulCplx: return OpClass::kMulCplx;
        case Op::kMulI: return OpClass::kMulI;
        case Op::kLoad: return OpClass::kLoad;
    }
    return OpClass::kLoad;
}

class PairedEmitter {
public:
    explicit PairedEmitter(const KernelInput& in) : in_(in), consts_(in.const_table, ElemType::kFloat, 4) {}

    KernelText Run() {
        const Dag& dag = in_.dag;
        std::vector<int> nodes = ReachableNodes(dag, in_.outputs);
        std::vector<int> level(dag.size(), 0);
        std::map<int, std::map<OpClass, std::vector<int>>> by_level;
        for (int id : nodes) {
            const Node& n = dag.at(id);
            if (n.op == Op::kLoad) {
                loads_[n.index] = id;
                continue;
            }
            level[id] = 1 + std::max(level[n.a], n.b >= 0 ? level[n.b] : 0);
            by_level[level[id]][ClassOf(n.op)].push_back(id);
        }
        EmitLoads();
        for (auto& [lvl, classes] : by_level)
            for (auto& [cls, members] : classes) EmitGroup(members);
        EmitStores();

        KernelText text;
        text.body = "    const __m128 vscale = _mm_set1_ps(scale);\n";
        for (const auto& [name, def] : prelude_) text.body += "    const __m128 " + name + " = " + def + ";\n";
        text.body += prog_.Emit("    ");
        text.constants = consts_.Definition();
        text.census = prog_.census;
        return text;
    }

private:
    struct Vec {
        int instr;
        int half[2];
    };

    std::string Name(int vec) const { return "v" + std::to_string(vec); }

    int NewVec(Program::Kind kind, const std::string& expr, const std::vector<int>& operand_vecs, int lo, int hi,
               bool shuffle = false) {
        int vec = static_cast<int>(vecs_.size());
        std::vector<int> deps;
        for (int o : operand_vecs) deps.push_back(vecs_[o].instr);
        // Operations keep the place the algorithm gave their values; loads
        // and shuffles move next to their first user.
        bool operation = kind == Program::Kind::kCompute && !shuffle;
        double position = operation ? std::min(lo >= 0 ? lo : hi, hi >= 0 ? hi : lo) : Program::kFollowUsers;
        int instr = prog_.Add(kind, "const __m128 " + Name(vec) + " = " + expr + ";", deps, position);
        vecs_.push_back(Vec{instr, {lo, hi}});
        if (lo >= 0) where_[lo].push_back({vec, 0});
        if (hi >= 0) where_[hi].push_back({vec, 1});
        if (lo >= 0 && hi >= 0) exact_.emplace(std::make_pair(lo, hi), vec);
        return vec;
    }

    std::string Mask(const std::string& name, bool l0, bool l1, bool l2, bool l3) {
        prelude_[name] = std::string("qvn::SignMaskPs(") + (l0 ? "true" : "false") + ", " + (l1 ? "true" : "false") +
                         ", " + (l2 ? "true" : "false") + ", " + (l3 ? "true" : "false") + ")";
        return name;
    }

    int FindIn(int node, int half) const {
        auto it = where_.find(node);
        if (it == where_.end()) return -1;
        for (auto [vec, h] : it->second)
            if (h == half) return vec;
        return -1;
    }
    std::pair<int, int> Locate(int node) const {
        auto it = where_.find(node);
        if (it == where_.end() || it->second.empty()) throw std::runtime_error("value used before it exists");
        return it->second.front();
    }

    int PairCost(int lo, int hi) const { return exact_.count({lo, hi}) ? 0 : 1; }
    int HalfCost(int node, int half) const { return FindIn(node, half) >= 0 ? 0 : 1; }

    // A vector with `lo` in the low half and `hi` in the high half.
    int Gather(int lo, int hi) {
        auto it = exact_.find({lo, hi});
        if (it != exact_.end()) return it->second;
        auto [v1, h1] = Locate(lo);
        auto [v2, h2] = Locate(hi);
        std::string imm = "_MM_SHUFFLE(" + std::to_string(2 * h2 + 1) + ", " + std::to_string(2 * h2) + ", " +
                          std::to_string(2 * h1 + 1) + ", " + std::to_string(2 * h1) + ")";
        ++prog_.census.shuffles;
        return NewVec(Program::Kind::kCompute, "_mm_shuffle_ps(" + Name(v1) + ", " + Name(v2) + ", " + imm + ")",
                      {v1, v2}, lo, hi, true);
    }

    // A vector with `node` in the given half (the other half is whatever).
    int GatherHalf(int node, int half) {
        int found = FindIn(node, half);
        if (found >= 0) return found;
        auto [v, h] = Locate(node);
        ++prog_.census.shuffles;
        int other = vecs_[v].half[1 - h];
        int lo = half == 0 ? node : other, hi = half == 0 ? other : node;
        return NewVec(Program::Kind::kCompute, "_mm_shuffle_ps(" + Name(v) + ", " + Name(v) + ", 0x4E)", {v}, lo, hi, true);
    }

    void EmitLoads() {
        const int n = in_.n;
        auto load_node = [&](int index) {
            auto it = loads_.find(index);
            return it == loads_.end() ? -1 : it->second;
        };
        for (int j = 0; 2 * j + 1 < n; ++j) {
            prog_.census.loads++;
            NewVec(Program::Kind::kLoad, "Mem::Load(x + " + std::to_string(4 * j) + ")", {}, load_node(2 * j),
                   load_node(2 * j + 1));
        }
        if (n % 2) {
            prog_.census.loads++;
            NewVec(Program::Kind::kLoad, "qvn::LoadLowComplex(x + " + std::to_string(2 * (n - 1)) + ")", {},
                   load_node(n - 1), -1);
        }
    }

    // Operands of an add/sub, in the order the operation takes them.
    struct Arrangement {
        int a_lo, b_lo, a_hi, b_hi, cost;
    };
    Arrangement BestAddSub(int lo, int hi) const {
        const Node& nl = in_.dag.at(lo);
        const Node& nh = in_.dag.at(hi);
        Arrangement best{-1, -1, -1, -1, 1 << 20};
        for (int sl = 0; sl < (nl.op == Op::kAdd ? 2 : 1); ++sl)
            for (int sh = 0; sh < (nh.op == Op::kAdd ? 2 : 1); ++sh) {
                Arrangement a{sl ? nl.b : nl.a, sl ? nl.a : nl.b, sh ? nh.b : nh.a, sh ? nh.a : nh.b, 0};
                a.cost = PairCost(a.a_lo, a.a_hi) + PairCost(a.b_lo, a.b_hi) + (nl.op != nh.op ? 1 : 0);
                if (a.cost < best.cost) best = a;
            }
        return best;
    }

    int PairCostOf(int lo, int hi) const {
        const Node& nl = in_.dag.at(lo);
        if (ClassOf(nl.op) == OpClass::kAddSub) return BestAddSub(lo, hi).cost;
        return PairCost(nl.a, in_.dag.at(hi).a);
    }

    void EmitGroup(const std::vector<int>& members) {
        std::vector<std::tuple<int, int, int>> candidates;  // cost, lo, hi
        for (size_t i = 0; i < members.size(); ++i)
            for (size_t j = i + 1; j < members.size(); ++j) {
                int a = members[i], b = members[j];
                candidates.emplace_back(PairCostOf(a, b), a, b);
                candidates.emplace_back(PairCostOf(b, a), b, a);
            }
        std::sort(candidates.begin(), candidates.end());
        std::map<int, bool> used;
        for (auto [cost, lo, hi] : candidates) {
            if (cost > 2) break;  // two shuffles still beat two half-empty operations
            if (used[lo] || used[hi]) continue;
            used[lo] = used[hi] = true;
            EmitPair(lo, hi);
        }
        for (int id : members)
            if (!used[id]) EmitSingle(id);
    }

    void EmitPair(int lo, int hi) {
        const Node& nl = in_.dag.at(lo);
        const Node& nh = in_.dag.at(hi);
        Census& c = prog_.census;
        switch (ClassOf(nl.op)) {
            case OpClass::kAddSub: {
                Arrangement a = BestAddSub(lo, hi);
                int va = Gather(a.a_lo, a.a_hi), vb = Gather(a.b_lo, a.b_hi);
                std::string expr;
                ++c.adds;
                if (nl.op == nh.op) {
                    expr = std::string(nl.op == Op::kAdd ? "_mm_add_ps(" : "_mm_sub_ps(") + Name(va) + ", " + Name(vb) + ")";
                } else {
                    // Mixed add/sub: flip the sign of the half that subtracts.
                    std::string mask = nl.op == Op::kSub ? Mask("neg_lo", true, true, false, false)
                                                         : Mask("neg_hi", false, false, true, true);
                    ++c.shuffles;
                    expr = "_mm_add_ps(" + Name(va) + ", _mm_xor_ps(" + Name(vb) + ", " + mask + "))";
                }
                NewVec(Program::Kind::kCompute, expr, {va, vb}, lo, hi);
                return;
            }
            case OpClass::kMulReal: {
                int vx = Gather(nl.a, nh.a);
                ++c.muls;
                NewVec(Program::Kind::kCompute,
                       "_mm_mul_ps(" + Name(vx) + ", " + consts_.Ref({nl.c, nl.c, nh.c, nh.c}) + ")", {vx}, lo, hi);
                return;
            }
            case OpClass::kMulCplx: {
                int vx = Gather(nl.a, nh.a);
                EmitComplexProduct(vx, {nl.c, nl.c, nh.c, nh.c}, {-nl.d, nl.d, -nh.d, nh.d}, lo, hi);
                return;
            }
            case OpClass::kMulI: {
                int vx = Gather(nl.a, nh.a);
                EmitTimesI(vx, lo, hi);
                return;
            }
            case OpClass::kLoad: break;
        }
        throw std::runtime_error("cannot pair loads");
    }

    void EmitSingle(int id) {
        const Node& n = in_.dag.at(id);
        Census& c = prog_.census;
        int half = 0;
        if (ClassOf(n.op) == OpClass::kAddSub) {
            half = HalfCost(n.a, 1) + HalfCost(n.b, 1) < HalfCost(n.a, 0) + HalfCost(n.b, 0) ? 1 : 0;
        } else {
            half = HalfCost(n.a, 1) < HalfCost(n.a, 0) ? 1 : 0;
        }
        int lo = half == 0 ? id : -1, hi = half == 0 ? -1 : id;
        switch (ClassOf(n.op)) {
            case OpClass::kAddSub: {
                int va = GatherHalf(n.a, half), vb = GatherHalf(n.b, half);
                ++c.adds;
                NewVec(Program::Kind::kCompute,
                       std::string(n.op == Op::kAdd ? "_mm_add_ps(" : "_mm_sub_ps(") + Name(va) + ", " + Name(vb) + ")",
                       {va, vb}, lo, hi);
                return;
            }
            case OpClass::kMulReal: {
                int vx = GatherHalf(n.a, half);
                ++c.muls;
                NewVec(Program::Kind::kCompute, "_mm_mul_ps(" + Name(vx) + ", " + consts_.Ref({n.c, n.c, n.c, n.c}) + ")",
                       {vx}, lo, hi);
                return;
            }
            case OpClass::kMulCplx:
                EmitComplexProduct(GatherHalf(n.a, half), {n.c, n.c, n.c, n.c}, {-n.d, n.d, -n.d, n.d}, lo, hi);
                return;
            case OpClass::kMulI: EmitTimesI(GatherHalf(n.a, half), lo, hi); return;
            case OpClass::kLoad: break;
        }
        throw std::runtime_error("unexpected load");
    }

    // (a, b) * (c, c) + (b, a) * (-d, d), per half.
    void EmitComplexProduct(int vx, const std::vector<Real>& re, const std::vector<Real>& im, int lo, int hi) {
        Census& c = prog_.census;
        c.muls += 2;
        ++c.adds;
        ++c.shuffles;
        std::string x = Name(vx);
        NewVec(Program::Kind::kCompute,
               "_mm_add_ps(_mm_mul_ps(" + x + ", " + consts_.Ref(re) + "), _mm_mul_ps(_mm_shuffle_ps(" + x + ", " + x +
                   ", 0xB1), " + consts_.Ref(im) + "))",
               {vx}, lo, hi);
    }

    // i * (a + ib) = -b + ia: swap the parts, negate the new real parts.
    void EmitTimesI(int vx, int lo, int hi) {
        prog_.census.shuffles += 2;
        std::string x = Name(vx);
        NewVec(Program::Kind::kCompute,
               "_mm_xor_ps(_mm_shuffle_ps(" + x + ", " + x + ", 0xB1), " + Mask("neg_re", true, false, true, false) + ")",
               {vx}, lo, hi);
    }

    std::string ScaleFor(bool neg_lo, bool neg_hi) {
        if (!neg_lo && !neg_hi) return "vscale";
        std::string name = std::string("scale_") + (neg_lo ? "n" : "p") + (neg_hi ? "n" : "p");
        prelude_[name] = "_mm_xor_ps(vscale, qvn::SignMaskPs(" + std::string(neg_lo ? "true, true" : "false, false") +
                         ", " + (neg_hi ? "true, true" : "false, false") + "))";
        return name;
    }

    void EmitStores() {
        const int n = in_.n;
        Census& c = prog_.census;
        for (int k = 0; 2 * k + 1 < n; ++k) {
            const Value& lo = in_.outputs[2 * k];
            const Value& hi = in_.outputs[2 * k + 1];
            if (lo.IsZero() || hi.IsZero()) throw std::runtime_error("zero output");
            int v = Gather(lo.node, hi.node);
            ++c.muls;
            ++c.stores;
            prog_.Add(Program::Kind::kStore,
                      "Mem::Store(y + " + std::to_string(4 * k) + ", _mm_mul_ps(" + Name(v) + ", " +
                          ScaleFor(lo.negated, hi.negated) + "));",
                      {vecs_[v].instr});
        }
        if (n % 2) {
            const Value& last = in_.outputs[n - 1];
            int half = FindIn(last.node, 0) >= 0 ? 0 : 1;
            int v = FindIn(last.node, half);
            ++c.muls;
            ++c.stores;
            prog_.Add(Program::Kind::kStore,
                      std::string(half == 0 ? "qvn::StoreLowComplex" : "qvn::StoreHighComplex") + "(y + " +
                          std::to_string(2 * (n - 1)) + ", _mm_mul_ps(" + Name(v) + ", " +
                          ScaleFor(last.negated, last.negated) + "));",
                      {vecs_[v].instr});
        }
    }

    const KernelInput& in_;
    ConstTable consts_;
    Program prog_;
    std::vector<Vec> vecs_;
    std::map<int, int> loads_;                          // input index -> node
    std::map<int, std::vector<std::pair<int, int>>> where_;  // node -> (vec, half)
    std::map<std::pair<int, int>, int> exact_;          // (lo, hi) -> vec
    std::map<std::string, std::string> prelude_;        // masks and signed scales
};

}  // namespace

KernelText EmitSsePaired(const KernelInput& in) { return PairedEmitter(in).Run(); }

}  // namespace gen
