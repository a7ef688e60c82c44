// The framework's abstract view of whatever hosts the plug-in.
#pragma once

#include <cstdint>

namespace tarn {

/// What an instance may ask of its host. Implemented by the format's boundary, which outlives the
/// instance's `Plugin`.
class HostInterface {
public:
    virtual ~HostInterface() = default;

    /// The host's input latency in samples; a call into the host. Audio thread.
    virtual std::int32_t getInputLatency() noexcept = 0;
};

}  // namespace tarn
