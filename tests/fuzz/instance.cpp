// A chunk from anywhere, given to an instance of the product: what the instance writes then comes
// back as it was, and audio still passes.
#include "link/Instance.h"

#include "Require.h"
#include "link/BrimtideEngine.h"
#include "link/BrimtidePluginInfo.h"
#include "plugin/Mission.h"
#include "support/Product.h"

#include <array>
#include <cstdint>
#include <memory>
#include <numeric>

using namespace tarn;
using fuzz::require;

namespace {

/// Whether a block comes out as it went in, or silent if the state muted it.
bool passesAudio(test::Instance& instance) {
    std::array<float, 64> samples{}, left{}, right{};
    std::iota(samples.begin(), samples.end(), 1.0f);
    left.fill(7.0f);
    right.fill(7.0f);
    instance.process(samples.data(), left.data(), right.data(), 64);
    if (instance.value(MuteOutputName) != 0.0f)
        samples = {};
    return left == samples && right == samples;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const auto product = test::Product::of<BrimtidePluginInfo>(PRODUCT_FOLDER);
    Mission::get().start();
    require(Mission::get().isReady());
    product->messages.clear();

    test::Instance instance;
    const std::string former = instance.state();
    const bool isTaken = instance.restore({reinterpret_cast<const char*>(data), size});
    require(isTaken || instance.state() == former);
    require(passesAudio(instance));
    const std::string state = instance.state();
    require(instance.restore(state));
    require(instance.state() == state);
    require(passesAudio(instance));
    return 0;
}
