#include "Receiver.h"
#include "support/StepSender.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace tarn::receive {
namespace {

using test::StepSender;

double clockNow = 1'790'000'000.0;

// What was sent: every session, by its number, with all that it published.
struct History {
    std::vector<std::uint64_t> published = {0};
    std::uint32_t told = 0;  // how many of them became known
    bool isVisible = false;  // no sender is just taking the slot over
    bool isOld = true;       // since the last of them a sender without a state block may have come
    std::uint64_t doubts = 0;  // how often something happened that nobody can account for

    std::uint32_t present() const { return static_cast<std::uint32_t>(published.size() - 1); }
};

// One receiver and its sum: what it was told as missed and what it got are what was sent.
class Listener {
public:
    explicit Listener(const History& history)
        : history_(history), session_(history.present()), doubts_(history.doubts) {}

    /// The sender goes on meanwhile, as `meanwhile` says.
    void look() {
        const History before = history_;
        bool mayDoubt = !receiver_->isComplete();
        beforeLoad = meanwhile;
        const Delivery delivery = receiver_->look();
        beforeLoad = nullptr;
        // Nothing is taken for an old sender's that isn't.
        ASSERT_TRUE(receiver_->isComplete() || before.isOld || history_.isOld ||
                    (delivery.samples.empty() && !delivery.isMissedUnknown));
        mayDoubt = mayDoubt || !receiver_->isComplete() || doubts_ != history_.doubts ||
                   told_ + 1 < history_.told;
        // Otherwise it may have seen the one or the other.
        const bool isSteady = before.isVisible && history_.isVisible &&
                              before.told == history_.told && before.doubts == history_.doubts;
        if (isSteady) {
            doubts_ = before.doubts;
            told_ = before.told;
        }
        ASSERT_TRUE(!delivery.isMissedUnknown || mayDoubt)
            << session_ << " of " << history_.present() << " at " << position_ << " state "
            << int(receiver_->state()) << " complete " << receiver_->isComplete();
        if (delivery.isMissedUnknown || !isSettled_ || !delivery.isComplete) {
            settle(delivery);
            return;
        }
        advance(delivery.missed);
        skipEnded();
        for (const float sample : delivery.samples) {
            if (std::bit_cast<std::uint32_t>(sample) !=
                std::bit_cast<std::uint32_t>(test::sampleAt(session_ % 256, position_)))
                FAIL() << "session " << session_ << ", position " << position_;
            ++position_;
        }
    }

    /// All that was sent so far is accounted for.
    void expectAll() {
        const auto acting = std::exchange(meanwhile, nullptr);
        look();
        meanwhile = acting;
        if (!isSettled_ || !history_.isVisible)
            return;
        skipEnded();
        EXPECT_EQ(session_, history_.present());
        EXPECT_EQ(position_, history_.published[session_]);
        ++sums;
    }

    static inline std::uint64_t sums = 0;
    static inline void (*meanwhile)() = nullptr;

private:
    // After a doubt the samples themselves tell where they belong.
    void settle(const Delivery& delivery) {
        isSettled_ = delivery.isComplete && !delivery.samples.empty() &&
                     test::sessionOf(delivery.samples.back()) == history_.present() % 256;
        if (!isSettled_)
            return;
        session_ = history_.present();
        position_ = (std::bit_cast<std::uint32_t>(delivery.samples.back()) & 0xFFFFFF) + 1;
        isSettled_ = history_.published[session_] < 0xFFFFFF;  // the samples count no farther
    }

    void advance(std::uint64_t samples) {
        while (samples > 0) {
            skipEnded();
            const std::uint64_t step =
                session_ < history_.present()
                    ? std::min(samples, history_.published[session_] - position_)
                    : samples;
            position_ += step;
            samples -= step;
        }
    }

    void skipEnded() {
        while (session_ < history_.present() && position_ == history_.published[session_]) {
            ++session_;
            position_ = 0;
        }
    }

    const History& history_;
    std::unique_ptr<Receiver> receiver_ = std::make_unique<Receiver>(Target{0, {}}, 48000.0);
    std::uint32_t session_;
    std::uint32_t told_ = 0;  // sessions, at the last look
    std::uint64_t position_ = 0;
    std::uint64_t doubts_;
    bool isSettled_ = false;
};

class ReceiverModel : public testing::Test {
protected:
    ReceiverModel() {
        platform::setCalendarClock([]() noexcept { return static_cast<std::int64_t>(clockNow); });
        platform::setHighResolutionClock([]() noexcept { return clockNow; });
        model = this;
        Listener::meanwhile = actMeanwhile;
    }

    std::uint32_t upTo(std::uint32_t most) {
        return static_cast<std::uint32_t>(random()) % (most + 1);
    }

    // One store of the sender, or the beginning of the next thing that it does.
    void act() {
        doAct();
        history.isVisible = state->session != 0;
    }

    void doAct() {
        if (sender && !sender->tellsState())
            ++history.doubts;
        if (sender && sender->isBusy()) {
            sender->step();
            // What a successor writes over, before it is told, is what its predecessor told.
            if (state->formerSession == state->session ||
                (state->formerSession == 0 && history.present() > 1))
                ++history.doubts;
            if (sender->tellsState() && state->session == sender->sessionNumber()) {
                history.published[history.present()] = state->stream.published;
                if (!std::exchange(isTold, true)) {
                    ++history.told;
                    history.isOld = false;
                }
            }
            if (!sender->isBusy() && isLeaving)
                sender.reset();
            return;
        }
        const std::uint32_t choice = upTo(99);
        if (!sender || choice < 2)
            comeAndGo(choice);
        else if (choice < 5)
            clockNow += upTo(20);
        else
            sender->write(static_cast<std::uint64_t>(clockNow), choice < 10   ? upTo(200'000)
                                                                : choice < 15 ? 32'766 + upTo(4)
                                                                              : upTo(900));
    }

    void comeAndGo(std::uint32_t choice) {
        isLeaving = false;
        if (sender && choice == 0) {
            sender->letGo();
            isLeaving = true;
            return;
        }
        if (sender)
            die();
        const bool tellsState = upTo(9) > 0;
        if (!tellsState && block->masterInUse != 0)
            return;  // it steps over a slot with a mark
        if (tellsState && block->masterInUse != 0 && state->owner == 0)
            block->masterInUse = 0;  // its orphaned block vanished with the last that held it
        if (tellsState)
            history.published.push_back(0);
        else
            ++history.doubts;
        history.isOld |= !tellsState;
        isTold = false;
        sender = std::make_unique<StepSender>(block, state, history.present() % 256, tellsState);
    }

    // Anywhere, also in the midst of a block, of its beginning or of its end.
    void die() {
        if (state->session != sender->sessionNumber()) {
            ++history.doubts;
            history.isOld = true;  // it left a mark that may be such a sender's
        }
        sender->die();
        sender.reset();
    }

    // The sender goes on before some of the loads of a look.
    static void actMeanwhile() {
        static bool isActing = false;
        if (isActing || model->upTo(3) > 0)
            return;
        isActing = true;
        model->act();
        isActing = false;
    }
    static inline ReceiverModel* model = nullptr;

    std::mt19937 random{11};
    test::RawBlock block = test::RawBlock::make(0);
    test::RawState state = test::RawState::make(0);
    std::unique_ptr<StepSender> sender;
    bool isLeaving = false;
    bool isTold = false;
    History history;
};

// The fault it would catch: a sum that isn't right, after whatever has happened in between.
TEST_F(ReceiverModel, DeliveredAndToldAreWhatWasSent) {
#if defined(__SANITIZE_THREAD__)
    const long usual = 100'000;  // there is one thread to watch
#else
    const long usual = 1'000'000;
#endif
    const char* more = std::getenv("BRIMTIDE_MODEL_STEPS");  // NOLINT(concurrency-mt-unsafe)
    const long steps = more != nullptr ? std::atol(more) : usual;
    std::vector<std::unique_ptr<Listener>> listeners;
    for (long step = 0; step < steps && !HasFatalFailure(); ++step) {
        const std::uint32_t choice = upTo(999);
        if (choice < 2 && listeners.size() < 4)
            listeners.push_back(std::make_unique<Listener>(history));
        else if (choice == 2 && !listeners.empty())
            listeners.erase(listeners.begin());
        else if (choice < 60 && !listeners.empty())
            listeners[upTo(static_cast<std::uint32_t>(listeners.size() - 1))]->look();
        else if (choice == 60 && sender && sender->isBusy())
            die();
        else if (choice == 61)
            for (const auto& listener : listeners)
                listener->expectAll();
        else
            act();
        clockNow += 0.0001;
    }
    EXPECT_GT(Listener::sums, steps / 10'000u);
}

// The fault it would catch: the number of one session that is read with the end of another. The
// model comes upon it too seldom.
TEST_F(ReceiverModel, AFormerSessionIsReadWhole) {
    static std::function<void()> atLoad;
    for (int load = 0; load < 60; ++load) {
        sender = std::make_unique<StepSender>(block, state, 1, true);
        while (sender->isBusy())
            sender->step();
        state->formerSession = 77;
        state->formerPublished = 10;
        const ConnectionListener listener(0);
        sender = std::make_unique<StepSender>(block, state, 2, true);
        atLoad = [&, loads = 0]() mutable {
            for (int i = 0; loads == load && i < 5; ++i)  // as far as the former session's number
                sender->step();
            ++loads;
        };
        beforeLoad = [] { atLoad(); };
        const SenderFacts facts = *listener.sender();
        beforeLoad = nullptr;
        EXPECT_TRUE(facts.formerSession != 77 || facts.formerPublished == 10) << load;
    }
}

}  // namespace
}  // namespace tarn::receive
