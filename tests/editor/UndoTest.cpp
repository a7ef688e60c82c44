#include "editor/OpenEditor.h"
#include "support/Hearer.h"
#include "support/TestClock.h"

namespace tarn {
namespace {

using test::EditorTest;
using test::Probe;

constexpr int Shift = 0x10, ControlKey = 0x11, Alt = 0x12;

class UndoTest : public EditorTest {
protected:
    ~UndoTest() override { editor.reset(); }  // whose controls set the values below
    void SetUp() override {
        open(
            "<a class='Probe' id='volume' width='10' height='10' parameter='Volume'/>"
            "<b class='Probe' id='bend' x='20' width='10' height='10' parameter='Bend'/>"
            "<c class='Text' x='40' width='40' height='10' parameter='Title'/>");
        for (Probe* const control : {&probe("volume"), &probe("bend")})
            control->onEvent = [this, control](const WindowMessage& event) {
                control->takes = event.keyCode != 'Z' && event.keyCode != 'Y';
                if (event.code != WindowMessage::MouseMove && control->takes && !values.empty()) {
                    control->getParameter()->setNormalised(values.front(), FromUser);
                    values.erase(values.begin());
                }
            };
        point(Pointer::Move, 5, 5);
    }
    // Each sets the parameter of the control at `x` with every event that it is made of.
    void drag(std::int32_t x, const std::vector<float>& next) {
        point(Pointer::Move, x, 5);
        values = next;
        point(Pointer::LeftDown, x, 5);
        while (!values.empty())
            point(Pointer::Move, x, 5);
        point(Pointer::LeftUp, x, 5);
    }
    void wheel(std::int32_t x, float next) {
        point(Pointer::Move, x, 5);
        values = {next};
        window().owner->wheel({x, 5}, 120);
    }
    float volume() { return plugin.parameter("Volume").getNormalised(); }
    float bend() { return plugin.parameter("Bend").getNormalised(); }
    std::size_t count() { return editor->getUndoList().getUndoCount(); }
    bool undo() { return press('Z', {ControlKey}); }
    bool redo() { return press('Z', {ControlKey, Shift}); }

    static constexpr std::int32_t Volume = 5, Bend = 25;  // places
    std::vector<float> values;
    const test::TestClock clock{0.0};
};

// Faults: an edit that can't be undone, one that takes two keys, a key that the host misses.
TEST_F(UndoTest, EditsGoBackAndForthOneByOne) {
    EXPECT_FALSE(undo() || redo());
    drag(Volume, {0.2f, 0.3f, 0.4f});
    drag(Bend, {0.9f});
    drag(Volume, {0.4f});
    desktop.text = [](const platform::TextRequest&) { return std::optional<std::string>("Lead"); };
    point(Pointer::LeftDouble, 50, 5);
    const Parameter& title = plugin.parameter("Title");
    EXPECT_TRUE(title.getText() == "Lead" && undo() && title.getText().empty());
    plugin.parameter("Volume").setNormalised(0.7f, FromHost);
    EXPECT_TRUE(undo() && bend() == 0.5f && volume() == 0.7f);
    EXPECT_TRUE(undo() && volume() == 0.5f);
    EXPECT_FALSE(undo());
    EXPECT_TRUE(redo() && volume() == 0.4f);
    EXPECT_TRUE(press('Y', {ControlKey}) && bend() == 0.9f);
    EXPECT_FALSE(press('Z', {ControlKey, Alt}) || press('Z'));
    EXPECT_TRUE(redo() && title.getText() == "Lead");
    EXPECT_TRUE(undo());
    drag(Volume, {0.1f});
    EXPECT_TRUE(!redo() && undo() && volume() == 0.4f);

    // Under a drag, which a wheel doesn't end, nothing moves; and the list outlives the window.
    values = {0.6f, 0.7f};
    point(Pointer::LeftDown, Volume, 5);
    window().owner->wheel({Volume, 5}, 120);
    EXPECT_TRUE(undo() && volume() == 0.7f);
    EXPECT_TRUE(editor->getUndoList().isEditing(&probe("volume")));
    editor->close();
    ASSERT_TRUE(editor->open(nullptr, {}));
    EXPECT_TRUE(undo() && volume() == 0.4f);
}

// Faults: a turn of the wheel that takes twenty keys to undo, edits of two moments in one entry, an
// edit that is never closed, after which its control's edits aren't kept.
TEST_F(UndoTest, StepsWithinASecondAreOne) {
    const struct {
        std::int32_t place;
        double after;
        float value;
        std::size_t entries;
    } steps[] = {
        {Volume, 5.0, 0.1f, 1}, {Volume, 1.0, 0.2f, 1}, {Volume, 1.1, 0.4f, 2},
        {Volume, 0.1, 0.2f, 1}, {Volume, 0.1, 0.4f, 2}, {Bend, 0.1, 0.9f, 3},
        {Volume, 0.1, 0.5f, 4}, {Volume, 0.1, 0.4f, 3},
    };
    for (const auto& [place, after, value, entries] : steps) {
        clock.pass(after);
        wheel(place, value);
        EXPECT_EQ(count(), entries) << value;
    }
    EXPECT_TRUE(undo() && undo() && undo() && volume() == 0.5f && redo() && volume() == 0.2f);
    wheel(Bend, 0.8f);
    EXPECT_TRUE(undo());
    wheel(Bend, 0.7f);
    EXPECT_EQ(count(), 2u);

    values = {0.1f, 0.2f, 0.3f, 0.4f};
    for (const Pointer event :
         {Pointer::LeftDown, Pointer::RightDown, Pointer::LeftUp, Pointer::RightUp})
        point(event, Volume, 5);
    const auto former = probe("volume").onEvent;
    probe("volume").onEvent = [](const WindowMessage&) { throw std::runtime_error("in an edit"); };
    window().owner->wheel({Volume, 5}, 120);
    probe("volume").onEvent = former;
    const std::size_t before = count();
    drag(Volume, {0.7f});
    EXPECT_EQ(count(), before + 1);
}

// Faults: a list that grows without end, one that brings a former state's or another preset's
// values into this one.
TEST_F(UndoTest, TheLast100EditsOfOneStateAreKept) {
    for (int i = 1; i <= 130; ++i)
        drag(Volume, {static_cast<float>(i) / 200});
    EXPECT_EQ(count(), UndoList::MostEntries);
    while (undo()) {
    }
    EXPECT_EQ(volume(), 30.0f / 200);
    Dictionary state;
    plugin.writeState(state, 0);
    drag(Volume, {0.8f});
    values = {0.3f};
    point(Pointer::LeftDown, Volume, 5);
    plugin.readState(state);
    values = {0.4f};
    point(Pointer::LeftUp, Volume, 5);
    EXPECT_FALSE(count() > 0 || undo() || redo());

    ASSERT_TRUE(plugin.addPreset("two"));
    wheel(Volume, 0.9f);
    plugin.setProgram(0);  // by the host
    wheel(Volume, 0.2f);
    EXPECT_EQ(count(), 1u);
    drag(Volume, {0.6f});
    plugin.revertCurrent();
    EXPECT_FALSE(undo());
}

// Faults: a host that records nothing of an undo or of a key, a preset that can't be left again.
TEST_F(UndoTest, TheHostHearsOfWhatIsUndone) {
    std::string heard;
    const Hearer value(plugin.parameter("Volume"), [&](Message&) { heard += "set "; });
    const Hearer hand(*editor, [&](Message& message) {
        const auto* const sender = dynamic_cast<const ParameterEditor*>(message.sender);
        if (sender != nullptr &&
            (message.code == ControlMessage::EditBegin || message.code == ControlMessage::EditEnd ||
             message.code == ControlMessage::EditExpected))
            heard += sender->getParameter()->getId() + " ";
    });
    heard.clear();
    values = {0.8f};
    press(WindowMessage::PageUpKey);
    editor->setModule(1);
    EXPECT_TRUE(undo() && volume() == 0.5f);
    EXPECT_EQ(heard, "Volume set Volume Volume set Volume ");

    ASSERT_TRUE(plugin.addPreset("two") && plugin.addPreset("three"));
    plugin.setProgram(0);
    for (const std::int32_t next : {2, 2, 1}) {
        const std::int32_t before = plugin.getCurrentIndex();
        plugin.setProgram(next);
        editor->noteProgramChange(before);
    }
    EXPECT_TRUE(undo() && plugin.getCurrentIndex() == 2);
    EXPECT_TRUE(undo() && plugin.getCurrentIndex() == 0);
    EXPECT_TRUE(!undo() && redo() && plugin.getCurrentIndex() == 2);
}

}  // namespace
}  // namespace tarn
