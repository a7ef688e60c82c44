// A sample's state from anywhere, read over a sample that has audio, and processed.
#include "Require.h"
#include "samples/Sample.h"

#include <cstdint>
#include <string>
#include <string_view>

using namespace tarn;
using fuzz::require;

namespace {

// What is no document of its own becomes the content of one in the keyed form.
std::string documentOf(std::string_view input) {
    if (input.starts_with("<dict"))
        return std::string(input);
    return "<dict file-format=\"1.0\">" + std::string(input) + "</dict>";
}

void requireWhole(const Sample& sample) {
    const std::int64_t values = std::int64_t{sample.getChannels()} * sample.getFrames();
    require(sample.hasData() == (values > 0) && (values > 0 || sample.getFrames() == 0));
    if (sample.hasData())
        fuzz::touch(sample.getData(), values + 1);
    fuzz::touch(sample.view(sample.getStart(), sample.getEnd()));
    fuzz::touch(sample.view(sample.getLoopStart(), sample.getLoopEnd()));
}

void requireRoundTrip(const Sample& sample) {
    Dictionary written;
    sample.write(written);
    sample.writeData(written);
    Sample copy;
    copy.read(written);
    require(copy.getFrames() == sample.getFrames() && copy.getStart() == sample.getStart());
    requireWhole(copy);
}

Dictionary exampleState() {
    const float values[] = {0.5f, -0.25f, 1.0f, 0.0f};
    Dictionary state;
    state.setInteger("channels", 2);
    state.setData("sampledata", values, sizeof values);
    return state;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Dictionary example = exampleState();
    const Dictionary state(documentOf({reinterpret_cast<const char*>(data), size}));
    Sample sample;
    sample.read(example);
    try {
        sample.read(state);
    } catch (const Exception::SampleDataCorrupt&) {
        require(!sample.hasData() && sample.getFrames() == 0);
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
