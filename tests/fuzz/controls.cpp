// An interface's description from anywhere, shown at a size from anywhere, while its parameters
// change and timers tick: without a good one there are no controls, and a closed one leaves nothing
// behind.
#include "Interface.h"
#include "Require.h"
#include "audio/Module.h"
#include "editor/Control.h"
#include "editor/Editor.h"
#include "editor/Window.h"
#include "plugin/Plugin.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <cmath>

using namespace tarn;
using fuzz::require;

namespace {

constexpr std::int64_t MostShownPixels = 1 << 20;

bool load(Editor& editor, const std::string& path) try {
    return editor.loadControls(File(path)).isOk();
} catch (const std::exception&) {
    return false;
}

void changeParameters(const Settings& settings, float normalised, Editor& editor) {
    for (const char* name : {"MuteOutput", "BrimtideChannel", "InputPeak"})
        settings.find(name, 0)->setNormalised(normalised, FromUser);
    settings.find("BrimtideID", 0)->setText(normalised > 0.0f ? "A\nb 12" : "", FromUser);
    editor.idle();
}

// As their timers and the pointer do it, to all controls.
void moveAll(Editor& editor, Point pointer) {
    const auto controls = editor.getControls();
    for (Control* const control : controls) {
        for (const std::uint32_t timer :
             {fourCharacterCode("CTst"), fourCharacterCode("CASf"), fourCharacterCode("CHds")}) {
            TimerMessage tick(nullptr, TimerMessage::Tick, timer, toPayload(0.5f));
            control->receive(tick);
        }
        control->getTooltip();
    }
    for (const std::int32_t code : {WindowMessage::MouseMove, WindowMessage::LeftDown,
                                    WindowMessage::LeftUp, WindowMessage::RightDown}) {
        WindowMessage event(&editor, code, nullptr, pointer, 0);
        editor.receive(event);
    }
}

void show(Editor& editor, const Settings& settings, float scale) {
    platform::OffscreenDesktop& desktop = fuzz::Interface::get().desktop;
    const Rect client = editor.getClientRect();
    desktop.isFull =
        scale * scale * static_cast<float>(client.right) * static_cast<float>(client.bottom) >
        static_cast<float>(MostShownPixels);
    if (!editor.open(nullptr, {}, scale))
        return;
    require(desktop.windows().size() == 1);
    platform::WindowOwner& owner = *editor.getWindow();
    owner.tick();
    changeParameters(settings, 1.0f, editor);
    moveAll(editor, {client.right / 2, client.bottom / 2});
    owner.paint({0, 0, client.right, 3});
    changeParameters(settings, 0.0f, editor);
    moveAll(editor, {1, 1});
    owner.paint({-5, -5, 9'000, 9'000});
    editor.paint(nullptr, {-5, -5, 9'000, 9'000});
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const fuzz::Interface& shown = fuzz::Interface::get();
    static const auto plugin = [] {
        auto made = PluginInfo::get().createPlugin(nullptr, 0);
        made->start();
        return made;
    }();
    static Editor editor(*plugin, plugin->moduleAt(0), Mission::get().getResources());
    FuzzedDataProvider file(data, size);
    const float scale = file.PickValueInArray({1.0f, 1.5f, 0.0f, 2.0f, 3.0f, 4.0f, 16.0f, NAN});
    shown.writeControls(file.ConsumeRemainingBytesAsString());
    const bool isLoaded = load(editor, shown.controlsPath());
    require(isLoaded || (editor.getControls().empty() && editor.getRootControl() == nullptr &&
                         editor.getClientRect().isEmpty()));
    show(editor, plugin->moduleAt(0)->settings(), scale);
    editor.close();
    require(editor.getHoverControl() == nullptr && editor.getCaptureControl() == nullptr);
    require(shown.desktop.windows().empty());
    return 0;
}
