// Entry forms whose parameter lists are checked against the declarations in
// qvngen.h and qvncore.h when this program is compiled: the text a page
// shows and the type the compiler sees come from the same tokens.
#pragma once

#include <type_traits>

#include "manifest.h"

namespace apidoc {

template <class Declared, class Documented>
EntryForm CheckedForm(const char* result, const char* pattern, const char* params) {
    static_assert(std::is_same_v<Declared, Documented>, "the documented parameters differ from the declaration");
    return {pattern, params, result};
}

}  // namespace apidoc

// APIDOC_FORM(Status, qvngWHT_3_32f, "qvngWHT_<k>_32f", (const float* src, ...)):
// `example` is one export of the form, declared in the public header.
#define APIDOC_FORM(result, example, pattern, params) \
    apidoc::CheckedForm<decltype(example), result params>(#result, pattern, #params)
