// The pages of docs/api/, one per transform family plus the index. Each
// takes the names it documents from the manifest.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "manifest.h"
#include "page.h"

namespace apidoc {

// What every page builder gets: the export list of libqvngenz3 and the text
// of qvngen.h, qvncore.h and frame/packed_layout.h.
struct Sources {
    Manifest& manifest;
    const std::string& header;
    const std::string& coreHeader;
    const std::string& layoutHeader;
};

struct BuiltPage {
    Page page;
    PageSummary summary;
};

BuiltPage ComplexDftPage(Sources& s);
BuiltPage RealDftPage(Sources& s);
BuiltPage HartleyPage(Sources& s);
BuiltPage WhtPage(Sources& s);
BuiltPage Dct4Page(Sources& s);
// The index: conventions shared by all families, the library-level entries
// (version query, qvncore) and links to the family pages.
Page IndexPage(Sources& s, Manifest& core, const std::vector<PageSummary>& families);

}  // namespace apidoc
