#include "emit_real.h"

#include <map>
#include <set>
#include <stdexcept>

namespace gen {

std::string RealCensus::Text() const {
    std::string s = std::to_string(adds) + " add, " + std::to_string(muls) + " mul";
    if (shuffles > 0) s += ", " + std::to_string(shuffles) + " shuffle";
    if (bitwise > 0) s += " (" + std::to_string(bitwise) + " of them blends or sign flips)";
    if (converts > 0) s += ", " + std::to_string(converts) + " cvt";
    return s + ", " + std::to_string(loads) + " load, " + std::to_string(stores) + " store";
}

RealKernelText EmitReal(const RealKernelInput& in) {
    const RealDag& dag = in.dag;
    const char* elem = in.single ? "float" : "double";
    Program prog;
    RealCensus census;
    std::map<std::string, std::string> const_names;  // literal -> name
    std::string const_defs;
    auto constant = [&](Real c) {
        std::string lit = HexLiteral(c, ElemType::kDouble);
        auto it = const_names.find(lit);
        if (it != const_names.end()) return it->second;
        std::string name = "kC" + std::to_string(const_names.size());
        const_names.emplace(lit, name);
        const_defs += "    constexpr double " + name + " = " + lit + ";  // " + DecimalText(c, ElemType::kDouble) + "\n";
        return name;
    };

    std::vector<RealValue> outputs;
    for (const RealStore& s : in.stores) outputs.push_back(s.value);
    const std::vector<int> order = ReachableNodes(dag, outputs);

    // A product in a single-precision kernel is the double `d<id>`; the float
    // `t<id>` is its rounding, made only where a float sum needs it.
    auto is_product = [&](int id) { return dag.at(id).op == RealOp::kMul; };
    const bool mixed = in.single;
    std::set<int> narrowed_needed;
    for (int id : order) {
        const RealNode& n = dag.at(id);
        if (n.op == RealOp::kAdd || n.op == RealOp::kSub)
            for (int operand : {n.a, n.b})
                if (mixed && is_product(operand)) narrowed_needed.insert(operand);
    }
    auto t = [](int id) { return "t" + std::to_string(id); };
    auto d = [](int id) { return "d" + std::to_string(id); };

    std::map<int, int> instr_of;      // node -> instruction defining its value
    std::map<int, int> narrowing_of;  // product node -> instruction defining t<id>
    for (int id : order) {
        const RealNode& n = dag.at(id);
        std::string comments;
        auto label = dag.labels().equal_range(id);
        for (auto it = label.first; it != label.second; ++it) comments += "// " + it->second + "\n";
        auto dep = [&](int operand) {
            return mixed && is_product(operand) && dag.at(id).op != RealOp::kMul ? narrowing_of.at(operand)
                                                                                  : instr_of.at(operand);
        };
        switch (n.op) {
            case RealOp::kLoad:
                ++census.loads;
                instr_of[id] = prog.Add(Program::Kind::kLoad,
                                        "const " + std::string(elem) + " " + t(id) + " = x[" + in.source(n.index) + "];",
                                        {});
                break;
            case RealOp::kAdd:
            case RealOp::kSub: {
                ++census.adds;
                const char* op = n.op == RealOp::kAdd ? " + " : " - ";
                instr_of[id] = prog.Add(Program::Kind::kCompute,
                                        comments + "const " + elem + " " + t(id) + " = " + t(n.a) + op + t(n.b) + ";",
                                        {dep(n.a), dep(n.b)}, id);
                break;
            }
            case RealOp::kMul: {
                ++census.muls;
                if (!mixed) {
                    instr_of[id] = prog.Add(Program::Kind::kCompute,
                                            comments + "const double " + t(id) + " = " + t(n.a) + " * " + constant(n.c) + ";",
                                            {instr_of.at(n.a)}, id);
                    break;
                }
                // Widen a float operand; a product operand is still double.
                std::string operand = is_product(n.a) ? d(n.a) : "double(" + t(n.a) + ")";
                if (!is_product(n.a)) ++census.converts;
                instr_of[id] = prog.Add(Program::Kind::kCompute,
                                        comments + "const double " + d(id) + " = " + operand + " * " + constant(n.c) + ";",
                                        {instr_of.at(n.a)}, id);
                if (narrowed_needed.count(id)) {
                    ++census.converts;
                    narrowing_of[id] = prog.Add(Program::Kind::kCompute,
                                                "const float " + t(id) + " = float(" + d(id) + ");", {instr_of[id]},
                                                id + 0.5);
                }
                break;
            }
        }
    }

    bool wide_scale = false;
    for (const RealStore& s : in.stores) {
        std::string text;
        std::vector<int> deps;
        const RealValue& v = s.value;
        // After every load: the destination may be the source.
        for (const auto& [node, instr] : instr_of)
            if (dag.at(node).op == RealOp::kLoad) deps.push_back(instr);
        if (v.IsZero()) {
            text = "y[" + s.element + "] = " + (in.single ? "0.0f;" : "0.0;");
        } else if (mixed && is_product(v.node)) {
            // Still in double: scaled in double, rounded once.
            wide_scale = true;
            census.converts += 1;
            std::string scaled = "wide_scale * " + d(v.node);
            text = "y[" + s.element + "] = float(" + (v.negated ? "0.0 - " + scaled : scaled) + ");";
            deps.push_back(instr_of.at(v.node));
        } else {
            std::string scaled = "scale * " + t(v.node);
            text = "y[" + s.element + "] = " + (v.negated ? (in.single ? "0.0f - " : "0.0 - ") + scaled : scaled) + ";";
            deps.push_back(instr_of.at(v.node));
        }
        if (v.negated) ++census.adds;
        if (!s.guard.empty()) text = "if constexpr (" + s.guard + ") " + text;
        ++census.stores;
        prog.Add(Program::Kind::kStore, text, deps);
    }
    RealKernelText out;
    out.body = const_defs;
    if (wide_scale) out.body += "    const double wide_scale = scale;\n";
    out.body += prog.Emit("    ");
    out.census = census;
    out.critical_path = prog.CriticalPath();
    return out;
}

}  // namespace gen
