#include "link/BrimtidePluginInfo.h"

#include "foundation/Message.h"
#include "link/BrimtideEngine.h"
#include "link/BrimtidePlugin.h"

namespace tarn {

namespace {

// Of a font: bits that go beside the alignment's.
constexpr int NotAntialiased = 0x10000;

Font fontOf(const char* family, float size, int alignment, float lineHeight = 0.0f) {
    return Font(family, size, 0, 1, alignment, lineHeight);
}

std::size_t fontAt(int index) {
    return index >= 1 && index <= 7 ? static_cast<std::size_t>(index) : 0;
}

}  // namespace

BrimtidePluginInfo::BrimtidePluginInfo()
    : fonts_{fontOf("Verdana", 10.0f, 9),
             fontOf("Verdana", 10.0f, 9),
             fontOf("04b03", 8.0f, NotAntialiased),
             fontOf("uni 05_53", 11.0f, NotAntialiased, 9.0f),
             fontOf("Verdana", 12.0f, NotAntialiased),
             fontOf("Verdana", 8.0f, 9),
             fontOf("Verdana", 10.0f, 9),
             fontOf("Verdana", 12.0f, 9)} {}

std::int32_t BrimtidePluginInfo::getVendorCode() const {
    return static_cast<std::int32_t>(fourCharacterCode("Qrld"));
}

std::int32_t BrimtidePluginInfo::getProductCode() const {
    return static_cast<std::int32_t>(fourCharacterCode("Brim"));
}

std::vector<IOConfig> BrimtidePluginInfo::getIOConfigs() const {
    using enum IOPin::Type;
    const auto pinOf = [](IOPin::Type type) { return IOPinConfig(type, 1); };
    return {
        {pinOf(Mono), pinOf(Mono)}, {pinOf(Mono), pinOf(Stereo)}, {pinOf(Stereo), pinOf(Stereo)}};
}

IOConfig BrimtidePluginInfo::sanitiseIOConfig(const IOConfig& requested) const {
    IOConfig result;
    if (requested.getInputChannels() == 1)
        result.setOutputs(requested.getOutputs());
    else
        result.setInputs(IOPinConfig(IOPin::Type::Stereo, 1));
    if (requested.getOutputChannels() == 1)
        result.setOutputs(requested.getOutputs());
    else if (requested.getOutputChannels() == 2)
        result.setOutputs(IOPinConfig(IOPin::Type::Stereo, 1));
    else
        result.setOutputs(IOPinConfig(IOPin::Type::Mono, 8));
    return result;
}

Font BrimtidePluginInfo::getFont(int index) const {
    return fonts_[fontAt(index)];
}

void BrimtidePluginInfo::setFont(int index, const Font& font) {
    fonts_[fontAt(index)] = font;
}

std::unique_ptr<Plugin> BrimtidePluginInfo::createPlugin(HostInterface* host,
                                                         std::uintptr_t baseAddress) const {
    return std::make_unique<Brimtide::Plugin>(host, baseAddress);
}

std::unique_ptr<Engine> BrimtidePluginInfo::createEngine(Module* module) const {
    return std::make_unique<BrimtideEngine>(module);
}

}  // namespace tarn
