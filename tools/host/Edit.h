// A plug-in's interface in a window of the host, and a script that plays its user.
#pragma once

#include "host/Findings.h"
#include "host/Schedule.h"

#include <string>
#include <vector>

namespace tarn::host {

struct EditOptions {
    std::string plugin;
    std::string script;              // a file; empty: none
    std::vector<std::string> steps;  // lines of a script, after that
    int times = 0;                   // the interface is opened and closed so often at the end
    int instances = 1;               // each in a window of its own; the script plays in the first
    std::vector<TextSetting> textSettings;
    std::string loadChunk;  // a file; empty: none
};

/// Opens the interfaces, plays audio through the instances meanwhile, and the script. Without one,
/// until the user closes the window. What the plug-in did wrong, and what a script expected in
/// vain, goes into `findings`; a `Failure` where the system has no windows. The calling thread is
/// the interface's until the end; audio plays on one of its own.
void edit(const EditOptions& options, Findings& findings);

}  // namespace tarn::host
