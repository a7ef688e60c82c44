// The framework's abstract view of whatever hosts the plug-in.
#pragma once

#include <cstdint>
#include <string>

namespace tarn {

class Radio;

/// What an instance may ask of its host. Implemented by the format's boundary, which outlives the
/// instance's `Plugin`.
class HostInterface {
public:
    virtual ~HostInterface() = default;

    /// The host's input latency in samples; a call into the host. Audio thread.
    virtual std::int32_t getInputLatency() noexcept = 0;

    /// The host program's name in UTF-8, or whatever bytes it gives; empty if it doesn't tell.
    /// Control thread.
    virtual std::string getHostName() = 0;

    /// Whether the host says that it renders offline at this moment, so that no more than the
    /// machine limits its speed; a call into the host. Any thread.
    virtual bool isOffline() noexcept = 0;

    /// The instance's editor; null while there is none.
    virtual Radio* getEditor() const { return nullptr; }
};

}  // namespace tarn
