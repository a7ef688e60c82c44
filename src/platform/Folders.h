// The folders that the operating system sets aside for a purpose.
#pragma once

#include <string>

namespace tarn::platform {

enum class KnownFolder {
    ProgramFiles,           // installed programs; on Linux /opt
    CommonApplicationData,  // shared by all users; on Linux the first of $XDG_DATA_DIRS
    LocalApplicationData,   // the user's, on this machine only, as a log is; $XDG_STATE_HOME
    Documents,              // what the user keeps; the documents folder of xdg-user-dirs
};

/// The folder's absolute path in UTF-8, without a separator at its end; empty if the system knows
/// none. With `create`, makes a missing one first. Any thread but the audio thread.
std::string knownFolderPath(KnownFolder folder, bool create = false);

}  // namespace tarn::platform
