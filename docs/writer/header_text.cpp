#include "header_text.h"

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace apidoc {

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw std::runtime_error("cannot read " + path);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

namespace {

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

std::string Trim(const std::string& s) {
    const auto b = s.find_first_not_of(" \t");
    if (b == std::string::npos) return "";
    return s.substr(b, s.find_last_not_of(" \t") - b + 1);
}

// " * text" -> "text", " *" -> "", keeping the indentation after the "* ".
std::string BlockCommentBody(const std::string& line) {
    const auto star = line.find('*');
    if (star == std::string::npos) return line;
    std::string rest = line.substr(star + 1);
    return rest.empty() ? rest : rest.substr(rest[0] == ' ' ? 1 : 0);
}

// A section heading of the overview: unindented and ending with a colon.
bool IsHeading(const std::string& body) {
    return !body.empty() && body[0] != ' ' && body.back() == ':';
}

}  // namespace

std::string EnumeratorComment(const std::string& header, const std::string& enumerator) {
    for (const std::string& line : Lines(header)) {
        if (Trim(line).rfind(enumerator + " ", 0) != 0) continue;
        const auto open = line.find("/*"), close = line.find("*/");
        if (open == std::string::npos || close == std::string::npos) break;
        return Trim(line.substr(open + 2, close - open - 2));
    }
    throw std::runtime_error("no comment on the enumerator " + enumerator);
}

std::string CommentAbove(const std::string& header, const std::string& declaration) {
    const std::vector<std::string> lines = Lines(header);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (lines[i].find(declaration) == std::string::npos) continue;
        std::string text;
        for (std::size_t j = i; j-- > 0;) {
            const std::string t = Trim(lines[j]);
            if (t.empty() || (t.rfind("/*", 0) != 0 && t.rfind("*", 0) != 0)) break;
            const auto start = t.find_first_not_of("/*");
            std::string body = start == std::string::npos ? "" : Trim(t.substr(start));
            if (body.size() >= 2 && body.compare(body.size() - 2, 2, "*/") == 0)
                body = Trim(body.substr(0, body.size() - 2));
            if (!body.empty()) text = body + (text.empty() ? "" : " " + text);
            if (t.rfind("/*", 0) == 0) break;
        }
        if (!text.empty()) return text;
    }
    throw std::runtime_error("no comment above " + declaration);
}

std::string OverviewSection(const std::string& header, const std::string& heading) {
    const std::vector<std::string> lines = Lines(header);
    std::vector<std::string> section;
    bool inside = false;
    for (const std::string& line : lines) {
        if (Trim(line) == "*/") break;  // end of the overview comment
        const std::string body = BlockCommentBody(line);
        if (IsHeading(body)) {
            if (inside) break;
            inside = body.rfind(heading, 0) == 0;
            continue;
        }
        if (inside) section.push_back(body);
    }
    if (!inside) throw std::runtime_error("qvngen.h has no overview section '" + heading + "'");

    // Paragraphs, minus those that declare entries: "Status qvng...(...);"
    // lines and their "(and the same with ...)" notes.
    std::string out, paragraph;
    bool declares = false;
    auto flush = [&] {
        if (!paragraph.empty() && !declares) out += (out.empty() ? "" : "\n") + paragraph;
        paragraph.clear();
        declares = false;
    };
    for (const std::string& body : section) {
        if (Trim(body).empty()) {
            flush();
            continue;
        }
        const std::string t = Trim(body);
        declares |= t.rfind("Status qvng", 0) == 0 || t.rfind("(and ", 0) == 0 || t.rfind("(double ", 0) == 0;
        paragraph += body + "\n";
    }
    flush();
    return out;
}

std::string LineCommentFrom(const std::string& source, const std::string& first) {
    std::string out;
    bool inside = false;
    for (const std::string& line : Lines(source)) {
        const std::string t = Trim(line);
        if (t.rfind("//", 0) != 0) {
            if (inside) break;
            continue;
        }
        std::string body = t.substr(2);
        if (!body.empty() && body[0] == ' ') body.erase(0, 1);
        if (!inside && body.rfind(first, 0) == 0) inside = true;
        if (inside) out += body + "\n";
    }
    if (!inside) throw std::runtime_error("no comment starting with '" + first + "'");
    return out;
}

}  // namespace apidoc
