// What the receiving program tells whoever started it, beside what all tools share.
#pragma once

#include "common/Failure.h"

namespace tarn::receive {

using tools::ExitBadUse;
using tools::ExitFine;
using tools::Failure;

constexpr int ExitNothingReceived = 3;
constexpr int ExitSamplesMissing = 4;
constexpr int ExitCompletenessUnknown = 5;  // no gap was seen, but the sender can't tell

}  // namespace tarn::receive
