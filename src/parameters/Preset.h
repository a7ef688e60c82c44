// A named entry of the presets' library: what hosts call a program. It has a Program for each
// module.
#pragma once

#include "parameters/Program.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tarn {

class PresetsLibrary;

/// Any thread but the audio thread, while it has PresetsLibrary::hold.
class Preset {
public:
    /// Parts of a name.
    enum NamePart : std::uint32_t { BankName = 1, OwnName = 2, ModifiedMark = 4 };

    /// Without programs and name, with an id of its own. The library must outlive it.
    explicit Preset(PresetsLibrary* library);
    Preset(const Preset&) = delete;
    Preset& operator=(const Preset&) = delete;
    virtual ~Preset() = default;

    /// 8 groups of 4 hexadecimal digits with "-" between them, at random; or what a file told.
    const std::string& getId() const { return id_; }

    /// The parts asked for, of "Bank/Name*"; the mark is for edits that aren't stored.
    std::string getName(std::uint32_t parts) const;

    /// "Bank/Name", cut at the first "/"; without one, all is the name.
    void setName(std::string_view text);

    /// New programs for all modules of the library's plug-in: with the live values, or empty.
    void makePrograms();
    void makeEmptyPrograms();

    /// With the snapshots of another preset of the same library.
    void copyPrograms(const Preset& other);
    bool hasPrograms() const { return !programs_.empty(); }

    /// The one of a module, by its number; null if there is none.
    Program* getProgram(int module) const;

    // The same operations of all programs, and whether one of them is modified.
    void store();
    void activate(std::uint32_t realmMask);
    bool isModified() const;
    void clearModified();
    void dropEdits();

    /// A "program" of a tree; unmodified afterwards. A module of which the tree has nothing gets an
    /// empty snapshot, which gives all values their defaults.
    void read(const Dictionary& tree);
    void write(Dictionary& tree) const;

private:
    PresetsLibrary* library_;
    std::string id_;
    std::string bank_;
    std::string name_;
    std::vector<std::unique_ptr<Program>> programs_;
};

}  // namespace tarn
