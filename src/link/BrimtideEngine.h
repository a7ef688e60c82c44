// The product's whole audio processing: a wire that also feeds a connection.
#pragma once

#include "foundation/Radio.h"
#include "link/IOBridge.h"
#include "plugin/Plugin.h"

#include <atomic>
#include <string>

namespace tarn {

class HostInterface;

// Names of the product's parameters.
inline constexpr const char* BrimtideIDName = "BrimtideID";
inline constexpr const char* MuteOutputName = "MuteOutput";

/// Holds one connection slot for its whole life, also while the host has the plug-in suspended.
/// When no slot is free it is a wire and nothing else. Construction and destruction on the control
/// thread.
class BrimtideEngine : public Radio {
public:
    /// Takes the first free slot. `host` must outlive the engine.
    explicit BrimtideEngine(HostInterface& host);

    /// Tells receivers the sample rate in Hz, and the largest block in frames that the host
    /// announces. Control thread.
    void setSampleRate(int rate) noexcept { bridge_.owner().setRate(rate); }
    void setBlockSize(int frames) noexcept;

    /// Tells receivers whether the host renders offline. Control thread.
    void resume() noexcept;

    /// How many receivers listen to the connection. Those that know only its block aren't counted.
    /// Any thread but the audio thread.
    int listeners() const noexcept { return bridge_.owner().listeners(); }

    /// One block: tells receivers the host's latency, writes the first input channel into the ring,
    /// passes the first pin's valid samples on or mutes the output, and measures the first
    /// channel's level. Does nothing without a pin on each side. Audio thread.
    void process(const IOPinConfig& in, IOPinConfig& out, int frames) noexcept;

    /// Takes the new value of "BrimtideID", the connection's name (the message's text; without one
    /// the payload points to the zero-terminated name, or is null), and of "MuteOutput" (the
    /// payload's low byte). Any thread; muting allocates nothing.
    bool receive(Message& message) override;

    /// Whether the plug-in's own output is silent; the connection goes on. Any thread.
    bool isMuted() const noexcept { return muted_.load(std::memory_order_relaxed); }

    /// The peak of the last block's first input channel, 0.0 to 1.0. Any thread.
    float outputLevel() const noexcept { return outputLevel_.load(std::memory_order_relaxed); }

private:
    void askForOffline() noexcept;

    HostInterface& host_;
    std::string connectionName_ = "Connection #*";  // the slot's number stands in for the star
    IOBridge<float> bridge_;
    std::int64_t offlineAskedAt_ = 0;  // calendar seconds; audio thread
    std::atomic<bool> muted_{false};
    std::atomic<float> outputLevel_{0.0f};
};

}  // namespace tarn
