// A marker file from anywhere, beside a short sample and beside none.
#include "Require.h"
#include "samples/Sample.h"

#include <algorithm>
#include <boost/interprocess/streams/bufferstream.hpp>
#include <cstdint>

using namespace tarn;
using fuzz::require;

namespace {

struct Silence : Sample {
    explicit Silence(std::int32_t frames) {
        channels_ = 1;
        frames_ = frames;
        if (frames > 0)
            data_ = allocateFloats(valueCount() + 1);
        std::fill_n(data_.get(), frames, 0.0f);
        end_ = frames - 1;
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    for (const std::int32_t frames : {0, 777}) {
        Silence sample(frames);
        boost::interprocess::ibufferstream stream(reinterpret_cast<const char*>(data), size);
        sample.loadMarkers(stream);
        require(sample.getRegions().size() <= size);
        for (const SampleRegion& region : sample.getRegions()) {
            require(frames == 0 || (region.start < frames && region.end < frames));
            fuzz::touch(sample.view(region.start, region.end));
        }
        fuzz::touch(sample.view(sample.getLoopStart(), sample.getLoopEnd()));
    }
    return 0;
}
