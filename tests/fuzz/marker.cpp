// A marker file from anywhere, beside a sample of 777 frames and beside none.
#include "Require.h"
#include "samples/Sample.h"

#include <boost/interprocess/streams/bufferstream.hpp>
#include <cstdint>

using namespace tarn;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Dictionary states[] = {
        Dictionary(),
        Dictionary("<dict file-format='1.0' SampleEnd='776'><sampledata "
                   "value='H4sIAAAAAAAA/+3QMQEAAADCoPVP7WkJiEBhwIABAwYMGDBgwICBDwwM4acPJAwAAA=='/"
                   "></dict>")};
    for (const Dictionary& state : states) {
        boost::interprocess::ibufferstream stream(reinterpret_cast<const char*>(data), size);
        Sample sample;
        sample.read(state);
        sample.loadMarkers(stream);
        require(sample.getRegions().size() <= size);
        for (const SampleRegion& region : sample.getRegions()) {
            require(!sample.hasData() || (region.start < 777 && region.end < 777));
            fuzz::touch(sample.view(region.start, region.end));
        }
    }
    return 0;
}
