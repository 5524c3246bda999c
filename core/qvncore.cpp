// The allocation pair: 64-byte aligned blocks from the C runtime.
#include "qvncore.h"

#include <cstdlib>
#if defined(_WIN32)
#include <malloc.h>
#endif

namespace {
constexpr std::size_t kBlockAlignment = 64;
}

extern "C" void* QVNCORE_API qvnMalloc(int32_t byteCount) {
    if (byteCount <= 0) return nullptr;
#if defined(_WIN32)
    // The Windows C runtime has no aligned_alloc; its aligned blocks come
    // from _aligned_malloc and must go back through _aligned_free.
    return _aligned_malloc(static_cast<std::size_t>(byteCount), kBlockAlignment);
#else
    // aligned_alloc wants a size that is a multiple of the alignment.
    std::size_t rounded =
        (static_cast<std::size_t>(byteCount) + kBlockAlignment - 1) & ~(kBlockAlignment - 1);
    return std::aligned_alloc(kBlockAlignment, rounded);
#endif
}

extern "C" void QVNCORE_API qvnFree(void* block) {
#if defined(_WIN32)
    _aligned_free(block);
#else
    std::free(block);
#endif
}
