// Calls a 32-bit x86 function with a list of 32-bit argument words the way a
// stdcall caller does (pushed right to left, nothing removed after the call)
// and reports what the callee left behind (stdcall_probe_i386.S).
#pragma once

#include <cstdint>

struct StdcallProbe {
    int32_t result;        // eax on return
    int32_t stackChange;   // esp after the return minus esp before the arguments
                           // were pushed: 0 when the callee removed exactly them
    int32_t clobbered;     // bit 0 ebx, bit 1 esi, bit 2 edi: callee-saved
                           // registers the callee failed to restore
};

// `misalign` bytes (a multiple of 4, below 16) move the call off the 16-byte
// stack alignment the Linux i386 ABI promises; Win32 callers promise only 4.
extern "C" void qvn_probe_stdcall(const void* function, const uint32_t* args, int32_t count,
                                  int32_t misalign, StdcallProbe* out);
