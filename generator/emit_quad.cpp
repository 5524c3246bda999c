// Quad emitter: four complex values per register, in two halves (slots 0, 1
// low; 2, 3 high): four complex floats per __m256. It plans like the pair
// emitter (emit_sse_paired.cpp), one level up:
//   1. four sibling sub-transforms of one stage whose node sequences agree
//      (up to add against subtract) run side by side, outermost stages
//      first, so four neighbouring columns share one load;
//   2. siblings left without partners run as pairs in one half;
//   3. the remaining operations of one kind on one DAG level are paired,
//      and the pairs of one kind and level merged into quads, cheapest
//      first (the cost being the shuffles that line up their operands);
//   4. what is left fills part of a register.
// On shapes that mask operations per slot (AVX-512), step 3 is preceded by
// one more: the products of the values of one planned register by
// different constants (rotation, real factor, i or none) share a register.
// Operands whose slots do not line up are gathered with the cheapest of:
// one in-half shuffle, a combination of two halves (each found in a register
// or made by one in-half shuffle, as in a 4 x 4 transpose), or a general
// permute-and-blend. Every node keeps the DAG's operation, operands and
// constants, so the results are the scalar DAG's bit for bit.
#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <set>
#include <stdexcept>
#include <tuple>

#include "complex_levels.h"
#include "emit.h"
#include "vector_shape.h"

namespace gen {
namespace {

using Quad = std::array<int, 4>;  // node per slot, -1: free
constexpr int kFree = -1;

std::string Bools(const std::vector<bool>& v) {
    std::string out;
    for (size_t i = 0; i < v.size(); ++i) out += std::string(i ? ", " : "") + (v[i] ? "true" : "false");
    return out;
}

std::string Hex(int v) {
    static const char* digits = "0123456789ABCDEF";
    std::string out = "0x";
    if (v >= 16) out += digits[(v >> 4) & 15];
    return out + digits[v & 15];
}

class AvxQuadFloatShape : public QuadShape {
public:
    ElemType Elem() const override { return ElemType::kFloat; }
    std::string Type() const override { return "__m256"; }
    std::string Op(const char* name) const override { return std::string("_mm256_") + name + "_ps"; }
    std::string SwapParts(const std::string& x) const override { return "_mm256_permute_ps(" + x + ", 0xB1)"; }
    std::string SignMask(const std::vector<bool>& lanes) const override {
        return "qvn::SignMask256Ps(" + Bools(lanes) + ")";
    }
    std::string CombineHalves(const std::string& v1, int h1, const std::string& v2, int h2) const override {
        if (h1 == 0 && h2 == 1) return "_mm256_blend_ps(" + v1 + ", " + v2 + ", 0xF0)";
        if (h1 == 0 && h2 == 0) return "_mm256_insertf128_ps(" + v1 + ", _mm256_castps256_ps128(" + v2 + "), 1)";
        return "_mm256_permute2f128_ps(" + v1 + ", " + v2 + ", 0x" + std::to_string(2 + h2) + std::to_string(h1) + ")";
    }
    std::string ShuffleInHalves(const std::string& a, int i, const std::string& b, int j) const override {
        return "_mm256_shuffle_ps(" + a + ", " + b + ", _MM_SHUFFLE(" + std::to_string(2 * j + 1) + ", " +
               std::to_string(2 * j) + ", " + std::to_string(2 * i + 1) + ", " + std::to_string(2 * i) + "))";
    }
    std::string Permute(const std::string& x, const std::vector<int>& from) const override {
        std::vector<int> f(from);
        for (int s = 0; s < 4; ++s)
            if (f[s] < 0) f[s] = s;
        // Same pattern in both halves: one in-half permute.
        if (f[0] < 2 && f[1] < 2 && f[2] == f[0] + 2 && f[3] == f[1] + 2)
            return "_mm256_permute_ps(" + x + ", _MM_SHUFFLE(" + std::to_string(2 * f[1] + 1) + ", " +
                   std::to_string(2 * f[1]) + ", " + std::to_string(2 * f[0] + 1) + ", " + std::to_string(2 * f[0]) +
                   "))";
        std::string idx;
        for (int s = 0; s < 4; ++s)
            idx += (s ? ", " : "") + std::to_string(2 * f[s]) + ", " + std::to_string(2 * f[s] + 1);
        return "_mm256_permutevar8x32_ps(" + x + ", _mm256_setr_epi32(" + idx + "))";
    }
    std::string Blend(const std::string& a, const std::string& b, const std::vector<bool>& from_b) const override {
        int imm = 0;
        for (int s = 0; s < 4; ++s)
            if (from_b[s]) imm |= 3 << (2 * s);
        return "_mm256_blend_ps(" + a + ", " + b + ", " + Hex(imm) + ")";
    }
    std::string LoadLow(const std::string& address, int count) const override {
        if (count == 4) return "Mem::Load(" + address + ")";
        return "qvn::LoadComplexesLow<" + std::to_string(count) + ">(" + address + ")";
    }
    std::string StoreLow(const std::string& address, int count, const std::string& value) const override {
        if (count == 4) return "Mem::Store(" + address + ", " + value + ");";
        return "qvn::StoreComplexesLow<" + std::to_string(count) + ">(" + address + ", " + value + ");";
    }
};

// The same registers on an AVX-512 target (VL): operations masked per slot.
class Avx512VlQuadFloatShape : public AvxQuadFloatShape {
public:
    bool MaskedOps() const override { return true; }
    std::string MaskedCall(const char* name, const std::string& src, const std::vector<bool>& slots,
                           const std::string& a, const std::string& b) const override {
        int imm = 0;
        for (int s = 0; s < 4; ++s)
            if (slots[s]) imm |= 3 << (2 * s);
        return "_mm256_mask_" + std::string(name) + "_ps(" + src + ", " + Hex(imm) + ", " + a + ", " + b + ")";
    }
};

// Which register holds which node in which slot: the registers the kernel
// has made so far, or those the plan will make.
struct RegFile {
    std::vector<Quad> regs;
    std::map<int, std::vector<int>> where;  // node -> registers holding it
    int Add(const Quad& slots) {
        int r = static_cast<int>(regs.size());
        regs.push_back(slots);
        for (int s = 0; s < 4; ++s)
            if (slots[s] >= 0) where[slots[s]].push_back(r);
        return r;
    }
    bool Matches(int reg, int slot, int node) const { return node < 0 || regs[reg].at(slot) == node; }
    std::vector<int> Holders(const std::vector<int>& nodes) const {
        std::set<int> out;
        for (int n : nodes) {
            if (n < 0) continue;
            auto it = where.find(n);
            if (it != where.end()) out.insert(it->second.begin(), it->second.end());
        }
        return {out.begin(), out.end()};
    }
};

class QuadEmitter {
public:
    QuadEmitter(const KernelInput& in, const QuadShape& shape)
        : in_(in), shape_(shape), consts_(in.const_table, shape.Elem(), 8) {}

    KernelText Run() {
        const Dag& dag = in_.dag;
        for (int id : ReachableNodes(dag, in_.outputs)) {
            reachable_.insert(id);
            if (dag.at(id).op == Op::kLoad) loads_[dag.at(id).index] = id;
        }
        ComputeAncestors();
        EmitLoads();
        PlanSiblings();
        if (shape_.MaskedOps()) PlanMixedProducts();
        PlanByLevel();
        NoteFixedOperands();
        for (const Quad& unit : OrderUnits()) EmitUnit(unit);
        EmitStores();

        KernelText text;
        const std::string type = shape_.Type();
        text.body = "    const " + type + " vscale = " + shape_.Broadcast("scale") + ";\n";
        for (const auto& [name, def] : prelude_) text.body += "    const " + type + " " + name + " = " + def + ";\n";
        text.body += prog_.Emit("    ", false, Program::Order::kByLatency, in_.registers);
        text.constants = consts_.Definition();
        text.census = prog_.census;
        return text;
    }

private:
    struct Vec {
        int instr;
        Quad slot;
    };

    // ---- Dependencies: a unit never holds a node and one of its ancestors.

    void ComputeAncestors() {
        const int n = in_.dag.size();
        words_ = (n + 63) / 64;
        anc_.assign(static_cast<size_t>(n) * words_, 0);
        for (int id : reachable_) {
            const Node& node = in_.dag.at(id);
            for (int o : {node.a, node.b}) {
                if (o < 0) continue;
                for (int w = 0; w < words_; ++w) anc_[id * words_ + w] |= anc_[o * words_ + w];
                anc_[id * words_ + o / 64] |= std::uint64_t{1} << (o % 64);
            }
        }
    }
    bool Depends(int node, int on) const { return (anc_[node * words_ + on / 64] >> (on % 64)) & 1; }
    bool Independent(const std::vector<int>& nodes) const {
        for (size_t i = 0; i < nodes.size(); ++i)
            for (size_t j = 0; j < nodes.size(); ++j)
                if (i != j && (nodes[i] == nodes[j] || Depends(nodes[i], nodes[j]))) return false;
        return true;
    }

    // ---- Registers and where every node is.

    std::string Name(int vec) const { return "v" + std::to_string(vec); }

    int NewVec(Program::Kind kind, const std::string& expr, const std::vector<int>& operand_vecs, const Quad& slots,
               bool shuffle = false) {
        int vec = static_cast<int>(vecs_.size());
        std::vector<int> deps;
        for (int o : operand_vecs) deps.push_back(vecs_[o].instr);
        bool operation = kind == Program::Kind::kCompute && !shuffle;
        int first = kFree;
        for (int s : slots)
            if (s >= 0 && (first < 0 || s < first)) first = s;
        double position = operation ? first : Program::kFollowUsers;
        std::string comments;
        if (operation)
            for (int s : slots)
                if (s >= 0) comments += StageComments(in_.dag, s);
        int instr = prog_.Add(kind, comments + "const " + shape_.Type() + " " + Name(vec) + " = " + expr + ";", deps,
                              position);
        vecs_.push_back(Vec{instr, slots});
        made_.Add(slots);
        return vec;
    }

    // ---- Gathering operands: the cheapest way to a register holding `t`.

    struct HalfSource {
        int cost = 1 << 20;
        int vec = -1, half = 0;           // found: half `half` of `vec`
        int x = -1, i = 0, y = -1, j = 0;  // made: ShuffleInHalves(x, i, y, j), half `half`
    };

    static HalfSource FindHalf(const RegFile& f, int t0, int t1) {
        HalfSource best;
        std::vector<int> holders = f.Holders({t0, t1});
        for (int v : holders)
            for (int h = 0; h < 2; ++h)
                if (f.Matches(v, 2 * h, t0) && f.Matches(v, 2 * h + 1, t1)) {
                    best.cost = 0;
                    best.vec = v;
                    best.half = h;
                    return best;
                }
        for (int x : holders)
            for (int y : holders)
                for (int h = 0; h < 2; ++h)
                    for (int i = 0; i < 2; ++i)
                        for (int j = 0; j < 2; ++j)
                            if (f.Matches(x, 2 * h + i, t0) && f.Matches(y, 2 * h + j, t1) && best.cost > 1) {
                                best.cost = 1;
                                best.half = h;
                                best.x = x;
                                best.i = i;
                                best.y = y;
                                best.j = j;
                            }
        return best;
    }

    struct GatherPlan {
        int kind = -1;  // 0 exact, 1 in-half shuffle, 2 halves, 3 permute and blend
        int cost = 1 << 20;
        int vec = -1;
        int x = -1, i = 0, y = -1, j = 0;
        HalfSource lo, hi;
        std::vector<std::pair<int, Quad>> parts;  // (register, source slot per target slot)
    };

    static GatherPlan PlanGather(const RegFile& f, const Quad& t) {
        GatherPlan plan;
        std::vector<int> nodes(t.begin(), t.end());
        std::vector<int> holders = f.Holders(nodes);
        for (int v : holders) {
            bool all = true;
            for (int s = 0; s < 4; ++s) all = all && f.Matches(v, s, t[s]);
            if (all) {
                plan.kind = 0;
                plan.cost = 0;
                plan.vec = v;
                return plan;
            }
        }
        for (int x : holders)
            for (int y : holders)
                for (int i = 0; i < 2; ++i)
                    for (int j = 0; j < 2; ++j)
                        if (plan.cost > 1 && f.Matches(x, i, t[0]) && f.Matches(x, 2 + i, t[2]) &&
                            f.Matches(y, j, t[1]) && f.Matches(y, 2 + j, t[3])) {
                            plan.kind = 1;
                            plan.cost = 1;
                            plan.x = x;
                            plan.i = i;
                            plan.y = y;
                            plan.j = j;
                        }
        if (plan.cost == 1) return plan;
        {
            HalfSource lo = FindHalf(f, t[0], t[1]), hi = FindHalf(f, t[2], t[3]);
            // A free half is whatever the other half's source has there.
            if (t[0] < 0 && t[1] < 0) lo = hi;
            if (t[2] < 0 && t[3] < 0) hi = lo;
            if (lo.cost <= 1 && hi.cost <= 1) {
                bool same = lo.cost == 1 && hi.cost == 1 && lo.x == hi.x && lo.i == hi.i && lo.y == hi.y &&
                            lo.j == hi.j;
                int cost = lo.cost + hi.cost - (same ? 1 : 0) + 1;
                if (cost < plan.cost) {
                    plan.kind = 2;
                    plan.cost = cost;
                    plan.lo = lo;
                    plan.hi = hi;
                }
            }
        }
        // Permute and blend: take each node from a register that already
        // holds others, preferably in place.
        std::vector<std::pair<int, Quad>> parts;
        for (int s = 0; s < 4; ++s) {
            if (t[s] < 0) continue;
            auto it = f.where.find(t[s]);
            if (it == f.where.end() || it->second.empty()) return plan;  // not there (yet)
            int best_vec = -1, best_slot = -1, best_score = -1;
            for (int v : it->second)
                for (int q = 0; q < 4; ++q) {
                    if (f.regs[v][q] != t[s]) continue;
                    int score = (q == s ? 1 : 0);
                    for (const auto& p : parts)
                        if (p.first == v) score += 2;
                    if (score > best_score) {
                        best_score = score;
                        best_vec = v;
                        best_slot = q;
                    }
                }
            auto p = std::find_if(parts.begin(), parts.end(), [&](const auto& e) { return e.first == best_vec; });
            if (p == parts.end()) {
                parts.push_back({best_vec, Quad{kFree, kFree, kFree, kFree}});
                p = parts.end() - 1;
            }
            p->second[s] = best_slot;
        }
        int cost = static_cast<int>(parts.size()) - 1;
        for (const auto& [v, from] : parts) {
            bool in_place = true;
            for (int s = 0; s < 4; ++s) in_place = in_place && (from[s] < 0 || from[s] == s);
            if (!in_place) ++cost;
        }
        if (cost < plan.cost) {
            plan.kind = 3;
            plan.cost = cost;
            plan.parts = parts;
        }
        return plan;
    }

    int GatherCost(const Quad& t) const { return PlanGather(made_, t).cost; }

    int Shuffle(const std::string& expr, const std::vector<int>& operands, const Quad& slots) {
        ++prog_.census.shuffles;
        return NewVec(Program::Kind::kCompute, expr, operands, slots, true);
    }

    int MakeHalf(const HalfSource& src) {
        if (src.cost == 0) return src.vec;
        const Vec& x = vecs_[src.x];
        const Vec& y = vecs_[src.y];
        Quad slots{x.slot[src.i], y.slot[src.j], x.slot[2 + src.i], y.slot[2 + src.j]};
        for (int v : made_.Holders({slots[0], slots[1], slots[2], slots[3]})) {
            if (vecs_[v].slot == slots) return v;  // made before
        }
        return Shuffle(shape_.ShuffleInHalves(Name(src.x), src.i, Name(src.y), src.j), {src.x, src.y}, slots);
    }

    int Gather(const Quad& t) {
        GatherPlan plan = PlanGather(made_, t);
        if (plan.kind < 0) throw std::runtime_error("value used before it exists");
        switch (plan.kind) {
            case 0: return plan.vec;
            case 1: {
                const Vec& x = vecs_[plan.x];
                const Vec& y = vecs_[plan.y];
                Quad slots{x.slot[plan.i], y.slot[plan.j], x.slot[2 + plan.i], y.slot[2 + plan.j]};
                return Shuffle(shape_.ShuffleInHalves(Name(plan.x), plan.i, Name(plan.y), plan.j), {plan.x, plan.y},
                               slots);
            }
            case 2: {
                int lo = MakeHalf(plan.lo);
                int hi = MakeHalf(plan.hi);
                int hl = plan.lo.half, hh = plan.hi.half;
                if (lo == hi && hl == 0 && hh == 1) return lo;
                const Vec& a = vecs_[lo];
                const Vec& b = vecs_[hi];
                Quad slots{a.slot[2 * hl], a.slot[2 * hl + 1], b.slot[2 * hh], b.slot[2 * hh + 1]};
                return Shuffle(shape_.CombineHalves(Name(lo), hl, Name(hi), hh), {lo, hi}, slots);
            }
            case 3: {
                int acc = -1;
                Quad acc_slots{kFree, kFree, kFree, kFree};
                for (const auto& [v, from] : plan.parts) {
                    bool in_place = true;
                    for (int s = 0; s < 4; ++s) in_place = in_place && (from[s] < 0 || from[s] == s);
                    int part = v;
                    if (!in_place) {
                        Quad slots;
                        std::vector<int> f(4);
                        for (int s = 0; s < 4; ++s) {
                            f[s] = from[s] >= 0 ? from[s] : s;
                            slots[s] = vecs_[v].slot[f[s]];
                        }
                        part = Shuffle(shape_.Permute(Name(v), f), {v}, slots);
                    }
                    if (acc < 0) {
                        acc = part;
                        acc_slots = vecs_[part].slot;
                        continue;
                    }
                    std::vector<bool> from_b(4);
                    for (int s = 0; s < 4; ++s) {
                        from_b[s] = from[s] >= 0;
                        if (from_b[s]) acc_slots[s] = vecs_[part].slot[s];
                    }
                    acc = Shuffle(shape_.Blend(Name(acc), Name(part), from_b), {acc, part}, acc_slots);
                }
                return acc;
            }
        }
        throw std::runtime_error("no way to gather operands");
    }

    // ---- Loads: four neighbouring inputs per register.

    void EmitLoads() {
        const int n = in_.n;
        auto load_node = [&](int index) {
            auto it = loads_.find(index);
            return it == loads_.end() ? kFree : it->second;
        };
        for (int j = 0; 4 * j < n; ++j) {
            int count = std::min(4, n - 4 * j);
            Quad slots{kFree, kFree, kFree, kFree};
            for (int s = 0; s < count; ++s) {
                slots[s] = load_node(4 * j + s);
                if (slots[s] >= 0) plan_[slots[s]] = {-2 - j, s};
            }
            planned_.Add(slots);
            ++prog_.census.loads;
            NewVec(Program::Kind::kLoad, shape_.LoadLow("x + " + std::to_string(8 * j), count), {}, slots);
        }
    }

    // ---- Planning.

    bool Planned(int node) const { return plan_.count(node) != 0 || in_half_.count(node) != 0; }
    void PlanUnit(const Quad& q) {
        int unit = static_cast<int>(units_.size());
        units_.push_back(q);
        for (int s = 0; s < 4; ++s)
            if (q[s] >= 0) plan_[q[s]] = {unit, s};
        planned_.Add(q);
    }
    // Shuffles that make a register holding `t` from what is planned so far
    // (4 if it cannot be told yet).
    int PlannedCost(const Quad& t) const { return std::min(4, PlanGather(planned_, t).cost); }
    int PlannedHalfCost(int a, int b) const {
        auto pa = plan_.find(a), pb = plan_.find(b);
        if (pa != plan_.end() && pb != plan_.end())
            return pa->second.first == pb->second.first && pa->second.second % 2 == 0 &&
                           pb->second.second == pa->second.second + 1
                       ? 0
                       : 1;
        auto h = half_of_.find(a);
        return h != half_of_.end() && halves_[h->second] == std::make_pair(a, b) ? 0 : 1;
    }

    // Sibling sub-transforms of one stage whose nodes agree in kind (an add
    // may face a subtract), four at a time (0-3, 4-7, ...), then two at a
    // time among the rest, outermost stages first.
    bool Alike(std::pair<int, int> r, std::pair<int, int> q) const {
        int count = r.second - r.first;
        if (count == 0 || count != q.second - q.first) return false;
        for (int k = 0; k < count; ++k)
            if (ClassOf(in_.dag.at(r.first + k).op) != ClassOf(in_.dag.at(q.first + k).op)) return false;
        return true;
    }

    void PlanSiblings() {
        std::vector<Dag::Siblings> groups = in_.dag.siblings();
        std::stable_sort(groups.begin(), groups.end(),
                         [](const Dag::Siblings& a, const Dag::Siblings& b) { return a.depth < b.depth; });
        auto usable = [&](const std::vector<int>& nodes) {
            for (int node : nodes)
                if (!reachable_.count(node) || Planned(node)) return false;
            return Independent(nodes);
        };
        std::vector<std::pair<std::pair<int, int>, std::pair<int, int>>> pairs;
        for (const auto& g : groups) {
            const auto& r = g.ranges;
            size_t i = 0;
            for (; i + 3 < r.size(); i += 4) {
                if (!(Alike(r[i], r[i + 1]) && Alike(r[i], r[i + 2]) && Alike(r[i], r[i + 3]))) {
                    pairs.push_back({r[i], r[i + 1]});
                    pairs.push_back({r[i + 2], r[i + 3]});
                    continue;
                }
                // The four in the order (A, B, C, D) or (A, C, B, D), whichever
                // lines up with the operands planned so far.
                const int count = r[i].second - r[i].first;
                auto unit = [&](int k, bool crossed) {
                    int a = r[i].first + k, b = r[i + 1].first + k, c = r[i + 2].first + k, d = r[i + 3].first + k;
                    return crossed ? Quad{a, c, b, d} : Quad{a, b, c, d};
                };
                int cost[2] = {0, 0};
                for (int crossed = 0; crossed < 2; ++crossed)
                    for (int k = 0; k < count; ++k) {
                        Quad u = unit(k, crossed);
                        if (usable({u[0], u[1], u[2], u[3]}))
                            cost[crossed] += BestOperands(u, [&](const Quad& t) { return PlannedCost(t); }).cost;
                    }
                const bool crossed = cost[1] < cost[0];
                for (int k = 0; k < count; ++k) {
                    Quad u = unit(k, crossed);
                    if (usable({u[0], u[1], u[2], u[3]})) PlanUnit(u);
                }
            }
            for (; i + 1 < r.size(); i += 2) pairs.push_back({r[i], r[i + 1]});
        }
        for (const auto& [p, q] : pairs) {
            if (!Alike(p, q)) continue;
            for (int k = 0; k < p.second - p.first; ++k) {
                int a = p.first + k, b = q.first + k;
                if (usable({a, b})) AddHalf(a, b);
            }
        }
    }

    void AddHalf(int a, int b) {
        half_of_[a] = static_cast<int>(halves_.size());
        halves_.push_back({a, b});
        in_half_.insert(a);
        in_half_.insert(b);
    }

    // Products of the values of one register by different constants (a
    // rotation, a real factor, i, or none at all, as the rotations of a
    // Cooley-Tukey step after four side-by-side sub-transforms): one
    // register, each slot computed by masked instructions that leave the
    // others alone, so every slot gets exactly its own node's operations.
    // A slot without a product keeps the register's value. Planned for
    // every register of the plan whose values feed at least two products.
    void PlanMixedProducts() {
        const Dag& dag = in_.dag;
        std::map<int, std::vector<int>> products;  // multiplicand -> unplanned products of it
        for (int id : reachable_) {
            const OpClass cls = ClassOf(dag.at(id).op);
            if ((cls == OpClass::kMulCplx || cls == OpClass::kMulReal || cls == OpClass::kMulI) && !Planned(id))
                products[dag.at(id).a].push_back(id);
        }
        const std::vector<Quad> registers = planned_.regs;
        for (const Quad& m : registers) {
            bool full = true;
            for (int node : m) full = full && node >= 0;
            if (!full) continue;
            for (;;) {
                Quad q = m;
                int count = 0;
                for (int s = 0; s < 4; ++s) {
                    auto& list = products[m[s]];
                    while (!list.empty() && Planned(list.front())) list.erase(list.begin());
                    if (!list.empty()) {
                        q[s] = list.front();
                        ++count;
                    }
                }
                if (count < 2) break;
                int unit = static_cast<int>(units_.size());
                units_.push_back(q);
                mixed_[q] = m;
                for (int s = 0; s < 4; ++s)
                    if (q[s] != m[s]) plan_[q[s]] = {unit, s};
                planned_.Add(q);
            }
        }
    }

    // Arrangement of the operands of nodes in the slots of a unit: an add
    // may take its operands either way round; the cheapest is chosen.
    struct Operands {
        Quad a, b;
        int cost = 1 << 20;
    };
    template <class Cost>
    Operands BestOperands(const Quad& u, Cost cost) const {
        const Dag& dag = in_.dag;
        Operands best;
        int first = -1;
        for (int node : u)
            if (node >= 0) {
                first = node;
                break;
            }
        if (ClassOf(dag.at(first).op) != OpClass::kAddSub) {
            Quad a;
            for (int s = 0; s < 4; ++s) a[s] = u[s] >= 0 ? dag.at(u[s]).a : kFree;
            best.a = a;
            best.cost = cost(a);
            return best;
        }
        bool has_add = false, has_sub = false;
        for (int node : u)
            if (node >= 0) (dag.at(node).op == Op::kAdd ? has_add : has_sub) = true;
        for (int swaps = 0; swaps < 16; ++swaps) {
            Quad a, b;
            bool valid = true;
            for (int s = 0; s < 4; ++s) {
                const bool swap = (swaps >> s) & 1;
                if (u[s] < 0) {
                    if (swap) valid = false;
                    a[s] = b[s] = kFree;
                    continue;
                }
                const Node& n = dag.at(u[s]);
                if (swap && n.op != Op::kAdd) valid = false;
                a[s] = swap ? n.b : n.a;
                b[s] = swap ? n.a : n.b;
            }
            if (!valid) continue;
            int c = cost(a) + cost(b) + (has_add && has_sub ? 1 : 0);
            if (c < best.cost) {
                best.a = a;
                best.b = b;
                best.cost = c;
            }
        }
        return best;
    }

    // The rest: operations of one kind on one level are paired, then the
    // pairs merged into quads, cheapest first.
    void PlanByLevel() {
        const Dag& dag = in_.dag;
        std::map<int, int> level;
        auto groups = UnplannedByLevel(dag, reachable_, [&](int id) { return Planned(id); }, &level);
        auto pair_cost = [&](int lo, int hi) {
            Quad u{lo, hi, kFree, kFree};
            return BestOperands(u, [&](const Quad& q) { return PlannedHalfCost(q[0], q[1]); }).cost;
        };
        for (auto& [lvl, classes] : groups)
            for (auto& [cls, members] : classes) {
                std::vector<std::tuple<int, int, int>> candidates;
                for (size_t i = 0; i < members.size(); ++i)
                    for (size_t j = i + 1; j < members.size(); ++j) {
                        candidates.emplace_back(pair_cost(members[i], members[j]), members[i], members[j]);
                        candidates.emplace_back(pair_cost(members[j], members[i]), members[j], members[i]);
                    }
                std::sort(candidates.begin(), candidates.end());
                for (auto [c, lo, hi] : candidates) {
                    if (c > 2) break;
                    if (Planned(lo) || Planned(hi)) continue;
                    AddHalf(lo, hi);
                }
            }
        // Pairs into quads, by kind and level.
        std::map<std::pair<int, OpClass>, std::vector<int>> half_groups;
        for (size_t h = 0; h < halves_.size(); ++h) {
            auto [a, b] = halves_[h];
            half_groups[{std::max(level[a], level[b]), ClassOf(dag.at(a).op)}].push_back(static_cast<int>(h));
        }
        std::set<int> merged;
        for (auto& [key, members] : half_groups) {
            std::vector<std::tuple<int, int, int>> candidates;
            for (int p : members)
                for (int q : members) {
                    if (p == q) continue;
                    Quad u{halves_[p].first, halves_[p].second, halves_[q].first, halves_[q].second};
                    if (!Independent({u[0], u[1], u[2], u[3]})) continue;
                    candidates.emplace_back(BestOperands(u, [&](const Quad& t) { return PlannedCost(t); }).cost, p, q);
                }
            std::sort(candidates.begin(), candidates.end());
            for (auto [c, p, q] : candidates) {
                if (c > 4) break;
                if (merged.count(p) || merged.count(q)) continue;
                merged.insert(p);
                merged.insert(q);
                PlanUnit({halves_[p].first, halves_[p].second, halves_[q].first, halves_[q].second});
            }
        }
        for (size_t h = 0; h < halves_.size(); ++h)
            if (!merged.count(static_cast<int>(h))) PlanUnit({halves_[h].first, halves_[h].second, kFree, kFree});
        for (auto& [lvl, classes] : groups)
            for (auto& [cls, members] : classes)
                for (int id : members)
                    if (!Planned(id)) PlanUnit({id, kFree, kFree, kFree});
    }

    // Units in dependency order, the smallest node first among the ready ones.
    std::vector<Quad> OrderUnits() {
        std::set<int> available;
        for (const auto& [index, node] : loads_) available.insert(node);
        std::vector<Quad> pending = units_, order;
        auto ready = [&](const Quad& u) {
            auto mixed = mixed_.find(u);
            if (mixed != mixed_.end()) {
                for (int node : mixed->second)
                    if (!available.count(node)) return false;
                return true;
            }
            for (int node : u) {
                if (node < 0) continue;
                const Node& n = in_.dag.at(node);
                for (int o : {n.a, n.b})
                    if (o >= 0 && !available.count(o)) return false;
            }
            return true;
        };
        auto key = [](const Quad& u) {
            int k = 1 << 30;
            for (int node : u)
                if (node >= 0) k = std::min(k, node);
            return k;
        };
        while (!pending.empty()) {
            int best = -1;
            for (size_t i = 0; i < pending.size(); ++i)
                if (ready(pending[i]) && (best < 0 || key(pending[i]) < key(pending[best]))) best = static_cast<int>(i);
            if (best < 0) {  // units waiting on each other: split one
                for (auto& u : pending) {
                    if (mixed_.count(u)) continue;
                    int count = 0;
                    for (int node : u) count += node >= 0;
                    if (count < 2) continue;
                    for (int s = 1; s < 4; ++s)
                        if (u[s] >= 0) {
                            pending.push_back({u[s], kFree, kFree, kFree});
                            u[s] = kFree;
                        }
                    break;
                }
                continue;
            }
            order.push_back(pending[best]);
            for (int node : pending[best])
                if (node >= 0) available.insert(node);
            pending.erase(pending.begin() + best);
        }
        return order;
    }

    // Operand registers that planned full units need in exactly one order
    // (no sum among them, whose operands could swap). A unit of sums takes
    // these where it can, so that the sums and the differences of the same
    // values share their operand registers instead of each shuffling its own.
    void NoteFixedOperands() {
        const Dag& dag = in_.dag;
        for (const Quad& u : units_) {
            bool fixed = true;
            for (int node : u) fixed = fixed && node >= 0 && dag.at(node).op != Op::kAdd;
            if (!fixed) continue;
            Quad a, b;
            for (int s = 0; s < 4; ++s) a[s] = dag.at(u[s]).a, b[s] = dag.at(u[s]).b;
            fixed_operands_.insert(a);
            if (ClassOf(dag.at(u[0]).op) == OpClass::kAddSub) fixed_operands_.insert(b);
        }
    }

    // ---- Emission.

    // A unit that does not fill the register goes where its operands are.
    Quad Place(const Quad& u) {
        int count = 0;
        for (int node : u) count += node >= 0;
        std::vector<Quad> options{u};
        if (count == 1) {
            for (int s = 1; s < 4; ++s) {
                Quad q{kFree, kFree, kFree, kFree};
                q[s] = u[0];
                options.push_back(q);
            }
        } else if (count == 2 && u[2] < 0 && u[3] < 0) {
            options.push_back({kFree, kFree, u[0], u[1]});
        }
        Quad best = u;
        int best_cost = 1 << 20;
        for (const Quad& q : options) {
            int c = BestOperands(q, [&](const Quad& t) { return GatherCost(t); }).cost;
            if (c < best_cost) {
                best_cost = c;
                best = q;
            }
        }
        return best;
    }

    std::string Constants(const Quad& u, bool imaginary) {
        std::vector<Real> lanes(8, 0);
        for (int s = 0; s < 4; ++s) {
            if (u[s] < 0) continue;
            const Node& n = in_.dag.at(u[s]);
            if (!imaginary) {
                lanes[2 * s] = lanes[2 * s + 1] = n.c;
            } else {
                lanes[2 * s] = -n.d;
                lanes[2 * s + 1] = n.d;
            }
        }
        return consts_.Ref(lanes);
    }

    std::string Mask(const std::string& name, const std::vector<bool>& lanes) {
        prelude_[name] = shape_.SignMask(lanes);
        return name;
    }

    void EmitMixed(const Quad& u, const Quad& m) {
        const Dag& dag = in_.dag;
        Census& c = prog_.census;
        std::vector<bool> scaled(4, false), rotated(4, false), turned(4, false);
        std::vector<Real> factor(8, 0), cross(8, 0);
        bool any_scaled = false, any_rotated = false, any_turned = false;
        for (int s = 0; s < 4; ++s) {
            if (u[s] == m[s]) continue;
            const Node& n = dag.at(u[s]);
            if (n.op == Op::kMulI) {
                turned[s] = any_turned = true;
                continue;
            }
            scaled[s] = any_scaled = true;
            factor[2 * s] = factor[2 * s + 1] = n.c;
            if (n.op == Op::kMulCplx) {
                rotated[s] = any_rotated = true;
                cross[2 * s] = -n.d;
                cross[2 * s + 1] = n.d;
            }
        }
        const int vx = Gather(m);
        const std::string x = Name(vx);
        std::string acc = x;
        std::vector<int> deps{vx};
        Quad slots = m;
        auto step = [&](const std::string& expr, const std::vector<bool>& done) {
            for (int s = 0; s < 4; ++s)
                if (done[s]) slots[s] = u[s];
            const int v = NewVec(Program::Kind::kCompute, expr, deps, slots);
            acc = Name(v);
            deps = {v};
        };
        if (any_scaled) {
            ++c.muls;
            // The rotated slots hold their first product until the add below.
            Quad partial = slots;
            for (int s = 0; s < 4; ++s)
                if (scaled[s]) partial[s] = rotated[s] ? kFree : u[s];
            const int v = NewVec(Program::Kind::kCompute,
                                 shape_.MaskedCall("mul", x, scaled, x, consts_.Ref(factor)), deps, partial);
            acc = Name(v);
            deps = {v};
            slots = partial;
        }
        if (any_rotated || any_turned) ++c.shuffles;
        if (any_rotated) {
            ++c.muls;
            ++c.adds;
            step(shape_.MaskedCall("add", acc, rotated, acc,
                                   shape_.Call("mul", shape_.SwapParts(x), consts_.Ref(cross))),
                 rotated);
        }
        if (any_turned) {
            ++c.shuffles;
            step(shape_.MaskedCall("xor", acc, turned, shape_.SwapParts(x),
                                   Mask("neg_re", {true, false, true, false, true, false, true, false})),
                 turned);
        }
    }

    void EmitUnit(const Quad& planned) {
        auto mixed = mixed_.find(planned);
        if (mixed != mixed_.end()) return EmitMixed(planned, mixed->second);
        const Quad u = Place(planned);
        const Dag& dag = in_.dag;
        int first = -1;
        for (int node : u)
            if (node >= 0 && first < 0) first = node;
        Census& c = prog_.census;
        // Shuffles doubled, less one for a register a fixed unit needs too
        // (a tie-break between arrangements).
        Operands ops = BestOperands(u, [&](const Quad& t) {
            const int c = GatherCost(t);
            return c == 0 ? 0 : 2 * c - (fixed_operands_.count(t) ? 1 : 0);
        });
        switch (ClassOf(dag.at(first).op)) {
            case OpClass::kAddSub: {
                int va = Gather(ops.a), vb = Gather(ops.b);
                std::vector<bool> sub_lanes(8, false);
                bool any_add = false, any_sub = false;
                for (int s = 0; s < 4; ++s) {
                    if (u[s] < 0) continue;
                    bool sub = dag.at(u[s]).op == Op::kSub;
                    (sub ? any_sub : any_add) = true;
                    sub_lanes[2 * s] = sub_lanes[2 * s + 1] = sub;
                }
                ++c.adds;
                std::string expr;
                if (!(any_add && any_sub)) {
                    expr = shape_.Call(any_sub ? "sub" : "add", Name(va), Name(vb));
                } else {
                    // Mixed: flip the sign of the slots that subtract.
                    std::string name = "neg";
                    for (int s = 0; s < 4; ++s) name += sub_lanes[2 * s] ? "1" : "0";
                    ++c.shuffles;
                    expr = shape_.Call("add", Name(va), shape_.Call("xor", Name(vb), Mask(name, sub_lanes)));
                }
                NewVec(Program::Kind::kCompute, expr, {va, vb}, u);
                return;
            }
            case OpClass::kMulReal: {
                int vx = Gather(ops.a);
                ++c.muls;
                NewVec(Program::Kind::kCompute, shape_.Call("mul", Name(vx), Constants(u, false)), {vx}, u);
                return;
            }
            case OpClass::kMulCplx: {
                int vx = Gather(ops.a);
                c.muls += 2;
                ++c.adds;
                ++c.shuffles;
                const std::string x = Name(vx);
                NewVec(Program::Kind::kCompute,
                       shape_.Call("add", shape_.Call("mul", x, Constants(u, false)),
                                   shape_.Call("mul", shape_.SwapParts(x), Constants(u, true))),
                       {vx}, u);
                return;
            }
            case OpClass::kMulImag: {  // i*d * (a + ib) = (b, a) * (-d, d)
                int vx = Gather(ops.a);
                ++c.muls;
                ++c.shuffles;
                NewVec(Program::Kind::kCompute,
                       shape_.Call("mul", shape_.SwapParts(Name(vx)), Constants(u, true)), {vx}, u);
                return;
            }
            case OpClass::kMulI: {  // i * (a + ib) = -b + ia
                int vx = Gather(ops.a);
                c.shuffles += 2;
                NewVec(Program::Kind::kCompute,
                       shape_.Call("xor", shape_.SwapParts(Name(vx)),
                                   Mask("neg_re", {true, false, true, false, true, false, true, false})),
                       {vx}, u);
                return;
            }
            case OpClass::kLoad: break;
        }
        throw std::runtime_error("unexpected load");
    }

    std::string ScaleFor(const std::vector<bool>& negated) {
        bool any = false;
        std::string name = "scale_";
        std::vector<bool> lanes;
        for (bool n : negated) {
            any = any || n;
            name += n ? "n" : "p";
            lanes.push_back(n);
            lanes.push_back(n);
        }
        if (!any) return "vscale";
        prelude_[name] = shape_.Call("xor", "vscale", shape_.SignMask(lanes));
        return name;
    }

    void EmitStores() {
        const int n = in_.n;
        Census& c = prog_.census;
        for (int k = 0; 4 * k < n; ++k) {
            int count = std::min(4, n - 4 * k);
            Quad t{kFree, kFree, kFree, kFree};
            std::vector<bool> negated(4, false);
            for (int s = 0; s < count; ++s) {
                const Value& out = in_.outputs[4 * k + s];
                if (out.IsZero()) throw std::runtime_error("zero output");
                t[s] = out.node;
                negated[s] = out.negated;
            }
            int v = Gather(t);
            ++c.muls;
            ++c.stores;
            prog_.Add(Program::Kind::kStore,
                      shape_.StoreLow("y + " + std::to_string(8 * k), count,
                                      shape_.Call("mul", Name(v), ScaleFor(negated))),
                      {vecs_[v].instr});
        }
    }

    const KernelInput& in_;
    const QuadShape& shape_;
    ConstTable consts_;
    Program prog_;
    std::vector<Vec> vecs_;
    std::map<int, int> loads_;                     // input index -> node
    std::set<int> reachable_;
    std::vector<std::uint64_t> anc_;               // ancestor bit sets, `words_` per node
    int words_ = 0;
    std::vector<Quad> units_;
    std::set<Quad> fixed_operands_;                // see NoteFixedOperands
    std::map<int, std::pair<int, int>> plan_;      // node -> (unit, slot)
    std::vector<std::pair<int, int>> halves_;      // planned pairs not yet in a unit
    std::map<int, int> half_of_;                   // first node of a pair -> pair
    std::set<int> in_half_;
    RegFile made_;                                 // registers emitted so far (vecs_)
    RegFile planned_;                              // loads and planned units
    std::map<std::string, std::string> prelude_;   // masks and signed scales
    std::map<Quad, Quad> mixed_;                   // mixed product units -> their multiplicands
};

}  // namespace

const QuadShape& AvxQuadFloat() {
    static const AvxQuadFloatShape shape;
    return shape;
}

const QuadShape& AvxQuadFloatMasked() {
    static const Avx512VlQuadFloatShape shape;
    return shape;
}

KernelText EmitQuad(const KernelInput& in, const QuadShape& shape) { return QuadEmitter(in, shape).Run(); }

}  // namespace gen
