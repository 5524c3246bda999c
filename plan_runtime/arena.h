// The bump arena a plan lives in, and the singly linked lists of 12-byte
// nodes through which plan objects hold their sub-objects.
//
// A plan occupies one caller block. The block's first pointer-sized word is
// the arena word: the address of the next free byte. Everything a plan takes
// (records, list nodes, tables, work buffers) is cut from the bytes after it
// in multiples of 32, and handed back in the same amounts when the plan is
// torn down; the arena checks no bound and relies on the caller having sized
// the block with the same rounding.
//
// Records in the arena are built from 32-bit words only, so a plan has the
// same byte layout on 32- and 64-bit builds:
//   - a reference to something in the arena is its byte offset from the arena
//     word (the block start); no object lives at offset 0, so 0 is null;
//   - the `arena` word of a node or object is the byte distance from that
//     record back to the arena word, which is how any record finds its block.
#pragma once

#include <cstdint>
#include <cstring>

namespace qvn::plan {

// The arena word. The block it starts may have any alignment, so the word is
// only ever read and written byte-wise; it is kept as an integer so that
// moving it is never pointer arithmetic.
struct PlanArena {
    unsigned char word[sizeof(std::uintptr_t)];
};
static_assert(alignof(PlanArena) == 1);

inline std::uintptr_t ArenaWord(const PlanArena* arena) {
    std::uintptr_t next;
    std::memcpy(&next, arena->word, sizeof next);
    return next;
}
inline void SetArenaWord(PlanArena* arena, std::uintptr_t next) { std::memcpy(arena->word, &next, sizeof next); }

inline unsigned char* ArenaNext(const PlanArena* arena) { return reinterpret_cast<unsigned char*>(ArenaWord(arena)); }
inline void ArenaSetNext(PlanArena* arena, const void* next) {
    SetArenaWord(arena, reinterpret_cast<std::uintptr_t>(next));
}

// Every size the arena deals in, taken or predicted, is rounded up to whole
// 32-byte units: 0 stays 0, 1..32 become 32, 44 becomes 64.
constexpr std::uint32_t RoundUp32(std::uint32_t bytes) { return (bytes + 31u) & ~31u; }

// Arena bytes of `count` list nodes.
constexpr std::int32_t NodeBytes(std::int32_t count) { return static_cast<std::int32_t>(RoundUp32(12)) * count; }

// Returns the current free address and moves the arena word on by
// RoundUp32(bytes). Nothing is checked or cleared.
void* ArenaTake(PlanArena* arena, std::uint32_t bytes);

// Moves the arena word back by RoundUp32(bytes) and returns that amount. The
// address is not used: only the total given back matters, so a teardown may
// give back in any order.
std::uint32_t ArenaGiveBack(PlanArena* arena, const void* object, std::uint32_t bytes);

// Offset of `p` from the arena word, and back.
inline std::uint32_t OffsetIn(const PlanArena* arena, const void* p) {
    return static_cast<std::uint32_t>(static_cast<const unsigned char*>(p) - arena->word);
}
template <class T>
T* AtOffset(const PlanArena* arena, std::uint32_t offset) {
    if (offset == 0) return nullptr;
    return reinterpret_cast<T*>(const_cast<unsigned char*>(arena->word) + offset);
}

// The arena word of the block `record` lies in, given the record's distance
// word.
inline PlanArena* ArenaBehind(const void* record, std::uint32_t distance) {
    return reinterpret_cast<PlanArena*>(const_cast<unsigned char*>(static_cast<const unsigned char*>(record)) -
                                        distance);
}
inline std::uint32_t DistanceTo(const PlanArena* arena, const void* record) {
    return static_cast<std::uint32_t>(static_cast<const unsigned char*>(record) - arena->word);
}

// Header of every object kept in an owned-object list. `release` tags the
// function that gives back what the object took beyond its own record;
// `size` is the record size as taken (unrounded); `function` tags its build
// or value function; `arena` is the distance back to the arena word.
struct PlanObject {
    std::uint32_t release;
    std::uint32_t size;
    std::uint32_t function;
    std::uint32_t arena;
};
static_assert(sizeof(PlanObject) == 16);

inline PlanArena* ArenaOf(const PlanObject* object) { return ArenaBehind(object, object->arena); }

// Takes `bytes` for an object record and fills its header.
template <class T>
T* TakeObject(PlanArena* arena, std::uint32_t release, std::uint32_t function) {
    static_assert(sizeof(T) % 4 == 0 && sizeof(T) >= sizeof(PlanObject));
    T* object = static_cast<T*>(ArenaTake(arena, sizeof(T)));
    std::memset(static_cast<void*>(object), 0, sizeof(T));
    object->header = {release, sizeof(T), function, DistanceTo(arena, object)};
    return object;
}

// One list node. A list is named by its head node, which carries a payload
// like every other node. `value` is an object offset or an integer, 0 for
// an empty slot; `next` the offset of the next node, 0 at the end.
struct PlanNode {
    std::uint32_t value;
    std::uint32_t next;
    std::uint32_t arena;
};
static_assert(sizeof(PlanNode) == 12);

// Empties `node` and ties it to `arena`.
PlanNode* NodeInit(PlanNode* node, PlanArena* arena);

// Takes a head node from `arena` and initialises it.
PlanNode* ListCreate(PlanArena* arena);

// Stores `value` in the last node if that slot is empty, else links a new
// node (32 arena bytes) behind it holding `value`. So the first append to a
// fresh list fills the head without taking memory, and appending 0 leaves an
// empty slot that the next append fills.
std::uint32_t ListAppend(PlanNode* head, std::uint32_t value);

// Payload of the node `index` steps from the head; 0 past the end or for a
// negative index.
std::uint32_t ListGet(const PlanNode* head, std::int32_t index);

// Gives back every node after the head; the head itself stays.
void ListFreeNodes(PlanNode* head);

// Calls `release` on every object in the list (empty slots are passed over)
// and gives each object's record size back to the arena. The nodes stay. A
// null head is allowed.
using ReleaseDispatch = void (*)(PlanObject* object);
void ListReleaseObjects(PlanNode* head, ReleaseDispatch release);

}  // namespace qvn::plan
