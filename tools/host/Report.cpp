#include "host/Report.h"

#include "host/Files.h"
#include "host/Instance.h"
#include "host/PluginLibrary.h"

#include <nlohmann/json.hpp>
#include <string_view>

namespace tarn::host {

namespace {

using Facts = nlohmann::ordered_json;

constexpr int kBlock = 512;  // frames

std::string jsonOf(const Facts& facts, int indentation) {
    return facts.dump(indentation, ' ', false, Facts::error_handler_t::replace);
}

void writeLines(const Facts& facts, const std::string& indentation, std::string& text) {
    int number = 0;
    for (const auto& [name, fact] : facts.items()) {
        text += indentation + (facts.is_array() ? std::to_string(number++) : name) + ':';
        if (fact.is_structured() && !fact.empty()) {
            text += '\n';
            writeLines(fact, indentation + "  ", text);
            continue;
        }
        // As JSON has it, so that a text can't lead a console astray, but without the quotes.
        const std::string words = fact.empty() ? "none" : jsonOf(fact, -1);
        text += ' ' + (fact.is_string() ? words.substr(1, words.size() - 2) : words) + '\n';
    }
}

std::string fourCharactersOf(VstInt32 id) {
    std::string characters;
    for (const int shift : {24, 16, 8, 0})
        characters += static_cast<char>(static_cast<std::uint32_t>(id) >> shift & 0xff);
    return characters;
}

std::string categoryName(VstIntPtr category) {
    static constexpr const char* names[] = {
        "unknown",     "effect",   "synth",       "analysis", "mastering", "spacializer",
        "room effect", "surround", "restoration", "offline",  "shell",     "generator"};
    return category >= 0 && category < static_cast<VstIntPtr>(std::size(names))
               ? names[category]
               : "number " + std::to_string(category);
}

Facts flagsOf(const AEffect& record) {
    const auto has = [&record](VstInt32 flag) { return (record.flags & flag) != 0; };
    return {
        {"hasEditor", has(effFlagsHasEditor)},
        {"canReplacing", has(effFlagsCanReplacing)},
        {"programChunks", has(effFlagsProgramChunks)},
        {"isSynth", has(effFlagsIsSynth)},
        {"noSoundInStop", has(effFlagsNoSoundInStop)},
        {"canDoubleReplacing", has(effFlagsCanDoubleReplacing)},
    };
}

Facts pinsOf(Instance& instance, VstInt32 opcode, int count) {
    Facts pins = Facts::array();
    for (int i = 0; i < count; ++i) {
        const auto pin = instance.pin(opcode, i);
        if (!pin) {
            pins.push_back(nullptr);  // not described
            continue;
        }
        pins.push_back({
            {"label", textIn(pin->label)},
            {"shortLabel", textIn(pin->shortLabel)},
            {"isActive", (pin->flags & kVstPinIsActive) != 0},
            {"isStereo", (pin->flags & kVstPinIsStereo) != 0},
        });
    }
    return pins;
}

Facts parametersOf(Instance& instance) {
    Facts parameters = Facts::array();
    for (VstInt32 i = 0; i < instance.record().numParams; ++i) {
        const auto text = [&](VstInt32 opcode, const char* name) {
            return instance.text(opcode, i, kVstMaxParamStrLen, name);
        };
        Facts parameter = {
            {"name", text(effGetParamName, "a parameter's name")},
            {"value", instance.parameter(i)},
            {"display", text(effGetParamDisplay, "a parameter's display")},
            {"label", text(effGetParamLabel, "a parameter's label")},
            {"canBeAutomated", instance.dispatch(effCanBeAutomated, i) != 0},
        };
        if (const auto properties = instance.parameterProperties(i)) {
            parameter["longName"] = textIn(properties->label);
            parameter["flags"] = properties->flags;
        }
        parameters.push_back(std::move(parameter));
    }
    return parameters;
}

Facts programsOf(Instance& instance) {
    Facts programs = Facts::array();
    for (VstInt32 i = 0; i < instance.record().numPrograms; ++i)
        programs.push_back(
            instance.text(effGetProgramNameIndexed, i, kVstMaxProgNameLen, "a program's name"));
    return programs;
}

Facts abilitiesOf(Instance& instance) {
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
    Facts answers;
    for (const char* ability : abilities) {
        std::string text = ability;
        const VstIntPtr answer = instance.dispatch(effCanDo, 0, 0, text.data());
        answers[ability] = answer > 0 ? "yes" : answer < 0 ? "no" : "unknown";
    }
    return answers;
}

Facts editorOf(Instance& instance) {
    ERect* area = nullptr;
    if ((instance.record().flags & effFlagsHasEditor) != 0)
        instance.dispatch(effEditGetRect, 0, 0, &area);
    if (area == nullptr)
        return {};
    return {{"width", area->right - area->left}, {"height", area->bottom - area->top}};
}

Facts chunkOf(Instance& instance) {
    const auto chunk = instance.chunk();
    return chunk ? Facts(chunk->size()) : Facts();
}

Facts describe(Instance& instance) {
    const AEffect& record = instance.record();
    const auto number = [&instance](VstInt32 opcode) { return instance.dispatch(opcode); };
    return {
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

std::string reportOf(const std::string& path, bool isJson, Findings& findings) {
    HostSettings settings;
    settings.announcedBlock = kBlock;
    settings.folder = folderOf(path);
    Host host(settings, findings);
    const PluginLibrary library(path);
    Instance instance(library.entry(), host, findings);
    instance.configure();
    const Facts facts = describe(instance);
    if (isJson)
        return jsonOf(facts, 2) + '\n';
    std::string text;
    writeLines(facts, "", text);
    return text;
}

}  // namespace tarn::host
