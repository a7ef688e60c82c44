// A user and a host who do anything, in any order, to two instances with an interface of all
// classes; the host also from inside menus and boxes. Nothing is held that nobody presses, nothing
// is pointed at that is gone, there are as many windows as open interfaces, and audio passes.
#include "editor/Window.h"

#include "Effect.h"
#include "Interface.h"
#include "Require.h"
#include "audio/Module.h"
#include "editor/Control.h"
#include "editor/ControlCPUMeter.h"
#include "editor/Editor.h"
#include "foundation/Message.h"
#include "parameters/Parameter.h"
#include "parameters/Settings.h"
#include "platform/Dialogs.h"
#include "plugin/Plugin.h"
#include "support/KeptPicture.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

using namespace tarn;
using fuzz::require;

namespace {

using platform::OffscreenDesktop;

// "%" stands for what changes when the file is saved meanwhile.
constexpr std::string_view Controls = R"(<dict><info creator='Brimtide' version='1.2.0'/>
<file-format value='0.7'/><controls>
<g class='Background' id='special::background' width='120' height='90' background='#10203%'>
<controls>
<about class='About' id='image' parameter='MuteOutput' x='100' y='4'><controls>
<t class='Text' text='About' width='16' height='8'/></controls></about>
<switch class='Bitmap' handle='strip' x='2' y='2' width='16' height='8' parameter='MuteOutput'
 learn='true' showvalue='mouseover'><bitmaps><b value='MuteOutput' handle='image'/></bitmaps>
</switch>
<hint class='Text' text='much too long to be seen' x='20' y='2' width='30' height='12'
 autoscroll='true' tooltip='A hint' draggable='true' altreverse='MuteOutput'/>
<box class='Container' parameter='MuteOutput' modal='true' x='60' y='30' width='40' height='30'
 background='image'><listento><l value='LeaveModalMode'/></listento><controls>
<v class='VersionInfo' x='1' y='1' width='20' height='9'/>
<small class='Text' text='0 1' alphabet='font' x='2' y='12' width='20' height='8'
 transparency='0.5'><thumbnail x='20' y='12' width='8' height='4'/></small></controls></box>
<drawer class='Container' x='4' y='40' width='40' height='16'>
<thumbnail x='4' y='40' width='20' height='8'/><controls>
<in class='Text' parameter='InputPeak' textentry='true' width='30' height='12' showvalue='true'/>
</controls></drawer>
<seen class='Bitmap' handle='strip' x='100' y='60'>
<visibility parameter='MuteOutput' normalized='1.0' action='disable'/></seen>
<name class='Text' parameter='BrimtideID' x='2' y='60' width='60' height='16' editable='true'/>
<knob class='Knob' parameter='MuteOutput' x='66' y='62' width='12' height='12' learn='true'
 midi='7' defval='0'/>
<slider class='Slider' parameter='MuteOutput' x='80' y='62' width='6' height='14'/>
<push class='Button' parameter='MuteOutput' pushbutton='true' blink='true' x='88' y='62' width='8' height='8'/>
<shut class='Button' parameter='MuteOutput' x='88' y='71' width='8' height='6' autoreset='true'/>
<next class='ButtonChoice' parameter='BrimtideChannel' x='98' y='72' width='8' height='5'/>
<list class='PopupMenu' parameter='MuteOutput' x='46' y='40' width='12' height='8'/>
<pad class='Trigger' parameter='MuteOutput' x='46' y='49' width='12' height='8'/>
<presets class='PresetsMenu' x='2' y='20' width='16' height='8'/>
<step class='PresetStep' x='2' y='30' width='8' height='8'/>
<favorite class='FavoriteButton' on='0' x='12' y='30' width='8' height='8'/>
<menu class='MenuButton' x='22' y='30' width='8' height='8'/>
<typed class='TextValue' edit='click' parameter='BrimtideID' x='22' y='20' width='30' height='8'/>
<meter class='LevelMeter' parameter='OutputLevel' x='110' y='72' width='4' height='6'/>
<bar class='VUMeter' parameter='OutputLevel' x='115' y='72' width='4' height='6'/>
<radio class='RadioButtons' x='32' y='30' width='20' height='8'><controls>
<one class='Button' parameter='MuteOutput' width='8' height='8'/>
<two class='Button' parameter='ResetPeak' x='10' width='8' height='8'/></controls></radio>
<status class='Text' id='special::textdisplay' x='0' y='78' width='120' height='12'/>
<quorl class='Quorl' x='54' y='20' width='8' height='8'/>
<help class='Help' id='special::help'/></controls></g></controls></dict>)";

std::string controlsOf(char shade) {
    std::string text(Controls);
    std::replace(text.begin(), text.end(), '%', shade);
    return text;
}

std::string withoutBackground(std::string text) {
    constexpr std::string_view Id = "id='special::background'";
    return text.erase(text.find(Id), Id.size());
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
    const auto& children = tree.getChildren();
    return &tree == control ||
           std::any_of(children.begin(), children.end(),
                       [control](const Control* child) { return isIn(*child, control); });
}

class Play {
public:
    explicit Play(FuzzedDataProvider& user) : user_(user) {
        desktop_.menu = [this](const auto& entries, auto) { return choose(entries); };
        desktop_.text = [this](const auto&) -> std::optional<std::string> {
            interrupt();
            return user_.ConsumeBool() ? std::optional(user_.ConsumeRandomLengthString())
                                       : std::nullopt;
        };
        platform::setDialogAnswers({[this](const auto&) {
                                        if (!isInHostCall_)
                                            interrupt();
                                        return platform::MessageAnswer::Ok;
                                    },
                                    {}});
        fuzz::onHostCall = [this] {
            if (!isInHostCall_ && user_.ConsumeIntegralInRange(0, 3) == 0)
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
        auto& instance = instances_[user_.ConsumeIntegralInRange(0, 7) == 7 ? 1 : 0];
        if (instance && user_.ConsumeIntegralInRange(0, 3) != 0 && instance->window() != nullptr) {
            happen(*instance, *instance->window());
            return;
        }
        // No host does anything else from within its own call.
        const bool wasInHostCall = std::exchange(isInHostCall_, true);
        if (instance)
            act(instance);
        else
            insert(instance);
        isInHostCall_ = wasInHostCall;
    }

    // With an interface, which without controls it wouldn't have.
    static void insert(std::unique_ptr<Instance>& instance) {
        fuzz::Interface::get().writeControls(controlsOf('0'));
        instance = std::make_unique<Instance>();
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
            for (const Control* const known :
                 {editor.getHoverControl(), editor.getFocusControl(), editor.getCaptureControl()})
                require(known == nullptr || (editor.getRootControl() != nullptr &&
                                             isIn(*editor.getRootControl(), known)));
            const Control* const typed = editor.getKeyboardControl();
            const auto& listed = editor.getControls();
            require(typed == nullptr ||
                    (typed->isVisible() && editor.isOpen() &&
                     std::find(listed.begin(), listed.end(), typed) != listed.end()));
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
        const auto list = [&ids](const auto& self, const auto& some) -> void {
            for (const platform::MenuEntry& entry : some) {
                ids.push_back(entry.id);
                self(self, entry.entries);
            }
        };
        list(list, entries);
        interrupt();
        const std::size_t index = user_.ConsumeIntegralInRange<std::size_t>(0, ids.size());
        return index < ids.size() ? std::optional(ids[index]) : std::nullopt;
    }

    // What happens while the user is asked something.
    void interrupt() {
        constexpr int Deepest = 3;
        if (depth_ >= Deepest)
            return;
        ++depth_;
        for (int steps = user_.ConsumeIntegralInRange(0, 3); steps > 0; --steps)
            step();
        --depth_;
    }

    platform::Spot spot() {
        if (user_.ConsumeIntegralInRange(0, 15) == 0)
            return {user_.ConsumeIntegral<std::int32_t>(), user_.ConsumeIntegral<std::int32_t>()};
        return {user_.ConsumeIntegralInRange(-9, 260), user_.ConsumeIntegralInRange(-9, 200)};
    }

    platform::DroppedData dropped() {
        platform::DroppedData data;
        if (user_.ConsumeBool())
            data.text = user_.ConsumeBool() ? "<samples><sample file='a.wav'/></samples>"
                                            : user_.ConsumeRandomLengthString();
        for (int files = user_.ConsumeIntegralInRange(0, 2); files > 0; --files)
            data.files.push_back(user_.ConsumeRandomLengthString());
        return data;
    }

    // What the host does.
    void act(std::unique_ptr<Instance>& instance) {
        const test::HostedEffect& effect = *instance;
        const auto open = [&] {
            desktop_.isFull = user_.ConsumeIntegralInRange(0, 7) == 0;
            desktop_.scale = user_.PickValueInArray({1.0f, 1.5f, 2.0f, 1.0e9f});
            effect.call(effEditOpen, 0, 0, this);
        };
        const std::function<void()> acts[] = {
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
                effect.call(user_.ConsumeBool() ? effEditKeyDown : effEditKeyUp,
                            user_.ConsumeIntegral<std::uint8_t>(),
                            user_.ConsumeIntegral<std::uint8_t>(), nullptr,
                            static_cast<float>(user_.ConsumeIntegralInRange(0, 15)));
            },
            [&] {
                effect.set(user_.ConsumeIntegralInRange(0, 1), user_.ConsumeBool() ? 1.0f : 0.0f);
            },
            [&] {
                effect.restore(user_.ConsumeBool() ? effect.chunk()
                                                   : user_.ConsumeRandomLengthString());
            },
            [&] { save(instance->window()); },
            [&] { changeInside(instance->editor()); },
        };
        acts[user_.ConsumeIntegralInRange<std::size_t>(0, std::size(acts) - 1)]();
    }

    // And the time that an interface takes to see it.
    void save(OffscreenDesktop::Window* window) {
        const auto kind = user_.ConsumeIntegralInRange(0, 9);
        const std::string text = controlsOf(static_cast<char>('0' + kind));
        fuzz::Interface::get().writeControls(kind < 2    ? text.substr(0, text.size() / 2)
                                             : kind == 2 ? withoutBackground(text)
                                                         : text);
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
        const std::function<void()> acts[] = {
            [&] { settings.find("InputPeak", 0)->setNormalised(level, FromUser); },
            [&] { settings.find("CurrentModule", 0)->setNormalised(level, FromUser); },
            [&] { settings.find("BrimtideID", 0)->setText(level > 0.5f ? "Drums" : "", FromUser); },
            [&] { settings.find("MuteOutput", 0)->setNormalised(level > 0.5f, FromUser); },
            [&] {
                editor.setSize(user_.PickValueInArray({0, 50, 100, 400}));
            },
            [&] {
                editor.redraw({0, 0, 20, 20});
            },
            [&] {
                if (controls.empty())
                    return;
                Control* const control =
                    controls[user_.ConsumeIntegral<std::uint8_t>() % controls.size()];
                TimerMessage tick(
                    nullptr, TimerMessage::Tick,
                    user_.PickValueInArray({fourCharacterCode("CTst"), fourCharacterCode("CASf"),
                                            fourCharacterCode("CHds"), fourCharacterCode("CHdh")}),
                    toPayload(level));
                editor.enqueue(tick, control);
            },
        };
        acts[user_.ConsumeIntegralInRange<std::size_t>(0, std::size(acts) - 1)]();
    }

    // What the user does, or the system.
    void happen(const Instance& instance, OffscreenDesktop::Window& window) {
        const auto kept = window.shared_from_this();
        platform::WindowOwner& owner = *window.owner;
        const std::function<void()> acts[] = {
            [&] { owner.wheel(spot(), user_.ConsumeIntegral<std::int32_t>()); },
            [&] { type(window); },
            [&] { owner.focusGained(); },
            [&] {
                const platform::Spot from = spot(), to = spot();
                owner.paint({from.x, from.y, to.x, to.y});
            },
            [&] { owner.tick(); },
            [&] { owner.tick(); },
            [&] { owner.dragEnter(dropped(), spot()); },
            [&] { owner.dragOver(spot()); },
            [&] { owner.dragEnd(); },
            [&] { owner.drop(dropped(), spot()); },
            [&] {
                owner.measureEntry(user_.ConsumeIntegral<std::int8_t>());
                owner.drawEntry(user_.ConsumeIntegral<std::int8_t>(), user_.ConsumeBool());
            },
            [&] { click(window, spot()); },
            [&] { use(window, controlOf(instance.editor())); },
            [&] {
                const auto event = user_.ConsumeIntegralInRange(0, 7);
                desktop_.point(window, static_cast<platform::PointerEvent>(event), spot());
            },
        };
        constexpr std::size_t Doubled = 3;  // the last ones come twice as often
        const std::size_t count = std::size(acts);
        const auto which = user_.ConsumeIntegralInRange<std::size_t>(0, count + Doubled - 1);
        acts[which < count ? which : which - Doubled]();
    }

    // The middle of any control.
    platform::Spot controlOf(const Editor& editor) {
        const auto& controls = editor.getControls();
        if (controls.empty())
            return {};
        const std::size_t index = user_.ConsumeIntegral<std::uint8_t>() % controls.size();
        const Rect rect = controls[index]->getAbsoluteRect();
        const auto place = [scale = editor.getScale()](std::int32_t from, std::int32_t to) {
            return static_cast<std::int32_t>(scale * static_cast<float>(from + to) / 2);
        };
        return {place(rect.left, rect.right), place(rect.top, rect.bottom)};
    }

    // A press, perhaps a double one or a drag, and keys at the end.
    void use(OffscreenDesktop::Window& window, platform::Spot place) {
        using enum platform::PointerEvent;
        const auto point = [&](platform::PointerEvent event, platform::Spot to) {
            if (window.owner != nullptr)
                desktop_.point(window, event, to);
        };
        const bool isDouble = user_.ConsumeBool();
        point(LeftDown, place);
        if (user_.ConsumeBool())
            point(Move, {place.x, place.y - user_.ConsumeIntegralInRange(-20, 20)});
        point(LeftUp, place);
        if (isDouble)
            for (const auto event : {LeftDouble, LeftUp})
                point(event, place);
        switch (user_.ConsumeIntegralInRange(0, 3)) {
            case 0:
                press(window, 'Z', ControlBit);
                press(window, 'Z', ControlBit | ShiftBit);
                break;
            case 1:
                press(window, WindowMessage::TabKey, 0);
                press(window, WindowMessage::ReturnKey, 0);
                break;
            default:
                break;
        }
    }

    // As bits of the keys held: 1 shift, 2 control, 4 alt.
    static constexpr int ShiftBit = 1, ControlBit = 2;

    void press(const OffscreenDesktop::Window& window, std::int32_t key, int held) {
        desktop_.heldKeys.clear();
        for (const int modifier : {0, 1, 2})
            if ((held & 1 << modifier) != 0)
                desktop_.heldKeys.insert(0x10 + modifier);
        if (window.owner != nullptr)
            window.owner->key(key, user_.ConsumeIntegral<std::uint8_t>(), true);
    }

    // Half of the keys are those that the interface itself does something about.
    void type(const OffscreenDesktop::Window& window) {
        const bool isKnown = user_.ConsumeBool();
        const std::int32_t key =
            isKnown ? user_.PickValueInArray<std::int32_t>(
                          {WindowMessage::TabKey, WindowMessage::TabKey, WindowMessage::ReturnKey,
                           WindowMessage::EscapeKey, WindowMessage::SpaceKey, WindowMessage::UpKey,
                           WindowMessage::PageDownKey, 'Z', 'Y'})
                    : user_.ConsumeIntegral<std::uint8_t>();
        press(window, key, user_.ConsumeIntegralInRange(0, 7));
        if (user_.ConsumeBool() && window.owner != nullptr)
            window.owner->key(key, 0, false);
    }

    void click(OffscreenDesktop::Window& window, platform::Spot place) {
        const bool isRight = user_.ConsumeBool();
        using enum platform::PointerEvent;
        for (const auto event : {isRight ? RightDown : LeftDown, isRight ? RightUp : LeftUp})
            if (window.owner != nullptr)
                desktop_.point(window, event, place);
    }

    FuzzedDataProvider& user_;
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
    FuzzedDataProvider user(data, size);
    choose(user.ConsumeIntegral<std::uint8_t>());
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
