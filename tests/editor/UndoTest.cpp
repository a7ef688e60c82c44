#include "editor/OpenEditor.h"
#include "parameters/Preset.h"
#include "platform/Clock.h"

namespace tarn {
namespace {

using test::EditorTest;
using test::Probe;

constexpr int Shift = 0x10, ControlKey = 0x11, Alt = 0x12;

double now = 0.0;

class UndoTest : public EditorTest {
protected:
    UndoTest() {
        now = 100.0;
        platform::setHighResolutionClock(+[]() noexcept { return now; });
    }
    ~UndoTest() override {
        editor.reset();
        platform::setHighResolutionClock(nullptr);
    }
    void SetUp() override {
        open(
            "<a class='Probe' id='volume' width='10' height='10' parameter='Volume'/>"
            "<b class='Probe' id='bend' x='20' width='10' height='10' parameter='Bend' "
            "keyboard='true'/>"
            "<c class='Text' id='title' x='40' width='40' height='10' parameter='Title'/>");
        for (Probe* const control : {&probe("volume"), &probe("bend")})
            control->onEvent = [this, control](const WindowMessage& event) {
                const bool isEdit = event.code == WindowMessage::LeftDown ||
                                    event.code == WindowMessage::MouseDrag ||
                                    event.code == WindowMessage::Wheel ||
                                    event.keyCode == WindowMessage::UpKey;
                control->takes = refused != control && event.keyCode != 'Z' && event.keyCode != 'Y';
                if (isEdit && !values.empty()) {
                    edited->setNormalised(values.front(), FromUser);
                    values.erase(values.begin());
                }
            };
    }
    // What the next events at a control set its parameter to.
    void takes(const char* id, std::vector<float> next) {
        edited = probe(id).getParameter();
        x = id == std::string("volume") ? 5 : 25;
        values = std::move(next);
    }
    void drag(const char* id, std::vector<float> next) {
        takes(id, std::move(next));
        point(Pointer::LeftDown, x, 5);
        while (!values.empty())
            point(Pointer::Move, x, 5);
        point(Pointer::LeftUp, x, 5);
    }
    void wheel(const char* id, float next) {
        takes(id, {next});
        point(Pointer::Move, x, 5);
        window().owner->wheel({x, 5}, 120);
    }
    float volume() { return plugin.parameter("Volume").getNormalised(); }
    float bend() { return plugin.parameter("Bend").getNormalised(); }
    bool undo() { return press('Z', {ControlKey}); }
    bool redo() { return press('Z', {ControlKey, Shift}); }

    std::vector<float> values;
    Parameter* edited = nullptr;
    const Control* refused = nullptr;  // what takes nothing
    std::int32_t x = 0;
};

// Faults: an edit that can't be undone, one that takes two keys, a key that the host misses.
TEST_F(UndoTest, EditsGoBackAndForthOneByOne) {
    EXPECT_FALSE(undo() || redo());
    drag("volume", {0.2f, 0.3f, 0.4f});
    drag("bend", {0.9f});
    drag("volume", {});
    drag("volume", {0.4f});
    desktop.text = [](const platform::TextRequest&) { return std::optional<std::string>("Lead"); };
    point(Pointer::LeftDouble, 50, 5);
    Parameter& title = plugin.parameter("Title");
    ASSERT_EQ(title.getText(), "Lead");
    EXPECT_TRUE(undo());
    EXPECT_EQ(title.getText(), "");
    plugin.parameter("Volume").setNormalised(0.7f, FromHost);
    EXPECT_TRUE(undo());
    EXPECT_EQ(bend(), 0.5f);
    EXPECT_EQ(volume(), 0.7f);
    EXPECT_TRUE(undo());
    EXPECT_EQ(volume(), 0.5f);
    EXPECT_FALSE(undo());
    EXPECT_TRUE(redo());
    EXPECT_EQ(volume(), 0.4f);
    EXPECT_TRUE(press('Y', {ControlKey}));
    EXPECT_EQ(bend(), 0.9f);
    EXPECT_FALSE(press('Z', {ControlKey, Alt}) || press('Z') || press('Y', {ControlKey, Shift}));
    EXPECT_TRUE(redo());
    EXPECT_EQ(title.getText(), "Lead");
    EXPECT_FALSE(redo());
    EXPECT_TRUE(undo());
    drag("volume", {0.1f});
    EXPECT_FALSE(redo());
    EXPECT_TRUE(undo());
    EXPECT_EQ(volume(), 0.4f);

    // Under a drag nothing moves; and the list outlives the window.
    takes("volume", {0.6f, 0.8f});
    point(Pointer::LeftDown, 5, 5);
    EXPECT_TRUE(undo());
    EXPECT_EQ(volume(), 0.6f);
    editor->close();
    ASSERT_TRUE(editor->open(nullptr, {}));
    EXPECT_TRUE(undo());
    EXPECT_EQ(volume(), 0.4f);
}

// Faults: a turn of the wheel that takes twenty keys to undo, edits of two moments in one entry.
TEST_F(UndoTest, StepsWithinASecondAreOne) {
    const struct {
        const char* id;
        double after;
        float value;
        std::size_t entries;
    } steps[] = {
        {"volume", 5.0, 0.1f, 1}, {"volume", 1.0, 0.2f, 1}, {"volume", 1.0, 0.3f, 1},
        {"volume", 1.1, 0.4f, 2}, {"bend", 0.1, 0.9f, 3},   {"volume", 0.1, 0.5f, 4},
        {"volume", 0.1, 0.4f, 3}, {"volume", 0.1, 0.6f, 4},
    };
    for (const auto& [id, after, value, entries] : steps) {
        now += after;
        wheel(id, value);
        EXPECT_EQ(editor->getUndoList().getUndoCount(), entries) << value;
    }
    drag("volume", {0.7f});
    wheel("volume", 0.8f);
    EXPECT_EQ(editor->getUndoList().getUndoCount(), 6u);
    undo();
    wheel("volume", 0.9f);
    EXPECT_EQ(editor->getUndoList().getUndoCount(), 6u);
    for (const float before : {0.7f, 0.6f, 0.4f}) {
        EXPECT_TRUE(undo());
        EXPECT_EQ(volume(), before);
    }
    point(Pointer::LeftDown, 25, 5);
    point(Pointer::LeftUp, 25, 5);
    for (const float next : {0.1f, 0.2f}) {
        takes("bend", {next});
        press(WindowMessage::UpKey);
    }
    EXPECT_TRUE(undo());
    EXPECT_EQ(bend(), 0.9f);
}

// Faults: a list that grows without end, one that brings a former state's values into another one.
TEST_F(UndoTest, TheLast100EditsOfOneStateAreKept) {
    for (int i = 1; i <= 130; ++i)
        drag("volume", {static_cast<float>(i) / 200});
    EXPECT_EQ(editor->getUndoList().getUndoCount(), UndoList::MostEntries);
    for (std::size_t i = 0; i < UndoList::MostEntries; ++i)
        EXPECT_TRUE(undo());
    EXPECT_FALSE(undo());
    EXPECT_EQ(volume(), 30.0f / 200);
    EXPECT_EQ(editor->getUndoList().getRedoCount(), UndoList::MostEntries);
    Dictionary state;
    plugin.writeState(state, 0);
    for (const bool isOne : {false, true}) {
        drag("volume", {0.9f});
        drag("volume", {0.8f});
        undo();
        takes("volume", {0.3f, 0.5f});
        point(Pointer::LeftDown, 5, 5);
        isOne ? plugin.readProgram(state) : static_cast<void>(plugin.readState(state));
        point(Pointer::LeftUp, 5, 5);
        EXPECT_FALSE(undo() || redo());
    }
}

// Faults: a host that records nothing of an undo, a preset that can't be left again.
TEST_F(UndoTest, TheHostHearsOfWhatIsUndone) {
    struct Host : Radio {
        Host() : Radio(nullptr) {}
        bool receive(Message& message) override {
            const auto* const hand = dynamic_cast<const ParameterEditor*>(message.sender);
            if (message.type == MessageType::Control && message.code <= ControlMessage::EditEnd &&
                message.code >= ControlMessage::EditBegin)
                heard += (message.code == ControlMessage::EditBegin ? "begin " : "end ") +
                         hand->getParameter()->getId() + " ";
            else if (message.type == MessageType::Parameter)
                heard += std::to_string(static_cast<ParameterMessage&>(message).mode) + " ";
            return false;
        }
        std::string heard;
    } host;
    drag("volume", {0.8f});
    host.tuneIn(&plugin.parameter("Volume"));
    host.tuneIn(editor.get());
    host.heard.clear();
    editor->setModule(1);
    EXPECT_TRUE(undo());
    EXPECT_EQ(host.heard, "begin Volume 2 end Volume ");
    EXPECT_EQ(volume(), 0.5f);
    drag("volume", {0.25f});
    EXPECT_EQ(plugin.parameter("Volume", 1).getNormalised(), 0.25f);
    host.disconnect();

    Dictionary two;
    const std::string one = "<p name='x'/>";
    ASSERT_TRUE(two.parseWhole(
        "<dict>" + test::Header + "<programs>" + one + one + one + "</programs></dict>", nullptr));
    ASSERT_TRUE(plugin.readState(two));
    const auto choose = [this](std::int32_t index) {
        const std::int32_t before = plugin.getCurrentIndex();
        plugin.setProgram(index);
        editor->noteProgramChange(before);
    };
    choose(2);
    choose(2);
    choose(1);
    EXPECT_TRUE(undo());
    EXPECT_EQ(plugin.getCurrentIndex(), 2);
    EXPECT_TRUE(undo());
    EXPECT_EQ(plugin.getCurrentIndex(), 0);
    EXPECT_FALSE(undo());
    EXPECT_TRUE(redo());
    EXPECT_EQ(plugin.getCurrentIndex(), 2);
}

// Faults: an edit that is never closed, after which its control's edits aren't kept; a control that
// goes with its edit.
TEST_F(UndoTest, EditsEndWhateverHappensInThem) {
    takes("volume", {0.1f, 0.2f, 0.3f, 0.4f, 0.5f});
    point(Pointer::LeftDown, 5, 5);
    point(Pointer::RightDown, 5, 5);
    point(Pointer::LeftUp, 5, 5);
    point(Pointer::RightUp, 5, 5);
    EXPECT_EQ(editor->getUndoList().getUndoCount(), 1u);
    Probe& pressed = probe("volume");
    refused = &pressed;
    drag("volume", {0.6f});
    EXPECT_EQ(editor->getUndoList().getUndoCount(), 2u);
    refused = nullptr;
    const auto former = pressed.onEvent;
    pressed.onEvent = [&](const WindowMessage&) { throw std::runtime_error("of a control"); };
    window().owner->wheel({5, 5}, 120);
    pressed.onEvent = former;
    wheel("volume", 0.7f);
    EXPECT_EQ(editor->getUndoList().getUndoCount(), 3u);
    point(Pointer::LeftDown, 5, 5);
    SetUp();
    drag("volume", {0.8f});
    EXPECT_TRUE(undo());
    EXPECT_EQ(volume(), 0.7f);
    const UndoList& list = editor->getUndoList();
    EXPECT_FALSE(list.isEditing(&probe("volume")));
    editor->beginEdit(probe("volume"), {});
    EXPECT_TRUE(list.isEditing(&probe("volume")));
    editor->endEdit(probe("volume"), {});
    editor->endEdit(probe("volume"), {});
    EXPECT_FALSE(list.isEditing(&probe("volume")));
}

}  // namespace
}  // namespace tarn
