// An instance's interface in memory, with a control that writes down what it hears.
#pragma once

#include "drawing/FontLibrary.h"
#include "drawing/PngFile.h"
#include "editor/Control.h"
#include "editor/ControlManager.h"
#include "editor/Editor.h"
#include "editor/Window.h"
#include "foundation/File.h"
#include "foundation/Message.h"
#include "plugin/Sampler.h"
#include "support/KeptPicture.h"
#include "support/ScratchFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace tarn::test {

/// Of the class "Probe": takes what its test wants it to take.
struct Probe : Control {
    using Control::Control;

    bool handle(Message& message) override {
        if (message.type == MessageType::Window) {
            const auto& event = static_cast<const WindowMessage&>(message);
            heard += std::to_string(message.code - 3000) + "@" + std::to_string(event.position.x) +
                     "," + std::to_string(event.position.y) + " ";
            if (onEvent)
                onEvent(event);
            if (message.code == WindowMessage::ControlEnter ||
                message.code == WindowMessage::DropOver)
                return Control::handle(message);
            return takes;
        }
        if (message.type == MessageType::Parameter)
            heard += static_cast<const ParameterMessage&>(message).parameterName.str() + " ";
        return Control::handle(message);
    }
    void importDictionary(const Dictionary& dictionary) override {
        dictionary.getBool("keyboard", hasKeyboard);
        dictionary.getBool("button", hasButton);
        Control::importDictionary(dictionary);
    }
    bool takesKeyboard() const override { return hasKeyboard; }
    bool isButton() const override { return hasButton; }
    bool activate() override { return hasButton ? ++activated > 0 : Control::activate(); }
    void drawForeground(Canvas& canvas, const Rect&) override {
        ++drawn;
        if (onDraw)
            onDraw(canvas);
        drawText(canvas, getLocalRect(), getLabel());
    }
    void takeDrops(std::uint64_t kinds) {
        setFlags(DropTarget);
        dropMask_ = kinds;
    }
    std::string take() { return std::exchange(heard, {}); }

    bool takes = true;
    bool hasKeyboard = false, hasButton = false;
    int drawn = 0, activated = 0;
    std::string heard;
    std::function<void(const WindowMessage&)> onEvent;
    std::function<void(Canvas&)> onDraw;
};

struct ProbeManager : ControlManager {
    using ControlManager::ControlManager;
    std::unique_ptr<Control> createControl(const Dictionary& dictionary,
                                           const std::string& className, const Parameter* parameter,
                                           Editor& editor) const override {
        const auto found = classes.find(className);
        return found != classes.end()
                   ? found->second(editor)
                   : ControlManager::createControl(dictionary, className, parameter, editor);
    }
    std::map<std::string, std::function<std::unique_ptr<Control>(Editor&)>> classes;
};

struct TestedEditor : Editor {
    explicit TestedEditor(Plugin& plugin) : Editor(plugin, plugin.moduleAt(0), nullptr) {
        auto manager = std::make_unique<ProbeManager>(*this);
        classes = &manager->classes;
        manager_ = std::move(manager);
        addClass<Probe>("Probe");
        tuneIn(&listened);
    }
    std::shared_ptr<Bitmap> getBitmap(const std::string& id) const override {
        const auto found = bitmaps.find(id);
        return found != bitmaps.end() ? found->second : nullptr;
    }
    template <typename T>
    void addClass(const std::string& name) {
        (*classes)[name] = [](Editor& editor) { return std::make_unique<T>(editor); };
    }
    std::map<std::string, std::function<std::unique_ptr<Control>(Editor&)>>* classes = nullptr;
    std::map<std::string, std::shared_ptr<Bitmap>> bitmaps;
    Radio listened{nullptr};
};

/// A user who chooses the entry of a text, if it is offered and can be chosen, and writes down what
/// there was: "*" behind what is checked, "-" behind what is disabled, sub-menus in brackets.
struct MenuUser {
    std::optional<std::int32_t> choose(const std::vector<platform::MenuEntry>& entries) {
        std::optional<std::int32_t> chosen;
        for (const platform::MenuEntry& entry : entries) {
            offered += entry.text + (entry.isChecked ? "*" : "") + (entry.isDisabled ? "-" : "");
            if (entry.text == wanted && !entry.isDisabled)
                chosen = entry.id;
            offered += entry.entries.empty() ? "," : "[";
            if (const auto below = choose(entry.entries))
                chosen = below;
            offered += entry.entries.empty() ? "" : "],";
        }
        return chosen;
    }
    std::string wanted;
    std::string offered;
};

class EditorTest : public testing::Test {
protected:
    using Pointer = platform::PointerEvent;

    explicit EditorTest(const std::string& settings = SettingsText,
                        const std::string& factoryBank = {})
        : product(settings, factoryBank) {
        FontLibrary::get().setFolders({Folder(INTER_FONTS)});
        desktop.menu = [this](const std::vector<platform::MenuEntry>& entries, platform::Spot) {
            user.offered.clear();
            const auto chosen = user.choose(entries);
            if (meanwhile)
                std::exchange(meanwhile, nullptr)();
            return chosen;
        };
    }

    void TearDown() override {
        EXPECT_TRUE(!editor || keepsItsPicture(*editor)) << "a control changed and isn't dirty";
    }

    /// Of the list "controls" in a background of 100 by 80, or what its keys say.
    static std::string skin(
        const std::string& controls,
        const std::string& background =
            "class='Probe' width='100' height='80' label='' focusable='false'") {
        return "<dict>" + Header + "<controls><c id='special::background' " + background +
               "><controls>" + controls + "</controls></c></controls></dict>";
    }
    bool load(const std::string& text) {
        files.write("Controls.xml", text);
        return editor->loadControls(File(files.path("Controls.xml"))).isOk();
    }
    /// A file of tests/editor/skins.
    bool loadSkin(const std::string& name) {
        return editor->loadControls(File(SKINS "/" + name + ".xml")).isOk();
    }
    void open(const std::string& controls, float scale = 1.0f) {
        ASSERT_TRUE(load(skin(controls)));
        ASSERT_TRUE(editor->open(nullptr, {}, scale));
        editor->idle();
    }
    template <typename T = Probe>
    T& probe(const std::string& id) {
        for (Control* const control : editor->getControls())
            if (control->getControlId() == id)
                return dynamic_cast<T&>(*control);
        throw std::runtime_error("no control " + id);
    }
    /// Frames of one size, in columns and rows; each place's red, green, blue and alpha.
    Bitmap& addFrames(const std::string& id, Point frame, int columns, int rows,
                      const std::function<std::array<int, 4>(int x, int y)>& colorAt) {
        std::string rgba;
        for (int y = 0; y < frame.y * rows; ++y)
            for (int x = 0; x < frame.x * columns; ++x)
                for (const int byte : colorAt(x, y))
                    rgba += static_cast<char>(byte);
        std::istringstream stream(test::pngFile(static_cast<png_uint_32>(frame.x * columns),
                                                static_cast<png_uint_32>(frame.y * rows), rgba));
        auto bitmap = std::make_shared<Bitmap>();
        EXPECT_TRUE(bitmap->load(stream).isOk());
        bitmap->setFrames({0, 0, frame.x, frame.y}, columns, rows);
        editor->bitmaps[id] = bitmap;
        return *bitmap;
    }
    /// Red tells the frames apart, from 40 in the first to 250 in the last; green and blue the
    /// pixels of one.
    void addStrip(const std::string& id, Point frame, int columns, int rows) {
        addFrames(id, frame, columns, rows, [=](int x, int y) {
            const int number = y / frame.y * columns + x / frame.x;
            return std::array{40 + 210 * number / (columns * rows - 1), y % frame.y * 8,
                              x % frame.x * 8, 255};
        });
    }
    /// 10 by 8, a half of it transparent.
    void addBitmap(const std::string& id, const std::string& glyphs = {}) {
        addFrames(id, {5, 8}, 2, 1, [](int x, int y) {
            const int i = 10 * y + x;
            return std::array{i * 3, 120, 255 - i, x < 5 ? 255 : 0};
        }).setGlyphs(glyphs);
    }
    /// As the control is at this moment, without ticks of timers.
    static std::unique_ptr<Canvas> draw(Control& control, float scale = 1.0f) {
        const Rect area = control.getLocalRect();
        auto canvas = std::make_unique<Canvas>(area, scale);
        canvas->beginFrame(area);
        control.draw(*canvas, area);
        return canvas;
    }
    /// A key that is pressed and let go; whether the press was used.
    bool press(std::int32_t key, std::set<int> held = {}) {
        desktop.heldKeys = std::move(held);
        const bool isUsed = window().owner->key(key, 0, true);
        if (!desktop.windows().empty()) {
            EXPECT_EQ(window().owner->key(key, 0, false), isUsed);
        }
        desktop.heldKeys.clear();
        return isUsed;
    }
    /// Ticks of a timer, as they come out of the queue.
    static void tick(Control& control, const char (&timer)[5], int count = 1, float payload = 0.0f,
                     double sinceLast = 0.0) {
        TimerMessage message(nullptr, TimerMessage::Tick, fourCharacterCode(timer),
                             toPayload(payload));
        message.sinceLastTick = sinceLast;
        message.elapsed = 1e6;
        while (count-- > 0)
            control.handle(message);
    }
    platform::OffscreenDesktop::Window& window() { return *desktop.windows().back(); }
    void point(Pointer event, std::int32_t x = 0, std::int32_t y = 0) {
        desktop.point(window(), event, {x, y});
    }
    void click(std::int32_t x = 5, std::int32_t y = 5) {
        point(Pointer::LeftDown, x, y);
        point(Pointer::LeftUp, x, y);
    }

    /// What was offered where the user chose the text.
    std::string chooseAt(Pointer press, std::int32_t x, std::int32_t y, const std::string& text) {
        user = {text, {}};
        point(press, x, y);
        return user.offered;
    }

    SamplerProduct product;
    StartedPlugin plugin;
    MenuUser user;
    std::function<void()> meanwhile;  // happens once while a menu is open
    platform::OffscreenDesktop desktop;
    ScratchFolder files;
    std::unique_ptr<TestedEditor> editor = std::make_unique<TestedEditor>(plugin);
};

}  // namespace tarn::test
