// Which MIDI controller moves what, and how a new tie is learnt.
//
// Everything rests on one rule: the tables are of fixed size and hold single words, so that the
// audio thread looks up while the interface changes them.
#pragma once

#include "foundation/Radio.h"
#include "foundation/Timer.h"
#include "foundation/Word.h"

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace tarn {

class Dictionary;
class ModuleDirectory;
class Parameter;

/// Controllers are numbered from 0 to 129: those of MIDI, then the pitch wheel and aftertouch. What
/// has another number isn't there: it has no target, and setting it does nothing.
namespace midi {

inline constexpr std::int32_t ControllerCount = 130;
inline constexpr std::int32_t PitchWheel = 128;
inline constexpr std::int32_t Aftertouch = 129;

/// Which part of a parameter's range that goes from below 0 to above 0 a controller moves in.
enum Range : std::int32_t { Positive = 0, Full = 1, Negative = 2 };

/// As MIDI names the controller, such as "Main Volume"; null where it has no name.
const char* getControllerName(std::int32_t controller);

/// The name, or "Controller #3".
std::string getControllerText(std::int32_t controller);

}  // namespace midi

/// `T` is a pointer to what is moved, not owned; whoever owns it forgets it here before it goes,
/// and lets the audio thread finish what it looked up before. Look-ups are for any thread, the
/// audio thread included; the others for the interface thread.
template <typename T>
class MidiMapper : public Radio {
public:
    /// Learning ends by itself after so many milliseconds.
    MidiMapper(Radio* parent, double learningMs);
    ~MidiMapper() override;

    /// Null where nothing is bound.
    virtual T getTarget(std::int32_t controller) const;

    /// The next controller event will be bound to the target; null ends the learning.
    void startLearning(T target);

    /// The target that waits for a controller; null when none.
    T getLearning() const { return learning_; }

    /// Replaces what the controller was bound to; inversion and range stay.
    void bind(std::int32_t controller, T target);

    /// Removes all that is bound to the target, which doesn't wait for a controller any more
    /// either.
    void forget(T target);

    /// The lowest number that the target is bound to; -1 if there is none.
    std::int32_t getController(T target) const;

    /// Off and `midi::Full` until they are set; a range that is none of the three becomes Full.
    bool isInverted(std::int32_t controller) const;
    void setInverted(std::int32_t controller, bool isInverted);
    std::int32_t getRange(std::int32_t controller) const;
    void setRange(std::int32_t controller, std::int32_t range);

    /// While learning, a MidiMessage of a controller event makes the tie and ends the learning; so
    /// does the timer, without one. Both transmit a SystemMessage of code Notification, so that the
    /// editor shows it. Audio thread, and the timer's.
    bool receive(Message& message) override;

    /// Adds a "controller" for each number that isn't as at first. `nameOf` tells a target's name
    /// and clone number, by which `find` gives it back, or null.
    struct Name {
        std::string id;
        std::int32_t clone = 0;
    };
    void write(Dictionary& dictionary, const std::function<Name(T)>& nameOf) const;

    /// Replaces all ties. What names an unknown controller or target is left out.
    void read(const Dictionary& dictionary,
              const std::function<T(const std::string& id, std::int32_t clone)>& find);

private:
    struct Entry {
        Word<T> target{nullptr};
        Word<bool> isInverted{false};
        Word<std::int32_t> range{midi::Full};
    };

    const Entry* entryOf(std::int32_t controller) const;
    Entry* entryOf(std::int32_t controller);
    void tellEnd();

    std::array<Entry, midi::ControllerCount> entries_;
    Word<T> learning_{nullptr};
    Timer timer_;
};

/// The normalised value that a controller's value, 0.0 to 1.0, stands for at a parameter: inverted
/// and fitted into the chosen half of a range that lies on both sides of 0. Audio thread.
float toNormalised(const MidiMapper<Parameter*>& mapper, std::int32_t controller,
                   const Parameter& parameter, float value);

/// What an instance does with a controller event: the parameter that is bound to the controller
/// gets the value in every module, as from `FromMidi`, after the module's settings were told of the
/// position. `position` is in frames from the beginning of a block of `frames`, and clamped to it.
/// True if a parameter is bound. The caller passes the event on to the modules in any case. Audio
/// thread.
bool applyController(const MidiMapper<Parameter*>& mapper, const ModuleDirectory& modules,
                     std::int32_t controller, float value, std::int32_t position,
                     std::int32_t frames);

extern template class MidiMapper<Parameter*>;

}  // namespace tarn
