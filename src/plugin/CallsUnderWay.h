// The calls into an instance that are under way, so that an end that comes from inside one waits.
#pragma once

#include <functional>
#include <memory>

namespace tarn {

/// One an instance, of which it is a member. Any thread but the audio thread: each knows its own
/// calls only.
class CallsUnderWay {
public:
    /// A call of the host's, or of the system's, into the instance. A local variable.
    class Call {
    public:
        explicit Call(CallsUnderWay& calls) noexcept;
        Call(const Call&) = delete;
        Call& operator=(const Call&) = delete;
        ~Call();

    private:
        friend class CallsUnderWay;

        CallsUnderWay& calls_;
        std::weak_ptr<const int> life_;
        const Call* before_;
    };

    CallsUnderWay() = default;
    CallsUnderWay(const CallsUnderWay&) = delete;
    CallsUnderWay& operator=(const CallsUnderWay&) = delete;

    /// Calls `end`, which may delete the instance, when the last `Call` into it on this thread
    /// goes; false, and `end` isn't called, if there is none.
    bool putOffEnd(std::function<void()> end);

private:
    bool isAnyUnderWay() const noexcept;

    std::function<void()> end_;
    std::shared_ptr<const int> life_ = std::make_shared<const int>(0);
};

}  // namespace tarn
