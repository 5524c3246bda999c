// The build identification record. The build number 570 and the "205.85" of
// the version text differ on purpose; both are reported as they stand.
#include "qvngen.h"

// targetCpu is the two-letter code of the instruction set of this build:
// "z3" for the SSE2 baseline, "a2" for x86-64-v3, "a5" for x86-64-v4.
#ifndef QVN_TARGET_CPU_CODE
#define QVN_TARGET_CPU_CODE "z3"
#endif

namespace {
static_assert(sizeof QVN_TARGET_CPU_CODE == 3, "the processor-target code has two characters");
const LibraryVersion kLibraryVersion = {
    7, 0, 205, 570, {QVN_TARGET_CPU_CODE[0], QVN_TARGET_CPU_CODE[1], '\0', '\0'},
    "qvngenz3-7.0.dll", "7.0 build 205.85", "Nov 26 2011",
};
}

QVN_DECL(const LibraryVersion*) qvngenGetLibVersion(void) { return &kLibraryVersion; }
