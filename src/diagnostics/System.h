// The operating system as the framework sees it: folders, time, the set-up of the process, message
// boxes, facts about the machine, cursors and addresses. Nothing here throws.
#pragma once

#include "foundation/Folder.h"
#include "platform/Clock.h"
#include "platform/Desktop.h"
#include "platform/Machine.h"

#include <optional>
#include <string>

namespace tarn::System {

enum SpecialFolder {
    Install,     // of the product, as the installer left it in the preference "InstallPath"
    Resources,   // in it: the preference "ResourcesDir", else "<product> Resources"
    CommonData,  // of the product, for all users
    UserData,    // of the product, in the user's documents
};

/// There or not. Where the folder of the preference "InstallPath" is missing, a folder of the
/// product's name beside this library is `Install`, if there is one. Without the preference, which
/// is logged as missing, it is else <program files>/<vendor>/<product>. Empty if the system knows
/// no such place.
Folder getFolderLocation(SpecialFolder folder);

/// Seconds since an arbitrary moment, never running backwards. Any thread, the audio thread
/// included.
inline double getTime() noexcept {
    return platform::highResolutionSeconds();
}

/// Sets the process's heap up, and floating point on the calling thread: no exceptions, and
/// denormals flushed to zero, so that fading tails don't slow the processor down. Once a process;
/// always true.
bool init();

// Message boxes under the product's name. They wait for the user; with `parented` over the editor's
// window, if there is one.

void alert(const std::string& text, bool parented);
void inform(const std::string& text, bool parented);

/// 0 OK, 1 Cancel.
int confirm(const std::string& text, bool parented);

/// 0 Yes, 1 No, 2 Cancel.
int ask(const std::string& text, bool parented);

/// Logs the text as an error, and alerts the user that the product will exit.
void fatal(const std::string& text, bool parented);

/// What the system says of the last failed call of this thread.
std::string getLastErrorText();

/// Of logical processors, at least 1.
int getProcessorCount();

/// As in "AMD Ryzen (Zen 3) @ 3400MHz". The first call takes some 20 ms.
std::string getProcessorDescription();

/// 0 Windows NT, 1 Windows 2000, 2 Windows XP or a system that is none of these, 3 its 64-bit
/// edition, 4 Windows Vista to 8.1, and what calls itself so. Logs the version, if there is one.
int getOSLevel(const std::optional<platform::WindowsVersion>& version = platform::windowsVersion());

/// By virtual-key code: 0x10 shift, 0x11 control, 0x12 alt. Interface thread.
bool isKeyDown(int key);

/// Logs that an object could not be deleted.
void deleteFailed(const void* object);

/// Shows a web or mail address in the user's browser or mail program. Addresses come out of skins;
/// those of another kind could start any program, and are logged and dropped.
void openURL(const std::string& url);

/// The cursor of a kind: 1 moves in all directions, 2, 4 and 5 to the sides, 3, 6 and 7 up and
/// down, 9 points at a link, 10 waits; any other is the arrow.
platform::CursorShape getCursorShape(int kind);
void setCursor(int kind);

}  // namespace tarn::System
