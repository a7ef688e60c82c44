// The pins on one side of the plug-in, in order.
// Everything rests on one rule: a copy of a configuration has the same pins, not pins of its own.
// They live as long as the last copy.
#pragma once

#include "audio/IOPin.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace tarn {

/// A flat index counts the channels of all pins, one pin after the other, from 0.
///
/// Making, copying and resizing belong on the control thread. Everything else may be called on the
/// audio thread where the channels' own operation may.
class IOPinConfig : public SharedObject {
public:
    IOPinConfig() = default;

    /// `pins` new pins without samples, each `channels` wide: 1 mono, 2 stereo, 4 quadro, 6
    /// surround 5.1; no pin for another width.
    IOPinConfig(int channels, int pins);

    /// By type; no pin for one that isn't among the four.
    IOPinConfig(IOPin::Type type, int pins);

    /// The pins' names joined by "/".
    virtual std::string toString() const;

    /// Null when there is no such pin. It belongs to all copies of this configuration.
    IOPin* getPin(int index) noexcept {
        const auto at = static_cast<std::size_t>(index);
        return at < pins_.size() ? pins_[at].get() : nullptr;
    }
    const IOPin* getPin(int index) const noexcept {
        return const_cast<IOPinConfig*>(this)->getPin(index);
    }

    int getPinCount() const noexcept { return static_cast<int>(pins_.size()); }

    /// Those that have a type, which are all: no other pin is made.
    int getActivePinCount() const noexcept { return getPinCount(); }

    int getChannelCount() const noexcept { return static_cast<int>(channels_.size()); }

    /// Null past the end.
    IOChannel<float>* getChannel(int flatIndex) noexcept {
        const auto at = static_cast<std::size_t>(flatIndex);
        return at < channels_.size() ? channels_[at] : nullptr;
    }
    const IOChannel<float>* getChannel(int flatIndex) const noexcept {
        return const_cast<IOPinConfig*>(this)->getChannel(flatIndex);
    }

    /// The channel shows what `channel` shows from now on; false past the end.
    bool setChannel(int flatIndex, const IOChannel<float>& channel);

    /// Each channel shows `frames` samples at `buffers[flat index]`, none of them valid yet. Stops
    /// at the first buffer that is null, and returns false.
    bool attach(float* const* buffers, int frames) {
        for (IOChannel<float>* channel : channels_) {
            float* buffer = *buffers++;
            if (buffer == nullptr)
                return false;
            channel->attach(buffer, frames);
        }
        return true;
    }

    /// In samples, of every channel. Always true.
    bool setSize(int n);

    /// Silences every channel; all their samples are valid then.
    void clear() noexcept;

private:
    std::vector<std::shared_ptr<IOPin>> pins_;
    std::vector<IOChannel<float>*> channels_;  // the pins', by flat index
};

}  // namespace tarn
