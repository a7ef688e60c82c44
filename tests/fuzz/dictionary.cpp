// Texts as they come from a host, a file or a drop: whatever they are, every operation lives, and
// what is written into a tree comes back from its text.
#include "foundation/Dictionary.h"

#include "Require.h"

#include <algorithm>

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
    tree.getStrings(key);
    tree.getStringNth(key, text, 1);
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

}  // namespace

// A key or path up to the first line end, and the text behind it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::size_t end = std::min(input.find('\n'), input.size());
    const std::string_view key = input.substr(0, end);
    const std::string_view text = input.substr(std::min(end + 1, input.size()));

    Dictionary tree(text);
    readEverything(tree, key);
    writeEverything(tree, key, text);
    readEverything(tree, key);
    std::string printed;
    tree.toString(printed);

    Dictionary other;
    other.setString("file-format", "1.0");
    if (!other.setString(key, text, 3, false))
        return 0;
    std::string value;
    require(other.toString(printed));
    require(Dictionary(printed).getString(key, value, 3) == !text.empty() && value == text);
    return 0;
}
