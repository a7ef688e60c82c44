// One end of a one-way audio connection between a plug-in instance and a receiving program.
// Everything rests on one rule: the two ends share the block of ConnectionBlock.h, and the state
// block of ConnectionState.h where both know it, and nothing else, no event, no lock, no message;
// and neither trusts what it finds there.
#pragma once

#include "link/ConnectionBlock.h"
#include "link/ConnectionOwner.h"
#include "platform/SharedMemory.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tarn {

/// The bits of `connectionStatus`.
enum ConnectionStatus : std::uint32_t {
    ConnectionInUse = 1,     // a master owns the block
    ConnectionFresh = 2,     // it was written to in the last 10 seconds
    ConnectionHasSlave = 4,  // a receiving program is attached
};

/// Probes a slot, 0 to 31: its status bits, 0 when there is no block. From then on this process
/// keeps the block, and its state block, alive until it ends, also when the master goes: the slot
/// of a crashed master without a state block stays taken while anyone looks at it. Not for the
/// audio thread; any other.
std::uint32_t connectionStatus(std::uint32_t slot);

/// What the receiving end opens: a slot from 0 to 31, whatever its state, or the first one in use
/// under a name.
struct OpenSlot {
    std::uint32_t slot;
};
struct OpenName {
    std::string_view name;
};

/// An end of a connection. Instantiated for float, the one sample type of the block. The last
/// owner's destructor lets the block go. Construction and destruction belong on a control thread;
/// `write` runs on the sender's audio thread and `read` on the receiver's, one of each a
/// connection; neither allocates, locks or calls the system, but for the clock.
template <typename Sample>
class IOBridge {
public:
    /// The sending end: takes the first of the 32 slots that no master owns, makes its block and
    /// its state block anew, and replaces every `*` of `namePattern` by the slot's number counted
    /// from 1; the result becomes the connection's name. A slot whose master's process is gone
    /// counts as free. When none is free, the bridge stays without a block, works as a sink, and
    /// leaves the pattern alone. Of two instances that search at the same moment one goes on to the
    /// next slot; a master that knows no state block may still end up on the same one, since the
    /// connection's block has no lock against it.
    explicit IOBridge(std::string& namePattern, const SenderNames& names = {});

    /// The receiving end: attaches itself to an existing block, or stays without one. A second
    /// slave on a block would take the first one's samples; look at `ConnectionHasSlave` before.
    explicit IOBridge(OpenSlot where);
    explicit IOBridge(OpenName where);

    IOBridge(const IOBridge&) = delete;
    IOBridge& operator=(const IOBridge&) = delete;

    /// Clears this end's in-use mark and lets the block go.
    virtual ~IOBridge();

    /// Stamps the time and puts `frames` samples into the ring; the oldest give way. Returns
    /// `frames`, 0 without a block. Zero frames still stamp the time. Sender's audio thread.
    virtual std::uint32_t write(const Sample* samples, std::uint32_t frames) noexcept;

    /// Takes up to `frames` samples from the ring, at the reader's position in the block, and
    /// returns how many; the rest of the buffer is left alone. Returns 0 and prints a line of
    /// numbers to standard output when the last write is more than a second old. While the reader
    /// is starting and the ring holds less than the smaller of 2 x `frames` and 16384 samples,
    /// delivers `frames` of silence; then it begins up to 16384 samples behind the write head. Pace
    /// it by `available`, not by a short result: `count` stays high in a ring that nobody drains,
    /// and a reader that trusts it is handed audio of the lap before. Receiver's audio thread.
    virtual std::uint32_t read(Sample* samples, std::uint32_t frames) noexcept;

    /// Moves `readIndex`, and no reader's position. Not negative: adds `offset` to it and takes it
    /// off `count`. Negative: sets it to (`count` - `offset`), and leaves `count`.
    virtual void resync(std::int32_t offset) noexcept;

    bool hasBlock() const noexcept { return block_ != nullptr; }
    bool isMaster() const noexcept { return master_; }

    /// Of a sending end without a block: whether a slot was free, but its block couldn't be made.
    bool isRefused() const noexcept { return refused_; }

    /// The slot's number counted from 1, as in the name that the sending end gives; 0 without a
    /// block, and at the receiving end.
    int number() const noexcept { return number_; }

    /// The connection's name up to its first zero byte; empty without a block. A name that fills
    /// its 32 bytes has no zero byte of its own, and what lies behind it follows.
    std::string name() const;

    /// Sets the name, of which 32 bytes are kept; false without a block. Any thread.
    bool setName(std::string_view text) noexcept;

    /// Tells receivers the sending host's input latency in samples. Does nothing at the receiving
    /// end. Audio thread.
    void setInputLatency(std::int32_t samples) noexcept {
        if (block_ != nullptr && master_)
            storeShared(block_->inputLatency, samples);
    }
    std::int32_t inputLatency() const noexcept;

    /// What the sending end tells beside the connection; at the receiving end nobody hears it.
    ConnectionOwner& owner() noexcept { return owner_; }
    const ConnectionOwner& owner() const noexcept { return owner_; }

    // For the receiving end. All answer 0 or false without a block; any thread.

    /// Samples between the reader's position and the write head, 0 to 32767: what a reader may take
    /// now. A reader that was away for a whole lap sees only what is beyond it.
    std::uint32_t available() const noexcept;

    /// Ring indexes, 0 to 32767: where the writer writes and the reader reads next.
    std::uint32_t writePosition() const noexcept;
    std::uint32_t readPosition() const noexcept;

    /// Seconds since 1970 UTC of the last write, 0 before the first one, and whether it is recent
    /// enough for `read`.
    std::int64_t lastWriteTime() const noexcept { return block_ != nullptr ? stampOf(*block_) : 0; }
    bool isLive() const noexcept;

    /// Whether a master owns the block now.
    bool hasMaster() const noexcept;

    /// Whether this block still carries a slave's mark. A new master that takes the slot over
    /// clears it; the receiver attaches itself again and starts anew.
    bool isAttached() const noexcept;
    void attach() noexcept;

    /// Whether the next `read` runs the pre-roll rule, as after `attach`.
    bool isStarting() const noexcept;

private:
    explicit IOBridge(std::optional<std::uint32_t> slot);
    bool take(std::uint32_t slot);
    void initialise(std::uint32_t slot, std::string_view name);

    platform::SharedMemory mapping_;
    ConnectionBlock* block_ = nullptr;  // in mapping_
    bool master_ = true;
    bool refused_ = false;
    int number_ = 0;
    ConnectionOwner owner_;
};

extern template class IOBridge<float>;

}  // namespace tarn
