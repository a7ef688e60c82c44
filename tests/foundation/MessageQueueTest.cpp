#include "foundation/MessageQueue.h"
#include "foundation/Radio.h"
#include "foundation/Signal.h"
#include "support/AllocationCount.h"

#include <gmock/gmock.h>

using namespace tarn;
using testing::ElementsAre;

namespace {

struct Target : Radio {
    Target() : Radio(nullptr) {}
    bool receive(Message& message) override {
        heard.push_back(message.code);
        answer(message);
        return true;
    }

    std::vector<std::int32_t> heard;
    std::function<void(Message&)> answer = [](Message&) {};
};

bool push(MessageQueue& queue, std::int32_t code, Radio* target, Radio* sender = nullptr) {
    return queue.push(SystemMessage(sender, code, 0), target);
}

}  // namespace

// Faults: an allocation on the audio thread; a queue that refuses the newest, or loses more than it
// must; a message that can't be queued and costs another one its place.
TEST(MessageQueue, TheOldestGiveWayAndTheOthersKeepTheirOrder) {
    MessageQueue queue(3);  // 4
    Target target;
    const std::string tooLong(256, 'x');
    const long before = test::allocationsOfThisThread();
    EXPECT_FALSE(queue.takeLoss());
    for (int code = 0; code < 10; ++code)
        EXPECT_TRUE(push(queue, code, code == 7 ? nullptr : &target));
    EXPECT_TRUE(queue.takeLoss());
    EXPECT_FALSE(queue.push(ResourceMessage(nullptr, 10, tooLong, 0), &target));
    EXPECT_TRUE(queue.takeLoss() && !queue.takeLoss());
    EXPECT_EQ(test::allocationsOfThisThread(), before);
    queue.deliver(nullptr);
    queue.deliver(nullptr);
    EXPECT_THAT(target.heard, ElementsAre(6, 8, 9));
}

// Faults: an endless delivery, an inner one that delivers twice or skips, the old sender.
TEST(MessageQueue, TargetsPushAndDeliverInsideReceive) {
    MessageQueue queue(4);
    Target target;
    target.answer = [&](Message& message) {
        EXPECT_EQ(message.sender, &target);
        push(queue, message.code + 10, &target);
        if (message.code == 1)
            queue.deliver(&target);
    };
    push(queue, 1, &target);
    push(queue, 2, &target);
    queue.deliver(&target);
    EXPECT_THAT(target.heard, ElementsAre(1, 2, 11));
}

// Faults: a call of a radio that is gone; a message that is lost, to another one or to the radio
// that came in its place.
TEST(MessageQueue, PurgesByTargetAndBySender) {
    MessageQueue queue(8);
    Target a, b;
    const std::pair<Target*, Target*> queued[] = {{&a, &b}, {&b, &a}, {&b, &b}, {&b, nullptr}};
    for (int code = 0; const auto& [target, sender] : queued)
        push(queue, code++, target, sender);
    queue.purge(&a);
    push(queue, 4, &a);
    push(queue, 5, &b, &a);
    push(queue, 6, &b);
    b.answer = [&](Message& message) { queue.purge(message.code == 5 ? &b : nullptr); };
    queue.deliver(&a);
    EXPECT_THAT(b.heard, ElementsAre(2, 3, 5));
    EXPECT_THAT(a.heard, ElementsAre(4));
}

// Faults: a target that is destroyed while it receives, with another delivery inside; a wait for a
// delivery to somebody else, or for one that waits for a delivery of the caller's.
TEST(MessageQueue, PurgingWaitsForTheDeliveryToThatTargetAlone) {
    MessageQueue queue(4);
    Target outer, inner, station, listener;
    Signal receiving, transmitting, purging;
    std::atomic<bool> isPurged{false};
    SystemMessage first(nullptr, 1, 0), second(nullptr, 2, 0);
    outer.answer = [&](Message&) { queue.deliver(nullptr); };
    inner.answer = [&](Message&) {
        receiving.raise();
        transmitting.wait();
        purging.wait();
        yieldOften();
        EXPECT_FALSE(isPurged);
        station.transmit(second);
    };
    listener.tuneIn(&station);
    listener.answer = [&](Message& message) {
        if (message.code == 2)
            return;
        transmitting.raise();
        receiving.wait();
        queue.purge(&station);
        purging.raise();
        queue.purge(&outer);
        isPurged = true;
    };
    push(queue, 0, &outer);
    push(queue, 3, &inner);
    std::thread other([&] { station.transmit(first); });
    queue.deliver(nullptr);
    other.join();
    EXPECT_THAT(listener.heard, ElementsAre(1, 2));
}

// Faults: a message that is made of two, one that overtakes another, the newest one lost.
TEST(MessageQueue, WithstandsTwoProducersWhileTheConsumerPurges) {
    constexpr int Messages = 20000;
    MessageQueue queue(16);
    Target target, going;
    int newest[2] = {};
    target.answer = [&](Message& message) {
        const auto& change = static_cast<const ParameterMessage&>(message);
        EXPECT_LT(std::exchange(newest[change.cloneNumber], message.code), message.code);
        EXPECT_EQ(change.text, std::to_string(message.code * (change.cloneNumber + 1)));
    };
    std::atomic<int> running{2};
    const auto produce = [&](int producer) {
        for (int i = 1; i <= Messages; ++i) {
            const std::string text = std::to_string(i * (producer + 1));
            const ParameterMessage change(nullptr, i, "Name", producer, text, 0);
            while (!queue.push(change, i % 4 == 1 ? &going : &target))
                std::this_thread::yield();
        }
        --running;
    };
    std::thread first(produce, 0), second(produce, 1);
    for (bool isOver = false; !isOver; queue.purge(&going)) {
        isOver = running == 0;
        queue.deliver(nullptr);
    }
    first.join();
    second.join();
    EXPECT_EQ(std::max(newest[0], newest[1]), Messages);
}
