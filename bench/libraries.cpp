#include "libraries.h"

#include <dlfcn.h>

#include <algorithm>
#include <sstream>
#include <stdexcept>

#include "qvngen.h"

namespace qvnbench {
namespace {

struct Library {
    void* handle;  // RTLD_DEFAULT for the linked library
    std::string code;
    std::string origin;  // what --lib named
};

std::vector<Library>& Libraries() {
    static std::vector<Library> libs;
    return libs;
}
std::vector<PerLibraryBase*>& Registry() {
    static std::vector<PerLibraryBase*> values;
    return values;
}
int g_selected = 0;

// The variants this build made, "isa=path,isa=path" (bench/CMakeLists.txt).
#ifndef QVNB_VARIANTS
#define QVNB_VARIANTS ""
#endif

std::vector<std::pair<std::string, std::string>> BuiltVariants() {
    std::vector<std::pair<std::string, std::string>> out;
    std::stringstream list(QVNB_VARIANTS);
    std::string item;
    while (std::getline(list, item, ',')) {
        const size_t eq = item.find('=');
        if (eq != std::string::npos) out.emplace_back(item.substr(0, eq), item.substr(eq + 1));
    }
    return out;
}

bool ProcessorRuns(const std::string& isa) {
    __builtin_cpu_init();
    if (isa == "x86-64-v3") return __builtin_cpu_supports("x86-64-v3");
    if (isa == "x86-64-v4") return __builtin_cpu_supports("x86-64-v4");
    return false;
}

void Add(void* handle, const std::string& origin) {
    using Version = const LibraryVersion*(QVN_API*)();
    auto version = reinterpret_cast<Version>(dlsym(handle, "qvngenGetLibVersion"));
    if (version == nullptr) throw std::runtime_error(origin + ": no qvngenGetLibVersion");
    const std::string code = version()->targetCpu;
    for (const Library& l : Libraries())
        if (l.code == code)
            throw std::runtime_error(origin + " is the same build (" + code + ") as " + l.origin);
    Libraries().push_back({handle, code, origin});
}

void AddFile(const std::string& path, const std::string& origin) {
    void* handle = dlmopen(LM_ID_NEWLM, path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) throw std::runtime_error(origin + ": " + dlerror());
    Add(handle, origin);
}

}  // namespace

void LoadLibraries(const std::string& list) {
    if (!Libraries().empty() || !Registry().empty())
        throw std::logic_error("LoadLibraries: libraries are chosen once, before any case is made");
    std::stringstream items(list);
    std::string item;
    while (std::getline(items, item, ',')) {
        if (item == "base") {
            Add(RTLD_DEFAULT, item);
        } else if (item == "all") {
            Add(RTLD_DEFAULT, "base");
            for (const auto& [isa, path] : BuiltVariants())
                if (ProcessorRuns(isa)) AddFile(path, isa);
        } else if (item.find('/') != std::string::npos) {
            AddFile(item, item);
        } else {
            const auto variants = BuiltVariants();
            auto it = std::find_if(variants.begin(), variants.end(), [&](const auto& v) { return v.first == item; });
            if (it == variants.end()) throw std::runtime_error("--lib: no library called '" + item + "' in this build");
            if (!ProcessorRuns(item)) throw std::runtime_error("--lib: this processor does not run " + item);
            AddFile(it->second, item);
        }
    }
    if (Libraries().empty()) throw std::runtime_error("--lib: no library chosen");
}

int LibraryCount() { return static_cast<int>(Libraries().size()); }

const std::string& LibraryCode(int k) { return Libraries().at(k).code; }

void* LibrarySymbol(int k, const char* name) {
    void* p = dlsym(Libraries().at(k).handle, name);
    if (p == nullptr) throw std::runtime_error(Libraries()[k].origin + ": no export " + name);
    return p;
}

void SelectLibrary(int k) {
    g_selected = k;
    for (PerLibraryBase* v : Registry()) v->Select(k);
}

int SelectedLibrary() { return g_selected; }

PerLibraryBase::PerLibraryBase() { Registry().push_back(this); }

PerLibraryBase::~PerLibraryBase() {
    auto& r = Registry();
    r.erase(std::remove(r.begin(), r.end(), this), r.end());
}

}  // namespace qvnbench
