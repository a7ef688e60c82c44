// Texts as they come from a host, a file or a drop: whatever they are, every operation lives, what
// is written into the tree comes back, and what is printed can be read.
#include "foundation/Dictionary.h"

#include "Require.h"
#include "foundation/XmlText.h"

#include <tinyxml.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

using namespace tarn;
using fuzz::require;

namespace {

void readEverything(const Dictionary& tree, std::string_view key) {
    const auto clone = static_cast<std::int32_t>(key.size() * 0x01234567U);
    std::int32_t integer = 0;
    float real = 0;
    bool truth = false;
    std::string text;
    tree.getInteger(key, integer, clone);
    tree.getIntegerText(key, integer);
    tree.getFloat(key, real, 1);
    tree.getBool(key, truth, 0, key);
    require(tree.getString(key, text) || !tree.hasValue(key));
    require(tree.isLegacy() || tree.hasKey(key) == (tree.getChild(key) != nullptr));
    require(tree.getArraySize(key) >= 0);
    tree.getText(key, text);
    void* data = nullptr;
    std::size_t size = key.size() * key.size();
    tree.getData(key, data, size);
    std::free(data);
    std::size_t values = 0;
    for (std::int32_t i = 0; i < tree.count(key); ++i)
        values += tree.getAttribute(key).empty() && tree.getStringNth(key, text, i) ? 1 : 0;
    require(tree.isLegacy() || key.empty() || !tree.getAttribute(key).empty() ||
            values == tree.getStrings(key).size());
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

// The same once more from what is printed, which must be free of faults.
void checkPrinted(const Dictionary& tree) {
    std::string printed;
    if (!tree.toString(printed) || printed.empty())
        return;
    TiXmlDocument document;
    document.Parse(printed.c_str(), nullptr,
                   isPlainUtf8(printed) ? TIXML_ENCODING_UTF8 : TIXML_ENCODING_LEGACY);
    require(!document.Error());
}

// What was set must come back from the printed text.
void checkRoundTrip(std::string_view key, std::string_view text) {
    Dictionary tree;
    tree.setString("file-format", "1.0");
    if (!tree.setString(key, text, 3, false))
        return;
    std::string printed;
    std::string value;
    require(tree.toString(printed));
    require(Dictionary(printed).getString(key, value, 3) == !text.empty() && value == text);
}

}  // namespace

// A key or path up to the first line end, and the text behind it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::size_t end = std::min(input.find('\n'), input.size());
    const std::string_view key = input.substr(0, end);
    const std::string_view text = input.substr(std::min(end + 1, input.size()));

    Dictionary tree(text);
    readEverything(tree, key);
    checkPrinted(tree);
    writeEverything(tree, key, text);
    readEverything(tree, key);
    checkPrinted(tree);
    checkRoundTrip(key, text);
    return 0;
}
