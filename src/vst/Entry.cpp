// The exported entry of the library: `VSTPluginMain`, and the same function as `main`.
#include "link/BrimtidePluginInfo.h"
#include "platform/DynamicLibrary.h"
#include "plugin/Mission.h"
#include "vst/VSTPlugin.h"

#include <memory>

namespace {

// Before the host's first call, and until Mission goes.
[[maybe_unused]] const bool isProductSet = [] {
    tarn::PluginInfo::set(std::make_unique<tarn::BrimtidePluginInfo>());
    return true;
}();

bool hasVersion(audioMasterCallback audioMaster) {
    return audioMaster != nullptr &&
           audioMaster(nullptr, audioMasterVersion, 0, 0, nullptr, 0.0f) != 0;
}

AEffect* makeInstance(audioMasterCallback audioMaster) {
    if (!hasVersion(audioMaster))
        return nullptr;
    tarn::Mission::get().start();
    if (!hasVersion(audioMaster) || !tarn::Mission::get().isReady())
        return nullptr;
    const tarn::IOConfig stereo(tarn::IOPinConfig(2, 1), tarn::IOPinConfig(2, 1));
    auto* const instance =  // effClose deletes it
        new tarn::VSTPlugin(tarn::platform::ownLibrary().base, audioMaster, stereo);
    return instance->getAeffect();
}

}  // namespace

#if defined(_WIN32)
#define EXPORTED  // by the .def file, which also gives it its second name
#else
#define EXPORTED __attribute__((visibility("default")))
#endif

extern "C" EXPORTED VST_REALIGN AEffect* VSTCALLBACK
VSTPluginMain(audioMasterCallback audioMaster) noexcept try {
    return makeInstance(audioMaster);
} catch (...) {
    return nullptr;
}

#if !defined(_WIN32)
// A C++ function may not be called main, but for the one that it isn't.
extern "C" EXPORTED AEffect* mainEntry(audioMasterCallback audioMaster) noexcept __asm__("main");

extern "C" AEffect* mainEntry(audioMasterCallback audioMaster) noexcept {
    return VSTPluginMain(audioMaster);
}
#endif
