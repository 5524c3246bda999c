// What the transform needs to know about a built kind-6 plan, read from the
// DCT4Spec's lists the way the stages are found on every call.
//
// Layouts the planner fills and the generated kernels read (w = 4 floats or
// 2 doubles per vector, L = N/2 complex points, r the top radix, B = N/(2r)
// the complex points of one phase, all divisions truncating):
//
//   rotation table   for q-group g < B/w and phase a < r, one 32-byte unit
//                    [cos t(a, q) for q = g*w .. g*w+w-1][sin t(a, q) ...]
//                    at unit g*r + a, where t(a, q) = pi*(4a+1)(4q+1)/(4N);
//   step table       (radix r2 splitting a phase of b complex points into
//                    r2 parts of b2 = b/r2): for q2 < b2 and d = 1..r2-1 the
//                    unit q2*(r2-1) + (d-1) holds w copies of cos u(d, q2)
//                    then w copies of sin u(d, q2), u = pi*d*(4*q2+1)/(2b);
//   work buffers     N elements each, 32-byte aligned.
#pragma once

#include <cstdint>

struct DCT4Spec;

namespace qvn::dct4 {

constexpr int kMaxRadixSteps = 8;

struct RadixStepView {
    int radix;              // r2
    int points;             // b, complex points of the phase this step splits
    const void* twiddles;   // its step table
    void* work;             // its work buffer
};

struct PlanView {
    std::int32_t kind;      // the DCT4Spec's kind word as stored
    std::int32_t length;    // N as stored
    int radix;              // r
    int phase_points;       // B = N/(2r)
    bool input_usable;      // the input stage is marked usable
    bool output_usable;     // the output stage is marked usable
    int output_selector;    // 1..6 as stored by the rotation-table fill (1 + log2(r/2) for r = 2..32)
    const void* rotation;   // rotation table
    void* work;             // the DCT4Spec's work buffer
    int steps;              // radix steps from the top, 0 when B <= 32
    RadixStepView step[kMaxRadixSteps];
    int leaf_points;        // complex points of the direct kernel at the bottom (B / product of radices)
};

// Fills `view` from a DCT4Spec whose kind is 6, following outputStages and
// inputStages and the stage lists below them. Reads only; never fails on a
// DCT4Spec that Init built.
void ReadPlan(const DCT4Spec* spec, PlanView* view);

}  // namespace qvn::dct4
