// Pair emitter: two complex values per register, lanes (re0, im0, re1, im1)
// of whatever element the shape has: SSE2 single precision (__m128) or AVX
// double precision (__m256d, where every lane is a double and each half is
// 128 bits wide). Which two operations share a vector is planned before any
// code is written (SLP-style):
//   1. twin sub-transforms (siblings of one stage that built the same node
//      sequence) run side by side, outermost stages first, so neighbouring
//      columns share their loads and neighbouring rows their stores;
//   2. the remaining operations of one kind on one DAG level (independent of
//      each other) are paired cheapest first, the cost being the shuffles it
//      takes to bring their operands into matching halves;
//   3. what is left runs in one half of a vector.
// The planned units are then emitted in dependency order, with shuffles
// gathering operands whose halves do not line up. Packed constants carry a
// value and a sign per lane, so one multiply serves both halves.
#include <algorithm>
#include <map>
#include <set>
#include <stdexcept>
#include <tuple>

#include "emit.h"
#include "lane_pairing.h"
#include "vector_shape.h"

namespace gen {
namespace {

std::string MaskArgs(const std::vector<bool>& lanes) {
    std::string out;
    for (size_t i = 0; i < lanes.size(); ++i) out += std::string(i ? ", " : "") + (lanes[i] ? "true" : "false");
    return out;
}

class SsePairFloatShape : public PairShape {
public:
    ElemType Elem() const override { return ElemType::kFloat; }
    std::string Type() const override { return "__m128"; }
    std::string Op(const char* name) const override { return std::string("_mm_") + name + "_ps"; }
    std::string SwapParts(const std::string& x) const override { return "_mm_shuffle_ps(" + x + ", " + x + ", 0xB1)"; }
    std::string SignMask(const std::vector<bool>& lanes) const override {
        return "qvn::SignMaskPs(" + MaskArgs(lanes) + ")";
    }
    std::string Combine(const std::string& v1, int h1, const std::string& v2, int h2) const override {
        return "_mm_shuffle_ps(" + v1 + ", " + v2 + ", _MM_SHUFFLE(" + std::to_string(2 * h2 + 1) + ", " +
               std::to_string(2 * h2) + ", " + std::to_string(2 * h1 + 1) + ", " + std::to_string(2 * h1) + "))";
    }
    std::string SwapHalves(const std::string& x) const override { return "_mm_shuffle_ps(" + x + ", " + x + ", 0x4E)"; }
    std::string LoadLow(const std::string& address) const override { return "qvn::LoadLowComplex(" + address + ")"; }
    std::string StoreHalf(int half, const std::string& address, const std::string& value) const override {
        return std::string(half == 0 ? "qvn::StoreLowComplex" : "qvn::StoreHighComplex") + "(" + address + ", " +
               value + ");";
    }
};

class AvxPairDoubleShape : public PairShape {
public:
    ElemType Elem() const override { return ElemType::kDouble; }
    std::string Type() const override { return "__m256d"; }
    std::string Op(const char* name) const override { return std::string("_mm256_") + name + "_pd"; }
    std::string SwapParts(const std::string& x) const override { return "_mm256_permute_pd(" + x + ", 0x5)"; }
    std::string SignMask(const std::vector<bool>& lanes) const override {
        return "qvn::SignMask256Pd(" + MaskArgs(lanes) + ")";
    }
    // A blend or an insert where one does (one cycle), else a 128-bit permute.
    std::string Combine(const std::string& v1, int h1, const std::string& v2, int h2) const override {
        if (h1 == 0 && h2 == 1) return "_mm256_blend_pd(" + v1 + ", " + v2 + ", 0xC)";
        if (h1 == 0 && h2 == 0) return "_mm256_insertf128_pd(" + v1 + ", _mm256_castpd256_pd128(" + v2 + "), 1)";
        return "_mm256_permute2f128_pd(" + v1 + ", " + v2 + ", 0x" + std::to_string(2 + h2) + std::to_string(h1) + ")";
    }
    std::string SwapHalves(const std::string& x) const override {
        return "_mm256_permute2f128_pd(" + x + ", " + x + ", 0x01)";
    }
    std::string LoadLow(const std::string& address) const override { return "qvn::LoadComplexLow(" + address + ")"; }
    std::string StoreHalf(int half, const std::string& address, const std::string& value) const override {
        return std::string(half == 0 ? "qvn::StoreComplexLow" : "qvn::StoreComplexHigh") + "(" + address + ", " +
               value + ");";
    }
    bool LooseTwins() const override { return true; }
    bool DirectHalves() const override { return true; }
    std::string LoadPair(const std::string& lo, const std::string& hi) const override {
        return "qvn::LoadComplexPair(" + lo + ", " + hi + ")";
    }
    std::string LoadBoth(const std::string& address) const override {
        return "qvn::LoadComplexBoth(" + address + ")";
    }
};

enum class OpClass { kAddSub, kMulReal, kMulCplx, kMulI, kLoad };

OpClass ClassOf(Op op) {
    switch (op) {
        case Op::kAdd:
        case Op::kSub: return OpClass::kAddSub;
        case Op::kMulReal: return OpClass::kMulReal;
        case Op::kMulCplx: return OpClass::kMulCplx;
        case Op::kMulI: return OpClass::kMulI;
        case Op::kLoad: return OpClass::kLoad;
        case Op::kConj:
            case Op::kRealPart:
            case Op::kImagPart:
            case Op::kMulThree: throw std::runtime_error("real-kernel operation in a complex kernel");
    }
    return OpClass::kLoad;
}

class PairedEmitter {
public:
    PairedEmitter(const KernelInput& in, const PairShape& shape)
        : in_(in), shape_(shape), consts_(in.const_table, shape.Elem(), 4) {}

    KernelText Run() {
        const Dag& dag = in_.dag;
        for (int id : ReachableNodes(dag, in_.outputs)) {
            reachable_.insert(id);
            if (dag.at(id).op == Op::kLoad) loads_[dag.at(id).index] = id;
        }
        EmitLoads();
        PlanTwins();
        PlanByLevel();
        std::set<int> loads;
        for (const auto& [index, node] : loads_) loads.insert(node);
        auto operands = [&](int node) { return std::vector<int>{in_.dag.at(node).a, in_.dag.at(node).b}; };
        for (const auto& unit : OrderUnits(units_, loads, operands)) {
            if (unit.second >= 0) {
                EmitPair(unit.first, unit.second);
            } else {
                EmitSingle(unit.first);
            }
        }
        EmitStores();

        KernelText text;
        const std::string type = shape_.Type();
        text.body = "    const " + type + " vscale = " + shape_.Broadcast("scale") + ";\n";
        for (const auto& [name, def] : prelude_) text.body += "    const " + type + " " + name + " = " + def + ";\n";
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
        std::string comments;
        if (operation) {
            comments = StageComments(in_.dag, lo >= 0 ? lo : hi);
            if (lo >= 0 && hi >= 0) comments += StageComments(in_.dag, hi);
        }
        int instr = prog_.Add(kind, comments + "const " + shape_.Type() + " " + Name(vec) + " = " + expr + ";", deps, position);
        vecs_.push_back(Vec{instr, {lo, hi}});
        if (lo >= 0) where_[lo].push_back({vec, 0});
        if (hi >= 0) where_[hi].push_back({vec, 1});
        if (lo >= 0 && hi >= 0) exact_.emplace(std::make_pair(lo, hi), vec);
        return vec;
    }

    std::string Mask(const std::string& name, bool l0, bool l1, bool l2, bool l3) {
        prelude_[name] = shape_.SignMask({l0, l1, l2, l3});
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

    int PairCost(int lo, int hi) const { return exact_.count({lo, hi}) || (IsLoad(lo) && IsLoad(hi)) ? 0 : 1; }

    // Inputs of a shape that loads on demand.
    bool IsLoad(int node) const { return load_index_.count(node) != 0; }
    std::string InputAddress(int node) const { return "x + " + std::to_string(2 * load_index_.at(node)); }
    // An input not loaded yet goes into both halves (a broadcast is a plain load).
    void Materialize(int node) {
        if (!IsLoad(node) || where_.count(node)) return;
        prog_.census.loads++;
        NewVec(Program::Kind::kLoad, shape_.LoadBoth(InputAddress(node)), {}, node, node);
    }
    int HalfCost(int node, int half) const { return FindIn(node, half) >= 0 ? 0 : 1; }

    // A vector with `lo` in the low half and `hi` in the high half.
    int Gather(int lo, int hi) {
        auto it = exact_.find({lo, hi});
        if (it != exact_.end()) return it->second;
        if (IsLoad(lo) && IsLoad(hi) && lo != hi) {  // straight from memory, no shuffle
            const int il = load_index_.at(lo), ih = load_index_.at(hi);
            prog_.census.loads += ih == il + 1 ? 1 : 2;
            return NewVec(Program::Kind::kLoad,
                          ih == il + 1 ? "Mem::Load(" + InputAddress(lo) + ")"
                                       : shape_.LoadPair(InputAddress(lo), InputAddress(hi)),
                          {}, lo, hi);
        }
        Materialize(lo);
        Materialize(hi);
        it = exact_.find({lo, hi});
        if (it != exact_.end()) return it->second;
        auto [v1, h1] = Locate(lo);
        auto [v2, h2] = Locate(hi);
        ++prog_.census.shuffles;
        return NewVec(Program::Kind::kCompute, shape_.Combine(Name(v1), h1, Name(v2), h2), {v1, v2}, lo, hi, true);
    }

    // A vector with `node` in the given half (the other half is whatever).
    int GatherHalf(int node, int half) {
        Materialize(node);
        int found = FindIn(node, half);
        if (found >= 0) return found;
        auto [v, h] = Locate(node);
        ++prog_.census.shuffles;
        int other = vecs_[v].half[1 - h];
        int lo = half == 0 ? node : other, hi = half == 0 ? other : node;
        return NewVec(Program::Kind::kCompute, shape_.SwapHalves(Name(v)), {v}, lo, hi, true);
    }

    void EmitLoads() {
        const int n = in_.n;
        auto load_node = [&](int index) {
            auto it = loads_.find(index);
            return it == loads_.end() ? -1 : it->second;
        };
        if (shape_.DirectHalves()) {  // loaded on demand (Gather, Materialize)
            for (const auto& [index, node] : loads_) load_index_[node] = index;
            return;
        }
        for (int j = 0; 2 * j + 1 < n; ++j) {
            prog_.census.loads++;
            // Loaded pairs count as planned units too (negative ids).
            plan_[load_node(2 * j)] = {-2 - j, 0};
            plan_[load_node(2 * j + 1)] = {-2 - j, 1};
            NewVec(Program::Kind::kLoad, "Mem::Load(x + " + std::to_string(4 * j) + ")", {}, load_node(2 * j),
                   load_node(2 * j + 1));
        }
        if (n % 2) {
            prog_.census.loads++;
            NewVec(Program::Kind::kLoad, shape_.LoadLow("x + " + std::to_string(2 * (n - 1))), {},
                   load_node(n - 1), -1);
        }
    }

    // Operands of an add/sub, in the order the operation takes them.
    template <class Cost>
    OperandArrangement BestAddSub(int lo, int hi, Cost pair_cost) const {
        const Node& nl = in_.dag.at(lo);
        const Node& nh = in_.dag.at(hi);
        return gen::BestAddSub(nl, nl.op == Op::kAdd, nh, nh.op == Op::kAdd, pair_cost);
    }

    // ---- Planning: which nodes share a vector, before any code is written.

    void PlanUnit(int lo, int hi) {
        int unit = static_cast<int>(units_.size());
        units_.push_back({lo, hi});
        plan_[lo] = {unit, 0};
        if (hi >= 0) plan_[hi] = {unit, 1};
    }
    bool Planned(int node) const { return plan_.count(node) != 0; }

    // Twin sub-transforms run side by side, outermost stages first: their
    // loads are neighbours in memory, and so are their stores.
    // Neighbouring siblings (0, 1), (2, 3), ... whose nodes agree in kind
    // (an add may face a subtract).
    std::vector<Dag::Twins> LooseTwins() const {
        const Dag& dag = in_.dag;
        std::vector<Dag::Twins> out;
        for (const auto& group : dag.siblings())
            for (size_t i = 0; i + 1 < group.ranges.size(); i += 2) {
                auto [a, a_end] = group.ranges[i];
                auto [b, b_end] = group.ranges[i + 1];
                int count = a_end - a;
                if (count == 0 || count != b_end - b) continue;
                bool same = true;
                for (int k = 0; k < count && same; ++k) same = ClassOf(dag.at(a + k).op) == ClassOf(dag.at(b + k).op);
                if (same) out.push_back(Dag::Twins{group.depth, a, b, count});
            }
        return out;
    }

    void PlanTwins() {
        std::vector<Dag::Twins> twins = shape_.LooseTwins() ? LooseTwins() : in_.dag.twins();
        std::stable_sort(twins.begin(), twins.end(),
                         [](const Dag::Twins& a, const Dag::Twins& b) { return a.depth < b.depth; });
        for (const auto& t : twins)
            for (int k = 0; k < t.count; ++k) {
                int a = t.first_begin + k, b = t.second_begin + k;
                if (!reachable_.count(a) || !reachable_.count(b) || Planned(a) || Planned(b)) continue;
                PlanUnit(a, b);
            }
    }

    int PlannedPairCost(int lo, int hi) const {
        if (IsLoad(lo) && IsLoad(hi)) return 0;
        auto a = plan_.find(lo), b = plan_.find(hi);
        if (a == plan_.end() || b == plan_.end()) return 1;
        return a->second.first == b->second.first && a->second.second == 0 && b->second.second == 1 ? 0 : 1;
    }

    // The rest (rotations between stages, Rader products, direct forms) is
    // paired among operations of one kind on one level, cheapest first.
    // Levels go in quarter steps: an add or subtract is one level above its
    // operands, a multiplication a quarter level, so rotations do not shift
    // the stage after them; operations of one kind on one level never depend
    // on each other.
    void PlanByLevel() {
        const Dag& dag = in_.dag;
        std::map<int, int> level;
        std::map<int, std::map<OpClass, std::vector<int>>> groups;
        for (int id : reachable_) {
            const Node& n = dag.at(id);
            if (n.op == Op::kLoad) {
                level[id] = 0;
                continue;
            }
            int operands = std::max(level[n.a], n.b >= 0 ? level[n.b] : 0);
            level[id] = ClassOf(n.op) == OpClass::kAddSub ? (operands / 4 + 1) * 4 : operands + 1;
            if (!Planned(id)) groups[level[id]][ClassOf(n.op)].push_back(id);
        }
        auto cost = [&](int lo, int hi) {
            const Node& nl = dag.at(lo);
            const Node& nh = dag.at(hi);
            if (ClassOf(nl.op) != OpClass::kAddSub) return PlannedPairCost(nl.a, nh.a);
            auto c = [&](int a, int b) { return PlannedPairCost(a, b); };
            return BestAddSub(lo, hi, c).cost;
        };
        for (auto& [lvl, classes] : groups)
            for (auto& [cls, members] : classes) {
                std::vector<std::tuple<int, int, int>> candidates;  // cost, lo, hi
                for (size_t i = 0; i < members.size(); ++i)
                    for (size_t j = i + 1; j < members.size(); ++j) {
                        candidates.emplace_back(cost(members[i], members[j]), members[i], members[j]);
                        candidates.emplace_back(cost(members[j], members[i]), members[j], members[i]);
                    }
                std::sort(candidates.begin(), candidates.end());
                for (auto [c, lo, hi] : candidates) {
                    if (c > 2) break;  // two shuffles still beat two half-empty operations
                    if (Planned(lo) || Planned(hi)) continue;
                    PlanUnit(lo, hi);
                }
                for (int id : members)
                    if (!Planned(id)) PlanUnit(id, -1);
            }
    }

    // ---- Emission.

    void EmitPair(int lo, int hi) {
        const Node& nl = in_.dag.at(lo);
        const Node& nh = in_.dag.at(hi);
        Census& c = prog_.census;
        switch (ClassOf(nl.op)) {
            case OpClass::kAddSub: {
                OperandArrangement a = BestAddSub(lo, hi, [&](int p, int q) { return PairCost(p, q); });
                int va = Gather(a.a_lo, a.a_hi), vb = Gather(a.b_lo, a.b_hi);
                std::string expr;
                ++c.adds;
                if (nl.op == nh.op) {
                    expr = shape_.Call(nl.op == Op::kAdd ? "add" : "sub", Name(va), Name(vb));
                } else {
                    // Mixed add/sub: flip the sign of the half that subtracts.
                    std::string mask = nl.op == Op::kSub ? Mask("neg_lo", true, true, false, false)
                                                         : Mask("neg_hi", false, false, true, true);
                    ++c.shuffles;
                    expr = shape_.Call("add", Name(va), shape_.Call("xor", Name(vb), mask));
                }
                NewVec(Program::Kind::kCompute, expr, {va, vb}, lo, hi);
                return;
            }
            case OpClass::kMulReal: {
                int vx = Gather(nl.a, nh.a);
                ++c.muls;
                NewVec(Program::Kind::kCompute,
                       shape_.Call("mul", Name(vx), consts_.Ref({nl.c, nl.c, nh.c, nh.c})), {vx}, lo, hi);
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
                       shape_.Call(n.op == Op::kAdd ? "add" : "sub", Name(va), Name(vb)),
                       {va, vb}, lo, hi);
                return;
            }
            case OpClass::kMulReal: {
                int vx = GatherHalf(n.a, half);
                ++c.muls;
                NewVec(Program::Kind::kCompute, shape_.Call("mul", Name(vx), consts_.Ref({n.c, n.c, n.c, n.c})), {vx},
                       lo, hi);
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
               shape_.Call("add", shape_.Call("mul", x, consts_.Ref(re)),
                           shape_.Call("mul", shape_.SwapParts(x), consts_.Ref(im))),
               {vx}, lo, hi);
    }

    // i * (a + ib) = -b + ia: swap the parts, negate the new real parts.
    void EmitTimesI(int vx, int lo, int hi) {
        prog_.census.shuffles += 2;
        std::string x = Name(vx);
        NewVec(Program::Kind::kCompute, shape_.Call("xor", shape_.SwapParts(x), Mask("neg_re", true, false, true, false)),
               {vx}, lo, hi);
    }

    std::string ScaleFor(bool neg_lo, bool neg_hi) {
        if (!neg_lo && !neg_hi) return "vscale";
        std::string name = std::string("scale_") + (neg_lo ? "n" : "p") + (neg_hi ? "n" : "p");
        prelude_[name] = shape_.Call("xor", "vscale", shape_.SignMask({neg_lo, neg_lo, neg_hi, neg_hi}));
        return name;
    }

    // Register `vec` times the (negated) scale, made once.
    std::pair<std::string, int> Scaled(int vec, bool negated) {
        auto key = std::make_pair(vec, negated);
        auto it = scaled_.find(key);
        if (it != scaled_.end()) return it->second;
        ++prog_.census.muls;
        std::string name = "s" + std::to_string(vec) + (negated ? "n" : "");
        int instr = prog_.Add(Program::Kind::kCompute,
                              "const " + shape_.Type() + " " + name + " = " +
                                  shape_.Call("mul", Name(vec), ScaleFor(negated, negated)) + ";",
                              {vecs_[vec].instr});
        return scaled_[key] = {name, instr};
    }

    void EmitStores() {
        const int n = in_.n;
        Census& c = prog_.census;
        for (int k = 0; 2 * k + 1 < n; ++k) {
            const Value& lo = in_.outputs[2 * k];
            const Value& hi = in_.outputs[2 * k + 1];
            if (lo.IsZero() || hi.IsZero()) throw std::runtime_error("zero output");
            if (shape_.DirectHalves() && !exact_.count({lo.node, hi.node})) {
                // Each half from where it is: no shuffle, two half stores.
                for (int i = 0; i < 2; ++i) {
                    const Value& out = in_.outputs[2 * k + i];
                    Materialize(out.node);
                    auto [v, h] = Locate(out.node);
                    auto [name, instr] = Scaled(v, out.negated);
                    ++c.stores;
                    prog_.Add(Program::Kind::kStore, shape_.StoreHalf(h, "y + " + std::to_string(2 * (2 * k + i)), name),
                              {instr});
                }
                continue;
            }
            int v = Gather(lo.node, hi.node);
            ++c.muls;
            ++c.stores;
            prog_.Add(Program::Kind::kStore,
                      "Mem::Store(y + " + std::to_string(4 * k) + ", " +
                          shape_.Call("mul", Name(v), ScaleFor(lo.negated, hi.negated)) + ");",
                      {vecs_[v].instr});
        }
        if (n % 2) {
            const Value& last = in_.outputs[n - 1];
            int half = FindIn(last.node, 0) >= 0 ? 0 : 1;
            int v = FindIn(last.node, half);
            ++c.muls;
            ++c.stores;
            prog_.Add(Program::Kind::kStore,
                      shape_.StoreHalf(half, "y + " + std::to_string(2 * (n - 1)),
                                       shape_.Call("mul", Name(v), ScaleFor(last.negated, last.negated))),
                      {vecs_[v].instr});
        }
    }

    const KernelInput& in_;
    const PairShape& shape_;
    ConstTable consts_;
    Program prog_;
    std::vector<Vec> vecs_;
    std::map<int, int> loads_;                          // input index -> node
    std::set<int> reachable_;                           // nodes the outputs need, ascending
    std::vector<std::pair<int, int>> units_;            // planned (lo, hi); hi -1 for a single
    std::map<int, std::pair<int, int>> plan_;           // node -> (unit, half)
    std::map<int, std::vector<std::pair<int, int>>> where_;  // node -> (vec, half)
    std::map<std::pair<int, int>, int> exact_;          // (lo, hi) -> vec
    std::map<std::string, std::string> prelude_;        // masks and signed scales
    std::map<int, int> load_index_;                     // input node -> index, for shapes that load on demand
    std::map<std::pair<int, bool>, std::pair<std::string, int>> scaled_;  // (vec, negated) -> product
};

}  // namespace

const PairShape& SsePairFloat() {
    static const SsePairFloatShape shape;
    return shape;
}

const PairShape& AvxPairDouble() {
    static const AvxPairDoubleShape shape;
    return shape;
}

KernelText EmitPaired(const KernelInput& in, const PairShape& shape) { return PairedEmitter(in, shape).Run(); }

KernelText EmitSsePaired(const KernelInput& in) { return EmitPaired(in, SsePairFloat()); }

}  // namespace gen
