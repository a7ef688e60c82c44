// Both sides of the plug-in: what a product declares that it works with, and what a host agrees to.
#pragma once

#include "audio/IOPinConfig.h"

#include <utility>

namespace tarn {

/// A copy shows the same pins. Threads as for IOPinConfig.
class IOConfig {
public:
    /// Two empty lists.
    IOConfig() = default;
    IOConfig(IOPinConfig in, IOPinConfig out) : inputs_(std::move(in)), outputs_(std::move(out)) {}
    IOConfig(const IOConfig&) = default;
    IOConfig& operator=(const IOConfig&) = default;
    virtual ~IOConfig() = default;

    IOPinConfig& getInputs() noexcept { return inputs_; }
    const IOPinConfig& getInputs() const noexcept { return inputs_; }
    IOPinConfig& getOutputs() noexcept { return outputs_; }
    const IOPinConfig& getOutputs() const noexcept { return outputs_; }

    int getInputChannels() const noexcept { return inputs_.getChannelCount(); }
    int getOutputChannels() const noexcept { return outputs_.getChannelCount(); }

    /// As many channels each way, whatever the pins: a stereo pin equals two mono ones.
    bool operator==(const IOConfig& other) const noexcept {
        return getInputChannels() == other.getInputChannels() &&
               getOutputChannels() == other.getOutputChannels();
    }

    /// Takes the list's pins, which both then show.
    void setInputs(const IOPinConfig& in) { inputs_ = in; }
    void setOutputs(const IOPinConfig& out) { outputs_ = out; }

    /// Of every channel, in samples; whether both sides took it.
    bool setSize(int n) {
        const bool in = inputs_.setSize(n);
        return outputs_.setSize(n) && in;
    }

private:
    IOPinConfig inputs_;
    IOPinConfig outputs_;
};

}  // namespace tarn
