#include "resources/Skin.h"

#include "foundation/File.h"

namespace tarn {

Skin::Skin(const Folder& folder, const std::string& name)
    : folder_(folder), info_(File(folder, "info.xml")), name_(name) {
    if (name_.empty())
        name_ = getText("name");
    if (name_.empty())
        name_ = folder_.getLeafName();
}

std::string Skin::getUid() const {
    const std::string uid = getText("uid");
    return uid.empty() ? name_ : uid;
}

std::string Skin::getText(const char* key) const {
    std::string text;
    info_.getString(key, text);
    return text;
}

}  // namespace tarn
