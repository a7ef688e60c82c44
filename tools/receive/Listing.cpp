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

bool has(const ConnectionInfo& info, ConnectionStatus bit) {
    return (info.status & bit) != 0;
}

std::string stateWords(const ConnectionInfo& info) {
    std::string words = !has(info, ConnectionInUse)  ? "released"
                        : has(info, ConnectionFresh) ? "sending"
                        : info.lastWriteTime == 0    ? "silent so far"
                                                     : "stale";
    return words + (has(info, ConnectionHasSlave) ? ", received" : "");
}

std::string ageWords(const ConnectionInfo& info, std::int64_t now) {
    if (info.lastWriteTime == 0)
        return "never";
    const double seconds = static_cast<double>(now) - static_cast<double>(info.lastWriteTime);
    char text[32];
    if (seconds < 120)
        std::snprintf(text, sizeof text, "%.0f s ago", seconds);
    else if (seconds < 7200)
        std::snprintf(text, sizeof text, "%.0f min ago", seconds / 60);
    else
        std::snprintf(text, sizeof text, "%.4g h ago", seconds / 3600);
    return text;
}

}  // namespace

std::vector<ConnectionInfo> presentConnections() {
    std::vector<ConnectionInfo> all;
    for (std::uint32_t slot = 0; slot < ConnectionSlots; ++slot)
        if (auto info = inspectConnection(slot))
            all.push_back(*std::move(info));
    return all;
}

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

std::string listingText(const std::vector<ConnectionInfo>& connections, std::int64_t now) {
    if (connections.empty())
        return "There is no connection.\n";
    std::string text = "No.  Slot  Bits  Last write    Latency  State                    Name\n";
    for (const ConnectionInfo& info : connections) {
        char line[128];
        std::snprintf(line, sizeof line, "%3u  %4u  %c%c%c   %-12s  %7d  %-23s  ", info.slot + 1,
                      info.slot, has(info, ConnectionInUse) ? 'U' : '-',
                      has(info, ConnectionFresh) ? 'F' : '-',
                      has(info, ConnectionHasSlave) ? 'S' : '-', ageWords(info, now).c_str(),
                      info.inputLatency, stateWords(info).c_str());
        text += line + printable(info.name) + "\n";
    }
    return text;
}

std::string listingJson(const std::vector<ConnectionInfo>& connections, std::int64_t now) {
    auto list = nlohmann::ordered_json::array();
    for (const ConnectionInfo& info : connections) {
        nlohmann::ordered_json age;
        if (info.lastWriteTime != 0)
            age = static_cast<double>(now) - static_cast<double>(info.lastWriteTime);
        list.push_back({
            {"number", info.slot + 1},
            {"slot", info.slot},
            {"name", printable(info.name)},
            {"inUse", has(info, ConnectionInUse)},
            {"fresh", has(info, ConnectionFresh)},
            {"received", has(info, ConnectionHasSlave)},
            {"age", age},
            {"latency", info.inputLatency},
        });
    }
    return list.dump(2) + "\n";
}

}  // namespace tarn::receive
