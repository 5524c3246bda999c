// qvngen-apidoc: writes the API reference, docs/api/*.md.
//   qvngen-apidoc SOURCE_DIR QVNGENZ3_EXPORTS QVNCORE_EXPORTS OUT_DIR
// The export lists hold one name per line (cmake/QvnExportNames.cmake).
// Every exported name must be described by exactly one page; the program
// fails otherwise, as it does when the library answers a probe unexpectedly.
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>

#include "header_text.h"
#include "pages.h"

namespace {

void Write(const std::filesystem::path& dir, const apidoc::Page& page) {
    std::ofstream out(dir / page.file(), std::ios::binary | std::ios::trunc);
    out << page.text();
    if (!out) throw std::runtime_error("cannot write " + (dir / page.file()).string());
}

void RequireAllClaimed(const apidoc::Manifest& m, const char* library) {
    const std::vector<std::string> left = m.Unclaimed();
    if (left.empty()) return;
    std::string names;
    for (const std::string& n : left) names += "\n  " + n;
    throw std::runtime_error(std::string(library) + " exports that no page describes:" + names);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5) {
        std::fprintf(stderr, "usage: qvngen-apidoc SOURCE_DIR QVNGENZ3_EXPORTS QVNCORE_EXPORTS OUT_DIR\n");
        return 2;
    }
    try {
        const std::filesystem::path source = argv[1], out = argv[4];
        apidoc::Manifest manifest = apidoc::Manifest::Read(argv[2]);
        apidoc::Manifest core = apidoc::Manifest::Read(argv[3]);
        const std::string header = apidoc::ReadFile((source / "include/qvngen.h").string());
        const std::string coreHeader = apidoc::ReadFile((source / "include/qvncore.h").string());
        const std::string layoutHeader = apidoc::ReadFile((source / "frame/packed_layout.h").string());
        apidoc::Sources sources{manifest, header, coreHeader, layoutHeader};

        std::vector<apidoc::BuiltPage> families;
        for (auto build : {apidoc::ComplexDftPage, apidoc::RealDftPage, apidoc::HartleyPage, apidoc::WhtPage,
                           apidoc::Dct4Page})
            families.push_back(build(sources));
        std::vector<apidoc::PageSummary> summaries;
        for (const auto& f : families) summaries.push_back(f.summary);
        const apidoc::Page index = apidoc::IndexPage(sources, core, summaries);
        RequireAllClaimed(manifest, "libqvngenz3");
        RequireAllClaimed(core, "libqvncore");

        std::filesystem::create_directories(out);
        for (const auto& f : families) Write(out, f.page);
        Write(out, index);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "qvngen-apidoc: %s\n", e.what());
        return 1;
    }
    return 0;
}
