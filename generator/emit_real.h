// Scalar emitter of the real DFT and Hartley kernels.
//
// Double precision computes in double throughout. Single precision follows
// the mixed rule of these families: sums and differences in float; every
// product with a constant formed in double from the widened operand; the
// product rounded back to float once, where a float sum takes it. A product
// that feeds another product stays in double, and an output that is itself a
// product is scaled in double and rounded once at the store.
//
// An output obtained by negation is stored as 0 - (s * v), so that a zero
// comes out as +0.0.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "program.h"
#include "real_dag.h"

namespace gen {

struct RealStore {
    std::string element;  // index expression into y
    RealValue value;      // the zero value stores +0.0
    std::string guard;    // if not empty, the store is under `if constexpr (guard)`
};

struct RealKernelInput {
    const RealDag& dag;
    std::function<std::string(int slot)> source;  // index expression into x
    std::vector<RealStore> stores;
    bool single;
};

struct RealCensus {
    int adds = 0, muls = 0, converts = 0, loads = 0, stores = 0;
    std::string Text() const;
};

struct RealKernelText {
    std::string body;  // statements, indented by four spaces
    RealCensus census;
};

RealKernelText EmitReal(const RealKernelInput& in);

}  // namespace gen
