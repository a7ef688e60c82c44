// Base of the small signal processors, which treat each channel by itself.
// Everything rests on one rule: settings change between blocks, and each real change is told to the
// listeners; a block tells nobody anything.
#pragma once

#include "audio/IOChannel.h"
#include "foundation/Radio.h"

#include <cstdint>

namespace tarn {

class IOPin;

/// Settings are for the control thread, while no block is processed. What processes belongs on the
/// audio thread, or wherever the caller has the samples; it allocates nothing as long as what it
/// writes to has room for what it reads.
class Effect : public Radio {
public:
    explicit Effect(Radio* parent) : Radio(parent) {}

    /// All bits of `mask`, whose meaning is the class's own.
    virtual void setFlag(std::uint32_t mask, bool on);
    virtual std::uint32_t getFlags() const { return flags_; }

    virtual void setSampleRate(int rate) { change(sampleRate_, rate); }  // Hz
    virtual void setBlockSize(int frames) { change(blockSize_, frames); }

    /// What the host is told to compensate, in frames.
    virtual int getLatency() const { return 0; }

    // Linear.
    virtual void setInputGain(float gain) { change(inputGain_, gain); }
    virtual void setOutputGain(float gain) { change(outputGain_, gain); }

    /// Forgets the signal so far.
    virtual void reset() { onReset(); }
    virtual void onReset() {}

    virtual bool isBypassed() const { return false; }
    virtual bool isSilent() const { return false; }

    // Each of these answers how many samples are valid afterwards; an effect may answer less than
    // 0 to tell of trouble, which is all that the answer for a pin keeps.
    virtual int clearChannel(IOChannel<float>& /*channel*/) { return 0; }
    virtual int processPin(IOPin& pin) { return processPinTo(pin, pin); }

    /// Channel by channel, as many as both have: the smallest answer of them, never above 0.
    virtual int processPinTo(const IOPin& in, IOPin& out);
    virtual int processChannel(IOChannel<float>& channel) {
        return processChannelTo(channel, channel);
    }

    /// `out` may be `in`, and grows where it has too little room.
    virtual int processChannelTo(const IOChannel<float>& in, IOChannel<float>& out) = 0;

    /// Transmits PluginMessage::EffectChanged.
    virtual void notifyChanged();

protected:
    std::uint32_t flags_ = 0;
    std::int32_t sampleRate_ = 44'100;
    std::int32_t blockSize_ = 1'024;
    float inputGain_ = 1.0f;
    float outputGain_ = 1.0f;

private:
    template <typename T>
    void change(T& setting, T value) {
        const bool isNew = setting != value;
        setting = value;
        if (isNew)
            notifyChanged();
    }
};

}  // namespace tarn
