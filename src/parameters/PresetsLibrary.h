// The presets of a plug-in instance: the host's programs, banks of them in files, and favourites.
//
// Everything rests on one rule: the live parameters are the current preset. A preset gets their
// values when it is left with edits, or written.
#pragma once

#include "foundation/RadioLock.h"
#include "foundation/Word.h"
#include "parameters/Preset.h"

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <set>
#include <string>

namespace tarn {

class Dictionary;
class File;
class ModuleDirectory;

/// A plug-in instance derives from it. Trees are of the keyed form of Dictionary, with the children
/// "programs" and "favorites". Any thread but the audio thread: hosts save and load states on one
/// thread while the user is busy with presets on another. Each operation holds `hold` for itself.
class PresetsLibrary {
public:
    PresetsLibrary() = default;
    PresetsLibrary(const PresetsLibrary&) = delete;
    PresetsLibrary& operator=(const PresetsLibrary&) = delete;
    virtual ~PresetsLibrary();

    /// While it lives, no other thread changes the presets or, of a Plugin, what else its state
    /// keeps. For several operations in a row, and for whatever a pointer or a reference from here
    /// leads to. Not while a box or a menu is open and not around a call of the host's: these may
    /// wait for a thread that waits for this. (One call can happen all the same: of a parameter
    /// that the user changes at the very moment at which the holder sets it, the holder tells the
    /// host.) As in RadioLock, a thread that it waits for may go in meanwhile, where an operation
    /// sends messages.
    [[nodiscard]] RadioLock::Hold hold() const { return RadioLock::Hold(lock_); }

    /// Makes presets of the live values, as many as `getProgramCount` says, one at least; the first
    /// is current. `modules` must outlive the library or be replaced.
    virtual void init(ModuleDirectory* modules);

    /// New programs, with the live values, in every preset.
    virtual void makeAllPrograms();

    /// For a product: after all presets were read.
    virtual void presetsChanged() {}

    /// Another preset is current, or the current one is called, marked or kept otherwise.
    virtual void currentChanged() {}

    /// Tells that there are edits, or, with false, that there are none in any preset, and that the
    /// presets are kept in a file.
    virtual void setModified(bool isModified);

    /// Whether a preset was edited, added, renamed or deleted since the last such call with false
    /// and the last bank that was read.
    bool hasChanges() const;

    /// How many presets there are, or, before `init`, are to be.
    virtual std::int32_t getProgramCount() const;

    /// The host's way to choose a preset.
    virtual void setProgram(std::int32_t index) { selectProgram(index); }

    /// Makes a preset current. Edits stay in the one that is left. An index that isn't there, or is
    /// the current one, does nothing.
    void selectProgram(std::int32_t index);

    // What a user does with presets beside choosing them.

    std::int32_t getPresetCount() const;

    /// What the user is told where a preset couldn't be added.
    static constexpr const char* NoRoom = "There is no room for another preset.";

    /// One that came with the product: the user neither renames, deletes nor replaces it. A host's
    /// name and a state's preset take its place all the same.
    bool isFactory(const Preset& preset) const;

    /// The live values become what the current preset has stored; false for one of the factory's.
    bool storeCurrent();

    /// The live values become again what the current preset had before it was edited in the
    /// interface, even where the edits were stored with the host's state, or when the preset was
    /// left. What the host or MIDI changed is no edit, and is kept with the host's state.
    void revertCurrent();

    /// False for one of the factory's.
    bool renameCurrent(const std::string& text);

    /// Appends a preset of that name, "Bank/Name", with the live values, and makes it current.
    /// Edits don't stay in the one that is left. False if there are as many as are kept.
    bool addPreset(const std::string& name);

    /// The same, with what that preset has stored, or with the live values if it is the current
    /// one, under its name and " copy". False for an index that isn't there, too.
    bool duplicatePreset(std::int32_t index);

    /// The next one becomes current, or else the one before. False for the last that is left and
    /// for one of the factory's.
    bool deleteCurrent();

    /// If the current preset has no programs, the first one that has some becomes current. Returns
    /// the current index.
    std::int32_t selectFirstUsed();

    /// Of the current preset, without its bank; empty if there is none.
    std::string getCurrentName() const;
    void setCurrentName(const std::string& text);

    /// 0 if there is none.
    std::int32_t getCurrentIndex() const;
    Preset* getCurrent() const;

    /// How often presets were read, one or all, made anew, deleted or brought back to what they
    /// have stored. Any thread.
    std::uint32_t getLoadCount() const noexcept { return loadCount_; }

    /// Null for an index that isn't there.
    Preset* getPreset(std::int32_t index) const;
    const std::list<std::unique_ptr<Preset>>& getPresets() const { return presets_; }

    /// "init 3" for the third one if it has no name; empty for an index that isn't there.
    std::string getProgramName(std::int32_t index) const;

    // Of all presets, as a menu shows them: in the order of characters, each once.
    const std::set<std::string>& getBankNames() const { return bankNames_; }
    const std::set<std::string>& getPresetNames() const { return presetNames_; }

    /// The current preset becomes entry `index` of the tree's programs, and counts as modified, for
    /// the host has not stored it. Without such an entry its values stay.
    void loadProgram(const Dictionary& tree, std::int32_t index);

    /// The current preset alone, or all, as the tree's "programs". Live values aren't changed.
    void writeCurrent(Dictionary& tree);
    void writeAll(Dictionary& tree);

    /// The presets of a tree in place of the first ones here; what the tree has more of is
    /// appended, up to 4,096 presets in all. The live values become the current preset's. Without
    /// "programs" nothing changes. Not the presets' resources.
    void readAll(const Dictionary& tree);

    // The favourites' slots: each holds a preset's index, or -1. Reading makes the slots that the
    // tree names, of numbers below 1,024, and leaves the others. Writing takes as many slots as
    // there are, from 0 on; so a slot behind a gap isn't written.
    void readFavorites(const Dictionary& tree);
    void writeFavorites(Dictionary& tree) const;
    std::int32_t getFavorite(std::int32_t slot) const;

    /// -1 if none holds the index.
    std::int32_t getFavoriteSlot(std::int32_t index) const;
    void setFavorite(std::int32_t slot, std::int32_t index);
    void storeFavorite(std::int32_t slot);

    /// The same; the preset that was in the slot goes where the current one was, if that had a
    /// slot. False if there is no such slot.
    bool moveToFavorite(std::int32_t slot);
    const std::map<std::int32_t, std::int32_t>& getFavorites() const { return favorites_; }
    void recallFavorite(std::int32_t slot);

    /// "Factory Presets.xml" in the folder of the product's resources.
    static File getFactoryFile();

    /// From and to a file: false, with the reason for the user in `message`, if it can't be used or
    /// written. A failed read changes no preset, a failed write leaves the former file. What was
    /// loaded is told by `currentChanged`.
    bool loadFile(const File& file, std::string& message);
    bool saveCurrent(const File& file, std::string& message);
    bool saveAll(const File& file, std::string& message);

    /// More of them are not kept.
    static constexpr std::int32_t MostPresets = 4096;

protected:
    /// What `loadFile` does with the file's tree.
    bool loadBank(Dictionary& tree, std::string& message);

    /// The presets of this tree are the factory's: those of other trees are by their ids.
    void noteFactoryPresets(const Dictionary& bank);

    /// For the owner of the resources: presets are about to be read, one brings resources, they
    /// were read or their reading failed.
    virtual void resourcesLoading(bool /*isBeginning*/) {}
    virtual void readResources(const Dictionary& /*resources*/) {}

    /// The resources of what `readAll` reads from the tree. They may ask the user where a file is,
    /// so this isn't called under `hold`.
    void readPresetResources(const Dictionary& tree);

    void countLoad();

    /// While it lives, presets are read.
    class Loading {
    public:
        explicit Loading(PresetsLibrary& library) : library_(library) {
            library_.resourcesLoading(true);
        }
        Loading(const Loading&) = delete;
        Loading& operator=(const Loading&) = delete;
        ~Loading() { library_.resourcesLoading(false); }

    private:
        PresetsLibrary& library_;
    };

private:
    friend class Preset;  // it asks for the modules

    void append(const std::string& name);
    bool selectAppended(const std::string& name, const Preset* source);
    void refreshNames();

    mutable RadioLock lock_;  // guards what follows
    ModuleDirectory* modules_ = nullptr;
    std::list<std::unique_ptr<Preset>> presets_;
    std::list<std::unique_ptr<Preset>>::const_iterator current_ = presets_.end();
    std::set<std::string> bankNames_;
    std::set<std::string> presetNames_;
    std::map<std::int32_t, std::int32_t> favorites_;
    std::set<std::string> factoryIds_;
    bool isChanged_ = false;  // beside the edits of the presets themselves
    Word<std::uint32_t> loadCount_{0};
};

}  // namespace tarn
