// A named stretch of a sample: a marker, a slice, what an audition plays.
#pragma once

#include <cstdint>
#include <string>

namespace tarn {

class Dictionary;

/// Frame numbers are kept as they come, from files and states too: they may lie outside the audio,
/// and whoever plays a region checks them.
struct SampleRegion {
    std::string name;
    std::int32_t start = 0;  // first frame
    std::int32_t end = 0;    // last frame

    /// Takes "start" and "end"; one that is absent stays as it is.
    void read(const Dictionary& dictionary);
    void write(Dictionary& dictionary) const;

    bool operator==(const SampleRegion&) const = default;
};

}  // namespace tarn
