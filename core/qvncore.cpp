// The allocation pair: 64-byte aligned blocks from the C runtime.
#include "qvncore.h"

#include <cstdlib>

namespace {
constexpr std::size_t kBlockAlignment = 64;
}

extern "C" void* QVNCORE_API qvnMalloc(int32_t byteCount) {
    if (byteCount <= 0) return nullptr;
    // aligned_alloc wants a size that is a multiple of the alignment.
    std::size_t rounded =
        (static_cast<std::size_t>(byteCount) + kBlockAlignment - 1) & ~(kBlockAlignment - 1);
    return std::aligned_alloc(kBlockAlignment, rounded);
}

extern "C" void QVNCORE_API qvnFree(void* block) { std::free(block); }
