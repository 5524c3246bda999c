// Watches the library's own calls of the allocation pair: a test program that
// links allocation_watch.cpp sees every qvnMalloc and qvnFree the library
// makes recorded in g_alloc, and can make the allocations fail. Calls the
// test makes itself are not recorded.
#pragma once

#include <cstdint>
#include <vector>

namespace qvntest {

struct AllocationLog {
    bool fail = false;  // qvnMalloc returns null without allocating
    int mallocs = 0, frees = 0, strayFrees = 0;
    int32_t lastSize = 0, largest = 0;
    std::vector<void*> live;  // blocks handed out and not yet returned
};

extern AllocationLog g_alloc;

}  // namespace qvntest
