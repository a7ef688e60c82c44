// Groups of channels whose speakers are known: mono, stereo, quadro, surround 5.1.
// Everything rests on one rule: what an operation does with another pin depends on both types, and
// a type that it doesn't know leaves this pin as it is.
#pragma once

#include "audio/IOChannel.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <vector>

namespace tarn {

/// A pin's channels are fixed when it is made; a copy of a pin has views of them. Threads as for
/// channels: operations on samples are the audio thread's as far as those of IOChannel are.
class IOPin {
public:
    enum class Type : std::int32_t { None, Mono, Stereo, Surround51, Quadro };

    virtual ~IOPin() = default;
    IOPin& operator=(const IOPin&) = delete;

    /// A pin of the same class with views of this one's channels, or null when the class can't be
    /// cloned. Control thread.
    virtual std::unique_ptr<IOPin> clone() const = 0;

    /// "mono", "stereo", "5.1", or the empty text for all other types.
    virtual const char* getName() const noexcept;

    virtual int getChannelCount() const noexcept = 0;

    /// Overwrites this pin's channels by those of `src`. A channel grows where `src` has more valid
    /// samples than it has room.
    virtual void assign(const IOPin& src) = 0;

    /// Sums `src` into this pin, sample by sample.
    virtual void add(const IOPin& src) noexcept = 0;

    /// Puts the valid samples of `src` behind those here, and returns whether every channel that
    /// took part still has room.
    virtual bool append(const IOPin& src) noexcept = 0;

    /// The index of the channel for a speaker: 0 low frequencies, 1 left, 2 centre, 3 right, 4 left
    /// behind, 5 right behind, 6 and 7 left and right again; 0 where the pin has no such speaker,
    /// and for every other number.
    virtual int getRoleChannel(int role) const noexcept = 0;

    /// Null when there is no such channel. The pin owns it.
    IOChannel<float>* getChannel(int index) noexcept {
        const auto at = static_cast<std::size_t>(index);
        return at < channels_.size() ? &channels_[at] : nullptr;
    }
    const IOChannel<float>* getChannel(int index) const noexcept {
        return const_cast<IOPin*>(this)->getChannel(index);
    }
    IOChannel<float>* getChannelByRole(int role) noexcept;
    const IOChannel<float>* getChannelByRole(int role) const noexcept;

    Type getType() const noexcept { return type_; }

    /// The size of channel 0, in samples.
    int getSize() const noexcept { return channels_.front().getSize(); }

    // Each channel's own operation, on all of them.
    void setSize(int n);
    void setCount(int n) noexcept {
        for (auto& channel : channels_)
            channel.setCount(n);
    }
    void clear() noexcept;

    /// The channel shows what `channel` shows; false when there is no such index.
    bool setChannel(int index, const IOChannel<float>& channel);

protected:
    /// At least one channel, each a view of what it is given or new where that is null. As many
    /// samples are valid as in the channel with the fewest.
    IOPin(Type type, std::initializer_list<const IOChannel<float>*> channels);
    IOPin(const IOPin&) = default;

    // Each channel from that of `src` with the same index, where it has one, or from its only one.
    // Sources of other types than mono and stereo are ignored.
    void assignEach(const IOPin& src);
    void addEach(const IOPin& src) noexcept;
    bool appendEach(const IOPin& src) noexcept;

private:
    template <typename Take>
    void takeEach(const IOPin& src, Take take);

    Type type_;
    std::vector<IOChannel<float>> channels_;
};

/// Assigned from a stereo pin it has both sides' sum, while adding or appending one takes the left
/// side alone.
class IOPinMono : public IOPin {
public:
    explicit IOPinMono(const IOChannel<float>* channel = nullptr) : IOPin(Type::Mono, {channel}) {}

    std::unique_ptr<IOPin> clone() const override { return std::make_unique<IOPinMono>(*this); }
    int getChannelCount() const noexcept override { return 1; }
    void assign(const IOPin& src) override;
    void add(const IOPin& src) noexcept override { addEach(src); }
    bool append(const IOPin& src) noexcept override { return appendEach(src); }
    int getRoleChannel(int) const noexcept override { return 0; }
};

/// A mono source goes to both channels.
class IOPinStereo : public IOPin {
public:
    explicit IOPinStereo(const IOChannel<float>* left = nullptr,
                         const IOChannel<float>* right = nullptr)
        : IOPin(Type::Stereo, {left, right}) {}

    std::unique_ptr<IOPin> clone() const override { return std::make_unique<IOPinStereo>(*this); }
    int getChannelCount() const noexcept override { return 2; }
    void assign(const IOPin& src) override { assignEach(src); }
    void add(const IOPin& src) noexcept override { addEach(src); }
    bool append(const IOPin& src) noexcept override { return appendEach(src); }
    int getRoleChannel(int role) const noexcept override;
};

/// Carries four channels and does little else: it is added to, from pins of any type, but never
/// assigned, appended to (the answer is false) or cloned, and has no roles.
class IOPinQuadro : public IOPin {
public:
    IOPinQuadro() : IOPin(Type::Quadro, {nullptr, nullptr, nullptr, nullptr}) {}

    std::unique_ptr<IOPin> clone() const override { return nullptr; }
    int getChannelCount() const noexcept override { return 4; }
    void assign(const IOPin&) override {}
    void add(const IOPin& src) noexcept override;
    bool append(const IOPin&) noexcept override { return false; }
    int getRoleChannel(int) const noexcept override { return 0; }
};

/// Its roles go to left, right, centre, low frequencies, left and right behind, in this order. A
/// stereo source is assigned to channels 1 and 3, with silence in the others, but added and
/// appended to the first two; a mono one is added and appended to all, but assigned as silence. One
/// of 5.1 can be assigned and nothing else.
class IOPinSurround51 : public IOPin {
public:
    explicit IOPinSurround51(const IOChannel<float>* c0 = nullptr,
                             const IOChannel<float>* c1 = nullptr,
                             const IOChannel<float>* c2 = nullptr,
                             const IOChannel<float>* c3 = nullptr,
                             const IOChannel<float>* c4 = nullptr,
                             const IOChannel<float>* c5 = nullptr)
        : IOPin(Type::Surround51, {c0, c1, c2, c3, c4, c5}) {}

    std::unique_ptr<IOPin> clone() const override {
        return std::make_unique<IOPinSurround51>(*this);
    }
    int getChannelCount() const noexcept override { return 6; }
    void assign(const IOPin& src) override;
    void add(const IOPin& src) noexcept override { addEach(src); }
    bool append(const IOPin& src) noexcept override { return appendEach(src); }
    int getRoleChannel(int role) const noexcept override;
};

}  // namespace tarn
