// The binary interface between a VST 2.4 host and a plug-in: the entry, the record, the opcodes and
// the structures that their pointers lead to. Both sides see it; it knows nothing of the product.
// Everything rests on the layouts: natural alignment, and plain C calls (`__cdecl` on 32-bit
// Windows).
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(__i386__) && defined(_WIN32)
#define VSTCALLBACK __cdecl
#else
#define VSTCALLBACK
#endif

// On 32-bit Windows a host's stack is aligned to 4 bytes only: what it calls realigns it before SSE
// may use it.
#if defined(__i386__)
#define VST_REALIGN __attribute__((force_align_arg_pointer))
#else
#define VST_REALIGN
#endif

using VstInt32 = std::int32_t;
using VstIntPtr = std::intptr_t;

struct AEffect;

/// How a plug-in reaches its host.
using audioMasterCallback = VstIntPtr(VSTCALLBACK*)(AEffect* effect, VstInt32 opcode,
                                                    VstInt32 index, VstIntPtr value, void* ptr,
                                                    float opt);

/// The exported function, `VSTPluginMain` or `main`: a new instance, or null.
using VstPluginEntry = AEffect*(VSTCALLBACK*)(audioMasterCallback audioMaster);

using AEffectDispatcherProc = VstIntPtr(VSTCALLBACK*)(AEffect* effect, VstInt32 opcode,
                                                      VstInt32 index, VstIntPtr value, void* ptr,
                                                      float opt);
using AEffectProcessProc = void(VSTCALLBACK*)(AEffect* effect, float** inputs, float** outputs,
                                              VstInt32 frames);
using AEffectProcessDoubleProc = void(VSTCALLBACK*)(AEffect* effect, double** inputs,
                                                    double** outputs, VstInt32 frames);
using AEffectSetParameterProc = void(VSTCALLBACK*)(AEffect* effect, VstInt32 index, float value);
using AEffectGetParameterProc = float(VSTCALLBACK*)(AEffect* effect, VstInt32 index);

constexpr VstInt32 fourCharacters(const char (&code)[5]) {
    return static_cast<VstInt32>(
        static_cast<std::uint32_t>(static_cast<unsigned char>(code[0])) << 24 |
        static_cast<std::uint32_t>(static_cast<unsigned char>(code[1])) << 16 |
        static_cast<std::uint32_t>(static_cast<unsigned char>(code[2])) << 8 |
        static_cast<std::uint32_t>(static_cast<unsigned char>(code[3])));
}

constexpr VstInt32 kEffectMagic = fourCharacters("VstP");

/// One instance, as the host sees it. The plug-in makes it and deletes it at `effClose`.
struct AEffect {
    VstInt32 magic;  // kEffectMagic
    AEffectDispatcherProc dispatcher;
    AEffectProcessProc process;  // accumulating; deprecated
    AEffectSetParameterProc setParameter;
    AEffectGetParameterProc getParameter;
    VstInt32 numPrograms;
    VstInt32 numParams;
    VstInt32 numInputs;
    VstInt32 numOutputs;
    VstInt32 flags;         // VstAEffectFlags
    VstIntPtr resvd1;       // the host's
    VstIntPtr resvd2;       // the host's
    VstInt32 initialDelay;  // samples
    VstInt32 realQualities;
    VstInt32 offQualities;
    float ioRatio;
    void* object;  // the plug-in's
    void* user;    // the host's
    VstInt32 uniqueID;
    VstInt32 version;
    AEffectProcessProc processReplacing;
    AEffectProcessDoubleProc processDoubleReplacing;
    char future[56];
};

constexpr std::size_t vstOffset(std::size_t in32Bits, std::size_t in64Bits) {
    return sizeof(void*) == 4 ? in32Bits : in64Bits;
}
static_assert(offsetof(AEffect, dispatcher) == vstOffset(4, 8));
static_assert(offsetof(AEffect, numPrograms) == vstOffset(20, 40));
static_assert(offsetof(AEffect, flags) == vstOffset(36, 56));
static_assert(offsetof(AEffect, resvd1) == vstOffset(40, 64));
static_assert(offsetof(AEffect, initialDelay) == vstOffset(48, 80));
static_assert(offsetof(AEffect, object) == vstOffset(64, 96));
static_assert(offsetof(AEffect, uniqueID) == vstOffset(72, 112));
static_assert(offsetof(AEffect, processReplacing) == vstOffset(80, 120));
static_assert(offsetof(AEffect, processDoubleReplacing) == vstOffset(84, 128));
static_assert(offsetof(AEffect, future) == vstOffset(88, 136));
static_assert(sizeof(AEffect) == vstOffset(144, 192));

enum VstAEffectFlags : VstInt32 {
    effFlagsHasEditor = 1 << 0,
    effFlagsCanReplacing = 1 << 4,
    effFlagsProgramChunks = 1 << 5,
    effFlagsIsSynth = 1 << 8,
    effFlagsNoSoundInStop = 1 << 9,
    effFlagsCanDoubleReplacing = 1 << 12,
};

/// Host to plug-in, through `AEffect::dispatcher`.
enum AEffectOpcodes : VstInt32 {
    effOpen = 0,
    effClose = 1,
    effSetProgram = 2,
    effGetProgram = 3,
    effSetProgramName = 4,
    effGetProgramName = 5,
    effGetParamLabel = 6,
    effGetParamDisplay = 7,
    effGetParamName = 8,
    effSetSampleRate = 10,
    effSetBlockSize = 11,
    effMainsChanged = 12,
    effEditGetRect = 13,
    effEditOpen = 14,
    effEditClose = 15,
    effEditIdle = 19,
    effIdentify = 22,
    effGetChunk = 23,
    effSetChunk = 24,
    effProcessEvents = 25,
    effCanBeAutomated = 26,
    effString2Parameter = 27,
    effGetProgramNameIndexed = 29,
    effGetInputProperties = 33,
    effGetOutputProperties = 34,
    effGetPlugCategory = 35,
    effOfflineNotify = 38,
    effOfflinePrepare = 39,
    effOfflineRun = 40,
    effProcessVarIo = 41,
    effSetSpeakerArrangement = 42,
    effSetBypass = 44,
    effGetEffectName = 45,
    effGetVendorString = 47,
    effGetProductString = 48,
    effGetVendorVersion = 49,
    effVendorSpecific = 50,
    effCanDo = 51,
    effGetTailSize = 52,
    effGetParameterProperties = 56,
    effGetVstVersion = 58,
    effEditKeyDown = 59,
    effEditKeyUp = 60,
    effSetEditKnobMode = 61,
    effGetMidiProgramName = 62,
    effGetCurrentMidiProgram = 63,
    effGetMidiProgramCategory = 64,
    effHasMidiProgramsChanged = 65,
    effGetMidiKeyName = 66,
    effBeginSetProgram = 67,
    effEndSetProgram = 68,
    effGetSpeakerArrangement = 69,
    effShellGetNextPlugin = 70,
    effStartProcess = 71,
    effStopProcess = 72,
    effSetTotalSampleToProcess = 73,
    effSetPanLaw = 74,
    effBeginLoadBank = 75,
    effBeginLoadProgram = 76,
    effSetProcessPrecision = 77,
    effGetNumMidiInputChannels = 78,
    effGetNumMidiOutputChannels = 79,
};

/// Plug-in to host, through the `audioMasterCallback`.
enum AudioMasterOpcodes : VstInt32 {
    audioMasterAutomate = 0,
    audioMasterVersion = 1,
    audioMasterCurrentId = 2,
    audioMasterIdle = 3,
    audioMasterWantMidi = 6,
    audioMasterGetTime = 7,
    audioMasterProcessEvents = 8,
    audioMasterIOChanged = 13,
    audioMasterSizeWindow = 15,
    audioMasterGetSampleRate = 16,
    audioMasterGetBlockSize = 17,
    audioMasterGetInputLatency = 18,
    audioMasterGetOutputLatency = 19,
    audioMasterGetCurrentProcessLevel = 23,
    audioMasterGetAutomationState = 24,
    audioMasterGetVendorString = 32,
    audioMasterGetProductString = 33,
    audioMasterGetVendorVersion = 34,
    audioMasterVendorSpecific = 35,
    audioMasterCanDo = 37,
    audioMasterGetLanguage = 38,
    audioMasterGetDirectory = 41,
    audioMasterUpdateDisplay = 42,
    audioMasterBeginEdit = 43,
    audioMasterEndEdit = 44,
    audioMasterOpenFileSelector = 45,
    audioMasterCloseFileSelector = 46,
};

constexpr VstInt32 kVstVersion = 2400;

/// Bytes of the buffers for texts, the terminating zero included.
constexpr std::size_t kVstMaxProgNameLen = 24;
constexpr std::size_t kVstMaxParamStrLen = 8;
constexpr std::size_t kVstMaxEffectNameLen = 32;
constexpr std::size_t kVstMaxVendorStrLen = 64;
constexpr std::size_t kVstMaxProductStrLen = 64;
constexpr std::size_t kVstMaxLabelLen = 64;
constexpr std::size_t kVstMaxShortLabelLen = 8;
constexpr std::size_t kVstMaxCategoryLabelLen = 24;

enum VstPlugCategory : VstInt32 {
    kPlugCategUnknown = 0,
    kPlugCategEffect,
    kPlugCategSynth,
    kPlugCategAnalysis,
    kPlugCategMastering,
    kPlugCategSpacializer,
    kPlugCategRoomFx,
    kPlugSurroundFx,
    kPlugCategRestoration,
    kPlugCategOfflineProcess,
    kPlugCategShell,
    kPlugCategGenerator,
};

enum VstPinPropertiesFlags : VstInt32 {
    kVstPinIsActive = 1,
    kVstPinIsStereo = 2,
    kVstPinUseSpeaker = 4,
};

struct VstPinProperties {
    char label[kVstMaxLabelLen];
    VstInt32 flags;
    VstInt32 arrangementType;
    char shortLabel[kVstMaxShortLabelLen];
    char future[48];
};
static_assert(sizeof(VstPinProperties) == 128);

enum VstSpeakerArrangementType : VstInt32 {
    kSpeakerArrUserDefined = -2,
    kSpeakerArrEmpty = -1,
    kSpeakerArrMono = 0,
    kSpeakerArrStereo = 1,
    kSpeakerArr51 = 15,
};

struct VstSpeakerProperties {
    float azimuth;
    float elevation;
    float radius;
    float reserved;
    char name[64];
    VstInt32 type;
    char future[28];
};
static_assert(sizeof(VstSpeakerProperties) == 112);

struct VstSpeakerArrangement {
    VstInt32 type;
    VstInt32 numChannels;
    VstSpeakerProperties speakers[8];
};
static_assert(sizeof(VstSpeakerArrangement) == 8 + 8 * 112);

/// What `audioMasterGetTime` leads to; a field counts when its flag is set, the first two always.
struct VstTimeInfo {
    double samplePos;
    double sampleRate;
    double nanoSeconds;
    double ppqPos;
    double tempo;  // quarters a minute
    double barStartPos;
    double cycleStartPos;
    double cycleEndPos;
    VstInt32 timeSigNumerator;
    VstInt32 timeSigDenominator;
    VstInt32 smpteOffset;
    VstInt32 smpteFrameRate;
    VstInt32 samplesToNextClock;
    VstInt32 flags;  // VstTimeInfoFlags
};
static_assert(sizeof(VstTimeInfo) == 88);

enum VstTimeInfoFlags : VstInt32 {
    kVstTransportChanged = 1 << 0,
    kVstTransportPlaying = 1 << 1,
    kVstTransportCycleActive = 1 << 2,
    kVstTransportRecording = 1 << 3,
    kVstAutomationWriting = 1 << 6,
    kVstAutomationReading = 1 << 7,
    kVstNanosValid = 1 << 8,
    kVstPpqPosValid = 1 << 9,
    kVstTempoValid = 1 << 10,
    kVstBarsValid = 1 << 11,
    kVstCyclePosValid = 1 << 12,
    kVstTimeSigValid = 1 << 13,
    kVstSmpteValid = 1 << 14,
    kVstClockValid = 1 << 15,
};

/// What `audioMasterGetCurrentProcessLevel` answers: who calls the plug-in at this moment.
enum VstProcessLevels : VstInt32 {
    kVstProcessLevelUnknown = 0,
    kVstProcessLevelUser = 1,
    kVstProcessLevelRealtime = 2,
    kVstProcessLevelPrefetch = 3,
    kVstProcessLevelOffline = 4,
};

struct VstParameterProperties {
    float stepFloat;
    float smallStepFloat;
    float largeStepFloat;
    char label[kVstMaxLabelLen];
    VstInt32 flags;
    VstInt32 minInteger;
    VstInt32 maxInteger;
    VstInt32 stepInteger;
    VstInt32 largeStepInteger;
    char shortLabel[kVstMaxShortLabelLen];
    std::int16_t displayIndex;
    std::int16_t category;
    std::int16_t numParametersInCategory;
    std::int16_t reserved;
    char categoryLabel[kVstMaxCategoryLabelLen];
    char future[16];
};
static_assert(sizeof(VstParameterProperties) == 152);

enum VstParameterFlags : VstInt32 {
    kVstParameterIsSwitch = 1 << 0,
    kVstParameterUsesIntegerMinMax = 1 << 1,
    kVstParameterUsesFloatStep = 1 << 2,
    kVstParameterUsesIntStep = 1 << 3,
    kVstParameterSupportsDisplayIndex = 1 << 4,
    kVstParameterSupportsDisplayCategory = 1 << 5,
    kVstParameterCanRamp = 1 << 6,
};

enum VstEventTypes : VstInt32 {
    kVstMidiType = 1,
    kVstSysExType = 6,
};

/// What all events begin with.
struct VstEvent {
    VstInt32 type;  // VstEventTypes
    VstInt32 byteSize;
    VstInt32 deltaFrames;  // from the beginning of the next block
    VstInt32 flags;
    char data[16];
};
static_assert(sizeof(VstEvent) == 32);

struct VstMidiEvent {
    VstInt32 type;  // kVstMidiType
    VstInt32 byteSize;
    VstInt32 deltaFrames;
    VstInt32 flags;       // 1: played at this moment, not from a sequence
    VstInt32 noteLength;  // frames, 0 if it isn't known
    VstInt32 noteOffset;  // frames
    char midiData[4];     // up to 3 bytes, and a zero
    signed char detune;   // cents, -64 to 63
    unsigned char noteOffVelocity;
    char reserved1;
    char reserved2;
};
static_assert(sizeof(VstMidiEvent) == 32);

/// What `effProcessEvents` leads to: as many pointers as are counted, though two are declared.
struct VstEvents {
    VstInt32 numEvents;
    VstIntPtr reserved;
    VstEvent* events[2];
};
static_assert(offsetof(VstEvents, events) == vstOffset(8, 16));

struct VstKeyCode {
    VstInt32 character;
    unsigned char virt;
    unsigned char modifier;  // 1 shift, 2 alternate, 4 command, 8 control
};
static_assert(sizeof(VstKeyCode) == 8);

/// Only passed on here.
struct VstAudioFile;
struct VstOfflineTask;
struct VstVariableIo;
struct VstPatchChunkInfo;
struct MidiProgramName;
struct MidiProgramCategory;
struct MidiKeyName;

struct ERect {
    std::int16_t top;
    std::int16_t left;
    std::int16_t bottom;
    std::int16_t right;
};
static_assert(sizeof(ERect) == 8);
