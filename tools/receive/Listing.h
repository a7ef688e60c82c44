// What the machine's connections look like to a user.
#pragma once

#include "link/ConnectionInfo.h"

#include <string>
#include <vector>

namespace tarn::receive {

/// A connection in a sentence: its number, and its name in quotes if it has one.
std::string connectionWords(std::uint32_t slot, const std::string& name);

enum class LevelColumn { Hidden, Shown };

/// A table for people, or the word that there is none. The level is a meter of 60 dB, with the
/// peak in dBFS.
std::string listingText(const std::vector<ConnectionInfo>& connections,
                        LevelColumn level = LevelColumn::Hidden);

/// A JSON array with one object a connection; what isn't known is null. The help of `list` tells
/// the keys.
std::string listingJson(const std::vector<ConnectionInfo>& connections);

}  // namespace tarn::receive
