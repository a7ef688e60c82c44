// A user and a host who do anything, in any order, to two instances with an interface of all
// classes; the host also from inside menus and boxes. Nothing is held that nobody presses, nothing
// is pointed at that is gone, there are as many windows as open interfaces, and audio passes.
#include "editor/Window.h"

#include "Interface.h"
#include "Require.h"
#include "audio/Module.h"
#include "editor/Control.h"
#include "editor/Editor.h"
#include "foundation/Message.h"
#include "parameters/Parameter.h"
#include "parameters/Settings.h"
#include "platform/Dialogs.h"
#include "plugin/Plugin.h"
#include "support/HostedEffect.h"
#include "vst/VSTPlugin.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <array>
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
<status class='Text' id='special::textdisplay' x='0' y='78' width='120' height='12'/>
<help class='Help' id='special::help'/></controls></g></controls></dict>)";

std::string controlsOf(char shade) {
    std::string text(Controls);
    std::replace(text.begin(), text.end(), '%', shade);
    return text;
}

VstIntPtr VSTCALLBACK answer(AEffect*, VstInt32, VstInt32, VstIntPtr, void*, float) {
    return 0;
}

// Closed by its host, or at the end.
class Instance : public test::HostedEffect {
public:
    Instance() : HostedEffect(make()) { run(); }
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;
    ~Instance() { call(effClose); }

    Editor& editor() const {
        auto& effect = *static_cast<AudioEffect*>(record->object);
        return dynamic_cast<Editor&>(*static_cast<VSTPlugin&>(effect).HostInterface::getEditor());
    }
    OffscreenDesktop::Window* window() const {
        const Window* const shown = editor().getWindow();
        return shown != nullptr ? static_cast<OffscreenDesktop::Window*>(shown->getHandle())
                                : nullptr;
    }

private:
    static AEffect* make() {
        const IOConfig stereo{IOPinConfig(2, 1), IOPinConfig(2, 1)};
        return (new VSTPlugin(0, answer, stereo))->getAeffect();
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
        desktop_.isFull = false;
        desktop_.scale = 1.0f;
        desktop_.heldKeys.clear();
    }
    Play(const Play&) = delete;
    Play& operator=(const Play&) = delete;
    ~Play() {
        instances_ = {};
        require(desktop_.windows().empty());
        platform::setDialogAnswers({});
        desktop_.menu = nullptr;
        desktop_.text = nullptr;
    }

    void step() {
        auto& instance = instances_[user_.ConsumeIntegralInRange(0, 7) == 7 ? 1 : 0];
        if (!instance) {
            instance = makeInstance();
        } else if (user_.ConsumeIntegralInRange(0, 3) == 0 || instance->window() == nullptr) {
            act(instance);
        } else {
            happen(*instance->window());
        }
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

    // No host does anything else from within its own call.
    struct HostCall {
        explicit HostCall(bool& isInside)
            : inside(isInside), before(std::exchange(isInside, true)) {}
        HostCall(const HostCall&) = delete;
        HostCall& operator=(const HostCall&) = delete;
        ~HostCall() { inside = before; }
        bool& inside;
        const bool before;
    };

    std::unique_ptr<Instance> makeInstance() {
        const HostCall here(isInHostCall_);
        return std::make_unique<Instance>();
    }

    // What the host does.
    void act(std::unique_ptr<Instance>& instance) {
        const HostCall here(isInHostCall_);
        OffscreenDesktop::Window* const window = instance->window();
        const test::HostedEffect& effect = *instance;
        switch (user_.ConsumeIntegralInRange(0, 11)) {
            case 0:
            case 1:
                desktop_.isFull = user_.ConsumeIntegralInRange(0, 7) == 0;
                desktop_.scale = user_.PickValueInArray({1.0f, 1.5f, 2.0f, 1.0e9f});
                effect.call(effEditOpen, 0, 0, this);
                break;
            case 2:
                effect.call(effEditClose);
                break;
            case 3: {
                const std::unique_ptr<Instance> closed = std::move(instance);
                break;
            }
            case 4:
                if (window != nullptr)
                    desktop_.destroyParent(*window);
                break;
            case 5: {
                ERect* rect = nullptr;
                require(effect.call(effEditGetRect, 0, 0, &rect) == 1 && rect->right >= 0 &&
                        rect->bottom >= 0);
                break;
            }
            case 6:
                effect.call(effEditIdle);
                effect.call(effSetEditKnobMode, 0, user_.ConsumeIntegral<std::int8_t>());
                break;
            case 7:
                effect.call(user_.ConsumeBool() ? effEditKeyDown : effEditKeyUp,
                            user_.ConsumeIntegral<std::uint8_t>(),
                            user_.ConsumeIntegral<std::uint8_t>(), nullptr,
                            static_cast<float>(user_.ConsumeIntegralInRange(0, 15)));
                break;
            case 8:
                effect.set(user_.ConsumeIntegralInRange(0, 1), user_.ConsumeBool() ? 1.0f : 0.0f);
                break;
            case 9:
                effect.restore(user_.ConsumeBool() ? effect.chunk()
                                                   : user_.ConsumeRandomLengthString());
                break;
            case 10:
                save();
                break;
            default:
                changeInside(instance->editor());
                break;
        }
    }

    void save() {
        const auto kind = user_.ConsumeIntegralInRange(0, 9);
        const std::string text = controlsOf(static_cast<char>('0' + kind));
        fuzz::Interface::get().writeControls(kind < 3 ? text.substr(0, text.size() / 2) : text);
    }

    // What comes from elsewhere: the parameters that the product itself sets, timers, other modules
    // and sizes.
    void changeInside(Editor& editor) {
        const auto& controls = editor.getControls();
        const Settings& settings = editor.instance().moduleAt(0)->settings();
        const float level = user_.ConsumeProbability<float>();
        switch (user_.ConsumeIntegralInRange(0, 6)) {
            case 0:
                settings.find("InputPeak", 0)->setNormalised(level, FromUser);
                break;
            case 1:
                settings.find("CurrentModule", 0)->setNormalised(level, FromUser);
                break;
            case 2:
                settings.find("BrimtideID", 0)->setText(level > 0.5f ? "Drums" : "", FromUser);
                break;
            case 3:
                settings.find("MuteOutput", 0)->setNormalised(level > 0.5f, FromUser);
                break;
            case 4:
                editor.setSize(user_.PickValueInArray({0, 50, 100, 400}));
                break;
            case 5:
                editor.redraw({0, 0, 20, 20});
                break;
            default: {
                if (controls.empty())
                    break;
                Control* const control =
                    controls[user_.ConsumeIntegral<std::uint8_t>() % controls.size()];
                TimerMessage tick(
                    nullptr, TimerMessage::Tick,
                    user_.PickValueInArray({fourCharacterCode("CTst"), fourCharacterCode("CASf"),
                                            fourCharacterCode("CHds"), fourCharacterCode("CHdh")}),
                    toPayload(level));
                editor.enqueue(tick, control);
                break;
            }
        }
    }

    // What the user does, or the system.
    void happen(OffscreenDesktop::Window& window) {
        platform::WindowOwner& owner = *window.owner;
        switch (user_.ConsumeIntegralInRange(0, 14)) {
            case 0:
                owner.wheel(spot(), user_.ConsumeIntegral<std::int32_t>());
                break;
            case 1:
                type(owner);
                break;
            case 2:
                owner.focusGained();
                break;
            case 3: {
                const platform::Spot from = spot(), to = spot();
                owner.paint({from.x, from.y, to.x, to.y});
                break;
            }
            case 4:
            case 5:
                owner.tick();
                break;
            case 6:
                owner.dragEnter(dropped(), spot());
                break;
            case 7:
                owner.dragOver(spot());
                break;
            case 8:
                owner.dragEnd();
                break;
            case 9:
                owner.drop(dropped(), spot());
                break;
            case 10:
                owner.measureEntry(user_.ConsumeIntegral<std::int8_t>());
                owner.drawEntry(user_.ConsumeIntegral<std::int8_t>(), user_.ConsumeBool());
                break;
            case 11:
                click(window, spot());
                break;
            default:
                desktop_.point(
                    window, static_cast<platform::PointerEvent>(user_.ConsumeIntegralInRange(0, 7)),
                    spot());
                break;
        }
    }

    // Half of the keys are those that the interface itself does something about.
    void type(platform::WindowOwner& owner) {
        const bool isKnown = user_.ConsumeBool();
        const std::int32_t key =
            isKnown ? user_.PickValueInArray<std::int32_t>(
                          {WindowMessage::TabKey, WindowMessage::TabKey, WindowMessage::ReturnKey,
                           WindowMessage::EscapeKey, WindowMessage::SpaceKey, WindowMessage::UpKey,
                           WindowMessage::PageDownKey, 'Z', 'Z', 'Y'})
                    : user_.ConsumeIntegral<std::uint8_t>();
        const int held = user_.ConsumeIntegralInRange(0, 7);
        desktop_.heldKeys.clear();
        for (const int modifier : {0, 1, 2})
            if ((held & 1 << modifier) != 0)
                desktop_.heldKeys.insert(0x10 + modifier);
        owner.key(key, user_.ConsumeIntegral<std::uint16_t>(), !user_.ConsumeBool());
    }

    void click(OffscreenDesktop::Window& window, platform::Spot place) {
        const auto kept = window.shared_from_this();
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

void forget(const char* choice, std::int32_t value) {
    std::int32_t present = value;
    Preferences::user()->getInteger(choice, present);
    if (present != value)
        require(Preferences::user()->setInteger(choice, value).isOk());
}

void forget(const char* choice, bool value) {
    bool present = !value;
    Preferences::user()->getBool(choice, present);
    if (present != value)
        require(Preferences::user()->setBool(choice, value).isOk());
}

// What the user has chosen before.
void forgetChoices(bool reloads) {
    fuzz::Interface::get().writeControls(controlsOf('0'));
    Resources& resources = *Mission::get().getResources();
    if (resources.getCurrentSkin() != "default")
        resources.setCurrentSkin("default");
    forget("EditorScale", 0);
    forget("KnobMode", 0);
    forget("ShowTooltips", true);
    forget("ReloadSkin", reloads);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Interface::get();
    FuzzedDataProvider user(data, size);
    forgetChoices(user.ConsumeBool());
    Play play(user);
    while (user.remaining_bytes() > 0) {
        play.step();
        play.check();
    }
    return 0;
}
