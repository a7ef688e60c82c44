// The console as a place for texts that change.
#pragma once

namespace tarn::platform {

/// While it lives, a Windows console takes what is printed for UTF-8, and obeys escape sequences as
/// far as it can; elsewhere both are so anyway. One at a time.
class Screen {
public:
    Screen();
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;
    ~Screen();

    /// Whether standard output is a terminal that obeys escape sequences.
    bool canRedraw() const noexcept { return canRedraw_; }

private:
    bool canRedraw_ = false;
    [[maybe_unused]] unsigned long formerCodePage_ = 0;  // of a Windows console
    [[maybe_unused]] unsigned long formerMode_ = 0;
};

}  // namespace tarn::platform
