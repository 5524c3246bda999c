// The order in which an entry checks its arguments, found by calling it.
//
// Each check is a way to make one argument bad, with the status the entry
// gives for it. Called with every fault at once, the entry reports the check
// it makes first; take that fault away and call again, and so on, until the
// call with no fault at all succeeds. Every check must have a status of its
// own, so that the answer cannot be ambiguous.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "qvngen.h"

namespace apidoc {

struct Check {
    std::string fault;  // "`src` or `dst` null"
    Status status;
};

// Calls the entry with the faults of the checks whose bits are set.
using FaultyCall = std::function<Status(unsigned faults)>;

// The checks in the order the entry makes them; throws when the entry's
// answers do not fit the checks (an unknown status, or a failure without
// faults).
std::vector<Check> CheckOrder(const std::vector<Check>& checks, const FaultyCall& call);

}  // namespace apidoc
