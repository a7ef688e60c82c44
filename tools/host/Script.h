// What a user does with an interface, as a text: one step a line, empty lines and "#" comments
// between.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tarn::host {

struct Step {
    enum class Kind {
        Move,
        Press,
        Release,
        Wheel,
        KeyDown,
        KeyUp,
        DropFiles,
        DropText,
        Wait,
        Screenshot,
        Open,
        Close,
        Destroy,
        Set,
        Expect,
        ExpectProgram,
        Choose,
        Enter,
        Answer
    };
    Kind kind = Kind::Wait;
    std::int32_t x = 0;  // pixels from the interface's top left
    std::int32_t y = 0;
    std::int32_t number = 0;         // ticks, notches, or a key's Windows virtual-key code
    bool isRight = false;            // of the buttons
    std::vector<std::string> texts;  // files, entries, a text, or a parameter and its value
    int line = 0;                    // of the script, from 1
};

/// The steps of a script, of which some lines become several. A `Failure` that names the line if
/// one can't be understood. `help` lists what a line may be.
std::vector<Step> parseScript(const std::string& text);
const char* scriptHelp();

}  // namespace tarn::host
