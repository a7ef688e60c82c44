// An instance of the product as its host has it.
#pragma once

#include "link/BrimtidePluginInfo.h"
#include "plugin/Mission.h"
#include "support/HostedEffect.h"
#include "support/Product.h"
#include "vst/VSTPlugin.h"

#include <string>
#include <vector>

namespace tarn::fuzz {

/// Started at first.
class Effect : public test::HostedEffect {
public:
    Effect() : HostedEffect(make()) { run(); }
    Effect(const Effect&) = delete;
    Effect& operator=(const Effect&) = delete;
    ~Effect() { call(effClose); }

    void restore(const std::string& chunk) const {
        product().messages.clear();
        HostedEffect::restore(chunk);
    }

    /// What the user was told of the last one.
    const std::vector<std::string>& messages() const { return product().messages; }

private:
    static AEffect* make() {
        product();
        const IOConfig stereo{IOPinConfig(2, 1), IOPinConfig(2, 1)};
        return (new VSTPlugin(0, host, stereo))->getAeffect();
    }
    static test::Product& product() {
        static const auto one = [] {
            auto made = test::Product::of<BrimtidePluginInfo>(PRODUCT_FOLDER);
            Mission::get().start();
            return made;
        }();
        return *one;
    }
    static VstIntPtr VSTCALLBACK host(AEffect*, VstInt32, VstInt32, VstIntPtr, void*, float) {
        return 0;
    }
};

}  // namespace tarn::fuzz
