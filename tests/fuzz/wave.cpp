// A WAV stream from anywhere, with and without its audio.
#include "Require.h"
#include "samples/SampleWav.h"

#include <boost/interprocess/streams/bufferstream.hpp>

using namespace tarn;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    boost::interprocess::ibufferstream stream(reinterpret_cast<const char*>(data), size);
    SampleWav sample;
    const bool isLoaded = sample.load(stream, true).isOk();
    require(isLoaded || !sample.hasData());
    require(static_cast<std::size_t>(sample.getFrames()) <= size);
    require(sample.hasData() ? sample.getChannels() == 1 : sample.getFrames() == 0);
    require(sample.getRootNote() >= 0 && sample.getRootNote() <= 127);
    require(sample.getLoopStart() >= 0 && sample.getLoopEnd() >= -1);
    if (sample.hasData())
        fuzz::touch({sample.getData(), std::size_t{1} + sample.getFrames()});
    for (const SampleRegion& region : sample.getRegions()) {
        require(!sample.hasData() || std::max(region.start, region.end) < sample.getFrames());
        fuzz::touch(sample.view(region.start, region.end));
    }

    stream.clear();
    stream.seekg(0);
    require(sample.load(stream, false).isOk() >= isLoaded);
    require(!sample.hasData() && sample.getFrames() == 0);
    return 0;
}
