#include "host/Edit.h"

#include "host/Failure.h"
#include "host/Files.h"
#include "host/GuardedBuffers.h"
#include "host/Host.h"
#include "host/Instance.h"
#include "host/PluginLibrary.h"
#include "host/Script.h"
#include "host/Source.h"
#include "platform/HostWindow.h"

#include <png.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <iostream>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <thread>
#include <utility>

namespace tarn::host {

namespace {

using platform::HostWindow;
using platform::Spot;

constexpr double kRate = 44100.0;
constexpr int kBlockFrames = 512;
constexpr int kMostTicksUnasked = 1500;       // half a minute, for slow machines
constexpr int kMostPixels = 16'384;           // of an interface's side
constexpr int kSettledAfter = 10;             // openings
constexpr std::int64_t kUsualBytes = 65'536;  // that come and go with the system's own work

void savePicture(HostWindow& window, const std::string& path) {
    Spot size;
    const std::vector<std::uint8_t> pixels = window.picture(size);
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(size.x);
    image.height = static_cast<png_uint_32>(size.y);
    image.format = PNG_FORMAT_RGB;
    png_alloc_size_t bytes = 0;
    std::vector<std::byte> file;
    if (!pixels.empty() &&
        png_image_write_get_memory_size(image, bytes, 0, pixels.data(), 0, nullptr)) {
        file.resize(bytes);
        if (png_image_write_to_memory(&image, file.data(), &bytes, 0, pixels.data(), 0, nullptr) ==
            0)
            bytes = 0;
        file.resize(bytes);
    }
    if (file.empty())
        throw Failure(ExitBadUse, "the window's picture can't be had");
    writeFile(path, file);
}

/// An instance, its window, and its interface in it.
class Stage {
public:
    Stage(VstPluginEntry entry, Host& host, Findings& findings, const std::string& title)
        : instance(entry, host, findings), findings_(findings), title_(title) {
        if ((instance.record().flags & effFlagsHasEditor) == 0)
            throw Failure(ExitNotLoaded, "the plug-in has no interface");
    }

    void makeBuffers() {
        buffers = std::make_unique<GuardedBuffers>(instance.inputs(), instance.outputs(),
                                                   kBlockFrames, false);
    }

    /// Lets go of what a script still holds.
    void release() {
        if (window->handle() == nullptr)
            return;
        for (const bool isRight : std::exchange(held_, {}))
            window->button(isRight, false);
    }

    void button(bool isRight, bool isDown) {
        window->button(isRight, isDown);
        if (isDown)
            held_.insert(isRight);
        else
            held_.erase(isRight);
    }

    void openWindow() {
        window = HostWindow::open(title_, size());
        if (window == nullptr)
            throw Failure(ExitNotLoaded, "this system gives the host no window");
    }

    void open() {
        window->resize(size());
        if (instance.dispatch(effEditOpen, 0, 0, window->handle()) == 0)
            findings_.add("didn't open its interface");
        window->resize(size());  // some know it only now
        isInterfaceOpen_ = true;
    }

    void close() {
        instance.dispatch(effEditClose);
        isInterfaceOpen_ = false;
        if (window->handle() != nullptr && window->childCount() != 0)
            findings_.add("left a window behind when its interface was closed");
    }

    /// The parent first, as some hosts do.
    void destroy() {
        window->destroy();
        close();
    }

    void end() {
        if (isInterfaceOpen_)
            close();
    }

    void idle() {
        if (isInterfaceOpen_)
            instance.dispatch(effEditIdle);
    }

    Instance instance;
    std::unique_ptr<GuardedBuffers> buffers;
    std::unique_ptr<HostWindow> window;

private:
    Spot size() {
        ERect* rect = nullptr;
        instance.dispatch(effEditGetRect, 0, 0, &rect);
        const Spot size =
            rect != nullptr ? Spot{rect->right - rect->left, rect->bottom - rect->top} : Spot{};
        if (size.x > 0 && size.y > 0 && size.x <= kMostPixels && size.y <= kMostPixels)
            return size;
        findings_.add("gives its interface no size, or an absurd one");
        return {400, 300};
    }

    Findings& findings_;
    std::string title_;
    bool isInterfaceOpen_ = false;
    std::set<bool> held_;  // buttons, true is the right one
};

class Session {
public:
    Session(const EditOptions& options, Findings& findings);
    void run();

private:
    void prepare();
    void playAudio();
    void tick();
    void play(const Step& step);
    bool takeAnswer(const Step& step);
    void waitToAnswer(const Step& step);
    void expect(const Step& step, const std::string& what, const std::string& shown);
    std::string programName();
    void openAgainAndAgain();
    std::string display(const std::string& parameter);
    void setText(Instance& instance, const std::string& parameter, const std::string& text);
    VstInt32 indexOf(const std::string& parameter);

    const EditOptions& options_;
    Findings& findings_;
    std::vector<Step> steps_;
    std::size_t next_ = 0;
    int waiting_ = 0;  // ticks
    int unasked_ = 0;  // ticks since an answer was due
    std::optional<Failure> failure_;
    std::atomic<bool> isScriptOver_{false};
    std::atomic<bool> isOver_{false};
    Host host_;
    PluginLibrary library_;
    std::vector<std::unique_ptr<Stage>> stages_;
};

bool isAnswer(const Step& step) {
    return step.kind == Step::Kind::Choose || step.kind == Step::Kind::Enter ||
           step.kind == Step::Kind::Answer;
}

HostSettings settingsFor(const std::string& plugin) {
    HostSettings settings;
    settings.rate = kRate;
    settings.announcedBlock = kBlockFrames;
    settings.isRealTime = true;
    settings.folder = folderOf(plugin);
    return settings;
}

std::string scriptOf(const EditOptions& options) {
    std::string text;
    if (!options.script.empty())
        for (const std::byte byte : readFile(options.script))
            text += static_cast<char>(byte);
    for (const std::string& step : options.steps)
        text += "\n" + step;
    return text;
}

Session::Session(const EditOptions& options, Findings& findings)
    : options_(options),
      findings_(findings),
      steps_(parseScript(scriptOf(options))),
      host_(settingsFor(options.plugin), findings),
      library_(options.plugin) {
    for (int i = 0; i < options.instances; ++i)
        stages_.push_back(
            std::make_unique<Stage>(library_.entry(), host_, findings, options.plugin));
}

void Session::prepare() {
    for (const auto& stage : stages_) {
        Instance& instance = stage->instance;
        instance.configure();
        instance.arrange(2, 2);
        if (!options_.loadChunk.empty() && !instance.setChunk(readFile(options_.loadChunk)))
            throw Failure(ExitBadUse, "the plug-in takes no chunk");
        for (const TextSetting& setting : options_.textSettings)
            setText(instance, setting.parameter, setting.text);
        instance.resume();
        stage->makeBuffers();
    }
    // The script's window last, in front of the others.
    for (auto stage = stages_.rbegin(); stage != stages_.rend(); ++stage) {
        (*stage)->openWindow();
        (*stage)->open();
    }
}

// As every host does: on a thread of its own, at the speed of the sound card.
void Session::playAudio() {
    SignalSettings signal;
    signal.rate = kRate;
    SignalSource source(signal);
    Channels input(2);
    std::int64_t position = 0;
    auto next = std::chrono::steady_clock::now();
    while (!isOver_) {
        source.read(input, kBlockFrames);
        for (const auto& stage : stages_) {
            if (stage->instance.takeIOChange())
                stage->makeBuffers();
            input.resize(
                std::max(input.size(), static_cast<std::size_t>(stage->instance.inputs())));
            for (auto& channel : input)
                channel.resize(kBlockFrames);
            stage->buffers->load(input, kBlockFrames);
            host_.beginBlock(position);
            stage->instance.process(stage->buffers->inputs(), stage->buffers->outputs(),
                                    kBlockFrames);
            host_.endBlock();
            stage->buffers->check(input, kBlockFrames, "while the interface was open", findings_);
        }
        position += kBlockFrames;
        next += std::chrono::microseconds(static_cast<std::int64_t>(1e6 * kBlockFrames / kRate));
        std::this_thread::sleep_until(next);
    }
}

void Session::setText(Instance& instance, const std::string& parameter, const std::string& text) {
    if (!instance.setParameterText(indexOf(parameter), text))
        throw Failure(ExitBadUse,
                      "the plug-in doesn't take '" + text + "' for parameter '" + parameter + "'");
}

VstInt32 Session::indexOf(const std::string& parameter) {
    const auto index = stages_.front()->instance.findParameter(parameter);
    if (!index)
        throw Failure(ExitBadUse, "the plug-in has no parameter '" + parameter + "'");
    return *index;
}

std::string Session::programName() {
    return stages_.front()->instance.text(effGetProgramName, 0, kVstMaxProgNameLen,
                                          "the program's name");
}

std::string Session::display(const std::string& parameter) {
    return stages_.front()->instance.text(effGetParamDisplay, indexOf(parameter),
                                          kVstMaxParamStrLen, "a parameter's display");
}

void Session::play(const Step& step) {
    Stage& stage = *stages_.front();
    const Spot place{step.x, step.y};
    const bool needsWindow = step.kind != Step::Kind::Wait && step.kind != Step::Kind::Close &&
                             step.kind != Step::Kind::Set && step.kind != Step::Kind::Expect &&
                             step.kind != Step::Kind::ExpectProgram;
    if (needsWindow && stage.window->handle() == nullptr)
        throw Failure(ExitBadUse, "there is no window any more");
    switch (step.kind) {
        case Step::Kind::Move:
            return stage.window->movePointer(place);
        case Step::Kind::Press:
        case Step::Kind::Release:
            return stage.button(step.isRight, step.kind == Step::Kind::Press);
        case Step::Kind::Wheel:
            return stage.window->wheel(120 * step.number);
        case Step::Kind::KeyDown:
        case Step::Kind::KeyUp:
            return stage.window->key(step.number, step.kind == Step::Kind::KeyDown);
        case Step::Kind::DropFiles:
        case Step::Kind::DropText: {
            platform::DroppedData data;
            if (step.kind == Step::Kind::DropText)
                data.text = step.texts.front();
            else
                data.files = step.texts;
            if (!stage.window->drop(data, place))
                std::cerr << "nothing took the drop of line " << step.line << '\n';
            return;
        }
        case Step::Kind::Wait:
            waiting_ = step.number;
            return;
        case Step::Kind::Screenshot:
            return savePicture(*stage.window, step.texts.front());
        case Step::Kind::Open:
            return stage.open();
        case Step::Kind::Close:
            return stage.close();
        case Step::Kind::Destroy:
            return stage.destroy();
        case Step::Kind::Set:
            return setText(stage.instance, step.texts[0], step.texts[1]);
        case Step::Kind::Expect:
            return expect(step, step.texts[0], display(step.texts[0]));
        case Step::Kind::ExpectProgram:
            return expect(step, "the program", programName());
        case Step::Kind::Choose:
        case Step::Kind::Enter:
        case Step::Kind::Answer:
            return;  // they wait
    }
}

// False while the plug-in doesn't ask that. Nothing else is played meanwhile.
bool Session::takeAnswer(const Step& step) {
    HostWindow& window = *stages_.front()->window;
    if (step.kind == Step::Kind::Choose) {
        std::string missing;
        const bool isMenu = window.choose(step.texts, missing);
        if (!missing.empty())
            throw Failure(ExitBadUse, "line " + std::to_string(step.line) +
                                          " of the script: the menu has no entry '" + missing +
                                          "'");
        return isMenu;
    }
    if (step.kind == Step::Kind::Enter)
        return window.enter(step.texts.front());
    std::string shown;
    if (!window.answer(static_cast<platform::MessageAnswer>(step.number), shown))
        return false;
    if (shown.find(step.texts.front()) == std::string::npos)
        findings_.add("shows a box that says '" + shown + "' where line " +
                      std::to_string(step.line) + " expects '" + step.texts.front() + "'");
    return true;
}

void Session::expect(const Step& step, const std::string& what, const std::string& shown) {
    if (shown != step.texts.back())
        findings_.add("shows '" + shown + "' as " + what + " where line " +
                      std::to_string(step.line) + " expects '" + step.texts.back() + "'");
}

void Session::waitToAnswer(const Step& step) {
    if (takeAnswer(step)) {
        unasked_ = 0;
        ++next_;
    } else if (++unasked_ > kMostTicksUnasked) {
        throw Failure(ExitBadUse, "line " + std::to_string(step.line) +
                                      " of the script: the plug-in asks nothing of that kind");
    }
}

// Also while the plug-in waits for the user in a menu or a box of its own: the step may end that.
void Session::tick() {
    for (const auto& stage : stages_)
        stage->idle();
    if (isScriptOver_ || (waiting_ > 0 && --waiting_ > 0))
        return;
    try {
        if (next_ < steps_.size() && isAnswer(steps_[next_]))
            waitToAnswer(steps_[next_]);
        else if (next_ < steps_.size())
            play(steps_[next_++]);
    } catch (const Failure& failure) {
        failure_ = failure;
    }
    if (failure_ || (next_ == steps_.size() && waiting_ == 0)) {
        isScriptOver_ = true;
        stages_.front()->release();
        for (const auto& stage : stages_)
            stage->end();  // with the menu or the box that still waits
    }
}

void Session::openAgainAndAgain() {
    Stage& stage = *stages_.front();
    platform::ProcessHoldings settled;
    for (int i = 0; i < options_.times; ++i) {
        if (i == kSettledAfter)
            settled = platform::processHoldings();
        stage.open();
        stage.window->serve();
        stage.idle();
        stage.window->serve();
        stage.close();
    }
    if (options_.times <= kSettledAfter)
        return;
    const platform::ProcessHoldings end = platform::processHoldings();
    std::cerr << options_.times << " openings; since the " << kSettledAfter
              << "th the process holds " << end.objects - settled.objects
              << " more objects of the system and " << (end.bytes - settled.bytes) / 1024
              << " more KiB\n";
    if (end.objects > settled.objects)
        findings_.add("leaves objects of the system behind with its interface");
    if (end.bytes - settled.bytes > kUsualBytes)
        findings_.add("leaves memory behind with its interface");
}

void Session::run() {
    prepare();
    auto audio = std::async(std::launch::async, [this] { playAudio(); });
    const bool hasScript = !steps_.empty();
    isScriptOver_ = !hasScript;
    stages_.front()->window->tick = [this] { tick(); };
    const auto isGoingOn = [&] {
        const HostWindow* const window = stages_.front()->window.get();
        return hasScript ? !isScriptOver_ : options_.times == 0 && window->isOpen();
    };
    while (isGoingOn())
        stages_.front()->window->serve();
    if (!failure_ && options_.times > 0 && stages_.front()->window->handle() != nullptr) {
        stages_.front()->end();
        openAgainAndAgain();
    }
    for (const auto& stage : stages_)
        stage->end();
    isOver_ = true;
    audio.get();
    for (const auto& stage : stages_)
        stage->instance.suspend();
    if (failure_)
        throw *failure_;
}

}  // namespace

void edit(const EditOptions& options, Findings& findings) {
    Session(options, findings).run();
}

}  // namespace tarn::host
