#include "editor/OpenEditor.h"
#include "foundation/Error.h"
#include "foundation/Preferences.h"
#include "parameters/MidiMapper.h"
#include "parameters/ParameterText.h"
#include "parameters/Preset.h"
#include "resources/Resources.h"
#include "support/Hearer.h"

#include <gmock/gmock.h>

#include <thread>

namespace tarn {
namespace {

using test::EditorTest;
using test::Probe;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char* TwoProbes =
    "<a class='Probe' id='left' x='10' y='10' width='20' height='20'/>"
    "<b class='Probe' id='right' x='50' y='10' width='20' height='20' parameter='Volume'/>";

// Faults: a broken file that leaves half an interface, an element without a class that ends it, an
// interface without a bound.
TEST_F(EditorTest, BuildsWhatTheFileDescribesOrNothing) {
    const std::string whole = skin("<x/><n class='None'/>" + std::string(TwoProbes));
    for (std::size_t size = 0; size + 1 < whole.size(); ++size) {
        bool isLoaded = true;
        try {
            isLoaded = load(whole.substr(0, size));
        } catch (const Error&) {
            isLoaded = false;
        }
        ASSERT_EQ(isLoaded, editor->getRootControl() != nullptr) << size;
    }
    ASSERT_TRUE(load(whole));
    EXPECT_EQ(editor->getControls().size(), 3u);
    EXPECT_EQ(editor->getClientRect(), (Rect{0, 0, 100, 80}));
    try {
        load(skin("<a class='Knob of none' parameter='Volume'/>"));
        ADD_FAILURE();
    } catch (const Error& error) {
        EXPECT_THAT(error.what(), HasSubstr("Unknown control type Knob of none<Volume>"));
        EXPECT_TRUE(editor->getControls().empty());
    }
    std::string many;
    for (int i = 0; i < 10'100; ++i)
        many += "<a class='Probe'/>";
    EXPECT_THROW(load(skin(many)), Error);
    EXPECT_TRUE(load("<dict>" + test::Header + "<controls/></dict>"));
    desktop.isFull = true;
    EXPECT_FALSE(editor->open(nullptr, {0, 0, 10, 10}));
    EXPECT_FALSE(editor->isOpen());
}

// Faults: an area that is drawn twice or never, drawing of the whole for a small change, work while
// the interface is closed.
TEST_F(EditorTest, DrawsWhatIsDirtyOnce) {
    editor->redraw({0, 0, 5, 5});
    open(TwoProbes, 2.0f);
    EXPECT_EQ(window().showCount, 1);
    EXPECT_EQ(window().shownPixels, 200 * 160);
    editor->idle();
    EXPECT_EQ(window().showCount, 1);
    for (const float value : {0.25f, 0.5f})
        plugin.parameter("Volume").setNormalised(value, FromHost);
    editor->idle();
    EXPECT_EQ(window().shownPixels, 200 * 160 + 40 * 40);
    EXPECT_EQ(probe("left").drawn, 1);
    EXPECT_EQ(probe("right").drawn, 2);

    // Two that lie in a third, and one inside.
    const std::int64_t before = window().shownPixels;
    for (const Rect& rect :
         {Rect{0, 40, 4, 44}, {6, 40, 10, 44}, {0, 40, 10, 50}, {1, 41, 2, 42}, {}})
        editor->addDirtyRect(rect);
    editor->idle();
    EXPECT_EQ(window().shownPixels, before + 20 * 20);
    window().owner->paint({3, 3, 5, 5});
    EXPECT_EQ(window().shownPixels, before + 20 * 20 + 4 * 4);
    struct Elsewhere : CanvasTarget {
        bool canShow() const override { return true; }
        void show(const PixelsData&, const Rect& part) override { shown = part; }
        Rect shown;
    } elsewhere;
    editor->paint(&elsewhere, {1, 2, 3, 4});
    EXPECT_EQ(elsewhere.shown, (Rect{2, 4, 6, 8}));
    editor->close();
    editor->close();
    plugin.parameter("Volume").setNormalised(0.75f, FromHost);
    editor->idle();
    EXPECT_TRUE(desktop.windows().empty());
}

// Faults: a part that stays as it was, a picture that stays half transparent or cut.
TEST_F(EditorTest, WhatFailedToBeDrawnIsDrawnAtTheNextTick) {
    open(TwoProbes);
    const std::vector<std::uint8_t> picture = window().shown;
    window().shown.assign(picture.size(), 0);
    probe("left").onDraw = [](Canvas& canvas) {
        canvas.pushChild();
        canvas.setGlobalAlpha(0.5f);
        throw std::bad_alloc();
    };
    editor->redrawAll();
    for (int tick = 0; tick < 2; ++tick)
        editor->idle();
    probe("left").onDraw = nullptr;
    editor->idle();
    EXPECT_EQ(window().shown, picture);
}

// Fault: a gap beside a control whose edges lie between two of the screen's pixels.
TEST_F(EditorTest, AnImageHasNoGapsWhereAPartIsDrawn) {
    addBitmap("ground");
    ASSERT_TRUE(load(skin("<a class='Probe' id='odd' x='3' y='1' width='3' height='3' label=''/>",
                          "class='Probe' width='10' height='8' label='' background='ground'")));
    ASSERT_TRUE(editor->open(nullptr, {}, 1.5f));
    editor->idle();
    probe("odd").setDirty(true);  // compared at the end
}

// Fault: a background that isn't drawn, or hears nothing, where it lies.
TEST_F(EditorTest, ABackgroundMayLieAnywhere) {
    ASSERT_TRUE(load(skin("<a class='Probe' id='left' x='2' y='3' width='9' height='9'/>",
                          "class='Probe' x='10' y='5' width='40' height='30'")));
    ASSERT_TRUE(editor->open(nullptr, {0, 0, 50, 35}));
    probe("left").onDraw = [](Canvas& canvas) {
        canvas.setFillColor(Color(0, 0, 1, 1));
        canvas.fillRect({0, 0, 9, 9});
    };
    editor->idle();
    const auto blueAt = [&](int x, int y) {
        return window().shown[static_cast<std::size_t>(4 * ((34 - y) * 50 + x))];
    };
    EXPECT_EQ((std::array{blueAt(11, 8), blueAt(12, 7), blueAt(12, 8), blueAt(20, 16)}),
              (std::array<std::uint8_t, 4>{0, 0, 255, 255}));
    point(Pointer::Move, 13, 9);
    EXPECT_EQ(probe("left").take(), "12@1,1 6@1,1 ");
    window().owner->drop({{"file"}, std::nullopt}, {13, 9});
    EXPECT_THAT(probe("left").take(), HasSubstr("@1,1"));
}

// Faults: a hidden control that still marks, one that comes back without being drawn, a switch that
// shows the wrong step.
TEST_F(EditorTest, ControlsAreShownByParameters) {
    open(
        "<a class='Probe' id='hidden' width='9' height='9'><show parameter='Volume' value='1'/></a>"
        "<b class='Probe' id='off' width='9' height='9'><visibility parameter='Volume' "
        "normalized='1' action='disable'/></b>");
    Parameter& volume = plugin.parameter("Volume");
    for (const float value : {0.0f, 1.0f, 0.99f, 1.0f}) {
        volume.setNormalised(value, FromHost);
        EXPECT_EQ(probe("hidden").isVisible(), value == 1.0f);
        EXPECT_EQ(probe("off").testFlags(Control::Enabled), value == 1.0f);
        EXPECT_EQ(probe("off").getOpacity(), value == 1.0f ? 1.0f : 0.4f);
        const int drawn = probe("hidden").drawn;
        probe("hidden").setDirty(true);
        editor->idle();
        EXPECT_EQ(probe("hidden").drawn, drawn + (value == 1.0f ? 1 : 0));
    }
}

// Faults: a control that is called on another thread, a message that outlives its control, a lost
// change that is never seen.
TEST_F(EditorTest, OtherThreadsAreHeardAtTheNextTick) {
    open(std::string(TwoProbes) +
         "<c class='Probe' id='shown'><show parameter='Bend' value='1'/></c>");
    probe("right").take();
    const auto change = [this](int count) {
        std::thread([this, count] {
            for (int i = 1; i <= count; ++i)
                plugin.parameter("Volume").setNormalised(static_cast<float>(i) / 4000, FromMidi);
        }).join();
    };
    change(2);
    EXPECT_EQ(probe("right").take(), "");
    editor->idle();
    EXPECT_EQ(probe("right").take(), "Volume Volume ");
    std::thread([this] { plugin.parameter("Bend").setNormalised(1, FromMidi); }).join();
    change(3000);
    editor->idle();
    EXPECT_TRUE(probe("shown").isVisible());
    change(5);
    EXPECT_TRUE(load(skin("")));
    editor->idle();
}

// Fault: a preset that the user has changed, and that isn't marked so.
TEST_F(EditorTest, EditsMarkTheCurrentProgram) {
    Preset& preset = *plugin.getCurrent();
    preset.clearModified();
    plugin.parameter("Bend").setNormalised(0.3f, FromUser);
    for (const char* id : {"Cutoff", "Volume"})
        plugin.parameter(id).setNormalised(0.3f, FromHost);
    EXPECT_FALSE(preset.isModified());
    for (const char* id : {"Cutoff", "Volume"}) {
        preset.clearModified();
        plugin.parameter(id).setNormalised(0.4f, FromUser);
        EXPECT_TRUE(preset.isModified());
    }
}

// Faults: a press that gets lost or stays held, a drag in the wrong place, an edit without an end,
// a click that goes through.
TEST_F(EditorTest, ThePointerReachesTheControlUnderIt) {
    std::vector<int> codes;
    const Hearer listener(*editor, [&](Message& message) { codes.push_back(message.code); });
    open(std::string(TwoProbes) +
         "<c class='Probe' id='over' x='10' y='10' width='20' height='20' "
         "clickthrough='true'/>");
    Probe &left = probe("left"), &right = probe("right");
    right.take();
    point(Pointer::Move, 12, 13);
    EXPECT_EQ(left.take(), "12@2,3 6@2,3 ");
    point(Pointer::LeftDown, 12, 13);
    EXPECT_EQ(left.take(), "6@2,3 0@2,3 ");
    point(Pointer::Move, 60, 15);
    EXPECT_EQ(left.take() + right.take(), "9@50,5 14@50,5 ");
    point(Pointer::Move, 12, 12);
    EXPECT_EQ(left.take(), "9@2,2 12@2,2 ");
    point(Pointer::LeftUp, 12, 12);
    EXPECT_EQ(left.take(), "2@2,2 ");
    EXPECT_EQ(editor->getCaptureControl(), nullptr);
    window().owner->wheel({12, 12}, 120);
    EXPECT_EQ(left.take(), "11@2,2 ");
    EXPECT_THAT(codes, ElementsAre(4, 14, 6, 7, 14, 7));
    codes.clear();

    left.takes = false;
    point(Pointer::LeftDouble, 12, 12);
    EXPECT_EQ(editor->getCaptureControl(), nullptr);
    left.take();
    point(Pointer::Left);
    EXPECT_EQ(left.take(), "14@-10,-10 ");
    EXPECT_EQ(editor->getHoverControl(), nullptr);
    EXPECT_THAT(codes, ElementsAre(14, 7, 5));

    // A control that goes in the middle of its own drag, and an interface that is closed in one.
    left.takes = true;
    point(Pointer::LeftDown, 12, 12);
    left.onEvent = [this](const WindowMessage&) { editor->close(); };
    point(Pointer::Move, 14, 14);
    EXPECT_FALSE(editor->isOpen());
    EXPECT_EQ(editor->getCaptureControl(), nullptr);
}

// Faults: a choice that goes to the wrong control, a menu that outlives its interface, a press that
// stays held behind it.
TEST_F(EditorTest, ARightClickOffersWhatTheControlKnows) {
    open(TwoProbes);
    probe("right").takes = false;
    auto& mapper = plugin.getMidiMapper();
    Parameter* const volume = &plugin.parameter("Volume");
    const auto choose = [this](const char* text) {
        return chooseAt(Pointer::RightDown, 55, 12, text);
    };
    const std::string offered = choose("Learn...");
    EXPECT_EQ(mapper.getLearning(), volume);
    EXPECT_EQ(editor->getLearnHint(), "MIDI learn : Volume");
    for (const char* const text : {"Learn...", "Forget-", "MIDI Range", "Show tooltips*"})
        EXPECT_THAT(offered, HasSubstr(text));
    choose("Pan");
    EXPECT_EQ(mapper.getController(volume), 10);
    choose("Invert");
    EXPECT_TRUE(mapper.isInverted(10));
    EXPECT_THAT(choose("Forget (Pan)"), HasSubstr("Pan*"));
    EXPECT_EQ(mapper.getController(volume), -1);
    EXPECT_EQ(editor->getCaptureControl(), nullptr);

    const std::function<void()> ends[] = {
        [this] { EXPECT_TRUE(load(skin(TwoProbes))); }, [this] { editor->close(); },
        [this] { desktop.destroyParent(window()); }, [this] { editor.reset(); }};
    for (const auto& end : ends) {
        open(TwoProbes);
        probe("right").takes = false;
        meanwhile = end;
        choose("Learn...");
    }
}

// Faults: a text that the host doesn't hear of, a box that outlives its control or its interface.
TEST_F(EditorTest, ADoubleClickEditsTheValueAsText) {
    open(
        "<a class='Container' x='0' y='0' width='100' height='80'/>"
        "<b class='Container' x='10' y='10' width='20' height='20' parameter='Title'/>");
    auto& title = dynamic_cast<ParameterText&>(plugin.parameter("Title"));
    title.setText("old", FromLoad);
    desktop.text = [&](const platform::TextRequest& request) {
        EXPECT_EQ(request.text, title.getText());
        EXPECT_EQ(request.area.left, -60);
        if (meanwhile)
            meanwhile();
        return std::optional<std::string>("new");
    };
    point(Pointer::LeftDouble, 20, 20);
    EXPECT_EQ(title.getText(), "new");
    title.setText("old", FromLoad);
    const std::function<void()> interruptions[] = {[this] { EXPECT_TRUE(load(skin(""))); },
                                                   [this] { editor->close(); },
                                                   [this] { editor.reset(); }};
    for (const auto& interruption : interruptions) {
        open("<b class='Container' x='10' y='10' width='20' height='20' parameter='Title'/>");
        meanwhile = interruption;
        point(Pointer::LeftDouble, 20, 20);
        EXPECT_EQ(title.getText(), "old");
    }
}

// Faults: an interface of the wrong skin, a skin that changes under the user's hand, a message for
// each try, an instance that dies of its interface.
TEST(EditorStart, TakesTheSkinsFileAndChangesItAtTheEnd) {
    test::SamplerProduct product;
    const auto background = [](int width) {
        return "<dict>" + test::Header +
               "<controls><c class='Container' id='special::background' width='" +
               std::to_string(width) + "' height='9'/></controls></dict>";
    };
    const auto write = [&product](const char* name, const std::string& text) {
        product.files.write(std::string("Sampler Resources/") + name, text);
    };
    write("Controls.xml", background(100));
    write("Other.xml", background(70));
    write("Skins/Light/Controls.xml", background(50));
    Resources resources;
    test::StartedPlugin plugin;
    platform::OffscreenDesktop desktop;
    const auto makeEditor = [&] {
        auto editor = std::make_unique<Editor>(plugin, plugin.moduleAt(0), &resources);
        editor->start();
        return editor;
    };
    auto editor = makeEditor();
    ASSERT_TRUE(editor->open(nullptr, {}));
    desktop.menu = [](const std::vector<platform::MenuEntry>& entries, platform::Spot) {
        return std::optional(entries.back().entries.back().id);
    };
    desktop.point(*desktop.windows().back(), platform::PointerEvent::RightDown, {3, 3});
    EXPECT_EQ(editor->getClientRect().right, 100);
    const auto another = makeEditor();
    editor->close();
    EXPECT_EQ(editor->getClientRect().right, 50);
    EXPECT_EQ(another->getClientRect().right, 100);
    another->takeChoices();
    EXPECT_EQ(another->getClientRect().right, 50) << "the skin is chosen for all instances";

    Preferences& user = *Preferences::user();
    user.setBool("ShowCPUMeters", true);
    EXPECT_TRUE(editor->open(nullptr, {}));
    EXPECT_EQ(editor->getClientRect().right, 50 + 160) << "with the debug display";
    user.setBool("ShowCPUMeters", false);

    user.setString("ControlsXmlFile", "Other.xml");
    user.setBool("ShowTooltips", false);
    for (const auto& [rate, taken] : {std::pair(0, 25), {40, 40}, {100'000, 1'000}}) {
        user.setInteger("EditorRedrawRate", rate);
        editor = makeEditor();
        EXPECT_EQ(Editor::getRedrawRate(), taken);
    }
    EXPECT_EQ(editor->getClientRect().right, 70);
    EXPECT_FALSE(editor->getShowTooltips());
    ASSERT_EQ(product.product->messages.size(), 1u);
    EXPECT_TRUE(product.product->messages[0].starts_with("Please close and re-open"));
    product.product->messages.clear();
    for (const std::string& broken :
         {std::string("<dict>"), background(60).replace(60, 1, "?"),
          "<dict>" + test::Header + "<controls><c class='X'/></controls></dict>"}) {
        write("Other.xml", broken);
        editor = makeEditor();
        EXPECT_EQ(editor->getRootControl(), nullptr);
        EXPECT_EQ(product.product->messages.size(), 1u) << "once a process";
        editor->idle();
        EXPECT_TRUE(editor->open(nullptr, {0, 0, 20, 20}));
        editor->idle();
        desktop.point(*desktop.windows().back(), platform::PointerEvent::LeftDown, {3, 3});
    }
    user.setBool("ShowEditor", false);
    editor = makeEditor();
    EXPECT_EQ(product.product->messages.size(), 1u);
}

}  // namespace
}  // namespace tarn
