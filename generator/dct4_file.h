// Writes the kernels of the type-IV DCT, one translation unit per kernel,
// length and precision. index runs over Dct4FileCount() kernels.
#pragma once

#include "complex_dft_file.h"

namespace gen {

int Dct4FileCount();
GeneratedFile Dct4File(int index, bool single, Isa isa);

}  // namespace gen
