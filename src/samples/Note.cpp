#include "samples/Note.h"

#include <algorithm>

namespace tarn {

namespace {

std::int16_t keyWithin(std::int16_t key) noexcept {
    constexpr std::int16_t HighestKey = 127;
    return std::clamp<std::int16_t>(key, 0, HighestKey);
}

}  // namespace

Note::Note(Radio* owner, const NoteEvent& values) noexcept : values_(values), owner_(owner) {
    values_.key = keyWithin(values.key);
}

void Note::setMidi(std::int32_t status, std::int16_t channel, std::int16_t key,
                   std::int16_t velocity, std::int16_t extra, std::uint32_t data0,
                   std::uint32_t data1) noexcept {
    if (status == NoteOnStatus)
        values_.type = NoteOn;
    else if (status == NoteOffStatus)
        values_.type = NoteOff;
    values_.channel = channel;
    values_.key = keyWithin(key);
    values_.velocity = velocity;
    values_.extra = extra;
    values_.data = {data0, data1};
    hasChanged_ = true;
}

void Note::setKey(std::int16_t key) noexcept {
    hasChanged_ = hasChanged_ || keyWithin(key) != values_.key;
    values_.key = keyWithin(key);
}

}  // namespace tarn
