// Lane-parallel emitter: every complex DAG node becomes two variables, its
// real and its imaginary part, of one lane type: a scalar (float, double) or
// a vector (__m128, __m128d; __m256, __m256d) whose lanes run independent
// copies of the same transform. Nothing is ever shuffled between lanes here, so the DAG maps
// one real operation to one instruction.
//
// Signs travel with the parts, as they do on the DAG's edges: a part may be
// "the negation of variable v", which the next add or subtract absorbs, and
// a multiplication by i is a renaming. Only a store of a negated part costs
// an explicit sign flip.
//
// Loads and stores are the kernel's own business: the kernel adds the load
// statements, binds each DAG input to the variables they define, and forms
// its stores from the output parts. The list scheduler of program.h orders
// everything (loads right before their first use, stores when ready).
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "dag.h"
#include "program.h"

namespace gen {

struct LaneType {
    ElemType elem;
    bool vector;
    int bits = 128;  // vector width: 128 (SSE2), 256 (AVX) or 512 (AVX-512)
    std::string Name() const;  // float, double, __m128, __m128d, __m256, __m256d, __m512, __m512d
    std::string Elem() const { return elem == ElemType::kFloat ? "float" : "double"; }
    int Lanes() const { return vector ? bits / (elem == ElemType::kFloat ? 32 : 64) : 1; }
    std::string Prefix() const { return bits == 512 ? "_mm512" : bits == 256 ? "_mm256" : "_mm"; }  // of the intrinsics
};

class LaneEmitter {
public:
    // `prefix` starts every name the emitter makes up, so that two emitters
    // can share one function body.
    LaneEmitter(const Dag& dag, LaneType type, std::string prefix = "")
        : dag_(dag), type_(type), prefix_(std::move(prefix)) {}

    // A load statement (any number of lines) that the inputs bound to it use.
    int AddLoad(const std::string& text, std::vector<int> deps = {});
    // A computation outside the DAG (e.g. a product with a table value),
    // placed right before its first user.
    int AddHelper(const std::string& text, std::vector<int> deps);
    void BindInput(int index, int re_instr, int im_instr, const std::string& re, const std::string& im);
    void BindInput(int index, int instr, const std::string& re, const std::string& im) {
        BindInput(index, instr, instr, re, im);
    }

    // Adds the computations of every node the outputs need.
    void Compute(const Signal& outputs);

    // Expression of the real (imag = false) or imaginary part of an output,
    // negated if `negate`; appends the instruction it needs to `deps`.
    std::string Part(const Value& v, bool imag, bool negate, std::vector<int>* deps);
    void AddStore(const std::string& text, std::vector<int> deps);

    // Constant definitions followed by the scheduled statements.
    std::string Body(const std::string& indent);
    Census& census() { return prog_.census; }
    const LaneType& type() const { return type_; }

private:
    struct Part_ {
        std::string var;
        bool negated = false;
        int instr = -1;
    };
    struct Cplx {
        Part_ re, im;
    };
    Part_ Constant(Real c);
    Part_ Product(const Part_& x, Real c, int node);
    Part_ Sum(const Part_& x, const Part_& y, bool subtract, int node, const std::string& name);
    std::string Op(const char* op, const std::string& a, const std::string& b) const;

    const Dag& dag_;
    LaneType type_;
    std::string prefix_;
    Program prog_;
    std::map<int, Cplx> inputs_;
    std::map<int, Cplx> values_;  // node -> parts
    std::map<std::string, std::string> constants_;  // literal -> name
    std::string const_defs_;
    std::map<std::pair<std::string, std::string>, Part_> products_;  // (var, constant) -> product
    std::map<std::string, int> negations_;  // var -> instruction defining its negation
    int temp_ = 0;
};

}  // namespace gen
