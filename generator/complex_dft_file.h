// Writes the translation unit of one complex DFT length and precision: the
// forward and inverse kernels and their exported entries.
#pragma once

#include <string>

#include "program.h"
#include "target_isa.h"

namespace gen {

struct GeneratedFile {
    std::string name;
    std::string text;
    std::string census;  // one line per kernel
};

GeneratedFile ComplexDftFile(int n, bool single, Isa isa);

// Initialiser text of a qvn::ScaleSet: 1, 1/N, 1/sqrt(N) of the element type.
std::string ScaleSetText(int n, ElemType type);

// Where an entry of length n keeps the copy of its body that runs unscaled
// calls (frame/entry.h): in the entry up to 16 points, in a function of its
// own above (A/B over every length: inlined, the large bodies ran up to 6%
// slower; separate, the small ones up to 30% slower). A pressure-scheduled
// body (real_dft_file.cpp) needs its copy compiled alike.
std::string UnscaledCopyText(int n, bool pressure_scheduled = false);

// Census of both kernels for a recipe other than the table's, as the given
// target's emitters would write them: for trying schemes out before changing
// the table.
std::string ExploreComplexDft(int n, bool single, const std::string& recipe, Isa isa = Isa::kX86_64);

}  // namespace gen
