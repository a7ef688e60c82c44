// One instance of the plug-in, whatever the host's format.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace tarn {

/// Channels of one block, each at least as many frames long as the call says; input and output
/// channels may be the same memory, in any order.
using InputChannels = std::span<const float* const>;
using OutputChannels = std::span<float* const>;

class Plugin {
public:
    virtual ~Plugin() = default;

    /// The four-character code by which hosts recognise the effect.
    virtual std::int32_t getUniqueID() const = 0;

    /// One block: any number of frames from 0 up, at least one channel each way. Audio thread;
    /// allocates nothing and never waits.
    virtual void process(InputChannels in, OutputChannels out, int frames) noexcept = 0;

    // The automatable parameters, in the order in which hosts number them from 0. An index that is
    // out of range is ignored, or answered with 0.0 or the empty text. Any thread.
    virtual int getParameterCount() const noexcept = 0;
    virtual std::string_view getParameterName(int index) const noexcept = 0;
    virtual std::string_view getParameterDisplay(int index) const noexcept = 0;

    /// Normalised values, 0.0 to 1.0.
    virtual float getParameter(int index) const noexcept = 0;
    virtual void setParameter(int index, float value) noexcept = 0;
};

}  // namespace tarn
