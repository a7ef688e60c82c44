// Everything that a plug-in reports of itself.
#pragma once

#include "host/Document.h"
#include "host/Findings.h"

#include <string>

namespace tarn::host {

/// Loads the plug-in at a UTF-8 path, opens one instance, asks it everything, and closes it. What
/// it does wrong goes into `findings`. A `Failure` if there is no usable instance.
Document describePlugin(const std::string& path, Findings& findings);

}  // namespace tarn::host
