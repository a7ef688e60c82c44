// One run of samples: a buffer of our own, a view of another channel's, or the host's memory.
// Everything rests on one rule: the channels that show one allocated buffer share a SharedObject
// count, and the last of them to go elsewhere or to be destroyed frees the buffer.
#pragma once

#include "audio/Peak.h"
#include "foundation/SharedObject.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace tarn {

template <typename T>
class IOChannel;

/// 32-bit samples. `size` of them may be used, the first `count` of which are valid audio; counts
/// and sizes that are out of range are cut to what there is.
///
/// `isShared` tells whether other channels show the same allocated buffer. `retain` counts as one
/// more, so a channel that is retained must not let go of a buffer that it allocated: nobody would
/// free it.
///
/// No locks: while a block is processed its channels are the audio thread's, at other times the
/// control thread's, together with all that show the same buffers. What is marked "audio thread"
/// allocates nothing there.
template <>
class IOChannel<float> : public SharedObject {
public:
    /// Shows `external`, the caller's own `size` samples, all of them valid; without it allocates
    /// as `allocate` does, or is empty for a size of 0.
    explicit IOChannel(int size = 0, float* external = nullptr);

    /// A view of `src` that begins `offset` samples into it and is `length` long, or as long as
    /// `src` where `length` is 0 or less, both as far as the buffer goes. A copy is a view of the
    /// whole.
    IOChannel(const IOChannel& src, int offset = 0, int length = 0);

    IOChannel& operator=(const IOChannel&) = delete;
    ~IOChannel() override;

    /// A new silent buffer of `n` samples, rounded up to a multiple of 16 and aligned to 16 bytes;
    /// none for 0. Nothing changes when it throws std::bad_alloc.
    void allocate(int n);

    /// Shows `n` samples of the caller's, none of them valid yet. Audio thread, unless the channel
    /// shows a buffer that a channel allocated.
    void attach(float* p, int n) {
        if (buffer_ != nullptr)
            leaveBuffer();
        data_ = p;
        size_ = capacity_ = p != nullptr ? std::max(n, 0) : 0;
        count_ = 0;
    }

    /// Makes `n` samples usable. Beyond the capacity that takes a new buffer, and the old samples
    /// are gone; else audio thread.
    void setSize(int n);

    /// Audio thread.
    void setCount(int n) noexcept { count_ = std::clamp(n, 0, size_); }

    /// Copies the valid samples of `src`, which may overlap, and grows for them where it must; does
    /// nothing when both show the same samples. Audio thread while the size suffices.
    void assign(const IOChannel& src) {
        if (src.data_ == data_)
            return;
        if (src.count_ > size_) [[unlikely]]
            setSize(src.count_);
        count_ = std::min(src.count_, size_);
        copy(data_, src.data_, count_);
    }

    /// Copies the valid samples of `src` behind those here, as far as there is room, and returns
    /// whether some is left. Audio thread.
    bool append(const IOChannel& src) noexcept;

    /// Sums up as many samples as both have, valid or not, and counts just these as valid: a + b
    /// with `add`, else a + b - a * b. Where the two overlap, a sample is summed up after those
    /// before it. Audio thread.
    void mix(const IOChannel& src, bool add) noexcept {
        count_ = std::min(src.size_, size_);
        if (add)
            addUp(data_, src.data_, count_, 1.0f);
        else
            screen(data_, src.data_, count_);
    }

    /// Adds the valid samples of `src`, each times `factor` (linear), as far as there is room; so
    /// many are valid here afterwards, or more if they were before. Overlaps as in `mix`. Audio
    /// thread.
    void addValid(const IOChannel& src, float factor) noexcept {
        const int n = std::min(src.count_, size_);
        addUp(data_, src.data_, n, factor);
        count_ = std::max(count_, n);
    }

    /// Silences `length` samples from `start`, or all from there on when it is negative; what comes
    /// before them then counts as valid too. Audio thread.
    void clear(int start = 0, int length = -1) noexcept;

    /// The largest absolute value among the valid samples, 0.0 for none; NaN is passed over. Audio
    /// thread.
    float getPeak() const noexcept { return peakOf(data_, count_); }

    /// Shows what `src` shows, with its sizes, and shares its buffer. Audio thread where neither of
    /// the two has a buffer that a channel allocated.
    void replace(const IOChannel& src);

    float* getData() noexcept { return data_; }
    const float* getData() const noexcept { return data_; }
    int getSize() const noexcept { return size_; }
    int getCount() const noexcept { return count_; }

    /// The samples that `setSize` reaches without a new buffer.
    int getCapacity() const noexcept { return capacity_; }

    /// Whether this channel allocated its buffer; false for a view of it.
    bool isOwned() const noexcept { return owned_; }

    // Go with the channel wherever it is viewed or replaced; nothing here applies them.
    float gain = 1.0f;  // linear
    std::int32_t reserved = 0;

    /// In the whole process, for diagnostics. Any thread.
    static int liveChannels() noexcept;
    static int liveBuffers() noexcept;

private:
    static void copy(float* to, const float* from, int samples) noexcept {
        if (samples > 0)
            std::memmove(to, from, static_cast<std::size_t>(samples) * sizeof(float));
    }
    static void addUp(float* to, const float* from, int samples, float factor) noexcept;
    static void screen(float* to, const float* from, int samples) noexcept;
    void leaveBuffer();

    float* data_ = nullptr;  // null only where the size is 0
    bool owned_ = false;     // so it has a `buffer_`
    std::int32_t capacity_ = 0;
    std::int32_t size_ = 0;
    std::int32_t count_ = 0;
    float* buffer_ = nullptr;  // what `data_` points into; null for external memory
};

}  // namespace tarn
