// What goes into the plug-in.
#pragma once

#include "host/AudioFile.h"
#include "host/Signal.h"

#include <cstddef>

namespace tarn::host {

class Source {
public:
    virtual ~Source() = default;

    /// The next frames of every channel of `to`, which are resized.
    virtual void read(Channels& to, std::size_t frames) = 0;
};

class FileSource : public Source {
public:
    explicit FileSource(AudioReader& file) : file_(file) {}
    void read(Channels& to, std::size_t frames) override { file_.read(to, frames); }

private:
    AudioReader& file_;
};

class SignalSource : public Source {
public:
    explicit SignalSource(const SignalSettings& settings) : settings_(settings) {}

    void read(Channels& to, std::size_t frames) override {
        for (std::size_t channel = 0; channel < to.size(); ++channel) {
            to[channel].resize(frames);
            fillSignal(settings_, static_cast<int>(channel), position_, to[channel]);
        }
        position_ += static_cast<std::int64_t>(frames);
    }

private:
    SignalSettings settings_;
    std::int64_t position_ = 0;
};

}  // namespace tarn::host
