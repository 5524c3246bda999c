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
#include <set>
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
    // Whether the second input slot (or store) sits right after the first
    // in memory, in every layout: the packed emitter moves such pairs with
    // one access.
    std::function<bool(int slot, int next_slot)> sources_adjacent = [](int, int) { return false; };
    std::function<bool(int store, int next_store)> stores_adjacent = [](int, int) { return false; };
    // Values the packed SSE2 body keeps alive at once in its issue order
    // (Program::Emit); 0: no limit.
    int registers = 0;
    // Single precision: the packed bodies form exact products as float
    // products (emit_real_sse.cpp).
    bool float_products = true;
};

struct RealCensus {
    int adds = 0, muls = 0, shuffles = 0, converts = 0, loads = 0, stores = 0;
    int bitwise = 0;  // of the shuffles, the sign flips and blends (any vector port runs them)
    int Instructions() const { return adds + muls + shuffles + converts + loads + stores; }
    std::string Text() const;
};

struct RealKernelText {
    std::string constants;  // namespace-scope definitions (may be empty)
    std::string body;       // statements, indented by four spaces
    RealCensus census;
    int critical_path = 0;  // cycles, as Program::CriticalPath estimates them
    bool packed = false;    // SSE2 vectors rather than scalars
    bool wide = false;      // four-lane instructions (AVX)
};

RealKernelText EmitReal(const RealKernelInput& in);

// How the packed emitter chooses which operations share a vector: twin
// sub-transforms first (or not), then operations of one level that take at
// most `limit` shuffles and sign flips to line their operands up.
struct RealPairing {
    bool twins;
    int limit;
    bool largest_twins_first = true;  // else in the order the builders made them
    // Pairs traced down from the outputs first: from neighbouring outputs,
    // or from the two operands of each output sum (the Hartley transform's
    // Re X[k] and Im X[k], which the forward body pairs).
    enum class Seeds { kNone, kNeighbouringOutputs, kOutputOperands } seeds = Seeds::kNone;
    bool crossed_twins = false;  // twins as RealDag::crossed_twins pairs them
    // Single precision: exact products (emit_real_sse.cpp) pair only with
    // each other, never with another product, which would keep them in
    // double; else such a mixed pair is taken after all others of its cost.
    bool exact_products_apart = false;
};

// How the 256-bit emitter chooses which two-lane instructions become one
// (emit_real_wide.cpp): a pair whose operands already sit side by side in
// wide vectors scores 2 per operand, one whose operands are both loads 1.
struct RealFusion {
    bool fuse;      // false: no pairs, only the single-width rewrites below
    int min_score;  // least score of a fused add or subtract
    // AVX-512VL's two-source permute (vpermt2ps): float lanes taken from two
    // vectors in any order with one shuffle (x86-64-v4).
    bool two_source_permutes = false;
    // Unfused instructions whose operands all lie in high halves done there
    // at full width rather than after moving the operands down.
    bool in_place = false;
};

// The same arithmetic with two operations per SSE2 instruction where they
// pair (emit_real_sse.cpp), then for each of `fusions` that body with pairs
// of its two-lane instructions fused into one instruction of four lanes:
// four floats in a __m128 and four doubles in a __m256d (x86-64-v3 and up).
// All bit-identical to EmitReal's body. Constant vectors go to a table
// named `table`.
std::vector<RealKernelText> EmitRealPacked(const RealKernelInput& in, const std::string& table,
                                           const RealPairing& pairing, const std::vector<RealFusion>& fusions);

// The products of a single-precision body that may be float products
// (emit_real_sse.cpp): a constant that is a float, a float operand (not
// itself a product), and taken only by sums, neither by another product nor
// by a store, which scale the double value. Empty in double precision or
// without `in.float_products`.
std::set<int> ExactProducts(const RealKernelInput& in);
struct RealSseRecording;
RealKernelText FuseRealPairs(const RealSseRecording& rec, const std::string& table, const RealFusion& fusion);

}  // namespace gen
