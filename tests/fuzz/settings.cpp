// A definition file from anywhere. What it makes is found, set, shown, copied, saved and read back;
// a file that is refused leaves the former settings.
#include "Parameters.h"

using namespace tarn;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Settings settings(nullptr, Manager);
    require(fuzz::loads(settings, "<F class='ParameterText'/><section name='S'/>"));
    const std::string former = stateOf(settings);
    const bool isLoaded = fuzz::loads(settings, fuzz::textOf(data, size));
    require(isLoaded || (stateOf(settings) == former && settings.find("F", 0) != nullptr));

    forEachParameter(settings, [&settings](Parameter& parameter) {
        for (const int clone : {0, parameter.getClone()})
            require(settings.find(parameter.getId(), clone) != nullptr);
        fuzz::setEveryWay(parameter);
    });
    const std::string state = stateOf(settings);
    const Settings copy(settings, true);
    require(stateOf(copy) == state);
    fuzz::read(settings, state);
    require(stateOf(settings) == state || !fuzz::keysDiffer(settings));
    settings.resetAll();
    return 0;
}
