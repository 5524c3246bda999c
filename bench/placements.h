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
// `pages` > 0, then times each entry at its fastest placement with the source
// in each of that many pages and prints the share of slow pages; with
// --report, also writes DIR/placements.md. Returns the program's exit status.
int RunPlacements(const Options& opt, int stackSteps, int pages, const std::string& commandLine);

}  // namespace qvnbench
