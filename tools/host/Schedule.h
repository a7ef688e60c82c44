// When things happen in a run: where its blocks end, and which parameters are set before which
// frame.
#pragma once

#include "vst/VstInterface.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tarn::host {

/// Frames of a block: always `least` if both are equal, else a size in between at random.
struct BlockSizes {
    int least = 512;
    int most = 512;
};

/// As the command line has it: "512" or "1:16384", both at least 1 and at most 2^22. A `Failure` if
/// it is neither.
BlockSizes parseBlockSizes(const std::string& text);

/// A parameter that is to be set, as the command line has it.
struct Setting {
    std::string parameter;  // number or name
    float value = 0.0f;     // 0.0 to 1.0
    double seconds = -1.0;  // into the run; negative: before it starts
};

/// "NAME=0.5" or "0=1@2.5". A `Failure` if it is neither.
Setting parseSetting(const std::string& text);

/// A parameter that is to be set before the run by what a user would type, as the command line has
/// it: "Name=Lead vocal". A `Failure` without a name before the first "=".
struct TextSetting {
    std::string parameter;  // number or name
    std::string text;       // may be empty
};
TextSetting parseTextSetting(const std::string& text);

struct ParameterChange {
    std::int64_t frame;
    VstInt32 parameter;
    float value;
};

/// The blocks of a run, one after the other. A block ends early where a parameter changes, so that
/// the change comes before exactly its frame, and at the run's end.
class Schedule {
public:
    /// Equal arguments give equal blocks on every machine.
    Schedule(std::int64_t frames, BlockSizes sizes, std::uint64_t seed,
             std::vector<ParameterChange> changes);

    struct Block {
        std::int64_t position;
        int frames;
        std::vector<ParameterChange> changes;  // before it
    };

    bool isDone() const noexcept { return position_ >= frames_; }

    /// The next block; only while there is one.
    Block next();

private:
    std::int64_t frames_;
    BlockSizes sizes_;
    std::uint64_t seed_;
    std::vector<ParameterChange> changes_;  // by frame
    std::size_t nextChange_ = 0;
    std::int64_t position_ = 0;
    std::uint64_t blocks_ = 0;
};

}  // namespace tarn::host
