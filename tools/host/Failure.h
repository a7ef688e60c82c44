// What the host tells whoever started it.
#pragma once

#include "common/Failure.h"

namespace tarn::host {

using tools::ExitBadUse;
using tools::ExitFine;
using tools::Failure;

constexpr int ExitRulesBroken = 1;  // the plug-in broke a rule of the interface
constexpr int ExitNotLoaded = 3;    // the plug-in could not be loaded or gave no instance

}  // namespace tarn::host
