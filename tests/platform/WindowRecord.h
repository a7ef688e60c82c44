// A window's owner that writes down what it hears, as "LeftDown 3,4", and may do something about
// it.
#pragma once

#include "platform/SystemWindow.h"

#include <functional>
#include <string>
#include <utility>

namespace tarn::test {

class WindowRecord : public platform::WindowOwner {
public:
    using Spot = platform::Spot;
    using DroppedData = platform::DroppedData;

    /// What was heard since the last call.
    std::string heard() { return std::exchange(heard_, {}); }

    // Called within the window's calls, with what was just heard; may end the window.
    std::function<void(const std::string&)> react;
    std::function<void()> onTick;  // the next one only
    bool answer = false;           // to keys, the wheel and drags
    platform::Pixels entryPicture{};

    void paint(const platform::Area& part) override {
        hear(at(at("paint", {part.left, part.top}), {part.right, part.bottom}));
    }
    void pointer(platform::PointerEvent event, Spot place) override {
        static constexpr const char* Names[] = {"LeftDown",    "LeftDouble", "LeftUp", "RightDown",
                                                "RightDouble", "RightUp",    "Move",   "Left"};
        hear(at(Names[static_cast<int>(event)], place));
    }
    bool wheel(Spot place, std::int32_t delta) override {
        return hear(at("wheel " + std::to_string(delta), place));
    }
    void focusGained() override { hear("focus"); }
    bool key(std::int32_t virtualKey, std::uint32_t character, bool isDown) override {
        return hear("key " + std::to_string(virtualKey) + " " + std::to_string(character) +
                    (isDown ? " down" : " up"));
    }
    void tick() override {
        hear("tick");
        if (onTick)
            std::exchange(onTick, nullptr)();
    }
    bool dragEnter(const DroppedData& data, Spot place) override {
        return hear(at("enter" + told(data), place));
    }
    bool dragOver(Spot place) override { return hear(at("over", place)); }
    void dragEnd() override { hear("end"); }
    bool drop(const DroppedData& data, Spot place) override {
        return hear(at("drop" + told(data), place));
    }
    Spot measureEntry(std::int32_t id) override {
        hear("measure " + std::to_string(id));
        return {entryPicture.width, entryPicture.height};
    }
    platform::Pixels drawEntry(std::int32_t id, bool isSelected) override {
        hear("draw " + std::to_string(id) + (isSelected ? " selected" : ""));
        return entryPicture;
    }
    void gone() override { hear("gone"); }

private:
    static std::string at(const std::string& what, Spot place) {
        return what + " " + std::to_string(place.x) + "," + std::to_string(place.y);
    }
    static std::string told(const DroppedData& data) {
        std::string all = data.text ? " text " + data.text->substr(0, 20) : "";
        for (const std::string& file : data.files)
            all += data.files.size() < 10 ? " file " + file : ".";
        return all;
    }
    bool hear(const std::string& what) {
        heard_ += (heard_.empty() ? "" : "; ") + what;
        if (react)
            react(what);
        return answer;
    }

    std::string heard_;
};

}  // namespace tarn::test
