#include "audio/Module.h"

#include "audio/Engine.h"
#include "audio/EngineFactory.h"
#include "parameters/Preset.h"
#include "parameters/PresetsLibrary.h"

namespace tarn {

namespace {

constexpr std::size_t TempBufferCount = 32;
constexpr int TempBufferSamples = 16384;

}  // namespace

Module::Module(Radio* plugin, const Settings& settings, const EngineFactory& factory)
    : Radio(plugin),
      plugin_(plugin),
      factory_(&factory),
      settings_(std::make_unique<Settings>(settings, false)) {
    Radio::setSettings(settings_.get());
    settings_->setParent(this);
}

Module::~Module() = default;

void Module::start() {
    settings_->start();
    engine_ = factory_->createEngine(this);
    if (engine_)
        engine_->start();
}

const std::vector<Module::TempBuffer>& Module::getTempBuffers() {
    while (tempBuffers_.size() < TempBufferCount)
        tempBuffers_.push_back(makeShared<IOChannel<float>>(TempBufferSamples));
    return tempBuffers_;
}

void Module::resetEngine() {
    if (engine_)
        engine_->reset();
}

Program* Module::getCurrentProgram() const {
    const auto* const library = dynamic_cast<const PresetsLibrary*>(plugin_);
    const Preset* const preset = library != nullptr ? library->getCurrent() : nullptr;
    return preset != nullptr ? preset->getProgram(index_) : nullptr;
}

std::string Module::getCurrentProgramName() const {
    const auto* const library = dynamic_cast<const PresetsLibrary*>(plugin_);
    return library != nullptr ? library->getCurrentName() : std::string();
}

int Module::getLatency() const {
    return engine_ ? engine_->getLatency() : 0;
}

void Module::process(const IOPinConfig& in, IOPinConfig& out, int frames) noexcept {
    if (engine_ && enabled_)
        engine_->process(in, out, frames);
}

}  // namespace tarn
