// SSE2 emitter of the real DFT and Hartley kernels. It runs the scalar
// emitter's DAG and arithmetic (emit_real.h), but issues two independent
// operations of one kind as one packed instruction: an IEEE add, subtract,
// multiply or conversion gives the same bits in either lane of a vector as
// it does alone, so the results are those of the scalar body, bit for bit.
//
// Which two values share a vector is planned before any code is written:
// operations of one kind on one DAG level (independent of each other) are
// paired cheapest first, the cost being the shuffles it takes to bring their
// operands into matching lanes. Inputs at neighbouring addresses come in with
// one load, and outputs at neighbouring addresses leave with one store, so
// twin sub-transforms over neighbouring samples pair up without any shuffle.
// What finds no partner runs in one lane of a vector.
//
// Forms of a value. Double precision has one: a lane of a __m128d. Single
// precision adds in float and multiplies by constants in double, so a value
// lives in a "narrow" form (a lane among the low two of a __m128) or a
// "wide" one (a lane of a __m128d); products are born wide, everything else
// narrow, and cvtps2pd / cvtpd2ps move a whole pair between forms, each
// conversion exact or the one rounding the scalar body also makes.
//
// Float products. A float times a constant that is itself a float (0.5 of
// the three-point butterflies) is exact in double: 24 + 24 significant bits
// fit in 53, and no float product leaves double's exponent range. Rounding
// that exact product to float once is what a float multiply does, so where
// only float sums take such a product it is formed by mulps on the narrow
// operand: the same bits, without the two conversions.
//
// Signs. A sum and a difference share a vector by flipping the sign of the
// subtrahend's lane (a - b is a + (-b) in IEEE arithmetic). Where the
// subtrahend is a product that nothing else reads, and shares its vector
// with the other lane's operand, the product takes the negated constant
// instead ((-c)v is -(cv), and a conversion keeps the sign), and the
// flip, one instruction and a cycle on the chain, is gone. An output stored
// as 0 - s*v is formed as (-s)*v + 0, and a plain s*v that shares its vector
// gets + (-0): both identities hold for every value, zeros included.
#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <stdexcept>
#include <tuple>

#include "emit_real.h"
#include "lane_pairing.h"
#include "real_recording.h"

namespace gen {
namespace {

enum Form { kNarrow = 0, kWide = 1 };

// What a wider emitter needs to know of an instruction (real_recording.h).
struct Desc {
    RealVecOp op = RealVecOp::kOther;
    int l0 = 0, l1 = 0;
    Real c0 = 0, c1 = 0;
    bool n0 = false, n1 = false;
};

class RealSseEmitter {
public:
    RealSseEmitter(const RealKernelInput& in, const std::string& table, const RealPairing& pairing)
        : in_(in), dag_(in.dag), consts_(table, ElemType::kDouble, 2), float_consts_(table + "F", ElemType::kFloat, 4),
          pairing_(pairing) {}

    RealKernelText Run() {
        rec_.single = Single();
        rec_.source = in_.source;
        rec_.sources_adjacent = in_.sources_adjacent;
        rec_.kin = [this](int a, int b) { return dag_.Kin(a, b); };
        std::vector<RealValue> outputs;
        for (const RealStore& s : in_.stores) outputs.push_back(s.value);
        for (int id : ReachableNodes(dag_, outputs)) reachable_.push_back(id);
        exact_products_ = ExactProducts(in_);
        if (pairing_.twins) PlanTwins();
        if (pairing_.seeds != RealPairing::Seeds::kNone) PlanFromStores();
        PlanByLevel();
        ChooseFloatProducts();
        std::set<int> loads;
        for (int id : reachable_)
            if (IsLoad(id)) loads.insert(id);
        auto operands = [&](int node) { return std::vector<int>{dag_.at(node).a, dag_.at(node).b}; };
        // The order may part a pair whose operands wait on each other; the
        // signs are planned on the pairs that remain.
        const std::vector<std::pair<int, int>> order = OrderUnits(units_, loads, operands);
        PlanSignedProducts(order);
        for (const auto& [lo, hi] : order) {
            if (hi >= 0) {
                EmitPair(lo, hi);
            } else {
                EmitSingle(lo);
            }
        }
        EmitStores();

        RealKernelText text;
        for (const auto& [name, def] : prelude_) {
            text.body += "    const " + def.first + " " + name + " = " + def.second + ";\n";
            rec_.prelude.push_back({name, def});
        }
        // In issue order: 0.95-0.97 of the time in single precision.
        text.body += prog_.Emit("    ", false, Program::Order::kByLatency, in_.registers);
        text.constants = consts_.Definition() + float_consts_.Definition();
        text.census = census_;
        text.critical_path = prog_.CriticalPath();
        text.packed = true;
        return text;
    }

private:
    struct Vec {
        int instr;
        int lane[2];
        Form form;
    };

    // ---- Values and where they live.

    bool Single() const { return in_.single; }
    const char* Type(Form f) const { return f == kWide ? "__m128d" : "__m128"; }
    bool IsProduct(int node) const { return dag_.at(node).op == RealOp::kMul; }
    bool IsLoad(int node) const { return dag_.at(node).op == RealOp::kLoad; }
    bool IsFloatProduct(int node) const { return float_products_.count(node) != 0; }
    Form NaturalForm(int node) const {
        return Single() && (!IsProduct(node) || IsFloatProduct(node)) ? kNarrow : kWide;
    }

    bool IsExactProduct(int node) const { return exact_products_.count(node) != 0; }

    // A product shares its vector with another or runs alone; a vector of
    // exact products is a float product, one with any other product stays
    // in double.
    void ChooseFloatProducts() {
        for (auto [lo, hi] : units_)
            if (IsExactProduct(lo) && (hi < 0 || IsExactProduct(hi))) {
                float_products_.insert(lo);
                if (hi >= 0) float_products_.insert(hi);
            }
    }

    // Mixed sum/difference pairs whose subtrahend lane can come negated from
    // its product pair (see Signs above): the operands each such pair takes,
    // and the lanes of each product pair that take the negated constant.
    void PlanSignedProducts(const std::vector<std::pair<int, int>>& units) {
        std::map<int, int> uses;
        for (int id : reachable_) {
            const RealNode& n = dag_.at(id);
            if (n.a >= 0) ++uses[n.a];
            if (n.b >= 0) ++uses[n.b];
        }
        for (const RealStore& s : in_.stores) ++uses[s.value.node];
        std::set<std::pair<int, int>> product_pairs;
        for (auto [lo, hi] : units)
            if (hi >= 0 && IsProduct(lo) && IsProduct(hi)) product_pairs.insert({lo, hi});
        for (auto [lo, hi] : units) {
            if (hi < 0) continue;
            const RealNode& nl = dag_.at(lo);
            const RealNode& nh = dag_.at(hi);
            const bool sums = (nl.op == RealOp::kAdd || nl.op == RealOp::kSub) &&
                              (nh.op == RealOp::kAdd || nh.op == RealOp::kSub);
            if (!sums || nl.op == nh.op) continue;
            const bool sub_lo = nl.op == RealOp::kSub;
            const RealNode& diff = sub_lo ? nl : nh;  // the lane that subtracts
            const RealNode& sum = sub_lo ? nh : nl;
            if (uses[diff.b] != 1) continue;
            for (int k = 0; k < 2; ++k) {
                const int addend = k == 0 ? sum.b : sum.a, other = k == 0 ? sum.a : sum.b;
                const std::pair<int, int> product =
                    sub_lo ? std::make_pair(diff.b, addend) : std::make_pair(addend, diff.b);
                if (!product_pairs.count(product) || negated_lanes_.count(product)) continue;
                negated_lanes_[product] = {sub_lo, !sub_lo};
                signed_sums_[{lo, hi}] = {sub_lo ? diff.a : other, sub_lo ? other : diff.a, product.first,
                                          product.second};
                break;
            }
        }
    }

    // Double precision has a single form; single precision sums in float.
    Form SumForm() const { return Single() ? kNarrow : kWide; }
    std::string Name(int vec) const { return "v" + std::to_string(vec); }
    std::string Src(int node) const { return "x + (" + in_.source(dag_.at(node).index) + ")"; }

    int NewVec(Form form, const std::string& expr, const std::vector<int>& operand_vecs, int lo, int hi,
               Program::Kind kind = Program::Kind::kCompute, double position = Program::kFollowUsers,
               const Desc& desc = Desc()) {
        int vec = static_cast<int>(vecs_.size());
        std::vector<int> deps;
        for (int o : operand_vecs) deps.push_back(vecs_[o].instr);
        std::string comments;
        if (position != Program::kFollowUsers)
            for (int node : {lo, hi})
                if (node >= 0) {
                    auto label = dag_.labels().equal_range(node);
                    for (auto it = label.first; it != label.second; ++it) comments += "// " + it->second + "\n";
                }
        int instr = prog_.Add(kind, comments + "const " + Type(form) + " " + Name(vec) + " = " + expr + ";", deps, position);
        RealVecInstr r;
        r.kind = kind, r.text = comments + "const " + Type(form) + " " + Name(vec) + " = " + expr + ";";
        r.name = Name(vec), r.wide = form == kWide, r.operands = deps, r.position = position, r.op = desc.op;
        r.node[0] = lo, r.node[1] = hi;
        r.lane[0] = desc.l0, r.lane[1] = desc.l1, r.c[0] = desc.c0, r.c[1] = desc.c1, r.neg[0] = desc.n0,
        r.neg[1] = desc.n1;
        Record(instr, std::move(r));
        if (kind == Program::Kind::kLoad) load_instrs_.push_back(instr);
        vecs_.push_back(Vec{instr, {lo, hi}, form});
        if (lo >= 0) where_[form][lo].push_back({vec, 0});
        if (hi >= 0) where_[form][hi].push_back({vec, 1});
        if (lo >= 0 && hi >= 0) exact_[form].emplace(std::make_pair(lo, hi), vec);
        return vec;
    }

    // The same lanes in the other form: widening is exact, narrowing is the
    // rounding the scalar body makes where a float sum takes a product. A
    // product widened back from its rounding is not the product, so that
    // lane is left unnamed.
    int Convert(int vec, Form to) {
        ++census_.converts;
        const std::string expr = to == kWide ? "_mm_cvtps_pd(" + Name(vec) + ")" : "_mm_cvtpd_ps(" + Name(vec) + ")";
        auto keep = [&](int node) { return node >= 0 && (to == kNarrow || !IsProduct(node)) ? node : -1; };
        Desc desc;
        desc.op = to == kWide ? RealVecOp::kCvtWide : RealVecOp::kCvtNarrow;
        return NewVec(to, expr, {vec}, keep(vecs_[vec].lane[0]), keep(vecs_[vec].lane[1]), Program::Kind::kCompute,
                      Program::kFollowUsers, desc);
    }

    int LoadOne(int node) {
        ++census_.loads;
        const std::string expr = Single() ? "_mm_load_ss(" + Src(node) + ")" : "_mm_load_sd(" + Src(node) + ")";
        Desc desc;
        desc.op = RealVecOp::kLoadOne, desc.l0 = dag_.at(node).index;
        return NewVec(NaturalForm(node), expr, {}, node, -1, Program::Kind::kLoad, Program::kFollowUsers, desc);
    }

    // Some vector of form `f` holding `node`, and the lane.
    std::pair<int, int> Locate(int node, Form f) {
        auto it = where_[f].find(node);
        if (it != where_[f].end() && !it->second.empty()) return it->second.front();
        if (IsLoad(node) && NaturalForm(node) == f) return {LoadOne(node), 0};
        if (!Single() || NaturalForm(node) == f) throw std::runtime_error("value used before it exists");
        if (IsFloatProduct(node)) throw std::logic_error("a float product taken in double");
        auto [vec, lane] = Locate(node, NaturalForm(node));
        return {Convert(vec, f), lane};
    }

    bool LoadsAdjacent(int lo, int hi) const {
        return IsLoad(lo) && IsLoad(hi) && in_.sources_adjacent(dag_.at(lo).index, dag_.at(hi).index);
    }

    // A vector of form `f` with `lo` in lane 0 and `hi` in lane 1.
    int Gather(int lo, int hi, Form f) {
        auto it = exact_[f].find({lo, hi});
        if (it != exact_[f].end()) return it->second;
        if (Single()) {
            auto other = exact_[1 - f].find({lo, hi});
            const bool exact = f == kNarrow || (!IsProduct(lo) && !IsProduct(hi));
            if (exact && other != exact_[1 - f].end()) return Convert(other->second, f);
            if (NaturalForm(lo) != f && NaturalForm(hi) != f) return Convert(Gather(lo, hi, Form(1 - f)), f);
        }
        if (LoadsAdjacent(lo, hi)) {
            ++census_.loads;
            const std::string expr = Single() ? "qvn::LoadTwoFloats(" + Src(lo) + ")"
                                              : "_mm_loadu_pd(" + Src(lo) + ")";
            Desc desc;
            desc.op = RealVecOp::kLoadTwo, desc.l0 = dag_.at(lo).index;
            return NewVec(f, expr, {}, lo, hi, Program::Kind::kLoad, Program::kFollowUsers, desc);
        }
        if (!Single() && IsLoad(lo) && IsLoad(hi) && !where_[f].count(lo) && !where_[f].count(hi)) {
            // Two loads from anywhere: the second goes straight to lane 1.
            census_.loads += 2;
            Desc desc;
            desc.op = RealVecOp::kLoadApart, desc.l0 = dag_.at(lo).index, desc.l1 = dag_.at(hi).index;
            return NewVec(f, "_mm_loadh_pd(_mm_load_sd(" + Src(lo) + "), " + Src(hi) + ")", {}, lo, hi,
                          Program::Kind::kLoad, Program::kFollowUsers, desc);
        }
        auto [v1, l1] = Locate(lo, f);
        auto [v2, l2] = Locate(hi, f);
        const std::string a = Name(v1), b = Name(v2);
        std::string expr;
        Desc desc;
        desc.l0 = l1, desc.l1 = l2;
        desc.op = f == kWide ? RealVecOp::kShufPd : v1 == v2 ? RealVecOp::kShufPs : RealVecOp::kTakePs;
        if (f == kWide) {
            ++census_.shuffles;
            expr = "_mm_shuffle_pd(" + a + ", " + b + ", " + std::to_string(l1 | (l2 << 1)) + ")";
        } else if (v1 == v2) {
            ++census_.shuffles;
            expr = "_mm_shuffle_ps(" + a + ", " + a + ", _MM_SHUFFLE(3, 2, " + std::to_string(l2) + ", " +
                   std::to_string(l1) + "))";
            return NewVec(f, expr, {v1}, lo, hi, Program::Kind::kCompute, Program::kFollowUsers, desc);
        } else if (l1 == 0 && l2 == 0) {
            ++census_.shuffles;
            expr = "_mm_unpacklo_ps(" + a + ", " + b + ")";
        } else if (l1 == 0 && l2 == 1) {
            ++census_.shuffles;
            expr = "_mm_move_ss(" + b + ", " + a + ")";
        } else {
            census_.shuffles += 2;
            expr = "qvn::TakeLanes<" + std::to_string(l1) + ", " + std::to_string(l2) + ">(" + a + ", " + b + ")";
        }
        return NewVec(f, expr, {v1, v2}, lo, hi, Program::Kind::kCompute, Program::kFollowUsers, desc);
    }

    // A vector of form `f` with `node` in lane `half` (the other lane holds
    // whatever is at hand).
    int GatherHalf(int node, int half, Form f) {
        for (auto [vec, lane] : where_[f][node])
            if (lane == half) return vec;
        auto [vec, lane] = Locate(node, f);
        if (lane == half) return vec;
        ++census_.shuffles;
        const std::string a = Name(vec);
        const std::string expr = f == kWide ? "_mm_shuffle_pd(" + a + ", " + a + ", 1)"
                                            : "_mm_shuffle_ps(" + a + ", " + a + ", _MM_SHUFFLE(3, 2, 0, 1))";
        Desc desc;
        desc.op = f == kWide ? RealVecOp::kShufPd : RealVecOp::kShufPs;
        desc.l0 = 1, desc.l1 = 0;
        return NewVec(f, expr, f == kWide ? std::vector<int>{vec, vec} : std::vector<int>{vec}, vecs_[vec].lane[1],
                      vecs_[vec].lane[0], Program::Kind::kCompute, Program::kFollowUsers, desc);
    }

    int HalfCost(int node, int half, Form f) {
        for (auto [vec, lane] : where_[f][node])
            if (lane == half) return 0;
        return 1;
    }
    int PairCost(int lo, int hi, Form f) const {
        return exact_[f].count({lo, hi}) || LoadsAdjacent(lo, hi) ? 0 : 1;
    }

    // ---- Planning: which nodes share a vector, before any code is written.

    template <class Cost>
    OperandArrangement BestAddSub(int lo, int hi, Cost pair_cost) const {
        const RealNode& nl = dag_.at(lo);
        const RealNode& nh = dag_.at(hi);
        return gen::BestAddSub(nl, nl.op == RealOp::kAdd, nh, nh.op == RealOp::kAdd, pair_cost);
    }

    void PlanUnit(int lo, int hi) {
        int unit = static_cast<int>(units_.size());
        units_.push_back({lo, hi});
        plan_[lo] = {unit, 0};
        if (hi >= 0) plan_[hi] = {unit, 1};
        if (hi >= 0) Request(lo, hi);
    }

    // Notes the operand pairs a planned unit will gather, so that later
    // units needing the same pair count it as free.
    void Request(int lo, int hi) {
        const RealNode& nl = dag_.at(lo);
        const RealNode& nh = dag_.at(hi);
        if (nl.op == RealOp::kMul) {
            requested_.insert({nl.a, nh.a});
            return;
        }
        OperandArrangement a = BestAddSub(lo, hi, [&](int p, int q) { return PlannedPairCost(p, q); });
        requested_.insert({a.a_lo, a.a_hi});
        requested_.insert({a.b_lo, a.b_hi});
    }
    bool Planned(int node) const { return plan_.count(node) != 0; }

    int PlannedPairCost(int lo, int hi) const {
        if (IsLoad(lo) && IsLoad(hi)) return LoadsAdjacent(lo, hi) || requested_.count({lo, hi}) ? 0 : 1;
        if (requested_.count({lo, hi})) return 0;
        auto a = plan_.find(lo), b = plan_.find(hi);
        if (a == plan_.end() || b == plan_.end()) return 1;
        return a->second.first == b->second.first && a->second.second == 0 && b->second.second == 1 ? 0 : 1;
    }

    // Twin sub-transforms side by side, the largest first: everything inside
    // them pairs without a shuffle once their inputs are paired.
    void PlanTwins() {
        std::set<int> live(reachable_.begin(), reachable_.end());
        std::vector<const RealDag::TwinNodes*> groups;
        for (const auto& g : pairing_.crossed_twins ? dag_.crossed_twins() : dag_.twins()) groups.push_back(&g);
        if (pairing_.largest_twins_first)
            std::stable_sort(groups.begin(), groups.end(), [](auto* a, auto* b) { return a->size() > b->size(); });
        for (const auto* g : groups)
            for (auto [a, b] : *g) {
                if (!live.count(a) || !live.count(b) || Planned(a) || Planned(b) || IsLoad(a) || IsLoad(b)) continue;
                if (IsProduct(a) != IsProduct(b)) continue;
                PlanUnit(a, b);
            }
    }

    // Outputs stored side by side (or the two operands of each output sum),
    // and down from them the operand pairs they take, as long as both sides
    // do the same kind of operation.
    void PlanFromStores() {
        std::set<int> live(reachable_.begin(), reachable_.end());
        std::vector<std::pair<int, int>> work;
        const auto& stores = in_.stores;
        for (size_t i = 0; i < stores.size(); ++i) {
            if (stores[i].value.IsZero()) continue;
            const RealNode& n = dag_.at(stores[i].value.node);
            if (pairing_.seeds == RealPairing::Seeds::kOutputOperands) {
                if (n.op == RealOp::kAdd || n.op == RealOp::kSub) work.push_back({n.a, n.b});
            } else if (i + 1 < stores.size() && in_.stores_adjacent(static_cast<int>(i), static_cast<int>(i) + 1) &&
                       !stores[i + 1].value.IsZero()) {
                work.push_back({stores[i].value.node, stores[i + 1].value.node});
            }
        }
        while (!work.empty()) {
            auto [a, b] = work.back();
            work.pop_back();
            if (a == b || !live.count(a) || !live.count(b) || Planned(a) || Planned(b) || IsLoad(a) || IsLoad(b)) continue;
            if (IsProduct(a) != IsProduct(b)) continue;
            PlanUnit(a, b);
            const RealNode& na = dag_.at(a);
            const RealNode& nb = dag_.at(b);
            if (IsProduct(a)) {
                work.push_back({na.a, nb.a});
                continue;
            }
            OperandArrangement r = BestAddSub(a, b, [&](int p, int q) { return PlannedPairCost(p, q); });
            work.push_back({r.a_lo, r.a_hi});
            work.push_back({r.b_lo, r.b_hi});
        }
    }

    // Levels go in quarter steps: a sum is one level above its operands, a
    // product a quarter level, so rotations do not shift the stage after
    // them; operations of one kind on one level never depend on each other.
    // Within a level and kind, pairs are taken cheapest first, up to the
    // pairing limit (in shuffles and sign flips).
    void PlanByLevel() {
        std::map<int, int> level;
        std::map<int, std::map<int, std::vector<int>>> groups;  // level -> kind -> nodes
        for (int id : reachable_) {
            const RealNode& n = dag_.at(id);
            if (n.op == RealOp::kLoad) {
                level[id] = 0;
                continue;
            }
            int operands = std::max(level[n.a], n.b >= 0 ? level[n.b] : 0);
            level[id] = n.op == RealOp::kMul ? operands + 1 : (operands / 4 + 1) * 4;
            const int kind = n.op != RealOp::kMul ? 0 : pairing_.exact_products_apart && IsExactProduct(id) ? 2 : 1;
            if (!Planned(id)) groups[level[id]][kind].push_back(id);
        }
        auto cost = [&](int lo, int hi) {
            const RealNode& nl = dag_.at(lo);
            const RealNode& nh = dag_.at(hi);
            if (nl.op == RealOp::kMul) return PlannedPairCost(nl.a, nh.a);
            return BestAddSub(lo, hi, [&](int a, int b) { return PlannedPairCost(a, b); }).cost;
        };
        // Among pairs of one cost, two exact products (a float product) or
        // two others come before an exact product with another.
        auto mixed = [&](int lo, int hi) { return IsExactProduct(lo) != IsExactProduct(hi); };
        for (auto& [lvl, kinds] : groups)
            for (auto& [kind, members] : kinds) {
                // Cheapest first, one cost at a time: what a pair at one cost
                // gathers can make others cheaper.
                for (int limit = 0; limit <= pairing_.limit; ++limit) {
                    std::vector<std::tuple<int, bool, int, int>> candidates;  // cost, mixed, lo, hi
                    for (size_t i = 0; i < members.size(); ++i)
                        for (size_t j = i + 1; j < members.size(); ++j) {
                            if (Planned(members[i]) || Planned(members[j])) continue;
                            const bool m = mixed(members[i], members[j]);
                            candidates.emplace_back(cost(members[i], members[j]), m, members[i], members[j]);
                            candidates.emplace_back(cost(members[j], members[i]), m, members[j], members[i]);
                        }
                    std::sort(candidates.begin(), candidates.end());
                    for (auto [c, m, lo, hi] : candidates) {
                        if (c > limit) break;
                        if (Planned(lo) || Planned(hi)) continue;
                        PlanUnit(lo, hi);
                    }
                }
                for (int id : members)
                    if (!Planned(id)) PlanUnit(id, -1);
            }
    }

    // ---- Emission.

    std::string Constant(Real lo, Real hi) { return consts_.Ref({lo, hi}); }

    // Products with the constants lo, hi: a double product, or a float one
    // (the two constants repeated in the upper, unused float lanes).
    std::string Product(int vec, Form f, Real lo, Real hi) {
        if (f == kWide) return "_mm_mul_pd(" + Name(vec) + ", " + Constant(lo, hi) + ")";
        return "_mm_mul_ps(" + Name(vec) + ", " + float_consts_.Ref({lo, hi, lo, hi}) + ")";
    }
    static Desc ProductDesc(Form f, Real lo, Real hi) {
        Desc desc;
        desc.op = f == kWide ? RealVecOp::kMul : RealVecOp::kMulFloat, desc.c0 = lo, desc.c1 = hi;
        return desc;
    }

    std::string Mask(Form f, bool lo, bool hi) {
        std::string name = std::string("neg_") + (f == kWide ? "pd_" : "ps_") + (lo ? "n" : "p") + (hi ? "n" : "p");
        prelude_[name] = f == kWide ? std::make_pair(std::string("__m128d"), "qvn::SignMaskPd(" + Bool(lo) + ", " + Bool(hi) + ")")
                                    : std::make_pair(std::string("__m128"),
                                                     "qvn::SignMaskPs(" + Bool(lo) + ", " + Bool(hi) + ", false, false)");
        return name;
    }
    static std::string Bool(bool b) { return b ? "true" : "false"; }

    double Position(int lo, int hi) const { return hi >= 0 ? std::min(lo, hi) : lo; }

    void EmitPair(int lo, int hi) {
        const RealNode& nl = dag_.at(lo);
        const RealNode& nh = dag_.at(hi);
        if (nl.op == RealOp::kMul) {
            const Form f = NaturalForm(lo);
            int vx = Gather(nl.a, nh.a, f);
            ++census_.muls;
            Real c_lo = nl.c, c_hi = nh.c;
            auto negated = negated_lanes_.find({lo, hi});
            if (negated != negated_lanes_.end()) {
                if (negated->second.first) c_lo = -c_lo;
                if (negated->second.second) c_hi = -c_hi;
            }
            NewVec(f, Product(vx, f, c_lo, c_hi), {vx}, lo, hi, Program::Kind::kCompute, Position(lo, hi),
                   ProductDesc(f, c_lo, c_hi));
            return;
        }
        const Form f = SumForm();
        auto signed_sum = signed_sums_.find({lo, hi});
        if (signed_sum != signed_sums_.end()) {  // the subtrahend's product came negated
            const auto [a_lo, a_hi, b_lo, b_hi] = signed_sum->second;
            int va = Gather(a_lo, a_hi, f), vb = Gather(b_lo, b_hi, f);
            ++census_.adds;
            Desc desc;
            desc.op = RealVecOp::kAdd;
            NewVec(f, std::string("_mm_add") + (f == kWide ? "_pd(" : "_ps(") + Name(va) + ", " + Name(vb) + ")",
                   {va, vb}, lo, hi, Program::Kind::kCompute, Position(lo, hi), desc);
            return;
        }
        OperandArrangement a = BestAddSub(lo, hi, [&](int p, int q) { return PairCost(p, q, f); });
        int va = Gather(a.a_lo, a.a_hi, f), vb = Gather(a.b_lo, a.b_hi, f);
        const std::string sfx = f == kWide ? "_pd(" : "_ps(";
        std::string expr;
        Desc desc;
        ++census_.adds;
        if (nl.op == nh.op) {
            expr = std::string(nl.op == RealOp::kAdd ? "_mm_add" : "_mm_sub") + sfx + Name(va) + ", " + Name(vb) + ")";
            desc.op = nl.op == RealOp::kAdd ? RealVecOp::kAdd : RealVecOp::kSub;
        } else {
            ++census_.shuffles, ++census_.bitwise;  // the sign flip (a bitwise operation)
            const std::string mask = Mask(f, nl.op == RealOp::kSub, nh.op == RealOp::kSub);
            expr = "_mm_add" + sfx + Name(va) + ", _mm_xor" + sfx + Name(vb) + ", " + mask + "))";
            desc.op = RealVecOp::kAddFlip, desc.n0 = nl.op == RealOp::kSub, desc.n1 = nh.op == RealOp::kSub;
        }
        NewVec(f, expr, {va, vb}, lo, hi, Program::Kind::kCompute, Position(lo, hi), desc);
    }

    void EmitSingle(int id) {
        const RealNode& n = dag_.at(id);
        if (n.op == RealOp::kMul) {
            const Form f = NaturalForm(id);
            int half = HalfCost(n.a, 1, f) < HalfCost(n.a, 0, f) ? 1 : 0;
            int vx = GatherHalf(n.a, half, f);
            ++census_.muls;
            NewVec(f, Product(vx, f, n.c, n.c), {vx}, half == 0 ? id : -1, half == 0 ? -1 : id,
                   Program::Kind::kCompute, id, ProductDesc(f, n.c, n.c));
            return;
        }
        const Form f = SumForm();
        int half = HalfCost(n.a, 1, f) + HalfCost(n.b, 1, f) < HalfCost(n.a, 0, f) + HalfCost(n.b, 0, f) ? 1 : 0;
        int va = GatherHalf(n.a, half, f), vb = GatherHalf(n.b, half, f);
        ++census_.adds;
        const std::string sfx = f == kWide ? "_pd(" : "_ps(";
        Desc desc;
        desc.op = n.op == RealOp::kAdd ? RealVecOp::kAdd : RealVecOp::kSub;
        NewVec(f, std::string(n.op == RealOp::kAdd ? "_mm_add" : "_mm_sub") + sfx + Name(va) + ", " + Name(vb) + ")",
               {va, vb}, half == 0 ? id : -1, half == 0 ? -1 : id, Program::Kind::kCompute, id, desc);
    }

    // s * v per lane, or 0 - s * v for a negated lane, in form f.
    std::string Scaled(int vec, Form f, bool neg_lo, bool neg_hi) {
        const bool wide = f == kWide;
        const std::string sfx = wide ? "_pd(" : "_ps(";
        const std::string type = wide ? "__m128d" : "__m128";
        const std::string base = wide ? "wscale" : "nscale";
        prelude_[base] = {type, wide ? (Single() ? "_mm_set1_pd(double(scale))" : "_mm_set1_pd(scale)") : "_mm_set1_ps(scale)"};
        if (!neg_lo && !neg_hi) {
            ++census_.muls;
            return "_mm_mul" + sfx + Name(vec) + ", " + base + ")";
        }
        const std::string signs = std::string(neg_lo ? "n" : "p") + (neg_hi ? "n" : "p");
        prelude_[base + "_" + signs] = {type, "_mm_xor" + sfx + base + ", " + Mask(f, neg_lo, neg_hi) + ")"};
        prelude_["zero_" + std::string(wide ? "pd_" : "ps_") + signs] = {
            type, wide ? "qvn::SignMaskPd(" + Bool(!neg_lo) + ", " + Bool(!neg_hi) + ")"
                       : "qvn::SignMaskPs(" + Bool(!neg_lo) + ", " + Bool(!neg_hi) + ", false, false)"};
        ++census_.muls;
        ++census_.adds;
        return "_mm_add" + sfx + "_mm_mul" + sfx + Name(vec) + ", " + base + "_" + signs + "), zero_" +
               (wide ? "pd_" : "ps_") + signs + ")";
    }

    std::string Element(const RealStore& s) const { return "y + (" + s.element + ")"; }

    void Store(const std::string& text, std::vector<int> deps, const Desc& desc = Desc(), const std::string& element = "") {
        ++census_.stores;
        RealVecInstr r;
        r.kind = Program::Kind::kStore, r.text = text, r.operands = deps;
        r.op = desc.op, r.neg[0] = desc.n0, r.neg[1] = desc.n1, r.element = element;
        if (!deps.empty()) r.wide = rec_.instrs.at(deps[0]).wide;
        deps.insert(deps.end(), load_instrs_.begin(), load_instrs_.end());
        Record(prog_.Add(Program::Kind::kStore, text, deps), std::move(r));
    }

    void Record(int instr, RealVecInstr r) {
        if (instr != static_cast<int>(rec_.instrs.size())) throw std::logic_error("recording out of step");
        // Every count an instruction makes comes before it is added.
        r.census = {census_.adds - recorded_.adds,       census_.muls - recorded_.muls,
                    census_.shuffles - recorded_.shuffles, census_.converts - recorded_.converts,
                    census_.loads - recorded_.loads,     census_.stores - recorded_.stores,
                    census_.bitwise - recorded_.bitwise};
        recorded_ = census_;
        rec_.instrs.push_back(std::move(r));
    }

    // The form an output is scaled in: a single-precision product is still
    // in double and is scaled there, then rounded once.
    Form OutputForm(const RealValue& v) const { return NaturalForm(v.node); }

    void EmitStores() {
        const auto& stores = in_.stores;
        // Every load first: the destination may be the source. Loads a
        // kernel never needed (none, in practice) are made here too.
        for (size_t i = 0; i < stores.size(); ++i) {
            const RealStore& s = stores[i];
            const RealValue& v = s.value;
            if (v.IsZero()) {
                std::string text = "y[" + s.element + "] = " + (Single() ? "0.0f;" : "0.0;");
                if (!s.guard.empty()) text = "if constexpr (" + s.guard + ") " + text;
                Store(text, {});
                continue;
            }
            if (!s.guard.empty()) throw std::runtime_error("a guarded store of a computed value");
            const Form f = OutputForm(v);
            if (i + 1 < stores.size() && in_.stores_adjacent(static_cast<int>(i), static_cast<int>(i) + 1)) {
                const RealStore& t = stores[i + 1];
                if (!t.value.IsZero() && t.guard.empty() && OutputForm(t.value) == f) {
                    int vec = Gather(v.node, t.value.node, f);
                    std::string value = Scaled(vec, f, v.negated, t.value.negated);
                    if (Single() && f == kWide) {
                        ++census_.converts;
                        value = "_mm_cvtpd_ps(" + value + ")";
                    }
                    Desc desc;
                    desc.op = RealVecOp::kStoreTwo, desc.n0 = v.negated, desc.n1 = t.value.negated;
                    Store(Single() ? "qvn::StoreTwoFloats(" + Element(s) + ", " + value + ");"
                                   : "_mm_storeu_pd(" + Element(s) + ", " + value + ");",
                          {vecs_[vec].instr}, desc, Element(s));
                    ++i;
                    continue;
                }
            }
            auto [vec, lane] = Locate(v.node, f);
            std::string value = Scaled(vec, f, v.negated, v.negated);
            if (!Single()) {
                Store(std::string(lane == 0 ? "_mm_store_sd(" : "_mm_storeh_pd(") + Element(s) + ", " + value + ");",
                      {vecs_[vec].instr});
                continue;
            }
            if (f == kWide) {
                ++census_.converts;
                value = "_mm_cvtpd_ps(" + value + ")";
            }
            if (lane == 1) {
                ++census_.shuffles;
                value = "_mm_shuffle_ps(" + value + ", " + value + ", _MM_SHUFFLE(1, 1, 1, 1))";
            }
            Store("_mm_store_ss(" + Element(s) + ", " + value + ");", {vecs_[vec].instr});
        }
    }

public:
    const RealSseRecording& recording() const { return rec_; }

private:
    const RealKernelInput& in_;
    const RealDag& dag_;
    RealSseRecording rec_;
    RealCensus recorded_;  // the census as of the last recorded instruction
    ConstTable consts_;
    ConstTable float_consts_;  // constants of the float products
    RealPairing pairing_;
    Program prog_;
    RealCensus census_;
    std::vector<int> reachable_;
    std::set<int> exact_products_;  // products that may be float products
    std::set<int> float_products_;  // those that are
    std::map<std::pair<int, int>, std::pair<bool, bool>> negated_lanes_;  // product pair -> lanes negated
    std::map<std::pair<int, int>, std::array<int, 4>> signed_sums_;     // sum pair -> a lo, a hi, b lo, b hi
    std::vector<Vec> vecs_;
    std::vector<int> load_instrs_;
    std::vector<std::pair<int, int>> units_;                          // planned (lo, hi); hi -1 alone
    std::map<int, std::pair<int, int>> plan_;                         // node -> (unit, lane)
    std::set<std::pair<int, int>> requested_;                         // operand pairs planned units gather
    std::map<int, std::vector<std::pair<int, int>>> where_[2];        // form -> node -> (vec, lane)
    mutable std::map<std::pair<int, int>, int> exact_[2];             // form -> (lo, hi) -> vec
    std::map<std::string, std::pair<std::string, std::string>> prelude_;  // name -> (type, definition)
};

}  // namespace

std::set<int> ExactProducts(const RealKernelInput& in) {
    std::set<int> exact;
    if (!in.single || !in.float_products) return exact;
    const RealDag& dag = in.dag;
    std::vector<RealValue> outputs;
    std::set<int> wide_uses;
    for (const RealStore& s : in.stores) {
        outputs.push_back(s.value);
        if (!s.value.IsZero()) wide_uses.insert(s.value.node);
    }
    const std::vector<int> reachable = ReachableNodes(dag, outputs);
    auto is_product = [&](int id) { return dag.at(id).op == RealOp::kMul; };
    for (int id : reachable)
        if (is_product(id)) wide_uses.insert(dag.at(id).a);
    for (int id : reachable) {
        if (!is_product(id)) continue;
        const double c = static_cast<double>(dag.at(id).c);  // the constant the double product takes
        if (static_cast<float>(c) == c && !is_product(dag.at(id).a) && !wide_uses.count(id)) exact.insert(id);
    }
    return exact;
}

std::vector<RealKernelText> EmitRealPacked(const RealKernelInput& in, const std::string& table,
                                           const RealPairing& pairing, const std::vector<RealFusion>& fusions) {
    RealSseEmitter pair(in, table, pairing);
    std::vector<RealKernelText> bodies{pair.Run()};
    for (const RealFusion& fusion : fusions) bodies.push_back(FuseRealPairs(pair.recording(), table, fusion));
    return bodies;
}

}  // namespace gen
