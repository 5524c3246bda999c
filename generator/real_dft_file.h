// Writes the translation units of the real-input families: per length and
// precision, one file with the forward and inverse real DFT kernels and
// their six entries, and one with the Hartley kernel and its entry.
#pragma once

#include <string>

#include "complex_dft_file.h"

namespace gen {

// The baseline's kernels are two-lane SSE2 bodies (or scalar code); the
// wider targets may fuse pairs of their instructions into 256-bit ones.
GeneratedFile RealDftFile(int n, bool single, Isa isa);
GeneratedFile HartleyFile(int n, bool single, Isa isa);

// Census and estimated rounding error (real_accuracy.h) of the three real
// kernels of length n for other schemes than the table's, for trying them
// out; nothing is checked against the budget.
std::string ExploreReal(int n, bool single, const std::string& forward, const std::string& inverse,
                        const std::string& hartley, Isa isa = Isa::kX86_64);

}  // namespace gen
