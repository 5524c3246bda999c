// 256-bit bodies of the real DFT and Hartley kernels (x86-64-v3 and up),
// made from the packed SSE2 body (emit_real_sse.cpp): two of its two-lane
// instructions that do the same operation and do not depend on each other
// become one instruction of four lanes, the first instruction's lanes low.
// Single precision then sums four floats per __m128 and forms four products
// per __m256d, so one vcvtps2pd / vmulpd / vcvtpd2ps round trip serves four
// products where the SSE2 body needs two. Double precision adds and
// multiplies four doubles per __m256d. Each lane still does the operation
// the SSE2 body does in it, so the bits are the same.
//
// Pairs are chosen in the order the SSE2 body made its instructions: for
// each one, the partner whose operands already sit in the same wide vectors,
// low and high, the nearest one among equals. A two-lane value that a
// remaining two-lane instruction or a store reads is the low half of its
// wide vector (free) or the high half (one shuffle); two two-lane values a
// wide instruction reads side by side are joined by one shuffle.
#include <algorithm>
#include <cstdlib>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <tuple>

#include "emit_real.h"
#include "real_recording.h"

namespace gen {
namespace {

class RealPairFusion {
public:
    RealPairFusion(const RealSseRecording& rec, const std::string& table, const RealFusion& fusion)
        : rec_(rec), consts2_(table, ElemType::kDouble, 2), consts4_(table + "W", ElemType::kDouble, 4),
          float_consts_(table + "F", ElemType::kFloat, 4), fusion_(fusion) {}

    RealKernelText Run() {
        const int count = static_cast<int>(rec_.instrs.size());
        partner_.assign(count, -1);
        low_.assign(count, false);
        new_.assign(count, -1);
        split_.assign(count, -1);
        in_high_.assign(count, false);
        if (fusion_.fuse) Pair();
        struct Store {
            std::string text;
            std::vector<int> deps;
        };
        std::vector<Store> stores;
        for (int i = 0; i < count; ++i) {
            const RealVecInstr& r = rec_.instrs[i];
            if (r.kind != Program::Kind::kStore) continue;
            if (r.op == RealVecOp::kStoreTwo && (partner_[r.operands[0]] >= 0 || IsHigh(r.operands[0]))) {
                stores.push_back(StoreHalf<Store>(r));
                continue;
            }
            std::vector<int> deps;
            for (int o : r.operands) deps.push_back(Half(o));
            Count(r.census);
            stores.push_back({r.text, deps});
        }
        for (auto& [text, deps] : stores) {
            // After every load: the destination may be the source.
            deps.insert(deps.end(), loads_.begin(), loads_.end());
            prog_.Add(Program::Kind::kStore, text, deps);
        }

        // In issue order: 0.95-0.97 of the time in single precision.
        std::string body = prog_.Emit("    ", false, Program::Order::kByLatency);
        RealKernelText text;
        text.body = Prelude(body) + body;
        text.constants = consts2_.Definition() + consts4_.Definition() + float_consts_.Definition();
        text.census = census_;
        text.critical_path = prog_.CriticalPath();
        text.packed = true;
        text.wide = true;
        return text;
    }

private:
    bool Single() const { return rec_.single; }
    const RealVecInstr& At(int i) const { return rec_.instrs[i]; }

    static bool Fusable(RealVecOp op) {
        return op != RealVecOp::kOther && op != RealVecOp::kLoadOne && op != RealVecOp::kLoadTwo &&
               op != RealVecOp::kLoadApart;
    }

    // Two loads of neighbouring pairs: one load of four.
    bool LoadsJoin(int a, int b) const {
        return At(a).op == RealVecOp::kLoadTwo && At(b).op == RealVecOp::kLoadTwo &&
               rec_.sources_adjacent(At(a).lane[0] + 1, At(b).lane[0]);
    }

    // The input slots of a two-lane value that holds two loaded inputs and
    // nothing else: a load of neighbours, two loads from anywhere, or (in
    // single precision) the unpack of two single loads.
    std::optional<std::pair<int, int>> LoadedSlots(int i) const {
        const RealVecInstr& r = At(i);
        switch (r.op) {
            case RealVecOp::kLoadTwo: return std::make_pair(r.lane[0], r.lane[0] + 1);
            case RealVecOp::kLoadApart: return std::make_pair(r.lane[0], r.lane[1]);
            case RealVecOp::kTakePs: {
                const RealVecInstr& a = At(r.operands[0]);
                const RealVecInstr& b = At(r.operands[1]);
                if (r.lane[0] != 0 || r.lane[1] != 0) return std::nullopt;
                if (a.op != RealVecOp::kLoadOne || b.op != RealVecOp::kLoadOne) return std::nullopt;
                return std::make_pair(a.lane[0], b.lane[0]);
            }
            default: return std::nullopt;
        }
    }

    // ---- Which instructions become one.

    // Does `from` depend on `to`, a fused pair counting as one instruction?
    bool Reaches(int from, int to) const {
        std::vector<int> stack(At(from).operands);
        if (partner_[from] >= 0) stack.push_back(partner_[from]);
        std::vector<bool> seen(rec_.instrs.size(), false);
        while (!stack.empty()) {
            int x = stack.back();
            stack.pop_back();
            if (x == to) return true;
            if (seen[x]) continue;
            seen[x] = true;
            for (int d : At(x).operands) stack.push_back(d);
            if (partner_[x] >= 0) stack.push_back(partner_[x]);
        }
        return false;
    }

    // Operands of i (low) and j (high) already side by side: 2 each; both
    // loads (joined as they are loaded): 1 each.
    int Score(int i, int j) const {
        const auto& a = At(i).operands;
        const auto& b = At(j).operands;
        int score = 0;
        for (size_t k = 0; k < a.size(); ++k) {
            if ((partner_[a[k]] == b[k] && low_[a[k]]) || LoadsJoin(a[k], b[k]))
                score += 2;
            else if (At(a[k]).kind == Program::Kind::kLoad && At(b[k]).kind == Program::Kind::kLoad)
                score += 1;
        }
        return score + (Kin(i, j) ? kKinBonus : 0);
    }
    static constexpr int kKinBonus = 8;

    // The two instructions do the same thing in equal sibling sub-transforms.
    bool Kin(int i, int j) const {
        int named = 0;
        for (int k = 0; k < 2; ++k) {
            const int a = At(i).node[k], b = At(j).node[k];
            if (a < 0 && b < 0) continue;
            if (a < 0 || b < 0 || !rec_.kin(a, b)) return false;
            ++named;
        }
        return named > 0;
    }

    bool Enough(RealVecOp op, int score) const {
        if (score >= kKinBonus) return true;
        switch (op) {
            case RealVecOp::kCvtWide:
            case RealVecOp::kCvtNarrow:
                return true;  // one join saves a two-uop conversion
            case RealVecOp::kMul:
            case RealVecOp::kMulFloat:
            case RealVecOp::kShufPs:
                return score >= 1;
            default:
                return score >= fusion_.min_score;
        }
    }

    void Pair() {
        const int count = static_cast<int>(rec_.instrs.size());
        std::map<std::tuple<RealVecOp, bool, size_t>, std::vector<int>> kinds;
        for (int i = 0; i < count; ++i)
            if (At(i).kind == Program::Kind::kCompute && Fusable(At(i).op))
                kinds[{At(i).op, At(i).wide, At(i).operands.size()}].push_back(i);
        for (int i = 0; i < count; ++i) {
            const RealVecInstr& r = At(i);
            if (r.kind != Program::Kind::kCompute || !Fusable(r.op) || partner_[i] >= 0) continue;
            std::vector<std::tuple<int, int, int, int>> candidates;  // -score, distance, low, high
            for (int j : kinds[{r.op, r.wide, r.operands.size()}]) {
                if (j == i || partner_[j] >= 0) continue;
                const int forward = Score(i, j), backward = Score(j, i);
                const int best = std::max(forward, backward);
                if (!Enough(r.op, best)) continue;
                if (forward >= backward)
                    candidates.emplace_back(-forward, std::abs(j - i), i, j);
                else
                    candidates.emplace_back(-backward, std::abs(j - i), j, i);
            }
            std::sort(candidates.begin(), candidates.end());
            int tried = 0;
            for (auto [score, distance, lo, hi] : candidates) {
                if (++tried > 16) break;
                if (Reaches(lo, hi) || Reaches(hi, lo)) continue;
                partner_[lo] = hi, partner_[hi] = lo;
                low_[lo] = true;
                break;
            }
        }
    }

    // ---- Emission.

    static std::string TwoSourcePermute(const std::string& p, const std::string& q, const std::vector<int>& lanes) {
        std::string idx;
        for (int l : lanes) idx += (idx.empty() ? "" : ", ") + std::to_string(l);
        return "_mm_permutex2var_ps(" + p + ", _mm_setr_epi32(" + idx + "), " + q + ")";
    }

    // (a[i], b[j]) in the two low float lanes, a and b possibly one vector,
    // lanes 0-3: the expression and its shuffles (of them, blends). The SSE2
    // body has unpacks, movss and two-shuffle takes of the low lanes; here
    // SSE4.1's blend and insertps, and on x86-64-v4 vpermt2ps, do the rest
    // with one instruction, and a value in a fused vector's high half is
    // read in place.
    std::tuple<std::string, int, int> TakeTwo(const std::string& a, int i, const std::string& b, int j) const {
        auto n = [](int v) { return std::to_string(v); };
        if (a == b) {
            if (i == 0 && j == 1) return {a, 0, 0};
            return {"_mm_permute_ps(" + a + ", _MM_SHUFFLE(3, 2, " + n(j) + ", " + n(i) + "))", 1, 0};
        }
        if (i == 0 && j == 0) return {"_mm_unpacklo_ps(" + a + ", " + b + ")", 1, 0};
        if (i == 2 && j == 2) return {"_mm_unpackhi_ps(" + a + ", " + b + ")", 1, 0};
        if (i == 0 && j == 1) return {"_mm_blend_ps(" + a + ", " + b + ", 2)", 1, 1};
        if (i == 0) return {"_mm_insert_ps(" + a + ", " + b + ", " + n(j << 6 | 1 << 4) + ")", 1, 0};
        if (j == 1) return {"_mm_insert_ps(" + b + ", " + a + ", " + n(i << 6) + ")", 1, 0};
        if (fusion_.two_source_permutes) return {TwoSourcePermute(a, b, {i, 4 + j, 2, 3}), 1, 0};
        return {"qvn::TakeLanes<" + n(i) + ", " + n(j) + ">(" + a + ", " + b + ")", 2, 0};
    }

    void Count(const RealCensus& c) {
        census_.adds += c.adds, census_.muls += c.muls, census_.shuffles += c.shuffles;
        census_.converts += c.converts, census_.loads += c.loads, census_.stores += c.stores;
        census_.bitwise += c.bitwise;
    }

    static std::string Comments(const std::string& text) {
        std::string out;
        size_t start = 0;
        while (start < text.size() && text.compare(start, 2, "//") == 0) {
            size_t end = text.find('\n', start);
            out += text.substr(start, end - start + 1);
            start = end + 1;
        }
        return out;
    }

    std::string WideName(int i) const {
        return "w" + At(partner_[i] < 0 || low_[i] ? i : partner_[i]).name.substr(1);
    }

    // Whether recorded value i lies in the high half of a wide vector:
    // fused as the high one of a pair, or computed in place there.
    bool IsHigh(int i) {
        if (partner_[i] >= 0) return !low_[i];
        New(i);
        return in_high_[i];
    }
    const char* WideType(int i) const { return Single() && !At(i).wide ? "__m128" : "__m256d"; }
    const char* HalfType(int i) const { return Single() && !At(i).wide ? "__m128" : "__m128d"; }

    // An unfused instruction whose operands all lie in high halves is done
    // there, four lanes wide: the low lanes carry the other halves' values
    // along, unused, and no operand needs moving down. Its value is then the
    // high half of its own wide vector.
    bool InPlace(int i) {
        const RealVecInstr& r = At(i);
        if (!fusion_.in_place || r.kind != Program::Kind::kCompute) return false;
        switch (r.op) {
            case RealVecOp::kAdd: case RealVecOp::kSub: case RealVecOp::kAddFlip: case RealVecOp::kMul:
            case RealVecOp::kMulFloat: case RealVecOp::kCvtWide: case RealVecOp::kCvtNarrow: case RealVecOp::kShufPd: break;
            default: return false;
        }
        for (int o : r.operands)
            if (!IsHigh(o)) return false;
        std::vector<int> deps;
        std::vector<std::string> w;
        for (int o : r.operands) {
            deps.push_back(New(o));
            w.push_back(WideName(o));
        }
        const bool narrow = Single() && !At(r.operands[0]).wide;
        const std::string ps = narrow ? "_mm_" : "_mm256_", sfx = narrow ? "_ps(" : "_pd(";
        std::string expr;
        switch (r.op) {
            case RealVecOp::kAdd: expr = ps + "add" + sfx + w[0] + ", " + w[1] + ")"; break;
            case RealVecOp::kSub: expr = ps + "sub" + sfx + w[0] + ", " + w[1] + ")"; break;
            case RealVecOp::kAddFlip:
                expr = ps + "add" + sfx + w[0] + ", " + ps + "xor" + sfx + w[1] + ", " +
                       Mask(narrow, {false, false, r.neg[0], r.neg[1]}) + "))";
                break;
            case RealVecOp::kMul:
                expr = "_mm256_mul_pd(" + w[0] + ", " + consts4_.Ref({r.c[0], r.c[1], r.c[0], r.c[1]}) + ")";
                break;
            case RealVecOp::kMulFloat:
                expr = "_mm_mul_ps(" + w[0] + ", " + float_consts_.Ref({r.c[0], r.c[1], r.c[0], r.c[1]}) + ")";
                break;
            case RealVecOp::kCvtWide: expr = "_mm256_cvtps_pd(" + w[0] + ")"; break;
            case RealVecOp::kCvtNarrow: expr = "_mm256_cvtpd_ps(" + w[0] + ")"; break;
            default:  // kShufPd
                expr = "_mm256_shuffle_pd(" + w[0] + ", " + w[1] + ", " + std::to_string(r.lane[0] << 2 | r.lane[1] << 3) + ")";
        }
        Count(r.census);
        in_high_[i] = true;
        new_[i] = prog_.Add(Program::Kind::kCompute,
                            Comments(r.text) + "const " + WideType(i) + " " + WideName(i) + " = " + expr + ";", deps,
                            r.position);
        return true;
    }

    // The program instruction of recorded instruction i (of its fused pair).
    int New(int i) {
        if (new_[i] >= 0) return new_[i];
        const RealVecInstr& r = At(i);
        if (partner_[i] < 0) {
            if (InPlace(i)) return new_[i];
            std::vector<int> deps;
            std::string text = r.text;
            RealCensus census = r.census;
            if (r.op == RealVecOp::kTakePs || r.op == RealVecOp::kShufPs) {
                // Float lanes, each source read in place in its wide vector
                // (two halves of one vector are then one source).
                std::vector<std::pair<std::string, int>> from;  // vector, lane of the value's lane 0
                for (int o : r.operands) {
                    const bool high = IsHigh(o), in_wide = high || partner_[o] >= 0;
                    deps.push_back(in_wide ? New(o) : Half(o));
                    from.emplace_back(in_wide ? WideName(o) : At(o).name, high ? 2 : 0);
                }
                const auto& p = from.front();
                const auto& q = from.back();
                auto [expr, shuffles, blends] = TakeTwo(p.first, p.second + r.lane[0], q.first, q.second + r.lane[1]);
                text = Comments(r.text) + "const __m128 " + r.name + " = " + expr + ";";
                census.shuffles = shuffles, census.bitwise = blends;
            } else {
                for (int o : r.operands) deps.push_back(Half(o));
            }
            if (r.op == RealVecOp::kMul)
                text = Comments(r.text) + "const __m128d " + r.name + " = _mm_mul_pd(" + At(r.operands[0]).name + ", " +
                       consts2_.Ref({r.c[0], r.c[1]}) + ");";
            if (r.op == RealVecOp::kMulFloat)
                text = Comments(r.text) + "const __m128 " + r.name + " = _mm_mul_ps(" + At(r.operands[0]).name + ", " +
                       float_consts_.Ref({r.c[0], r.c[1], r.c[0], r.c[1]}) + ");";
            Count(census);
            new_[i] = prog_.Add(r.kind, text, deps, r.position);
            if (r.kind == Program::Kind::kLoad) loads_.push_back(new_[i]);
            return new_[i];
        }
        const int lo = low_[i] ? i : partner_[i], hi = partner_[lo];
        const RealVecInstr& a = At(lo);
        const RealVecInstr& b = At(hi);
        std::vector<int> deps;
        std::vector<std::string> x;
        for (size_t k = 0; k < a.operands.size(); ++k) {
            auto [instr, name] = Joined(a.operands[k], b.operands[k]);
            deps.push_back(instr);
            x.push_back(name);
        }
        std::string expr;
        const bool narrow = Single() && !a.wide;
        const std::string ps = narrow ? "_mm_" : "_mm256_", sfx = narrow ? "_ps(" : "_pd(";
        switch (a.op) {
            case RealVecOp::kCvtWide:
                ++census_.converts;
                expr = "_mm256_cvtps_pd(" + x[0] + ")";
                break;
            case RealVecOp::kCvtNarrow:
                ++census_.converts;
                expr = "_mm256_cvtpd_ps(" + x[0] + ")";
                break;
            case RealVecOp::kMul:
                ++census_.muls;
                expr = "_mm256_mul_pd(" + x[0] + ", " + consts4_.Ref({a.c[0], a.c[1], b.c[0], b.c[1]}) + ")";
                break;
            case RealVecOp::kMulFloat:
                ++census_.muls;
                expr = "_mm_mul_ps(" + x[0] + ", " + float_consts_.Ref({a.c[0], a.c[1], b.c[0], b.c[1]}) + ")";
                break;
            case RealVecOp::kAdd:
            case RealVecOp::kSub:
                ++census_.adds;
                expr = ps + (a.op == RealVecOp::kAdd ? "add" : "sub") + sfx + x[0] + ", " + x[1] + ")";
                break;
            case RealVecOp::kAddFlip: {
                ++census_.adds, ++census_.shuffles, ++census_.bitwise;
                const std::string mask = Mask(narrow, {a.neg[0], a.neg[1], b.neg[0], b.neg[1]});
                expr = ps + "add" + sfx + x[0] + ", " + ps + "xor" + sfx + x[1] + ", " + mask + "))";
                break;
            }
            case RealVecOp::kShufPd:
                ++census_.shuffles;
                expr = "_mm256_shuffle_pd(" + x[0] + ", " + x[1] + ", " +
                       std::to_string(a.lane[0] | a.lane[1] << 1 | b.lane[0] << 2 | b.lane[1] << 3) + ")";
                break;
            case RealVecOp::kShufPs:
                ++census_.shuffles;
                expr = "_mm_shuffle_ps(" + x[0] + ", " + x[0] + ", " + Lanes(2 + b.lane[1], 2 + b.lane[0], a.lane[1], a.lane[0]) + ")";
                break;
            case RealVecOp::kTakePs: {
                // (x0[a0], x1[a1], x0[2 + b0], x1[2 + b1]): each source's lanes
                // moved into place, then one blend; or one two-source permute
                // where both sources would need moving.
                std::string p = x[0], q = x[1];
                const bool move_p = a.lane[0] != 0 || b.lane[0] != 0, move_q = a.lane[1] != 1 || b.lane[1] != 1;
                if (move_p && move_q && fusion_.two_source_permutes) {
                    ++census_.shuffles;
                    expr = TwoSourcePermute(p, q, {a.lane[0], 4 + a.lane[1], 2 + b.lane[0], 6 + b.lane[1]});
                    break;
                }
                if (move_p) {
                    ++census_.shuffles;
                    p = "_mm_permute_ps(" + p + ", " + Lanes(2 + b.lane[0], 2 + b.lane[0], a.lane[0], a.lane[0]) + ")";
                }
                if (move_q) {
                    ++census_.shuffles;
                    q = "_mm_permute_ps(" + q + ", " + Lanes(2 + b.lane[1], 2 + b.lane[1], a.lane[1], a.lane[1]) + ")";
                }
                ++census_.shuffles, ++census_.bitwise;
                expr = "_mm_blend_ps(" + p + ", " + q + ", 10)";
                break;
            }
            default:
                throw std::logic_error("fused an operation that does not widen");
        }
        double position = a.position;
        if (position == Program::kFollowUsers || (b.position != Program::kFollowUsers && b.position < position))
            position = b.position;
        const int id = prog_.Add(Program::Kind::kCompute,
                                 Comments(a.text) + Comments(b.text) + "const " + WideType(lo) + " " + WideName(lo) +
                                     " = " + expr + ";",
                                 deps, position);
        return new_[lo] = new_[hi] = id;
    }

    // A pair of outputs that is one half of a wide vector: the whole vector
    // is scaled (its other half the same way, so the store of that half can
    // share the product) and the half stored from it, without a shuffle.
    template <class Store>
    Store StoreHalf(const RealVecInstr& r) {
        const int o = r.operands[0];
        const bool high = IsHigh(o);
        const bool narrow = Single() && !r.wide;
        const std::string signs = std::string(r.neg[0] ? "n" : "p") + (r.neg[1] ? "n" : "p");
        const std::string w = WideName(o);
        auto key = std::make_pair(New(o), signs);
        auto it = scaled_.find(key);
        if (it == scaled_.end()) {
            const std::string base = narrow ? "nscale4" : "wscale4";
            const std::string type = narrow ? "__m128" : "__m256d";
            masks_[base] = {type, narrow ? "_mm_set1_ps(scale)" : Single() ? "_mm256_set1_pd(double(scale))" : "_mm256_set1_pd(scale)"};
            const std::string ps = narrow ? "_mm_" : "_mm256_", sfx = narrow ? "_ps(" : "_pd(";
            std::string expr;
            ++census_.muls;
            if (signs == "pp") {
                expr = ps + "mul" + sfx + w + ", " + base + ")";
            } else {
                ++census_.adds;
                const std::string mask = narrow ? "qvn::SignMaskPs(" : "qvn::SignMask256Pd(";
                auto args = [&](bool flip) {
                    std::string a;
                    for (int k = 0; k < 4; ++k) a += std::string(k ? ", " : "") + ((r.neg[k % 2] != flip) ? "true" : "false");
                    return a;
                };
                masks_[base + "_" + signs + signs] = {type, ps + "xor" + sfx + base + ", " + mask + args(false) + "))"};
                masks_["zero4_" + std::string(narrow ? "ps_" : "pd_") + signs + signs] = {type, mask + args(true) + ")"};
                expr = ps + "add" + sfx + ps + "mul" + sfx + w + ", " + base + "_" + signs + signs + "), zero4_" +
                       (narrow ? "ps_" : "pd_") + signs + signs + ")";
            }
            std::string name = "s" + w.substr(1) + "_" + signs;
            std::string type_out = type;
            if (Single() && !narrow) {
                ++census_.converts;
                expr = "_mm256_cvtpd_ps(" + expr + ")";
                type_out = "__m128";
            }
            const int id = prog_.Add(Program::Kind::kCompute, "const " + type_out + " " + name + " = " + expr + ";",
                                     {New(o)});
            it = scaled_.emplace(key, std::make_pair(id, name)).first;
        }
        ++census_.stores;
        const std::string& s = it->second.second;
        std::string text;
        if (Single()) {
            text = high ? "_mm_storeh_pi(reinterpret_cast<__m64*>(" + r.element + "), " + s + ");"
                        : "qvn::StoreTwoFloats(" + r.element + ", " + s + ");";
        } else {
            text = "_mm_storeu_pd(" + r.element + ", " + (high ? "_mm256_extractf128_pd(" + s + ", 1)" : "_mm256_castpd256_pd128(" + s + ")") + ");";
        }
        return {text, {it->second.first}};
    }

    static std::string Lanes(int d, int c, int b, int a) {
        return "_MM_SHUFFLE(" + std::to_string(d) + ", " + std::to_string(c) + ", " + std::to_string(b) + ", " +
               std::to_string(a) + ")";
    }

    // The instruction defining the two-lane name of recorded value i.
    int Half(int i) {
        const bool low = !IsHigh(i);
        if (low && partner_[i] < 0) return New(i);
        if (split_[i] >= 0) return split_[i];
        const int wide = New(i);
        const std::string w = WideName(i);
        std::string expr;
        if (Single() && !At(i).wide) {
            expr = low ? w : "_mm_movehl_ps(" + w + ", " + w + ")";
        } else {
            expr = low ? "_mm256_castpd256_pd128(" + w + ")" : "_mm256_extractf128_pd(" + w + ", 1)";
        }
        if (!low) ++census_.shuffles;
        return split_[i] = prog_.Add(Program::Kind::kCompute,
                                     "const " + std::string(HalfType(i)) + " " + At(i).name + " = " + expr + ";", {wide});
    }

    // Where recorded value i can be read without moving it: its two-lane
    // vector, or the high half of a wide one.
    struct Where {
        int instr;
        std::string name;
        bool high;
    };
    Where Locate(int i) {
        if (IsHigh(i)) return {New(i), WideName(i), true};
        return {Half(i), At(i).name, false};
    }

    // A wide vector holding value a low and value b high.
    std::pair<int, std::string> Joined(int a, int b) {
        if (partner_[a] == b && low_[a]) return {New(a), WideName(a)};
        auto it = joined_.find({a, b});
        if (it != joined_.end()) return it->second;
        const std::string na = At(a).name, nb = At(b).name;
        const std::string name = "j" + na.substr(1) + "_" + nb.substr(1);
        const bool narrow = Single() && !At(a).wide;
        if (LoadsJoin(a, b)) {
            ++census_.loads;
            const std::string expr = std::string(narrow ? "_mm_loadu_ps" : "_mm256_loadu_pd") + "(x + (" +
                                     rec_.source(At(a).lane[0]) + "))";
            const int id = prog_.Add(Program::Kind::kLoad,
                                     "const " + std::string(narrow ? "__m128" : "__m256d") + " " + name + " = " + expr + ";", {});
            loads_.push_back(id);
            return joined_[{a, b}] = {id, name};
        }
        if (auto low = LoadedSlots(a), high = LoadedSlots(b); low && high) {
            // Four loaded inputs: loaded straight into their lanes (broadcasts
            // and blends), so that the join costs no shuffle.
            auto at = [&](int slot) { return "x + (" + rec_.source(slot) + ")"; };
            const bool pairs = At(a).op == RealVecOp::kLoadTwo && At(b).op == RealVecOp::kLoadTwo;
            std::string expr;
            if (pairs) {
                census_.loads += 2, ++census_.shuffles, ++census_.bitwise;
                expr = std::string(narrow ? "qvn::GatherFloatPairs(" : "qvn::GatherDoublePairs(") + at(low->first) +
                       ", " + at(high->first) + ")";
            } else {
                census_.loads += 4, census_.shuffles += 3, census_.bitwise += 3;
                expr = std::string(narrow ? "qvn::GatherFloats(" : "qvn::GatherDoubles(") + at(low->first) + ", " +
                       at(low->second) + ", " + at(high->first) + ", " + at(high->second) + ")";
            }
            const int id = prog_.Add(Program::Kind::kLoad,
                                     "const " + std::string(narrow ? "__m128" : "__m256d") + " " + name + " = " + expr + ";", {});
            loads_.push_back(id);
            return joined_[{a, b}] = {id, name};
        }
        // Each value read where it is: a high half in place, so that the
        // join is one shuffle (or a blend) however the halves lie.
        const Where wa = Locate(a), wb = Locate(b);
        const std::string lo = wa.high || narrow ? wa.name : "_mm256_castpd128_pd256(" + wa.name + ")";
        const std::string hi = wb.high || narrow ? wb.name : "_mm256_castpd128_pd256(" + wb.name + ")";
        ++census_.shuffles;
        std::string expr;
        if (!wa.high && wb.high) {
            ++census_.bitwise;
            expr = narrow ? "_mm_blend_ps(" + lo + ", " + hi + ", 12)" : "_mm256_blend_pd(" + lo + ", " + hi + ", 12)";
        } else if (!wa.high) {
            expr = narrow ? "_mm_movelh_ps(" + na + ", " + nb + ")" : "_mm256_set_m128d(" + nb + ", " + na + ")";
        } else if (narrow) {
            expr = "_mm_shuffle_ps(" + lo + ", " + hi + ", " + (wb.high ? "_MM_SHUFFLE(3, 2, 3, 2)" : "_MM_SHUFFLE(1, 0, 3, 2)") + ")";
        } else {
            expr = "_mm256_permute2f128_pd(" + lo + ", " + hi + ", " + (wb.high ? "0x31" : "0x21") + ")";
        }
        const int id = prog_.Add(Program::Kind::kCompute,
                                 "const " + std::string(narrow ? "__m128" : "__m256d") + " " + name + " = " + expr + ";",
                                 {wa.instr, wb.instr});
        return joined_[{a, b}] = {id, name};
    }

    std::string Mask(bool narrow, std::vector<bool> neg) {
        std::string name = narrow ? "neg4_ps_" : "neg4_pd_";
        std::string args;
        for (bool n : neg) {
            name += n ? "n" : "p";
            args += std::string(args.empty() ? "" : ", ") + (n ? "true" : "false");
        }
        masks_[name] = {narrow ? "__m128" : "__m256d",
                        std::string(narrow ? "qvn::SignMaskPs(" : "qvn::SignMask256Pd(") + args + ")"};
        return name;
    }

    // The constants the body uses (the two-lane body's, then the wide masks),
    // each defined once before the first statement.
    std::string Prelude(const std::string& body) const {
        auto mentions = [](const std::string& text, const std::string& name) {
            for (size_t at = text.find(name); at != std::string::npos; at = text.find(name, at + 1)) {
                auto word = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; };
                const size_t end = at + name.size();
                if ((at == 0 || !word(text[at - 1])) && (end == text.size() || !word(text[end]))) return true;
            }
            return false;
        };
        std::vector<std::pair<std::string, std::pair<std::string, std::string>>> all = rec_.prelude;
        for (const auto& m : masks_) all.push_back(m);
        // A definition may use an earlier one (a signed scale uses its mask).
        std::vector<bool> used(all.size(), false);
        for (size_t i = all.size(); i-- > 0;) {
            bool needed = mentions(body, all[i].first);
            for (size_t j = i + 1; j < all.size() && !needed; ++j)
                needed = used[j] && mentions(all[j].second.second, all[i].first);
            used[i] = needed;
        }
        std::string out;
        for (size_t i = 0; i < all.size(); ++i)
            if (used[i]) out += "    const " + all[i].second.first + " " + all[i].first + " = " + all[i].second.second + ";\n";
        return out;
    }

    const RealSseRecording& rec_;
    ConstTable consts2_, consts4_;
    ConstTable float_consts_;  // float products: four lanes, of two fused pairs or one pair twice
    RealFusion fusion_;
    Program prog_;
    RealCensus census_;
    std::vector<int> partner_;
    std::vector<bool> low_;
    std::vector<int> new_, split_;
    std::vector<bool> in_high_;  // unfused, computed in place in a high half
    std::vector<int> loads_;  // program instructions that load
    std::map<std::pair<int, int>, std::pair<int, std::string>> joined_;
    std::map<std::string, std::pair<std::string, std::string>> masks_;  // and the wide scales
    std::map<std::pair<int, std::string>, std::pair<int, std::string>> scaled_;  // (vector, signs) -> scaled
};

}  // namespace

RealKernelText FuseRealPairs(const RealSseRecording& rec, const std::string& table, const RealFusion& fusion) {
    return RealPairFusion(rec, table, fusion).Run();
}

}  // namespace gen
