// The parts of qvngen-bench that serve a long run: a progress line on stderr
// while the cases are timed, the comparison with the faster of several
// references, and the report (--report DIR): the results as CSV, then a
// Markdown summary and charts drawn by bench/report.py.
#pragma once

#include <cstddef>
#include <cstdio>
#include <functional>
#include <string>

#include "bench.h"

namespace qvnbench {

// "[ 412/1290] complex DFT 32-bit fwd N=17" on stderr, rewritten in place on
// a terminal; elsewhere (a log file) one line for every tenth of the run.
class ProgressLine {
public:
    explicit ProgressLine(std::size_t total);
    void Next(const char* familyTitle, const Case& c);
    void Done();

private:
    std::size_t total_, done_ = 0;
    bool terminal_;
};

// Writes DIR/results.csv with `writeCsv`, then runs bench/report.py on it,
// which writes DIR/report.md, DIR/summary.md and one PNG per family and
// precision. `commandLine` is quoted at the top of the report. Returns 0 on
// success.
int WriteReport(const std::string& dir, const std::string& commandLine,
                const std::function<void(std::FILE*)>& writeCsv);

// Where a case was timed against both FFTW and KFR (each in its own table),
// prints tables and summaries of our time over the faster of the two at
// each length. Each ratio comes from the batches of its own table, where
// our entry and that reference took turns; the one against the faster
// reference is the larger of the two. Reads the results as the CSV
// `writeCsv` writes; prints nothing when no case has both references.
void PrintBestOfReferences(const std::function<void(std::FILE*)>& writeCsv);

}  // namespace qvnbench
