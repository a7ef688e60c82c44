// The product's definition, and the page that tells authors how to write one.
#include "parameters/Definition.h"

#include <fstream>
#include <iterator>

namespace tarn {
namespace {

std::string contentOf(const std::string& file) {
    std::ifstream stream(PROJECT_FOLDER "/" + file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

// What stands between ```xml and ``` on the page, in order.
std::vector<std::string> examplesOf(const std::string& page) {
    constexpr std::string_view Begin = "```xml\n", End = "```";
    std::vector<std::string> examples;
    for (std::size_t from = 0; (from = page.find(Begin, from)) != std::string::npos;) {
        from += Begin.size();
        const std::size_t end = page.find(End, from);
        examples.push_back(page.substr(from, end - from));
        from = end + End.size();
    }
    return examples;
}

// Settings of a whole definition, or of parameters alone.
class OfText : public Defined {
public:
    explicit OfText(const std::string& text) : Defined("") {
        const bool isWhole = text.starts_with("<?xml") || text.starts_with("<dict");
        EXPECT_TRUE(loadText(isWhole ? text : definition(text)).isOk()) << text;
    }

    std::string shownAt(const char* id, float normalised) const {
        get(id).setNormalised(normalised, FromHost);
        return get(id).getText();
    }
    std::string shownAfterTyping(const char* id, const char* text) const {
        get(id).setText(text, FromUser);
        return get(id).getText();
    }
};

// Faults: a parameter that the framework looks up and doesn't find, one that the host automates or
// a project saves though it mustn't, texts that a musician can't read.
TEST(Page, TheProductsOwnDefinition) {
    const std::string file = contentOf("product/Settings.xml");
    OfText settings(file);
    EXPECT_EQ(settings.getParameterCount(), 6);
    auto& mute = settings.get<ParameterValue<bool>>("MuteOutput");
    EXPECT_EQ(mute.getText(), "0");
    mute.setNormalised(0.5f, FromHost);
    EXPECT_EQ(mute.getText(), "1");
    EXPECT_EQ(mute.getHostName(8), "Mute");
    EXPECT_EQ(mute.getHostName(24), "Mute output");
    EXPECT_EQ(settings.getAutomatable(),
              (std::vector<Parameter*>{&settings.get("BrimtideID"), &mute}));
    for (const auto& parameter : settings.getParameters()) {
        EXPECT_EQ(parameter->hasFlag(Parameter::Automatable), parameter.get() == &mute);
        EXPECT_EQ(parameter->getScope(), Parameter::PluginScope);
    }
    settings.get("BrimtideID").setText("Lead vocal", FromUser);
    OfText restored(file);
    restored.read(Dictionary(stateOf(settings)), Parameter::AllScopes, 3, false);
    EXPECT_EQ(restored.get("BrimtideID").getText(), "Lead vocal");
    EXPECT_EQ(restored.get("MuteOutput").getFloat(), 1.0f);

    auto& level = settings.get<ParameterValue<float>>("OutputLevel");
    EXPECT_EQ(level.getText(), "-oo");
    const std::pair<float, const char*> levels[] = {{1.0f, "0.0"}, {0.5f, "-6.0"}, {0.1f, "-20.0"}};
    for (const auto& [peak, text] : levels) {
        level.setFloat(peak, FromInternal);
        EXPECT_EQ(level.getText(), text);
    }
    settings.get("CurrentProgram").setFloat(4095.0f, FromInternal);
    EXPECT_EQ(settings.get("CurrentProgram").getText(), "4095");
    settings.get("CurrentModule").setFloat(3.0f, FromInternal);
    EXPECT_EQ(settings.get("CurrentModule").getText(), "3");
    EXPECT_EQ(settings.get("BrimtideChannel").getStepCount(), 2);
}

// Faults: examples that don't load, and a page that promises what isn't so.
TEST(Page, WhatItsExamplesDo) {
    const std::vector<std::string> examples = examplesOf(contentOf("docs/settings.md"));
    ASSERT_EQ(examples.size(), 5u);
    OfText whole(examples[0]);
    EXPECT_EQ(whole.get("Gain").getHostName(8), "Gain");
    EXPECT_EQ(whole.get("Gain").getHostName(16), "Output gain");
    EXPECT_EQ(whole.shownAt("Gain", 0.25f), "-6.0");
    EXPECT_EQ(whole.shownAfterTyping("Gain", "3"), "-6.0");
    EXPECT_EQ(whole.shownAt("Gain", 0.0f), "-oo");
    EXPECT_EQ(whole.get("Voices").getText(), "Eight");
    EXPECT_EQ(whole.shownAt("Octave", 0.5f), "+1");
    EXPECT_EQ(whole.find("Transpose", 0), whole.find("Transpose", 1));
    EXPECT_EQ(whole.getSections()[1].child->getPath(), "Band.2");
    EXPECT_EQ(whole.find("Frequency", 1), nullptr);
    EXPECT_EQ(whole.get("Frequency").getText(), "632");

    const OfText older(examples[1]);
    EXPECT_EQ(older.get("Gain").getName(), "Gain");
    EXPECT_EQ(older.shownAt("Gain", 0.3f), "25");

    const OfText shown(examples[2]);
    for (const auto& [id, text] : {std::pair{"Blend", "75/25"},
                                   {"Pan", "L 50%"},
                                   {"Ratio", "4.0:1"},
                                   {"Attack", "81"},
                                   {"Sweep", "632"},
                                   {"Size", "50"}})
        EXPECT_EQ(shown.get(id).getText(), text);
    EXPECT_EQ(shown.shownAt("Ratio", 1.0f), "oo:1");
    EXPECT_EQ(shown.shownAfterTyping("Ratio", "1:2"), "2.0:1");
    EXPECT_EQ(shown.shownAt("Pan", 0.5f), "center");
    EXPECT_EQ(shown.shownAfterTyping("Pan", "0.5"), "center");
    for (const char* const id : {"Attack", "Sweep", "Size"})
        EXPECT_EQ(shown.shownAfterTyping(id, "63"), "63");

    const OfText stepped(examples[3]);
    EXPECT_EQ(stepped.shownAt("Grid", 0.3f), "0.25");
    EXPECT_EQ(stepped.shownAt("Always", 0.3f), "5.0");
    EXPECT_EQ(stepped.shownAt("Frozen", 1.0f), "2.0");
    stepped.get("Falling").setNormalised(0.3f, FromHost);
    EXPECT_FLOAT_EQ(stepped.get("Falling").getFloat(), 0.7f);

    // The state, written and read.
    whole.loadText(examples[0]);
    OfText read(examples[0]);
    whole.get("Gain").setFloat(0.5f, FromUser);
    whole.get("Shape").setFloat(1.0f, FromUser);
    whole.get("Transpose").setFloat(7.0f, FromUser);
    EXPECT_EQ(whole.get("Transpose").getText(), "7");
    std::string printed;
    Dictionary(examples[4]).toString(printed);
    EXPECT_EQ(stateOf(whole), printed);
    read.read(Dictionary(examples[4]), Parameter::AllScopes, Parameter::PluginRealm, false);
    EXPECT_EQ(stateOf(read), printed);
    EXPECT_EQ(stateKey("2nd band"), "_2ndband");
}

}  // namespace
}  // namespace tarn
