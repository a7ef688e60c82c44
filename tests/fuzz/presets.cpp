// A file of presets from anywhere: one that is refused changes nothing, and what is saved
// afterwards is loaded as it was.
#include "Parameters.h"
#include "parameters/PresetsLibrary.h"

using namespace tarn;
using fuzz::require;

namespace {

class Instance : public Modules, public PresetsLibrary {
public:
    Instance() {
        static const Product product;
        for (int i = 0; i < getModuleCount(); ++i) {
            require(fuzz::loads(settings_[i], AllClasses));
            getModule(i)->setSettings(&settings_[i]);
        }
        init(this);
    }
    std::int32_t getProgramCount() const override { return 2; }

    /// All presets, as a file holds them.
    std::string saved() {
        require(saveAll(file_, message_));
        return folder_.read("presets");
    }

    /// Whether a file with this text was taken.
    bool loads(const std::string& text) {
        folder_.write("presets", text);
        return loadFile(file_, message_);
    }

private:
    Settings settings_[2]{{nullptr, Manager}, {nullptr, Manager}};
    const test::ScratchFolder folder_;
    const File file_{folder_.path("presets")};
    std::string message_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Instance instance;
    const std::string former = instance.saved();
    const std::string text =
        documentOf(fuzz::textOf(data, size),
                   "<dict file-format='0.7'><info creator='Product' version='1'/><programs>",
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
