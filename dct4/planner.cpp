// The DCT-IV planner: chooses the radices, builds the object tree of a
// kind-6 plan in the DCT4Spec's arena, fills its tables, and predicts
// to the byte how much arena that tree takes.
#include <bit>
#include <cstdint>
#include <utility>

#include "dct4/plan_records.h"
#include "plan_runtime/plan_math.h"

namespace qvn::dct4 {

using plan::ArenaGiveBack;
using plan::ArenaOf;
using plan::ArenaTake;
using plan::AtOffset;
using plan::ChooseRadix;
using plan::ListCreate;
using plan::OffsetIn;
using plan::PlanArena;
using plan::PlanNode;
using plan::PlanObject;
using plan::TakeObject;

std::int32_t SpecKind(std::int32_t length) {
    switch (length) {
        case 2: return 1;
        case 4: return 2;
        case 8: return 3;
        case 16: return 4;
        case 32: return 5;
        default: return 6;
    }
}

namespace {

constexpr std::uint32_t kUnitBytes = 32;

// 1..6 for the sub-lengths a direct kernel computes, kSubKindSplit otherwise.
std::int32_t SubKind(std::int32_t subLength) {
    switch (subLength) {
        case 2: return 1;
        case 4: return 2;
        case 8: return 3;
        case 16: return 4;
        case 32: return 5;
        case 64: return 6;
        default: return kSubKindSplit;
    }
}

std::uint32_t RotationBytes(std::int32_t radix, std::int32_t groups) {
    return kUnitBytes * static_cast<std::uint32_t>(radix) * static_cast<std::uint32_t>(groups);
}

std::uint32_t StepTableBytes(std::int32_t radix, std::int32_t subPoints) {
    return static_cast<std::uint32_t>(radix - 1) * kUnitBytes * static_cast<std::uint32_t>(subPoints);
}

// ---------------------------------------------------------------------------
// Prediction

constexpr std::int64_t Round(std::int64_t bytes) { return (bytes + 31) & ~std::int64_t{31}; }
constexpr std::int64_t kNode = 32;  // one list node, RoundUp32(12)

// A sub-length's share: its kernel plan (60 bytes at the top, 68 for a
// sub-step) with two list heads, and for a split sub-length the radix step
// below it. -1 when a radix choice fails.
template <class Real>
std::int64_t PredictStage(std::int32_t subLength, std::int32_t length, std::int64_t planBytes) {
    if (SubKind(subLength) != kSubKindSplit) return Round(0) + Round(planBytes) + 2 * kNode;
    std::int32_t radix;
    if (ChooseRadix(&radix, subLength / 2) != kStatusOk) return -1;
    const std::int64_t below = PredictStage<Real>(subLength / radix, length, sizeof(SubStep));
    if (below < 0) return -1;
    const std::int64_t table = Round(std::int64_t{radix - 1} * kUnitBytes * (subLength / (2 * radix))) +
                               Round(sizeof(StepTable)) + kNode;
    const std::int64_t step = Round(std::int64_t{length} * std::int64_t{sizeof(Real)}) + Round(sizeof(RadixStep)) +
                              3 * kNode + 2 * kNode + Round(sizeof(StepSource)) + kNode + 2 * kNode;
    const std::int64_t owner = Round(0) + Round(planBytes) + 2 * kNode + 2 * kNode;
    return table + below + step + owner;
}

}  // namespace

template <class Real>
std::int64_t PredictArenaBytes(std::int32_t length) {
    if (SpecKind(length) != 6) return Round(0) + Round(sizeof(DCT4Spec)) + 3 * kNode;
    std::int32_t radix;
    if (ChooseRadix(&radix, length / 2) != kStatusOk) return -1;
    // The stage kernels work on whole vectors: Init refuses a length unless
    // N/(2r) (output stage) and r (input stage) are multiples of the width.
    constexpr std::int32_t w = Precision<Real>::kWidth;
    if ((length / (2 * radix)) % w != 0 || radix % w != 0) return -1;
    const std::int64_t stage = PredictStage<Real>(length / radix, length, sizeof(InputPlan));
    if (stage < 0) return -1;
    const std::int64_t elements = Round(std::int64_t{length} * std::int64_t{sizeof(Real)});
    // The rotation table is counted as N elements (N/2 cosine-sine pairs).
    // That is its size when 2r divides N; for one more than a power of two
    // N/(2r) truncates, the table Init fills is one 32-byte unit smaller,
    // and the block reported is that much larger than the plan takes.
    const std::int64_t rotation = elements;
    const std::int64_t outputBlock = rotation + Round(sizeof(RotationTable)) + kNode + Round(0) +
                                     Round(sizeof(OutputStage)) + 2 * kNode + 2 * kNode +
                                     Round(sizeof(TwiddleView)) + kNode;
    const std::int64_t inputBlock = stage + Round(0) + Round(sizeof(InputStage)) + 2 * kNode + 2 * kNode;
    const std::int64_t specBlock = elements + Round(sizeof(DCT4Spec)) + 3 * kNode + 2 * kNode +
                                   Round(sizeof(TwiddleSource)) + kNode + 2 * kNode;
    return outputBlock + inputBlock + specBlock;
}

template std::int64_t PredictArenaBytes<float>(std::int32_t);
template std::int64_t PredictArenaBytes<double>(std::int32_t);

namespace {

// ---------------------------------------------------------------------------
// Values on demand

template <class Real>
Real Ratio(std::int64_t numerator, std::int64_t denominator) {
    return static_cast<Real>(numerator) / static_cast<Real>(denominator);
}

template <class Real>
double CosPi(Real x) {
    if constexpr (sizeof(Real) == 4) return plan::CosPi32f(x);
    else return plan::CosPi64f(x);
}

template <class Real>
double SinPi(Real x) {
    if constexpr (sizeof(Real) == 4) return plan::SinPi32f(x);
    else return plan::SinPi64f(x);
}

// cos (sine = false) or sin of pi * num / den for num >= 0. The angle is
// reduced to [0, pi/4] in integers first and the symmetries give the rest:
// pi * x is rounded in the helpers, so an unreduced angle near 2*pi would
// carry up to 3 units of rounding into the table, a reduced one none worth
// speaking of. In single precision the reduced x is formed in float (exactly,
// as den is a power of two) and widened by the helpers.
template <class Real>
double RotationPart(std::int64_t num, std::int64_t den, bool sine) {
    const std::int64_t m = num % (2 * den);        // angle pi*m/den in [0, 2*pi)
    const std::int64_t quadrant = 2 * m / den;     // 0..3
    const std::int64_t rest = 2 * m - quadrant * den;  // pi/2 * rest/den in [0, pi/2)
    const bool upper = 2 * rest > den;             // past pi/4: use the complement
    const Real x = Ratio<Real>(upper ? den - rest : rest, 2 * den);
    double c = CosPi(x), s = SinPi(x);
    if (upper) std::swap(c, s);
    switch (quadrant) {
        case 0: return sine ? s : c;
        case 1: return sine ? c : -s;
        case 2: return sine ? -s : -c;
        default: return sine ? -c : s;
    }
}

double Value(const PlanObject* object, std::int32_t i, std::int32_t j, std::int32_t c);

template <class Real>
double TwiddleEntry(const TwiddleSource* source, std::int32_t i, std::int32_t j) {
    const std::int64_t k = std::int64_t{source->rowStride} * i + j;
    const std::int64_t h = k / 2;
    const std::int64_t q = h / source->radix;
    const std::int64_t p = h % source->radix;
    return RotationPart<Real>((4 * q + 1) * (4 * p + 1), source->eightN / 2, k % 2 != 0);
}

template <class Real>
double ViewEntry(const TwiddleView* view, std::int32_t g, std::int32_t l, std::int32_t c) {
    const auto* source = AtOffset<const PlanObject>(ArenaOf(&view->header), view->source);
    return Value(source, l + Precision<Real>::kWidth * g, c, 0);
}

template <class Real>
double StepEntry(const StepSource* source, std::int32_t q2, std::int32_t d, std::int32_t c) {
    const std::int64_t twoB = 2 * std::int64_t{source->subLength / 2};
    return RotationPart<Real>(std::int64_t{d} * (4 * std::int64_t{q2} + 1), twoB, c != 0);
}

// Runs the value function an object's function word names.
double Value(const PlanObject* object, std::int32_t i, std::int32_t j, std::int32_t c) {
    switch (object->function) {
        case kValueTwiddle32f: return TwiddleEntry<float>(reinterpret_cast<const TwiddleSource*>(object), i, j);
        case kValueTwiddle64f: return TwiddleEntry<double>(reinterpret_cast<const TwiddleSource*>(object), i, j);
        case kValueView32f: return ViewEntry<float>(reinterpret_cast<const TwiddleView*>(object), i, j, c);
        case kValueView64f: return ViewEntry<double>(reinterpret_cast<const TwiddleView*>(object), i, j, c);
        case kValueStep32f: return StepEntry<float>(reinterpret_cast<const StepSource*>(object), i, j, c);
        case kValueStep64f: return StepEntry<double>(reinterpret_cast<const StepSource*>(object), i, j, c);
        default: return 0.0;
    }
}

// ---------------------------------------------------------------------------
// Tables

// Unit g*r + a: w cosines of t(a, q) for the w values q of group g, then the
// w sines, read through the view (column 2a is the cosine, 2a+1 the sine).
template <class Real>
void FillRotation(RotationTable* table) {
    PlanArena* arena = ArenaOf(&table->header);
    const auto* view = AtOffset<const PlanObject>(arena, table->view);
    Real* out = AtOffset<Real>(arena, table->table);
    constexpr std::int32_t w = Precision<Real>::kWidth;
    for (std::int32_t g = 0; g < table->groups; ++g) {
        for (std::int32_t a = 0; a < table->radix; ++a) {
            Real* unit = out + (std::int64_t{g} * table->radix + a) * (kUnitBytes / sizeof(Real));
            for (std::int32_t l = 0; l < w; ++l) {
                unit[l] = static_cast<Real>(Value(view, g, l, 2 * a));
                unit[w + l] = static_cast<Real>(Value(view, g, l, 2 * a + 1));
            }
        }
    }
}

// Unit q2*(r2-1) + d-1: w copies of cos u(d, q2), then w copies of sin.
template <class Real>
void FillStepTable(StepTable* table) {
    PlanArena* arena = ArenaOf(&table->header);
    const auto* source = AtOffset<const PlanObject>(arena, table->source);
    Real* out = AtOffset<Real>(arena, table->table);
    constexpr std::int32_t w = Precision<Real>::kWidth;
    for (std::int32_t q2 = 0; q2 < table->subPoints; ++q2) {
        for (std::int32_t d = 1; d < table->radix; ++d) {
            Real* unit = out + (std::int64_t{q2} * (table->radix - 1) + d - 1) * (kUnitBytes / sizeof(Real));
            const Real c = static_cast<Real>(Value(source, q2, d, 0));
            const Real s = static_cast<Real>(Value(source, q2, d, 1));
            for (std::int32_t l = 0; l < w; ++l) {
                unit[l] = c;
                unit[w + l] = s;
            }
        }
    }
}

// ---------------------------------------------------------------------------
// Building

// Every list membership goes through here: the object, then an empty slot.
// ListAppend stores the first value in the head node itself, so a list that
// only ever received objects would take one node fewer than its head plus
// one per member, which is what the prediction counts. Ending every list
// with an empty slot makes a list of k members occupy exactly 1 + k nodes
// (the next join fills the slot and opens a new one). ListGet(list, 0) is
// still the first member, and the release walk passes over the empty slot.
void ListJoin(PlanArena* arena, std::uint32_t list, const void* object) {
    PlanNode* head = AtOffset<PlanNode>(arena, list);
    plan::ListAppend(head, OffsetIn(arena, object));
    plan::ListAppend(head, 0);
}

std::uint32_t NewList(PlanArena* arena) { return OffsetIn(arena, ListCreate(arena)); }

// Splits a sub-length `subLength` (a phase of subLength/2 complex points) by
// one radix step and recurses until a direct kernel is reached. The step
// joins the owner's (input kernel plan or sub-step) two lists as soon as it
// exists, so the owner's release covers whatever was built before a failure.
template <class Real>
Status BuildRadixStep(PlanArena* arena, std::uint32_t ownerStages, std::uint32_t ownerOwned,
                      std::int32_t subLength, std::int32_t length, std::int32_t depth) {
    auto* step = TakeObject<RadixStep>(arena, kReleaseRadixStep, kFunctionNone);
    step->subLength = subLength;
    step->points = subLength / 2;
    step->length = length;
    step->depth = depth;
    step->ownedList = NewList(arena);
    step->outputs = NewList(arena);
    step->inputs = NewList(arena);
    step->workBytes = WorkBytes<Real>(length);
    step->work = OffsetIn(arena, ArenaTake(arena, step->workBytes));
    ListJoin(arena, ownerStages, step);
    ListJoin(arena, ownerOwned, step);

    std::int32_t radix;
    if (ChooseRadix(&radix, subLength / 2) != kStatusOk) return kStatusBadSize;
    step->radix = radix;
    step->rest = subLength / radix;

    auto* source = TakeObject<StepSource>(arena, kReleaseNothing, Precision<Real>::kStepValue);
    source->subLength = subLength;
    source->radix = radix;
    auto* table = TakeObject<StepTable>(arena, kReleaseStepTable, kFunctionNone);
    table->radix = radix;
    table->subPoints = subLength / (2 * radix);
    table->points = subLength / 2;
    table->last = subLength - 1;
    table->rest = subLength / radix;
    table->source = OffsetIn(arena, source);
    table->ownedList = NewList(arena);
    table->width = Precision<Real>::kWidth;
    table->table = OffsetIn(arena, ArenaTake(arena, StepTableBytes(radix, table->subPoints)));
    ListJoin(arena, table->ownedList, source);
    ListJoin(arena, step->ownedList, table);
    ListJoin(arena, step->outputs, table);
    FillStepTable<Real>(table);

    auto* sub = TakeObject<SubStep>(arena, kReleaseSubStep, kFunctionNone);
    sub->subLength = subLength / radix;
    sub->points = subLength / (2 * radix);
    sub->length = length;
    sub->parentRadix = radix;
    sub->stageList = NewList(arena);
    sub->ownedList = NewList(arena);
    sub->subKind = SubKind(sub->subLength);
    ListJoin(arena, step->ownedList, sub);
    ListJoin(arena, step->inputs, sub);
    if (sub->subKind == kSubKindSplit &&
        BuildRadixStep<Real>(arena, sub->stageList, sub->ownedList, sub->subLength, length, depth + 1) != kStatusOk) {
        return kStatusBadSize;
    }
    step->usable = 1;
    return kStatusOk;
}

// Output stage, its twiddle source, and (when N/(2r) is a whole number of
// vectors) the rotation table filled through a view of the source.
template <class Real>
Status BuildOutputStage(DCT4Spec* spec, PlanArena* arena, std::int32_t radix) {
    constexpr std::int32_t w = Precision<Real>::kWidth;
    const std::int32_t length = spec->length;
    const std::int32_t phasePoints = length / (2 * radix);

    auto* stage = TakeObject<OutputStage>(arena, kReleaseOutputStage, kFunctionNone);
    stage->radix = radix;
    stage->length = length;
    stage->twoR = 2 * radix;
    stage->phasePoints = phasePoints;
    stage->dstLength = length;
    stage->last = 2 * length - 1;
    stage->subLength = length / radix;
    stage->width = w;
    stage->stageList = NewList(arena);
    stage->ownedList = NewList(arena);
    auto* source = TakeObject<TwiddleSource>(arena, kReleaseNothing, Precision<Real>::kTwiddleValue);
    source->columns = 2 * radix;
    source->eightN = 8 * length;
    source->phasePoints = phasePoints;
    source->radix = radix;
    source->rowStride = 2 * radix;
    stage->source = OffsetIn(arena, source);
    ListJoin(arena, spec->ownedObjects, source);
    ListJoin(arena, spec->ownedObjects, stage);
    ListJoin(arena, spec->outputStages, stage);

    if (phasePoints % w != 0) {
        stage->usable = 0;
        return kStatusBadSize;
    }
    stage->usable = 1;

    auto* view = TakeObject<TwiddleView>(arena, kReleaseNothing, Precision<Real>::kViewValue);
    view->columns = 2 * radix;
    view->groups = phasePoints / w;
    view->source = stage->source;
    auto* table = TakeObject<RotationTable>(arena, kReleaseRotationTable, kFunctionNone);
    table->radix = radix;
    table->length = length;
    table->twoR = 2 * radix;
    table->eightR = 8 * radix;
    table->groups = view->groups;
    table->dstLength = length;
    table->last = 2 * length - 1;
    table->subLength = length / radix;
    table->view = OffsetIn(arena, view);
    table->ownedList = NewList(arena);
    table->table = OffsetIn(arena, ArenaTake(arena, RotationBytes(radix, table->groups)));
    table->selector = std::countr_zero(static_cast<std::uint32_t>(radix));  // 1 + log2(r/2)
    ListJoin(arena, table->ownedList, view);
    ListJoin(arena, stage->stageList, table);
    ListJoin(arena, stage->ownedList, table);
    FillRotation<Real>(table);
    return kStatusOk;
}

// Input stage and the kernel plan of the sub-length N/r, split further by
// radix steps when no direct kernel covers it.
template <class Real>
Status BuildInputStage(DCT4Spec* spec, PlanArena* arena, std::int32_t radix) {
    constexpr std::int32_t w = Precision<Real>::kWidth;
    const std::int32_t length = spec->length;

    auto* stage = TakeObject<InputStage>(arena, kReleaseInputStage, kFunctionNone);
    stage->subLength = length / radix;
    stage->length = length;
    stage->last = 2 * length - 1;
    stage->twoR = 2 * radix;
    stage->radix = radix;
    stage->dstLength = length;
    stage->dstStride = radix;
    stage->width = w;
    stage->stageList = NewList(arena);
    stage->ownedList = NewList(arena);
    ListJoin(arena, spec->ownedObjects, stage);
    ListJoin(arena, spec->inputStages, stage);

    if (radix % w != 0) {
        stage->usable = 0;
        return kStatusBadSize;
    }
    stage->usable = 1;

    auto* kernel = TakeObject<InputPlan>(arena, kReleaseInputPlan, kFunctionNone);
    kernel->subLength = length / radix;
    kernel->length = length;
    kernel->last = 2 * length - 1;
    kernel->twoR = 2 * radix;
    kernel->vectorRadix = radix / w;
    kernel->dstLength = length;
    kernel->dstStride = radix;
    kernel->points = length / (2 * radix);
    kernel->subKind = SubKind(kernel->subLength);
    kernel->stageList = NewList(arena);
    kernel->ownedList = NewList(arena);
    ListJoin(arena, stage->stageList, kernel);
    ListJoin(arena, stage->ownedList, kernel);
    if (kernel->subKind == kSubKindSplit &&
        BuildRadixStep<Real>(arena, kernel->stageList, kernel->ownedList, kernel->subLength, length, 0) != kStatusOk) {
        return kStatusBadSize;
    }
    return kStatusOk;
}

// The largest arena use GetSize reports a block for (the block adds 64
// bytes and must fit a positive 32-bit count). A longer plan could not be
// placed in any block a caller was told about, nor addressed by 32-bit
// offsets, so Init refuses it before building anything.
constexpr std::int64_t kLargestPlan = INT32_MAX - 64;

template <class Real>
Status Build(DCT4Spec* spec) {
    PlanArena* arena = ArenaOf(&spec->header);
    const std::int32_t length = spec->length;
    spec->kind = SpecKind(length);
    if (spec->kind != 6) {
        spec->workBuffer = 0;
        return kStatusOk;
    }
    // The release of a kind-6 DCT4Spec always gives back an N-element work buffer,
    // so it is taken before anything can fail.
    spec->workBuffer = OffsetIn(arena, ArenaTake(arena, WorkBytes<Real>(length)));
    if (PredictArenaBytes<Real>(length) > kLargestPlan) return kStatusBadSize;

    std::int32_t radix;
    if (ChooseRadix(&radix, length / 2) != kStatusOk) return kStatusBadSize;
    spec->radix = radix;
    const Status output = BuildOutputStage<Real>(spec, arena, radix);
    if (output != kStatusOk) return output;
    return BuildInputStage<Real>(spec, arena, radix);
}

// ---------------------------------------------------------------------------
// Release

// A list that only refers to objects: its nodes and its head.
void DropList(PlanArena* arena, std::uint32_t list) {
    PlanNode* head = AtOffset<PlanNode>(arena, list);
    if (head == nullptr) return;
    plan::ListFreeNodes(head);
    ArenaGiveBack(arena, head, sizeof(PlanNode));
}

// A list that owns its objects: release them, then drop the list.
void DropOwnedList(PlanArena* arena, std::uint32_t list) {
    plan::ListReleaseObjects(AtOffset<PlanNode>(arena, list), ReleaseObject);
    DropList(arena, list);
}

// The stages and kernel plans: a stage list and an owned list, nothing else.
template <class Stage>
void ReleaseStage(Stage* stage) {
    PlanArena* arena = ArenaOf(&stage->header);
    DropList(arena, stage->stageList);
    DropOwnedList(arena, stage->ownedList);
}

void ReleaseRotationTable(RotationTable* table) {
    PlanArena* arena = ArenaOf(&table->header);
    DropOwnedList(arena, table->ownedList);
    ArenaGiveBack(arena, nullptr, RotationBytes(table->radix, table->groups));
}

void ReleaseRadixStep(RadixStep* step) {
    PlanArena* arena = ArenaOf(&step->header);
    DropList(arena, step->outputs);
    DropList(arena, step->inputs);
    DropOwnedList(arena, step->ownedList);
    ArenaGiveBack(arena, nullptr, step->workBytes);
}

void ReleaseStepTable(StepTable* table) {
    PlanArena* arena = ArenaOf(&table->header);
    DropOwnedList(arena, table->ownedList);
    ArenaGiveBack(arena, nullptr, StepTableBytes(table->radix, table->subPoints));
}

}  // namespace

Status BuildPlan(DCT4Spec* spec) {
    switch (spec->header.function) {
        case kBuildPlan32f: return Build<float>(spec);
        case kBuildPlan64f: return Build<double>(spec);
        default: return kStatusBadSpec;
    }
}

template <class Real>
void ReleaseSpec(DCT4Spec* spec) {
    PlanArena* arena = ArenaOf(&spec->header);
    if (spec->kind >= 1 && spec->kind <= 5) ArenaGiveBack(arena, nullptr, 0);
    else if (spec->kind == 6) ArenaGiveBack(arena, nullptr, WorkBytes<Real>(spec->length));
    DropList(arena, spec->outputStages);
    DropList(arena, spec->inputStages);
    DropOwnedList(arena, spec->ownedObjects);
}

template void ReleaseSpec<float>(DCT4Spec*);
template void ReleaseSpec<double>(DCT4Spec*);

void ReleaseObject(PlanObject* object) {
    switch (object->release) {
        case kReleaseSpec32f: ReleaseSpec<float>(reinterpret_cast<DCT4Spec*>(object)); break;
        case kReleaseSpec64f: ReleaseSpec<double>(reinterpret_cast<DCT4Spec*>(object)); break;
        case kReleaseOutputStage: ReleaseStage(reinterpret_cast<OutputStage*>(object)); break;
        case kReleaseRotationTable: ReleaseRotationTable(reinterpret_cast<RotationTable*>(object)); break;
        case kReleaseInputStage: ReleaseStage(reinterpret_cast<InputStage*>(object)); break;
        case kReleaseInputPlan: ReleaseStage(reinterpret_cast<InputPlan*>(object)); break;
        case kReleaseRadixStep: ReleaseRadixStep(reinterpret_cast<RadixStep*>(object)); break;
        case kReleaseStepTable: ReleaseStepTable(reinterpret_cast<StepTable*>(object)); break;
        case kReleaseSubStep: ReleaseStage(reinterpret_cast<SubStep*>(object)); break;
        default: break;  // kReleaseNothing: value-only records
    }
}

}  // namespace qvn::dct4
