#include "parameters/Settings.h"

#include "foundation/File.h"
#include "foundation/Logger.h"
#include "foundation/NumberText.h"
#include "parameters/ParameterManager.h"
#include "parameters/ParameterScheduler.h"
#include "parameters/ParameterText.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <map>
#include <utility>

namespace tarn {

namespace {

constexpr const char* Load =
    "class tarn::Error __thiscall tarn::Settings::load(class tarn::File &)";

// A state may come from anywhere: what is wrong with one value spoils no other.
void readValue(Parameter& parameter, const Dictionary& value) {
    try {
        parameter.read(value);
    } catch (const Error& error) {
        logError(LogError, error);
    }
}

// Allocates nothing, whatever thread this is.
void tellUnknown(std::string_view name) {
    std::fprintf(stderr, "UNKNOWN PARAMETER %.*s\n", static_cast<int>(name.size()), name.data());
}

}  // namespace

Settings* settingsOf(const Radio& radio) noexcept {
    ParameterDirectory* const directory = radio.getSettings();
    return directory != nullptr ? directory->asSettings() : nullptr;
}

Settings::Settings(Radio* module, const ParameterManager& manager, int schedulerDivisor)
    : Radio(module),
      module_(module),
      manager_(&manager),
      schedulerDivisor_(schedulerDivisor),
      scheduler_(std::make_unique<ParameterScheduler>(module, schedulerDivisor)) {}

Settings::Settings(Settings& parent, std::string name, std::int32_t clone)
    : Settings(parent.module_, *parent.manager_, parent.schedulerDivisor_) {
    name_ = std::move(name);
    clone_ = clone;
    parentSettings_ = &parent;
}

Settings::Settings(const Settings& other, bool flag)
    : Allocator(),
      Radio(other),
      SharedObject(other),
      ParameterDirectory(),
      module_(other.module_),
      manager_(other.manager_),
      schedulerDivisor_(other.schedulerDivisor_),
      scheduler_(std::make_unique<ParameterScheduler>(other.module_, other.schedulerDivisor_)),
      name_(other.name_),
      clone_(other.clone_),
      useSteps_(other.useSteps_),
      blockFrames_(other.blockFrames_) {
    for (const Section& section : other.sections_) {
        auto child = std::make_unique<Settings>(*section.child, flag);
        child->parentSettings_ = this;
        sections_.push_back({section.name, section.clone, std::move(child)});
    }
    for (const auto& parameter : other.parameters_) {
        if (parameter->getScope() > Parameter::ModuleScope) {
            parameters_.push_back(parameter);
            if (parameter->getParent() == nullptr)
                parameter->setParent(module_);
            continue;
        }
        parameters_.emplace_back(manager_->createCopy(parameter.get()));
        parameters_.back()->setSettings(this);
        parameters_.back()->setParent(module_);
    }
    if (other.parentSettings_ == nullptr)
        finish();
}

Settings::~Settings() {
    for (const auto& parameter : parameters_) {
        if (parameter->getSettings() == this) {
            // A copy may keep it for longer than the module lives, and adopts it when it starts.
            parameter->setParent(nullptr);
            parameter->setSettings(nullptr);
        }
        if (parameter.use_count() == 1)
            logLine(LogWarning, "Settings::0x%" PRIxPTR " : deleting Parameter 0x%" PRIxPTR " (%s)",
                    reinterpret_cast<std::uintptr_t>(this),
                    reinterpret_cast<std::uintptr_t>(parameter.get()), parameter->getId().c_str());
    }
}

Error Settings::load(const File& file) {
    Dictionary definition;
    if (!definition.load(file))
        return ErrorImportFailed(Load, file.getPath());
    return load(definition, file);
}

Error Settings::load(const Dictionary& definition, const File& file) {
    const auto level = definition.getArray("parameters");
    if (!level)
        return ErrorImportFailed(Load, file.getPath());
    Settings loaded(module_, *manager_, schedulerDivisor_);
    loaded.readLevel(*level);
    takeTree(loaded);
    finish();
    return NoError();
}

void Settings::readLevel(const Dictionary& level) {
    std::map<std::string, std::int32_t> clones;
    for (std::int32_t i = 0; i < level.count("section"); ++i) {
        const auto element = level.getEntry(i, "section");
        std::string name = element->getAttribute("name");
        const std::int32_t clone = clones[name]++;
        sections_.push_back(
            {name, clone, std::unique_ptr<Settings>(new Settings(*this, name, clone))});
        sections_.back().child->readLevel(*element);
    }
    for (std::int32_t i = 0; i < level.count(""); ++i) {
        const auto element = level.getEntry(i);
        std::shared_ptr<Parameter> parameter(manager_->createFromDictionary(*element));
        if (!parameter)
            continue;
        parameter->setSettings(this);
        parameter->setParent(module_);
        parameter->read(*element);
        parameter->start();
        parameters_.push_back(std::move(parameter));
    }
}

void Settings::takeTree(Settings& loaded) {
    ids_.clear();
    automatable_.clear();
    parameters_.swap(loaded.parameters_);
    sections_.swap(loaded.sections_);
    for (const auto& former : loaded.parameters_)
        if (former->getSettings() == this)
            former->setSettings(&loaded);
    for (const auto& parameter : parameters_)
        parameter->setSettings(this);
    for (const Section& section : sections_)
        section.child->parentSettings_ = this;
}

void Settings::finish() {
    automatable_.clear();
    collectAutomatable(automatable_);
    ids_.clear();
    idChanges_ = Parameter::idChanges();
    indexIds(*this);
    setBlockSize(blockFrames_);
}

void Settings::collectAutomatable(std::vector<Parameter*>& list) const {
    for (const auto& parameter : parameters_)
        if (parameter->hasFlag(Parameter::Automatable | Parameter::Export))
            list.push_back(parameter.get());
    for (const Section& section : sections_)
        section.child->collectAutomatable(list);
}

// The order is that of `walk`, whose first match counts.
void Settings::indexIds(const Settings& section) {
    for (const auto& parameter : section.parameters_) {
        ids_.add(parameter->getId(), 0, parameter.get());
        if (section.clone_ != 0)
            ids_.add(parameter->getId(), section.clone_, parameter.get());
    }
    for (const Section& below : section.sections_)
        indexIds(*below.child);
}

Parameter* Settings::find(std::string_view id, std::int32_t clone) const {
    if (parentSettings_ != nullptr || idChanges_ != Parameter::idChanges())
        return walk(id, clone);
    return ids_.find(id, clone);
}

Parameter* Settings::walk(std::string_view id, std::int32_t clone) const {
    if (clone == 0 || clone == clone_)
        for (const auto& parameter : parameters_)
            if (parameter->getId() == id)
                return parameter.get();
    for (const Section& section : sections_)
        if (Parameter* const found = section.child->walk(id, clone))
            return found;
    return nullptr;
}

Parameter* Settings::findByHostName(std::string_view name, int maxLength) const {
    for (const auto& parameter : parameters_)
        if (parameter->getHostName(maxLength) == name)
            return parameter.get();
    for (const Section& section : sections_)
        if (Parameter* const found = section.child->findByHostName(name, maxLength))
            return found;
    return nullptr;
}

std::int32_t Settings::getParameterCount() const {
    return static_cast<std::int32_t>(parameters_.size());
}

std::string Settings::getPath() const {
    if (parentSettings_ == nullptr)
        return {};
    std::string path = parentSettings_->getPath();
    if (!path.empty())
        path += ".";
    path += name_;
    if (std::ranges::count(parentSettings_->sections_, name_, &Section::name) > 1)
        path += "." + toText(clone_ + 1);
    return path;
}

bool Settings::isSaved(const Parameter& parameter, std::uint32_t scopeMask, bool all) const {
    return parameter.inScope(scopeMask) && (all || parameter.hasFlag(Parameter::Export));
}

void Settings::read(const Dictionary& state, std::uint32_t scopeMask, std::uint32_t realmMask,
                    bool all) {
    for (const auto& parameter : parameters_) {
        if (!isSaved(*parameter, scopeMask, all) || !parameter->inRealm(realmMask))
            continue;
        if (const auto value = state.find(stateKey(parameter->getId()), parameter->getClone()))
            readValue(*parameter, *value);
        else
            parameter->resetToDefault(FromLoad);
    }
    for (const Section& section : sections_) {
        const auto element = state.find(stateKey(section.name), section.clone);
        const bool hasOwn = element && element->count("") > 0;
        section.child->read(hasOwn ? *element : state, scopeMask, realmMask, false);
    }
}

void Settings::write(Dictionary& state, std::uint32_t scopeMask, bool all) const {
    for (const auto& parameter : parameters_)
        if (isSaved(*parameter, scopeMask, all))
            parameter->write(state);
    for (const Section& section : sections_) {
        if (section.clone != 0 && !section.child->hasAny(scopeMask, false))
            continue;
        const auto element = state.addDict(stateKey(section.name));
        if (!element)
            continue;
        if (section.clone != 0)
            element->setAttribute({}, "clone", toText(section.clone));
        section.child->write(*element, scopeMask, false);
    }
}

bool Settings::hasAny(std::uint32_t scopeMask, bool all) const {
    return std::ranges::any_of(parameters_,
                               [&](const auto& p) { return isSaved(*p, scopeMask, all); }) ||
           std::ranges::any_of(sections_,
                               [&](const Section& s) { return s.child->hasAny(scopeMask, false); });
}

void Settings::scheduleValue(std::string_view id, std::int32_t position, float value) {
    scheduler_->schedule(id, position, value);
}

void Settings::setBlockSize(int frames) {
    blockFrames_ = frames;
    std::vector<std::string> ids;
    collectIds(ids);
    scheduler_->reserve(ids, frames);
}

void Settings::collectIds(std::vector<std::string>& ids) const {
    for (const auto& parameter : parameters_)
        ids.push_back(parameter->getId());
    for (const Section& section : sections_)
        section.child->collectIds(ids);
}

void Settings::setParameterText(std::string_view id, const std::string& text, std::int32_t source) {
    if (auto* const parameter = dynamic_cast<TextParameter*>(find(id, 0)))
        parameter->setText(text, source);
}

void Settings::resetAll() {
    for (const auto& parameter : parameters_)
        if (parameter->getScope() <= Parameter::ModuleScope)
            parameter->resetToDefault(FromInternal);
}

void Settings::setParent(Radio* newParent) {
    if (newParent == module_)
        return;
    module_ = newParent;
    Radio::setParent(newParent);
    for (const auto& parameter : parameters_)
        if (newParent == nullptr || parameter->getParent() == nullptr ||
            !parameter->inScope(Parameter::ModuleScope))
            parameter->setParent(newParent);
    scheduler_->setParent(newParent);
    for (const Section& section : sections_)
        section.child->setParent(newParent);
}

void Settings::start() {
    Radio::start();
    for (const auto& parameter : parameters_) {
        // One that is shared belongs to the module that had it first, while that is there.
        if (parameter->getSettings() == nullptr)
            parameter->setSettings(this);
        if (parameter->getSettings() == this || parameter->getParent() == nullptr)
            parameter->setParent(module_);
        parameter->start();
    }
    for (const Section& section : sections_)
        section.child->start();
}

void Settings::stop() {
    for (const auto& parameter : parameters_)
        parameter->stop();
    for (const Section& section : sections_)
        section.child->stop();
}

bool Settings::receive(Message& message) {
    if (message.type != MessageType::Parameter)
        return Radio::receive(message);
    const auto& change = static_cast<ParameterMessage&>(message);
    if (Parameter* const parameter = find(change.parameterName, change.cloneNumber))
        parameter->setNormalised(change.value, FromInternal);
    else
        tellUnknown(change.parameterName);
    return true;
}

Parameter* Settings::findParameter(std::string_view name, std::int32_t clone) {
    return find(name, clone);
}

bool Settings::hasModuleScope(const Radio& parameter) const {
    const auto* const found = dynamic_cast<const Parameter*>(&parameter);
    return found != nullptr && found->inScope(Parameter::ModuleScope);
}

}  // namespace tarn
