// The floor a kernel's own instructions put under its time: the generator's
// census counts (generator/census*.txt) spread over the floating-point
// pipes of the core the benchmark runs on, in cycles, and the clock that
// turns cycles into ns. A time near its floor can only improve with fewer
// instructions; one far above it is waiting on dependency chains, spills or
// memory, which scheduling and register use can change.
#pragma once

#include <map>
#include <string>

namespace qvnbench {

// One kernel's census line.
struct KernelCensus {
    int adds = 0, muls = 0, shuffles = 0, cvts = 0, loads = 0, stores = 0;
    int vectorBits = 128;  // width of its widest instructions
};

// Reads "qvngDFTFwd_RTo*_52_32f: 132 products; SSE2 253 add, 93 mul, 136
// shuffle (...), 128 cvt, 50 load, 29 store (...)" and the plainer complex
// and WHT lines; false when the line names no kernel. `defaultBits` is the
// width when the line does not say ("SSE2", "AVX", "(512-bit)").
bool ParseCensusLine(const std::string& line, int defaultBits, std::string& name, KernelCensus& out);

// Port-cycle floor on an AMD Zen 4 core, measured there with independent
// instruction streams: adds, subtracts and float/double conversions issue
// on two pipes, multiplies on two others, shuffles on one pipe of each
// pair; so no pipe set can be given more work than it has cycles. A
// 512-bit instruction holds its pipe for two cycles. Loads: three per
// cycle up to 128 bits, two of 256, one of 512; stores: two, one, one.
double FloorCycles(const KernelCensus& c);

// The census of every kernel of each library, found by its processor-target
// code ("z3", "a2", "a5"): the census files of that build, falling back to
// the next lower build's where a family's text is the same (as the
// generator writes them).
class CensusFloors {
public:
    // `dir` holds the census files; `codes` is "x86-64=z3,x86-64-v3=a2,...",
    // lowest build first.
    CensusFloors(const std::string& dir, const std::string& codes);
    // The floor of the entry of library `code` a benchmark case times, in
    // cycles; NaN when no census covers it (DCT-IV is counted per building
    // block, not per entry).
    double Cycles(const std::string& code, const std::string& family, int precision, const std::string& direction,
                  int n) const;

private:
    std::map<std::string, std::map<std::string, KernelCensus>> kernels_;  // code -> kernel name -> census
};

// The core clock in GHz, from a chain of dependent integer adds (one per
// cycle on every x86-64 core this library targets).
double MeasureCoreGhz();

}  // namespace qvnbench
