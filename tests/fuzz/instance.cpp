// A chunk from anywhere, given to an instance as a host has it: what the instance gives then comes
// back as it was, and audio still passes.
#include "Effect.h"
#include "Require.h"

using namespace tarn;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    auto& told = fuzz::product().messages;
    const fuzz::Effect effect;
    const std::string former = effect.chunk();
    told.clear();
    effect.restore({reinterpret_cast<const char*>(data), size});
    require(told.empty() || effect.chunk() == former);
    require(effect.passesAudio());
    const std::string state = effect.chunk();
    told.clear();
    effect.restore(state);
    require(told.empty() && effect.chunk() == state);
    require(effect.passesAudio());
    return 0;
}
