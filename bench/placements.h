// qvngen-bench --placements (placements.cpp): every chosen entry timed at
// several placements of its source, destination and stack frame, and the
// spread of its time over them.
#pragma once

#include <string>

#include "bench.h"

namespace qvnbench {

// Times the entries `opt` chooses (family, precision, direction, lengths) in
// every library of --lib, with the stack pointer at `stackSteps` offsets from
// the source spread evenly over a page, and prints the spread table; with
// --report, also writes DIR/placements.md. Returns the program's exit status.
int RunPlacements(const Options& opt, int stackSteps, const std::string& commandLine);

}  // namespace qvnbench
