// The product's definition, and the page that tells authors how to write one.
#include "parameters/Definition.h"

#include <fstream>
#include <iterator>

namespace tarn {
namespace {

// What stands between ```xml and ``` on the page, in order.
std::vector<std::string> examplesOf(const std::string& file) {
    std::ifstream stream(file);
    const std::string page(std::istreambuf_iterator<char>(stream), {});
    constexpr std::string_view Begin = "```xml\n";
    std::vector<std::string> examples;
    for (std::size_t at = 0; (at = page.find(Begin, at)) != std::string::npos;) {
        at += Begin.size();
        examples.push_back(page.substr(at, page.find("```", at) - at));
    }
    return examples;
}

// Faults: a parameter that the framework looks up and doesn't find, one that the host automates or
// a project saves though it mustn't.
TEST(Page, TheProductsOwnDefinition) {
    Defined settings("");
    ASSERT_TRUE(settings.load(File(PROJECT_FOLDER "/product/Settings.xml")).isOk());
    EXPECT_EQ(settings.getAutomatable(),
              (std::vector{&settings.get("BrimtideID"), &settings.get("MuteOutput")}));
    for (const auto& parameter : settings.getParameters())
        EXPECT_EQ(parameter->hasFlag(Parameter::Automatable), parameter->getId() == "MuteOutput");
    take(settings.get("MuteOutput"), "= 0; n 0.5; : 1");
    take(settings.get("OutputLevel"), ": -oo; v 0.5; : -6.0");
    take(settings.get("CurrentProgram"), "v 4095; : 4095");
    take(settings.get("CurrentModule"), "v 3; : 3");
}

// Faults: examples that don't load, and a page that promises what isn't so.
TEST(Page, WhatItsExamplesDo) {
    const std::vector<std::string> examples = examplesOf(PROJECT_FOLDER "/docs/settings.md");
    ASSERT_EQ(examples.size(), 5u);
    Defined whole(examples[0]);
    std::string printed;
    Dictionary(examples[4]).toString(printed);
    whole.read(Dictionary(examples[4]), Parameter::AllScopes, Parameter::PluginRealm, false);
    EXPECT_EQ(stateOf(whole), printed);
    take(whole.get("Gain"), "n 0.25; : -6.0; t 3; : -6.0; n 0; : -oo");
    take(whole.get("Octave"), "n 0.5; : +1");
    take(Defined(examples[1]).get("Gain"), "n 0.3; : 25");

    const Defined shown(examples[2] + examples[3]);
    for (const auto& [id, steps] : {std::pair{"Blend", ": 75/25"},
                                    {"Pan", ": L 50%; n 0.5; : center; t 0.5; : center"},
                                    {"Ratio", ": 4.0:1; n 1; : oo:1; t 1:2; : 2.0:1"},
                                    {"Attack", ": 81; t 63; : 63"},
                                    {"Sweep", ": 632; t 63; : 63"},
                                    {"Size", ": 50; t 63; : 63"},
                                    {"Grid", "n 0.3; : 0.25"},
                                    {"Always", "n 0.3; : 5.0"},
                                    {"Frozen", "n 1; : 2.0"},
                                    {"Falling", "n 0.3; = 0.7"}})
        take(shown.get(id), steps);
}

}  // namespace
}  // namespace tarn
