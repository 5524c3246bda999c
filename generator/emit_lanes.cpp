#include "emit_lanes.h"

#include "emit.h"

#include <stdexcept>

namespace gen {

std::string LaneType::Name() const {
    if (!vector) return elem == ElemType::kFloat ? "float" : "double";
    const std::string base = bits == 512 ? "__m512" : bits == 256 ? "__m256" : "__m128";
    return elem == ElemType::kFloat ? base : base + "d";
}

std::string LaneEmitter::Op(const char* op, const std::string& a, const std::string& b) const {
    if (!type_.vector) return a + " " + op + " " + b;
    const char* suffix = type_.elem == ElemType::kFloat ? "ps" : "pd";
    const char* name = op[0] == '+' ? "add" : op[0] == '-' ? "sub" : "mul";
    return type_.Prefix() + "_" + name + "_" + suffix + "(" + a + ", " + b + ")";
}

int LaneEmitter::AddLoad(const std::string& text, std::vector<int> deps) {
    prog_.census.loads += 1;
    return prog_.Add(Program::Kind::kLoad, text, std::move(deps));
}

int LaneEmitter::AddHelper(const std::string& text, std::vector<int> deps) {
    return prog_.Add(Program::Kind::kCompute, text, std::move(deps), Program::kFollowUsers);
}

void LaneEmitter::BindInput(int index, int re_instr, int im_instr, const std::string& re, const std::string& im) {
    inputs_[index] = Cplx{{re, false, re_instr}, {im, false, im_instr}};
}

LaneEmitter::Part_ LaneEmitter::Constant(Real c) {
    std::string lit = HexLiteral(c, type_.elem);
    auto it = constants_.find(lit);
    if (it != constants_.end()) return {it->second};
    std::string name = prefix_ + "kC" + std::to_string(constants_.size());
    constants_.emplace(lit, name);
    std::string value = lit;
    if (type_.vector) value = type_.Prefix() + (type_.elem == ElemType::kFloat ? "_set1_ps(" : "_set1_pd(") + lit + ")";
    const_defs_ += "const " + type_.Name() + " " + name + " = " + value + ";  // " + DecimalText(c, type_.elem) + "\n";
    return {name};
}

LaneEmitter::Part_ LaneEmitter::Product(const Part_& x, Real c, int node) {
    const std::string k = Constant(c).var;
    auto it = products_.find({x.var, k});
    if (it != products_.end()) return it->second;
    std::string name = prefix_ + "p" + std::to_string(temp_++);
    ++prog_.census.muls;
    int instr = prog_.Add(Program::Kind::kCompute,
                          "const " + type_.Name() + " " + name + " = " + Op("*", x.var, k) + ";", {x.instr}, node);
    return products_[{x.var, k}] = Part_{name, x.negated, instr};
}

// x + y or x - y of signed parts: the signs pick add or subtract and the
// operand order, so that no negation is ever computed.
LaneEmitter::Part_ LaneEmitter::Sum(const Part_& x, const Part_& y, bool subtract, int node,
                                    const std::string& name) {
    const bool yneg = y.negated != subtract;
    std::string expr;
    bool negated = false;
    if (x.negated == yneg) {
        expr = Op("+", x.var, y.var);
        negated = x.negated;
    } else if (!x.negated) {
        expr = Op("-", x.var, y.var);
    } else {
        expr = Op("-", y.var, x.var);
    }
    ++prog_.census.adds;
    int instr = prog_.Add(Program::Kind::kCompute, "const " + type_.Name() + " " + name + " = " + expr + ";",
                          {x.instr, y.instr}, node);
    return {name, negated, instr};
}

void LaneEmitter::Compute(const Signal& outputs) {
    for (int id : ReachableNodes(dag_, outputs)) {
        const Node& n = dag_.at(id);
        const std::string t = prefix_ + "t" + std::to_string(id);
        std::string comments = StageComments(dag_, id);
        if (!comments.empty()) prog_.Add(Program::Kind::kCompute, comments.substr(0, comments.size() - 1), {}, id - 0.5);
        Cplx out;
        switch (n.op) {
            case Op::kLoad: {
                auto it = inputs_.find(n.index);
                if (it == inputs_.end()) throw std::runtime_error("unbound input " + std::to_string(n.index));
                out = it->second;
                break;
            }
            case Op::kAdd:
            case Op::kSub: {
                const Cplx& a = values_.at(n.a);
                const Cplx& b = values_.at(n.b);
                const bool sub = n.op == Op::kSub;
                out.re = Sum(a.re, b.re, sub, id, t + "r");
                out.im = Sum(a.im, b.im, sub, id, t + "i");
                break;
            }
            case Op::kMulReal: {
                const Cplx& a = values_.at(n.a);
                out.re = Product(a.re, n.c, id);
                out.im = Product(a.im, n.c, id);
                break;
            }
            case Op::kMulI: {  // (x + iy) * i = -y + ix
                const Cplx& a = values_.at(n.a);
                out.re = a.im;
                out.re.negated = !out.re.negated;
                out.im = a.re;
                break;
            }
            case Op::kMulImag: {  // (x + iy) * id = -dy + idx
                const Cplx& a = values_.at(n.a);
                out.re = Product(a.im, n.d, id);
                out.re.negated = !out.re.negated;
                out.im = Product(a.re, n.d, id);
                break;
            }
            case Op::kConj:
            case Op::kRealPart:
            case Op::kImagPart:
            case Op::kMulThree: throw std::runtime_error("real-kernel operation in a complex kernel");
            case Op::kMulCplx: {  // (x + iy)(c + id): re = cx - dy, im = cy + dx
                const Cplx& a = values_.at(n.a);
                const Real d = n.d < 0 ? -n.d : n.d;
                Part_ cx = Product(a.re, n.c, id), cy = Product(a.im, n.c, id);
                Part_ dx = Product(a.re, d, id), dy = Product(a.im, d, id);
                if (n.d < 0) {
                    dx.negated = !dx.negated;
                    dy.negated = !dy.negated;
                }
                out.re = Sum(cx, dy, true, id, t + "r");
                out.im = Sum(cy, dx, false, id, t + "i");
                break;
            }
        }
        values_[id] = out;
    }
}

std::string LaneEmitter::Part(const Value& v, bool imag, bool negate, std::vector<int>* deps) {
    if (v.IsZero()) throw std::runtime_error("zero output");
    const Cplx& c = values_.at(v.node);
    const Part_& p = imag ? c.im : c.re;
    const bool flip = (p.negated != v.negated) != negate;
    if (p.instr >= 0) deps->push_back(p.instr);
    if (!flip) return p.var;
    if (!type_.vector) return "-" + p.var;
    auto it = negations_.find(p.var);
    if (it == negations_.end()) {
        const bool single = type_.elem == ElemType::kFloat;
        std::string text = "const " + type_.Name() + " n" + p.var + " = " +
                           (single ? type_.Prefix() + "_xor_ps(" + p.var + ", " + type_.Prefix() + "_set1_ps(-0.0f));"
                                   : type_.Prefix() + "_xor_pd(" + p.var + ", " + type_.Prefix() + "_set1_pd(-0.0));");
        ++prog_.census.adds;
        it = negations_.emplace(p.var, prog_.Add(Program::Kind::kCompute, text, {p.instr})).first;
    }
    deps->push_back(it->second);
    return "n" + p.var;
}

void LaneEmitter::AddStore(const std::string& text, std::vector<int> deps) {
    ++prog_.census.stores;
    prog_.Add(Program::Kind::kStore, text, std::move(deps));
}

std::string LaneEmitter::Body(const std::string& indent) {
    std::string defs;
    size_t start = 0;
    while (start < const_defs_.size()) {
        size_t end = const_defs_.find('\n', start);
        defs += indent + const_defs_.substr(start, end - start) + "\n";
        start = end + 1;
    }
    return defs + prog_.Emit(indent, true);
}

}  // namespace gen
