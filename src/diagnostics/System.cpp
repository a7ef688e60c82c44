#include "diagnostics/System.h"

#include "diagnostics/CPUAssembly.h"
#include "foundation/File.h"
#include "foundation/Logger.h"
#include "foundation/Preferences.h"
#include "foundation/ProductIdentity.h"
#include "platform/Dialogs.h"
#include "platform/DynamicLibrary.h"
#include "platform/Folders.h"
#include "platform/SystemError.h"

#include <xmmintrin.h>

#include <cstdint>

namespace tarn::System {

namespace {

const char* const GetFolderLocationSignature =
    "class tarn::Folder __cdecl System::getFolderLocation(enum System::SpecialFolder)";

// Absent and empty are the same.
std::string machinePreference(const char* name) {
    std::string value;
    if (Preferences::machine() != nullptr)
        Preferences::machine()->getString(name, value);
    return value;
}

Folder productFolder(platform::KnownFolder place) {
    const std::string path = platform::knownFolderPath(place);
    if (path.empty())
        return Folder();
    const ProductIdentity& product = ProductIdentity::get();
    return Folder(path).join(product.getVendorName()).join(product.getProductName());
}

// What a plug-in that was copied by hand brings along.
Folder folderBesideLibrary() {
    const std::string library = platform::ownLibrary().path;
    return library.empty()
               ? Folder()
               : File(library).getFolder().join(ProductIdentity::get().getProductName());
}

Folder installFolder() {
    const std::string path = machinePreference("InstallPath");
    const Folder preferred(path);
    if (!path.empty() && preferred.exists())
        return preferred;
    if (const Folder beside = folderBesideLibrary(); beside.exists())
        return beside;
    if (!path.empty())
        return preferred;
    logError(LogError, ErrorPrefsKeyNotFound(GetFolderLocationSignature, "InstallPath"));
    return productFolder(platform::KnownFolder::ProgramFiles);
}

Folder resourcesFolder() {
    const std::string name = machinePreference("ResourcesDir");
    return installFolder().join(
        name.empty() ? ProductIdentity::get().getProductName() + " Resources" : name);
}

void setupHeap() {
    std::string text = "Low-fragmentation heap: ";
    if (getOSLevel() < 2) {
        text += "not available";
    } else {
        const platform::HeapSetup setup = platform::useLowFragmentationHeap();
        if (setup == platform::HeapSetup::Done)
            text += "enabled";
        else if (setup == platform::HeapSetup::Refused)
            text += "not enabled";
    }
    logLine(LogMachine, text);
}

void setupFloatingPoint() {
    // Of the processor's control register MXCSR.
    constexpr unsigned FlushToZero = 0x8000;
    constexpr unsigned DenormalsAreZero = 0x0040;
    constexpr unsigned PrecisionFlag = 0x0020;  // notes that a result was rounded: no effect
    CPUAssembly processor;
    processor.identify(CPUIDLeaves::read());
    if (!processor.hasSSE2()) {
        logLine(LogMachine, "SSE2 exceptions: enabled");
        return;
    }
    _mm_setcsr(_mm_getcsr() | FlushToZero | DenormalsAreZero | PrecisionFlag);
    logLine(LogMachine, "SSE2 exceptions: disabled");
    logLine(LogMachine, "SSE2 flush to zero: enabled");
    logLine(LogMachine, "SSE2 denormals are zero: enabled");
}

platform::MessageAnswer show(platform::MessageKind kind, const std::string& text, bool parented) {
    return platform::showMessage({kind, ProductIdentity::get().getDisplayName(), text, parented});
}

bool isWebOrMailAddress(const std::string& url) {
    std::string scheme = url.substr(0, url.find(':'));
    for (char& c : scheme)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return scheme.size() < url.size() &&
           (scheme == "http" || scheme == "https" || scheme == "mailto");
}

}  // namespace

Folder getFolderLocation(SpecialFolder folder) {
    switch (folder) {
        case Install:
            return installFolder();
        case Resources:
            return resourcesFolder();
        case CommonData:
            return productFolder(platform::KnownFolder::CommonApplicationData);
        case UserData:
            return productFolder(platform::KnownFolder::Documents);
    }
    return Folder();
}

bool init() {
    setupHeap();
    setupFloatingPoint();
    return true;
}

void alert(const std::string& text, bool parented) {
    show(platform::MessageKind::Alert, text, parented);
}

void inform(const std::string& text, bool parented) {
    show(platform::MessageKind::Inform, text, parented);
}

int confirm(const std::string& text, bool parented) {
    return show(platform::MessageKind::Confirm, text, parented) == platform::MessageAnswer::Ok ? 0
                                                                                               : 1;
}

int ask(const std::string& text, bool parented) {
    switch (show(platform::MessageKind::Ask, text, parented)) {
        case platform::MessageAnswer::Yes:
            return 0;
        case platform::MessageAnswer::No:
            return 1;
        default:
            return 2;
    }
}

void fatal(const std::string& text, bool parented) {
    logLine(LogError, text);
    alert(text + "\n\n" + ProductIdentity::get().getDisplayName() + " will exit.", parented);
}

std::string getLastErrorText() {
    return platform::systemErrorText(platform::lastSystemError());
}

int getProcessorCount() {
    return platform::processorCount();
}

std::string getProcessorDescription() {
    static const std::string description = [] {
        CPUAssembly processor;
        processor.identify();
        return std::string(processor.getModel()) + " @ " + processor.getSpeedMHz() + "MHz";
    }();
    return description;
}

int getOSLevel(const std::optional<platform::WindowsVersion>& version) {
    if (!version)
        return 2;
    logLine(LogWarning, "OS version is %d.%d", static_cast<int>(version->major),
            static_cast<int>(version->minor));
    if (version->major == 4)
        return 0;
    if (version->major == 5 && version->minor == 0)
        return 1;
    if (version->major == 5 && version->minor == 2)
        return 3;
    return version->major == 6 ? 4 : 2;
}

bool isKeyDown(int key) {
    return platform::isKeyDown(key);
}

void deleteFailed(const void* object) {
    logLine(LogError, "failed to delete object 0x%llx",
            static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(object)));
}

void openURL(const std::string& url) {
    if (!isWebOrMailAddress(url))
        logLine(LogWarning, "not an address to open: " + url);
    else if (!platform::openAddress(url))
        logLine(LogWarning, "could not open " + url);
}

platform::CursorShape getCursorShape(int kind) {
    switch (kind) {
        case 1:
            return platform::CursorShape::Move;
        case 2:
        case 4:
        case 5:
            return platform::CursorShape::LeftRight;
        case 3:
        case 6:
        case 7:
            return platform::CursorShape::UpDown;
        case 9:
            return platform::CursorShape::Hand;
        case 10:
            return platform::CursorShape::Wait;
        default:
            return platform::CursorShape::Arrow;
    }
}

void setCursor(int kind) {
    platform::setCursor(getCursorShape(kind));
}

}  // namespace tarn::System
