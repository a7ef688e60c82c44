// A tree as its text.
#pragma once

#include "foundation/Dictionary.h"

#include <string>

namespace tarn::test {

/// Empty for a tree that has none.
inline std::string textOf(const Dictionary& tree) {
    std::string text;
    return tree.toString(text) ? text : std::string();
}

}  // namespace tarn::test
