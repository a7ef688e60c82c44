#include "foundation/SharedObject.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace tarn {
namespace {

// Shares a content that its last handle deletes, as the framework's objects do.
class Handle : public SharedObject {
public:
    explicit Handle(int& deletions) : deletions_(deletions) {}
    Handle(const Handle&) = default;
    ~Handle() override {
        if (!isShared())
            ++deletions_;
    }

private:
    int& deletions_;
};

// Faults: a content that is deleted too early, twice or never.
TEST(SharedObject, TheLastHandleDeletesTheContent) {
    int deletions = 0;
    {
        Handle first(deletions);
        auto copy = std::make_unique<Handle>(first);
        const Handle third(*copy);
        EXPECT_TRUE(first.isShared());
        copy.reset();
        EXPECT_EQ(deletions, 0);
        EXPECT_TRUE(third.isShared());
    }
    EXPECT_EQ(deletions, 1);
}

// Faults: a counter freed under its other handles, by an early release, an assignment, or one to
// itself.
TEST(SharedObject, CountsAcrossReleasesAndAssignments) {
    SharedObject a;
    SharedObject b(a);
    EXPECT_EQ(a.retain(), 3);
    EXPECT_EQ(a.release(), 2);
    SharedObject other;
    b = other;
    EXPECT_FALSE(a.isShared());
    EXPECT_TRUE(other.isShared());
    const SharedObject& self = b;
    b = self;
    EXPECT_EQ(other.retain(), 3);
    EXPECT_EQ(other.release(), 2);
    {
        SharedObject early(a);
        EXPECT_EQ(early.release(), 1);
    }
    EXPECT_FALSE(a.isShared());
    EXPECT_EQ(a.retain(), 2);
}

// Faults: a pointer that leaks, or a count that two threads corrupt.
TEST(SharedObject, PointersOnManyThreadsKeepItAlive) {
    int deletions = 0;
    auto* object = new Handle(deletions);
    SharedObjectPtr<Handle> pointer(object);
    object->release();  // its maker's
    std::vector<std::thread> threads(4);
    for (std::thread& thread : threads)
        thread = std::thread([mine = pointer] {
            for (int round = 0; round < 1000; ++round) {
                SharedObjectPtr<Handle> copy = mine;
                SharedObjectPtr<Handle> moved = std::move(copy);
                moved.reset(mine.get());
            }
        });
    pointer.reset();
    for (std::thread& thread : threads)
        thread.join();
    threads.clear();
    EXPECT_EQ(deletions, 1);
}

}  // namespace
}  // namespace tarn
