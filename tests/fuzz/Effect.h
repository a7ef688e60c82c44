// An instance of the product as its host has it.
#pragma once

#include "link/BrimtidePluginInfo.h"
#include "plugin/Mission.h"
#include "support/HostedEffect.h"
#include "support/Product.h"
#include "vst/VSTPlugin.h"

#include <functional>

namespace tarn::fuzz {

/// The product as it is delivered; of the process, and started.
inline test::Product& product() {
    static const auto one = [] {
        auto made = test::Product::of<BrimtidePluginInfo>(PRODUCT_FOLDER);
        Mission::get().start();
        return made;
    }();
    return *one;
}

/// What the host does while it hears of a user's edit; null for nothing.
inline std::function<void()> onHostCall;

/// Of the product that was started before; runs at first.
class Effect : public test::HostedEffect {
public:
    Effect() : HostedEffect(make()) { run(); }
    Effect(const Effect&) = delete;
    Effect& operator=(const Effect&) = delete;
    ~Effect() { call(effClose); }

private:
    static AEffect* make() {
        const IOConfig stereo{IOPinConfig(2, 1), IOPinConfig(2, 1)};
        return (new VSTPlugin(0, host, stereo))->getAeffect();
    }
    static VstIntPtr VSTCALLBACK host(AEffect*, VstInt32 opcode, VstInt32, VstIntPtr, void*,
                                      float) {
        const bool isEdit = opcode == audioMasterAutomate || opcode == audioMasterBeginEdit ||
                            opcode == audioMasterEndEdit;
        if (isEdit && onHostCall)
            onHostCall();
        return 0;
    }
};

}  // namespace tarn::fuzz
