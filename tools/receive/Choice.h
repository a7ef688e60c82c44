// Which connection a user means.
#pragma once

#include "Receiver.h"
#include "link/ConnectionInfo.h"

#include <string>
#include <vector>

namespace tarn::receive {

/// A number from 1 to 32, a name, or nothing for the one that sends. It needn't be there yet. A
/// `Failure` for other numbers, and when more than one of those present could be meant.
Target chooseTarget(const std::string& wanted, const std::vector<ConnectionInfo>& present);

}  // namespace tarn::receive
