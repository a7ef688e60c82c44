// A user and a host who do anything, in any order, to two instances with an interface of all
// classes; the host also from inside menus and boxes. Nothing is held that nobody presses, nothing
// is pointed at that is gone, there are as many windows as open interfaces, and audio passes.
#include "editor/Window.h"

#include "Effect.h"
#include "Interface.h"
#include "Require.h"
#include "audio/Module.h"
#include "editor/ControlCPUMeter.h"
#include "support/KeptPicture.h"

#include <fuzzer/FuzzedDataProvider.h>

using namespace tarn;
using fuzz::require;

namespace {

using platform::OffscreenDesktop;

std::string controlsOf(char shade) {
    std::string text = fuzz::Interface::get().controls;
    std::replace(text.begin(), text.end(), '%', shade);
    return text;
}

// Closed by its host, or at the end.
class Instance : public fuzz::Effect {
public:
    Editor& editor() const {
        auto& effect = *static_cast<AudioEffect*>(record->object);
        return dynamic_cast<Editor&>(*static_cast<VSTPlugin&>(effect).HostInterface::getEditor());
    }
    OffscreenDesktop::Window* window() const {
        const Window* const shown = editor().getWindow();
        return shown != nullptr ? static_cast<OffscreenDesktop::Window*>(shown->getHandle())
                                : nullptr;
    }
};

bool isIn(const Control& tree, const Control* control) {
    return &tree == control || std::ranges::any_of(tree.getChildren(), [&](const Control* child) {
        return isIn(*child, control);
    });
}

void listIds(const std::vector<platform::MenuEntry>& entries, std::vector<std::int32_t>& ids) {
    for (const platform::MenuEntry& entry : entries) {
        ids.push_back(entry.id);
        listIds(entry.entries, ids);
    }
}

// Some bytes of the input are a choice.
struct User : FuzzedDataProvider {
    using FuzzedDataProvider::FuzzedDataProvider;
    int upTo(int most) { return ConsumeIntegralInRange(0, most); }
    std::uint8_t byte() { return ConsumeIntegral<std::uint8_t>(); }
    std::int32_t number() { return ConsumeIntegral<std::int32_t>(); }
    std::string text() { return ConsumeRandomLengthString(); }
};

class Play {
public:
    explicit Play(User& user) : user_(user) {
        desktop_.menu = [this](const auto& entries, auto) { return choose(entries); };
        desktop_.text = [this](const auto&) {
            interrupt();
            return user_.ConsumeBool() ? std::optional(user_.text()) : std::nullopt;
        };
        const auto answer = [this](const auto&) {
            if (!isInHostCall_)
                interrupt();
            return platform::MessageAnswer::Ok;
        };
        platform::setDialogAnswers({answer, {}});
        fuzz::onHostCall = [this] {
            if (!isInHostCall_ && user_.upTo(3) == 0)
                interrupt();
        };
        desktop_.isFull = false;
        desktop_.scale = 1.0f;
        desktop_.heldKeys.clear();
    }
    Play(const Play&) = delete;
    Play& operator=(const Play&) = delete;
    ~Play() {
        fuzz::onHostCall = nullptr;
        instances_ = {};
        require(desktop_.windows().empty());
        platform::setDialogAnswers({});
        desktop_.menu = nullptr;
        desktop_.text = nullptr;
    }

    void step() {
        auto& instance = instances_[user_.upTo(7) == 7 ? 1 : 0];
        if (instance && user_.upTo(3) != 0 && instance->window() != nullptr) {
            happen(*instance, *instance->window());
            return;
        }
        // No host does anything else from within its own call.
        const bool wasInHostCall = std::exchange(isInHostCall_, true);
        if (instance) {
            act(instance);
        } else {  // with an interface, which without controls it wouldn't have
            fuzz::Interface::get().writeControls(controlsOf('0'));
            instance = std::make_unique<Instance>();
        }
        isInHostCall_ = wasInHostCall;
    }

    void check() {
        std::size_t open = 0;
        for (const auto& instance : instances_) {
            if (!instance)
                continue;
            const Editor& editor = instance->editor();
            open += editor.isOpen() ? 1 : 0;
            const bool isHeld = editor.isOpen() && instance->window()->held != 0;
            require(isHeld || editor.getCaptureControl() == nullptr);
            require(editor.isOpen() || editor.getHoverControl() == nullptr);
            const Control* const root = editor.getRootControl();
            for (const Control* const known :
                 {editor.getHoverControl(), editor.getFocusControl(), editor.getCaptureControl()})
                require(known == nullptr || (root != nullptr && isIn(*root, known)));
            const Control* const typed = editor.getKeyboardControl();
            const auto& listed = editor.getControls();
            require(typed == nullptr || (typed->isVisible() && editor.isOpen() &&
                                         std::ranges::find(listed, typed) != listed.end()));
            require(instance->passesAudio());
        }
        require(open == desktop_.windows().size());
    }

    // The processor's meters aside: drawing moves them.
    void checkPictures() const {
        const auto isMeter = [](const Control* control) {
            return dynamic_cast<const ControlCPUMeter*>(control) != nullptr;
        };
        for (const auto& instance : instances_)
            if (instance)
                require(std::ranges::any_of(instance->editor().getControls(), isMeter) ||
                        test::keepsItsPicture(instance->editor()));
    }

private:
    std::optional<std::int32_t> choose(const std::vector<platform::MenuEntry>& entries) {
        std::vector<std::int32_t> ids{0};
        listIds(entries, ids);
        interrupt();
        const auto index = user_.ConsumeIntegralInRange<std::size_t>(0, ids.size());
        return index < ids.size() ? std::optional(ids[index]) : std::nullopt;
    }

    // What happens while the user is asked something.
    void interrupt() {
        constexpr int Deepest = 3;
        if (depth_ >= Deepest)
            return;
        ++depth_;
        for (int steps = user_.upTo(3); steps > 0; --steps)
            step();
        --depth_;
    }

    platform::Spot spot() {
        if (user_.upTo(15) == 0)
            return {user_.number(), user_.number()};
        return {user_.ConsumeIntegralInRange(-9, 260), user_.ConsumeIntegralInRange(-9, 200)};
    }

    platform::DroppedData dropped() {
        platform::DroppedData data;
        if (user_.ConsumeBool())
            data.text =
                user_.ConsumeBool() ? "<samples><sample file='a.wav'/></samples>" : user_.text();
        for (int files = user_.upTo(2); files > 0; --files)
            data.files.push_back(user_.text());
        return data;
    }

    void oneOf(std::initializer_list<std::function<void()>> acts) {
        acts.begin()[user_.upTo(static_cast<int>(acts.size()) - 1)]();
    }

    // What the host does.
    void act(std::unique_ptr<Instance>& instance) {
        const test::HostedEffect& effect = *instance;
        const auto open = [&] {
            desktop_.isFull = user_.upTo(7) == 0;
            desktop_.scale = user_.PickValueInArray({1.0f, 1.5f, 2.0f, 1.0e9f});
            effect.call(effEditOpen, 0, 0, this);
        };
        oneOf({
            open,
            open,
            [&] { effect.call(effEditClose); },
            [&] { const std::unique_ptr<Instance> closed = std::move(instance); },
            [&] {
                if (OffscreenDesktop::Window* const window = instance->window())
                    desktop_.destroyParent(*window);
            },
            [&] {
                ERect* rect = nullptr;
                require(effect.call(effEditGetRect, 0, 0, &rect) == 1 && rect->right >= 0 &&
                        rect->bottom >= 0);
            },
            [&] {
                effect.call(effEditIdle);
                effect.call(effSetEditKnobMode, 0, user_.ConsumeIntegral<std::int8_t>());
            },
            [&] {
                effect.call(user_.ConsumeBool() ? effEditKeyDown : effEditKeyUp, user_.byte(),
                            user_.byte(), nullptr, static_cast<float>(user_.upTo(15)));
            },
            [&] { effect.set(user_.upTo(1), user_.ConsumeBool() ? 1.0f : 0.0f); },
            [&] { effect.restore(user_.ConsumeBool() ? effect.chunk() : user_.text()); },
            [&] { save(instance->window()); },
            [&] { changeInside(instance->editor()); },
        });
    }

    // And the time that an interface takes to see it.
    void save(OffscreenDesktop::Window* window) {
        const std::string background = "id='special::background'";
        const int kind = user_.upTo(9);
        std::string text = controlsOf(static_cast<char>('0' + kind));
        if (kind < 2)
            text.resize(text.size() / 2);
        else if (kind == 2)
            text.erase(text.find(background), background.size());
        fuzz::Interface::get().writeControls(text);
        if (window == nullptr)
            return;
        const auto kept = window->shared_from_this();
        for (int ticks = 5; ticks > 0 && kept->owner != nullptr; --ticks)
            kept->owner->tick();
    }

    // What comes from elsewhere: the parameters that the product itself sets, timers, other modules
    // and sizes.
    void changeInside(Editor& editor) {
        const auto& controls = editor.getControls();
        const Settings& settings = editor.instance().moduleAt(0)->settings();
        const float level = user_.ConsumeProbability<float>();
        const auto set = [&](const char* id, float value) {
            settings.find(id, 0)->setNormalised(value, FromUser);
        };
        const auto tick = [&] {
            if (controls.empty())
                return;
            Control* const control = controls[user_.byte() % controls.size()];
            const auto timer =
                user_.PickValueInArray({fourCharacterCode("CTst"), fourCharacterCode("CASf"),
                                        fourCharacterCode("CHds"), fourCharacterCode("CHdh")});
            TimerMessage message(nullptr, TimerMessage::Tick, timer, toPayload(level));
            editor.enqueue(message, control);
        };
        const auto resize = [&] { editor.setSize(user_.PickValueInArray({0, 50, 100, 400})); };
        const Rect corner{0, 0, 20, 20};
        oneOf({
            [&] { set("InputPeak", level); },
            [&] { set("CurrentModule", level); },
            [&] { settings.find("BrimtideID", 0)->setText(level > 0.5f ? "Drums" : "", FromUser); },
            [&] { set("MuteOutput", level > 0.5f); },
            resize,
            [&] { editor.redraw(corner); },
            tick,
        });
    }

    // What the user does, or the system; the last three twice as often.
    void happen(const Instance& instance, OffscreenDesktop::Window& window) {
        const auto kept = window.shared_from_this();
        platform::WindowOwner& owner = *window.owner;
        const auto tick = [&] { owner.tick(); };
        const auto press = [&] { click(window, spot()); };
        const auto useOne = [&] { use(window, controlOf(instance.editor())); };
        const auto pointAnyhow = [&] {
            const auto event = static_cast<platform::PointerEvent>(user_.upTo(7));
            point(window, event, spot());
        };
        oneOf({
            [&] { owner.wheel(spot(), user_.number()); },
            [&] { type(window); },
            [&] { owner.focusGained(); },
            [&] {
                const platform::Spot from = spot(), to = spot();
                owner.paint({from.x, from.y, to.x, to.y});
            },
            tick,
            tick,
            [&] { owner.dragEnter(dropped(), spot()); },
            [&] { owner.dragOver(spot()); },
            [&] { owner.dragEnd(); },
            [&] { owner.drop(dropped(), spot()); },
            [&] {
                owner.measureEntry(user_.ConsumeIntegral<std::int8_t>());
                owner.drawEntry(user_.ConsumeIntegral<std::int8_t>(), user_.ConsumeBool());
            },
            press,
            useOne,
            pointAnyhow,
            press,
            useOne,
            pointAnyhow,
        });
    }

    // The middle of any control.
    platform::Spot controlOf(const Editor& editor) {
        const auto& controls = editor.getControls();
        if (controls.empty())
            return {};
        const Rect rect = controls[user_.byte() % controls.size()]->getAbsoluteRect();
        const auto place = [scale = editor.getScale()](std::int32_t from, std::int32_t to) {
            return static_cast<std::int32_t>(scale * static_cast<float>(from + to) / 2);
        };
        return {place(rect.left, rect.right), place(rect.top, rect.bottom)};
    }

    void point(OffscreenDesktop::Window& window, platform::PointerEvent event, platform::Spot to) {
        if (window.owner != nullptr)
            desktop_.point(window, event, to);
    }

    // A press, perhaps a double one or a drag, and keys at the end.
    void use(OffscreenDesktop::Window& window, platform::Spot place) {
        using enum platform::PointerEvent;
        const bool isDouble = user_.ConsumeBool();
        point(window, LeftDown, place);
        if (user_.ConsumeBool())
            point(window, Move, {place.x, place.y - user_.ConsumeIntegralInRange(-20, 20)});
        point(window, LeftUp, place);
        if (isDouble)
            for (const auto event : {LeftDouble, LeftUp})
                point(window, event, place);
        const int keys = user_.upTo(3);
        if (keys == 0)
            for (const int held : {ControlBit, ControlBit | ShiftBit})
                press(window, 'Z', held);
        if (keys == 1)
            for (const auto key : {WindowMessage::TabKey, WindowMessage::ReturnKey})
                press(window, key, 0);
    }

    // As bits of the keys held: 1 shift, 2 control, 4 alt.
    static constexpr int ShiftBit = 1, ControlBit = 2;

    void press(const OffscreenDesktop::Window& window, std::int32_t key, int held) {
        desktop_.heldKeys.clear();
        for (const int modifier : {0, 1, 2})
            if ((held & 1 << modifier) != 0)
                desktop_.heldKeys.insert(0x10 + modifier);
        if (window.owner != nullptr)
            window.owner->key(key, user_.byte(), true);
    }

    // Half of the keys are those that the interface itself does something about.
    void type(const OffscreenDesktop::Window& window) {
        const bool isKnown = user_.ConsumeBool();
        const std::int32_t key =
            isKnown ? user_.PickValueInArray<std::int32_t>(
                          {WindowMessage::TabKey, WindowMessage::TabKey, WindowMessage::ReturnKey,
                           WindowMessage::EscapeKey, WindowMessage::SpaceKey, WindowMessage::UpKey,
                           WindowMessage::PageDownKey, 'Z', 'Y'})
                    : user_.byte();
        press(window, key, user_.upTo(7));
        if (user_.ConsumeBool() && window.owner != nullptr)
            window.owner->key(key, 0, false);
    }

    void click(OffscreenDesktop::Window& window, platform::Spot place) {
        const bool isRight = user_.ConsumeBool();
        using enum platform::PointerEvent;
        for (const auto event : {isRight ? RightDown : LeftDown, isRight ? RightUp : LeftUp})
            point(window, event, place);
    }

    User& user_;
    OffscreenDesktop& desktop_ = fuzz::Interface::get().desktop;
    std::array<std::unique_ptr<Instance>, 2> instances_;
    int depth_ = 0;
    bool isInHostCall_ = false;
};

// What the user has chosen before, a bit or two a choice.
void choose(std::uint8_t choices) {
    fuzz::Interface::get().writeControls(controlsOf('0'));
    Resources& resources = *Mission::get().getResources();
    if (resources.getCurrentSkin() != "default")
        resources.setCurrentSkin("default");
    Preferences& user = *Preferences::user();
    const std::pair<const char*, std::int32_t> values[] = {
        {"EditorScale", 0},  {"KnobMode", choices >> 3 & 3},      {"EditorRedrawRate", 25},
        {"ShowTooltips", 1}, {"ShowCPUMeters", choices >> 1 & 1}, {"ReloadSkin", choices & 1}};
    for (const auto& [name, value] : values)  // a change takes a write to the disk
        if (std::int32_t old = -1; !user.getInteger(name, old) || old != value)
            require(user.setInteger(name, value).isOk());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Interface::get();
    User user(data, size);
    choose(user.byte());
    static const bool isLoaded = !Instance().editor().getControls().empty();
    require(isLoaded);  // or nothing below would be tried
    Play play(user);
    while (user.remaining_bytes() > 0) {
        play.step();
        play.check();
    }
    play.checkPictures();
    return 0;
}
