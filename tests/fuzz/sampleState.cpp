// A sample's state from anywhere, read over a sample that has audio, and processed; the same text
// as the marker file beside it.
#include "Require.h"
#include "samples/Sample.h"

#include <boost/interprocess/streams/bufferstream.hpp>

using namespace tarn;
using fuzz::require;

namespace {

// What is no document of its own becomes the content of one in the keyed form.
Dictionary dictionaryOf(std::string_view input) {
    return Dictionary(input.starts_with("<dict")
                          ? std::string(input)
                          : "<dict file-format=\"1.0\">" + std::string(input) + "</dict>");
}

void requireWhole(const Sample& sample) {
    const std::int64_t values = std::int64_t{sample.getChannels()} * sample.getFrames();
    require(sample.hasData() == (values > 0) && (values > 0 || sample.getFrames() == 0));
    if (sample.hasData())
        fuzz::touch({sample.getData(), static_cast<std::size_t>(values + 1)});
    fuzz::touch(sample.view(sample.getStart(), sample.getEnd()));
    fuzz::touch(sample.view(sample.getLoopStart(), sample.getLoopEnd()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Dictionary state = dictionaryOf({reinterpret_cast<const char*>(data), size});
    const float values[] = {0.5f, -0.25f, 1.0f, 0.0f, 0.125f, -1.0f, 0.75f, 2.0f};
    Dictionary held = dictionaryOf("<channels value='2'/><samples value='4'/>");
    held.setData("sampledata", values, sizeof values);
    Sample sample;
    sample.read(held);
    try {
        sample.read(state);
    } catch (const Exception::SampleDataCorrupt&) {
        require(!sample.hasData());
    }
    sample.applyParameters(state);
    requireWhole(sample);
    sample.applyParameters(Dictionary());
    sample.mixToMono();
    boost::interprocess::ibufferstream markers(reinterpret_cast<const char*>(data), size);
    sample.loadMarkers(markers);
    for (const SampleRegion& region : sample.getRegions())
        fuzz::touch(sample.view(region.start, region.end));
    requireWhole(*sample.clone());
    return 0;
}
