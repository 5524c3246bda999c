// The export list as the reference sees it: every name the libraries export,
// as cmake/QvnExportNames.cmake gives it, matched against the entry forms the
// pages describe. Every name must belong to exactly one form and every form
// must match at least one name, so a page cannot describe an entry that does
// not exist nor leave one out.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace apidoc {

// One shape of entry: a name pattern in which <N> or <k> stands for a
// decimal number (or no placeholder at all), and the parameter list.
struct EntryForm {
    std::string pattern;  // "qvngDFTFwd_CToC_<N>_32fc"
    std::string params;   // "(const Complex32f* src, Complex32f* dst, ScaleFlag flag)"
    std::string result = "Status";
};

class Manifest {
public:
    // One export name per line.
    static Manifest Read(const std::string& path);

    // The numbers standing for the placeholder in the names the form matches
    // (empty for a form without one), ascending; marks those names as
    // documented. Throws when the form matches nothing or a name twice.
    std::vector<int> Claim(const EntryForm& form);

    std::size_t size() const { return names_.size(); }
    // Names no form has claimed.
    std::vector<std::string> Unclaimed() const;

private:
    std::vector<std::string> names_;
    std::vector<char> claimed_;
};

// "2..64" for a run of consecutive numbers, "2, 4, 8" otherwise.
std::string Ranges(const std::vector<int>& numbers);

}  // namespace apidoc
