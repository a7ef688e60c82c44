// A saved state from anywhere, read into settings of all classes: what they write then is read back
// as it was.
#include "Parameters.h"

using namespace tarn;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Settings settings(nullptr, Manager);
    require(fuzz::loads(settings, AllClasses));
    fuzz::read(settings, documentOf(fuzz::textOf(data, size)));

    // A state may change the steps, and tell no value that stands on one.
    fuzz::read(settings, stateOf(settings));
    const auto comesBack = [&settings] {
        const std::string state = stateOf(settings);
        fuzz::read(settings, state);
        return stateOf(settings) == state;
    };
    require(comesBack());

    // What it made of the definitions still takes values and gives them back.
    forEachParameter(settings, fuzz::setEveryWay);
    require(comesBack());
    settings.resetAll();
    return 0;
}
