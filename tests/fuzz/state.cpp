// A saved state from anywhere, read into settings of all classes: what they write then is read back
// as it was.
#include "Parameters.h"

using namespace tarn;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const ParameterManager manager;
    Settings settings(nullptr, manager);
    require(fuzz::load(settings, fuzz::AllClasses));
    fuzz::read(settings, fuzz::documentOf(data, size));

    // A state may change the steps, and tell no value that stands on one.
    require(fuzz::read(settings, fuzz::stateOf(settings)));
    const std::string settled = fuzz::stateOf(settings);
    require(fuzz::read(settings, settled) && fuzz::stateOf(settings) == settled);

    // What it made of the definitions still takes values and gives them back.
    fuzz::forEachParameter(settings, fuzz::setEveryWay);
    const std::string set = fuzz::stateOf(settings);
    require(fuzz::read(settings, set) && fuzz::stateOf(settings) == set);
    settings.resetAll();
    return 0;
}
