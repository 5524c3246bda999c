#include "plan_runtime/arena.h"

namespace qvn::plan {

void* ArenaTake(PlanArena* arena, std::uint32_t bytes) {
    const std::uintptr_t taken = ArenaWord(arena);
    SetArenaWord(arena, taken + RoundUp32(bytes));
    return reinterpret_cast<void*>(taken);
}

std::uint32_t ArenaGiveBack(PlanArena* arena, const void* /*object*/, std::uint32_t bytes) {
    const std::uint32_t rounded = RoundUp32(bytes);
    SetArenaWord(arena, ArenaWord(arena) - rounded);
    return rounded;
}

PlanNode* NodeInit(PlanNode* node, PlanArena* arena) {
    node->value = 0;
    node->next = 0;
    node->arena = DistanceTo(arena, node);
    return node;
}

PlanNode* ListCreate(PlanArena* arena) {
    return NodeInit(static_cast<PlanNode*>(ArenaTake(arena, sizeof(PlanNode))), arena);
}

namespace {
PlanArena* ArenaOfNode(const PlanNode* node) { return ArenaBehind(node, node->arena); }
}  // namespace

std::uint32_t ListAppend(PlanNode* head, std::uint32_t value) {
    PlanArena* arena = ArenaOfNode(head);
    PlanNode* last = head;
    while (last->next != 0) last = AtOffset<PlanNode>(arena, last->next);
    if (last->value == 0) {
        last->value = value;
    } else {
        PlanNode* node = NodeInit(static_cast<PlanNode*>(ArenaTake(arena, sizeof(PlanNode))), arena);
        last->next = OffsetIn(arena, node);
        node->value = value;
    }
    return value;
}

std::uint32_t ListGet(const PlanNode* head, std::int32_t index) {
    if (index < 0) return 0;
    const PlanArena* arena = ArenaOfNode(head);
    const PlanNode* node = head;
    for (std::int32_t step = 0; step < index; ++step) {
        if (node->next == 0) return 0;
        node = AtOffset<const PlanNode>(arena, node->next);
    }
    return node->value;
}

void ListFreeNodes(PlanNode* head) {
    PlanArena* arena = ArenaOfNode(head);
    std::uint32_t next = head->next;
    while (next != 0) {
        PlanNode* node = AtOffset<PlanNode>(arena, next);
        next = node->next;
        ArenaGiveBack(arena, node, sizeof(PlanNode));
    }
}

void ListReleaseObjects(PlanNode* head, ReleaseDispatch release) {
    if (head == nullptr) return;
    PlanArena* arena = ArenaOfNode(head);
    for (PlanNode* node = head; node != nullptr; node = AtOffset<PlanNode>(arena, node->next)) {
        if (node->value == 0) continue;
        auto* object = AtOffset<PlanObject>(arena, node->value);
        release(object);
        ArenaGiveBack(arena, object, object->size);
    }
}

}  // namespace qvn::plan
