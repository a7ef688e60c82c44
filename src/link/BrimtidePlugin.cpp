#include "link/BrimtidePlugin.h"

#include "plugin/Mission.h"

namespace tarn::Brimtide {

Plugin::~Plugin() {
    Mission::get().signOut(this);
}

void Plugin::start() {
    tarn::Plugin::start();
    Mission::get().signIn(this);
}

std::int32_t Plugin::getUniqueID() const {
    return static_cast<std::int32_t>(fourCharacterCode("QrlA"));
}

void Plugin::process(IOPinConfig& in, IOPinConfig& out, int frames) noexcept {
    if (out.getActivePinCount() == 0)
        return;
    for (int i = 0; i < in.getActivePinCount(); ++i)
        in.getPin(i)->setCount(frames);
    processModules(in, out, frames);
}

}  // namespace tarn::Brimtide
