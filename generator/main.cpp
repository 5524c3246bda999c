// qvngen-gen: writes the generated kernels of the library.
//   qvngen-gen [--isa TARGET] FAMILY OUTDIR   kernels and census of one family
//                                              for one instruction set (see Usage)
//   qvngen-gen [--isa TARGET] explore ...     census of another scheme than the
//                                              table's, for that instruction set
// Files are rewritten only when their text changes, so the build recompiles
// just the kernels a generator change touched. Output is deterministic.
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "complex_dft_file.h"
#include "dct4_file.h"
#include "real_dft_file.h"
#include "wht_file.h"

namespace {

void WriteIfChanged(const std::filesystem::path& path, const std::string& text) {
    std::ifstream in(path, std::ios::binary);
    if (in) {
        std::stringstream old;
        old << in.rdbuf();
        if (old.str() == text) return;
    }
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
    if (!out) throw std::runtime_error("cannot write " + path.string());
}

int Usage() {
    std::fprintf(stderr,
                 "usage: qvngen-gen [--isa x86-64|x86-64-v3|x86-64-v4] complex-dft|dft-real|hartley|wht|dct4 OUTDIR\n"
                 "       qvngen-gen [--isa TARGET] explore N 32fc|64fc RECIPE   census of a scheme, nothing written\n"
                 "       qvngen-gen [--isa TARGET] explore-real N 32f|64f FORWARD INVERSE HARTLEY\n"
                 "       qvngen-gen fold-check [FIRST LAST]\n");
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    gen::Isa isa = gen::Isa::kX86_64;
    if (argc >= 3 && std::string(argv[1]) == "--isa") {
        try {
            isa = gen::ParseIsa(argv[2]);
        } catch (const std::exception& e) {
            std::fprintf(stderr, "qvngen-gen: %s\n", e.what());
            return 2;
        }
        argv += 2;
        argc -= 2;
    }
    if ((argc == 5 && std::string(argv[1]) == "explore") || (argc == 7 && std::string(argv[1]) == "explore-real")) {
        try {
            const int n = std::atoi(argv[2]);
            const std::string prec = argv[3];
            std::printf("%s", argc == 5 ? gen::ExploreComplexDft(n, prec == "32fc", argv[4], isa).c_str()
                                        : gen::ExploreReal(n, prec == "32f", argv[4], argv[5], argv[6], isa).c_str());
        } catch (const std::exception& e) {
            std::fprintf(stderr, "qvngen-gen: %s\n", e.what());
            return 1;
        }
        return 0;
    }
    if (argc >= 2 && std::string(argv[1]) == "fold-check" && (argc == 2 || argc == 4)) {
        try {
            if (argc == 2) std::printf("%s", gen::kFoldLossesHeader);
            const int first = argc == 4 ? std::atoi(argv[2]) : 2, last = argc == 4 ? std::atoi(argv[3]) : 64;
            std::printf("%s", gen::FoldCheck(first, last).c_str());
        } catch (const std::exception& e) {
            std::fprintf(stderr, "qvngen-gen: %s\n", e.what());
            return 1;
        }
        return 0;
    }
    if (argc != 3) return Usage();
    const std::string family = argv[1];
    const std::filesystem::path dir = argv[2];
    try {
        std::filesystem::create_directories(dir);
        // Each family: a census title and the files of every size and precision.
        struct Family {
            const char* name;
            const char* title;
            int first, last;
            gen::GeneratedFile (*file)(int, bool, gen::Isa);
        };
        const Family families[] = {
            {"complex-dft", "complex DFT kernels", 2, 64, gen::ComplexDftFile},
            {"dft-real", "real DFT kernels (mul: products with constants)", 2, 64, gen::RealDftFile},
            {"hartley", "Hartley kernels (mul: products with constants)", 2, 64, gen::HartleyFile},
            {"wht", "Walsh-Hadamard kernels, all passes", 1, 13, gen::WhtFile},
            {"dct4", "type-IV DCT kernels", 0, gen::Dct4FileCount() - 1, gen::Dct4File},
        };
        const Family* chosen = nullptr;
        for (const Family& f : families)
            if (family == f.name) chosen = &f;
        if (chosen == nullptr) return Usage();
        std::string census = std::string("# Operation census of the ") + chosen->title + " (written by qvngen-gen).\n";
        for (int single = 1; single >= 0; --single)
            for (int size = chosen->first; size <= chosen->last; ++size) {
                gen::GeneratedFile f = chosen->file(size, single == 1, isa);
                WriteIfChanged(dir / f.name, f.text);
                census += f.census;
            }
        WriteIfChanged(dir / "census.txt", census);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "qvngen-gen: %s\n", e.what());
        return 1;
    }
    return 0;
}
