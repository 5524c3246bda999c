// The build identification record. The build number 570 and the "205.85" of
// the version text differ on purpose; both are reported as they stand.
#include "qvngen.h"

namespace {
const LibraryVersion kLibraryVersion = {
    7, 0, 205, 570, {'z', '3', '\0', '\0'}, "qvngenz3-7.0.dll", "7.0 build 205.85", "Nov 26 2011",
};
}

QVN_DECL(const LibraryVersion*) qvngenGetLibVersion(void) { return &kLibraryVersion; }
