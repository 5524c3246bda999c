// Writes the translation units of the real-input families: per length and
// precision, one file with the forward and inverse real DFT kernels and
// their six entries, and one with the Hartley kernel and its entry.
#pragma once

#include <string>

#include "complex_dft_file.h"
#include "real_accuracy.h"

namespace gen {

// The baseline's kernels are two-lane SSE2 bodies (or scalar code); the
// wider targets may fuse pairs of their instructions into 256-bit ones.
GeneratedFile RealDftFile(int n, bool single, Isa isa);
GeneratedFile HartleyFile(int n, bool single, Isa isa);

// Whether the kernel of that family, length and precision is built from its
// DAG with the product chains folded (RealDag::FoldProductChains); the
// arithmetic tests build their reference DAG the same way.
bool FoldsProductChains(RealFamily family, int n, bool single);

// Census and estimated rounding error (real_accuracy.h) of the three real
// kernels of length n for other schemes than the table's, for trying them
// out; nothing is checked against the budget.
std::string ExploreReal(int n, bool single, const std::string& forward, const std::string& inverse,
                        const std::string& hartley, Isa isa = Isa::kX86_64);

// The single-precision kernels of lengths first..last whose folded DAG
// (RealDag::FoldDoubledSums) shrinks the baseline body but makes the
// x86-64-v3 and x86-64-v4 bodies together weigh kWiderFoldLoss times as
// much or more, as rows of real_fold_losses.inc. Slow: it builds every
// such kernel's wider bodies from both DAGs.
std::string FoldCheck(int first, int last);
// The comment that heads the rows in real_fold_losses.inc.
inline constexpr const char* kFoldLossesHeader =
    "// Rows of kWiderBodiesLoseFold (real_dft_file.cpp), written by\n"
    "// `qvngen-gen fold-check`: the single-precision kernels whose wider bodies\n"
    "// together weigh kWiderFoldLoss times as much or more with the doubled-sum\n"
    "// fold; the comments give the weighed cycles of the x86-64-v3 and\n"
    "// x86-64-v4 bodies, plain -> folded.\n";
// Rows of real_fold_losses.inc whose kernel the fold no longer shrinks
// (empty while the list is current in that respect).
std::string StaleFoldLosses();

}  // namespace gen
