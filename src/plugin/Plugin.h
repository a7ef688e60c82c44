// One instance of the plug-in, whatever the host's format.
#pragma once

#include "audio/IOPinConfig.h"

#include <cstdint>
#include <string_view>

namespace tarn {

class Plugin {
public:
    virtual ~Plugin() = default;

    /// The four-character code by which hosts recognise the effect.
    virtual std::int32_t getUniqueID() const = 0;

    /// What the host tells before it starts: Hz, and the largest block in frames that it announces.
    /// It may send longer ones all the same. Control thread.
    virtual void setSampleRate(int rate) = 0;
    virtual void setBlockSize(int frames) = 0;

    /// The host starts. Control thread, while no block is processed.
    virtual void resume() = 0;

    /// One block: any number of frames from 0 up, in channels of at least that size. None of an
    /// input's samples counts as valid yet: all of the block's do here. An output
    /// channel comes with no valid sample and is written from its beginning, after those of lower
    /// index, from the input channel of its own index or from the only one. It may lie over input
    /// channels that no later output is written from, and be the very same memory as the one that
    /// it is written from. Audio thread; allocates nothing and never waits.
    virtual void process(IOPinConfig& in, IOPinConfig& out, int frames) noexcept = 0;

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
