#include "foundation/SharedObject.h"
#include "foundation/Signal.h"

#include <gtest/gtest.h>

using namespace tarn;

// Faults: a counter freed under its other handles, by an early release, an assignment, or one to
// itself; an assignment that forgets who else holds the object.
TEST(SharedObject, CountsAcrossReleasesAndAssignments) {
    SharedObject a;
    {
        SharedObject b(a);
        EXPECT_EQ(b.retain(), 3);
        SharedObject other;
        const SharedObject& self = b;
        b = self;
        b = other;  // with both that it holds
        EXPECT_FALSE(a.isShared());
        EXPECT_EQ(other.retain(), 4);
        b = a;
        EXPECT_EQ(other.release(), 1);
        EXPECT_EQ(a.retain(), 4);
    }
    EXPECT_EQ(a.release(), 1);
    SharedObject released(a);
    EXPECT_EQ(released.release(), 1);
    const SharedObject next;
    released = next;
    EXPECT_TRUE(next.isShared());
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
