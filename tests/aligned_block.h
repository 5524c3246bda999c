// A heap block of bytes at a 64-byte boundary, freed by the matching call:
// the C library's aligned_alloc on Linux, _aligned_malloc on Windows, whose
// C runtime has no aligned_alloc.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#if defined(_WIN32)
#include <malloc.h>
#endif

namespace qvntest {

struct AlignedFree {
    void operator()(unsigned char* p) const {
#if defined(_WIN32)
        _aligned_free(p);
#else
        std::free(p);
#endif
    }
};
using AlignedBlock = std::unique_ptr<unsigned char, AlignedFree>;

// `bytes` must be a multiple of 64.
inline AlignedBlock AllocateAligned64(std::size_t bytes) {
#if defined(_WIN32)
    void* p = _aligned_malloc(bytes, 64);
#else
    void* p = std::aligned_alloc(64, bytes);
#endif
    if (!p) throw std::bad_alloc();
    return AlignedBlock(static_cast<unsigned char*>(p));
}

}  // namespace qvntest
