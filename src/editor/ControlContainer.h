// Holds other controls, and shows or hides them with a parameter.
#pragma once

#include "editor/Control.h"

#include <string>

namespace tarn {

/// Its rectangle reaches to the right and down as far as its children do. Interface thread.
/// "LeaveModalMode" in its list "listento" closes it like a loss of the focus.
class ControlContainer : public Control {
public:
    using Control::Control;

    bool handle(Message& message) override;
    void importDictionary(const Dictionary& dictionary) override;
    Rect getRect() const override;
    void refresh() override;

    /// Follows this switch instead of the one before.
    virtual void setContainerParameter(const std::string& name);

    /// Follows none any more, if it was this one.
    virtual void clearContainerParameter(const std::string& name);

private:
    bool growsWithChildren() const override { return true; }
    void showFor(const ParameterMessage& change);

    bool isOn_ = false;        // the switch, as it was told last
    bool isInverted_ = false;  // it is hidden while the switch is on
};

}  // namespace tarn
