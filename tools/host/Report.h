// Everything that a plug-in reports of itself.
#pragma once

#include "host/Findings.h"

#include <string>

namespace tarn::host {

/// Loads the plug-in at a UTF-8 path, opens one instance, asks it everything, and closes it. The
/// report is JSON, or the same facts a line each, with what belongs to one of them indented. Bytes
/// that are no UTF-8 become U+FFFD in both. What the plug-in does wrong goes into `findings`. A
/// `Failure` if there is no usable instance.
std::string reportOf(const std::string& path, bool isJson, Findings& findings);

}  // namespace tarn::host
