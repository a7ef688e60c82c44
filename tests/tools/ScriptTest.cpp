#include "host/Failure.h"
#include "host/Script.h"

#include <gmock/gmock.h>

#include <string>

namespace tarn::host {
namespace {

std::string told(const std::vector<Step>& steps) {
    std::string text;
    for (const Step& step : steps) {
        text += std::to_string(static_cast<int>(step.kind)) + ":" + std::to_string(step.x) + "," +
                std::to_string(step.y) + "," + std::to_string(step.number) +
                (step.isRight ? " right" : "");
        for (const std::string& word : step.texts)
            text += " '" + word + "'";
        text += "; ";
    }
    return text;
}

// Faults: a step that is played elsewhere, in another order or not at all; a slip that is taken for
// a step.
TEST(Script, ALineIsWhatItSaysOrNamedAsWrong) {
    const std::pair<const char*, const char*> lines[] = {
        {"", ""},
        {"  # nothing", ""},
        {"move -3 40 # there", "0:-3,40,0; "},
        {"press right", "1:0,0,0 right; "},
        {"release left 1 2", "0:1,2,0; 2:0,0,0; "},
        {"click right 1 2", "0:1,2,0; 1:0,0,0 right; 2:0,0,0 right; "},
        {"click shift+left", "4:0,0,16; 1:0,0,0; 2:0,0,0; 5:0,0,16; "},
        {"double 1 2", "0:1,2,0; 1:0,0,0; 2:0,0,0; 1:0,0,0; 2:0,0,0; "},
        {"drag 0 10 10 0 2", "0:0,10,0; 1:0,0,0; 0:5,5,0; 0:10,0,0; 2:0,0,0; "},
        {"wheel 1 2 -3", "0:1,2,0; 3:0,0,-3; "},
        {"key ctrl+z", "4:0,0,17; 4:0,0,90; 5:0,0,90; 5:0,0,17; "},
        {"type \"A 7\"",
         "4:0,0,16; 4:0,0,65; 5:0,0,65; 5:0,0,16; 4:0,0,32; 5:0,0,32; 4:0,0,55; "
         "5:0,0,55; "},
        {"drop-file 1 2 \"a b\" c", "6:1,2,0 'a b' 'c'; "},
        {"drop-text 1 2 \"# x\"", "7:1,2,0 '# x'; "},
        {"wait 41", "8:0,0,3; "},
        {"screenshot a.png", "9:0,0,0 'a.png'; "},
        {"open\nclose\ndestroy", "10:0,0,0; 11:0,0,0; 12:0,0,0; "},
        {"expect-program a\nchoose a \"b c\"", "15:0,0,0 'a'; 16:0,0,0 'a' 'b c'; "},
        {"enter \"\"\nanswer no x", "17:0,0,0 ''; 18:0,0,2 'x'; "},
        {"set Name \"\"\nexpect Name x", "13:0,0,0 'Name' ''; 14:0,0,0 'Name' 'x'; "},
    };
    for (const auto& [line, steps] : lines)
        EXPECT_EQ(told(parseScript(line)), steps) << line;
    const std::pair<const char*, const char*> faults[] = {
        {"fly 1 2", "line 1 of the script: 'fly' is no step"},
        {"\nmove 1", "line 2 of the script: something is missing at its end"},
        {"move 1 x", "'x' is no number"},
        {"move 1 100001", "'100001' is no number from -100000 to 100000"},
        {"press middle", "'middle' is no button"},
        {"answer perhaps x", "'perhaps' is no button: give ok"},
        {"close now", "'now' is too much"},
        {"key ctrl++z", "'' is no key"},
        {"key f99", "'f99' is no key"},
        {"type \"a", "a quote is never closed"},
        {"set Name", "give a parameter and its value"},
        {"wait -1", "'-1' is no number"},
    };
    for (const auto& [line, words] : faults)
        try {
            parseScript(line);
            ADD_FAILURE() << line;
        } catch (const Failure& failure) {
            EXPECT_THAT(failure.what(), testing::HasSubstr(words));
            EXPECT_EQ(failure.exitStatus(), ExitBadUse);
        }
}

}  // namespace
}  // namespace tarn::host
