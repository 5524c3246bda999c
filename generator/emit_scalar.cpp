// Scalar emitter: each complex node becomes two float variables tKr, tKi.
#include <map>
#include <stdexcept>

#include "emit.h"

namespace gen {

std::vector<int> ReachableNodes(const Dag& dag, const Signal& outputs) {
    return LiveNodes(dag, outputs);
}

std::string StageComments(const Dag& dag, int node) {
    std::string out;
    auto range = dag.labels().equal_range(node);
    for (auto it = range.first; it != range.second; ++it) out += "// " + it->second + "\n";
    return out;
}

KernelText EmitScalar(const KernelInput& in, bool products_in_double) {
    Program prog;
    std::map<std::string, std::string> const_names;  // literal -> name
    std::string const_defs;
    const ElemType ctype = products_in_double ? ElemType::kDouble : ElemType::kFloat;
    auto constant = [&](Real v) {
        std::string lit = HexLiteral(v, ctype);
        auto it = const_names.find(lit);
        if (it != const_names.end()) return it->second;
        std::string name = "kC" + std::to_string(const_names.size());
        const_names.emplace(lit, name);
        const_defs += std::string("    constexpr ") + (products_in_double ? "double " : "float ") + name + " = " + lit +
                      ";  // " + DecimalText(v, ctype) + "\n";
        return name;
    };
    // A constant product, rounded once to float when formed in double.
    auto product = [&](const std::string& var, Real c) {
        ++prog.census.muls;
        if (products_in_double) return "float(double(" + var + ") * " + constant(c) + ")";
        return var + " * " + constant(c);
    };

    std::map<int, int> instr_of;  // node -> instruction
    auto t = [](int id, char part) { return "t" + std::to_string(id) + part; };
    for (int id : ReachableNodes(in.dag, in.outputs)) {
        const Node& n = in.dag.at(id);
        std::string re, im;
        std::vector<int> deps;
        if (n.a >= 0) deps.push_back(instr_of.at(n.a));
        if (n.b >= 0) deps.push_back(instr_of.at(n.b));
        switch (n.op) {
            case Op::kLoad:
                re = "x[" + std::to_string(2 * n.index) + "]";
                im = "x[" + std::to_string(2 * n.index + 1) + "]";
                prog.census.loads += 2;
                break;
            case Op::kAdd:
            case Op::kSub: {
                const char* op = n.op == Op::kAdd ? " + " : " - ";
                re = t(n.a, 'r') + op + t(n.b, 'r');
                im = t(n.a, 'i') + op + t(n.b, 'i');
                prog.census.adds += 2;
                break;
            }
            case Op::kMulReal:
                re = product(t(n.a, 'r'), n.c);
                im = product(t(n.a, 'i'), n.c);
                break;
            case Op::kMulI:
                re = "-" + t(n.a, 'i');
                im = t(n.a, 'r');
                break;
            case Op::kMulImag:
                re = product(t(n.a, 'i'), -n.d);  // the sign on the constant: the same bits
                im = product(t(n.a, 'r'), n.d);
                break;
            case Op::kConj:
            case Op::kRealPart:
            case Op::kImagPart:
            case Op::kMulThree: throw std::runtime_error("real-kernel operation in a complex kernel");
            case Op::kMulCplx: {
                // (a + ib)(c + id) with d's sign written out.
                Real d = n.d < 0 ? -n.d : n.d;
                std::string ac = product(t(n.a, 'r'), n.c), bc = product(t(n.a, 'i'), n.c);
                std::string ad = product(t(n.a, 'r'), d), bd = product(t(n.a, 'i'), d);
                re = n.d < 0 ? ac + " + " + bd : ac + " - " + bd;
                im = n.d < 0 ? bc + " - " + ad : bc + " + " + ad;
                prog.census.adds += 2;
                break;
            }
        }
        const bool load = n.op == Op::kLoad;
        instr_of[id] = prog.Add(load ? Program::Kind::kLoad : Program::Kind::kCompute,
                                StageComments(in.dag, id) + "const float " + t(id, 'r') + " = " + re + ", " +
                                    t(id, 'i') + " = " + im + ";",
                                deps,
                                load ? Program::kFollowUsers : id);
    }
    for (int k = 0; k < in.n; ++k) {
        const Value& v = in.outputs[k];
        if (v.IsZero()) throw std::runtime_error("zero output");
        const char* s = v.negated ? "nscale" : "scale";
        prog.census.muls += 2;
        prog.census.stores += 2;
        prog.Add(Program::Kind::kStore,
                 "y[" + std::to_string(2 * k) + "] = " + t(v.node, 'r') + " * " + s + "; y[" + std::to_string(2 * k + 1) +
                     "] = " + t(v.node, 'i') + " * " + s + ";",
                 {instr_of.at(v.node)});
    }
    bool any_negated = false;
    for (const Value& v : in.outputs) any_negated |= v.negated;
    KernelText out;
    out.body = const_defs + (any_negated ? "    const float nscale = -scale;\n" : "") + prog.Emit("    ");
    out.census = prog.census;
    return out;
}

}  // namespace gen
