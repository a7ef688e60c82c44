// What the machine's connections look like to a user.
#pragma once

#include "link/ConnectionInfo.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tarn::receive {

/// A table for people, or the word that there is none.
std::string listingText(const std::vector<ConnectionInfo>& connections);

/// A JSON array with one object a connection; `age` in seconds is null before the first write.
std::string listingJson(const std::vector<ConnectionInfo>& connections);

/// A name for the screen: a name in the block may hold any bytes, and what could steer a terminal,
/// or is no UTF-8, becomes "?".
std::string printable(const std::string& name);

}  // namespace tarn::receive
