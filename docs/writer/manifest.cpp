#include "manifest.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <stdexcept>

namespace apidoc {

Manifest Manifest::Read(const std::string& path) {
    std::ifstream in(path);
    if (!in) throw std::runtime_error("cannot read " + path);
    Manifest m;
    for (std::string line; std::getline(in, line);)
        if (!line.empty()) m.names_.push_back(line);
    m.claimed_.assign(m.names_.size(), 0);
    return m;
}

namespace {

// The number a name has where the pattern has its placeholder; -1 when the
// name does not fit the pattern, 0 for an exact match of a pattern without
// a placeholder.
int MatchNumber(const std::string& pattern, const std::string& name) {
    const auto open = pattern.find('<');
    if (open == std::string::npos) return pattern == name ? 0 : -1;
    const std::string prefix = pattern.substr(0, open);
    const std::string suffix = pattern.substr(pattern.find('>') + 1);
    if (name.size() <= prefix.size() + suffix.size()) return -1;
    if (name.compare(0, prefix.size(), prefix) != 0) return -1;
    if (name.compare(name.size() - suffix.size(), suffix.size(), suffix) != 0) return -1;
    const std::string digits = name.substr(prefix.size(), name.size() - prefix.size() - suffix.size());
    if (!std::all_of(digits.begin(), digits.end(), [](unsigned char c) { return std::isdigit(c); }))
        return -1;
    return std::stoi(digits);
}

}  // namespace

std::vector<int> Manifest::Claim(const EntryForm& form) {
    std::vector<int> numbers;
    bool any = false;
    for (std::size_t i = 0; i < names_.size(); ++i) {
        const int number = MatchNumber(form.pattern, names_[i]);
        if (number < 0) continue;
        if (claimed_[i]) throw std::runtime_error(names_[i] + " is described twice (again by " + form.pattern + ")");
        claimed_[i] = 1;
        any = true;
        if (form.pattern.find('<') != std::string::npos) numbers.push_back(number);
    }
    if (!any) throw std::runtime_error(form.pattern + " is described but not exported");
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

std::vector<std::string> Manifest::Unclaimed() const {
    std::vector<std::string> out;
    for (std::size_t i = 0; i < names_.size(); ++i)
        if (!claimed_[i]) out.push_back(names_[i]);
    return out;
}

std::string Ranges(const std::vector<int>& numbers) {
    if (numbers.empty()) return "";
    bool consecutive = true;
    for (std::size_t i = 1; i < numbers.size(); ++i) consecutive &= numbers[i] == numbers[i - 1] + 1;
    if (consecutive && numbers.size() > 2)
        return std::to_string(numbers.front()) + ".." + std::to_string(numbers.back());
    std::string out;
    for (int n : numbers) out += (out.empty() ? "" : ", ") + std::to_string(n);
    return out;
}

}  // namespace apidoc
