#include "Receiver.h"
#include "support/StepSender.h"
#include "support/TestClock.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

namespace tarn::receive {
namespace {

using namespace test;

// What was sent: every session, by its number, with all that it published.
struct History {
    std::vector<std::uint64_t> published = {0};
    bool isVisible = false;  // no sender is just taking the slot over

    std::uint32_t present() const { return static_cast<std::uint32_t>(published.size() - 1); }
};

// One receiver and its sum: what it was told as missed and what it got are what was sent.
struct Listener {
    explicit Listener(const History& history) : history_(history), session_(history.present()) {}

    /// The sender goes on meanwhile, as `meanwhile` says.
    void look() {
        const bool wasVisible = history_.isVisible;
        const std::uint32_t before = history_.present();
        beforeLoad = meanwhile;
        const Delivery delivery = receiver_->look();
        beforeLoad = nullptr;
        const bool isMissing = delivery.isMissedUnknown;
        // Nothing is taken for a sender's that doesn't tell its position.
        ASSERT_TRUE(receiver_->isComplete() || (delivery.samples.empty() && !isMissing));
        // Only where one session follows the other may it be unable to tell.
        const bool isSteady = wasVisible && history_.isVisible && before == history_.present();
        ASSERT_TRUE(!isMissing || !isSteady || known_ != before);
        if (isSteady)
            known_ = before;
        if (isMissing || !isSettled_ || !delivery.isComplete) {
            settle(delivery);
            return;
        }
        advance(delivery.missed);
        skipEnded();
        for (const float sample : delivery.samples) {
            if (bitsOf(sample) != bitsOf(sampleAt(session_ % 256, position_)))
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
                     sessionOf(delivery.samples.back()) == history_.present() % 256;
        if (!isSettled_)
            return;
        session_ = history_.present();
        position_ = (bitsOf(delivery.samples.back()) & 0xFFFFFF) + 1;
        isSettled_ = history_.published[session_] < 0xFFFFFF;  // the samples count no farther
    }

    void advance(std::uint64_t samples) {
        while (samples > 0) {
            skipEnded();
            std::uint64_t step = samples;
            if (session_ < history_.present())
                step = std::min(step, history_.published[session_] - position_);
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
    std::uint32_t known_ = 0;  // the session that it was sure to see
    std::uint64_t position_ = 0;
    bool isSettled_ = false;
};

struct ReceiverModel : testing::Test {
    ReceiverModel() {
        model = this;
        Listener::meanwhile = actMeanwhile;
    }

    std::uint32_t upTo(std::uint32_t most) {
        return static_cast<std::uint32_t>(random()) % (most + 1);
    }

    // One store of the sender, or the beginning of the next thing that it does.
    void act() {
        if (!sender || !sender->isBusy()) {
            begin();
            return;
        }
        sender->step();
        history.isVisible = isPresent();
        if (history.isVisible)
            history.published.back() = state->stream.published;
        if (!sender->isBusy() && isLeaving)
            sender.reset();
    }

    bool isPresent() const { return state->session == sender->sessionNumber(); }

    void begin() {
        const std::uint32_t choice = upTo(99);
        if (!sender || choice < 2)
            comeAndGo(choice);
        else if (choice < 5)
            clock.pass(upTo(20));
        else
            sender->write(static_cast<std::uint64_t>(clock.now), choice < 10   ? upTo(200'000)
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
        if (block->masterInUse != 0 && state->owner == 0)
            block->masterInUse = 0;  // its orphaned block vanished with the last that held it
        history.published.push_back(0);
        history.isVisible = false;
        sender = std::make_unique<StepSender>(block, state, history.present() % 256);
    }

    // Anywhere, also in the midst of a block or of its end.
    void die() {
        sender->die();
        sender.reset();
    }

    // The sender goes on before some of the loads of a look.
    static void actMeanwhile() {
        if (model->upTo(3) == 0)
            model->act();
    }
    static inline ReceiverModel* model = nullptr;

    const TestClock clock{1'790'000'000.0, TestClock::CalendarToo};
    std::mt19937 random{11};
    RawBlock block = RawBlock::make(0);
    RawState state = RawState::make(0);
    std::unique_ptr<StepSender> sender;
    bool isLeaving = false;
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
        else if (choice == 60 && sender && isPresent())
            die();
        else if (choice == 61)
            for (const auto& listener : listeners)
                listener->expectAll();
        else
            act();
        clock.pass(0.0001);
    }
    EXPECT_GT(Listener::sums, steps / 10'000u);
}

}  // namespace
}  // namespace tarn::receive
