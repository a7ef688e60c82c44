#include "parameters/PresetsLibrary.h"

#include "diagnostics/System.h"
#include "foundation/Dictionary.h"
#include "foundation/File.h"
#include "foundation/Logger.h"
#include "foundation/NumberText.h"
#include "foundation/ProductIdentity.h"
#include "parameters/Parameter.h"

#include <algorithm>
#include <iterator>

namespace tarn {

namespace {

constexpr const char* ProgramsKey = "programs";
constexpr const char* FavoritesKey = "favorites";
constexpr const char* CurrentKey = "currentProgram";
constexpr const char* IndexKey = "index";
constexpr const char* ResourcesKey = "resources";
constexpr std::int32_t MostSlots = 1024;

// With what `canLoad` asks of it.
Dictionary makeFileTree() {
    const ProductIdentity& product = ProductIdentity::get();
    Dictionary tree;
    tree.setInfo(product.getProductName(), product.getVersionText());
    tree.setString("file-format", product.getFileFormatText());
    return tree;
}

// Those of a tree, in its order, as many as are kept.
template <typename Visit>
void visitPresets(const Dictionary& tree, const Visit& visit) {
    const auto programs = tree.getArray(ProgramsKey);
    const std::int32_t count = programs ? programs->count("") : 0;
    for (std::int32_t i = 0, seen = 0; i < count && seen < PresetsLibrary::MostPresets; ++i) {
        const auto entry = programs->getEntry(i);
        if (!entry->isElement() || entry->getName() == CurrentKey)
            continue;
        ++seen;
        visit(*entry);
    }
}

bool saveTree(const Dictionary& tree, const File& file, std::string& message) {
    const bool isSaved = tree.save(file);
    if (!isSaved)
        message = "The presets could not be written to " + file.getPath() + ".";
    return isSaved;
}

}  // namespace

PresetsLibrary::~PresetsLibrary() = default;

void PresetsLibrary::init(ModuleDirectory* modules) {
    logLine(LogDetail, "initializing preset library");
    const auto held = hold();
    modules_ = modules;
    countLoad();
    const std::int32_t count = getProgramCount();
    presets_.clear();
    append({});
    for (std::int32_t i = 1; i < std::min(count, MostPresets); ++i)
        append("init " + toText(i + 1));
    current_ = presets_.begin();
    makeAllPrograms();
    (*current_)->activate(Parameter::PluginRealm);
}

void PresetsLibrary::countLoad() {
    const auto held = hold();
    loadCount_ = loadCount_ + 1;
}

void PresetsLibrary::append(const std::string& name) {
    presets_.push_back(std::make_unique<Preset>(this));
    presets_.back()->setName(name);
}

void PresetsLibrary::makeAllPrograms() {
    const auto held = hold();
    for (const auto& preset : presets_)
        preset->makePrograms();
    refreshNames();
}

void PresetsLibrary::refreshNames() {
    bankNames_.clear();
    presetNames_.clear();
    for (const auto& preset : presets_) {
        bankNames_.insert(preset->getName(Preset::BankName));
        presetNames_.insert(preset->getName(Preset::BankName | Preset::OwnName));
    }
}

void PresetsLibrary::setModified(bool isModified) {
    if (isModified)
        return;
    const auto held = hold();
    isChanged_ = false;
    for (const auto& preset : presets_)
        preset->clearModified();
}

bool PresetsLibrary::hasChanges() const {
    const auto held = hold();
    return isChanged_ ||
           std::ranges::any_of(presets_, [](const auto& preset) { return preset->isModified(); });
}

std::int32_t PresetsLibrary::getProgramCount() const {
    return getPresetCount();
}

void PresetsLibrary::selectProgram(std::int32_t index) {
    const auto held = hold();
    Preset* const chosen = getPreset(index);
    Preset* const left = getCurrent();
    if (chosen == nullptr || chosen == left)
        return;
    if (left != nullptr && left->isModified())
        left->store();
    current_ = std::next(presets_.begin(), index);
    chosen->activate(Parameter::PluginRealm);
}

std::int32_t PresetsLibrary::getPresetCount() const {
    const auto held = hold();
    return static_cast<std::int32_t>(presets_.size());
}

bool PresetsLibrary::isFactory(const Preset& preset) const {
    const auto held = hold();
    return factoryIds_.contains(preset.getId());
}

bool PresetsLibrary::storeCurrent() {
    const auto held = hold();
    Preset* const current = getCurrent();
    if (current == nullptr || isFactory(*current))
        return false;
    current->store();
    current->clearModified();
    isChanged_ = true;
    currentChanged();
    return true;
}

void PresetsLibrary::revertCurrent() {
    const auto held = hold();
    Preset* const current = getCurrent();
    if (current == nullptr)
        return;
    current->dropEdits();
    current->activate(Parameter::PluginRealm);
    countLoad();
    currentChanged();
}

bool PresetsLibrary::renameCurrent(const std::string& text) {
    const auto held = hold();
    const Preset* const current = getCurrent();
    if (current == nullptr || isFactory(*current))
        return false;
    setCurrentName(text);
    currentChanged();
    return true;
}

bool PresetsLibrary::addPreset(const std::string& name) {
    return selectAppended(name, nullptr);
}

bool PresetsLibrary::duplicatePreset(std::int32_t index) {
    const auto held = hold();
    const Preset* const source = getPreset(index);
    if (source == nullptr)
        return false;
    const std::string bank = source->getName(Preset::BankName);
    return selectAppended((bank.empty() ? "" : bank + "/") + getProgramName(index) + " copy",
                          source == getCurrent() ? nullptr : source);
}

// With what the source has stored; without one, with the live values.
bool PresetsLibrary::selectAppended(const std::string& name, const Preset* source) {
    const auto held = hold();
    if (getPresetCount() >= MostPresets)
        return false;
    append(name);
    Preset& added = *presets_.back();
    if (source != nullptr)
        added.copyPrograms(*source);
    else
        added.makePrograms();
    Preset* const left = getCurrent();
    if (left != nullptr && source == nullptr)
        left->dropEdits();  // they are in the new one
    else if (left != nullptr && left->isModified())
        left->store();
    current_ = std::prev(presets_.end());
    added.activate(Parameter::PluginRealm);
    refreshNames();
    isChanged_ = true;
    currentChanged();
    return true;
}

bool PresetsLibrary::deleteCurrent() {
    const auto held = hold();
    const Preset* const current = getCurrent();
    if (current == nullptr || getPresetCount() < 2 || isFactory(*current))
        return false;
    const std::int32_t index = getCurrentIndex();
    current_ = presets_.erase(current_);
    if (current_ == presets_.end())
        --current_;
    countLoad();  // others have its index now
    for (auto& [slot, favorite] : favorites_)
        if (favorite >= index)
            favorite = favorite == index ? -1 : favorite - 1;
    refreshNames();
    isChanged_ = true;
    (*current_)->activate(Parameter::PluginRealm);
    currentChanged();
    return true;
}

std::int32_t PresetsLibrary::selectFirstUsed() {
    const auto held = hold();
    const Preset* const current = getCurrent();
    if (current != nullptr && !current->hasPrograms()) {
        const auto used = std::ranges::find_if(
            presets_, [](const auto& preset) { return preset->hasPrograms(); });
        if (used != presets_.end())
            setProgram(static_cast<std::int32_t>(std::distance(presets_.begin(), used)));
    }
    return getCurrentIndex();
}

std::string PresetsLibrary::getCurrentName() const {
    const auto held = hold();
    const Preset* const current = getCurrent();
    return current != nullptr ? current->getName(Preset::OwnName) : std::string();
}

void PresetsLibrary::setCurrentName(const std::string& text) {
    const auto held = hold();
    if (Preset* const current = getCurrent())
        current->setName(text);
    isChanged_ = true;
    refreshNames();
}

std::int32_t PresetsLibrary::getCurrentIndex() const {
    const auto held = hold();
    const bool isThere = current_ != presets_.end();
    return isThere ? static_cast<std::int32_t>(std::distance(presets_.begin(), current_)) : 0;
}

Preset* PresetsLibrary::getCurrent() const {
    const auto held = hold();
    return current_ != presets_.end() ? current_->get() : nullptr;
}

Preset* PresetsLibrary::getPreset(std::int32_t index) const {
    const auto held = hold();
    const bool isThere = index >= 0 && static_cast<std::size_t>(index) < presets_.size();
    return isThere ? std::next(presets_.begin(), index)->get() : nullptr;
}

std::string PresetsLibrary::getProgramName(std::int32_t index) const {
    const auto held = hold();
    const Preset* const preset = getPreset(index);
    if (preset == nullptr)
        return {};
    const std::string name = preset->getName(Preset::OwnName);
    return name.empty() ? "init " + toText(index + 1) : name;
}

void PresetsLibrary::loadProgram(const Dictionary& tree, std::int32_t index) {
    const auto entry = tree.getArrayEntry(ProgramsKey, index);
    {
        const Loading loading(*this);
        if (const auto resources = entry ? entry->find(ResourcesKey) : nullptr)
            readResources(*resources);
        const auto held = hold();
        if (Preset* const current = getCurrent(); entry && current != nullptr) {
            current->read(*entry);
            current->activate(Parameter::PluginRealm);
        }
        refreshNames();
        countLoad();
    }
    setModified(true);
}

void PresetsLibrary::writeCurrent(Dictionary& tree) {
    const auto held = hold();
    Preset* const current = getCurrent();
    if (current == nullptr)
        return;
    current->store();
    const auto programs = tree.addArray(ProgramsKey);
    if (const auto program = programs ? programs->addDict("program") : nullptr)
        current->write(*program);
}

void PresetsLibrary::writeAll(Dictionary& tree) {
    const auto held = hold();
    if (Preset* const current = getCurrent())
        current->store();
    const auto programs = tree.addArray(ProgramsKey);
    for (const auto& preset : presets_)
        if (const auto program = programs ? programs->addDict("program") : nullptr)
            preset->write(*program);
}

void PresetsLibrary::readPresetResources(const Dictionary& tree) {
    visitPresets(tree, [this](const Dictionary& entry) {
        if (const auto resources = entry.find(ResourcesKey))
            readResources(*resources);
    });
}

void PresetsLibrary::readAll(const Dictionary& tree) {
    if (!tree.getArray(ProgramsKey))
        return;
    const auto held = hold();
    auto preset = presets_.begin();
    visitPresets(tree, [&](const Dictionary& entry) {
        if (preset == presets_.end()) {
            append({});
            presets_.back()->makeEmptyPrograms();
            preset = std::prev(presets_.end());
        }
        (*preset)->read(entry);
        ++preset;
    });
    if (current_ == presets_.end())
        current_ = presets_.begin();
    if (Preset* const current = getCurrent())
        current->activate(Parameter::PluginRealm);
    refreshNames();
    countLoad();
    presetsChanged();
}

void PresetsLibrary::readFavorites(const Dictionary& tree) {
    const auto held = hold();
    if (const auto favorites = tree.getArray(FavoritesKey))
        for (std::int32_t i = 0; i < favorites->count(IndexKey); ++i) {
            const auto entry = favorites->getEntry(i, IndexKey);
            const std::string clone = entry->getAttribute("clone");
            const std::int32_t slot = clone.empty() ? i : integerFromText(clone);
            std::int32_t index = -1;
            if (slot >= 0 && slot < MostSlots && entry->getInteger("value", index))
                favorites_[slot] = index;
        }
    refreshNames();
}

void PresetsLibrary::writeFavorites(Dictionary& tree) const {
    const auto held = hold();
    const auto favorites = tree.addArray(FavoritesKey);
    const std::int32_t last = favorites_.empty() ? -1 : favorites_.rbegin()->first;
    for (std::int32_t slot = 0; favorites && slot <= std::min(last, MostSlots - 1); ++slot)
        favorites->setInteger(IndexKey, getFavorite(slot), slot, false);  // the list is new
}

std::int32_t PresetsLibrary::getFavorite(std::int32_t slot) const {
    const auto held = hold();
    const auto found = favorites_.find(slot);
    return found != favorites_.end() ? found->second : -1;
}

std::int32_t PresetsLibrary::getFavoriteSlot(std::int32_t index) const {
    const auto held = hold();
    const auto found =
        std::ranges::find(favorites_, index, &std::pair<const std::int32_t, std::int32_t>::second);
    return found != favorites_.end() ? found->first : -1;
}

void PresetsLibrary::setFavorite(std::int32_t slot, std::int32_t index) {
    const auto held = hold();
    favorites_[slot] = index;
}

void PresetsLibrary::storeFavorite(std::int32_t slot) {
    const auto held = hold();
    favorites_[slot] = getCurrentIndex();
}

bool PresetsLibrary::moveToFavorite(std::int32_t slot) {
    const auto held = hold();
    if (!favorites_.contains(slot))
        return false;
    if (const std::int32_t left = getFavoriteSlot(getCurrentIndex()); left >= 0)
        favorites_[left] = getFavorite(slot);
    storeFavorite(slot);
    isChanged_ = true;
    currentChanged();
    return true;
}

void PresetsLibrary::recallFavorite(std::int32_t slot) {
    const auto held = hold();
    if (favorites_.contains(slot))
        setProgram(getFavorite(slot));
}

File PresetsLibrary::getFactoryFile() {
    return File(System::getFolderLocation(System::Resources), "Factory Presets.xml");
}

bool PresetsLibrary::loadFile(const File& file, std::string& message) {
    Dictionary tree;
    if (!tree.load(file)) {
        message = "The presets in " + file.getPath() + " could not be read.";
        return false;
    }
    if (!loadBank(tree, message))
        return false;
    currentChanged();
    return true;
}

bool PresetsLibrary::loadBank(Dictionary& tree, std::string& message) {
    if (!tree.canLoad(message))
        return false;
    {
        const Loading loading(*this);
        readPresetResources(tree);
        readAll(tree);
    }
    const auto held = hold();
    readFavorites(tree);
    isChanged_ = false;
    return true;
}

void PresetsLibrary::noteFactoryPresets(const Dictionary& bank) {
    const auto held = hold();
    factoryIds_.clear();
    const auto programs = bank.getArray(ProgramsKey);
    const std::int32_t count = programs ? programs->count("") : 0;
    for (std::int32_t i = 0; i < count; ++i)
        if (std::string id; programs->getEntry(i)->getString("id", id) && !id.empty())
            factoryIds_.insert(std::move(id));
}

bool PresetsLibrary::saveCurrent(const File& file, std::string& message) {
    Dictionary tree = makeFileTree();
    writeCurrent(tree);
    return saveTree(tree, file, message);
}

bool PresetsLibrary::saveAll(const File& file, std::string& message) {
    Dictionary tree = makeFileTree();
    {
        const auto held = hold();
        writeAll(tree);
        writeFavorites(tree);
    }
    return saveTree(tree, file, message);
}

}  // namespace tarn
