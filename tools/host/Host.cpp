#include "host/Host.h"

#include "host/Instance.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string_view>

namespace tarn::host {

namespace {

constexpr double kTempo = 120.0;  // quarters a minute
constexpr int kQuartersInBar = 4;
constexpr VstIntPtr kEnglish = 1;

std::atomic<Host*> currentHost{nullptr};
thread_local bool isInBlock = false;

VstIntPtr copyText(void* to, const char* text, std::size_t bytes) {
    if (to == nullptr)
        return 0;
    std::snprintf(static_cast<char*>(to), bytes, "%s", text);
    return 1;
}

VstIntPtr canDo(const void* ptr) {
    static constexpr std::string_view abilities[] = {"sendVstTimeInfo", "acceptIOChanges",
                                                     "startStopProcess"};
    return ptr != nullptr && std::find(std::begin(abilities), std::end(abilities),
                                       static_cast<const char*>(ptr)) != std::end(abilities);
}

}  // namespace

Host::Host(const HostSettings& settings, Findings& findings)
    : settings_(settings), findings_(findings) {
    currentHost = this;
}

Host::~Host() {
    currentHost = nullptr;
}

VstIntPtr VSTCALLBACK Host::answer(AEffect* effect, VstInt32 opcode, VstInt32 index,
                                   VstIntPtr /*value*/, void* ptr, float /*opt*/) noexcept try {
    Host* host = currentHost;
    return host != nullptr ? host->answerTo(effect, opcode, index, ptr) : 0;
} catch (...) {
    return 0;
}

void Host::add(Instance& instance) {
    const std::lock_guard lock(mutex_);
    instances_.push_back(&instance);
}

void Host::remove(Instance& instance) {
    const std::lock_guard lock(mutex_);
    std::erase(instances_, &instance);
}

void Host::beginBlock(std::int64_t position) noexcept {
    position_ = position;
    isPlaying_ = true;
    isInBlock = true;
}

void Host::endBlock() noexcept {
    isInBlock = false;
}

VstIntPtr Host::answerTo(AEffect* effect, VstInt32 opcode, VstInt32 index, void* ptr) {
    switch (opcode) {
        case audioMasterVersion:
            return kVstVersion;
        case audioMasterAutomate:
        case audioMasterBeginEdit:
        case audioMasterEndEdit:
            return noteEdit(effect, index);
        case audioMasterIOChanged:
            return noteIOChange(effect);
        case audioMasterUpdateDisplay:
            return 1;
        case audioMasterGetTime:
            return time();
        case audioMasterGetSampleRate:
            return static_cast<VstIntPtr>(std::lround(settings_.rate));
        case audioMasterGetBlockSize:
            return settings_.announcedBlock;
        case audioMasterGetInputLatency:
            return settings_.inputLatency;
        case audioMasterGetCurrentProcessLevel:
            return processLevel();
        case audioMasterGetVendorString:
            return copyText(ptr, "Quorl", kVstMaxVendorStrLen);
        case audioMasterGetProductString:
            return copyText(ptr, "brimtide-host", kVstMaxProductStrLen);
        case audioMasterGetVendorVersion:
            return 1000;
        case audioMasterCanDo:
            return canDo(ptr);
        case audioMasterGetLanguage:
            return kEnglish;
        case audioMasterGetDirectory:
            return reinterpret_cast<VstIntPtr>(settings_.folder.c_str());
        default:
            return 0;
    }
}

VstIntPtr Host::noteIOChange(const AEffect* effect) {
    const std::lock_guard lock(mutex_);
    for (Instance* instance : instances_)
        if (instance->isOf(effect))
            instance->noteIOChange();
    return 1;
}

VstIntPtr Host::noteEdit(const AEffect* effect, VstInt32 parameter) {
    const std::lock_guard lock(mutex_);
    for (const Instance* instance : instances_)
        if (instance->isOf(effect) && (parameter < 0 || parameter >= effect->numParams))
            findings_.add("told of a parameter that it doesn't have",
                          "number " + std::to_string(parameter));
    return 1;
}

// A record a thread: the plug-in reads it after this call.
VstIntPtr Host::time() const noexcept {
    static thread_local VstTimeInfo info;
    const auto position = static_cast<double>(position_.load());
    const double seconds = position / settings_.rate;
    info = {};
    info.samplePos = position;
    info.sampleRate = settings_.rate;
    info.nanoSeconds = seconds * 1e9;
    info.tempo = kTempo;
    info.ppqPos = seconds * kTempo / 60.0;
    info.barStartPos = std::floor(info.ppqPos / kQuartersInBar) * kQuartersInBar;
    info.timeSigNumerator = kQuartersInBar;
    info.timeSigDenominator = 4;
    info.flags =
        kVstNanosValid | kVstPpqPosValid | kVstTempoValid | kVstBarsValid | kVstTimeSigValid;
    if (isPlaying_)
        info.flags |= kVstTransportPlaying | (position == 0.0 ? kVstTransportChanged : 0);
    return reinterpret_cast<VstIntPtr>(&info);
}

VstIntPtr Host::processLevel() const noexcept {
    if (!isInBlock)
        return kVstProcessLevelUser;
    return settings_.isRealTime ? kVstProcessLevelRealtime : kVstProcessLevelOffline;
}

}  // namespace tarn::host
