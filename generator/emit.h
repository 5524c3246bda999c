// Emitters: turn the DAG of one transform into the statements of a kernel
// body `template <class Mem> void f(const T* x, T* y, T scale)`.
//   scalar     single precision, N = 2..5: one float per operation
//              (optionally with every constant product formed in double);
//   sse2 pd    double precision: one complex value per __m128d;
//   sse2 ps    single precision: two complex values per __m128, pairing
//              isomorphic independent operations level by level;
//   paired     the same pairing for any two-slot shape (vector_shape.h),
//              e.g. two complex doubles per __m256d;
//   quad       four complex values per register (emit_quad.cpp), e.g. four
//              complex floats per __m256.
// Every output is multiplied by the scale as its last operation.
#pragma once

#include <string>

#include "dag.h"
#include "program.h"

namespace gen {

struct KernelText {
    std::string constants;  // namespace-scope table definition (may be empty)
    std::string body;       // statements of the function body
    Census census;
};

struct KernelInput {
    const Dag& dag;
    const Signal& outputs;
    int n;
    std::string const_table;  // name of the constant table to define
    // Registers the body's values may take (BodyRegisters): its order keeps
    // at most this many alive where the algorithm's own order does (0: no
    // limit, as in Program::Emit).
    int registers = 0;
};

KernelText EmitScalar(const KernelInput& in, bool products_in_double);
KernelText EmitSseDouble(const KernelInput& in);
KernelText EmitSsePaired(const KernelInput& in);
class PairShape;
KernelText EmitPaired(const KernelInput& in, const PairShape& shape);
class QuadShape;
KernelText EmitQuad(const KernelInput& in, const QuadShape& shape);

// Nodes the outputs depend on, in topological order (ids ascending).
std::vector<int> ReachableNodes(const Dag& dag, const Signal& outputs);

// Comment lines for the stages of the algorithm that start at `node` (with
// a trailing newline), or "".
std::string StageComments(const Dag& dag, int node);

}  // namespace gen
