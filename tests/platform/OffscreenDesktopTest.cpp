#include "platform/WindowRecord.h"

#include <gtest/gtest.h>

namespace tarn::platform {
namespace {

class OffscreenDesktopTest : public testing::Test {
protected:
    test::WindowRecord owner;
    OffscreenDesktop desktop;
    std::string failure;
    std::unique_ptr<SystemWindow> window =
        SystemWindow::open(nullptr, {10, 20, 14, 23}, "", owner, failure);
    OffscreenDesktop::Window& inside = *desktop.windows().at(0);
};

// Fault: a picture upside down, or one that is copied beside the window.
TEST_F(OffscreenDesktopTest, ShowsThePartOfThePictureThatFits) {
    std::vector<std::uint8_t> picture(5 * 6 * 4);
    for (std::size_t i = 0; i < picture.size(); ++i)
        picture[i] = static_cast<std::uint8_t>(i / 4 + 1);
    window->show({picture.data(), 5, 6}, {2, 1, 100, 100});
    window->show({picture.data(), 5, 6}, {-5, 3, 9, 9});
    std::string shown;
    for (std::size_t i = 0; i < inside.shown.size(); i += 4)
        shown += std::to_string(inside.shown[i]) + " ";
    EXPECT_EQ(shown, "0 0 18 19 0 0 23 24 0 0 0 0 ");
    EXPECT_EQ(inside.shownPixels, 4);
}

// Fault: tests whose presses end otherwise than those of a real window.
TEST_F(OffscreenDesktopTest, PressesEndAsTheyDoInARealWindow) {
    using enum PointerEvent;
    desktop.point(inside, LeftDown, {1, 1});
    desktop.point(inside, RightDown, {1, 1});
    desktop.point(inside, LeftUp, {1, 1});
    EXPECT_TRUE(inside.isCaptured);
    desktop.point(inside, RightUp, {9, 9});
    EXPECT_FALSE(inside.isCaptured);
    EXPECT_EQ(owner.heard(), "LeftDown 1,1; RightDown 1,1; LeftUp 1,1; RightUp 9,9");

    std::optional<std::int32_t> chosen;
    owner.react = [&](const std::string& what) {
        if (what == "LeftDouble 2,1")
            chosen = window->showMenu({}, {-5, 7}, MenuSide::Right);
    };
    desktop.menu = [&](const auto&, Spot place) {
        EXPECT_EQ(place.x, 0);
        EXPECT_FALSE(inside.isCaptured || window->editText({}) ||
                     window->showMenu({}, {}, MenuSide::Right));
        return std::optional(place.y);
    };
    desktop.point(inside, LeftDouble, {2, 1});
    EXPECT_EQ(chosen, 7);
    EXPECT_EQ(owner.heard(), "LeftDouble 2,1; Left 0,0; LeftUp 2,1");
}

}  // namespace
}  // namespace tarn::platform
