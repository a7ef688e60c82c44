#include "foundation/Dictionary.h"

#include <gtest/gtest.h>
#include <pthread.h>

using namespace tarn;

// Fault: a host whose thread has little stack dies of a tree that is just within the limits.
TEST(LinuxDictionary, SurvivesTheDeepestTreeOnASmallStack) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 256 << 10);
    const auto work = [](void*) -> void* {
        std::string text;
        for (int level = 0; level < 256; ++level)
            text.insert(0, "<dict a=''>").append("</dict>");
        const Dictionary deepest(text);
        EXPECT_TRUE(Dictionary().addChild(Dictionary(*deepest.getEntry(0))));
        EXPECT_TRUE(Dictionary(deepest).toString(text) && text.size() > 256 * 512);
        return nullptr;
    };
    pthread_t thread{};
    ASSERT_EQ(pthread_create(&thread, &attributes, work, nullptr), 0);
    pthread_join(thread, nullptr);
}
