// A host that calls in any order: the record stays as it is, the instance keeps its slot, a started
// one is a wire, and its state comes back.
#include "Effect.h"
#include "Require.h"
#include "link/ConnectionInfo.h"

#include <fuzzer/FuzzedDataProvider.h>

using namespace tarn;
using fuzz::require;

namespace {

// A record or text that no opcode may write beyond, read where the host gives it.
void dispatch(fuzz::Effect& effect, FuzzedDataProvider& host) {
    const auto opcode = host.ConsumeIntegralInRange<VstInt32>(-1, 90);
    const auto number = [&] {
        return host.ConsumeBool() ? host.ConsumeIntegralInRange<VstInt32>(-1, 6)
                                  : host.ConsumeIntegral<VstInt32>();
    };
    const VstInt32 index = number();
    VstInt32 value = number();
    std::string text = host.ConsumeRandomLengthString(40);
    text.resize(4096);
    if (opcode == effSetChunk)
        value = std::min(value, static_cast<VstInt32>(text.size()));
    const bool isPointer = opcode == effSetSpeakerArrangement || opcode == effGetSpeakerArrangement;
    if (isPointer)
        std::memcpy(text.data() + offsetof(VstSpeakerArrangement, numChannels), &index,
                    sizeof index);
    // The list of events would lead anywhere.
    if (opcode != effClose && opcode != effProcessEvents)
        effect.call(opcode, index, isPointer ? reinterpret_cast<VstIntPtr>(text.data()) : value,
                    host.ConsumeBool() ? text.data() : nullptr, host.ConsumeFloatingPoint<float>());
}

void sendEvents(fuzz::Effect& effect, FuzzedDataProvider& host) {
    VstEvent event{};
    const std::string bytes = host.ConsumeBytesAsString(sizeof event);
    std::memcpy(&event, bytes.data(), bytes.size());
    if (host.ConsumeBool())
        event.type = kVstMidiType;
    VstEvents events{host.ConsumeIntegralInRange<VstInt32>(-3, 2), 0, {&event, nullptr}};
    require(effect.call(effProcessEvents, 0, 0, &events) == 1);
}

void process(fuzz::Effect& effect, FuzzedDataProvider& host) {
    test::Channel blocks[4];
    const auto frames = host.ConsumeIntegralInRange<std::size_t>(0, 40'000);
    const auto pick = [&] {
        auto& block = blocks[host.ConsumeIntegralInRange(0, 3)];
        block.assign(frames, host.ConsumeFloatingPoint<float>());
        return block.data();
    };
    effect.process({pick(), pick()}, {pick(), pick()}, frames);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider host(data, size);
    fuzz::product();
    fuzz::Effect effect;
    const AEffect before = *effect.record;
    while (host.remaining_bytes() > 0) {
        const int call = host.ConsumeIntegralInRange(0, 5);
        if (call == 0)
            process(effect, host);
        else if (call == 1)
            sendEvents(effect, host);
        else if (call == 2)
            effect.set(host.ConsumeIntegralInRange(-1, 3), host.ConsumeFloatingPoint<float>());
        else
            dispatch(effect, host);
        const AEffect& now = *effect.record;
        require(now.object == before.object && now.flags == before.flags &&
                now.numParams == before.numParams && now.uniqueID == before.uniqueID);
        require(now.numInputs >= 1 && now.numInputs <= now.numOutputs && now.numOutputs <= 2);
        require(inspectConnection(0).has_value());
    }
    effect.run();
    require(effect.record->numInputs < 2 || effect.passesAudio());
    const std::string state = effect.chunk();
    effect.restore(state);
    require(effect.chunk() == state);
    return 0;
}
