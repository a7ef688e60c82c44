// One module's part of a preset: a snapshot of the values that belong to the module.
#pragma once

#include "foundation/Dictionary.h"
#include "foundation/Radio.h"
#include "foundation/Word.h"

#include <optional>

namespace tarn {

class PresetsLibrary;

/// The snapshot is a tree with the child "parameters", as Settings writes it for the scope of a
/// module. Threads as for Preset, but any for `receive` and the mark.
class Program : public Radio {
public:
    /// Empty. `module` is the parent, in whose settings the values live; the library, which may be
    /// null, is told of edits.
    Program(Radio* module, PresetsLibrary* library);

    /// Takes the live values.
    void start() override { store(); }
    void store();

    /// Gives the live parameters of that realm the snapshot's values. What it doesn't hold gets its
    /// default; nothing changes where there is no snapshot.
    void activate(std::uint32_t realmMask);

    /// From and into a tree, whose child "parameters" is the snapshot; without one, all values are
    /// the defaults. The live values stay.
    void read(const Dictionary& tree);
    void write(Dictionary& tree) const;

    /// Tunes in to nothing: the editor hands on what concerns the current program. A
    /// ParameterMessage that isn't from `FromLoad`, of a parameter that is saved and the
    /// plug-in's own, marks the program as modified and tells the library. True for all
    /// ParameterMessages. Any thread.
    bool receive(Message& message) override;

    bool isModified() const noexcept { return modified_; }

    /// The edits are kept for good: the mark goes, and `dropEdits` no longer takes them back.
    void clearModified();

    /// The snapshot becomes what it was before the edits, even where `store` has taken them
    /// meanwhile. The live values stay.
    void dropEdits();

private:
    PresetsLibrary* library_;
    Dictionary state_;
    std::optional<Dictionary> unedited_;  // the snapshot before edits that were stored
    Word<bool> modified_{false};
};

}  // namespace tarn
