#include "foundation/SharedObject.h"
#include "foundation/Signal.h"

#include <gtest/gtest.h>

using namespace tarn;

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
