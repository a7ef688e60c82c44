// The product's interface, in a window in memory: what it takes of the thread that runs the host's
// windows.
#include "Ratios.h"
#include "audio/Module.h"
#include "drawing/Canvas.h"
#include "editor/Control.h"
#include "editor/Editor.h"
#include "editor/Window.h"
#include "foundation/File.h"
#include "foundation/Message.h"
#include "link/BrimtidePluginInfo.h"
#include "parameters/Parameter.h"
#include "parameters/Settings.h"
#include "platform/Clock.h"
#include "platform/SystemWindow.h"
#include "plugin/Mission.h"
#include "plugin/Plugin.h"
#include "support/Product.h"
#include "support/ScratchFolder.h"
#include "vst/VSTPlugin.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using namespace tarn;
using benchmark::State;
using platform::highResolutionSeconds;

constexpr double TickSeconds = 0.05;

VstIntPtr VSTCALLBACK host(AEffect*, VstInt32 opcode, VstInt32, VstIntPtr, void*, float) {
    return opcode == audioMasterVersion ? kVstVersion : 0;
}

// An instance with its interface open, at a scale.
class OpenInterface {
public:
    explicit OpenInterface(float scale) {
        static const std::unique_ptr<test::Product> product =
            test::Product::of<BrimtidePluginInfo>(BUILT_PRODUCT);
        desktop_.scale = scale;
        Mission::get().start();
        const IOConfig stereo(IOPinConfig(2, 1), IOPinConfig(2, 1));
        effect_ = (new VSTPlugin(0, host, stereo))->getAeffect();
        const double before = highResolutionSeconds();
        effect_->dispatcher(effect_, effMainsChanged, 0, 1, nullptr, 0.0f);
        call(effEditOpen, &parent_);
        window().owner->tick();
        firstPicture = highResolutionSeconds() - before;
    }
    OpenInterface(const OpenInterface&) = delete;
    OpenInterface& operator=(const OpenInterface&) = delete;
    ~OpenInterface() { call(effClose); }

    VSTPlugin& plugin() const {
        return *static_cast<VSTPlugin*>(static_cast<AudioEffect*>(effect_->object));
    }
    Editor& editor() const { return dynamic_cast<Editor&>(*plugin().HostInterface::getEditor()); }
    Settings& settings() const {
        return dynamic_cast<Plugin&>(*plugin().getPlugin()).moduleAt(0)->settings();
    }
    platform::OffscreenDesktop::Window& window() { return *desktop_.windows().back(); }

    /// A block whose samples all have that level.
    void play(float level) const {
        std::vector<float> in(512, level), left(in.size()), right(in.size());
        float* inputs[] = {in.data(), in.data()};
        float* outputs[] = {left.data(), right.data()};
        effect_->processReplacing(effect_, inputs, outputs, static_cast<VstInt32>(in.size()));
    }

    /// How long a tick takes.
    double tick() {
        const double before = highResolutionSeconds();
        window().owner->tick();
        return highResolutionSeconds() - before;
    }

    double firstPicture = 0.0;  // seconds from the host's call

private:
    void call(VstInt32 opcode, void* ptr = nullptr) const {
        effect_->dispatcher(effect_, opcode, 0, 0, ptr, 0.0f);
    }

    platform::OffscreenDesktop desktop_;
    int parent_ = 0;
    AEffect* effect_ = nullptr;
};

// The window's system wants all of it again, as it does when another window has gone away.
void repaint(State& state, float scale) {
    OpenInterface open(scale);
    const PixelsData& picture = *open.editor().getCanvas()->getPixels();
    const platform::Area whole{0, 0, picture.getWidth(), picture.getHeight()};
    for (auto _ : state)
        open.window().owner->paint(whole);
}

// Every control is drawn, and all of it shown.
void drawAnew(State& state, float scale) {
    OpenInterface open(scale);
    Editor& editor = open.editor();
    for (auto _ : state)
        editor.paint(nullptr, editor.getClientRect());
}

// The picture copied to the window, and 40 microseconds to make it.
void blit(State& state, float scale) {
    constexpr double Making = 40e-6;
    OpenInterface open(scale);
    const PixelsData& picture = *open.editor().getCanvas()->getPixels();
    std::vector<std::uint8_t>& shown = open.window().shown;
    for (auto _ : state) {
        for (std::int32_t y = 0; y < picture.getHeight(); ++y)
            std::copy_n(picture.row(y), std::size_t{4} * picture.getWidth(),
                        shown.data() + std::size_t{4} * y * picture.getWidth());
        benchmark::DoNotOptimize(shown.data());
        benchmark::ClobberMemory();
        const double end = highResolutionSeconds() + Making;
        while (highResolutionSeconds() < end) {
        }
    }
}

// What the ticks take of a core, 20 a second, with so many changes by another thread between two.
void printLoad(const char* name, int changes) {
    constexpr int Ticks = 400;
    OpenInterface open(1.0f);
    Parameter& level = *open.settings().find("OutputLevel", 0);
    Parameter& receivers = *open.settings().find("BrimtideChannel", 0);
    const std::int32_t paintsBefore = open.window().showCount;
    const std::int64_t pixelsBefore = open.window().shownPixels;
    double seconds = 0.0;
    for (int i = 0; i < Ticks; ++i) {
        std::thread([&] {
            for (int change = 0; change < changes; ++change)
                (change % 2 == 0 ? level : receivers)
                    .setNormalised(static_cast<float>((i + change) % 32) / 32.0f, FromInternal);
        }).join();
        seconds += open.tick();
    }
    std::printf("%-28s %7.3f %% of a core, %.2f paints a tick, %lld pixels each\n", name,
                100.0 * seconds / (Ticks * TickSeconds),
                double(open.window().showCount - paintsBefore) / Ticks,
                static_cast<long long>((open.window().shownPixels - pixelsBefore) /
                                       std::max(open.window().showCount - paintsBefore, 1)));
}

// How long an interface takes for a tick of all its meters, for which a tick's time has passed.
double tickOf(Editor& editor) {
    static double metersNow;
    metersNow += TickSeconds;
    const double before = platform::systemHighResolutionSeconds();
    platform::setHighResolutionClock([]() noexcept { return metersNow; });
    TimerMessage message(nullptr, TimerMessage::Tick, fourCharacterCode("CVUt"), 0);
    message.sinceLastTick = TickSeconds;
    for (Control* const control : editor.getControls())
        control->receive(message);
    editor.idle();
    platform::setHighResolutionClock(nullptr);
    return platform::systemHighResolutionSeconds() - before;
}

// The same of the product, whose track plays: a new level and a new highest peak every tick.
void printPlaying() {
    constexpr int Ticks = 400;
    OpenInterface open(1.0f);
    double seconds = 0.0;
    for (int i = 0; i < Ticks; ++i) {
        open.play(static_cast<float>(1 + i % 20) / 20.0f);
        seconds += tickOf(open.editor());
    }
    std::printf("%-28s %7.3f %% of a core\n", "playing, meter moving",
                100.0 * seconds / (Ticks * TickSeconds));
}

// A hundred controls in an interface of their own, as the instance's second. Their image is a white
// strip of frames side by side.
class Sheet : public Editor {
public:
    static constexpr int Count = 100;

    Sheet(const OpenInterface& instance, Point frame, std::int32_t frames, const Rect& area,
          const std::string& controls)
        : Editor(dynamic_cast<Plugin&>(*instance.plugin().getPlugin()),
                 instance.editor().getModule(), nullptr) {
        SharedObjectPtr<PixelsData> pixels = makeShared<PixelsData>(frame.x * frames, frame.y);
        for (std::int32_t y = 0; y < frame.y; ++y)
            std::fill_n(pixels->row(y), frame.x * frames * PixelsData::BytesPerPixel,
                        std::uint8_t{255});
        strip = std::make_shared<Bitmap>(pixels, 1.0f);
        strip->setFrames({0, 0, frame.x, frame.y}, frames, 1);
        const test::ScratchFolder folder;
        folder.write("Controls.xml",
                     "<dict><info creator='Brimtide' version='1.2.0'/><file-format "
                     "value='0.7'/><controls><c "
                     "class='Background' width='" +
                         std::to_string(area.right) + "' height='" + std::to_string(area.bottom) +
                         "' id='special::background' background='#202830'>"
                         "<controls>" +
                         controls + "</controls></c></controls></dict>");
        loadControls(File(folder.path("Controls.xml")));
        open(nullptr, {});
        idle();
    }

    std::shared_ptr<Bitmap> getBitmap(const std::string&) const override { return strip; }

    std::shared_ptr<Bitmap> strip;
};

// Level meters of 12 by 120.
class Meters : public Sheet {
public:
    static constexpr int Columns = 50;
    static constexpr Rect Area{0, 0, 16 * Columns, 124 * Count / Columns};

    explicit Meters(const OpenInterface& instance)
        : Sheet(instance, {12, 120}, 2, Area, controls()) {}

    static Point placeOf(int meter) { return {meter % Columns * 16, meter / Columns * 124}; }

    double tick() { return tickOf(*this); }
    void setLevel(const OpenInterface& instance, float level) {
        instance.settings().find("OutputLevel", 0)->setNormalised(level, FromInternal);
        tick();
    }

private:
    static std::string controls() {
        std::string text;
        for (int i = 0; i < Count; ++i)
            text += "<m class='LevelMeter' parameter='OutputLevel' handle='strip' x='" +
                    std::to_string(placeOf(i).x) + "' y='" + std::to_string(placeOf(i).y) +
                    "' holdcolor='#ffffff'><scaling><a value='-60'/><b position='1' "
                    "value='0'/></scaling></m>";
        return text;
    }
};

void meters(State& state) {
    const OpenInterface instance(1.0f);
    Meters editor(instance);
    editor.setLevel(instance, 0.0316f);  // -30 dB, half of the scale
    for (auto _ : state)
        editor.paint(nullptr, editor.getClientRect());
}

// The same pictures, with nothing around them: the background, two parts of a strip and a line.
void stripsAlone(State& state) {
    const OpenInterface instance(1.0f);
    Meters editor(instance);
    Canvas canvas(Meters::Area);
    canvas.attach(editor.getWindow());
    for (auto _ : state) {
        canvas.beginFrame(Meters::Area);
        canvas.setFillColor(Color::fromBytes(32, 40, 48, 255));
        canvas.fillRect(Meters::Area);
        for (int i = 0; i < Meters::Count; ++i) {
            canvas.pushChild();
            canvas.offsetOrigin(Meters::placeOf(i));
            canvas.drawBitmap(*editor.strip, {0, 0, 12, 120}, {0, 0, 12, 120});
            canvas.drawBitmap(*editor.strip, {12, 60, 24, 120}, {0, 60, 12, 120});
            canvas.fillRect({0, 50, 12, 52});
            canvas.popChild();
        }
        canvas.present();
    }
}

// Buttons of 76 by 16 with a text.
class Buttons : public Sheet {
public:
    static constexpr int Columns = 10;
    static constexpr Point Frame{76, 16};
    static constexpr Rect Area{0, 0, 80 * Columns, 20 * Count / Columns};
    static constexpr const char* Text = "Mute output";

    explicit Buttons(const OpenInterface& instance) : Sheet(instance, Frame, 3, Area, controls()) {}

    static Point placeOf(int button) { return {button % Columns * 80, button / Columns * 20}; }

private:
    static std::string controls() {
        std::string text;
        for (int i = 0; i < Count; ++i)
            text +=
                "<b class='Button' parameter='MuteOutput' handle='strip' textcolor='#202830' "
                "text='" +
                std::string(Text) + "' x='" + std::to_string(placeOf(i).x) + "' y='" +
                std::to_string(placeOf(i).y) + "'/>";
        return text;
    }
};

void buttons(State& state) {
    const OpenInterface instance(1.0f);
    Buttons editor(instance);
    for (auto _ : state)
        editor.paint(nullptr, editor.getClientRect());
}

// The same pictures, with nothing around them: the background, frames and texts.
void framesAlone(State& state) {
    const OpenInterface instance(1.0f);
    Buttons editor(instance);
    Canvas canvas(Buttons::Area);
    canvas.attach(editor.getWindow());
    const Rect frame{0, 0, Buttons::Frame.x, Buttons::Frame.y};
    for (auto _ : state) {
        canvas.beginFrame(Buttons::Area);
        canvas.setFillColor(Color::fromBytes(32, 40, 48, 255));
        canvas.fillRect(Buttons::Area);
        canvas.setTextColor(Color::fromBytes(32, 40, 48, 255));
        canvas.selectFont(Font());
        for (int i = 0; i < Buttons::Count; ++i) {
            canvas.pushChild();
            canvas.offsetOrigin(Buttons::placeOf(i));
            canvas.drawBitmap(*editor.strip, frame, frame);
            canvas.drawText(Buttons::Text, frame, Font::CenteredLine);
            canvas.popChild();
        }
        canvas.present();
    }
}

// A hundred controls of each class beside a hundred containers, which show nothing but a colour.
void printClasses() {
    constexpr const char* Scaling = "><scaling><a value='-60'/><b value='0'/></scaling></c>";
    constexpr const char* Size = " width='76' height='20'";
    static constexpr std::pair<const char*, const char*> Classes[] = {
        {"Container", "background='#304860'"},
        {"Bitmap", "handle='strip'"},
        {"Text", "text='Mute output'"},
        {"VersionInfo", ""},
        {"TextValue", "parameter='BrimtideID'"},
        {"Display", "parameter='BrimtideChannel'"},
        {"Knob", "parameter='OutputLevel' handle='strip'"},
        {"Slider", "parameter='OutputLevel' handle='strip'"},
        {"Range", "parameter='OutputLevel'"},
        {"LED", "parameter='Connected' handle='strip'"},
        {"Button", "parameter='MuteOutput' handle='strip' text='Mute'"},
        {"ButtonChoice", "parameter='BrimtideChannel' handle='strip'"},
        {"RadioButtons", "background='#304860'"},
        {"PopupMenu", "parameter='MuteOutput' background='#304860'"},
        {"Trigger", "parameter='OutputLevel'"},
        {"FavoriteButton", "handle='strip' on='0'"},
        {"URL", "text='A link'"},
        {"Quorl", "text='Help'"},
        {"PresetsMenu", ""},
        {"PresetStep", "handle='strip'"},
        {"MenuButton", "handle='strip'"},
        {"VUMeter", "parameter='OutputLevel' handle='strip'"},
        {"VUMeterLED", "parameter='OutputLevel' handle='strip'"},
        {"LevelMeter", "parameter='OutputLevel' handle='strip'"},
    };
    const OpenInterface instance(1.0f);
    instance.settings().find("OutputLevel", 0)->setNormalised(0.5f, FromInternal);
    double plain = 0.0;
    for (const auto& [name, keys] : Classes) {
        std::string controls;
        for (int i = 0; i < Sheet::Count; ++i)
            controls += std::string("<c class='") + name + "' " + keys + Size + " x='" +
                        std::to_string(i % 10 * 80) + "' y='" + std::to_string(i / 10 * 24) + "'" +
                        (std::string(name).ends_with("Meter") ? Scaling : "/>");
        Sheet sheet(instance, {76, 20}, 3, {0, 0, 800, 240}, controls);
        double best = 1.0;
        for (int i = 0; i < 200; ++i) {
            const double before = highResolutionSeconds();
            sheet.paint(nullptr, sheet.getClientRect());
            best = std::min(best, highResolutionSeconds() - before);
        }
        plain = plain == 0.0 ? best : plain;
        std::printf("100 of %-20s %8.1f us, %4.2f times as much as containers\n", name, 1e6 * best,
                    best / plain);
    }
}

void printMeters(const char* name, bool isMoving) {
    constexpr int Ticks = 200;
    const OpenInterface instance(1.0f);
    Meters editor(instance);
    double seconds = 0.0;
    for (int i = 0; i < Ticks; ++i) {
        if (isMoving)
            instance.settings()
                .find("OutputLevel", 0)
                ->setNormalised(static_cast<float>(1 + i % 10) / 10.0f, FromInternal);
        seconds += editor.tick();
    }
    std::printf("%-28s %7.3f %% of a core\n", name, 100.0 * seconds / (Ticks * TickSeconds));
}

void printFigures() {
    for (const float scale : {1.0f, 2.0f, 3.0f}) {
        std::vector<double> times;
        for (int i = 0; i < 20; ++i)
            times.push_back(OpenInterface(scale).firstPicture);
        std::sort(times.begin(), times.end());
        std::printf("first picture at %.0f %%: %.1f ms, slowest of 20 %.1f ms\n", 100.0 * scale,
                    1e3 * times[times.size() / 2], 1e3 * times.back());
    }
    printLoad("open and idle", 0);
    printLoad("10,000 changes a second", 500);
    printPlaying();
    printMeters("100 level meters, silent", false);
    printMeters("100 level meters, falling", true);
    printClasses();
}

const bool isRegistered = [] {
    for (const auto& [size, scale] : {std::pair("100 %", 1.0f), {"200 %", 2.0f}}) {
        const auto compare = [size = size, scale = scale](const char* name, auto ours) {
            bench::compare(
                name + std::string(size), 1.5, [=](State& state) { ours(state, scale); },
                [=](State& state) { blit(state, scale); });
        };
        compare("repaint at ", repaint);
        compare("every control drawn at ", drawAnew);
    }
    bench::compare("repaint 100 level meters", 1.3, meters, stripsAlone);
    bench::compare("repaint 100 buttons", 1.3, buttons, framesAlone);
    bench::printAtTheEnd(printFigures);
    return true;
}();

}  // namespace
