// A WAV stream from anywhere, with and without its audio.
#include "Require.h"
#include "samples/SampleWav.h"

#include <algorithm>
#include <boost/interprocess/streams/bufferstream.hpp>
#include <cstdint>

using namespace tarn;
using fuzz::require;

namespace {

// What every player of a sample relies on.
void requireWhole(const Sample& sample) {
    require(sample.hasData() ? sample.getChannels() == 1 : sample.getFrames() == 0);
    require(sample.getRootNote() >= 0 && sample.getRootNote() <= 127);
    require(sample.getSampleRate() > 0 && sample.getLoopStart() >= 0 && sample.getLoopEnd() >= -1);
    if (sample.hasData())
        fuzz::touch(sample.getData(), 1LL + sample.getFrames());
    for (const SampleRegion& region : sample.getRegions()) {
        require(region.start >= 0 && region.end >= -1);
        require(!sample.hasData() || std::max(region.start, region.end) < sample.getFrames());
        fuzz::touch(sample.view(region.start, region.end));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    boost::interprocess::ibufferstream stream(reinterpret_cast<const char*>(data), size);
    SampleWav sample;
    const bool isLoaded = sample.load(stream, true).isOk();
    require(isLoaded || !sample.hasData());
    require(static_cast<std::size_t>(sample.getFrames()) <= size);
    requireWhole(sample);
    if (isLoaded)
        requireWhole(*sample.clone());

    stream.clear();
    stream.seekg(0);
    require(sample.load(stream, false).isOk() >= isLoaded);
    require(!sample.hasData() && sample.getFrames() == 0);
    return 0;
}
