// The framework's abstract view of whatever hosts the plug-in, and that view's end of the message
// bus.
//
// Everything rests on one rule: what the host has announced is kept here, and whoever needs the
// host's word asks here. Only the boundary of a format knows how the host is asked.
#pragma once

#include "audio/IOConfig.h"
#include "foundation/Radio.h"
#include "foundation/Word.h"

#include <atomic>
#include <cstdint>
#include <string>

namespace tarn {

class HostInterface;
class Parameter;

/// Programs that are told apart. The numbers are in the order in which names are compared.
enum class HostType : std::int32_t {
    Cubase = 2,
    FLStudio = 4,
    Live = 5,
    Nuendo = 6,
    ProTools = 11,
    Reaper = 12,
    SAVIHost = 15,
    Sonar = 17,
    Tracktion = 18,
    SoundForge = 20,
    Other = 21,
    NotAskedYet = 22,
};

/// Hears parameters and controls for its HostInterface, which must outlive it.
class HostInterfaceRadio : public Radio {
public:
    explicit HostInterfaceRadio(HostInterface& host) : Radio(nullptr), host_(host) {}
    ~HostInterfaceRadio() override { disconnect(); }

    Radio* getPlugin() const override;
    Radio* getEditor() const override;

    /// A control's begin and end of an edit, and what a user changed, go to the host; a change from
    /// anywhere else doesn't, above all none of the host's own. The host hears of an edit that is
    /// expected just before its first change, or at the control's begin. Any thread.
    bool receive(Message& message) override;

private:
    static constexpr std::int32_t NoParameter = -1;

    bool edit(const Message& message);
    void expect(std::int32_t index);
    void beginExpected(const Parameter& changed);
    void end(std::int32_t index);
    static bool take(std::atomic<std::int32_t>& held, std::int32_t index);

    HostInterface& host_;
    std::atomic<std::int32_t> expected_{NoParameter};  // whose edit the host hasn't heard of
    std::atomic<std::int32_t> begun_{NoParameter};     // whose edit a change began, not the control
};

/// What an instance may ask of its host. Implemented by the format's boundary, which outlives the
/// instance's `Plugin`. Control thread, but for what is marked otherwise.
class HostInterface {
public:
    HostInterface() : radio_(*this) {}
    HostInterface(const HostInterface&) = delete;
    HostInterface& operator=(const HostInterface&) = delete;
    virtual ~HostInterface() = default;

    // Tell the host that the user takes hold of a parameter, lets go of it, or has changed it to a
    // normalised value; `index` is the host's number for it, negative for none. Any thread.
    virtual void beginEdit(std::int32_t /*index*/) {}
    virtual void endEdit(std::int32_t /*index*/) {}
    virtual void parameterChanged(Parameter* /*parameter*/, float /*value*/) {}

    /// The host's number for a parameter; -1 if it has none. Any thread.
    virtual std::int32_t indexOf(const Parameter* /*parameter*/) const noexcept { return -1; }

    /// For messages of the plug-in's family, and for those that nobody else took: whether it was
    /// handled. Any thread.
    virtual bool handleMessage(Message& /*message*/) { return false; }
    virtual bool unhandled(Message& /*message*/) { return false; }

    /// The host's main window, as the system numbers it; 0 if it isn't known.
    virtual std::intptr_t getHostWindow() const { return 0; }

    /// The instance's editor; null while there is none. Not owned. Any thread.
    virtual Radio* getEditor() const { return editor_; }
    virtual void setEditor(Radio* editor) { editor_ = editor; }

    virtual Radio* getPlugin() const = 0;

    /// The channels in use. Those handed out show the host's buffers while a block is processed; at
    /// other times what they show is gone.
    virtual IOConfig& getIOConfig() { return ioConfig_; }

    /// Works with these channels from now on; false, and nothing changes, if the product doesn't
    /// support them. While no block is processed.
    virtual bool setIOConfig(const IOConfig& ioConfig);

    /// Frames that the host announces as the longest block, 0 until it does. Any thread.
    virtual std::int32_t getBlockSize() const { return blockSize_; }
    virtual void setBlockSize(std::int32_t frames) { blockSize_ = frames; }

    /// Hz, 44,100 until the host tells. A rate that isn't positive is ignored; listeners of the
    /// radio hear of any other. Any thread; setting is for the control thread.
    virtual std::int32_t getSampleRate() const { return sampleRate_; }
    virtual void setSampleRate(std::int32_t hz);

    // In samples: the host's own on the way in, the plug-in's, and a change of the plug-in's, which
    // the host is told. A call into the host. The first is for the audio thread too.
    virtual std::int32_t getInputLatency() noexcept = 0;
    virtual std::int32_t getLatency() const = 0;
    virtual void setLatency(std::int32_t samples) = 0;

    // The host's transport; calls into the host. Quarters a minute, 120.0 if it doesn't tell; the
    // quarters since the bar began, else 0.0; whether it plays. Audio thread.
    virtual double getTempo() noexcept = 0;
    virtual double getBeatPosition() noexcept = 0;
    virtual bool isPlaying() noexcept = 0;

    /// The host program's name in UTF-8, or whatever bytes it gives; empty if it doesn't tell.
    virtual std::string getHostName() = 0;

    /// Whether the host says that it renders offline at this moment, so that no more than the
    /// machine limits its speed; a call into the host. Any thread.
    virtual bool isOffline() noexcept = 0;

    /// Asks the host's name at the first call, which is for the control thread. Later ones: any.
    HostType getHostType();

    /// As a user knows the program: "FL Studio", or "your host (its name)".
    std::string getHostTypeName();

    /// This object's end of the message bus. Any thread.
    HostInterfaceRadio& radio() noexcept { return radio_; }

private:
    HostInterfaceRadio radio_;
    Word<HostType> hostType_{HostType::NotAskedYet};
    Word<Radio*> editor_{nullptr};
    IOConfig ioConfig_;
    Word<std::int32_t> blockSize_{0};
    Word<std::int32_t> sampleRate_{44100};
};

}  // namespace tarn
