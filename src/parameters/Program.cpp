#include "parameters/Program.h"

#include "parameters/PresetsLibrary.h"
#include "parameters/Settings.h"

#include <utility>

namespace tarn {

namespace {

constexpr const char* SnapshotKey = "parameters";

}  // namespace

Program::Program(Radio* module, PresetsLibrary* library) : Radio(module), library_(library) {}

void Program::store() {
    Dictionary taken;
    const auto values = taken.addDict(SnapshotKey);
    if (const Settings* const settings = settingsOf(*this))
        settings->write(*values, Parameter::ModuleScope, false);
    if (modified_ && !unedited_)
        unedited_ = std::move(state_);
    state_ = std::move(taken);
}

void Program::clearModified() {
    modified_ = false;
    unedited_.reset();
}

void Program::dropEdits() {
    if (unedited_)
        state_ = std::move(*unedited_);
    clearModified();
}

void Program::activate(std::uint32_t realmMask) {
    Settings* const settings = settingsOf(*this);
    const auto values = state_.find(SnapshotKey);
    if (settings != nullptr && values)
        settings->read(*values, Parameter::ModuleScope, realmMask, false);
}

void Program::read(const Dictionary& tree) {
    state_ = Dictionary();
    const auto values = tree.find(SnapshotKey);
    const Settings* const settings = settingsOf(*this);
    if (values && !values->isLegacy()) {
        state_.addChild(*values);
        return;
    }
    const auto snapshot = state_.addDict(SnapshotKey);
    if (values && settings != nullptr) {
        // What settings make of the older form, in the one that they write.
        Settings reader(*settings, true);
        reader.read(*values, Parameter::ModuleScope, Parameter::AllRealms, false);
        reader.write(*snapshot, Parameter::ModuleScope, false);
    }
}

void Program::write(Dictionary& tree) const {
    if (const auto values = state_.find(SnapshotKey))
        tree.addChild(*values);
}

bool Program::receive(Message& message) {
    if (message.type != MessageType::Parameter)
        return Radio::receive(message);
    const auto& change = static_cast<ParameterMessage&>(message);
    const Settings* const settings = settingsOf(*this);
    const Parameter* const parameter =
        settings != nullptr ? settings->find(change.parameterName, change.cloneNumber) : nullptr;
    if (parameter != nullptr && parameter->hasFlag(Parameter::Export) &&
        parameter->inRealm(Parameter::PluginRealm) && change.mode != FromLoad) {
        modified_ = true;
        if (library_ != nullptr)
            library_->setModified(true);
    }
    return true;
}

}  // namespace tarn
