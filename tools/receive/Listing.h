// What the machine's connections look like to a user.
#pragma once

#include "link/IOBridge.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tarn::receive {

/// All slots that have a block, whatever its state.
std::vector<ConnectionInfo> presentConnections();

/// A table for people, or the word that there is none. `now` in calendar seconds.
std::string listingText(const std::vector<ConnectionInfo>& connections, std::int64_t now);

/// A JSON array with one object a connection; `age` in seconds is null before the first write.
std::string listingJson(const std::vector<ConnectionInfo>& connections, std::int64_t now);

/// A name for the screen: a name in the block may hold any bytes, and what could steer a terminal,
/// or is no UTF-8, becomes "?".
std::string printable(const std::string& name);

}  // namespace tarn::receive
