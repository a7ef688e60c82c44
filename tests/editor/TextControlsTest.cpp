#include "drawing/Pictures.h"
#include "editor/ControlAboutScreen.h"
#include "editor/ControlBitmap.h"
#include "editor/ControlHelp.h"
#include "editor/ControlInfo.h"
#include "editor/ControlVersionInfo.h"
#include "editor/OpenEditor.h"
#include "parameters/MidiMapper.h"

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
    // Ticks of a timer, as they come out of the queue.
    static void tick(Control& control, const char (&id)[5], int count = 1, float value = 0.0f) {
        TimerMessage message(nullptr, TimerMessage::Tick, fourCharacterCode(id), toPayload(value));
        while (count-- > 0)
            control.handle(message);
    }
    static std::string place(int x, int y, int width, int height) {
        return " x='" + std::to_string(x) + "' y='" + std::to_string(y) + "' width='" +
               std::to_string(width) + "' height='" + std::to_string(height) + "' ";
    }
    void click(int x, int y) {
        point(Pointer::LeftDown, x, y);
        point(Pointer::LeftUp, x, y);
    }
    ControlHelp& help() { return *editor->getHelpControl(); }
    std::string tooltip() { return help().isVisible() ? help().getText() : ""; }
    std::string status() { return probe<ControlText>("special::textdisplay").getText(); }

    // As it is at this moment, without ticks of timers.
    std::unique_ptr<Canvas> draw(Control& control, float scale = 1.0f) {
        const Rect area = control.getLocalRect();
        auto canvas = std::make_unique<Canvas>(area, scale);
        canvas->beginFrame(area);
        control.draw(*canvas, area);
        return canvas;
    }
    std::string bytes(Control& control) { return test::bytesOf(*draw(control)->getPixels()); }
};

// Faults: a text in the wrong place or font, one that is cut where it goes round, a tooltip
// beneath others or too small for its text, an image that is stretched.
TEST_F(TextControlsTest, PictureOfTexts) {
    addBitmap("image");
    addBitmap("other");
    editor->bitmaps["other"]->blur(12, 0.5f);
    addBitmap("letters", "AB");
    const std::string text = "<a class='Text'", round = " autoscroll='true' background='#404850' ";
    ASSERT_TRUE(load(
        "<dict>" + test::Header + "<controls><c class='Background' id='special::background'" +
        place(0, 0, 180, 110) + "handle='image' background='#202830'><controls>" +
        "<h class='Help' id='special::help'/>" + text + place(14, 2, 80, 16) +
        "text='Left text' weight='3'/>" + text + place(14, 18, 80, 16) +
        "text='Right' align='right' textcolor='#ffc000' textsize='1.2' background='#404850'/>" +
        text + place(14, 36, 80, 30) + "text='Two&#10;lines' align='center'/>" + text +
        place(100, 2, 70, 16) + round + "id='a' align='center' text='Goes round without end'/>" +
        text + place(100, 20, 23, 8) + round + "id='b' alphabet='letters' text='abxABab'/>" +
        "<a class='VersionInfo'" + place(14, 68, 80, 14) +
        "/><b class='Bitmap' x='130' y='20' "
        "handle='image'/><b class='Bitmap' x='145' y='20' handle='image'><bitmaps><x "
        "value='Switch' handle='other'/></bitmaps></b><c class='Probe'" +
        place(100, 36, 30, 20) +
        "background='#3070c0' parameter='Volume' tooltip='Volume of all'/><e class='About' "
        "id='about' background='#506070' handle='image' parameter='Switch'" +
        place(100, 70, 70, 30) + "><controls>" + text + place(14, 0, 50, 30) +
        "text='About'/></controls></e>" + text + place(4, 94, 90, 14) +
        "id='special::textdisplay' textcolor='#a0ffa0'/></controls></c></controls></dict>"));
    for (const float scale : {1.0f, 1.5f}) {
        plugin.parameter("Switch").setNormalised(0.0f, FromUser);
        ASSERT_TRUE(editor->open(nullptr, {}, scale));
        plugin.parameter("Switch").setNormalised(1.0f, FromUser);
        tick(probe<Control>("about"), "CASf", 1, 0.5f);
        tick(probe<Control>("a"), "CTst", 150);
        tick(probe<Control>("b"), "CTst", 38);
        point(Pointer::Move, static_cast<int>(110 * scale), static_cast<int>(40 * scale));
        tick(help(), "CHds");
        test::expectPicture(*draw(*editor->getRootControl(), scale)->getPixels(),
                            "textcontrols-" + std::to_string(static_cast<int>(scale * 100)));
        editor->close();
    }
}

// Faults: a text that fits and moves, one that stops, jumps or goes on while nobody sees it.
TEST_F(TextControlsTest, OnlyWhatDoesNotFitGoesRound) {
    const std::string round = " class='Text' height='14' autoscroll='true' ";
    open("<a width='90' id='fits' text='Fits'" + round +
         "/><b class='Text' id='rests' width='20' "
         "height='14' text='Too long'/><c id='moves' width='40' text='Too long to fit in'" +
         round + "/><d id='follows' width='40' parameter='Title' text='not this'" + round + "/>");
    ControlText &moves = probe<ControlText>("moves"), &follows = probe<ControlText>("follows");
    const auto changes = [this](Control& control, int count) {
        const std::string before = bytes(control);
        tick(control, "CTst", count);
        const bool isDirty = control.testFlags(Control::Dirty);
        return bytes(control) != before && isDirty;
    };
    EXPECT_FALSE(changes(probe<Control>("fits"), 9));
    EXPECT_FALSE(changes(probe<Control>("rests"), 9));
    Canvas canvas({0, 0, 1, 1});
    const int length = canvas.measureText(moves.getText()).width() + 40;
    moves.setText("Too long to fit in");
    const std::string start = bytes(moves);
    for (const int count : {0, 5}) {
        tick(moves, "CTst", count);
        EXPECT_TRUE(changes(moves, length - 1));
        tick(moves, "CTst");
        EXPECT_FALSE(changes(moves, length));
    }
    moves.setSize({0, 0, length, 14});
    moves.setSize({0, 0, 40, 14});
    EXPECT_EQ(bytes(moves), start);
    moves.setText("Fits");
    EXPECT_TRUE(moves.testFlags(Control::Dirty));
    EXPECT_FALSE(changes(moves, 5));

    // A parameter's text; the same one again doesn't begin anew.
    Parameter& title = plugin.parameter("Title");
    title.setText("A title that is too long", FromHost);
    EXPECT_EQ(follows.getText(), "A title that is too long");
    EXPECT_TRUE(changes(follows, 7));
    const std::string moved = bytes(follows);
    title.sendValue();
    EXPECT_EQ(bytes(follows), moved);
    editor->close();
    tick(follows, "CTst");
    EXPECT_FALSE(changes(follows, 7));
    std::thread([&title] { title.setText("Another title that is long", FromHost); }).join();
    ASSERT_TRUE(editor->open(nullptr, {}));
    EXPECT_EQ(follows.getText(), "Another title that is long");
    EXPECT_TRUE(changes(follows, 7));
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
        {"right, centred", {30, 10}, Beside, {40, 40, 60, 60}, {50, 50}, {60, 45, 90, 55}},
        {"flips left", {30, 10}, Beside, {160, 40, 180, 60}, {170, 50}, {130, 45, 160, 55}},
        {"right fits just", {30, 10}, Beside, {150, 40, 170, 60}, {160, 50}, {170, 45, 200, 55}},
        {"by itself beside", {30, 10}, 0, {40, 40, 60, 80}, {50, 50}, {60, 55, 90, 65}},
        {"by itself below", {30, 10}, 0, {40, 40, 60, 81}, {50, 50}, {35, 81, 65, 91}},
        {"past the bottom", {30, 40}, Beside, {40, 80, 60, 98}, {50, 90}, {60, 49, 90, 89}},
        {"below, centred", {30, 10}, Vertical, {40, 40, 60, 60}, {50, 50}, {35, 60, 65, 70}},
        {"goes above", {30, 10}, Vertical, {40, 80, 60, 95}, {50, 90}, {35, 70, 65, 80}},
        {"below fits just", {30, 10}, Vertical, {40, 80, 60, 90}, {50, 85}, {35, 90, 65, 100}},
        {"clamped left", {30, 10}, Vertical, {0, 40, 10, 60}, {5, 50}, {0, 60, 30, 70}},
        {"clamped right", {30, 10}, Vertical, {190, 40, 200, 60}, {195, 50}, {170, 60, 200, 70}},
        {"clamped top", {30, 20}, Beside, {40, 0, 60, 8}, {50, 4}, {60, 0, 90, 20}},
        {"left alone", {30, 10}, Control::LeftOf, {40, 40, 60, 60}, {50, 50}, {10, 45, 40, 55}},
        {"above alone", {30, 10}, Control::Above, {40, 40, 60, 60}, {50, 50}, {35, 30, 65, 40}},
        {"only below", {30, 10}, Control::Below, {40, 80, 60, 95}, {50, 85}, {35, 90, 65, 100}},
        {"at the pointer", {30, 10}, Control::AtMouse, {}, {50, 50}, {66, 58, 96, 68}},
        {"in the corner", {30, 10}, Control::AtMouse, {}, {190, 95}, {160, 85, 190, 95}},
        {"past the pointer", {30, 10}, Beside, {0, 0, 200, 100}, {10, 45}, {0, 65, 30, 75}},
        {"above it", {30, 30}, Beside, {0, 0, 200, 100}, {10, 60}, {0, 30, 30, 60}},
        {"right of it", {30, 90}, Beside, {0, 0, 200, 100}, {10, 40}, {26, 5, 56, 95}},
        {"left of it", {90, 90}, Beside, {150, 0, 200, 100}, {140, 40}, {50, 5, 140, 95}},
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
         "/><c x='60' parameter='Volume' tooltip='Secret' showvalue='never'" + size +
         "/><d x='80' parameter='Bend' showvalue='mouseover'" + size + "/><e y='20'" + size + "/>");
    Parameter &volume = plugin.parameter("Volume"), &second = plugin.parameter("Volume", 1);
    const auto hover = [this](int x, int y, bool isAwaited = true) {
        point(Pointer::Move, x, y);
        if (isAwaited)
            tick(help(), "CHds");
        return tooltip();
    };
    const auto set = [this](Parameter& parameter, float value, std::int32_t from = FromHost) {
        parameter.setNormalised(value, from);
        return tooltip();
    };
    EXPECT_EQ(set(volume, 0.5f), "");
    const std::string half = "Level = " + volume.getText();
    EXPECT_EQ(hover(5, 5, false), "");
    EXPECT_EQ(hover(5, 5), "Plain");
    EXPECT_EQ(help().getAbsoluteRect().left, 20);
    EXPECT_EQ(editor->getRootControl()->findControlAt({25, 8}), nullptr);
    EXPECT_EQ(set(volume, 0.25f), "Plain");
    set(volume, 0.5f);
    click(5, 5);
    EXPECT_EQ(tooltip(), "");

    EXPECT_EQ(hover(45, 5, false), "");
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
    for (const auto& [code, text] : {std::pair{ControlMessage::HelpRefresh, half.c_str()},
                                     {ControlMessage::HelpHide, ""},
                                     {ControlMessage::HelpRefreshCurve, half.c_str()}}) {
        ControlMessage message(nullptr, code);
        editor->receive(message);
        EXPECT_EQ(tooltip(), text);
    }
    editor->setModule(1);
    EXPECT_EQ(set(volume, 0.1f), half);
    EXPECT_EQ(set(second, 0.3f), "Level = 0.30");
    EXPECT_EQ(hover(65, 5), "Secret");
    EXPECT_EQ(set(second, 0.4f), "Secret");
    EXPECT_EQ(hover(85, 5, false), plugin.parameter("Bend").getText());
    EXPECT_EQ(hover(5, 25), "");

    hover(5, 5);
    for (const bool isOn : {false, true}) {
        editor->setShowTooltips(isOn);
        EXPECT_EQ(tooltip() + hover(45, 5, false) + hover(5, 5), isOn ? "Plain" : "");
    }
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
    const auto set = [&](float value, std::int32_t from) {
        volume.setNormalised(value, from);
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
    EXPECT_EQ(info.getRect(), (Rect{0, 0, 100, 12}));
    info.setLine(0, &source, "news");
    EXPECT_EQ(status(), "news");
    EXPECT_EQ(ticked("MFCI"), "Sampler 1.2.0");
    EXPECT_EQ(ticked("MFCI"), "news");
    EXPECT_EQ(pointed(Pointer::Move, 45), "Two lines");
    EXPECT_EQ(pointed(Pointer::Move, 5), "Level = " + volume.getText());
    EXPECT_EQ(set(0.25f, FromHost), "Level = 0.25");
    EXPECT_EQ(pointed(Pointer::LeftDown, 5), "Level = 0.25");
    EXPECT_EQ(set(0.5f, FromUser), "Volume = 0.50");
    EXPECT_EQ(ticked("MFCJ"), "Volume = 0.50");
    for (const int priority : {4, -1, 3})
        info.setLine(priority, &source, "line " + std::to_string(priority));
    EXPECT_EQ(status(), "line 3");
    info.removeLines(&source);
    info.setLine(0, &source, "news");
    pointed(Pointer::LeftUp, 5);
    EXPECT_EQ(pointed(Pointer::Left, 0), "Volume = 0.50");
    EXPECT_EQ(set(0.75f, FromHost), "Volume = 0.50");
    EXPECT_EQ(ticked("MFCI"), "Volume = 0.50");
    EXPECT_EQ(ticked("MFCJ"), "news");

    // A hint stays as long as a controller is learnt.
    plugin.getMidiMapper().startLearning(&volume);
    editor->setLearnHint("MIDI learn : Volume");
    editor->idle();
    EXPECT_EQ(status(), "MIDI learn : Volume");
    plugin.getMidiMapper().startLearning(nullptr);
    editor->idle();
    EXPECT_EQ(status(), "news");
    EXPECT_EQ(editor->getLearnHint(), "");

    pointed(Pointer::LeftDown, 5);
    set(0.1f, FromUser);
    editor->setModule(1);
    info.setLine(2, &probe("knob"), "of the knob");
    delete &probe("knob");
    plugin.parameter("Volume", 1).setNormalised(0.2f, FromUser);
    EXPECT_EQ(status(), "Volume = 0.10");
    editor->close();
    EXPECT_EQ(status(), "news");
    EXPECT_GT(editor->getOpenSeconds(), 0.0);
    delete &probe<ControlText>("special::textdisplay");
    info.removeLines(&source);
}

// Faults: an image that takes clicks, that stays switched or stretched.
TEST_F(TextControlsTest, AnImageFollowsItsSwitches) {
    addBitmap("image");
    addBitmap("Switch");
    editor->bitmaps["Switch"]->blur(12, 0.5f);
    open(
        "<a class='Bitmap' id='image' handle='none'><bitmaps><!-- no entry --><x value='Switch'/>"
        "<x value='Bend' handle='image'/></bitmaps></a>"
        "<b class='Bitmap' id='none' width='20' height='20' handle='image'/>");
    auto& image = probe<ControlBitmap>("image");
    EXPECT_EQ(image.getRect(), (Rect{0, 0, 10, 8}));
    EXPECT_EQ(probe<Control>("none").getRect(), (Rect{0, 0, 20, 20}));
    const std::string plain = bytes(image);
    Parameter& change = plugin.parameter("Switch");
    for (const bool isOn : {true, false, true}) {
        change.setNormalised(isOn ? 1.0f : 0.0f, FromHost);
        EXPECT_EQ(bytes(image) == plain, !isOn);
    }
    editor->close();
    std::thread([&change] { change.setNormalised(0.0f, FromHost); }).join();
    ASSERT_TRUE(editor->open(nullptr, {}));
    EXPECT_EQ(bytes(image), plain);
    point(Pointer::LeftDown, 2, 2);
    EXPECT_EQ(editor->getHoverControl(), &probe<Control>("none"));
    EXPECT_EQ(editor->getCaptureControl(), nullptr);
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
        "<a class='Probe' x='60' y='40' width='30' height='30' background='#c04030' label='Text'/>"
        "<a class='Probe' y='66' width='16' height='12' zorder='200' background='#40ff40'/>");
    const auto shown = [this] {
        editor->idle();
        return test::bytesOf(*editor->getCanvas()->getPixels());
    };
    const std::string before = shown();
    plugin.parameter("Switch").setNormalised(1.0f, FromUser);
    const std::string blurred = shown();
    test::expectPicture(*editor->getCanvas()->getPixels(), "dialog-100");
    click(15, 15);
    point(Pointer::RightDown, 15, 15);
    EXPECT_EQ(probe("under").take(), "");
    EXPECT_NE(editor->getHoverControl(), nullptr);
    window().owner->paint({10, 10, 20, 20});
    EXPECT_EQ(shown(), blurred);
    ASSERT_TRUE(editor->open(nullptr, {}, 1.5f));
    window().owner->paint({10, 10, 20, 20});
    editor->idle();
    test::expectPicture(*editor->getCanvas()->getPixels(), "dialog-150");
    ASSERT_TRUE(editor->open(nullptr, {}));
    probe<Control>("dialog").setVisible(false);
    EXPECT_EQ(shown(), before);
    click(15, 15);
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
    EXPECT_EQ(about.getRect(), (Rect{0, 0, 10, 8}));
    EXPECT_FALSE(about.isVisible());
    change.setNormalised(1.0f, FromUser);
    EXPECT_TRUE(about.isVisible());
    EXPECT_EQ(about.getOpacity(), 0.01f);
    EXPECT_EQ(opacityAfter(0.5f), 0.5f);
    EXPECT_EQ(opacityAfter(0.92f), 1.0f);
    EXPECT_EQ(opacityAfter(0.5f), 1.0f);
    click(2, 2);
    EXPECT_EQ(change.getNormalised(), 0.0f);
    EXPECT_EQ(opacityAfter(0.4f), 0.4f);
    click(2, 2);
    EXPECT_EQ(change.getNormalised(), 1.0f);
    EXPECT_EQ(opacityAfter(0.95f), 1.0f);
    change.setNormalised(0.0f, FromUser);
    EXPECT_EQ(opacityAfter(0.1f), 0.0f);
    EXPECT_EQ(probe("under").take(), "");

    addBitmap("image");
    ResourceMessage skinChanged(nullptr, ResourceMessage::SetLoaded, "skin", 0);
    const long uses = editor->bitmaps["image"].use_count();
    editor->receive(skinChanged);
    EXPECT_EQ(editor->bitmaps["image"].use_count(), uses + 1);
    change.setNormalised(1.0f, FromUser);
    editor->close();
    EXPECT_EQ(about.getOpacity(), 1.0f);
    std::thread([&change] { change.setNormalised(0.0f, FromHost); }).join();
    ASSERT_TRUE(editor->open(nullptr, {}));
    EXPECT_FALSE(about.isVisible());
}

// Faults: a timer that nobody hears, starts or lets go on.
TEST_F(TextControlsTest, TimersReachTheirControls) {
    addBitmap("image");
    open(StatusAndHelp + "<a class='Text' id='text' width='9' height='14' autoscroll='true' " +
         "text='Too long'/><b class='About' id='about' parameter='Switch' handle='image' y='40'/>" +
         "<c class='Probe' x='40' width='9' height='9' parameter='Volume' tooltip='Level'/>");
    Control &text = probe<Control>("text"), &about = probe<Control>("about");
    const auto awaitThat = [this](const auto& isReached) {
        while (!isReached()) {
            editor->idle();
            std::this_thread::yield();
        }
    };
    const std::string before = bytes(text);
    awaitThat([&] { return bytes(text) != before; });
    plugin.parameter("Switch").setNormalised(1.0f, FromUser);
    awaitThat([&] { return about.getOpacity() == 1.0f; });
    plugin.parameter("Switch").setNormalised(0.0f, FromUser);
    awaitThat([&] { return !about.isVisible(); });
    point(Pointer::Move, 45, 5);
    awaitThat([&] { return !tooltip().empty(); });
    plugin.parameter("Volume").setNormalised(0.25f, FromHost);
    awaitThat([&] { return tooltip().empty(); });
}

}  // namespace
}  // namespace tarn
