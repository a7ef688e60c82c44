#include "host/Report.h"

#include "host/Files.h"
#include "host/Instance.h"
#include "host/PluginLibrary.h"

#include <array>
#include <string_view>

namespace tarn::host {

namespace {

constexpr int kBlock = 512;  // frames

std::string fourCharactersOf(VstInt32 id) {
    const auto bits = static_cast<std::uint32_t>(id);
    const std::array<char, 4> characters = {
        static_cast<char>(bits >> 24), static_cast<char>(bits >> 16 & 0xff),
        static_cast<char>(bits >> 8 & 0xff), static_cast<char>(bits & 0xff)};
    return printable(characters);
}

std::string categoryName(VstIntPtr category) {
    static constexpr const char* names[] = {
        "unknown",     "effect",   "synth",       "analysis", "mastering", "spacializer",
        "room effect", "surround", "restoration", "offline",  "shell",     "generator"};
    return category >= 0 && category < static_cast<VstIntPtr>(std::size(names))
               ? names[category]
               : "number " + std::to_string(category);
}

Document flagsOf(const AEffect& record) {
    const auto has = [&record](VstInt32 flag) { return (record.flags & flag) != 0; };
    return Document::Record{
        {"hasEditor", has(effFlagsHasEditor)},
        {"canReplacing", has(effFlagsCanReplacing)},
        {"programChunks", has(effFlagsProgramChunks)},
        {"isSynth", has(effFlagsIsSynth)},
        {"noSoundInStop", has(effFlagsNoSoundInStop)},
        {"canDoubleReplacing", has(effFlagsCanDoubleReplacing)},
    };
}

Document pinsOf(Instance& instance, VstInt32 opcode, int count) {
    Document::List pins;
    for (int i = 0; i < count; ++i) {
        const auto pin = instance.pin(opcode, i);
        if (!pin) {
            pins.emplace_back();  // not described
            continue;
        }
        pins.emplace_back(Document::Record{
            {"label", printable(pin->label)},
            {"shortLabel", printable(pin->shortLabel)},
            {"isActive", (pin->flags & kVstPinIsActive) != 0},
            {"isStereo", (pin->flags & kVstPinIsStereo) != 0},
        });
    }
    return pins;
}

Document parametersOf(Instance& instance) {
    Document::List parameters;
    for (VstInt32 i = 0; i < instance.record().numParams; ++i) {
        const auto text = [&](VstInt32 opcode, const char* name) {
            return instance.text(opcode, i, kVstMaxParamStrLen, name);
        };
        Document::Record parameter = {
            {"name", text(effGetParamName, "a parameter's name")},
            {"value", static_cast<double>(instance.parameter(i))},
            {"display", text(effGetParamDisplay, "a parameter's display")},
            {"label", text(effGetParamLabel, "a parameter's label")},
            {"canBeAutomated", instance.dispatch(effCanBeAutomated, i) != 0},
        };
        if (const auto properties = instance.parameterProperties(i)) {
            parameter.emplace_back("longName", printable(properties->label));
            parameter.emplace_back("flags", properties->flags);
        }
        parameters.emplace_back(std::move(parameter));
    }
    return parameters;
}

Document programsOf(Instance& instance) {
    Document::List programs;
    for (VstInt32 i = 0; i < instance.record().numPrograms; ++i)
        programs.emplace_back(
            instance.text(effGetProgramNameIndexed, i, kVstMaxProgNameLen, "a program's name"));
    return programs;
}

Document abilitiesOf(Instance& instance) {
    static constexpr const char* abilities[] = {"sendVstEvents",
                                                "sendVstMidiEvent",
                                                "receiveVstEvents",
                                                "receiveVstMidiEvent",
                                                "receiveVstTimeInfo",
                                                "midiProgramNames",
                                                "offline",
                                                "plugAsChannelInsert",
                                                "plugAsSend",
                                                "mixDryWet",
                                                "noRealTime",
                                                "multipass",
                                                "metapass",
                                                "bypass",
                                                "1in1out",
                                                "1in2out",
                                                "2in1out",
                                                "2in2out",
                                                "2in4out",
                                                "4in2out",
                                                "4in4out",
                                                "4in8out",
                                                "8in4out",
                                                "8in8out"};
    Document::Record answers;
    for (const char* ability : abilities) {
        std::string text = ability;
        const VstIntPtr answer = instance.dispatch(effCanDo, 0, 0, text.data());
        answers.emplace_back(ability, answer > 0 ? "yes" : answer < 0 ? "no" : "unknown");
    }
    return answers;
}

Document editorOf(Instance& instance) {
    ERect* area = nullptr;
    if ((instance.record().flags & effFlagsHasEditor) != 0)
        instance.dispatch(effEditGetRect, 0, 0, &area);
    if (area == nullptr)
        return {};
    return Document::Record{{"width", area->right - area->left},
                            {"height", area->bottom - area->top}};
}

Document chunkOf(Instance& instance) {
    const auto chunk = instance.chunk();
    return chunk ? Document(static_cast<double>(chunk->size())) : Document();
}

Document describe(Instance& instance) {
    const AEffect& record = instance.record();
    const auto number = [&instance](VstInt32 opcode) {
        return static_cast<double>(instance.dispatch(opcode));
    };
    return Document::Record{
        {"name", instance.text(effGetEffectName, 0, kVstMaxEffectNameLen, "the effect's name")},
        {"vendor", instance.text(effGetVendorString, 0, kVstMaxVendorStrLen, "the vendor")},
        {"product", instance.text(effGetProductString, 0, kVstMaxProductStrLen, "the product")},
        {"vendorVersion", number(effGetVendorVersion)},
        {"version", record.version},
        {"vstVersion", number(effGetVstVersion)},
        {"uniqueID", fourCharactersOf(record.uniqueID)},
        {"category", categoryName(instance.dispatch(effGetPlugCategory))},
        {"flags", flagsOf(record)},
        {"inputs", instance.inputs()},
        {"outputs", instance.outputs()},
        {"inputPins", pinsOf(instance, effGetInputProperties, instance.inputs())},
        {"outputPins", pinsOf(instance, effGetOutputProperties, instance.outputs())},
        {"latency", record.initialDelay},
        {"tail", number(effGetTailSize)},
        {"parameters", parametersOf(instance)},
        {"program", number(effGetProgram)},
        {"programName",
         instance.text(effGetProgramName, 0, kVstMaxProgNameLen, "the program's name")},
        {"programs", programsOf(instance)},
        {"canDo", abilitiesOf(instance)},
        {"editor", editorOf(instance)},
        {"chunkBytes", chunkOf(instance)},
    };
}

}  // namespace

Document describePlugin(const std::string& path, Findings& findings) {
    HostSettings settings;
    settings.announcedBlock = kBlock;
    settings.folder = folderOf(path);
    Host host(settings, findings);
    const PluginLibrary library(path);
    Instance instance(library.entry(), host, findings);
    instance.configure();
    return describe(instance);
}

}  // namespace tarn::host
