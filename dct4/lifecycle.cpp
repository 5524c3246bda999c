// DCT-IV specification lifecycle: size query, construction in a caller block
// or in a block from qvnMalloc, and release. One template per operation
// serves both precisions.
#include <cstdint>
#include <cstring>

#include "dct4/plan_records.h"
#include "qvncore.h"
#include "qvngen.h"

namespace {

using qvn::plan::ArenaGiveBack;
using qvn::plan::ArenaOf;
using qvn::plan::ArenaTake;
using qvn::plan::DistanceTo;
using qvn::plan::ListCreate;
using qvn::plan::OffsetIn;
using qvn::plan::PlanArena;
using qvn::plan::RoundUp32;

// The arena word at the block's start and the realignment of the first
// record to 32 bytes; see Init.
constexpr std::int64_t kBlockOverhead = 2 * RoundUp32(1);

// Every term of the prediction is non-negative, so the 64-bit total exceeds
// INT32_MAX exactly when some term or partial sum would not fit a positive
// 32-bit count; such lengths are refused rather than wrapped.
template <class Real>
Status GetSize(std::int32_t length, std::int32_t* size) {
    const std::int64_t predicted = qvn::dct4::PredictArenaBytes<Real>(length);
    if (predicted < 0 || predicted + kBlockOverhead > INT32_MAX) return kStatusBadSize;
    *size = static_cast<std::int32_t>(predicted + kBlockOverhead);
    return kStatusOk;
}

// Everything the DCT4Spec holds, then its own record: the arena word is back
// where Init set it.
template <class Real>
void TearDown(::DCT4Spec* spec) {
    qvn::dct4::ReleaseSpec<Real>(spec);
    ArenaGiveBack(ArenaOf(&spec->header), spec, sizeof(::DCT4Spec));
}

template <class Real>
Status Init(::DCT4Spec** out, std::int32_t length, std::uint8_t* block) {
    if (out == nullptr || block == nullptr) return kStatusNullPointer;

    // The first 32-byte boundary at least 33 bytes into the block: room for
    // the arena word, and at most 64 bytes of the block spent before it.
    // The remainder is taken on the unsigned address: on 32-bit x86 a block
    // above 2 GiB has a negative signed address, and a negative remainder
    // would start the arena up to 31 bytes late and run past the block.
    auto* arena = reinterpret_cast<PlanArena*>(block);
    const auto address = reinterpret_cast<std::uintptr_t>(block);
    qvn::plan::SetArenaWord(arena, address + 64 - address % 32);

    auto* spec = static_cast<::DCT4Spec*>(ArenaTake(arena, sizeof(::DCT4Spec)));
    std::memset(static_cast<void*>(spec), 0, sizeof *spec);
    spec->header.size = sizeof(::DCT4Spec);
    spec->header.arena = DistanceTo(arena, spec);
    spec->length = length;
    spec->outputStages = OffsetIn(arena, ListCreate(arena));
    spec->inputStages = OffsetIn(arena, ListCreate(arena));
    spec->ownedObjects = OffsetIn(arena, ListCreate(arena));
    spec->header.release = qvn::dct4::Precision<Real>::kReleaseSpec;
    spec->header.function = qvn::dct4::Precision<Real>::kBuild;

    const Status status = qvn::dct4::BuildPlan(spec);
    if (status != kStatusOk) {
        TearDown<Real>(spec);
        return status;
    }
    *out = spec;
    return kStatusOk;
}

template <class Real>
Status InitAlloc(::DCT4Spec** out, std::int32_t length) {
    if (out == nullptr) return kStatusNullPointer;
    std::int32_t size;
    const Status sized = GetSize<Real>(length, &size);
    if (sized != kStatusOk) return sized;
    // A failed allocation reaches Init as a null block.
    auto* block = static_cast<std::uint8_t*>(qvnMalloc(size));
    const Status status = Init<Real>(out, length, block);
    if (status != kStatusOk) qvnFree(block);
    return status;
}

template <class Real>
Status Free(::DCT4Spec* spec) {
    if (spec == nullptr) return kStatusNullPointer;
    void* block = ArenaOf(&spec->header);
    TearDown<Real>(spec);
    qvnFree(block);
    return kStatusOk;
}

}  // namespace

QVN_DECL(Status) qvngDCT4GetSize_32f(int32_t n, int32_t* size) { return GetSize<float>(n, size); }
QVN_DECL(Status) qvngDCT4GetSize_64f(int32_t n, int32_t* size) { return GetSize<double>(n, size); }
QVN_DECL(Status) qvngDCT4Init_32f(DCT4Spec** spec, int32_t n, uint8_t* block) { return Init<float>(spec, n, block); }
QVN_DECL(Status) qvngDCT4Init_64f(DCT4Spec** spec, int32_t n, uint8_t* block) { return Init<double>(spec, n, block); }
QVN_DECL(Status) qvngDCT4InitAlloc_32f(DCT4Spec** spec, int32_t n) { return InitAlloc<float>(spec, n); }
QVN_DECL(Status) qvngDCT4InitAlloc_64f(DCT4Spec** spec, int32_t n) { return InitAlloc<double>(spec, n); }
QVN_DECL(Status) qvngDCT4Free_32f(DCT4Spec* spec) { return Free<float>(spec); }
QVN_DECL(Status) qvngDCT4Free_64f(DCT4Spec* spec) { return Free<double>(spec); }
