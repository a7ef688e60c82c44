#include "samples/Note.h"

#include <algorithm>

namespace tarn {

namespace {

std::int16_t keyWithin(std::int16_t key) noexcept {
    constexpr std::int16_t HighestKey = 127;
    return std::clamp<std::int16_t>(key, 0, HighestKey);
}

}  // namespace

void Note::setMidi(std::int32_t status, std::int16_t channel, std::int16_t key,
                   std::int16_t velocity, std::int16_t extra, std::uint32_t data0,
                   std::uint32_t data1) noexcept {
    if (status == NoteOnStatus)
        type_ = NoteOn;
    else if (status == NoteOffStatus)
        type_ = NoteOff;
    channel_ = channel;
    key_ = keyWithin(key);
    velocity_ = velocity;
    extra_ = extra;
    data_ = {data0, data1};
    hasChanged_ = true;
}

void Note::setKey(std::int16_t key) noexcept {
    hasChanged_ = hasChanged_ || keyWithin(key) != key_;
    key_ = keyWithin(key);
}

}  // namespace tarn
