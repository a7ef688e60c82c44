// The product's whole audio processing: a wire that also feeds a connection.
#pragma once

#include "audio/EngineEffect.h"
#include "link/IOBridge.h"
#include "parameters/ParameterValue.h"

#include <atomic>
#include <cstdint>
#include <string>

namespace tarn {

class HostInterface;
class Module;
class ParameterText;

// Names of the product's parameters. The user's:
inline constexpr const char* BrimtideIDName = "BrimtideID";
inline constexpr const char* MuteOutputName = "MuteOutput";

// What the engine tells its interface; nobody else sets them:
inline constexpr const char* OutputLevelName = "OutputLevel";
inline constexpr const char* BrimtideChannelName = "BrimtideChannel";
inline constexpr const char* ReceiverCountName = "ReceiverCount";
inline constexpr const char* InputLatencyName = "InputLatency";
inline constexpr const char* InputPeakName = "InputPeak";
inline constexpr const char* ConnectedName = "Connected";
inline constexpr const char* ReceivingName = "Receiving";
inline constexpr const char* ClippedName = "Clipped";
inline constexpr const char* LinkStateName = "LinkState";
inline constexpr const char* LatencyTextName = "LatencyText";
inline constexpr const char* PeakTextName = "PeakText";

// What the interface asks of the engine: to begin the highest peak anew.
inline constexpr const char* ResetPeakName = "ResetPeak";

/// Holds one connection slot for its whole life, also while the host has the plug-in suspended.
/// When no slot is free it is a wire and nothing else. Construction and destruction on the control
/// thread.
class BrimtideEngine : public EngineEffect {
public:
    /// Takes the first free slot, and names the connection after it.
    explicit BrimtideEngine(Module* module);

    /// Also told to receivers: Hz, and the largest block in frames that the host announces.
    void setSampleRate(int hz) override;
    void setBlockSize(int frames) override;

    /// The host starts: tells receivers whether it renders offline. Control thread.
    void onReset() override;

    /// Counts the receivers, and tells the interface in words how things stand. A level that nobody
    /// sets any more, since the host sends no blocks, falls to 0. Interface thread.
    void idle() override;

    /// One block: tells receivers the host's latency, writes the first input channel into the ring,
    /// passes the first pin's valid samples on or mutes the output, and publishes the first
    /// channel's level and its highest peak. Does nothing without a pin on each side. Audio thread.
    void process(const IOPinConfig& in, IOPinConfig& out, int frames) noexcept override;

    /// Takes the new value of "BrimtideID", the connection's name (the message's text; without one
    /// the payload points to the zero-terminated name, or is null), and of "MuteOutput" (the
    /// payload's low byte). A saved name of the kind that slots give gives way to that of this
    /// slot, as does an empty one from anywhere; any other one stays. "ResetPeak" at true has the
    /// highest peak begin anew. Any thread; muting allocates nothing.
    bool receive(Message& message) override;

    /// Whether the plug-in's own output is silent; the connection goes on. Any thread.
    bool isMuted() const noexcept { return muted_.load(std::memory_order_relaxed); }

private:
    // Of the module's settings, looked up once, since their tree doesn't change. Null where the
    // product's file has none of that name and type.
    struct Published {
        explicit Published(Module* module);

        ParameterText* name;
        ParameterValue<std::int32_t>* channel;
        ParameterValue<std::int32_t>* receivers;
        ParameterValue<std::int32_t>* latency;
        ParameterValue<float>* level;
        ParameterValue<float>* peak;
        ParameterValue<bool>* connected;
        ParameterValue<bool>* receiving;
        ParameterValue<bool>* clipped;
        ParameterText* linkState;
        ParameterText* latencyText;
        ParameterText* peakText;
    };

    // So long without a block, and the host counts as idle.
    static constexpr double NoBlockSeconds = 0.5;

    void rename(const ParameterMessage& change);
    void askForOffline() noexcept;
    void countReceivers() noexcept;
    void publishPeak(float peak) noexcept;
    bool isProcessing();
    std::string linkState(bool isProcessing) const;
    std::string latencyText() const;
    std::string peakText() const;

    HostInterface* host_;  // null without one
    Published published_;
    std::string connectionName_ = "Connection #*";  // the slot's number stands in for the star
    IOBridge<float> bridge_;
    std::int64_t askedAt_ = 0;    // calendar seconds; audio thread, as the next two
    float highestPeak_ = 0.0f;    // linear
    float publishedPeak_ = 0.0f;  // what of it stands in the parameter, dB
    std::atomic<bool> muted_{false};
    std::atomic<std::uint32_t> blocks_{0};  // that the host has sent
    std::uint32_t seenBlocks_ = 0;          // of them, at the last tick; interface thread, as next
    double lastBlockAt_ = -NoBlockSeconds;  // seconds of the clock; none at first
};

}  // namespace tarn
