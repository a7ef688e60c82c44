// The parameters of a module: a tree of sections, loaded from a definition file, looked up by
// identifier, and read from and written to saved states.
// Everything rests on one rule: after loading, the tree doesn't change, so that any thread looks
// up in it without a lock. The parameters' values do change.
#pragma once

#include "foundation/Dictionary.h"
#include "foundation/Error.h"
#include "foundation/ParameterDirectory.h"
#include "foundation/Radio.h"
#include "foundation/SharedObject.h"
#include "parameters/Parameter.h"
#include "parameters/ParameterIndex.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tarn {

class File;
class ParameterManager;
class ParameterScheduler;

/// What isn't marked otherwise is for the control thread. docs/settings.md tells the file's form.
class Settings : public Radio, public SharedObject, public ParameterDirectory {
public:
    /// A section, and where it stands among its siblings of that name.
    struct Section {
        std::string name;
        std::int32_t clone;
        std::unique_ptr<Settings> child;
    };

    /// Empty. The module, which may be null, and the manager aren't owned. `schedulerDivisor` as
    /// in ParameterScheduler.
    Settings(Radio* module, const ParameterManager& manager, int schedulerDivisor = 32);

    /// Of parameters of a zone's or a module's scope it has copies, the others it shares: whoever
    /// of all copies lives longest deletes them. One whose first settings go has neither parent nor
    /// settings, until another copy starts and adopts it. The flag is without effect.
    Settings(const Settings& other, bool flag);
    Settings& operator=(const Settings&) = delete;
    ~Settings() override;

    /// Replaces the tree by that of a definition file. An `ErrorImportFailed` if it can't be read
    /// or holds no parameters' list. Throws `ErrorNoSuchParameterType` and `GeneralError` where a
    /// definition is wrong. After any failure the former tree is in place.
    Error load(const File& file);

    /// The same from the tree of a file that was parsed already; `file` is for the error.
    Error load(const Dictionary& definition, const File& file);

    /// The first parameter with that identifier, exactly, in the order of the file, a section's own
    /// before those of its sections. With a clone number other than 0, only sections of that number
    /// are looked in. Null if there is none. Any thread.
    Parameter* find(std::string_view id, std::int32_t clone) const;

    /// By the name that `getHostName(maxLength)` gives; null if there is none.
    Parameter* findByHostName(std::string_view name, int maxLength) const;

    std::int32_t getParameterCount() const;
    const std::vector<std::shared_ptr<Parameter>>& getParameters() const { return parameters_; }
    const std::vector<Section>& getSections() const { return sections_; }

    /// What the host may see, from this section down: automatable or exported, in the order of the
    /// file.
    const std::vector<Parameter*>& getAutomatable() const { return automatable_; }

    /// Empty at the root.
    const std::string& getName() const { return name_; }
    std::int32_t getClone() const { return clone_; }

    /// The names of the sections from the root to here, with "." between them. Where there are
    /// several of a name, the number, from 1, follows.
    std::string getPath() const;

    /// Whether parameters keep to their steps. True in all settings.
    bool usesSteps() const noexcept { return useSteps_; }

    /// Takes values from a saved state. Parameters outside the masks, and unless `all`, those that
    /// aren't exported, keep theirs; those that the state doesn't tell get their defaults, as from
    /// `FromLoad`. In sections `all` doesn't hold. A section is read from its own element if that
    /// has children, else from this one. A parameter whose element is wrong keeps its value, which
    /// is logged.
    void read(const Dictionary& state, std::uint32_t scopeMask, std::uint32_t realmMask, bool all);

    /// Adds values to a state, chosen in the same way. Sections of a clone number above 0 are left
    /// out where they would be empty.
    void write(Dictionary& state, std::uint32_t scopeMask, bool all) const;

    /// Whether there is anything to write.
    bool hasAny(std::uint32_t scopeMask, bool all) const;

    /// Remembers a value for a position in the block. Audio thread.
    void scheduleValue(std::string_view id, std::int32_t position, float value);
    ParameterScheduler& getScheduler() { return *scheduler_; }

    /// Makes room to schedule values of all parameters in a block of that many frames.
    void setBlockSize(int frames);

    /// Of the first parameter with that identifier, if it is a text.
    void setParameterText(std::string_view id, const std::string& text, std::int32_t source);

    /// The parameters of this level, not of its sections, whose scope is a zone or a module get
    /// their defaults.
    virtual void resetAll();

    // Of all parameters here and in the sections: their parent, unless they belong to a module and
    // have one, but for null; persistent values fetched and kept.
    void setParent(Radio* newParent) override;
    void start() override;
    void stop() override;

    /// A ParameterMessage of any code sets the normalised value of the parameter that it names, as
    /// from `FromInternal`. True, also if there is none, which is told on the standard error
    /// stream. Any thread.
    bool receive(Message& message) override;

    // For radios, which tune in by name. Any thread.
    Parameter* findParameter(std::string_view name, std::int32_t clone) override;
    bool hasModuleScope(const Radio& parameter) const override;
    Settings* asSettings() noexcept override { return this; }

private:
    Settings(Settings& parent, std::string name, std::int32_t clone);

    void readLevel(const Dictionary& level);
    void takeTree(Settings& loaded);
    void finish();
    void collectAutomatable(std::vector<Parameter*>& list) const;
    void indexIds(const Settings& section);
    void collectIds(std::vector<std::string>& ids) const;
    Parameter* walk(std::string_view id, std::int32_t clone) const;
    bool isSaved(const Parameter& parameter, std::uint32_t scopeMask, bool all) const;

    Radio* module_;
    const ParameterManager* manager_;
    int schedulerDivisor_;
    std::unique_ptr<ParameterScheduler> scheduler_;
    std::vector<std::shared_ptr<Parameter>> parameters_;
    std::vector<Parameter*> automatable_;
    std::string name_;
    std::int32_t clone_ = 0;
    std::vector<Section> sections_;
    Settings* parentSettings_ = nullptr;
    bool useSteps_ = true;
    int blockFrames_ = 1024;  // until the host tells

    // At the root: what `find` answers, while no id was changed. Not made yet at first.
    ParameterIndex ids_;
    std::uint32_t idChanges_ = ~std::uint32_t{0};
};

/// The parameter tree that a radio finds its parameters in: its own, or its parent's; null if there
/// is none. Any thread.
Settings* settingsOf(const Radio& radio) noexcept;

}  // namespace tarn
