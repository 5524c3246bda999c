// The qvngen libraries one run of qvngen-bench times side by side: the one
// the program is linked with and, from --lib, other builds of the same
// library (a variant of the build tree, or any libqvngenz3.so.7 file), each
// loaded into a link-map namespace of its own so that its exports and its
// libqvncore are its own. Each library is named by the processor-target code
// of its version record ("z3", "a2", ...).
//
// A case keeps whatever it takes from a library (entry points, a DCT-IV
// specification) in PerLibrary values, one per library, and uses them like
// the plain value. SelectLibrary(k) switches every PerLibrary value of the
// program to library k at once, outside the timed batches, so a timed call
// costs exactly one indirect call, the same as calling the export through a
// pointer.
#pragma once

#include <string>
#include <vector>

namespace qvnbench {

// Loads the libraries named in a --lib list: "base" (the linked library),
// the name of a variant this build made ("x86-64-v3"), or a path to a
// libqvngenz3.so.7; "all" is the linked library and every variant this
// processor runs. Call once, before any case is made; throws on an unknown
// name or a library that does not load.
void LoadLibraries(const std::string& list);

int LibraryCount();
// The processor-target code of library k ("z3"); unique within a run.
const std::string& LibraryCode(int k);
// The export `name` of library k; throws when it has none.
void* LibrarySymbol(int k, const char* name);
// Makes library k the current one of every PerLibrary value.
void SelectLibrary(int k);
int SelectedLibrary();

class PerLibraryBase {
protected:
    PerLibraryBase();
    ~PerLibraryBase();
    PerLibraryBase(const PerLibraryBase&) = delete;
    PerLibraryBase& operator=(const PerLibraryBase&) = delete;
    virtual void Select(int k) = 0;
    friend void SelectLibrary(int k);
};

// One T per loaded library; converts to (and calls as) the current one.
template <class T>
class PerLibrary final : public PerLibraryBase {
public:
    PerLibrary() : values_(LibraryCount()) { Select(SelectedLibrary()); }
    // An export, looked up by name in every library.
    explicit PerLibrary(const char* name) : PerLibrary() {
        for (int k = 0; k < LibraryCount(); ++k) values_[k] = reinterpret_cast<T>(LibrarySymbol(k, name));
        Select(SelectedLibrary());
    }

    void Set(int k, T value) {
        values_[k] = value;
        if (k == SelectedLibrary()) current_ = value;
    }
    T Get(int k) const { return values_[k]; }
    T Current() const { return current_; }
    operator T() const { return current_; }
    template <class... Args>
    auto operator()(Args... args) const {
        return current_(args...);
    }

private:
    void Select(int k) override { current_ = values_[k]; }
    std::vector<T> values_;
    T current_{};
};

}  // namespace qvnbench
