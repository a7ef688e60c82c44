// The maker's button: opens a page, and its menu helps to find faults.
#pragma once

#include "editor/ControlURL.h"

namespace tarn {

/// Adds the menu "Troubleshooting". Interface thread.
class ControlQuorl : public ControlURL {
public:
    using ControlURL::ControlURL;

    bool handle(Message& message) override;
    void buildContextMenu(PopupMenu& menu, Point position) override;
};

}  // namespace tarn
