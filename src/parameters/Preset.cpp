#include "parameters/Preset.h"

#include "foundation/Dictionary.h"
#include "parameters/ModuleDirectory.h"
#include "parameters/PresetsLibrary.h"

#include <algorithm>
#include <cstdio>
#include <random>

namespace tarn {

namespace {

constexpr int IdGroups = 8;

std::string makeId() {
    std::random_device random;
    std::uniform_int_distribution<unsigned> group(0, 0xFFFF);
    std::string id;
    for (int i = 0; i < IdGroups; ++i) {
        char text[8];
        std::snprintf(text, sizeof text, i == 0 ? "%04x" : "-%04x", group(random));
        id += text;
    }
    return id;
}

}  // namespace

Preset::Preset(PresetsLibrary* library) : library_(library), id_(makeId()) {}

std::string Preset::getName(std::uint32_t parts) const {
    std::string text;
    if ((parts & BankName) != 0)
        text = bank_;
    if ((parts & OwnName) != 0) {
        if (!text.empty())
            text += "/";
        text += name_;
    }
    if ((parts & ModifiedMark) != 0 && isModified())
        text += "*";
    return text;
}

void Preset::setName(std::string_view text) {
    const std::size_t slash = text.find('/');
    bank_ = text.substr(0, slash == std::string_view::npos ? 0 : slash);
    name_ = text.substr(slash == std::string_view::npos ? 0 : slash + 1);
}

void Preset::makePrograms() {
    makeEmptyPrograms();
    for (const auto& program : programs_)
        program->start();
}

void Preset::makeEmptyPrograms() {
    programs_.clear();
    const ModuleDirectory* const modules = library_->modules_;
    for (int i = 0; modules != nullptr && i < modules->getModuleCount(); ++i)
        programs_.push_back(std::make_unique<Program>(modules->getModule(i), library_));
}

void Preset::copyPrograms(const Preset& other) {
    makeEmptyPrograms();
    for (std::size_t i = 0; i < std::min(programs_.size(), other.programs_.size()); ++i) {
        Dictionary snapshot;
        other.programs_[i]->write(snapshot);
        programs_[i]->read(snapshot);
    }
}

Program* Preset::getProgram(int module) const {
    const auto index = static_cast<std::size_t>(module);
    return index < programs_.size() ? programs_[index].get() : nullptr;
}

void Preset::store() {
    for (const auto& program : programs_)
        program->store();
}

void Preset::activate(std::uint32_t realmMask) {
    for (const auto& program : programs_)
        program->activate(realmMask);
}

bool Preset::isModified() const {
    return std::ranges::any_of(programs_, [](const auto& p) { return p->isModified(); });
}

void Preset::clearModified() {
    for (const auto& program : programs_)
        program->clearModified();
}

void Preset::dropEdits() {
    for (const auto& program : programs_)
        program->dropEdits();
}

void Preset::read(const Dictionary& tree) {
    tree.getString("id", id_);
    std::string name;
    tree.getString("name", name);
    setName(name);
    const auto modules = tree.getArray("modules");
    std::int32_t next = 0;
    for (const auto& program : programs_) {
        auto module = modules ? modules->getEntry(next++) : nullptr;
        while (module && !module->isElement())
            module = modules->getEntry(next++);
        program->read(module ? *module : Dictionary());
    }
    clearModified();
}

void Preset::write(Dictionary& tree) const {
    tree.setString("id", id_);
    tree.setString("name", getName(BankName | OwnName));
    const auto modules = tree.addArray("modules");
    for (const auto& program : programs_)
        if (const auto module = modules ? modules->addDict("module") : nullptr)
            program->write(*module);
}

}  // namespace tarn
