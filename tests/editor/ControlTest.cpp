#include "drawing/Pictures.h"
#include "editor/OpenEditor.h"

#include <gmock/gmock.h>

#include <thread>

namespace tarn {
namespace {

using test::EditorTest;
using test::Probe;

class ControlTest : public EditorTest {
protected:
    Control* at(std::int32_t x, std::int32_t y) {
        return editor->getRootControl()->findControlAt({x, y});
    }
};

// Faults: a layer in the wrong order, an alpha that counts twice, a child outside its parent,
// letters in the wrong font.
TEST_F(ControlTest, PictureOfControls) {
    addBitmap("image");
    addBitmap("letters", "AB");
    ASSERT_TRUE(loadSkin("controls"));
    for (const float scale : {1.0f, 1.5f}) {
        ASSERT_TRUE(editor->open(nullptr, {}, scale));
        probe("framed").setFrameColor(Color(1, 1, 1, 1));
        probe("dropped").setFlags(Control::DropHighlight);
        editor->idle();
        test::expectPicture(*editor->getCanvas()->getPixels(),
                            "controls-" + std::to_string(static_cast<int>(scale * 100)));
    }
}

// Faults: a key that isn't read, numbers of a skin that overflow, a size that isn't the image's.
TEST_F(ControlTest, ReadsItsKeys) {
    addBitmap("image");
    open(
        "<a class='Probe' id='full' x='3' y='4' width='30' height='20' label='mine' "
        "parameter='Volume' showvalue='true' zorder='300' transparency='0.995'>"
        "<tooltip value='Tip' placement='vertical'/></a>"
        "<b class='Probe' id='image' background='image'/>"
        "<c class='Probe' id='wild' x='2147483647' y='-2147483648' width='2147483647' height='-5' "
        "transparency='nan' textsize='1e30' zorder='-2147483648'/>"
        "<e class='Probe' id='hovered' showvalue='mouseover'><listento><x value='Bend'/></listento>"
        "</e><f class='Probe' id='none' parameter='No such'/>"
        "<g class='Probe' id='always' parameter='Volume' showvalue='always'/>"
        "<h class='Probe' id='small' x='8' width='60' height='40'><tooltip placement='mouse'/>"
        "<thumbnail/></h>"
        "<i class='Probe' id='side'><tooltip placement='horizontal'/></i>");
    Probe& full = probe("full");
    EXPECT_EQ(full.getRect(), (Rect{3, 4, 33, 24}));
    EXPECT_EQ(full.getLabel(), plugin.parameter("Volume").getName());
    EXPECT_EQ(full.getTooltipPlacement(), Control::Above | Control::Below);
    EXPECT_EQ(full.getTooltip(), "Tip = " + plugin.parameter("Volume").getText());
    EXPECT_EQ(probe("image").getRect(), (Rect{0, 0, 5, 8}));
    EXPECT_EQ(probe("wild").getRect(), (Rect{65'536, -65'536, 131'072, -65'536}));
    EXPECT_EQ(probe("small").getRect(), (Rect{8, 0, 23, 10}));
    EXPECT_EQ(probe("small").getTooltipPlacement(), Control::AtMouse);
    EXPECT_EQ(probe("side").getTooltipPlacement(), Control::LeftOf | Control::RightOf);
    EXPECT_EQ(probe("none").getParameter(), nullptr);
    EXPECT_EQ(probe("none").getTooltip(), "");
    EXPECT_EQ(probe("always").getTooltip(), plugin.parameter("Volume").getText());
    probe("hovered").take();
    plugin.parameter("Bend").setNormalised(1, FromHost);
    EXPECT_EQ(probe("hovered").take(), "Bend ");
    editor->setModule(1);
    editor->setModule(9);
    EXPECT_EQ(full.getParameter(), &plugin.parameter("Volume", 1));
    full.take();
    plugin.parameter("Volume", 0).setNormalised(0.1f, FromHost);
    plugin.parameter("Volume", 1).setNormalised(0.2f, FromHost);
    EXPECT_EQ(full.take(), "Volume ");
}

// Faults: a click on what can't be seen, one that a hole in an image or a disabled control takes.
TEST_F(ControlTest, OnlyWhatCanTakeThePointerIsFound) {
    addBitmap("image");
    open(
        "<a class='Probe' id='image' background='image'/>"
        "<b class='Probe' id='solid' x='20' background='image' opaque='true'/>"
        "<c class='Probe' id='low' x='40' width='20' height='20'/>"
        "<d class='Probe' id='off' x='40' width='10' height='10' enabled='false'/>"
        "<e class='Probe' id='away' x='50' width='10' height='10' visible='false'/>"
        "<f class='Container' x='60' width='40' height='40'><controls>"
        "<g class='Probe' id='inner' x='20' y='20' width='10' height='10'/></controls></f>");
    EXPECT_EQ(at(2, 2), &probe("image"));
    EXPECT_EQ(at(29, 2), nullptr);
    EXPECT_EQ(at(22, 2), &probe("solid"));
    EXPECT_EQ(at(42, 2), &probe("low"));
    EXPECT_EQ(at(52, 2), &probe("low"));
    EXPECT_EQ(at(-1, 2), nullptr);
    EXPECT_EQ(at(81, 21), &probe("inner"));
    EXPECT_EQ(editor->getRootControl()->findDropTargetAt({42, 2}), &probe("off"));
}

// Faults: a child that hears that the pointer left its container as it enters the child, a press or
// a key that a container takes for a child that is elsewhere.
TEST_F(ControlTest, AContainerKeepsWhatIsItsOwn) {
    open(
        "<f class='Container' x='40' y='40' width='40' height='40'><controls>"
        "<g class='Probe' id='inner' width='10' height='10' keyboard='true'/>"
        "<h class='Probe' id='away' x='35' y='35' width='5' height='5'/></controls></f>");
    point(Pointer::Move, 60, 60);
    point(Pointer::Move, 45, 45);
    EXPECT_EQ(probe("inner").take(), "12@5,5 6@5,5 ");
    point(Pointer::Move, 76, 60);
    probe("inner").take();
    EXPECT_FALSE(press(' '));
    EXPECT_NE(chooseAt(Pointer::RightDown, 76, 60, ""), "");
    EXPECT_EQ(probe("inner").take() + probe("away").take(), "");
}

// Faults: a small form that can't be pressed, or doesn't follow what is in it; a container that
// doesn't grow with it.
TEST_F(ControlTest, ASmallFormOpensAtAPress) {
    open(
        "<f class='Container' id='outer' x='10' y='10' width='10' height='10'><controls>"
        "<f class='Container' id='form' width='60' height='60'><thumbnail width='20' height='20'/>"
        "<controls><g class='Probe' id='inner' x='30' y='30' width='20' height='20' "
        "parameter='Volume'/></controls></f></controls></f>");
    auto &form = probe<Control>("form"), &outer = probe<Control>("outer");
    EXPECT_EQ(probe("inner").getAbsoluteRect(), (Rect{10, 10, 30, 30}));
    probe("inner").onDraw = [this](Canvas& canvas) {
        canvas.setFillColor(Color(plugin.parameter("Volume").getNormalised(), 0, 0, 1));
        canvas.fillRect({0, 0, 20, 20});
    };
    plugin.parameter("Volume").setNormalised(1, FromHost);
    editor->idle();
    EXPECT_TRUE(keepsItsPicture(*editor));
    click(22, 22);
    EXPECT_EQ(form.getRect(), (Rect{0, 0, 60, 60}));
    EXPECT_EQ(outer.getAbsoluteRect(), (Rect{10, 10, 70, 70}));
    EXPECT_EQ(at(45, 45), &probe("inner"));
    click(15, 15);
    EXPECT_EQ(form.getRect(), (Rect{0, 0, 20, 20}));
    EXPECT_EQ(outer.getAbsoluteRect(), (Rect{10, 10, 30, 30}));
}

// Faults: a control that leaves its parent, moves without being asked, or stays behind the pointer.
TEST_F(ControlTest, IsMovedWhereItMayBe) {
    constexpr int Shift = 0x10, ControlKey = 0x11, Alt = 0x12;
    const struct {
        const char* keys;
        std::set<int> held;
        Point to;  // from 15, 15
        Rect place;
    } moves[] = {
        {"draggable='true'", {}, {25, 20}, {20, 15, 40, 35}},
        {"draggable='true'", {}, {500, 500}, {80, 60, 100, 80}},
        {"draggable='true'", {}, {-500, -500}, {0, 0, 20, 20}},
        {"", {Shift, ControlKey, Alt}, {25, 20}, {20, 15, 40, 35}},
        {"", {Shift, ControlKey}, {25, 20}, {10, 10, 30, 30}},
        {"draggable='true' enabled='false'", {}, {25, 20}, {10, 10, 30, 30}},
    };
    for (const auto& [keys, held, to, place] : moves) {
        open("<a class='Text' id='moved' x='10' y='10' width='20' height='20' " +
             std::string(keys) + "/>");
        desktop.heldKeys = held;
        point(Pointer::LeftDown, 15, 15);
        point(Pointer::Move, to.x, to.y);
        EXPECT_EQ(probe<Control>("moved").getRect(), place) << keys << held.size();
        point(Pointer::LeftUp, to.x, to.y);
        point(Pointer::Move, 40, 40);
        EXPECT_EQ(probe<Control>("moved").getRect(), place) << "let go";
    }
}

// Faults: a dialog that stays when its switch is off, one that loses the focus to itself.
TEST_F(ControlTest, AContainerFollowsItsSwitch) {
    open(
        "<b class='Container' id='inverted' parameter='Volume' invertvalue='true' modal='true' "
        "width='9' height='9' focusable='true'><listento><x "
        "value='LeaveModalMode'/></listento></b>"
        "<c class='Container' id='plain' parameter='Switch' width='9' height='9'/>"
        "<d class='Container' id='shown' width='9' height='9'><show parameter='Switch' value='1'/>"
        "</d><e class='Text' id='text'><show parameter='Switch' value='1'/></e>"
        "<f class='Knob' id='knob'><show parameter='Switch' value='1'/></f>");
    Control& inverted = *editor->getControls()[1];
    ParameterMessage change(nullptr, ParameterMessage::ValueChanged, "Volume", 0, 0, 0.0f,
                            FromUser);
    for (const bool isOn : {true, false, true}) {
        change.payload = isOn ? 1 : 0;
        inverted.receive(change);
        EXPECT_EQ(inverted.isVisible(), !isOn);
        EXPECT_EQ(editor->getFocusControl(), isOn ? nullptr : &inverted);
    }
    change.payload = 0;
    change.mode = FromHost;
    inverted.receive(change);
    EXPECT_TRUE(inverted.isVisible());
    EXPECT_EQ(editor->getFocusControl(), nullptr);
    ParameterMessage leave(nullptr, ParameterMessage::ValueChanged, "LeaveModalMode", 0, 1, 1.0f,
                           FromInternal);
    inverted.receive(leave);
    EXPECT_TRUE(inverted.isVisible());
    leave.mode = FromUser;
    inverted.receive(leave);
    EXPECT_FALSE(inverted.isVisible());
    for (const float value : {1.0f, 0.0f}) {
        editor->close();
        std::thread([&] { plugin.parameter("Switch").setNormalised(value, FromHost); }).join();
        ASSERT_TRUE(editor->open(nullptr, {}));
        for (const char* const id : {"plain", "shown", "text", "knob"})
            EXPECT_EQ(probe<Control>(id).isVisible(), value > 0.0f) << "as it is by now";
        EXPECT_FALSE(inverted.isVisible()) << "which the user has closed";
    }
}

// Faults: a drop that the wrong control gets, a mark that stays, a text that isn't checked.
TEST_F(ControlTest, DropsReachWhatTakesThem) {
    open("<a class='Probe' id='target' x='10' y='10' width='20' height='20'/>");
    Probe& target = probe("target");
    std::vector<std::string> dropped;
    target.onEvent = [&](const WindowMessage& message) {
        if (message.code == WindowMessage::DropFile || message.code == WindowMessage::DropSample)
            dropped.push_back(message.text.str() + " " + std::to_string(message.regionStart) + "-" +
                              std::to_string(message.regionEnd));
    };
    platform::WindowOwner& owner = *window().owner;
    const platform::DroppedData twoFiles{{"a.wav", "b/c.wav"}, {}};
    EXPECT_TRUE(owner.dragEnter(twoFiles, {15, 15}));
    EXPECT_EQ(target.take(), "20@0,0 19@5,5 ");
    owner.dragEnd();
    EXPECT_EQ(editor->getDragged(), nullptr);
    target.take();
    EXPECT_TRUE(owner.drop(twoFiles, {15, 15}));
    EXPECT_THAT(target.take(), testing::HasSubstr(" 20@"));
    EXPECT_FALSE(owner.dragEnter({}, {15, 15}));
    const auto text = [&](const std::string& xml) {
        return owner.drop({{"ignored.wav"}, "<dict>" + test::Header + xml + "</dict>"}, {15, 15});
    };
    EXPECT_TRUE(
        text("<samples><sample file='s.wav'/><sample file='t.wav'><zone start='5' end='9'/>"
             "</sample><sample/></samples>"));
    EXPECT_TRUE(
        text("<vst-xml><region><segment filename='u.wav' start='2147483647' "
             "length='2147483647'/></region></vst-xml>"));
    for (const char* const refused :
         {"", "<samples/>", "<vst-xml><region/></vst-xml>",
          "<vst-xml><region><segment filename='u.wav'/></region></vst-xml>"})
        EXPECT_FALSE(text(refused));
    EXPECT_FALSE(owner.drop({{}, "no tree"}, {15, 15}));
    EXPECT_THAT(dropped,
                testing::ElementsAre("a.wav 0-0", File("b/c.wav").getPath() + " 0-0",
                                     "s.wav 0-10000", "t.wav 5-9", "u.wav 2147483647-2147483647"));

    // Only what it takes lights it up.
    target.takeDrops(1);
    for (const auto& [kind, x, isLit] : {std::tuple(3, 5, true), {2, 5, false}, {1, 20, false}}) {
        WindowMessage over(nullptr, WindowMessage::DropOver, nullptr, Point{x, 5}, toPayload(kind));
        EXPECT_EQ(target.handle(over), isLit);
        EXPECT_EQ(target.testFlags(Control::DropHighlight), isLit) << kind << ", " << x;
    }

    // What the plug-in can't take either is told once a drop, not once a file.
    target.takes = false;
    EXPECT_FALSE(owner.drop(twoFiles, {15, 15}));
    EXPECT_FALSE(text("<samples><sample file='s.wav'/><sample file='t.wav'/></samples>"));
    EXPECT_EQ(product.product->messages.size(), 2u);
}

}  // namespace
}  // namespace tarn
