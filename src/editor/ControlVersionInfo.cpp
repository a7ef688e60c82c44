#include "editor/ControlVersionInfo.h"

#include "plugin/PluginInfo.h"

namespace tarn {

namespace {

const char* buildMark(std::int32_t buildType) {
    switch (buildType) {
        case PluginInfo::Development:
            return " Debug Build";
        case PluginInfo::Alpha:
            return " Alpha Build";
        case PluginInfo::Beta:
            return " Beta Build";
        default:
            return "";
    }
}

}  // namespace

std::string ControlVersionInfo::versionLine() {
    const PluginInfo& product = PluginInfo::get();
    return product.getProductName() + " " + product.getVersionText() +
           buildMark(product.getBuildType());
}

void ControlVersionInfo::importDictionary(const Dictionary& dictionary) {
    ControlText::importDictionary(dictionary);
    setText(versionLine());
}

}  // namespace tarn
