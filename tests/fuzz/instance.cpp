// A chunk from anywhere, given to an instance of the product: what the instance writes then comes
// back as it was, and audio still passes.
#include "Require.h"
#include "audio/IOPinConfig.h"
#include "audio/Module.h"
#include "foundation/Dictionary.h"
#include "link/BrimtideEngine.h"
#include "link/BrimtidePlugin.h"
#include "link/BrimtidePluginInfo.h"
#include "parameters/Settings.h"
#include "plugin/Mission.h"
#include "support/Product.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

using namespace tarn;
using fuzz::require;

namespace {

class Instance {
public:
    Instance() { plugin_.start(); }
    ~Instance() { plugin_.stop(); }

    bool restore(std::string_view text) {
        Dictionary tree;
        return tree.parseWhole(text) && plugin_.readState(tree);
    }

    std::string saved() {
        Dictionary tree;
        std::string text;
        require(plugin_.writeState(tree, 0) && tree.toString(text));
        return text;
    }

    /// Whether a block comes out as it went in, or silent if the state muted it.
    bool passesAudio() {
        std::array<float, 64> left{}, right{}, out0{}, out1{};
        for (std::size_t i = 0; i < left.size(); ++i) {
            left[i] = static_cast<float>(i) / 64.0f;
            right[i] = -left[i];
        }
        float* const inputs[] = {left.data(), right.data()};
        float* const outputs[] = {out0.data(), out1.data()};
        out0.fill(7.0f);
        out1.fill(7.0f);
        in_.attach(inputs, 64);
        out_.attach(outputs, 64);
        plugin_.process(in_, out_, 64);
        const bool isMuted =
            plugin_.moduleAt(0)->settings().find(MuteOutputName, 0)->getFloat() != 0.0f;
        if (isMuted)
            left = right = {};
        return out0 == left && out1 == right;
    }

private:
    Brimtide::Plugin plugin_{nullptr, 0};
    IOPinConfig in_{2, 1}, out_{2, 1};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const auto product = test::Product::of<BrimtidePluginInfo>(PRODUCT_FOLDER);
    Mission::get().start();
    require(Mission::get().isReady());
    product->messages.clear();

    Instance instance;
    const std::string former = instance.saved();
    const bool isTaken = instance.restore({reinterpret_cast<const char*>(data), size});
    require(isTaken || instance.saved() == former);
    require(instance.passesAudio());
    const std::string state = instance.saved();
    require(instance.restore(state));
    require(instance.saved() == state);
    require(instance.passesAudio());
    return 0;
}
