// A Markdown page under construction, and the sections several pages share.
#pragma once

#include <string>
#include <vector>

#include "check_order.h"
#include "frame/scale.h"
#include "manifest.h"

namespace apidoc {

class Page {
public:
    Page(std::string file, const std::string& title);

    Page& Heading(const std::string& text);  // a level-2 heading
    Page& Text(const std::string& paragraph);
    Page& Code(const std::string& language, const std::string& body);
    Page& Table(const std::vector<std::string>& header, const std::vector<std::vector<std::string>>& rows);

    const std::string& file() const { return file_; }
    const std::string& text() const { return text_; }

private:
    std::string file_, text_;
};

// What a page says about itself in the index.
struct PageSummary {
    std::string file, family;
    std::size_t entries;
};

// Shared sections --------------------------------------------------------

// "Entries": every form with its parameters and the lengths (or orders) the
// manifest has for it. `number` names the placeholder column ("N", "order
// k"). Returns how many exports the forms cover.
std::size_t EntriesSection(Page& page, Manifest& manifest, const std::vector<EntryForm>& forms,
                           const std::string& number);

// One group of entries whose checks are found by calling a representative.
struct CheckedEntries {
    std::string label;  // "Fixed-length entries"
    std::vector<Check> checks;
    FaultyCall call;
};
// "Status codes and order of checks": a numbered list per group; groups
// that check the same things in the same order share one list.
void ChecksSection(Page& page, const std::string& header, const std::vector<CheckedEntries>& groups,
                   const std::string& preamble);

// The scale each flag selects, from frame/scale.h, one column per direction.
struct ScaleColumn {
    std::string title;  // "forward s"
    qvn::Direction direction;
};
void ScaleSection(Page& page, const std::vector<ScaleColumn>& columns, const std::string& n);

// The family's part of the overview comment in qvngen.h, as it stands there.
void HeaderExcerpt(Page& page, const std::string& header, const std::string& heading);

// A number as the worked examples print it: shortest form that reads back.
std::string Num(double v);
// `text` in backticks.
std::string Tick(const std::string& text);

// Name of a status value and the comment qvngen.h gives it.
std::string StatusName(Status s);
std::string StatusMeaning(const std::string& header, Status s);

}  // namespace apidoc
