// A sample's state from anywhere, read over a sample that has audio, and processed.
#include "Require.h"
#include "samples/Sample.h"

#include <cstdint>
#include <string_view>

using namespace tarn;
using fuzz::require;

namespace {

void touchAll(const Sample& sample) {
    if (sample.getData() != nullptr)
        fuzz::touch(sample.getData(), 1LL + sample.getChannels() * sample.getFrames());
}

void requireRoundTrip(const Sample& sample) {
    Dictionary written;
    sample.write(written);
    sample.writeData(written);
    Sample copy;
    copy.read(written);
    require(copy.getFrames() == sample.getFrames());
    touchAll(copy);
}

Dictionary exampleState() {
    const float values[] = {0.5f, -0.25f, 1.0f, 0.0f};
    Dictionary state;
    state.setInteger("channels", 2);
    state.setInteger("samples", 2);
    state.setData("sampledata", values, sizeof values);
    return state;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Dictionary example = exampleState();
    const Dictionary state(std::string_view(reinterpret_cast<const char*>(data), size));
    Sample sample;
    sample.read(example);
    try {
        sample.read(state);
    } catch (const Exception::SampleDataCorrupt&) {
        require(sample.getData() == nullptr && sample.getFrames() == 0);
    }
    touchAll(sample);
    sample.applyParameters(state);
    touchAll(sample);

    if (size % 8 == 0)  // packing takes its time
        requireRoundTrip(sample);
    sample.mixToMono();
    touchAll(*sample.clone());
    return 0;
}
