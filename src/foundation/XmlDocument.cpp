#include "foundation/XmlDocument.h"

#include <exception>
#include <utility>

namespace tarn {

namespace {

// Up to so many children are walked past.
constexpr int FewChildren = 32;

bool hasManyChildren(const TiXmlNode* parent) {
    int children = 0;
    for (const TiXmlNode* child = parent->FirstChild(); child != nullptr;
         child = child->NextSibling())
        if (++children > FewChildren)
            return true;
    return false;
}

}  // namespace

TiXmlNode* XmlDocument::add(TiXmlNode* parent, std::unique_ptr<TiXmlNode> child) {
    TiXmlNode* const added = parent->LinkEndChild(child.release());
    const auto found = lists_.find(parent);
    try {
        if (found != lists_.end())
            enter(found->second, added);
    } catch (const std::exception&) {
        lists_.erase(found);  // incomplete; the next search makes it anew
    }
    return added;
}

void XmlDocument::rename(TiXmlElement& element, std::string_view tag) {
    lists_.erase(element.Parent());
    element.SetValue(std::string(tag));
}

const XmlDocument::List* XmlDocument::listOf(TiXmlNode* parent, std::string_view tag) {
    auto found = lists_.find(parent);
    if (found == lists_.end()) {
        if (!hasManyChildren(parent))
            return nullptr;
        Lists lists;
        for (TiXmlNode* child = parent->FirstChild(); child != nullptr;
             child = child->NextSibling())
            enter(lists, child);
        found = lists_.emplace(parent, std::move(lists)).first;
    }
    static const List none;
    const auto list = found->second.find(tag);
    return list != found->second.end() ? &list->second : &none;
}

void XmlDocument::enter(Lists& lists, TiXmlNode* child) {
    lists[{}].push_back(child);
    if (child->ToElement() != nullptr && !child->ValueStr().empty())
        lists[child->ValueStr()].push_back(child);
}

TiXmlNode* XmlChildren::next() {
    if (list_ != nullptr)
        return index_ < list_->size() ? (*list_)[index_++] : nullptr;
    while (node_ != nullptr) {
        TiXmlNode* const child = node_;
        node_ = child->NextSibling();
        if (tag_.empty() || (child->ToElement() != nullptr && child->ValueStr() == tag_))
            return child;
    }
    return nullptr;
}

TiXmlNode* XmlChildren::at(std::size_t index) {
    if (list_ != nullptr)
        return index < list_->size() ? (*list_)[index] : nullptr;
    TiXmlNode* child = next();
    for (; child != nullptr && index > 0; --index)
        child = next();
    return child;
}

std::size_t XmlChildren::count() {
    if (list_ != nullptr)
        return list_->size();
    std::size_t children = 0;
    while (next() != nullptr)
        ++children;
    return children;
}

}  // namespace tarn
