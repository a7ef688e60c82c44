// The base folders of the XDG specification, for the files of this folder.
#pragma once

#include <string>

namespace tarn::platform {

/// $HOME, else what the password file says; empty if neither does.
std::string homeFolder();

/// The value of an XDG base variable such as "XDG_CONFIG_HOME", else `fallback` inside the home
/// folder. Relative values are ignored, as the XDG base directory standard demands; empty without a
/// home.
std::string xdgHome(const char* variable, const std::string& fallback);

/// The first absolute path of a list variable such as "XDG_CONFIG_DIRS", else `fallback`.
std::string xdgFirstOf(const char* variable, const std::string& fallback);

}  // namespace tarn::platform
