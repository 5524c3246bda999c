// SSE2 emitter for double precision: every complex node is one __m128d
// (real part in the low lane).
#include <map>
#include <stdexcept>

#include "emit.h"

namespace gen {

KernelText EmitSseDouble(const KernelInput& in) {
    Program prog;
    ConstTable consts(in.const_table, ElemType::kDouble, 2);
    std::map<int, int> instr_of;
    auto v = [](int id) { return "v" + std::to_string(id); };
    // The swap of real and imaginary parts that every rotation by i needs.
    auto swapped = [&](int id) { return "_mm_shuffle_pd(" + v(id) + ", " + v(id) + ", 1)"; };

    for (int id : ReachableNodes(in.dag, in.outputs)) {
        const Node& n = in.dag.at(id);
        std::string expr;
        std::vector<int> deps;
        if (n.a >= 0) deps.push_back(instr_of.at(n.a));
        if (n.b >= 0) deps.push_back(instr_of.at(n.b));
        Census& c = prog.census;
        switch (n.op) {
            case Op::kLoad:
                expr = "Mem::Load(x + " + std::to_string(2 * n.index) + ")";
                ++c.loads;
                break;
            case Op::kAdd: expr = "_mm_add_pd(" + v(n.a) + ", " + v(n.b) + ")"; ++c.adds; break;
            case Op::kSub: expr = "_mm_sub_pd(" + v(n.a) + ", " + v(n.b) + ")"; ++c.adds; break;
            case Op::kMulReal:
                expr = "_mm_mul_pd(" + v(n.a) + ", " + consts.Ref({n.c, n.c}) + ")";
                ++c.muls;
                break;
            case Op::kMulI:  // i*(a + ib) = -b + ia
                expr = "_mm_xor_pd(" + swapped(n.a) + ", neg_re)";
                c.shuffles += 2;
                break;
            case Op::kMulImag:  // i*d*(a + ib) = (b, a)*(-d, d)
                expr = "_mm_mul_pd(" + swapped(n.a) + ", " + consts.Ref({-n.d, n.d}) + ")";
                ++c.muls;
                ++c.shuffles;
                break;
            case Op::kConj:
            case Op::kRealPart:
            case Op::kImagPart:
            case Op::kMulThree: throw std::runtime_error("real-kernel operation in a complex kernel");
            case Op::kMulCplx:  // (a, b)*(c, c) + (b, a)*(-d, d)
                expr = "_mm_add_pd(_mm_mul_pd(" + v(n.a) + ", " + consts.Ref({n.c, n.c}) + "), _mm_mul_pd(" +
                       swapped(n.a) + ", " + consts.Ref({-n.d, n.d}) + "))";
                c.muls += 2;
                ++c.adds;
                ++c.shuffles;
                break;
        }
        const bool load = n.op == Op::kLoad;
        instr_of[id] = prog.Add(load ? Program::Kind::kLoad : Program::Kind::kCompute,
                                (load ? "" : StageComments(in.dag, id)) + "const __m128d " + v(id) + " = " + expr + ";", deps,
                                load ? Program::kFollowUsers : id);
    }
    bool any_negated = false;
    for (int k = 0; k < in.n; ++k) {
        const Value& out = in.outputs[k];
        if (out.IsZero()) throw std::runtime_error("zero output");
        any_negated |= out.negated;
        ++prog.census.muls;
        ++prog.census.stores;
        prog.Add(Program::Kind::kStore,
                 "Mem::Store(y + " + std::to_string(2 * k) + ", _mm_mul_pd(" + v(out.node) + ", " +
                     (out.negated ? "nscale" : "vscale") + "));",
                 {instr_of.at(out.node)});
    }
    KernelText text;
    text.body = "    const __m128d vscale = _mm_set1_pd(scale);\n";
    if (any_negated) text.body += "    const __m128d nscale = _mm_set1_pd(-scale);\n";
    text.body += "    const __m128d neg_re = qvn::SignMaskPd(true, false);\n";
    text.body += "    (void)neg_re;\n";
    text.body += prog.Emit("    ", false, Program::Order::kByLatency, in.registers);
    text.constants = consts.Definition();
    text.census = prog.census;
    return text;
}

}  // namespace gen
