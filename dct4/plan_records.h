// The records a DCT-IV plan is built from. Every record is a fixed number of
// 32-bit words, so a plan has the same size and layout on 32- and 64-bit
// builds and GetSize can promise the same byte count on both. References
// between records are offsets from the block's arena word (0 = none), the
// function words are tags (see ReleaseTag and FunctionTag), and each record
// starts with the PlanObject header: release tag, record size, function tag,
// distance back to the arena word.
//
// The object tree of a kind-6 plan (N the length, r the top radix, w the
// vector width, e the element size):
//
//   DCT4Spec (44) + work buffer N*e
//     ownedObjects: twiddle source (36), output stage, input stage
//     outputStages: output stage (64)
//       stage list, owned list: rotation table (64) + table 32*r*(N/(2r)/w)
//                                 owned list: view (28)
//     inputStages: input stage (60)
//       stage list, owned list: input kernel plan (60)
//         stage list, owned list: radix step, when N/r is not direct
//
//   radix step (64) over n, radix r2 + work buffer N*e
//     owned list: step table, sub-step
//     outputs:    step table (72) + table (r2-1)*32*(n/(2*r2))
//                   owned list: step twiddle source (24)
//     inputs:     sub-step (68) over n/r2
//                   stage list, owned list: next radix step, when n/r2 is not direct
//
// Every record is released by whoever holds it in an owned list; its release
// function gives back what the record took beyond itself (its lists, tables
// and buffers), and the list walk then gives back the record.
#pragma once

#include <cstddef>
#include <cstdint>

#include "plan_runtime/arena.h"
#include "qvngen.h"

// The specification: eleven 32-bit words in a fixed order.
struct DCT4Spec {
    qvn::plan::PlanObject header;  // releaseFn, objectSize (44), buildFn, arena
    std::uint32_t ownedObjects;    // head node: the objects the DCT4Spec releases
    std::uint32_t outputStages;    // head node: the stage that writes the destination
    std::uint32_t inputStages;     // head node: the stage that reads the source
    std::uint32_t workBuffer;      // N elements, 0 for the direct lengths
    std::int32_t kind;             // 1..5 for N = 2..32, 6 for a planned length
    std::int32_t radix;            // top radix r (kind 6)
    std::int32_t length;           // N
};
static_assert(sizeof(DCT4Spec) == 44);
static_assert(offsetof(DCT4Spec, header) + offsetof(qvn::plan::PlanObject, size) == 4);
static_assert(offsetof(DCT4Spec, header) + offsetof(qvn::plan::PlanObject, function) == 8);
static_assert(offsetof(DCT4Spec, header) + offsetof(qvn::plan::PlanObject, arena) == 12);
static_assert(offsetof(DCT4Spec, ownedObjects) == 16);
static_assert(offsetof(DCT4Spec, outputStages) == 20);
static_assert(offsetof(DCT4Spec, inputStages) == 24);
static_assert(offsetof(DCT4Spec, workBuffer) == 28);
static_assert(offsetof(DCT4Spec, kind) == 32);
static_assert(offsetof(DCT4Spec, radix) == 36);
static_assert(offsetof(DCT4Spec, length) == 40);

namespace qvn::dct4 {

// What a record's release word names. Nonzero, so an unwritten word is
// never mistaken for a release function.
enum ReleaseTag : std::uint32_t {
    kReleaseNothing = 1,  // value-only records: nothing beyond the record
    kReleaseSpec32f,
    kReleaseSpec64f,
    kReleaseOutputStage,
    kReleaseRotationTable,
    kReleaseInputStage,
    kReleaseInputPlan,
    kReleaseRadixStep,
    kReleaseStepTable,
    kReleaseSubStep,
};

// What a record's function word names: the DCT4Spec's builder, or the value
// function of a twiddle source or view.
enum FunctionTag : std::uint32_t {
    kFunctionNone = 0,
    kBuildPlan32f,
    kBuildPlan64f,
    kValueTwiddle32f,
    kValueTwiddle64f,
    kValueView32f,
    kValueView64f,
    kValueStep32f,
    kValueStep64f,
};

// Computes rotation-table entries on demand. Entry (i, j), j < columns:
// k = rowStride*i + j, h = k/2, q = h/radix, p = h%radix; the cosine (k even)
// or sine (k odd) of pi*(4p+1)(4q+1)/(4N), the angle formed as
// 2(4q+1)(4p+1) / eightN in the element precision.
struct TwiddleSource {
    plan::PlanObject header;
    std::int32_t columns;      // 2r: a cosine and a sine per phase
    std::int32_t eightN;       // 8N
    std::int32_t phasePoints;  // N/(2r)
    std::int32_t radix;        // r
    std::int32_t rowStride;    // 2r
};
static_assert(sizeof(TwiddleSource) == 36);

// Re-indexes a twiddle source by vector groups: entry (g, l, c) is the
// source's entry (l + w*g, c), so group g, lane l holds q = w*g + l.
struct TwiddleView {
    plan::PlanObject header;
    std::int32_t columns;  // 2r
    std::int32_t groups;   // N/(2r)/w q-groups
    std::uint32_t source;  // the twiddle source
};
static_assert(sizeof(TwiddleView) == 28);

// Second stage: work buffer to destination through the rotation table.
struct OutputStage {
    plan::PlanObject header;
    std::int32_t radix;        // r
    std::int32_t length;       // N
    std::int32_t twoR;         // 2r
    std::int32_t phasePoints;  // N/(2r)
    std::int32_t dstLength;    // N
    std::int32_t last;         // 2N-1
    std::int32_t subLength;    // N/r
    std::uint32_t source;      // the twiddle source
    std::uint32_t stageList;   // head: the rotation table
    std::uint32_t ownedList;   // head: the rotation table
    std::int32_t usable;       // 1 once N/(2r) passed the vector-width test
    std::int32_t width;        // w
};
static_assert(sizeof(OutputStage) == 64);

// The filled rotation table of the output stage (layout in plan_view.h).
struct RotationTable {
    plan::PlanObject header;
    std::int32_t radix;      // r
    std::int32_t length;     // N
    std::int32_t twoR;       // 2r
    std::int32_t eightR;     // 8r
    std::int32_t groups;     // N/(2r)/w
    std::int32_t dstLength;  // N
    std::int32_t last;       // 2N-1
    std::int32_t subLength;  // N/r
    std::uint32_t view;      // the view the table was filled through
    std::uint32_t ownedList; // head: the view
    std::uint32_t table;     // 32*r*groups bytes
    std::int32_t selector;   // output kernel variant: 1 + log2(r/2)
};
static_assert(sizeof(RotationTable) == 64);

// First stage: source to work buffer.
struct InputStage {
    plan::PlanObject header;
    std::int32_t subLength;  // N/r
    std::int32_t length;     // N
    std::int32_t last;       // 2N-1
    std::int32_t twoR;       // 2r
    std::int32_t radix;      // r
    std::int32_t dstLength;  // N
    std::int32_t dstStride;  // r
    std::uint32_t stageList; // head: the input kernel plan
    std::uint32_t ownedList; // head: the input kernel plan
    std::int32_t usable;     // 1 once r passed the vector-width test
    std::int32_t width;      // w
};
static_assert(sizeof(InputStage) == 60);

// Sub-kinds of a sub-length: 1..6 for the direct kernels of 2..64 elements,
// 7 for a length split further by a radix step.
constexpr std::int32_t kSubKindSplit = 7;

// Parameters of the first-stage kernel over the sub-length N/r.
struct InputPlan {
    plan::PlanObject header;
    std::int32_t subLength;    // N/r
    std::int32_t length;       // N
    std::int32_t last;         // 2N-1
    std::int32_t twoR;         // 2r
    std::int32_t vectorRadix;  // r/w
    std::int32_t dstLength;    // N
    std::int32_t dstStride;    // r
    std::uint32_t stageList;   // head: the radix step (sub-kind 7)
    std::uint32_t ownedList;   // head: the radix step (sub-kind 7)
    std::int32_t subKind;
    std::int32_t points;       // N/(2r) complex points
};
static_assert(sizeof(InputPlan) == 60);

// One level of the recursive split of a sub-length n by radix r2.
struct RadixStep {
    plan::PlanObject header;
    std::int32_t subLength;   // n
    std::int32_t radix;       // r2
    std::int32_t rest;        // n/r2
    std::int32_t points;      // n/2 complex points
    std::int32_t length;      // N
    std::uint32_t workBytes;  // N*e
    std::uint32_t ownedList;  // head: step table, sub-step
    std::uint32_t outputs;    // head: step table
    std::uint32_t inputs;     // head: sub-step
    std::uint32_t work;       // N elements
    std::int32_t usable;      // 1 once the whole split below it is built
    std::int32_t depth;       // 0 for the step under the input kernel plan
};
static_assert(sizeof(RadixStep) == 64);

// Computes step-table angles on demand: entry (q2, d, c) is the cosine (c 0)
// or sine (c 1) of pi*d*(4*q2+1)/(2b), b = n/2, the angle formed as
// d*(4*q2+1) / (2b) in the element precision.
struct StepSource {
    plan::PlanObject header;
    std::int32_t subLength;  // n
    std::int32_t radix;      // r2
};
static_assert(sizeof(StepSource) == 24);

// The filled twiddle table of one radix step (layout in plan_view.h).
struct StepTable {
    plan::PlanObject header;
    std::int32_t radix;          // r2
    std::int32_t subPoints;      // n/(2*r2)
    std::int32_t points;         // n/2
    std::int32_t last;           // n-1
    std::int32_t rest;           // n/r2
    std::uint32_t source;        // the step twiddle source
    std::uint32_t ownedList;     // head: the step twiddle source
    std::uint32_t table;         // (r2-1)*32*subPoints bytes
    std::int32_t width;          // w
    std::uint32_t unused[5];     // keeps the record at its fixed 72 bytes
};
static_assert(sizeof(StepTable) == 72);

// The remainder n/r2 after a radix step.
struct SubStep {
    plan::PlanObject header;
    std::int32_t subLength;    // n/r2
    std::int32_t points;       // n/(2*r2)
    std::int32_t length;       // N
    std::int32_t parentRadix;  // r2
    std::uint32_t stageList;   // head: the next radix step (sub-kind 7)
    std::uint32_t ownedList;   // head: the next radix step (sub-kind 7)
    std::int32_t subKind;
    std::uint32_t unused[6];   // keeps the record at its fixed 68 bytes
};
static_assert(sizeof(SubStep) == 68);

// Element precision of a plan.
template <class Real>
struct Precision;
template <>
struct Precision<float> {
    static constexpr std::int32_t kWidth = 4;
    static constexpr std::uint32_t kReleaseSpec = kReleaseSpec32f;
    static constexpr std::uint32_t kBuild = kBuildPlan32f;
    static constexpr std::uint32_t kTwiddleValue = kValueTwiddle32f;
    static constexpr std::uint32_t kViewValue = kValueView32f;
    static constexpr std::uint32_t kStepValue = kValueStep32f;
};
template <>
struct Precision<double> {
    static constexpr std::int32_t kWidth = 2;
    static constexpr std::uint32_t kReleaseSpec = kReleaseSpec64f;
    static constexpr std::uint32_t kBuild = kBuildPlan64f;
    static constexpr std::uint32_t kTwiddleValue = kValueTwiddle64f;
    static constexpr std::uint32_t kViewValue = kValueView64f;
    static constexpr std::uint32_t kStepValue = kValueStep64f;
};

// Bytes of an N-element work buffer. Computed in 32 bits on purpose: the
// specification gives back exactly what it took, whatever N was passed.
template <class Real>
constexpr std::uint32_t WorkBytes(std::int32_t length) {
    return static_cast<std::uint32_t>(length) * static_cast<std::uint32_t>(sizeof(Real));
}

// 1..5 for N = 2, 4, 8, 16, 32; 6 for every other N.
std::int32_t SpecKind(std::int32_t length);

// Arena bytes a plan of this length is given (without the 64 bytes of arena
// word and realignment): the exact 64-bit total, which may exceed what a
// 32-bit size can express, or -1 when a radix choice or a vector-width test
// fails. Init takes exactly this much, except on one more than a power of
// two, where it takes 32 bytes less (see the rotation table term).
template <class Real>
std::int64_t PredictArenaBytes(std::int32_t length);

// Runs the builder the DCT4Spec's function word names. Returns kStatusOk, or
// kStatusBadSize with the DCT4Spec partly built (release it with ReleaseSpec).
Status BuildPlan(DCT4Spec* spec);

// Gives back everything the DCT4Spec owns except its own 44 bytes: the work
// buffer, the stage lists, the owned objects and their lists.
template <class Real>
void ReleaseSpec(DCT4Spec* spec);

// Runs the release function a record's release word names.
void ReleaseObject(plan::PlanObject* object);

}  // namespace qvn::dct4
