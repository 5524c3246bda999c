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
#include <cctype>
#include <map>
#include <set>
#include <stdexcept>
#include <tuple>

#include "complex_levels.h"
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

// One instruction of a pair kernel as the twin-halves fusion reads it: the
// expression with its operands as $0, $1, ... and its constant rows as #0,
// #1, ..., the operations it was counted for, and the nodes it holds.
struct PairInstr {
    Program::Kind kind;
    std::string expr;
    std::vector<int> operands;  // instruction ids
    double position;
    std::string comments;
    int lo, hi;                 // nodes in the two halves (compute and load)
    int store_offset;           // stores: y + store_offset, four floats
    std::string scale;          // stores: the scale register
    std::vector<std::vector<Real>> constants;
    Census counted;
};

struct PairRecording {
    std::vector<PairInstr> instrs;
    std::map<std::string, std::string> prelude;
    bool complete = true;  // false when the kernel used a form the fusion does not know
};

class PairedEmitter {
public:
    // `double_products`: products with constants are formed in double
    // precision (both complex values widened to one __m256d, multiplied by
    // double constants, rounded back), as the scalar kernels that need that
    // accuracy do; AVX targets only.
    PairedEmitter(const KernelInput& in, const PairShape& shape, bool double_products = false)
        : in_(in), shape_(shape), consts_(in.const_table, shape.Elem(), 4),
          double_consts_(in.const_table + "D", ElemType::kDouble, 4), double_products_(double_products) {}

    KernelText Run() {
        const Dag& dag = in_.dag;
        for (int id : ReachableNodes(dag, in_.outputs)) {
            reachable_.insert(id);
            if (dag.at(id).op == Op::kLoad) loads_[dag.at(id).index] = id;
        }
        EmitLoads();
        PlanTwins();
        PlanByLevel();
        NoteFixedOperands();
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
        text.body += prog_.Emit("    ", false, Program::Order::kByLatency, in_.registers);
        text.constants = consts_.Definition() + double_consts_.Definition();
        text.census = prog_.census;
        rec_.prelude = prelude_;
        if (in_.n % 2) rec_.complete = false;
        return text;
    }

    const PairRecording& recording() const { return rec_; }

private:
    // Keeps the instruction just added to prog_ for the twin-halves fusion.
    void Record(Program::Kind kind, const std::string& expr, const std::vector<int>& deps, double position,
                const std::string& comments, int lo, int hi, int store_offset, const std::string& scale,
                const std::vector<int>& operand_vecs) {
        PairInstr r{kind, "", deps, position, comments, lo, hi, store_offset, scale, {}, {}};
        const Census& c = prog_.census;
        r.counted = Census{c.adds - counted_.adds, c.muls - counted_.muls, c.shuffles - counted_.shuffles,
                           c.loads - counted_.loads, c.stores - counted_.stores};
        counted_ = c;
        const std::string table = in_.const_table + "[";
        const std::string load = "_mm_load_ps(" + table;
        for (size_t i = 0; i < expr.size();) {
            if (expr.compare(i, load.size(), load) == 0) {
                size_t close = expr.find("])", i);
                int row = std::stoi(expr.substr(i + load.size(), close - i - load.size()));
                r.expr += "#" + std::to_string(r.constants.size());
                r.constants.push_back(consts_.Row(row));
                i = close + 2;
                continue;
            }
            if (std::isalpha(static_cast<unsigned char>(expr[i])) || expr[i] == '_') {
                size_t j = i;
                while (j < expr.size() && (std::isalnum(static_cast<unsigned char>(expr[j])) || expr[j] == '_')) ++j;
                std::string word = expr.substr(i, j - i);
                bool operand = false;
                for (size_t k = 0; k < operand_vecs.size(); ++k)
                    if (word == Name(operand_vecs[k])) {
                        r.expr += "$" + std::to_string(k);
                        operand = true;
                        break;
                    }
                if (!operand) r.expr += word;
                i = j;
                continue;
            }
            r.expr += expr[i++];
        }
        rec_.instrs.push_back(std::move(r));
    }

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
        Record(kind, expr, deps, position, comments, lo, hi, -1, "", operand_vecs);
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
    // paired among operations of one kind on one level (UnplannedByLevel),
    // cheapest first.
    void PlanByLevel() {
        const Dag& dag = in_.dag;
        auto groups = UnplannedByLevel(dag, reachable_, [&](int id) { return Planned(id); });
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

    // Operand vectors that planned pairs need in exactly one order: both
    // halves subtract, or multiply. A pair of sums, free to swap each half's
    // operands, takes these where it can, so that the sum and the difference
    // of the same two values share their operand vectors instead of each
    // shuffling its own.
    void NoteFixedOperands() {
        for (auto [lo, hi] : units_) {
            if (hi < 0) continue;
            const Node& nl = in_.dag.at(lo);
            const Node& nh = in_.dag.at(hi);
            if (ClassOf(nl.op) != OpClass::kAddSub) {
                fixed_operands_.insert({nl.a, nh.a});
            } else if (nl.op == Op::kSub && nh.op == Op::kSub) {
                fixed_operands_.insert({nl.a, nh.a});
                fixed_operands_.insert({nl.b, nh.b});
            }
        }
    }

    // Shuffles for a vector holding (lo, hi), doubled, less one where a
    // planned pair needs that vector too (a tie-break between arrangements).
    int ArrangementCost(int lo, int hi) const {
        if (PairCost(lo, hi) == 0) return 0;
        return fixed_operands_.count({lo, hi}) ? 1 : 2;
    }

    // ---- Emission.

    void EmitPair(int lo, int hi) {
        const Node& nl = in_.dag.at(lo);
        const Node& nh = in_.dag.at(hi);
        Census& c = prog_.census;
        switch (ClassOf(nl.op)) {
            case OpClass::kAddSub: {
                OperandArrangement a = BestAddSub(lo, hi, [&](int p, int q) { return ArrangementCost(p, q); });
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
                NewVec(Program::Kind::kCompute, RealProduct(vx, nl.c, nh.c), {vx}, lo, hi);
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
            case OpClass::kMulImag:
                EmitRotatedProduct(Gather(nl.a, nh.a), nl.d, nh.d, lo, hi);
                return;
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
                NewVec(Program::Kind::kCompute, RealProduct(vx, n.c, n.c), {vx}, lo, hi);
                return;
            }
            case OpClass::kMulCplx:
                EmitComplexProduct(GatherHalf(n.a, half), {n.c, n.c, n.c, n.c}, {-n.d, n.d, -n.d, n.d}, lo, hi);
                return;
            case OpClass::kMulI: EmitTimesI(GatherHalf(n.a, half), lo, hi); return;
            case OpClass::kMulImag: EmitRotatedProduct(GatherHalf(n.a, half), n.d, n.d, lo, hi); return;
            case OpClass::kLoad: break;
        }
        throw std::runtime_error("unexpected load");
    }

    // Register vx times a real constant per half.
    std::string RealProduct(int vx, Real c_lo, Real c_hi) {
        Census& c = prog_.census;
        ++c.muls;
        if (!double_products_) return shape_.Call("mul", Name(vx), consts_.Ref({c_lo, c_lo, c_hi, c_hi}));
        c.shuffles += 2;  // the two conversions
        return "_mm256_cvtpd_ps(_mm256_mul_pd(_mm256_cvtps_pd(" + Name(vx) + "), " +
               double_consts_.Ref({c_lo, c_lo, c_hi, c_hi}) + "))";
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

    // i*d * (a + ib) = (b, a) * (-d, d) per half: the sign rides on the constant.
    void EmitRotatedProduct(int vx, Real d_lo, Real d_hi, int lo, int hi) {
        Census& c = prog_.census;
        ++c.muls;
        ++c.shuffles;
        const std::string swapped = shape_.SwapParts(Name(vx));
        std::string expr;
        if (!double_products_) {
            expr = shape_.Call("mul", swapped, consts_.Ref({-d_lo, d_lo, -d_hi, d_hi}));
        } else {
            c.shuffles += 2;  // the two conversions
            expr = "_mm256_cvtpd_ps(_mm256_mul_pd(_mm256_cvtps_pd(" + swapped + "), " +
                   double_consts_.Ref({-d_lo, d_lo, -d_hi, d_hi}) + "))";
        }
        NewVec(Program::Kind::kCompute, expr, {vx}, lo, hi);
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
        rec_.complete = false;
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
            Record(Program::Kind::kStore, "", {vecs_[v].instr}, 0, "", -1, -1, 4 * k,
                   ScaleFor(lo.negated, hi.negated), {v});
        }
        if (n % 2) {
            rec_.complete = false;
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
    ConstTable double_consts_;
    bool double_products_;
    Program prog_;
    std::vector<Vec> vecs_;
    std::map<int, int> loads_;                          // input index -> node
    std::set<int> reachable_;                           // nodes the outputs need, ascending
    std::vector<std::pair<int, int>> units_;            // planned (lo, hi); hi -1 for a single
    std::map<int, std::pair<int, int>> plan_;           // node -> (unit, half)
    std::map<int, std::vector<std::pair<int, int>>> where_;  // node -> (vec, half)
    std::map<std::pair<int, int>, int> exact_;          // (lo, hi) -> vec
    std::set<std::pair<int, int>> fixed_operands_;      // see NoteFixedOperands
    std::map<std::string, std::string> prelude_;        // masks and signed scales
    std::map<int, int> load_index_;                     // input node -> index, for shapes that load on demand
    std::map<std::pair<int, bool>, std::pair<std::string, int>> scaled_;  // (vec, negated) -> product
    PairRecording rec_;
    Census counted_;
};


// Twin halves (AVX, single precision): the two-per-__m128 kernel, with pairs
// of its instructions that do the same thing to different data (the same
// expression, constants aside) run as one __m256 instruction, one in each
// 128-bit half. Partners are looked for among the images of an
// instruction's nodes in a sibling sub-transform, so that the operands of
// the fused instruction are mostly fused already; other operands are put
// together with one insert (loads straight from memory), and a fused value
// an unfused instruction needs comes out of its half (the low half free,
// the high one extracted). Every lane computes what the 128-bit kernel
// computes, in the same order, so the results are bit for bit the same.
class TwinHalvesFusion {
public:
    TwinHalvesFusion(const KernelInput& in, const PairRecording& rec)
        : in_(in), rec_(rec), consts_(in.const_table, ElemType::kFloat, 8) {}

    KernelText Run() {
        if (!rec_.complete) throw std::runtime_error("kernel form not fusable");
        const int count = static_cast<int>(rec_.instrs.size());
        partner_.assign(count, -1);
        low_.assign(count, false);
        Pair();
        name128_.assign(count, "");
        name256_.assign(count, "");
        instr128_.assign(count, -1);
        instr256_.assign(count, -1);
        state_.assign(count, 0);
        for (int i = 0; i < count; ++i)
            if (rec_.instrs[i].kind == Program::Kind::kStore) EmitStore(i);

        KernelText text;
        text.body = "    const __m256 vscale8 = _mm256_set1_ps(scale);\n"
                    "    const __m128 vscale = _mm256_castps256_ps128(vscale8);\n";
        for (const auto& [name, def] : rec_.prelude) {
            text.body += "    const __m256 " + name + "8 = " + Widen(def) + ";\n";
            text.body += "    const __m128 " + name + " = _mm256_castps256_ps128(" + name + "8);\n";
        }
        text.body += prog_.Emit("    ", false, Program::Order::kByLatency, in_.registers);
        text.constants = consts_.Definition();
        text.census = prog_.census;
        return text;
    }

private:
    // 128-bit text to 256-bit text: every intrinsic widened (they work per
    // 128-bit half), sign masks duplicated, prelude names to their wide twins.
    std::string Widen(const std::string& text) const {
        std::string out;
        for (size_t i = 0; i < text.size();) {
            if (std::isalpha(static_cast<unsigned char>(text[i])) || text[i] == '_') {
                size_t j = i;
                while (j < text.size() && (std::isalnum(static_cast<unsigned char>(text[j])) || text[j] == '_' ||
                                           text[j] == ':'))
                    ++j;
                std::string word = text.substr(i, j - i);
                if (word.rfind("_mm_", 0) == 0) {
                    out += "_mm256_" + word.substr(4);
                } else if (word == "qvn::SignMaskPs") {
                    size_t close = text.find(')', j);
                    std::string args = text.substr(j + 1, close - j - 1);
                    out += "qvn::SignMask256Ps(" + args + ", " + args + ")";
                    j = close + 1;
                } else if (word == "vscale" || rec_.prelude.count(word)) {
                    out += word + "8";
                } else {
                    out += word;
                }
                i = j;
                continue;
            }
            out += text[i++];
        }
        return out;
    }

    bool Fusable(int i, int j) const {
        const PairInstr& a = rec_.instrs[i];
        const PairInstr& b = rec_.instrs[j];
        return i != j && a.kind == Program::Kind::kCompute && b.kind == Program::Kind::kCompute && a.expr == b.expr &&
               partner_[i] < 0 && partner_[j] < 0 && !Reaches(i, j) && !Reaches(j, i);
    }
    // Does `from` depend on `to`, counting a fused pair as one instruction?
    bool Reaches(int from, int to) const {
        std::vector<int> stack(rec_.instrs[from].operands);
        std::vector<bool> seen(rec_.instrs.size(), false);
        while (!stack.empty()) {
            int x = stack.back();
            stack.pop_back();
            if (x == to) return true;
            if (seen[x]) continue;
            seen[x] = true;
            for (int d : rec_.instrs[x].operands) stack.push_back(d);
            if (partner_[x] >= 0) stack.push_back(partner_[x]);
        }
        return false;
    }
    // How many operands of the pair (i low, j high) are fused the same way already.
    int Matched(int i, int j) const {
        int m = 0;
        const auto& a = rec_.instrs[i].operands;
        const auto& b = rec_.instrs[j].operands;
        for (size_t k = 0; k < a.size(); ++k) {
            const PairInstr& p = rec_.instrs[a[k]];
            const PairInstr& q = rec_.instrs[b[k]];
            if ((partner_[a[k]] == b[k] && low_[a[k]]) ||
                (p.kind == Program::Kind::kLoad && q.kind == Program::Kind::kLoad))
                ++m;
        }
        return m;
    }

    void Pair() {
        const int count = static_cast<int>(rec_.instrs.size());
        std::map<std::pair<int, int>, std::vector<int>> by_nodes;
        for (int i = 0; i < count; ++i)
            if (rec_.instrs[i].kind == Program::Kind::kCompute)
                by_nodes[{rec_.instrs[i].lo, rec_.instrs[i].hi}].push_back(i);
        // Node offsets between siblings of equal size.
        std::vector<std::tuple<int, int, int>> relations;  // begin, end, offset
        for (const auto& group : in_.dag.siblings())
            for (size_t a = 0; a < group.ranges.size(); ++a)
                for (size_t b = a + 1; b < group.ranges.size(); ++b) {
                    auto [ab, ae] = group.ranges[a];
                    auto [bb, be] = group.ranges[b];
                    if (ae - ab == be - bb && ae > ab) relations.emplace_back(ab, ae, bb - ab);
                }
        for (int i = 0; i < count; ++i) {
            const PairInstr& r = rec_.instrs[i];
            if (r.kind != Program::Kind::kCompute || partner_[i] >= 0) continue;
            int key = r.lo >= 0 ? r.lo : r.hi;
            int best = -1, best_matched = -1;
            for (auto [begin, end, offset] : relations) {
                if (key < begin || key >= end) continue;
                auto it = by_nodes.find({r.lo >= 0 ? r.lo + offset : -1, r.hi >= 0 ? r.hi + offset : -1});
                if (it == by_nodes.end()) continue;
                for (int j : it->second) {
                    if (!Fusable(i, j)) continue;
                    int m = Matched(i, j);
                    if (m > best_matched) best = j, best_matched = m;
                }
            }
            if (best >= 0) Fuse(i, best);
        }
        // Then any two instructions alike whose operands are fused already in
        // the same order (the rotations and transposes between stages), until
        // nothing more pairs up.
        std::map<std::string, std::vector<int>> by_expr;
        for (int i = 0; i < count; ++i)
            if (rec_.instrs[i].kind == Program::Kind::kCompute) by_expr[rec_.instrs[i].expr].push_back(i);
        for (bool changed = true; changed;) {
            changed = false;
            for (int i = 0; i < count; ++i) {
                const PairInstr& r = rec_.instrs[i];
                if (r.kind != Program::Kind::kCompute || partner_[i] >= 0 || r.operands.empty()) continue;
                const int need = static_cast<int>(r.operands.size());
                for (int j : by_expr[r.expr]) {
                    if (j == i || partner_[j] >= 0) continue;
                    int lo = -1;
                    if (Matched(i, j) == need) lo = i;
                    else if (Matched(j, i) == need) lo = j;
                    if (lo < 0 || !Fusable(i, j)) continue;
                    Fuse(lo, lo == i ? j : i);
                    changed = true;
                    break;
                }
            }
        }
    }

    void Fuse(int lo, int hi) {
        partner_[lo] = hi;
        partner_[hi] = lo;
        low_[lo] = true;
    }

    std::string ConstRef(const std::vector<Real>& low, const std::vector<Real>& high) {
        std::vector<Real> lanes = low;
        lanes.insert(lanes.end(), high.begin(), high.end());
        return consts_.Ref(lanes);
    }

    std::string Substitute(const PairInstr& r, const std::vector<std::string>& operands,
                           const std::vector<std::string>& constants) const {
        std::string out;
        for (size_t i = 0; i < r.expr.size();) {
            char c = r.expr[i];
            if (c == '$' || c == '#') {
                size_t j = i + 1;
                while (j < r.expr.size() && std::isdigit(static_cast<unsigned char>(r.expr[j]))) ++j;
                int k = std::stoi(r.expr.substr(i + 1, j - i - 1));
                out += c == '$' ? operands.at(k) : constants.at(k);
                i = j;
                continue;
            }
            out += c;
            ++i;
        }
        return out;
    }

    void Count(const Census& c) {
        Census& t = prog_.census;
        t.adds += c.adds;
        t.muls += c.muls;
        t.shuffles += c.shuffles;
    }

    int Define(Program::Kind kind, const std::string& type, const std::string& name, const std::string& expr,
               const std::vector<int>& deps, double position = Program::kFollowUsers, const std::string& comments = "") {
        return prog_.Add(kind, comments + "const " + type + " " + name + " = " + expr + ";", deps, position);
    }

    std::string Fresh(const char* prefix) { return prefix + std::to_string(fresh_++); }

    // Instruction i (and its partner) emitted.
    void Ensure(int i) {
        if (state_[i] == 2) return;
        if (state_[i] == 1) throw std::runtime_error("fused instructions depend on each other");
        state_[i] = 1;
        const PairInstr& r = rec_.instrs[i];
        const int j = partner_[i];
        if (r.kind == Program::Kind::kLoad) {  // loaded when a 128-bit user needs it
            state_[i] = 2;
            return;
        }
        if (j < 0) {
            std::vector<std::string> ops, cs;
            std::vector<int> deps;
            for (int o : r.operands) {
                ops.push_back(Get128(o));
                deps.push_back(instr128_[o]);
            }
            for (const auto& row : r.constants) {
                std::string ref = ConstRef(row, row);
                cs.push_back("_mm_load_ps" + ref.substr(ref.find('(')));
            }
            Count(r.counted);
            name128_[i] = Fresh("u");
            instr128_[i] = Define(Program::Kind::kCompute, "__m128", name128_[i], Substitute(r, ops, cs), deps,
                                  r.position, r.comments);
            state_[i] = 2;
            return;
        }
        state_[j] = 1;
        const int lo = low_[i] ? i : j, hi = low_[i] ? j : i;
        const PairInstr& a = rec_.instrs[lo];
        const PairInstr& b = rec_.instrs[hi];
        std::vector<std::string> ops, cs;
        std::vector<int> deps;
        for (size_t k = 0; k < a.operands.size(); ++k) {
            auto [name, instr] = Get256(a.operands[k], b.operands[k]);
            ops.push_back(name);
            deps.push_back(instr);
        }
        for (size_t k = 0; k < a.constants.size(); ++k) cs.push_back(ConstRef(a.constants[k], b.constants[k]));
        Count(a.counted);
        std::string name = Fresh("w");
        int instr = Define(Program::Kind::kCompute, "__m256", name, Widen(Substitute(a, ops, cs)), deps,
                           std::min(a.position, b.position), a.comments + b.comments);
        name256_[lo] = name256_[hi] = name;
        instr256_[lo] = instr256_[hi] = instr;
        state_[i] = state_[j] = 2;
    }

    std::string LoadText(int i) const {
        const PairInstr& r = rec_.instrs[i];
        const std::string prefix = "Mem::Load(";
        if (r.expr.rfind(prefix, 0) != 0) throw std::runtime_error("unknown load");
        return r.expr.substr(prefix.size(), r.expr.size() - prefix.size() - 1);  // the address
    }

    // Instruction i's value as a 128-bit register.
    std::string Get128(int i) {
        Ensure(i);
        if (!name128_[i].empty()) return name128_[i];
        const PairInstr& r = rec_.instrs[i];
        if (r.kind == Program::Kind::kLoad) {
            ++prog_.census.loads;
            name128_[i] = Fresh("u");
            instr128_[i] = Define(Program::Kind::kLoad, "__m128", name128_[i], "_mm_loadu_ps(" + LoadText(i) + ")", {});
            return name128_[i];
        }
        name128_[i] = Fresh("u");
        if (low_[i]) {
            instr128_[i] = Define(Program::Kind::kCompute, "__m128", name128_[i],
                                  "_mm256_castps256_ps128(" + name256_[i] + ")", {instr256_[i]});
        } else {
            ++prog_.census.shuffles;
            instr128_[i] = Define(Program::Kind::kCompute, "__m128", name128_[i],
                                  "_mm256_extractf128_ps(" + name256_[i] + ", 1)", {instr256_[i]});
        }
        return name128_[i];
    }

    // Instruction p's value in the low half and q's in the high half.
    std::pair<std::string, int> Get256(int p, int q) {
        Ensure(p);
        Ensure(q);
        if (partner_[p] == q && low_[p]) return {name256_[p], instr256_[p]};
        auto it = gathered_.find({p, q});
        if (it != gathered_.end()) return it->second;
        const PairInstr& a = rec_.instrs[p];
        const PairInstr& b = rec_.instrs[q];
        std::string name = Fresh("g");
        int instr;
        if (a.kind == Program::Kind::kLoad && b.kind == Program::Kind::kLoad) {
            prog_.census.loads += 2;
            instr = Define(Program::Kind::kLoad, "__m256", name,
                           "_mm256_insertf128_ps(_mm256_castps128_ps256(_mm_loadu_ps(" + LoadText(p) +
                               ")), _mm_loadu_ps(" + LoadText(q) + "), 1)",
                           {});
        } else if (partner_[p] >= 0 && partner_[q] >= 0) {
            // Halves of two fused registers: one blend or 128-bit permute.
            const int hp = low_[p] ? 0 : 1, hq = low_[q] ? 0 : 1;
            ++prog_.census.shuffles;
            std::string expr = hp == 0 && hq == 1 ? "_mm256_blend_ps(" + name256_[p] + ", " + name256_[q] + ", 0xF0)"
                               : "_mm256_permute2f128_ps(" + name256_[p] + ", " + name256_[q] + ", 0x" +
                                     std::to_string(2 + hq) + std::to_string(hp) + ")";
            instr = Define(Program::Kind::kCompute, "__m256", name, expr, {instr256_[p], instr256_[q]});
        } else {
            std::string low = Get128(p), high = Get128(q);
            ++prog_.census.shuffles;
            instr = Define(Program::Kind::kCompute, "__m256", name,
                           "_mm256_insertf128_ps(_mm256_castps128_ps256(" + low + "), " + high + ", 1)",
                           {instr128_[p], instr128_[q]});
        }
        return gathered_[{p, q}] = {name, instr};
    }

    void EmitStore(int s) {
        if (stored_.count(s)) return;
        const PairInstr& r = rec_.instrs[s];
        const int v = r.operands.at(0);
        Ensure(v);
        // A partner store: the value's fused twin stored with the same scale.
        if (partner_[v] >= 0) {
            const int w = partner_[v];
            for (int t = 0; t < static_cast<int>(rec_.instrs.size()); ++t) {
                const PairInstr& u = rec_.instrs[t];
                if (t == s || u.kind != Program::Kind::kStore || stored_.count(t) || u.operands.at(0) != w ||
                    u.scale != r.scale)
                    continue;
                const int lo = low_[v] ? s : t, hi = low_[v] ? t : s;
                std::string name = Fresh("t");
                ++prog_.census.muls;
                int instr = Define(Program::Kind::kCompute, "__m256", name,
                                   "_mm256_mul_ps(" + name256_[v] + ", " + r.scale + "8)", {instr256_[v]});
                const int off_lo = rec_.instrs[lo].store_offset, off_hi = rec_.instrs[hi].store_offset;
                if (off_hi == off_lo + 4) {
                    ++prog_.census.stores;
                    prog_.Add(Program::Kind::kStore, "Mem::Store(y + " + std::to_string(off_lo) + ", " + name + ");",
                              {instr});
                } else {
                    prog_.census.stores += 2;
                    prog_.Add(Program::Kind::kStore,
                              "_mm_storeu_ps(y + " + std::to_string(off_lo) + ", _mm256_castps256_ps128(" + name + "));",
                              {instr});
                    prog_.Add(Program::Kind::kStore,
                              "_mm_storeu_ps(y + " + std::to_string(off_hi) + ", _mm256_extractf128_ps(" + name + ", 1));",
                              {instr});
                }
                stored_.insert(s);
                stored_.insert(t);
                return;
            }
        }
        std::string value = Get128(v);
        ++prog_.census.muls;
        ++prog_.census.stores;
        prog_.Add(Program::Kind::kStore,
                  "_mm_storeu_ps(y + " + std::to_string(r.store_offset) + ", _mm_mul_ps(" + value + ", " + r.scale + "));",
                  {instr128_[v]});
        stored_.insert(s);
    }

    const KernelInput& in_;
    const PairRecording& rec_;
    ConstTable consts_;
    Program prog_;
    std::vector<int> partner_;
    std::vector<bool> low_;
    std::vector<std::string> name128_, name256_;
    std::vector<int> instr128_, instr256_;
    std::vector<int> state_;  // 0 not yet, 1 being emitted, 2 done
    std::map<std::pair<int, int>, std::pair<std::string, int>> gathered_;
    std::set<int> stored_;
    int fresh_ = 0;
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

KernelText EmitSsePairedDoubleProducts(const KernelInput& in) {
    return PairedEmitter(in, SsePairFloat(), true).Run();
}

KernelText EmitTwinHalves(const KernelInput& in) {
    PairedEmitter pair(in, SsePairFloat());
    pair.Run();
    return TwinHalvesFusion(in, pair.recording()).Run();
}

}  // namespace gen
