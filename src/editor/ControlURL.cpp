#include "editor/ControlURL.h"

#include "diagnostics/System.h"
#include "foundation/Dictionary.h"
#include "foundation/Message.h"

namespace tarn {

void ControlURL::importDictionary(const Dictionary& dictionary) {
    dictionary.getString("url", url_);
    ControlValueButton::importDictionary(dictionary);
}

// The system may let the host end the interface before it returns.
bool ControlURL::press(const WindowMessage& message) {
    const std::string url = message.button == WindowMessage::LeftButton ? url_ : std::string();
    const bool isUsed = ControlValueButton::press(message);
    if (!url.empty())
        System::openURL(url);
    return isUsed;
}

}  // namespace tarn
