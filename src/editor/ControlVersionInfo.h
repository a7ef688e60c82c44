// The text that says which product this is.
#pragma once

#include "editor/ControlText.h"

#include <string>

namespace tarn {

/// Interface thread.
class ControlVersionInfo : public ControlText {
public:
    using ControlText::ControlText;

    /// The product's name, its version, and of what isn't released also the kind of build, as in
    /// "Brimtide 1.2.0 Debug Build". Any thread.
    static std::string versionLine();

    void importDictionary(const Dictionary& dictionary) override;
};

}  // namespace tarn
