#include "Listing.h"

#include "common/Text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <span>

namespace tarn::receive {

namespace {

using tools::columnsOf;
using tools::printable;

struct StateNames {
    const char* words;
    const char* key;
};

StateNames namesOf(SenderState state) {
    switch (state) {
        case SenderState::Sending:
            return {"sending", "sending"};
        case SenderState::Paused:
            return {"paused", "paused"};
        case SenderState::Waiting:
            return {"not started yet", "waiting"};
        case SenderState::Gone:
            return {"sender is gone", "gone"};
        case SenderState::Lost:
            return {"may be gone", "lost"};
        default:
            return {"closed", "ended"};
    }
}

// dBFS, nothing for silence and where the level isn't known.
std::optional<double> levelOf(const ConnectionInfo& info) {
    if (!(info.level > 0.0f) || !std::isfinite(info.level))
        return std::nullopt;
    return 20.0 * std::log10(info.level);
}

std::string meterOf(const ConnectionInfo& info) {
    constexpr int cells = 20;
    constexpr double range = 60.0;  // dB
    if (info.state != SenderState::Sending)
        return "";
    const std::optional<double> level = levelOf(info);
    if (!level)
        return "silence";
    const double share = std::clamp(1.0 + *level / range, 0.0, 1.0);
    const auto lit = static_cast<std::size_t>(std::lround(share * cells));
    char peak[32];
    std::snprintf(peak, sizeof peak, " %6.1f dBFS",
                  std::round(*level * 10.0) / 10.0 + 0.0);  // no -0.0
    return '[' + std::string(lit, '#') + std::string(cells - lit, ' ') + ']' + peak;
}

std::string rateOf(const ConnectionInfo& info) {
    if (!info.sender || info.sender->rate <= 0.0)
        return "not told";
    return std::to_string(std::llround(info.sender->rate)) + " Hz";
}

int receiversOf(const ConnectionInfo& info) {
    return std::max(info.sender ? info.sender->listeners : 0, info.hasSlave ? 1 : 0);
}

std::string remarksOn(const ConnectionInfo& info) {
    const bool isOffline = info.sender && info.sender->isOffline;
    const bool isMuted = info.sender && info.sender->isMuted;
    return std::string(isOffline ? "rendering offline" : "") + (isOffline && isMuted ? ", " : "") +
           (isMuted ? "output muted" : "");
}

struct Column {
    const char* title;
    bool isRight;  // numbers line up at their ends
    std::string (*cell)(const ConnectionInfo&);
};

const Column Columns[] = {
    {"No.", true, [](const ConnectionInfo& info) { return std::to_string(info.slot + 1); }},
    {"Name", false, [](const ConnectionInfo& info) { return printable(info.name); }},
    {"State", false,
     [](const ConnectionInfo& info) { return std::string(namesOf(info.state).words); }},
    {"Rate", true, rateOf},
    {"Receivers", true,
     [](const ConnectionInfo& info) { return std::to_string(receiversOf(info)); }},
    {"Level", false, meterOf},
    {"Host", false,
     [](const ConnectionInfo& info) { return info.sender ? printable(info.sender->host) : ""; }},
    {"Remarks", false, remarksOn},
};
constexpr std::size_t LevelPlace = 5;

// A column's title and cells, all equally wide.
std::vector<std::string> cellsOf(const Column& column,
                                 const std::vector<ConnectionInfo>& connections) {
    std::vector<std::string> cells{column.title};
    for (const ConnectionInfo& info : connections)
        cells.push_back(column.cell(info));
    std::size_t width = 0;
    for (const std::string& cell : cells)
        width = std::max(width, columnsOf(cell));
    for (std::string& cell : cells)
        cell.insert(column.isRight ? 0 : cell.size(), width - columnsOf(cell), ' ');
    return cells;
}

bool hasContent(const Column& column, const std::vector<ConnectionInfo>& connections) {
    return std::any_of(connections.begin(), connections.end(),
                       [&](const ConnectionInfo& info) { return !column.cell(info).empty(); });
}

template <typename Value>
nlohmann::ordered_json orNull(const std::optional<Value>& value) {
    return value ? nlohmann::ordered_json(*value) : nlohmann::ordered_json();
}

nlohmann::ordered_json factsOf(const ConnectionInfo& info) {
    nlohmann::ordered_json facts = {
        {"number", info.slot + 1},
        {"name", printable(info.name)},
        {"state", namesOf(info.state).key},
        {"lastWriteAge", orNull(info.age)},
        {"inputLatency", orNull(info.latency)},
        {"levelDbfs", orNull(levelOf(info))},
        {"receivers", receiversOf(info)},
    };
    const auto& sender = info.sender;
    const auto told = [&](const char* key, nlohmann::ordered_json value) {
        facts[key] = sender ? std::move(value) : nullptr;
    };
    const SenderFacts known = sender.value_or(SenderFacts{});
    told("rate", known.rate > 0.0 ? nlohmann::ordered_json(known.rate) : nullptr);
    told("samplesSent", known.published);
    told("offline", known.isOffline);
    told("muted", known.isMuted);
    told("host", printable(known.host));
    told("product", printable(known.product));
    return facts;
}

}  // namespace

std::string connectionWords(std::uint32_t slot, const std::string& name) {
    const std::string words = "connection " + std::to_string(slot + 1);
    return name.empty() ? words : words + " \"" + printable(name) + '"';
}

std::string listingText(const std::vector<ConnectionInfo>& connections, LevelColumn level) {
    if (connections.empty())
        return "There is no connection.\n";
    std::vector<std::string> lines(connections.size() + 1);
    for (const Column& column : Columns) {
        const bool isLevel = &column == &Columns[LevelPlace];
        if (isLevel ? level == LevelColumn::Hidden : !hasContent(column, connections))
            continue;
        const std::vector<std::string> cells = cellsOf(column, connections);
        for (std::size_t i = 0; i < lines.size(); ++i)
            lines[i] += (lines[i].empty() ? "" : "  ") + cells[i];
    }
    std::string text;
    for (const std::string& line : lines)
        text += line.substr(0, line.find_last_not_of(' ') + 1) + '\n';
    return text;
}

std::string listingJson(const std::vector<ConnectionInfo>& connections) {
    auto list = nlohmann::ordered_json::array();
    for (const ConnectionInfo& info : connections)
        list.push_back(factsOf(info));
    return list.dump(2) + "\n";
}

}  // namespace tarn::receive
