#include "host/Script.h"

#include "host/Failure.h"

#include <algorithm>
#include <charconv>
#include <functional>
#include <iterator>
#include <optional>
#include <sstream>
#include <string_view>

namespace tarn::host {

namespace {

constexpr std::int32_t kMostPixels = 100'000;
constexpr std::int32_t kDragSteps = 10;
constexpr std::int32_t kMostSteps = 10'000;
constexpr std::int32_t kMostMilliseconds = 3'600'000;
constexpr std::int32_t kTickMilliseconds = 20;

struct Key {
    std::string_view name;
    std::int32_t code;
};
constexpr Key kKeys[] = {
    {"return", 0x0D}, {"escape", 0x1B},   {"tab", 0x09},  {"space", 0x20}, {"backspace", 0x08},
    {"delete", 0x2E}, {"left", 0x25},     {"up", 0x26},   {"right", 0x27}, {"down", 0x28},
    {"pageup", 0x21}, {"pagedown", 0x22}, {"home", 0x24}, {"end", 0x23},   {"shift", 0x10},
    {"ctrl", 0x11},   {"alt", 0x12},
};

constexpr std::string_view kButtons[] = {"ok", "yes", "no", "cancel"};

// Words, and texts in double quotes, of a line.
std::vector<std::string> wordsOf(const std::string& line) {
    std::vector<std::string> words;
    std::size_t at = 0;
    while ((at = line.find_first_not_of(" \t\r", at)) != std::string::npos && line[at] != '#') {
        const bool isQuoted = line[at] == '"';
        const std::size_t begin = isQuoted ? at + 1 : at;
        std::size_t end = isQuoted ? line.find('"', begin) : line.find_first_of(" \t\r", begin);
        if (isQuoted && end == std::string::npos)
            throw Failure(ExitBadUse, "a quote is never closed");
        end = std::min(end, line.size());
        words.push_back(line.substr(begin, end - begin));
        at = isQuoted ? end + 1 : end;
    }
    return words;
}

// One line's words, taken one by one.
class Line {
public:
    Line(std::vector<std::string> words, int number, std::vector<Step>& steps)
        : words_(std::move(words)), number_(number), steps_(steps) {}

    void parse();

private:
    bool hasMore() const { return next_ < words_.size(); }

    std::string word() {
        if (!hasMore())
            throw Failure(ExitBadUse, "something is missing at its end");
        return words_[next_++];
    }

    std::int32_t number(std::int32_t least, std::int32_t most) {
        const std::string text = word();
        std::int32_t value = 0;
        const char* const end = text.data() + text.size();
        if (std::from_chars(text.data(), end, value).ptr != end || text.empty() || value < least ||
            value > most)
            throw Failure(ExitBadUse, "'" + text + "' is no number from " + std::to_string(least) +
                                          " to " + std::to_string(most));
        return value;
    }

    Step& add(Step::Kind kind) {
        steps_.emplace_back();
        steps_.back().kind = kind;
        steps_.back().line = number_;
        return steps_.back();
    }

    void place(Step::Kind kind) {
        const std::int32_t x = number(-kMostPixels, kMostPixels);
        const std::int32_t y = number(-kMostPixels, kMostPixels);
        Step& step = add(kind);
        step.x = x;
        step.y = y;
    }

    static bool isRight(const std::string& side) {
        if (side != "left" && side != "right")
            throw Failure(ExitBadUse, "'" + side + "' is no button: give left or right");
        return side == "right";
    }

    void button(Step::Kind kind, bool right) { add(kind).isRight = right; }

    void click(bool right, int times) {
        for (int i = 0; i < times; ++i) {
            button(Step::Kind::Press, right);
            button(Step::Kind::Release, right);
        }
    }

    void drag();
    void key(const std::string& name);
    void hold(const std::string& names, const std::function<void()>& act);
    void texts(Step::Kind kind, std::size_t most);

    std::vector<std::string> words_;
    std::size_t next_ = 0;
    int number_;
    std::vector<Step>& steps_;
};

void Line::drag() {
    place(Step::Kind::Move);
    const Step from = steps_.back();
    button(Step::Kind::Press, false);
    const std::int32_t x = number(-kMostPixels, kMostPixels);
    const std::int32_t y = number(-kMostPixels, kMostPixels);
    const std::int32_t count = hasMore() ? number(1, kMostSteps) : kDragSteps;
    for (std::int32_t i = 1; i <= count; ++i) {
        Step& step = add(Step::Kind::Move);
        step.x = from.x + (x - from.x) * i / count;
        step.y = from.y + (y - from.y) * i / count;
    }
    button(Step::Kind::Release, false);
}

std::int32_t codeOf(const std::string& name) {
    const auto* const known = std::ranges::find(kKeys, name, &Key::name);
    if (known != std::end(kKeys))
        return known->code;
    if (name.size() == 1 && name[0] >= 'a' && name[0] <= 'z')
        return name[0] - 'a' + 'A';
    if (name.size() == 1 && name[0] >= '0' && name[0] <= '9')
        return name[0];
    throw Failure(ExitBadUse, "'" + name + "' is no key");
}

// "ctrl+shift+z": down in this order, up in the other one.
void Line::key(const std::string& name) {
    hold(name, [] {});
}

void Line::hold(const std::string& names, const std::function<void()>& act) {
    std::vector<std::int32_t> codes;
    std::istringstream parts(names);
    for (std::string part; std::getline(parts, part, '+');)
        codes.push_back(codeOf(part));
    for (const std::int32_t code : codes)
        add(Step::Kind::KeyDown).number = code;
    act();
    for (auto code = codes.rbegin(); code != codes.rend(); ++code)
        add(Step::Kind::KeyUp).number = *code;
}

void Line::texts(Step::Kind kind, std::size_t most) {
    std::vector<std::string> found{word()};
    while (hasMore() && found.size() < most)
        found.push_back(word());
    if (kind == Step::Kind::DropFiles || kind == Step::Kind::DropText)
        steps_.back().texts = std::move(found);
    else
        add(kind).texts = std::move(found);
}

void Line::parse() {
    const std::string command = word();
    if (command == "move") {
        place(Step::Kind::Move);
    } else if (command == "press" || command == "release") {
        const bool right = isRight(word());
        if (hasMore())
            place(Step::Kind::Move);
        button(command == "press" ? Step::Kind::Press : Step::Kind::Release, right);
    } else if (command == "click") {
        std::string keys = word();
        const std::size_t side = keys.rfind('+') + 1;  // 0 without keys
        const bool right = isRight(keys.substr(side));
        keys.resize(side);
        if (hasMore())
            place(Step::Kind::Move);
        hold(keys, [&] { click(right, 1); });
    } else if (command == "double") {
        place(Step::Kind::Move);
        click(false, 2);
    } else if (command == "drag") {
        drag();
    } else if (command == "wheel") {
        place(Step::Kind::Move);
        // Of 120 each, which the system counts in 16 bits.
        add(Step::Kind::Wheel).number = number(-273, 273);
    } else if (command == "key") {
        key(word());
    } else if (command == "type") {
        for (const char letter : word()) {
            if (letter >= 'A' && letter <= 'Z')
                key(std::string("shift+") + static_cast<char>(letter - 'A' + 'a'));
            else
                key(letter == ' ' ? "space" : std::string(1, letter));
        }
    } else if (command == "drop-file") {
        place(Step::Kind::DropFiles);
        texts(Step::Kind::DropFiles, kMostSteps);
    } else if (command == "drop-text") {
        place(Step::Kind::DropText);
        texts(Step::Kind::DropText, 1);
    } else if (command == "wait") {
        const std::int32_t milliseconds = number(0, kMostMilliseconds);
        add(Step::Kind::Wait).number = (milliseconds + kTickMilliseconds - 1) / kTickMilliseconds;
    } else if (command == "screenshot") {
        texts(Step::Kind::Screenshot, 1);
    } else if (command == "open") {
        add(Step::Kind::Open);
    } else if (command == "close") {
        add(Step::Kind::Close);
    } else if (command == "destroy") {
        add(Step::Kind::Destroy);
    } else if (command == "set" || command == "expect") {
        texts(command == "set" ? Step::Kind::Set : Step::Kind::Expect, 2);
        if (steps_.back().texts.size() != 2)
            throw Failure(ExitBadUse, "give a parameter and its value");
    } else if (command == "choose") {
        texts(Step::Kind::Choose, kMostSteps);
    } else if (command == "enter" || command == "expect-program") {
        texts(command == "enter" ? Step::Kind::Enter : Step::Kind::ExpectProgram, 1);
    } else if (command == "answer") {
        const std::string button = word();
        const auto* const known = std::ranges::find(kButtons, button);
        if (known == std::end(kButtons))
            throw Failure(ExitBadUse, "'" + button + "' is no button: give ok, yes, no or cancel");
        texts(Step::Kind::Answer, 1);
        steps_.back().number = static_cast<std::int32_t>(known - std::begin(kButtons));
    } else {
        throw Failure(ExitBadUse, "'" + command + "' is no step");
    }
    if (hasMore())
        throw Failure(ExitBadUse, "'" + words_[next_] + "' is too much");
}

}  // namespace

std::vector<Step> parseScript(const std::string& text) {
    std::vector<Step> steps;
    std::istringstream lines(text);
    int number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        try {
            std::vector<std::string> words = wordsOf(line);
            if (!words.empty())
                Line(std::move(words), number, steps).parse();
        } catch (const Failure& failure) {
            throw Failure(failure.exitStatus(),
                          "line " + std::to_string(number) + " of the script: " + failure.what());
        }
    }
    return steps;
}

const char* scriptHelp() {
    return R"(A script has one step a line, played 50 a second; places are pixels from the interface's top left:
  move X Y                        press|release|click left|right [X Y]
  double X Y                      drag X Y TO_X TO_Y [STEPS]
  wheel X Y NOTCHES               key NAME, as in key ctrl+shift+z
  type "letters and digits"       drop-file X Y FILE...
  drop-text X Y "TEXT"            wait MILLISECONDS
  click shift+left|right [X Y], with other keys as well
  screenshot FILE.png             set|expect PARAMETER "TEXT"
  close, open                     destroy, as hosts do that don't close the interface first
  expect-program "NAME"
What the plug-in asks its user, which these wait for:
  choose "ENTRY"..., of a menu; "" takes none
  enter "TEXT", into a box, or a file's name into a dialog
  answer ok|yes|no|cancel "WORDS", of which a message box must hold some)";
}

}  // namespace tarn::host
