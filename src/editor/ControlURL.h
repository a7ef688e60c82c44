// A button that opens a page of the web.
#pragma once

#include "editor/ControlValueButton.h"

#include <string>

namespace tarn {

/// A left press opens the address of key "url" in the user's browser or mail program; addresses of
/// other kinds than http, https and mailto are logged and dropped. Interface thread.
class ControlURL : public ControlValueButton {
public:
    using ControlValueButton::ControlValueButton;

    void importDictionary(const Dictionary& dictionary) override;

protected:
    bool press(const WindowMessage& message) override;

private:
    std::string url_;
};

}  // namespace tarn
