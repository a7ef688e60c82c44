// A file of presets from anywhere: one that is refused changes nothing, and what is saved
// afterwards is loaded as it was.
#include "PresetsInstance.h"

using namespace tarn;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::PresetsInstance instance;
    const std::string former = instance.saved();
    const std::string text = fuzz::documentOf(
        data, size, "<dict file-format='0.7'><info creator='Product' version='1'/><programs>",
        "</programs></dict>");
    require(instance.loads(text) || instance.saved() == former);
    instance.loadProgram(Dictionary(text), 1);
    for (int i = 0; instance.getPreset(i) != nullptr; ++i) {
        instance.selectProgram(i);
        require(instance.getCurrentIndex() == i && !instance.getProgramName(i).empty());
    }
    instance.recallFavorite(1);
    instance.selectProgram(0);
    require(instance.loads(instance.saved()));
    const std::string settled = instance.saved();
    require(instance.loads(settled) && instance.saved() == settled);
    return 0;
}
