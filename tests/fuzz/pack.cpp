// A pack from anywhere.
#include "samples/Pack.h"

#include "Require.h"

#include <boost/interprocess/streams/bufferstream.hpp>

using namespace tarn;

// The magic stands before the input, so that every input is a pack.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string bytes(PackMagic);
    bytes.append(1, '\0').append(reinterpret_cast<const char*>(data), size);
    boost::interprocess::ibufferstream stream(bytes.data(), bytes.size());
    std::size_t frames = 0;
    for (const PackEntry& entry : readPack(stream, nullptr)) {
        frames += static_cast<std::size_t>(entry.sample->getFrames());
        fuzz::require(!entry.name.empty() && frames <= size);
    }
    return 0;
}
