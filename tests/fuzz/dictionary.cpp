// Texts as they come from a host, a file or a drop: whatever they are, the guard foresees what
// TinyXML makes of them, every operation lives, and what is written into the tree comes back.
#include "foundation/Dictionary.h"

#include "Require.h"
#include "foundation/XmlGuard.h"

#include <tinyxml.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

using namespace tarn;
using fuzz::require;

namespace {

int heightOf(const TiXmlNode& node) {
    int below = 0;
    for (const auto* child = node.FirstChild(); child != nullptr; child = child->NextSibling())
        below = std::max(below, heightOf(*child));
    return below + (node.ToElement() != nullptr ? 1 : 0);
}

void checkGuard(const std::string& text) {
    const XmlShape foreseen = measureXml(text);
    if (!isWithinLimits(foreseen))
        return;
    TiXmlDocument document;
    document.Parse(text.c_str(), nullptr,
                   isPlainUtf8(text) ? TIXML_ENCODING_UTF8 : TIXML_ENCODING_LEGACY);
    require(heightOf(document) <= foreseen.depth);
}

void readEverything(const Dictionary& tree, std::string_view key) {
    const auto clone = static_cast<std::int32_t>(key.size() * 0x01234567U);
    std::int32_t integer = 0;
    float real = 0;
    bool truth = false;
    std::string text;
    std::string version;
    tree.getInteger(key, integer, clone);
    tree.getIntegerText(key, integer);
    tree.getFloat(key, real, 1);
    tree.getBool(key, truth, 0, key);
    tree.getString(key, text);
    tree.getStringNth(key, text, 2);
    tree.getText(key, text);
    void* data = nullptr;
    std::size_t size = key.size() * key.size();
    tree.getData(key, data, size);
    std::free(data);
    tree.getInfo(text, version);
    tree.hasValue(key);
    tree.hasKey(key);
    for (const auto& child : {tree.find(key, clone), tree.find(key), tree.getChild(key),
                              tree.getEntry(clone, key), tree.getEntry(0), tree.getArray(key),
                              tree.getArrayDict(key, key), tree.getArrayEntry(key, 0)})
        if (child)
            (void)(child->getName() + child->getAttribute(key));
}

void writeEverything(Dictionary& tree, std::string_view key, std::string_view text) {
    tree.setString(key, text);
    tree.setInteger(key, 5, 2, false);
    tree.setAttribute(key, key, text);
    tree.setInfo(text, key);
    if (const auto deeper = tree.getEntry(0))
        deeper->addChild(tree);
    Dictionary copy(tree);
    copy.addChild(tree);
    copy = *tree.getEntry(tree.count({}) - 1);
    copy.setName(key);
    std::string message;
    copy.canLoad(message);
}

// What was set must come back from the printed text, and the text must be the same once more.
void checkRoundTrip(std::string_view key, std::string_view text) {
    Dictionary tree;
    tree.setString("file-format", "1.0");
    if (!tree.setString(key, text, 3, false))
        return;
    std::string printed;
    tree.toString(printed);

    const Dictionary again{printed};
    std::string value;
    require(again.getString(key, value, 3) == !text.empty() && value == text);
    std::string printedAgain;
    again.toString(printedAgain);
    require(printed == printedAgain);
}

}  // namespace

// A key or path up to the first line end, and the text behind it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::size_t end = std::min(input.find('\n'), input.size());
    const std::string_view key = input.substr(0, end);
    const std::string_view text = input.substr(std::min(end + 1, input.size()));

    checkGuard(std::string(text.substr(0, text.find('\0'))));
    Dictionary tree(text);
    readEverything(tree, key);
    writeEverything(tree, key, text);
    readEverything(tree, key);
    std::string printed;
    tree.toString(printed);
    readEverything(Dictionary(printed), key);
    checkRoundTrip(key, text);
    return 0;
}
