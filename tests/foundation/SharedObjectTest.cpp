#include "foundation/SharedObject.h"
#include "foundation/Signal.h"

#include <gtest/gtest.h>

using namespace tarn;

// Faults: a counter freed under its other handles, by an early release, an assignment, or one to
// itself.
TEST(SharedObject, CountsAcrossReleasesAndAssignments) {
    SharedObject a;
    SharedObject b(a);
    EXPECT_EQ(a.retain(), 3);
    EXPECT_EQ(a.release(), 2);
    SharedObject other;
    const SharedObject& self = other;
    other = self;
    b = other;
    EXPECT_FALSE(a.isShared());
    EXPECT_EQ(other.retain(), 3);
    EXPECT_EQ(SharedObject(a).release(), 1);
    EXPECT_EQ(a.retain(), 2);
}

// Faults: a pointer that leaks, or a count that two threads corrupt.
TEST(SharedObject, PointersOnManyThreadsKeepItAlive) {
    static int deletions = 0;
    struct Counted : SharedObject {
        ~Counted() override { ++deletions; }
    };
    auto* object = new Counted;
    SharedObjectPtr<Counted> pointer(object);
    object->release();  // its maker's
    onEightThreads([&pointer] {
        const SharedObjectPtr<Counted> mine = pointer;
        for (int round = 0; round < 1000; ++round) {
            SharedObjectPtr<Counted> copy = mine;
            SharedObjectPtr<Counted> moved = std::move(copy);
            moved.reset(mine.get());
        }
    });
    EXPECT_EQ(deletions, 0);
    pointer.reset();
    EXPECT_EQ(deletions, 1);
}
