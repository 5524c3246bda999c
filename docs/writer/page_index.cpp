// docs/api/README.md: what all families share, the two library-level
// entries, and the family pages.
#include "forms.h"
#include "header_text.h"
#include "pages.h"
#include "qvncore.h"
#include "qvngen.h"

namespace apidoc {
namespace {

std::vector<std::string> FormRow(Manifest& manifest, const EntryForm& form) {
    manifest.Claim(form);
    return {Tick(form.result + " " + form.pattern + form.params)};
}

}  // namespace

Page IndexPage(Sources& s, Manifest& core, const std::vector<PageSummary>& families) {
    Page page("README.md", "qvngen API reference");
    page.Text("Every function of `libqvngenz3` and `libqvncore`, family by family. These pages are written by "
              "`qvngen-apidoc` from the list of exports (`cmake/QvnExportNames.cmake`, the list the export test "
              "holds the libraries to), the public headers and calls into the library itself; "
              "`tools/update-docs.sh` rewrites them and a test fails while they are out of date.");

    std::vector<std::vector<std::string>> rows;
    std::size_t total = 0;
    for (const PageSummary& f : families) {
        rows.push_back({"[" + f.family + "](" + f.file + ")", std::to_string(f.entries)});
        total += f.entries;
    }
    page.Heading("Families");
    page.Table({"page", "exports"}, rows);

    page.Heading("Conventions");
    page.Text("`Status`: " + CommentAbove(s.header, "typedef int32_t Status;") + " " +
              CommentAbove(s.header, "#if defined(_WIN32) && !defined(_WIN64)"));
    std::vector<std::vector<std::string>> statuses;
    for (Status st : {kStatusOk, kStatusBadSpec, kStatusBadSize, kStatusNullPointer, kStatusBadFlag})
        statuses.push_back({std::to_string(st), Tick(StatusName(st)), StatusMeaning(s.header, st)});
    page.Table({"status", "name", "meaning"}, statuses);
    page.Text("`ScaleFlag`: " + CommentAbove(s.header, "typedef int32_t ScaleFlag;") +
              " Which factor each flag selects depends on the family and direction; every family page has the "
              "table.");
    page.Table({"flag", "value"}, {{"`kScaleFwdByN`", std::to_string(kScaleFwdByN)},
                                   {"`kScaleInvByN`", std::to_string(kScaleInvByN)},
                                   {"`kScaleBySqrtN`", std::to_string(kScaleBySqrtN)},
                                   {"`kScaleNone`", std::to_string(kScaleNone)}});
    page.Text("`Complex32f`, `Complex64f`: " + CommentAbove(s.header, "typedef struct Complex32f"));

    page.Heading("Library version");
    const std::vector<std::string> versionRow =
        FormRow(s.manifest, APIDOC_FORM(const LibraryVersion*, qvngenGetLibVersion, "qvngenGetLibVersion", (void)));
    const LibraryVersion* v = qvngenGetLibVersion();
    page.Text(versionRow[0] + ": " + CommentAbove(s.header, "qvngenGetLibVersion(void)") + " This build reports:");
    page.Table({"field", "value"},
               {{"`major`, `minor`", std::to_string(v->major) + ", " + std::to_string(v->minor)},
                {"`majorBuild`, `build`", std::to_string(v->majorBuild) + ", " + std::to_string(v->build)},
                {"`targetCpu`", Tick(std::string(v->targetCpu, 2))},
                {"`name`", Tick(v->name)},
                {"`version`", Tick(v->version)},
                {"`buildDate`", Tick(v->buildDate)}});

    page.Heading("Allocation: libqvncore");
    page.Text(CommentAbove(s.coreHeader, "#ifndef QVNCORE_H"));
    page.Table({"entry"}, {FormRow(core, APIDOC_FORM(void*, qvnMalloc, "qvnMalloc", (int32_t byteCount))),
                           FormRow(core, APIDOC_FORM(void, qvnFree, "qvnFree", (void* block)))});
    page.Text("In all, `libqvngenz3` exports " + std::to_string(total + 1) + " functions and `libqvncore` " +
              std::to_string(core.size()) + ".");
    return page;
}

}  // namespace apidoc
