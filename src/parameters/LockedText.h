// A text that several threads read and change.
#pragma once

#include "foundation/Mutex.h"

#include <mutex>
#include <string>
#include <utility>

namespace tarn {

/// Any thread but the audio thread.
class LockedText {
public:
    explicit LockedText(std::string text = {}) : text_(std::move(text)) {}

    std::string get() const {
        const std::lock_guard hold(lock_);
        return text_;
    }

    /// Whether `text` differs from what was there.
    bool set(const std::string& text) {
        const std::lock_guard hold(lock_);
        if (text_ == text)
            return false;
        text_ = text;
        return true;
    }

private:
    mutable Mutex lock_;
    std::string text_;
};

}  // namespace tarn
