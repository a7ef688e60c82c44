// Which values parameters got, and where, within the block of audio that is being processed.
// Everything rests on one rule: a parameter is always set at once; this only remembers, for code
// that renders a block and wants to know the value at a position.
#pragma once

#include "foundation/Radio.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace tarn {

/// Positions are in frames from the block's beginning. `divisor` frames share one place; the last
/// value wins. The audio thread, between two calls of `reserve`.
class ParameterScheduler : public Radio {
public:
    /// A divisor below 1 counts as 1.
    ParameterScheduler(Radio* parent, int divisor);

    /// Makes room for a block of that many frames and for these parameters, forgetting all values.
    /// Within that room, `schedule` allocates nothing. Control thread, while no audio runs.
    void reserve(const std::vector<std::string>& ids, int frames);

    /// A value earlier in the block than the last one forgets what comes after it and three more
    /// places. Places without a value are 0.0. A negative position counts as 0, one beyond 2^20
    /// frames is ignored.
    virtual void schedule(std::string_view id, std::int32_t position, float value);

    /// False, and `out` stays, where there is no place: before any `schedule`, or behind the last.
    virtual bool getScheduled(std::string_view id, std::int32_t position, float* out) const;

    /// Forgets all values, and keeps the room.
    virtual void clear();

private:
    const int divisor_;
    std::map<std::string, std::vector<float>, std::less<>> timeline_;
};

}  // namespace tarn
