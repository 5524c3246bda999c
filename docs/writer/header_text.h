// Text taken from the library's own headers, so that the reference says what
// the headers say and changes when they change.
#pragma once

#include <string>

namespace apidoc {

std::string ReadFile(const std::string& path);

// The comment closing the line that declares `enumerator`:
//   kStatusBadSpec = -5,  /* DCT-IV specification with an unknown kind */
// gives "DCT-IV specification with an unknown kind". Throws when missing.
std::string EnumeratorComment(const std::string& header, const std::string& enumerator);

// The comment line(s) directly above the line that contains `declaration`,
// joined into one sentence ("Normalisation flag; compared for equality, not
// as bits.").
std::string CommentAbove(const std::string& header, const std::string& declaration);

// One section of the overview comment at the top of qvngen.h: from the line
// that starts with `heading` to the next section heading, without the
// declaration paragraphs (those are listed from the export list instead).
// Returned as the header shows it, comment markers removed.
std::string OverviewSection(const std::string& header, const std::string& heading);

// The lines of a // comment block from the line starting with `first` to the
// last comment line before code, comment markers removed
// (frame/packed_layout.h: "For N points ...").
std::string LineCommentFrom(const std::string& source, const std::string& first);

}  // namespace apidoc
