// The machine's connections as a user sees them. Looking marks nothing and keeps no block alive.
#pragma once

#include "link/ConnectionListener.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarn {

/// What became of a connection's sender.
enum class SenderState {
    Sending,  // it wrote within the last second
    Paused,   // it wrote before
    Waiting,  // it hasn't written yet
    Gone,     // its process ended without letting go
    Lost,     // so may it have: nothing was heard of it for 10 seconds, and nobody can look at its
              // process
    Ended,    // it let go; somebody else keeps the block alive
};

struct ConnectionInfo {
    std::uint32_t slot;  // 0 to 31
    SenderState state;
    std::string name;                     // at most 32 bytes, whatever they are
    std::optional<std::int64_t> age;      // of the last write in seconds; nothing before the first
    std::optional<std::int32_t> latency;  // of the sending host's input, samples; likewise
    bool hasSlave;                        // a receiver is attached by a reader record
    float level;                        // linear peak of the newest 4800 samples, 0 unless Sending
    std::optional<SenderFacts> sender;  // nothing from one without a state block
};

/// Looks at a slot; nothing when there is no block.
std::optional<ConnectionInfo> inspectConnection(std::uint32_t slot);

/// All slots that have a block, whatever its state, by slot.
std::vector<ConnectionInfo> presentConnections();

/// What a listener sees of its connection.
ConnectionInfo infoOf(ConnectionListener& listener, std::uint32_t slot);

/// The first slot in use whose name is `name`, if there is one. One that was written to in the last
/// 10 seconds comes before one that a killed master may have left behind under the same name.
std::optional<std::uint32_t> findConnection(std::string_view name);

}  // namespace tarn
