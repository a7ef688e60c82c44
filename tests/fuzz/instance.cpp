// A chunk from anywhere, given to an instance as a host has it: what the instance gives then comes
// back as it was, and audio still passes.
#include "Effect.h"
#include "Require.h"

using namespace tarn;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Effect effect;
    const std::string former = effect.chunk();
    effect.restore({reinterpret_cast<const char*>(data), size});
    require(effect.messages().empty() || effect.chunk() == former);
    require(effect.passesAudio());
    const std::string state = effect.chunk();
    effect.restore(state);
    require(effect.messages().empty() && effect.chunk() == state);
    require(effect.passesAudio());
    return 0;
}
