// Writes the translation unit of one complex DFT length and precision: the
// forward and inverse kernels and their exported entries.
#pragma once

#include <string>

#include "program.h"

namespace gen {

struct GeneratedFile {
    std::string name;
    std::string text;
    std::string census;  // one line per kernel
};

GeneratedFile ComplexDftFile(int n, bool single);

}  // namespace gen
