#include "report.h"

#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
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

}  // namespace qvnbench
