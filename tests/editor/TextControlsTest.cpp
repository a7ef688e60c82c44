#include "drawing/Pictures.h"
#include "editor/ControlAboutScreen.h"
#include "editor/ControlHelp.h"
#include "editor/ControlInfo.h"
#include "editor/ControlVersionInfo.h"
#include "editor/OpenEditor.h"

#include <gmock/gmock.h>

#include <thread>

namespace tarn {
namespace {

using test::EditorTest;
using test::Probe;
using testing::_;
using testing::ElementsAre;

const std::string StatusAndHelp =
    "<s class='Text' id='special::textdisplay' y='66' width='100' height='14'/>"
    "<h class='Help' id='special::help' visible='true'/>";

class TextControlsTest : public EditorTest {
protected:
    ControlHelp& help() { return *editor->getHelpControl(); }
    std::string tooltip() { return help().isVisible() ? help().getText() : ""; }
    std::string status() { return probe<ControlText>("special::textdisplay").getText(); }

    static std::string bytes(Control& control) {
        return test::bytesOf(*draw(control)->getPixels());
    }
};

// Faults: a text that fits and moves, one that stops, jumps or goes on while nobody sees it.
TEST_F(TextControlsTest, OnlyWhatDoesNotFitGoesRound) {
    const std::string round = " class='Text' height='14' autoscroll='true' ";
    open("<a width='90' id='fits' text='Fits'" + round +
         "/><c id='moves' width='40' text='Too long to fit in'" + round +
         "/><d id='follows' width='40' parameter='Title' text='not this'" + round + "/>");
    ControlText &moves = probe<ControlText>("moves"), &follows = probe<ControlText>("follows");
    const auto changes = [](Control& control, int count) {
        const std::string before = bytes(control);
        tick(control, "CTst", count);
        const bool isDirty = control.testFlags(Control::Dirty);
        return bytes(control) != before && isDirty;
    };
    EXPECT_FALSE(changes(probe<Control>("fits"), 9));
    Canvas canvas({0, 0, 1, 1});
    const int length = canvas.measureText(moves.getText()).width() + 40;
    moves.setText("Too long to fit in");
    EXPECT_TRUE(changes(moves, length - 1));
    tick(moves, "CTst");
    EXPECT_FALSE(changes(moves, length));

    // A parameter's text; the same one again doesn't begin anew.
    Parameter& title = plugin.parameter("Title");
    title.setText("A title that is too long", FromHost);
    EXPECT_EQ(follows.getText(), "A title that is too long");
    EXPECT_TRUE(changes(follows, 7));
    const std::string moved = bytes(follows);
    title.sendValue();
    EXPECT_EQ(bytes(follows), moved);
    editor->close();
    std::thread([&title] { title.setText("Another title that is long", FromHost); }).join();
    ASSERT_TRUE(editor->open(nullptr, {}));
    EXPECT_EQ(follows.getText(), "Another title that is long");
}

// Faults: a tooltip that leaves the window, covers the pointer or stands on the wrong side.
TEST(TooltipPlace, IsWorkedOutByHand) {
    struct Case {
        const char* what;
        Point size;
        std::int32_t placement;
        Rect control;
        Point pointer;
        Rect expected;
    };
    constexpr std::int32_t Beside = Control::LeftOf | Control::RightOf,
                           Vertical = Control::Above | Control::Below;
    const Case cases[] = {
        {"flips left", {30, 10}, Beside, {160, 40, 180, 60}, {170, 50}, {130, 45, 160, 55}},
        {"at the edge", {30, 10}, Vertical, {40, 80, 60, 95}, {50, 84}, {35, 90, 65, 100}},
        {"clamped right", {30, 10}, Vertical, {190, 40, 200, 60}, {195, 50}, {170, 60, 200, 70}},
        {"above", {30, 10}, Control::Above, {40, 40, 60, 60}, {50, 50}, {35, 30, 65, 40}},
        {"left", {30, 10}, Control::LeftOf, {40, 40, 60, 60}, {50, 50}, {10, 45, 40, 55}},
        {"below a tall one", {30, 10}, 0, {40, 20, 55, 60}, {45, 40}, {32, 60, 62, 70}},
        {"right of others", {30, 10}, 0, {40, 20, 60, 60}, {45, 40}, {60, 35, 90, 45}},
        {"just fits", {30, 10}, Beside, {150, 90, 170, 100}, {160, 95}, {170, 90, 200, 100}},
        {"moves up", {30, 10}, Beside, {40, 94, 60, 100}, {50, 97}, {60, 87, 90, 97}},
        {"at the pointer", {30, 10}, Control::AtMouse, {}, {50, 50}, {66, 58, 96, 68}},
        {"turns", {30, 10}, Control::AtMouse | Beside, {}, {190, 95}, {160, 85, 190, 95}},
        {"under the pointer", {30, 10}, Vertical, {40, 40, 60, 60}, {50, 65}, {35, 85, 65, 95}},
        {"over it", {30, 10}, Vertical, {40, 75, 60, 90}, {50, 95}, {35, 85, 65, 95}},
        {"right of it", {30, 90}, Vertical, {40, 0, 60, 5}, {50, 50}, {66, 5, 96, 95}},
        {"left of it", {30, 90}, Vertical, {180, 0, 200, 5}, {180, 50}, {150, 5, 180, 95}},
        {"too large", {300, 300}, Beside, {0, 0, 9, 9}, {5, 5}, {0, 0, 200, 100}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ControlHelp::place(c.size, c.placement, c.control, c.pointer, {0, 0, 200, 100}),
                  c.expected)
            << c.what;
}

// Faults: a tooltip that stays behind its control, comes without a text or over a pressed button,
// tells a value that the skin hides, or asks a control that is gone.
TEST_F(TextControlsTest, ATooltipTellsWhatIsHovered) {
    const std::string size = " class='Probe' width='20' height='20' ";
    open(StatusAndHelp + "<a id='plain' tooltip='Plain'" + size +
         "/><b id='value' x='40' parameter='Volume' tooltip='Level'" + size +
         "/><c x='60' parameter='Volume' tooltip='Secret' showvalue='never'" + size + "/>");
    Parameter &volume = plugin.parameter("Volume"), &second = plugin.parameter("Volume", 1);
    const auto hover = [this](int x, int y) {
        point(Pointer::Move, x, y);
        tick(help(), "CHds");
        return tooltip();
    };
    const auto set = [this](Parameter& parameter, float value, std::int32_t from = FromHost) {
        parameter.setNormalised(value, from);
        return tooltip();
    };
    EXPECT_EQ(set(volume, 0.5f), "");
    const std::string half = "Level = " + volume.getText();
    EXPECT_EQ(hover(5, 5), "Plain");
    click(5, 5);
    EXPECT_EQ(tooltip(), "");

    EXPECT_EQ(hover(45, 5), half);
    point(Pointer::LeftDown, 45, 5);
    volume.sendValue();
    EXPECT_EQ(tooltip(), "");
    EXPECT_EQ(set(volume, 0.75f, FromUser), "Level = 0.75");
    point(Pointer::LeftUp, 45, 5);
    EXPECT_EQ(tooltip(), "");
    EXPECT_EQ(set(volume, 0.5f), half);
    tick(help(), "CHdh");
    EXPECT_EQ(tooltip(), "");
    editor->setModule(1);
    EXPECT_EQ(set(volume, 0.1f), "");
    EXPECT_EQ(set(second, 0.3f), "Level = 0.30");
    EXPECT_EQ(hover(65, 5), "Secret");

    editor->setShowTooltips(false);
    EXPECT_EQ(hover(45, 5), "");
    editor->setShowTooltips(true);
    hover(5, 5);
    delete &probe("plain");
    EXPECT_EQ(tooltip(), "");
    hover(45, 5);
    editor->close();
    ASSERT_TRUE(editor->open(nullptr, {}));
    EXPECT_EQ(set(volume, 0.9f), "");
    delete &help();
    EXPECT_EQ(editor->getHelpControl(), nullptr);
    click(45, 5);
}

// Faults: a less important line over another, one that nobody takes away, turns that come while the
// user looks at something else.
TEST_F(TextControlsTest, TheStatusLineTellsTheMostImportant) {
    open(StatusAndHelp +
         "<a class='Probe' id='knob' width='20' height='20' parameter='Volume' tooltip='Level'/>"
         "<b class='Probe' x='40' width='20' height='20' tooltip='Two&#10;lines'/>");
    ControlInfo& info = editor->getInfo();
    Parameter& volume = plugin.parameter("Volume");
    const auto set = [&](float value) {
        volume.setNormalised(value, FromUser);
        return status();
    };
    const auto ticked = [&](const char(&id)[5]) {
        tick(info, id);
        return status();
    };
    const auto pointed = [&](Pointer event, int x) {
        point(event, x, 5);
        return status();
    };
    const Radio source(nullptr);
    EXPECT_EQ(status(), "Sampler 1.2.0");
    info.setLine(0, &source, "news");
    EXPECT_EQ(ticked("MFCI"), "Sampler 1.2.0");
    EXPECT_EQ(ticked("MFCI"), "news");
    EXPECT_EQ(pointed(Pointer::Move, 45), "Two lines");
    EXPECT_EQ(pointed(Pointer::Move, 5), "Level = " + volume.getText());
    pointed(Pointer::LeftDown, 5);
    EXPECT_EQ(set(0.75f), "Volume = 0.75");
    for (const int priority : {4, -1, 3})
        info.setLine(priority, &source, "line " + std::to_string(priority));
    EXPECT_EQ(status(), "line 3");
    info.removeLines(&source);
    info.setLine(0, &source, "news");
    pointed(Pointer::LeftUp, 5);
    EXPECT_EQ(pointed(Pointer::Left, 0), "Volume = 0.75");
    EXPECT_EQ(ticked("MFCJ"), "news");
    pointed(Pointer::LeftDown, 5);
    set(0.25f);
    pointed(Pointer::LeftUp, 5);
    plugin.revertCurrent();
    EXPECT_EQ(status(), "Level = " + volume.getText());

    pointed(Pointer::LeftDown, 5);
    set(0.1f);
    editor->setModule(1);
    info.setLine(2, &probe("knob"), "of the knob");
    delete &probe("knob");
    plugin.parameter("Volume", 1).setNormalised(0.2f, FromUser);
    EXPECT_EQ(status(), "Volume = 0.10");
    editor->close();
    EXPECT_EQ(status(), "news");
    delete &probe<ControlText>("special::textdisplay");
    info.removeLines(&source);
}

// Faults: a dialog in its own blur, clicks that go through it, a blur that stays, one of the wrong
// size.
TEST_F(TextControlsTest, PictureOfADialogOverABlur) {
    const std::string dialog =
        " class='Container' parameter='Switch' modal='true' visible='false' background='#506070'>"
        "<listento><x value='LeaveModalMode'/></listento><controls><a class='Text' width='60' "
        "height='20' text='Dialog'/></controls></b>";
    open(
        "<a class='Text' width='100' height='80' background='#8090a0'/>"
        "<a class='Probe' id='under' x='10' y='10' width='30' height='20' background='#3070c0'/>"
        "<b id='dialog' x='20' y='26' width='60' height='24'" +
            dialog +
            "<a class='Probe' x='60' y='40' width='30' height='30' background='#c04030' "
            "label='Text'/>"
            "<a class='Probe' y='66' width='16' height='12' zorder='200' background='#40ff40'/>",
        1.5f);
    const auto shown = [this] {
        editor->idle();
        return test::bytesOf(*editor->getCanvas()->getPixels());
    };
    const std::string before = shown();
    plugin.parameter("Switch").setNormalised(1.0f, FromUser);
    const std::string blurred = shown();
    click(22, 22);
    EXPECT_EQ(probe("under").take(), "");
    window().owner->paint({10, 10, 20, 20});
    EXPECT_EQ(shown(), blurred);
    test::expectPicture(*editor->getCanvas()->getPixels(), "dialog-150");
    probe<Control>("dialog").setVisible(false);
    EXPECT_EQ(shown(), before);
    const auto showAgain = [&] {
        plugin.parameter("Switch").setNormalised(0.0f, FromUser);
        editor->idle();
        plugin.parameter("Switch").setNormalised(1.0f, FromUser);
        return shown();
    };
    EXPECT_TRUE(showAgain() == blurred);
    probe("under").onDraw = [](Canvas& canvas) {
        canvas.setFillColor(Color(1, 1, 1, 1));
        canvas.fillRect({0, 0, 30, 20});
    };
    EXPECT_TRUE(showAgain() != blurred) << "of what is there now";
    plugin.parameter("Switch").setNormalised(0.0f, FromUser);
    editor->idle();
    click(22, 22);
    EXPECT_NE(probe("under").take(), "");

    // Dialogs that go while they are shown, one by one and with the whole.
    open("<a class='Probe' id='under' width='9' height='9'/><b id='one'" + dialog +
         "<b id='two' x='5' y='50'" + dialog);
    ControlMessage focus(nullptr, ControlMessage::FocusGained);
    probe<Control>("one").handle(focus);
    probe<Control>("two").handle(focus);
    Control* const blur = editor->getRootControl()->findControlAt({90, 30});
    const auto& children = editor->getRootControl()->getChildren();
    EXPECT_THAT(children, ElementsAre(_, &probe<Control>("one"), blur, &probe<Control>("two")));
    delete &probe<Control>("two");
    editor->idle();
    EXPECT_THAT(children, ElementsAre(_, blur, &probe<Control>("one")));
    EXPECT_TRUE(load(skin("")));
}

// Faults: a picture that comes at once, stays, takes two clicks, or that a text in it keeps open.
TEST_F(TextControlsTest, TheAboutScreenComesAndGoes) {
    addBitmap("image");
    open(
        "<a class='Probe' id='under' width='20' height='20'/>"
        "<b class='About' id='about' parameter='Switch' visible='true' handle='image'><controls>"
        "<c class='Text' width='5' height='5' text='x'/></controls></b>");
    Control& about = probe<Control>("about");
    Parameter& change = plugin.parameter("Switch");
    const auto opacityAfter = [&about](float step) {
        tick(about, "CASf", 1, step);
        return about.isVisible() ? about.getOpacity() : 0.0f;
    };
    change.setNormalised(1.0f, FromUser);
    EXPECT_EQ(opacityAfter(0.5f), 0.5f);
    EXPECT_EQ(opacityAfter(0.92f), 1.0f);
    click(2, 2);
    EXPECT_EQ(change.getNormalised(), 0.0f);
    EXPECT_EQ(opacityAfter(0.1f), 0.0f);
    EXPECT_EQ(probe("under").take(), "");

    change.setNormalised(1.0f, FromUser);
    editor->close();
    EXPECT_EQ(about.getOpacity(), 1.0f);
    std::thread([&change] { change.setNormalised(0.0f, FromHost); }).join();
    ASSERT_TRUE(editor->open(nullptr, {}));
    EXPECT_FALSE(about.isVisible());
}

// Fault: a timer that nobody hears.
TEST_F(TextControlsTest, TheTooltipsTimerReachesIt) {
    open(StatusAndHelp + "<c class='Probe' width='9' height='9' tooltip='Level'/>");
    point(Pointer::Move, 5, 5);
    while (tooltip().empty()) {
        editor->idle();
        std::this_thread::yield();
    }
}

}  // namespace
}  // namespace tarn
