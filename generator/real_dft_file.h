// Writes the translation units of the real-input families: per length and
// precision, one file with the forward and inverse real DFT kernels and
// their six entries, and one with the Hartley kernel and its entry.
#pragma once

#include <string>

#include "complex_dft_file.h"

namespace gen {

// The real kernels are the same text for every target: their two-lane
// bodies gain nothing from wider vectors, and a v3/v4 build compiles them
// with its own flags.
GeneratedFile RealDftFile(int n, bool single, Isa isa);
GeneratedFile HartleyFile(int n, bool single, Isa isa);

// Census of the three real kernels of length n for other schemes than the
// table's, for trying them out; nothing is checked against the budget.
std::string ExploreReal(int n, bool single, const std::string& forward, const std::string& inverse,
                        const std::string& hartley);

}  // namespace gen
