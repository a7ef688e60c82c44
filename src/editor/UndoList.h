// What the user has changed in an instance's interface, to be undone and done again.
// Everything rests on one rule: an entry holds what was before and after an edit, and undoing sets
// that as the user would, whatever the host has changed in between. What a state brings, or another
// preset that the user didn't choose here, is no edit: it clears the list.
#pragma once

#include "foundation/Radio.h"
#include "parameters/ParameterEditor.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarn {

class Control;
class Parameter;
class Plugin;

/// The last 100 edits. One an editor; never saved. Interface thread.
class UndoList {
public:
    /// Steps of the same parameter of which each begins within a second of the one before are one
    /// entry.
    enum class Kind { Whole, Step };
    static constexpr std::size_t MostEntries = 100;

    /// `station`, the editor, is whose listeners hear of the begin and end of what is undone. Both
    /// outlive the list.
    UndoList(Plugin& plugin, Radio& station);
    UndoList(const UndoList&) = delete;
    UndoList& operator=(const UndoList&) = delete;
    ~UndoList() = default;

    // Around an edit of the control's parameter. It becomes an entry at the end if the value is
    // another one than at the begin. Pairs of one control may stand in one another; then the
    // outermost one counts. Ends without a begin are ignored, also those of a control that is gone.
    void begin(const Control& control, Kind kind);
    void end(const Control* control);

    /// Whether there was a begin without an end so far, and the control is still there.
    bool isEditing(const Control* control) const;

    /// A control that goes: its edit becomes no entry.
    void forget(const Control& control);

    /// Another preset than this one has become current, as an edit of its own.
    void noteProgramChange(std::int32_t before);

    /// The current preset was called "Bank/Name" before, and is called otherwise now.
    void noteRename(const std::string& before);

    /// Set back, or again, what the last entry says of which that is possible; an entry whose
    /// parameter or preset is gone is dropped. False if there is none left.
    bool undo() { return goTo(false); }
    bool redo() { return goTo(true); }

    /// Of entries that can be undone, and done again.
    std::size_t getUndoCount() const { return doneCount_; }
    std::size_t getRedoCount() const { return entries_.size() - doneCount_; }

private:
    // A text or a number, as the parameter's class has it.
    struct Value {
        std::string text;
        float normalised = 0.0f;
        bool operator==(const Value&) const = default;
    };
    struct Place {
        std::int32_t module = 0;
        std::string id;  // empty for the current preset or its name
        std::int32_t clone = 0;
        bool operator==(const Place&) const = default;
    };
    struct Entry {
        Place place;
        Value before;  // of a renamed preset, texts
        Value after;
        std::int32_t programBefore = 0;
        std::int32_t programAfter = 0;
    };
    struct OpenEdit {
        const Control* control;
        int depth;
        Kind kind;
        std::optional<Place> place;  // none without a parameter that can be found again
        Value before;
        double begun;  // seconds, of the clock
    };
    // In whose name what is undone is edited.
    struct Hand : Radio, ParameterEditor {
        Hand() : Radio(nullptr) {}
        Parameter* getParameter() const override { return parameter; }
        Parameter* parameter = nullptr;
    };

    void followLoads(std::int32_t program);
    std::optional<Place> placeOf(const Parameter& parameter) const;
    Parameter* find(const Place& place) const;
    static Value valueOf(const Parameter& parameter);
    std::vector<OpenEdit>::iterator findOpen(const Control* control);
    void add(Entry entry);
    void add(const OpenEdit& edit, const Value& after);
    bool goTo(bool isForwards);
    bool set(const Entry& entry, bool isForwards);

    Plugin& plugin_;
    Radio& station_;
    Hand hand_;
    std::vector<Entry> entries_;
    std::size_t doneCount_ = 0;  // those before are done, the others undone
    std::vector<OpenEdit> open_;
    bool lastIsStep_ = false;  // the last entry, and nothing was undone since
    double lastStep_ = 0.0;    // when it ended; seconds, of the clock
    std::uint32_t loads_;      // the plug-in's, when the list was looked at last
    std::int32_t program_;     // that was current then
};

}  // namespace tarn
