#include "report.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <map>
#include <tuple>
#include <vector>

namespace qvnbench {

ProgressLine::ProgressLine(std::size_t total) : total_(total), terminal_(isatty(STDERR_FILENO) != 0) {}

void ProgressLine::Next(const char* familyTitle, const Case& c) {
    ++done_;
    const bool tenth = done_ * 10 / total_ != (done_ - 1) * 10 / total_;
    if (!terminal_ && !tenth && done_ != 1) return;
    std::fprintf(stderr, "%s[%*zu/%zu] %s %d-bit %s N=%d%s", terminal_ ? "\r" : "",
                 static_cast<int>(std::to_string(total_).size()), done_, total_, familyTitle,
                 c.precision, c.direction.c_str(), c.n, terminal_ ? "\033[K" : "\n");
}

void ProgressLine::Done() {
    if (terminal_ && done_ > 0) std::fputc('\n', stderr);
}

int WriteReport(const std::string& dir, const std::string& commandLine,
                const std::function<void(std::FILE*)>& writeCsv) {
    std::error_code ec;
    std::filesystem::create_directories(dir, ec);
    const std::string csv = (std::filesystem::path(dir) / "results.csv").string();
    std::FILE* out = std::fopen(csv.c_str(), "w");
    if (out == nullptr) {
        std::fprintf(stderr, "qvngen-bench: cannot write %s\n", csv.c_str());
        return 1;
    }
    writeCsv(out);
    if (std::fclose(out) != 0) return 1;

    // The interpreter and script locations are fixed when the benchmark is
    // built (bench/CMakeLists.txt): the Python that has Debian's matplotlib.
    std::vector<std::string> args = {QVNB_PYTHON, QVNB_REPORT_SCRIPT, "--command", commandLine, csv, dir};
    std::vector<char*> argv;
    for (std::string& a : args) argv.push_back(a.data());
    argv.push_back(nullptr);
    std::fflush(nullptr);
    const pid_t pid = fork();
    if (pid == 0) {
        execv(argv[0], argv.data());
        std::perror(QVNB_PYTHON);
        _exit(127);
    }
    int status = 0;
    if (pid < 0 || waitpid(pid, &status, 0) != pid || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        std::fprintf(stderr, "qvngen-bench: drawing the report failed; the results are in %s\n", csv.c_str());
        return 1;
    }
    return 0;
}

namespace {

// The references whose faster one our time is also compared with, and how
// that comparison is named.
const char* const kBestOf[] = {"FFTW", "KFR"};
const char kBestName[] = "the faster of FFTW and KFR";

struct CsvRow {
    std::string family, reference, direction, library;
    int precision = 0, n = 0;
    double nsOurs = 0, nsRef = 0, ratio = 0;
};

std::vector<std::string> SplitFields(const std::string& line) {
    std::vector<std::string> fields;
    std::size_t pos = 0;
    for (;;) {
        const std::size_t comma = line.find(',', pos);
        fields.push_back(line.substr(pos, comma - pos));
        if (comma == std::string::npos) return fields;
        pos = comma + 1;
    }
}

// The results as `writeCsv` writes them, read back by column name.
std::vector<CsvRow> ReadCsv(const std::function<void(std::FILE*)>& writeCsv) {
    std::vector<CsvRow> rows;
    std::FILE* f = std::tmpfile();
    if (f == nullptr) return rows;
    writeCsv(f);
    std::rewind(f);
    std::vector<std::string> lines;
    std::string line;
    for (int c; (c = std::fgetc(f)) != EOF;) {
        if (c != '\n') {
            line += static_cast<char>(c);
        } else {
            lines.push_back(line);
            line.clear();
        }
    }
    std::fclose(f);
    if (lines.empty()) return rows;
    std::map<std::string, std::size_t> column;
    const std::vector<std::string> header = SplitFields(lines[0]);
    for (std::size_t i = 0; i < header.size(); ++i) column[header[i]] = i;
    for (const char* name : {"family", "reference", "precision", "direction", "n", "ns_qvngen", "ns_reference",
                             "ratio", "library"})
        if (!column.count(name)) return rows;
    for (std::size_t i = 1; i < lines.size(); ++i) {
        const std::vector<std::string> v = SplitFields(lines[i]);
        if (v.size() != header.size()) continue;
        CsvRow r;
        r.family = v[column["family"]];
        r.reference = v[column["reference"]];
        r.direction = v[column["direction"]];
        r.library = v[column["library"]];
        r.precision = std::atoi(v[column["precision"]].c_str());
        r.n = std::atoi(v[column["n"]].c_str());
        r.nsOurs = std::atof(v[column["ns_qvngen"]].c_str());
        r.nsRef = std::atof(v[column["ns_reference"]].c_str());
        r.ratio = std::atof(v[column["ratio"]].c_str());
        rows.push_back(r);
    }
    return rows;
}

// One case and library against every reference of kBestOf: the reference
// with the larger ratio (the faster one, unless our own time differed
// between the two tables) and that ratio.
struct BestOf {
    const CsvRow* rows[std::size(kBestOf)] = {};
    const CsvRow* worst = nullptr;  // the row of the larger ratio
    bool complete() const {
        return std::all_of(std::begin(rows), std::end(rows), [](const CsvRow* r) { return r != nullptr; });
    }
};

}  // namespace

void PrintBestOfReferences(const std::function<void(std::FILE*)>& writeCsv) {
    const std::vector<CsvRow> rows = ReadCsv(writeCsv);
    std::vector<std::string> libraries;
    for (const CsvRow& r : rows)
        if (std::find(libraries.begin(), libraries.end(), r.library) == libraries.end())
            libraries.push_back(r.library);
    // Table (family, precision, direction) -> length -> library -> references.
    using TableKey = std::tuple<std::string, int, std::string>;
    std::map<TableKey, std::map<int, std::map<std::string, BestOf>>> tables;
    for (const CsvRow& r : rows) {
        const auto ref = std::find(std::begin(kBestOf), std::end(kBestOf), r.reference);
        if (ref == std::end(kBestOf)) continue;
        BestOf& b = tables[{r.family, r.precision, r.direction}][r.n][r.library];
        b.rows[ref - std::begin(kBestOf)] = &r;
        if (!b.worst || r.ratio > b.worst->ratio) b.worst = &r;
    }
    // Only the lengths timed against every reference count.
    for (auto& [key, lengths] : tables)
        for (auto it = lengths.begin(); it != lengths.end();)
            it = std::all_of(it->second.begin(), it->second.end(), [](const auto& e) { return e.second.complete(); })
                     ? std::next(it)
                     : lengths.erase(it);

    struct Summary {
        double logSum = 0;
        int cases = 0, slowCount = 0;
        const CsvRow* worst = nullptr;
        std::string slower;
        std::map<std::string, int> against;  // reference -> cases it was the faster one
    };
    std::map<std::tuple<std::string, int, std::string>, Summary> summaries;  // family, precision, library
    for (const auto& [key, lengths] : tables) {
        if (lengths.empty()) continue;
        const auto& [family, precision, direction] = key;
        std::printf("\n%s, %d-bit, %s: qvngen over %s (ns per call; each ratio from the table of its "
                    "reference)\n",
                    family.c_str(), precision, direction == "fwd" ? "forward" : "inverse", kBestName);
        std::printf("%4s", "N");
        for (const char* ref : kBestOf) std::printf(" %10s", ref);
        std::printf(" %6s", "vs");
        for (const std::string& lib : libraries) std::printf(" %10s", ("best " + lib).c_str());
        std::printf("\n");
        for (const auto& [n, byLibrary] : lengths) {
            const BestOf& first = byLibrary.begin()->second;
            std::printf("%4d", n);
            for (const CsvRow* r : first.rows) std::printf(" %10.2f", r->nsRef);
            const CsvRow* faster = *std::min_element(std::begin(first.rows), std::end(first.rows),
                                                     [](const CsvRow* a, const CsvRow* b) { return a->nsRef < b->nsRef; });
            std::printf(" %6s", faster->reference.c_str());
            for (const std::string& lib : libraries) {
                const auto it = byLibrary.find(lib);
                if (it == byLibrary.end()) {
                    std::printf(" %10s", "-");
                    continue;
                }
                const CsvRow& w = *it->second.worst;
                std::printf(" %10.3f", w.ratio);
                Summary& s = summaries[{family, precision, lib}];
                s.logSum += std::log(w.ratio);
                ++s.cases;
                ++s.against[w.reference];
                if (!s.worst || w.ratio > s.worst->ratio) s.worst = &w;
                if (w.ratio > 1) {
                    char buf[48];
                    std::snprintf(buf, sizeof buf, "%s%4d %s %-5.2f %-4s", s.slowCount++ % 5 ? "" : "\n    ", n,
                                  direction.c_str(), w.ratio, w.reference.c_str());
                    s.slower += buf;
                }
            }
            std::printf("\n");
        }
    }
    for (const std::string& lib : libraries) {
        for (const auto& [key, s] : summaries) {
            const auto& [family, precision, library] = key;
            if (library != lib) continue;
            std::printf("\n%s, %d-bit, qvngen %s: over %s, summary over %d cases\n", family.c_str(), precision,
                        lib.c_str(), kBestName, s.cases);
            std::printf("  geometric mean of ratios   %.3f\n", std::exp(s.logSum / s.cases));
            std::printf("  worst ratio                %.3f (N=%d %s, vs %s)\n", s.worst->ratio, s.worst->n,
                        s.worst->direction.c_str(), s.worst->reference.c_str());
            std::printf("  ratio > 1 (%d)%s\n", s.slowCount, s.slower.c_str());
            std::printf("  ratio taken against       ");
            const char* sep = " ";
            for (const auto& [ref, count] : s.against) {
                std::printf("%s%s in %d", sep, ref.c_str(), count);
                sep = ", ";
            }
            std::printf(" cases\n");
        }
    }
}

}  // namespace qvnbench
