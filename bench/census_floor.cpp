#include "census_floor.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <sstream>
#include <utility>
#include <vector>

namespace qvnbench {

bool ParseCensusLine(const std::string& line, int defaultBits, std::string& name, KernelCensus& out) {
    const size_t colon = line.find(": ");
    if (line.rfind("qvng", 0) != 0 || colon == std::string::npos) return false;
    name = line.substr(0, colon);
    out = KernelCensus{};
    out.vectorBits = defaultBits;
    // The counts are "<number> <what>" pairs; other numbers ("132 products",
    // "36 of them") are followed by words that are not counted.
    std::istringstream words(line.substr(colon + 2));
    std::string word, previous;
    while (words >> word) {
        word.erase(std::remove(word.begin(), word.end(), ','), word.end());
        if (word == "SSE2" || word == "scalar") out.vectorBits = 128;
        if (word == "AVX") out.vectorBits = 256;
        if (word == "(512-bit)") out.vectorBits = 512;
        const bool counted = !previous.empty() && std::all_of(previous.begin(), previous.end(), ::isdigit);
        const int count = counted ? std::atoi(previous.c_str()) : 0;
        if (word == "add") out.adds = count;
        if (word == "mul") out.muls = count;
        if (word == "shuffle") out.shuffles = count;
        if (word == "cvt") out.cvts = count;
        if (word == "load") out.loads = count;
        if (word == "store") out.stores = count;
        previous = word;
    }
    return true;
}

double FloorCycles(const KernelCensus& c) {
    const double slots = c.vectorBits > 256 ? 2.0 : 1.0;  // pipe cycles per instruction
    const double add = (c.adds + c.cvts) * slots, mul = c.muls * slots, shuffle = c.shuffles * slots;
    // Pipes: add side {2, 3}, multiply side {0, 1}, shuffles {1, 2}. Every
    // set of pipes must hold all the work that can only go there.
    const double pipes = std::max({add / 2, mul / 2, shuffle / 2, (add + shuffle) / 3, (mul + shuffle) / 3,
                                   (add + mul + shuffle) / 4});
    const double loadsPerCycle = c.vectorBits <= 128 ? 3 : c.vectorBits <= 256 ? 2 : 1;
    const double storesPerCycle = c.vectorBits <= 128 ? 2 : 1;
    return std::max({pipes, c.loads / loadsPerCycle, c.stores / storesPerCycle});
}

namespace {

// The census file of each family, without the build suffix.
const char* const kCensusFiles[] = {"census", "census_dft_real", "census_hartley", "census_wht"};

bool ReadLines(const std::string& path, std::vector<std::string>& lines) {
    std::ifstream in(path);
    if (!in) return false;
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return true;
}

std::string KernelName(const std::string& family, int precision, const std::string& direction, int n) {
    const std::string p = std::to_string(precision) + "f", len = std::to_string(n);
    if (family == "dft-c")
        return std::string("qvngDFT") + (direction == "fwd" ? "Fwd" : "Inv") + "_CToC_" + len + "_" + p + "c";
    if (family == "rfwd") return "qvngDFTFwd_RTo*_" + len + "_" + p;
    if (family == "rinv") return "qvngDFTInv_*ToR_" + len + "_" + p;
    if (family == "hartley") return "qvngHartley_" + len + "_" + p;
    if (family == "wht") {
        int order = 0;
        while ((2 << order) <= n) ++order;
        return "qvngWHT_" + std::to_string(order) + "_" + p;
    }
    return {};
}

}  // namespace

CensusFloors::CensusFloors(const std::string& dir, const std::string& codes) {
    std::vector<std::pair<std::string, std::string>> builds;  // (isa, code), lowest first
    std::istringstream list(codes);
    for (std::string item; std::getline(list, item, ',');) {
        const size_t eq = item.find('=');
        if (eq != std::string::npos) builds.emplace_back(item.substr(0, eq), item.substr(eq + 1));
    }
    for (size_t b = 0; b < builds.size(); ++b) {
        auto& kernels = kernels_[builds[b].second];
        const int defaultBits = b == 0 ? 128 : 256;
        for (const char* file : kCensusFiles) {
            std::vector<std::string> lines;
            for (size_t lower = b + 1; lower-- > 0;) {
                const std::string suffix = lower == 0 ? "" : "." + builds[lower].first;
                if (ReadLines(dir + "/" + file + suffix + ".txt", lines)) break;
            }
            for (const std::string& line : lines) {
                std::string name;
                KernelCensus c;
                if (ParseCensusLine(line, defaultBits, name, c)) kernels[name] = c;
            }
        }
    }
}

double CensusFloors::Cycles(const std::string& code, const std::string& family, int precision,
                            const std::string& direction, int n) const {
    const auto lib = kernels_.find(code);
    if (lib == kernels_.end()) return std::numeric_limits<double>::quiet_NaN();
    const auto kernel = lib->second.find(KernelName(family, precision, direction, n));
    if (kernel == lib->second.end()) return std::numeric_limits<double>::quiet_NaN();
    return FloorCycles(kernel->second);
}

double MeasureCoreGhz() {
    using Clock = std::chrono::steady_clock;
    // The fastest of many short trials: a trial that another process or a
    // clock change interrupts only ever comes out slower.
    double best = 0;
    for (int trial = 0; trial < 40; ++trial) {
        const long adds = 10000000;
        long x = 0;
        const auto t0 = Clock::now();
        for (long i = 0; i < adds / 8; ++i)
            asm volatile("add $1, %0\n\tadd $1, %0\n\tadd $1, %0\n\tadd $1, %0\n\t"
                         "add $1, %0\n\tadd $1, %0\n\tadd $1, %0\n\tadd $1, %0"
                         : "+r"(x));
        const double ns = std::chrono::duration<double, std::nano>(Clock::now() - t0).count();
        best = std::max(best, adds / ns);
    }
    return best;
}

}  // namespace qvnbench
