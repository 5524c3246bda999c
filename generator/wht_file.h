// Writes the translation unit of one Walsh-Hadamard order and precision.
#pragma once

#include "complex_dft_file.h"

namespace gen {

GeneratedFile WhtFile(int order, bool single, Isa isa);

}  // namespace gen
