#include "Listing.h"

#include <cstdio>
#include <nlohmann/json.hpp>

namespace tarn::receive {

namespace {

// Bytes of the UTF-8 sequence at `text`, 0 if there is no valid one. Overlong forms and surrogates
// are invalid.
std::size_t sequenceLength(std::string_view text) {
    const auto byte = [&](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u;
    };
    const unsigned lead = byte(0);
    const std::size_t length = lead < 0x80   ? 1
                               : lead < 0xC2 ? 0
                               : lead < 0xE0 ? 2
                               : lead < 0xF0 ? 3
                               : lead < 0xF5 ? 4
                                             : 0;
    for (std::size_t i = 1; i < length; ++i)
        if ((byte(i) & 0xC0) != 0x80)
            return 0;
    const unsigned second = byte(1);
    if ((lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) ||
        (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F))
        return 0;
    return length;
}

bool isControl(std::string_view sequence) {
    const auto first = static_cast<unsigned char>(sequence[0]);
    if (sequence.size() == 1)
        return first < 0x20 || first == 0x7F;
    return first == 0xC2 && static_cast<unsigned char>(sequence[1]) < 0xA0;
}

const char* stateWords(SenderState state) {
    switch (state) {
        case SenderState::Sending:
            return "sending";
        case SenderState::Paused:
            return "paused";
        case SenderState::Waiting:
            return "silent so far";
        case SenderState::Gone:
            return "abandoned";
        default:
            return "ended";
    }
}

}  // namespace

std::string printable(const std::string& name) {
    std::string text;
    for (std::string_view rest = name; !rest.empty();) {
        const std::size_t length = sequenceLength(rest);
        const std::string_view sequence = rest.substr(0, std::max<std::size_t>(length, 1));
        text += length == 0 || isControl(sequence) ? "?" : sequence;
        rest.remove_prefix(sequence.size());
    }
    return text;
}

std::string listingText(const std::vector<ConnectionInfo>& connections) {
    if (connections.empty())
        return "There is no connection.\n";
    std::string text = "No.  State          Name\n";
    for (const ConnectionInfo& info : connections) {
        char line[128];
        std::snprintf(line, sizeof line, "%3u  %-13s  ", info.slot + 1, stateWords(info.state));
        text += line + printable(info.name) + "\n";
    }
    return text;
}

std::string listingJson(const std::vector<ConnectionInfo>& connections) {
    auto list = nlohmann::ordered_json::array();
    for (const ConnectionInfo& info : connections)
        list.push_back({{"number", info.slot + 1}, {"name", printable(info.name)}});
    return list.dump(2) + "\n";
}

}  // namespace tarn::receive
