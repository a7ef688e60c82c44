// Both sides of the plug-in: what a product declares that it works with, and what a host agrees to.
#pragma once

#include "audio/IOPinConfig.h"

#include <utility>

namespace tarn {

/// A copy has the same pins, not pins of its own. Threads as for IOPinConfig.
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

    /// Whether both have as many inputs and as many outputs, in channels: a stereo pin equals two
    /// mono ones.
    bool operator==(const IOConfig& other) const noexcept {
        return getInputChannels() == other.getInputChannels() &&
               getOutputChannels() == other.getOutputChannels();
    }

    /// From now on this side has the very pins of the given list.
    void setInputs(const IOPinConfig& in) { inputs_ = in; }
    void setOutputs(const IOPinConfig& out) { outputs_ = out; }

    /// In samples, of every channel on both sides. Whether both took it.
    bool setSize(int n) {
        const bool in = inputs_.setSize(n);
        return outputs_.setSize(n) && in;
    }

private:
    IOPinConfig inputs_;
    IOPinConfig outputs_;
};

}  // namespace tarn
