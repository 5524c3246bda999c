// Reads a built kind-6 plan the way the transform finds its stages: the
// first entry of each stage list, then the lists below it.
#include "dct4/plan_view.h"

#include "dct4/plan_records.h"

namespace qvn::dct4 {

namespace {

template <class T>
const T* First(const plan::PlanArena* arena, std::uint32_t list) {
    const auto* head = plan::AtOffset<const plan::PlanNode>(arena, list);
    return head == nullptr ? nullptr : plan::AtOffset<const T>(arena, plan::ListGet(head, 0));
}

}  // namespace

void ReadPlan(const DCT4Spec* spec, PlanView* view) {
    *view = PlanView{};
    const plan::PlanArena* arena = plan::ArenaOf(&spec->header);
    view->kind = spec->kind;
    view->length = spec->length;
    view->radix = spec->radix;
    view->work = plan::AtOffset<void>(arena, spec->workBuffer);

    if (const auto* output = First<OutputStage>(arena, spec->outputStages)) {
        view->output_usable = output->usable != 0;
        view->phase_points = output->phasePoints;
        if (const auto* rotation = First<RotationTable>(arena, output->stageList)) {
            view->output_selector = rotation->selector;
            view->rotation = plan::AtOffset<const void>(arena, rotation->table);
        }
    }

    const auto* input = First<InputStage>(arena, spec->inputStages);
    if (input == nullptr) return;
    view->input_usable = input->usable != 0;
    const auto* kernel = First<InputPlan>(arena, input->stageList);
    if (kernel == nullptr) return;

    // Down the chain of radix steps: each step's input list holds the
    // sub-step whose stage list holds the next step.
    std::int32_t subLength = kernel->subLength;
    std::uint32_t stages = kernel->stageList;
    while (view->steps < kMaxRadixSteps) {
        const auto* step = First<RadixStep>(arena, stages);
        if (step == nullptr) break;
        RadixStepView& out = view->step[view->steps++];
        out.radix = step->radix;
        out.points = step->points;
        out.work = plan::AtOffset<void>(arena, step->work);
        if (const auto* table = First<StepTable>(arena, step->outputs)) {
            out.twiddles = plan::AtOffset<const void>(arena, table->table);
        }
        const auto* sub = First<SubStep>(arena, step->inputs);
        if (sub == nullptr) break;
        subLength = sub->subLength;
        stages = sub->stageList;
    }
    view->leaf_points = subLength / 2;
}

}  // namespace qvn::dct4
