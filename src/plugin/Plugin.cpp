#include "plugin/Plugin.h"

#include "audio/Engine.h"
#include "audio/Module.h"
#include "diagnostics/System.h"
#include "foundation/Dictionary.h"
#include "foundation/File.h"
#include "foundation/Logger.h"
#include "foundation/NumberText.h"
#include "parameters/ParameterManager.h"
#include "parameters/ParameterValue.h"
#include "parameters/Settings.h"
#include "plugin/HostInterface.h"
#include "plugin/Mission.h"
#include "plugin/PluginInfo.h"
#include "resources/Resources.h"
#include "samples/Note.h"
#include "samples/Sample.h"
#include "samples/SampleManager.h"

#include <algorithm>
#include <cinttypes>
#include <cmath>

namespace tarn {

namespace {

constexpr double LearningMs = 10'000.0;  // after which no controller will be moved any more

constexpr std::int32_t ProgramChange = 0xC0;  // the number of a program change's controller event

constexpr std::int32_t MostTunings = 1024;
constexpr std::uint32_t AllRealms = 0xFFFF;

// Of data bytes and of both together, as a controller's 0.0 to 1.0.
constexpr float PerDataByte = 0.007874016f;
constexpr float PerPitchBend = 6.1035156e-05f;

// In the state.
constexpr const char* ParametersKey = "parameters";
constexpr const char* ProgramsKey = "programs";
constexpr const char* ResourcesKey = "resources";
constexpr const char* SamplesKey = "samples";
constexpr const char* TuningsKey = "tunings";
constexpr const char* MidiKey = "midi";

int dataByte(std::uint8_t byte) {
    return byte & 0x7F;
}

ParameterValue<std::int32_t>* currentProgramOf(const Settings* settings) {
    Parameter* const found = settings != nullptr ? settings->find(CurrentProgramName, 0) : nullptr;
    return dynamic_cast<ParameterValue<std::int32_t>*>(found);
}

// The rest of a settings' tree is walked in the order of the file.
template <typename Visit>
void visitParameters(const Settings& settings, const Visit& visit) {
    for (const auto& parameter : settings.getParameters())
        visit(*parameter);
    for (const Settings::Section& section : settings.getSections())
        visitParameters(*section.child, visit);
}

}  // namespace

Plugin::Plugin(HostInterface* host, std::uintptr_t baseAddress)
    : Radio(nullptr),
      host_(host),
      baseAddress_(baseAddress),
      parameterManager_(PluginInfo::get().createParameterManager()),
      sampleManager_(PluginInfo::get().createSampleManager(this)),
      midiMapper_(this, LearningMs) {
    for (const std::int32_t key : {AudioSection, MidiSection})
        getCpuMeter(key);
    if (Mission::get().isReady())
        logLine(LogWarning, "plugin base address 0x%" PRIxPTR ":0x%" PRIxPTR, baseAddress_,
                reinterpret_cast<std::uintptr_t>(this));
}

Plugin::~Plugin() {
    disconnect();
    Radio::setParent(nullptr);
    for (auto& module : modules_)
        module.reset();
}

void Plugin::start() {
    loadSettings();
    makeModules();
    readFactoryBank();
    init(this);
    open_ = true;
    tuneInToParameters();
    loadFirstPresets();
    logLine(LogProgress, "plugin 0x%" PRIxPTR ":0x%" PRIxPTR " constructed", baseAddress_,
            reinterpret_cast<std::uintptr_t>(this));
    if (const Settings* const settings = firstSettings())
        visitParameters(*settings, [](Parameter& parameter) { parameter.sendValue(); });
}

void Plugin::loadSettings() {
    const File file(System::getFolderLocation(System::Install), "Settings.xml");
    logLine(LogProgress, "loading plugin specification from " + file.getPath());
    auto settings = std::make_unique<Settings>(this, *parameterManager_,
                                               PluginInfo::get().getSchedulerDivisor());
    try {
        Dictionary definition;
        std::string message;
        if (!Mission::get().getParsedFiles().load(file, definition))
            throw Error(ErrorImportFailed(__func__, file.getPath()));
        if (!definition.canLoad(message))
            throw Error(GeneralError(__func__, message));
        if (const Error error = settings->load(definition, file); !error.isOk())
            throw Error(error);
    } catch (const Error& error) {
        logError(LogError, error);
        Mission::get().fatalOnce(PluginInfo::get().getTexts().settingsFailed);
        throw;
    }
    settings_ = std::move(settings);
}

void Plugin::makeModules() {
    const PluginInfo& product = PluginInfo::get();
    for (int i = 0; i < product.getModuleCount(); ++i) {
        std::unique_ptr<Module> module = product.createModule(this, *settings_);
        module->setIndex(i);
        module->setName(std::string(1, static_cast<char>('A' + i)));
        modules_.push_back(std::move(module));
    }
    setParent(getModule(0));
    for (const auto& module : modules_)
        module->start();
}

void Plugin::tuneInToParameters() {
    for (const auto& module : modules_)
        visitParameters(module->settings(), [this](Parameter& parameter) {
            const bool isOfSample = parameter.getScope() <= Parameter::ModuleScope;
            if (parameter.hasFlag(Parameter::Automatable) || isOfSample)
                tuneIn(&parameter);
        });
    tuneInByName(CurrentProgramName);
}

// A bank that can't be used counts as none; an installation may do without.
void Plugin::readFactoryBank() {
    auto bank = std::make_unique<Dictionary>();
    std::string message;
    if (!Mission::get().getParsedFiles().load(getFactoryFile(), *bank))
        return;
    if (!bank->canLoad(message)) {
        logLine(LogError, message);
        return;
    }
    factoryPrograms_ = std::min(bank->getArraySize(ProgramsKey), MostPresets);
    noteFactoryPresets(*bank);
    factoryBank_ = std::move(bank);
}

// The presets that the user has chosen for new instances, or else the factory's.
void Plugin::loadFirstPresets() {
    const std::unique_ptr<Dictionary> factoryBank = std::move(factoryBank_);
    std::string name;
    std::string message;
    if (Preferences::user() != nullptr && Preferences::user()->getString("DefaultPresets", name)) {
        Dictionary chosen;
        const File file(System::getFolderLocation(System::Resources).join(name).getPath());
        if (Mission::get().getParsedFiles().load(file, chosen)) {
            if (takeState(chosen, message)) {
                const auto held = hold();
                // A bank says nothing of the parameters: they are its first preset's.
                if (Preset* const current = getCurrent(); current && !chosen.find(ParametersKey))
                    current->activate(Parameter::PluginRealm);
                return;
            }
            Mission::get().alertOnce(message);
        }
    }
    if (factoryBank)
        loadBank(*factoryBank, message);
}

void Plugin::stop() {
    if (!std::exchange(open_, false))
        return;
    for (const auto& module : modules_)
        module->stop();
}

Radio* Plugin::getEditor() const {
    return host_ != nullptr ? host_->getEditor() : nullptr;
}

Module* Plugin::moduleAt(int index) const {
    const auto at = static_cast<std::size_t>(index);
    return at < modules_.size() ? modules_[at].get() : nullptr;
}

Radio* Plugin::getModule(int index) const {
    return moduleAt(index);
}

std::string Plugin::getModuleName(const Radio& module) const {
    const auto found = std::ranges::find(modules_, &module, &std::unique_ptr<Module>::get);
    return found != modules_.end() ? (*found)->getName() : std::string();
}

Settings* Plugin::firstSettings() const {
    return modules_.empty() ? nullptr : &modules_.front()->settings();
}

// A module whose factory makes none has no engine.
template <typename Visit>
void Plugin::forEachEngine(const Visit& visit) const {
    for (const auto& module : modules_)
        if (Engine* const engine = module->getEngine())
            visit(*engine);
}

CPUMeter& Plugin::getCpuMeter(std::int32_t key) {
    const auto found = cpuMeters_.find(key);
    if (found != cpuMeters_.end()) [[likely]]
        return *found->second;
    return *(cpuMeters_[key] = std::make_unique<CPUMeter>(this));
}

void Plugin::setCpuMetering(bool isOn) {
    isCpuMetering_ = isOn;
    for (const std::int32_t key : {AudioSection, MidiSection})
        if (isOn)
            getCpuMeter(key).start();
        else
            getCpuMeter(key).stop();
}

void Plugin::activate() {
    if (Resources* const resources = Mission::get().getResources())
        resources->setParent(getModule(0));
}

void Plugin::deactivate() {
    if (Resources* const resources = Mission::get().getResources())
        resources->setParent(nullptr);
}

void Plugin::setSampleRate(int rate) {
    forEachEngine([rate](Engine& engine) { engine.setSampleRate(rate); });
}

void Plugin::setBlockSize(int frames) {
    blockFrames_ = frames;
    for (const auto& module : modules_)
        module->settings().setBlockSize(frames);
    forEachEngine([frames](Engine& engine) { engine.setBlockSize(frames); });
}

void Plugin::resume() {
    forEachEngine([](Engine& engine) { engine.onReset(); });
}

int Plugin::getLatency() const {
    return modules_.empty() ? -1 : modules_.front()->getLatency();
}

void Plugin::process(IOPinConfig& in, IOPinConfig& out, int frames) noexcept {
    if (disabled_)
        return;
    processModules(in, out, frames);
    sampleClock_ = static_cast<std::int32_t>(static_cast<std::uint32_t>(sampleClock_.get()) +
                                             static_cast<std::uint32_t>(frames));
}

void Plugin::processModules(IOPinConfig& in, IOPinConfig& out, int frames) noexcept {
    for (const auto& module : modules_)
        module->process(in, out, frames);
}

void Plugin::resetAfterGap() {
    for (const auto& module : modules_)
        module->resetEngine();
    isRedrawDue_.store(true, std::memory_order_release);
    const RadioLock::Hold hold(deliveryLock(), RadioLock::AskOwner());
    if (hold.isOwner())
        catchUp();
}

void Plugin::catchUp() noexcept try {
    if (isRedrawDue_.exchange(false, std::memory_order_acquire))
        redraw();
} catch (const std::exception& failure) {
    logLine(LogError, "caught exception: %s", failure.what());
}

void Plugin::midiEvent(const MidiRecord& record) {
    const auto [status, first, second] = record.bytes;
    switch (status & 0xF0) {
        case Note::NoteOffStatus:
        case Note::NoteOnStatus:
            noteEvent(record);
            break;
        case 0xB0:
            controllerEvent(dataByte(first), static_cast<float>(dataByte(second)) * PerDataByte,
                            record.deltaFrames);
            break;
        case 0xD0:
            controllerEvent(midi::Aftertouch, static_cast<float>(dataByte(first)) * PerDataByte,
                            record.deltaFrames);
            break;
        case 0xE0:
            controllerEvent(
                midi::PitchWheel,
                static_cast<float>(dataByte(second) << 7 | dataByte(first)) * PerPitchBend,
                record.deltaFrames);
            break;
        default:
            break;
    }
}

void Plugin::noteEvent(const MidiRecord& record) {
    const auto velocity = static_cast<std::int16_t>(dataByte(record.bytes[2]));
    const int status = record.bytes[0] & 0xF0;
    const bool isOn = status == Note::NoteOnStatus && velocity != 0;
    Note note(this);
    note.setMidi(isOn ? Note::NoteOnStatus : Note::NoteOffStatus,
                 static_cast<std::int16_t>(record.bytes[0] & 0x0F),
                 static_cast<std::int16_t>(dataByte(record.bytes[1])), velocity, record.detune,
                 static_cast<std::uint32_t>(record.deltaFrames),
                 static_cast<std::uint32_t>(record.noteLength));
    MidiMessage message(this, isOn ? MidiMessage::NoteOn : MidiMessage::OtherNote, &note,
                        note.toEvent(), 0);
    receive(message);
}

// First to the mapper, which may be learning, then to what is bound, then to everybody else.
void Plugin::controllerEvent(std::int32_t controller, float value, std::int32_t position) {
    const MidiEvent event{controller, value, position};
    MidiMessage message(this, MidiMessage::Event, &event, 0);
    midiMapper_.receive(message);
    applyController(midiMapper_, *this, controller, value, position, blockFrames_);
    for (const auto& module : modules_)
        module->receive(message);
    transmit(message);
}

bool Plugin::receive(Message& message) {
    switch (message.type) {
        case MessageType::Midi:
            return receiveMidi(message);
        case MessageType::Parameter:
            return receiveParameter(message);
        case MessageType::Window:
            if (message.code != WindowMessage::DropFile &&
                message.code != WindowMessage::DropSample)
                break;
            return importFile(File(static_cast<WindowMessage&>(message).text.view()));
        case MessageType::System:
            return receiveSystem(message);
        default:
            break;
    }
    return Radio::receive(message);
}

bool Plugin::receiveMidi(const Message& message) {
    const auto& midi = static_cast<const MidiMessage&>(message);
    if (midi.code == MidiMessage::NoteOn || midi.code == MidiMessage::OtherNote) {
        forEachEngine([&](Engine& engine) { engine.noteEvent(Note(this, midi.note)); });
        return true;
    }
    if (midi.code != MidiMessage::Event || midi.event.controller != ProgramChange)
        return false;
    if (midi.event.value >= 0.0f && midi.event.value <= 1.0f)
        setProgram(static_cast<std::int32_t>(std::lround(midi.event.value * 127.0f)));
    return true;
}

bool Plugin::receiveParameter(Message& message) {
    const auto& change = static_cast<const ParameterMessage&>(message);
    if (change.code == ParameterMessage::ValueChanged &&
        change.parameterName == CurrentProgramName) {
        const auto index = fromPayload<std::int32_t>(change.payload);
        if (index != getCurrentIndex())
            setProgram(index);
        return true;
    }
    if (change.mode == FromUser || change.mode == FromMidi)
        tellSample(message);
    return true;
}

// A parameter of a zone's scope is one of the current sample, as long as there are no zones.
void Plugin::tellSample(Message& message) {
    const auto* const parameter = dynamic_cast<const Parameter*>(message.sender);
    Resources* const resources = Mission::get().getResources();
    if (parameter == nullptr || resources == nullptr || !parameter->inScope(Parameter::ZoneScope))
        return;
    const std::string& name = sampleManager_->getFirstName();
    if (const SharedObjectPtr<Sample> sample = resources->getSample(name))
        sample->receive(message);
}

bool Plugin::receiveSystem(Message& message) {
    constexpr std::int32_t Disable = 3007;
    switch (message.code) {
        case SystemMessage::PluginRequest:
            shutDown_ = true;
            return true;
        case SystemMessage::Shutdown:
            return getEditor() != nullptr && getEditor()->receive(message);
        case Disable:
            disabled_ = true;
            return true;
        default:
            return Radio::receive(message);
    }
}

std::int32_t Plugin::getProgramCount() const {
    return std::max(factoryPrograms_, 1);
}

void Plugin::setProgram(std::int32_t index) {
    const auto held = hold();
    selectProgram(index);
    currentChanged();
}

void Plugin::currentChanged() {
    const auto held = hold();
    const std::int32_t current = getCurrentIndex();
    if (open_) {
        PluginMessage changed(this, PluginMessage::ProgramChanged, toPayload(current));
        transmit(changed);
        redraw();
    }
    if (auto* const parameter = currentProgramOf(firstSettings()))
        parameter->setValue(getCurrentIndex(), FromInternal);
}

void Plugin::redraw() {
    WindowMessage message(this, WindowMessage::Repaint, nullptr);
    transmit(message);
}

void Plugin::setModified(bool isModified) {
    PresetsLibrary::setModified(isModified);
    PluginMessage message(
        this, isModified ? PluginMessage::ProgramModified : PluginMessage::ProgramsUnmodified, 0);
    transmit(message);
}

bool Plugin::importFile(const File& file) {
    std::string message;
    const bool isImported =
        Sample::canImport(file) ? importSample(file, message) : importPresets(file, message);
    if (!isImported)
        System::alert(message, true);
    return isImported;
}

bool Plugin::importSample(const File& file, std::string& message) {
    Resources* const resources = Mission::get().getResources();
    const SharedObjectPtr<Sample> sample = Sample::create(file, true);
    const std::string path = file.getPath();
    if (resources == nullptr || !sample) {
        message = ErrorImportFailed(__func__, path).what();
        return false;
    }
    resources->addSample(path, sample.get());
    {
        const auto held = hold();
        const SampleMapping all;
        sampleManager_->setMapping(path, all.value, {all.keyLow, all.keyHigh},
                                   {all.velocityLow, all.velocityHigh});
        holdSamples();
    }
    ResourceMessage loaded(this, ResourceMessage::ResourceLoaded, path, 0);
    transmit(loaded);
    return true;
}

// When an instance has loaded, resources drop the samples that nobody holds.
void Plugin::holdSamples() {
    samples_.clear();
    if (const Resources* const resources = Mission::get().getResources())
        for (const std::string& name : sampleManager_->getNames())
            if (SharedObjectPtr<Sample> sample = resources->getSample(name))
                samples_.push_back(std::move(sample));
}

// A single preset replaces the current one, but for the factory's; several all of them.
bool Plugin::importPresets(const File& file, std::string& message) {
    Dictionary tree;
    if (!tree.load(file)) {
        message = ErrorImportFailed(__func__, file.getPath()).what();
        return false;
    }
    if (tree.getArraySize(ProgramsKey) != 1) {
        if (!loadBank(tree, message))
            return false;
    } else {
        if (!tree.canLoad(message))
            return false;
        if (!leaveFactoryPreset()) {
            message = NoRoom;
            return false;
        }
        loadProgram(tree, 0);
    }
    currentChanged();
    return true;
}

// For a new one of its name. False if there is no room for that.
bool Plugin::leaveFactoryPreset() {
    const auto held = hold();
    const Preset* const current = getCurrent();
    return current == nullptr || !isFactory(*current) ||
           addPreset(current->getName(Preset::BankName | Preset::OwnName));
}

bool Plugin::writeState(Dictionary& state, std::int32_t /*options*/) {
    writeHeader(state);
    const auto held = hold();
    if (const auto parameters = state.addDict(ParametersKey); parameters && firstSettings())
        firstSettings()->write(*parameters, Parameter::AllScopes, false);
    writePrograms(state);
    writeSamples(state);
    writeTunings(state);
    writeMidi(state);
    return true;
}

void Plugin::writeHeader(Dictionary& state) const {
    const PluginInfo& product = PluginInfo::get();
    state.setInfo(product.getProductName(), product.getVersionText());
    state.setString("file-format", product.getFileFormatText());
    std::string author;
    if (Preferences::user() != nullptr && Preferences::user()->getString("FullName", author))
        state.setString("author", author);
}

void Plugin::writePrograms(Dictionary& state) {
    writeAll(state);
    state.setAttribute(ProgramsKey, "currentProgram", toText(getCurrentIndex()));
    writeFavorites(state);
}

// Which samples the state uses and where they lie, then how they are mapped.
void Plugin::writeSamples(Dictionary& state) const {
    Resources* const resources = Mission::get().getResources();
    const auto used = state.addDict(ResourcesKey);
    if (const auto list = used ? used->addArray(SamplesKey) : nullptr; list && resources) {
        for (const std::string& name : sampleManager_->getNames())
            if (const auto entry = list->addDict("sample"))
                entry->setString("id", name);
        resources->writeSamplesTo(*used, true);
    }
    if (const auto mappings = state.addArray(SamplesKey))
        sampleManager_->write(*mappings);
}

void Plugin::writeTunings(Dictionary& state) const {
    const auto tunings = state.addArray(TuningsKey);
    if (!tunings)
        return;
    tunings->setInteger("current", static_cast<std::int32_t>(currentTuning_));
    for (const Tuning& tuning : tunings_)
        if (const auto element = tunings->addDict("tuning"))
            tuning.write(*element);
}

void Plugin::writeMidi(Dictionary& state) const {
    if (const auto element = state.addDict(MidiKey))
        midiMapper_.write(*element, [](const Parameter* parameter) {
            return MidiMapper<Parameter*>::Name{parameter->getId(), parameter->getClone()};
        });
}

bool Plugin::readState(Dictionary& state) {
    std::string message;
    if (takeState(state, message))
        return true;
    System::alert(message, true);
    return false;
}

bool Plugin::takeState(Dictionary& state, std::string& message) {
    if (!state.canLoad(message))
        return false;
    readParts(state);
    forEachEngine([](Engine& engine) { engine.onReset(); });
    if (auto* const parameter = currentProgramOf(firstSettings())) {
        const auto held = hold();
        parameter->sendValue();
    }
    redraw();
    return true;
}

void Plugin::readParts(const Dictionary& state) {
    const Loading loading(*this);
    if (const auto resources = state.find(ResourcesKey))
        readResources(*resources);
    readPresetResources(state);
    const auto held = hold();
    readTunings(state);
    readAll(state);
    readFavorites(state);
    if (Settings* const settings = firstSettings()) {
        const auto parameters = state.find(ParametersKey);
        settings->read(parameters ? *parameters : state, Parameter::AllScopes, AllRealms, false);
    }
    readCurrentProgram(state);
    readMidi(state);
    if (const auto mappings = state.getArray(SamplesKey))
        sampleManager_->read(*mappings);
    holdSamples();
    countLoad();
}

void Plugin::readCurrentProgram(const Dictionary& state) {
    const auto programs = state.getArray(ProgramsKey);
    std::int32_t index = 0;
    if (programs && programs->getInteger("currentProgram", index))
        setProgram(index);
}

void Plugin::readTunings(const Dictionary& state) {
    const auto tunings = state.getArray(TuningsKey);
    if (!tunings)
        return;
    std::vector<Tuning> loaded;
    for (std::int32_t i = 0; i < std::min(tunings->count("tuning"), MostTunings); ++i)
        loaded.emplace_back().read(*tunings->getEntry(i, "tuning"));
    if (loaded.empty())
        return;
    std::int32_t current = 0;
    tunings->getInteger("current", current);
    tunings_ = std::move(loaded);
    currentTuning_ = std::min(static_cast<std::size_t>(std::max(current, 0)), tunings_.size() - 1);
}

void Plugin::readMidi(const Dictionary& state) {
    const auto element = state.find(MidiKey);
    Settings* const settings = firstSettings();
    // Others, such as the current program's, have listeners that don't belong on the audio thread.
    if (element && settings != nullptr)
        midiMapper_.read(*element, [settings](const std::string& id, std::int32_t clone) {
            Parameter* const target = settings->find(id, clone);
            return target != nullptr && target->hasFlag(Parameter::Automatable) ? target : nullptr;
        });
}

void Plugin::resourcesLoading(bool isBeginning) {
    Resources* const resources = Mission::get().getResources();
    if (resources == nullptr)
        return;
    if (isBeginning)
        resources->retainAllSamples();
    else
        resources->releaseAllSamples();
}

void Plugin::readResources(const Dictionary& list) {
    if (Resources* const resources = Mission::get().getResources())
        resources->readSamples(list, this);
}

bool Plugin::reportMissingSample(File& file) {
    if (getEditor() == nullptr)
        return false;
    const std::string name = file.getName();
    constexpr int Yes = 0, Ok = 0;
    if (System::ask("The sample '" + name +
                        "' could not be found!\r\nDo you want to locate it yourself?\r\nChoose "
                        "Cancel to skip the sample.",
                    true) != Yes)
        return false;
    File chosen(file);
    if (!chosen.browseOpen({"Missing sample", "Locate sample '" + name + "'.", "Samples",
                            std::string(Sample::Filter)}))
        return false;
    if (System::confirm("Include this folder in future searches?", true) == Ok)
        if (Resources* const resources = Mission::get().getResources())
            resources->addSearchFolder(chosen.getFolder());
    file = chosen;
    return true;
}

bool Plugin::findPackFile(const std::string& pack, File& file) {
    const File found(System::getFolderLocation(System::Resources).join("Samples"), pack + ".pack");
    if (!found.exists())
        return false;
    file = found;
    return true;
}

}  // namespace tarn
