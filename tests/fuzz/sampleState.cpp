// A sample's state from anywhere, read over a sample that has audio, and processed.
#include "samples/Sample.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string_view>

using namespace tarn;

namespace {

void require(bool condition) {
    if (!condition)
        std::abort();
}

// Reads every value that the counts promise.
void requireWhole(const Sample& sample) {
    if (sample.getData() == nullptr)
        return;
    const std::int64_t values = std::int64_t{sample.getChannels()} * sample.getFrames();
    bool isAnyNaN = false;
    for (std::int64_t i = 0; i <= values; ++i)
        isAnyNaN |= std::isnan(sample.getData()[i]);
    volatile bool sink = isAnyNaN;
    static_cast<void>(sink);
}

void requireRoundTrip(const Sample& sample) {
    Dictionary written;
    sample.write(written);
    sample.writeData(written);
    Sample copy;
    copy.read(written);
    require(copy.getFrames() == sample.getFrames());
    requireWhole(copy);
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
    requireWhole(sample);
    sample.applyParameters(state);
    requireWhole(sample);

    if (size % 8 == 0)  // packing takes its time
        requireRoundTrip(sample);
    sample.mixToMono();
    requireWhole(*sample.clone());
    return 0;
}
