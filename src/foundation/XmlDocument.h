// A TinyXML document in which the children of a node are found without a walk past all the others.
// Everything rests on one rule: nodes are added and renamed through this class, and none is ever
// removed.
#pragma once

#include <tinyxml.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace tarn {

/// One thread at a time, also for reading: lists of children are made at the first search.
class XmlDocument {
public:
    using List = std::vector<TiXmlNode*>;

    TiXmlDocument& xml() noexcept { return xml_; }

    /// Appends a child to a node of this document, and returns it.
    TiXmlNode* add(TiXmlNode* parent, std::unique_ptr<TiXmlNode> child);

    /// Gives an element of this document another tag.
    void rename(TiXmlElement& element, std::string_view tag);

    /// The elements with that tag among a node's children, with an empty tag all its children, in
    /// order. Null if there are so few children that a walk is faster.
    const List* listOf(TiXmlNode* parent, std::string_view tag);

private:
    // By tag, whose text is that of the first element; all children under the empty one.
    using Lists = std::unordered_map<std::string_view, List>;

    static void enter(Lists& lists, TiXmlNode* child);

    TiXmlDocument xml_;
    std::unordered_map<const TiXmlNode*, Lists> lists_;  // by parent, of those searched so far
};

/// Steps through what XmlDocument lists. The document must stay as it is meanwhile.
class XmlChildren {
public:
    XmlChildren(XmlDocument& document, TiXmlNode* parent, std::string_view tag)
        : list_(document.listOf(parent, tag)), node_(parent->FirstChild()), tag_(tag) {}

    /// Null at the end.
    TiXmlNode* next();

    // Before the first step only.
    TiXmlNode* at(std::size_t index);  // null if there are fewer
    std::size_t count();

private:
    const XmlDocument::List* list_;
    std::size_t index_ = 0;  // the next one's in the list
    TiXmlNode* node_;        // without a list
    std::string_view tag_;
};

}  // namespace tarn
