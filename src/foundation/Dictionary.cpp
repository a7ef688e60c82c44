#include "foundation/Dictionary.h"

#include "foundation/File.h"
#include "foundation/Logger.h"
#include "foundation/NumberText.h"
#include "foundation/Packing.h"
#include "foundation/ProductIdentity.h"
#include "foundation/Version.h"
#include "foundation/XmlGuard.h"

#include <tinyxml.h>

#include <algorithm>
#include <exception>
#include <utility>

namespace tarn {

namespace {

// Room for the largest binary value; while TinyXML parses, it takes four times as much.
constexpr std::size_t MaxTextBytes = std::size_t{128} << 20;

constexpr std::string_view ByteOrderMark = "\xef\xbb\xbf";

// Where the keyed form begins.
constexpr std::string_view FirstKeyedFormat = "0.6";

void logParseError(const char* text) {
    if (Logger* const logger = Logger::get())
        logger->log(LogError, "__FUNCSIG__: %s", text);
}

std::unique_ptr<TiXmlDeclaration> makeDeclaration() {
    return std::make_unique<TiXmlDeclaration>("1.0", "", "no");
}

void beginWithDeclaration(TiXmlDocument& document) {
    TiXmlNode* const first = document.FirstChild();
    if (first == nullptr)
        document.LinkEndChild(makeDeclaration().release());
    else if (first->ToDeclaration() == nullptr)
        document.InsertBeforeChild(first, *makeDeclaration());
}

std::unique_ptr<TiXmlDocument> makeDocument() {
    auto document = std::make_unique<TiXmlDocument>();
    beginWithDeclaration(*document);
    return document;
}

// TinyXML is a quarter faster where it needn't look for sequences of several bytes. In ASCII that
// makes a difference to numeric entities alone.
TiXmlEncoding encodingOf(const std::string& text) {
    if (isAscii(text) && text.find("&#") == std::string::npos)
        return TIXML_ENCODING_LEGACY;
    return isPlainUtf8(text) ? TIXML_ENCODING_UTF8 : TIXML_ENCODING_LEGACY;
}

// The document of a text, whole or up to its fault; null if TinyXML must not see it.
std::unique_ptr<TiXmlDocument> parseXml(std::string text) {
    if (text.starts_with(ByteOrderMark))
        text.erase(0, ByteOrderMark.size());
    text.resize(std::min(text.find('\0'), text.size()));
    if (text.size() > MaxTextBytes || !isWithinLimits(measureXml(text))) {
        logParseError("Text is too long, nested too deep or has too many nodes.");
        return nullptr;
    }
    auto document = std::make_unique<TiXmlDocument>();
    document->Parse(text.c_str(), nullptr, encodingOf(text));
    if (document->Error())
        logParseError(document->ErrorDesc());
    beginWithDeclaration(*document);
    return document;
}

bool readFile(File file, std::string& text) {
    if (!file.openRead())
        return false;
    const std::int64_t size = file.getSize();
    if (size <= 0 || static_cast<std::uint64_t>(size) > MaxTextBytes)
        return false;
    text.resize(static_cast<std::size_t>(size));
    return file.read(text.data(), 1, text.size());
}

// Every kind of line end becomes a line feed.
void normalizeLineEnds(std::string& text) {
    if (text.find('\r') == std::string::npos)
        return;
    auto end = text.begin();
    for (auto next = text.cbegin(); next != text.cend();) {
        const char character = *next++;
        if (character == '\r' && next != text.cend() && *next == '\n')
            ++next;
        *end++ = character == '\r' ? '\n' : character;
    }
    text.erase(end, text.end());
}

const std::string* findAttribute(const TiXmlElement& element, std::string_view name) {
    for (const TiXmlAttribute* attribute = element.FirstAttribute(); attribute != nullptr;
         attribute = attribute->Next())
        if (attribute->NameTStr() == name)
            return &attribute->ValueStr();
    return nullptr;
}

// The node as an element of that tag and that attribute `name`, where these aren't empty.
TiXmlElement* matchElement(TiXmlNode* node, std::string_view tag, std::string_view name) {
    TiXmlElement* const element = node->ToElement();
    if (element == nullptr || (!tag.empty() && element->ValueStr() != tag))
        return nullptr;
    if (name.empty())
        return element;
    const std::string* const found = findAttribute(*element, "name");
    return found != nullptr && *found == name ? element : nullptr;
}

// The first match from the node on, along its siblings.
TiXmlElement* nextMatch(TiXmlNode* node, std::string_view tag, std::string_view name) {
    for (; node != nullptr; node = node->NextSibling())
        if (TiXmlElement* const element = matchElement(node, tag, name))
            return element;
    return nullptr;
}

bool isClone(const TiXmlElement& element, std::int32_t clone) {
    const std::string* const text = findAttribute(element, "clone");
    return text != nullptr && integerFromText(*text) == clone;
}

// The first match that is marked as that clone, or else the one that so many others precede.
TiXmlElement* findElement(TiXmlNode* parent, std::string_view tag, std::string_view name,
                          std::int32_t clone) {
    TiXmlElement* match = nextMatch(parent->FirstChild(), tag, name);
    for (std::int32_t passed = 0; match != nullptr && passed < clone; ++passed) {
        if (isClone(*match, clone))
            break;
        match = nextMatch(match->NextSibling(), tag, name);
    }
    return match;
}

TiXmlElement* findNth(TiXmlNode* parent, std::string_view tag, std::string_view name,
                      std::int32_t index) {
    TiXmlElement* match = nextMatch(parent->FirstChild(), tag, name);
    for (std::int32_t passed = 0; match != nullptr && passed < index; ++passed)
        match = nextMatch(match->NextSibling(), tag, name);
    return match;
}

// A child counts with that tag, and with an empty one whatever it is.
bool isCounted(TiXmlNode* child, std::string_view tag) {
    return tag.empty() || matchElement(child, tag, {}) != nullptr;
}

std::int32_t countChildren(TiXmlNode* parent, std::string_view tag) {
    std::int32_t children = 0;
    for (TiXmlNode* node = parent->FirstChild(); node != nullptr; node = node->NextSibling())
        children += isCounted(node, tag) ? 1 : 0;
    return children;
}

TiXmlNode* childAt(TiXmlNode* parent, std::int32_t index, std::string_view tag) {
    for (TiXmlNode* node = parent->FirstChild(); node != nullptr && index >= 0;
         node = node->NextSibling())
        if (isCounted(node, tag) && index-- == 0)
            return node;
    return nullptr;
}

const std::string* findValue(const TiXmlElement* element, std::string_view valueName) {
    if (element == nullptr)
        return nullptr;
    if (const std::string* const value = findAttribute(*element, valueName))
        return value;
    const TiXmlNode* const first = element->FirstChild();
    if (first == nullptr)
        return nullptr;
    if (first->ToText() != nullptr)
        return &first->ValueStr();
    if (first->ToElement() == nullptr)
        return nullptr;
    const std::string* const value = findAttribute(*first->ToElement(), "value");
    return value != nullptr && !value->empty() ? value : nullptr;
}

bool canHaveChildren(TiXmlNode* node) {
    return node->ToElement() != nullptr || node->ToDocument() != nullptr;
}

int depthOf(TiXmlNode* node) {
    int depth = 0;
    for (; node != nullptr; node = node->Parent())
        depth += node->ToElement() != nullptr ? 1 : 0;
    return depth;
}

// The levels of elements from the node down.
int heightOf(const TiXmlNode* node) {
    int below = 0;
    for (const TiXmlNode* child = node->FirstChild(); child != nullptr;
         child = child->NextSibling())
        below = std::max(below, heightOf(child));
    return below + (node->ToElement() != nullptr ? 1 : 0);
}

std::string print(const TiXmlNode& node) {
    TiXmlPrinter printer;
    node.Accept(&printer);
    return printer.Str();
}

// At most so many bytes, and no half of a character.
std::string_view beginningOf(std::string_view text, std::size_t bytes) {
    if (text.size() <= bytes)
        return text;
    while (bytes > 0 && (static_cast<unsigned char>(text[bytes]) & 0xc0U) == 0x80U)
        --bytes;
    return text.substr(0, bytes);
}

}  // namespace

Dictionary::Dictionary() {
    reset();
}

Dictionary::Dictionary(std::string_view text) {
    parse(text);
}

Dictionary::Dictionary(const File& file) : Dictionary() {
    load(file);
}

// For a moment a handle on the other's document, which the assignment makes it leave.
Dictionary::Dictionary(const Dictionary& other) : Dictionary(other, other.element_) {
    *this = other;
}

Dictionary::Dictionary(const Dictionary& parent, TiXmlNode* element)
    : SharedObject(parent),
      document_(parent.document_),
      element_(element),
      legacy_(parent.legacy_) {}

Dictionary& Dictionary::operator=(const Dictionary& other) {
    if (this == &other)
        return *this;
    std::unique_ptr<TiXmlDocument> document;
    TiXmlNode* element = nullptr;
    if (other.element_ == other.document_) {
        document = std::make_unique<TiXmlDocument>(*other.document_);
        element = document.get();
    } else {
        document = makeDocument();
        element = document->LinkEndChild(other.element_->Clone());
    }
    leaveDocument();
    document_ = document.release();
    element_ = element;
    legacy_ = other.legacy_;
    return *this;
}

Dictionary::~Dictionary() {
    if (!isShared())
        delete document_;
}

void Dictionary::leaveDocument() {
    const SharedObject fresh;
    if (!isShared())
        delete document_;
    SharedObject::operator=(fresh);
    document_ = nullptr;
    element_ = nullptr;
}

void Dictionary::reset() {
    auto document = makeDocument();
    TiXmlNode* const root = document->LinkEndChild(new TiXmlElement("dict"));
    leaveDocument();
    document_ = document.release();
    element_ = root;
    legacy_ = false;
}

bool Dictionary::adopt(std::unique_ptr<TiXmlDocument> document) {
    if (!document || document->FirstChildElement() == nullptr) {
        reset();
        return false;
    }
    leaveDocument();
    document_ = document.release();
    element_ = document_->FirstChildElement("dict");
    if (element_ == nullptr)
        element_ = document_;
    detectForm();
    return true;
}

bool Dictionary::parse(std::string_view text) {
    return adopt(parseXml(std::string(text.substr(0, MaxTextBytes + 1))));
}

bool Dictionary::load(const File& file) {
    if (!file.exists())
        return false;
    std::string text;
    std::unique_ptr<TiXmlDocument> document;
    if (readFile(file, text)) {
        normalizeLineEnds(text);
        document = parseXml(std::move(text));
    }
    if (document && document->Error())
        document.reset();
    return adopt(std::move(document));
}

bool Dictionary::save(const File& file) const {
    return file.save(print(*document_));
}

void Dictionary::toString(std::string& text) const {
    text = print(*element_);
}

void Dictionary::detectForm() {
    legacy_ = false;
    if (matchElement(element_, "dict", {}) == nullptr)
        return;
    std::string format;
    legacy_ =
        !getString("file-format", format) || Version(format).isOlderThan(Version(FirstKeyedFormat));
}

TiXmlElement* Dictionary::findKey(TiXmlNode* parent, std::string_view key,
                                  std::string_view legacyTag, std::int32_t clone) const {
    return legacy_ ? findElement(parent, legacyTag, key, clone)
                   : findElement(parent, key, {}, clone);
}

const std::string* Dictionary::findText(std::string_view key, std::string_view legacyTag,
                                        std::int32_t clone, std::string_view valueName) const {
    if (const TiXmlElement* const element = element_->ToElement())
        if (const std::string* const value = findAttribute(*element, key))
            return value;
    return findValue(findKey(element_, key, legacyTag, clone), valueName);
}

std::unique_ptr<Dictionary> Dictionary::handleOn(TiXmlNode* node) const {
    return std::unique_ptr<Dictionary>(node != nullptr ? new Dictionary(*this, node) : nullptr);
}

bool Dictionary::getInteger(std::string_view key, std::int32_t& out, std::int32_t clone,
                            std::string_view valueName) const {
    const std::string* const text = findText(key, "integer", clone, valueName);
    if (text != nullptr)
        out = integerFromText(*text);
    return text != nullptr;
}

bool Dictionary::getFloat(std::string_view key, float& out, std::int32_t clone,
                          std::string_view valueName) const {
    const std::string* const text = findText(key, "float", clone, valueName);
    if (text != nullptr)
        out = floatFromText(*text);
    return text != nullptr;
}

bool Dictionary::getBool(std::string_view key, bool& out, std::int32_t clone,
                         std::string_view valueName) const {
    const std::string* const text = findText(key, "bool", clone, valueName);
    if (text != nullptr)
        out = boolFromText(*text);
    return text != nullptr;
}

bool Dictionary::getString(std::string_view key, std::string& out, std::int32_t clone,
                           std::string_view valueName) const {
    const std::string* const text = findText(key, "string", clone, valueName);
    if (text != nullptr)
        out = *text;
    return text != nullptr;
}

bool Dictionary::getStringNth(std::string_view key, std::string& out, std::int32_t index,
                              std::string_view valueName) const {
    const TiXmlElement* const element = element_->ToElement();
    const std::string* text = element != nullptr ? findAttribute(*element, key) : nullptr;
    if (text == nullptr)
        text = findValue(
            legacy_ ? findNth(element_, "string", key, index) : findNth(element_, key, {}, index),
            valueName);
    if (text != nullptr)
        out = *text;
    return text != nullptr;
}

std::vector<std::string> Dictionary::getStrings(std::string_view key,
                                                std::string_view valueName) const {
    const std::string_view tag = legacy_ ? "string" : key;
    const std::string_view name = legacy_ ? key : std::string_view();
    std::vector<std::string> texts;
    for (TiXmlElement* child = nextMatch(element_->FirstChild(), tag, name); child != nullptr;
         child = nextMatch(child->NextSibling(), tag, name))
        if (const std::string* const text = findValue(child, valueName))
            texts.push_back(*text);
    return texts;
}

bool Dictionary::getIntegerText(std::string_view key, std::int32_t& out, std::int32_t clone,
                                std::string_view valueName) const {
    const std::string* const text = findText(key, {}, clone, valueName);
    if (text != nullptr)
        out = integerFromText(*text);
    return text != nullptr;
}

bool Dictionary::getText(std::string_view key, std::string& out, std::int32_t clone,
                         std::string_view valueName) const {
    constexpr std::string_view LineEnd = R"(\\n)";
    const std::string* const text = findText(key, "string", clone, valueName);
    if (text == nullptr)
        return false;
    out.clear();
    for (std::size_t from = 0;;) {
        const std::size_t end = text->find(LineEnd, from);
        out.append(*text, from, end - from);
        if (end == std::string::npos)
            return true;
        out += '\n';
        from = end + LineEnd.size();
    }
}

bool Dictionary::getData(std::string_view key, void*& data, std::size_t& size, std::int32_t clone,
                         std::string_view valueName) const {
    const std::string* const text = findText(key, "data", clone, valueName);
    if (text == nullptr)
        return false;
    data = nullptr;
    try {
        HeapBytes unpacked = isOldPacking(*text) ? unpackOldData(*text, size) : unpackData(*text);
        data = unpacked.block.release();
        size = unpacked.size;
        return true;
    } catch (const std::exception& exception) {
        if (Logger* const logger = Logger::get())
            logger->log(LogError, "caught exception: %s", exception.what());
        size = 0;
        return false;
    }
}

bool Dictionary::getInfo(std::string& creator, std::string& version) const {
    const TiXmlElement* const info = findElement(element_, "info", {}, 0);
    if (info == nullptr)
        return false;
    const std::string* const foundCreator = findAttribute(*info, "creator");
    const std::string* const foundVersion = findAttribute(*info, "version");
    if (foundCreator == nullptr || foundVersion == nullptr)
        return false;
    creator = *foundCreator;
    version = *foundVersion;
    return true;
}

std::string Dictionary::getAttribute(std::string_view name) const {
    const TiXmlElement* const element = element_->ToElement();
    const std::string* const value = element != nullptr ? findAttribute(*element, name) : nullptr;
    return value != nullptr ? *value : std::string();
}

std::string Dictionary::getName() const {
    if (legacy_)
        return getAttribute("name");
    return element_->ToElement() != nullptr ? element_->ValueStr() : std::string();
}

bool Dictionary::hasValue(std::string_view key) const {
    return !legacy_ && findText(key, {}, 0, "value") != nullptr;
}

bool Dictionary::hasKey(std::string_view key) const {
    return findKey(element_, key, {}, 0) != nullptr;
}

std::int32_t Dictionary::count(std::string_view tag) const {
    return countChildren(element_, tag);
}

std::unique_ptr<Dictionary> Dictionary::find(std::string_view path, std::int32_t clone) const {
    TiXmlNode* node = element_;
    while (!path.empty() && node != nullptr) {
        const std::size_t separator = std::min(path.find_first_of("\\/"), path.size());
        const std::string_view piece = path.substr(0, separator);
        path.remove_prefix(std::min(separator + 1, path.size()));
        node = findKey(node, piece, "dict", clone);
    }
    return handleOn(node);
}

std::unique_ptr<Dictionary> Dictionary::getChild(std::string_view tag) const {
    return handleOn(findElement(element_, tag, {}, 0));
}

std::unique_ptr<Dictionary> Dictionary::getEntry(std::int32_t index, std::string_view tag) const {
    return handleOn(childAt(element_, index, tag));
}

std::unique_ptr<Dictionary> Dictionary::getArray(std::string_view name) const {
    return handleOn(findKey(element_, name, "array", 0));
}

std::unique_ptr<Dictionary> Dictionary::getArrayDict(std::string_view name,
                                                     std::string_view key) const {
    TiXmlElement* const array = findKey(element_, name, "array", 0);
    return handleOn(array != nullptr ? findKey(array, key, "dict", 0) : nullptr);
}

std::unique_ptr<Dictionary> Dictionary::getArrayEntry(std::string_view name,
                                                      std::int32_t index) const {
    TiXmlElement* const array = findKey(element_, name, "array", 0);
    return handleOn(array != nullptr ? childAt(array, index, {}) : nullptr);
}

std::int32_t Dictionary::getArraySize(std::string_view name) const {
    TiXmlElement* const array = findKey(element_, name, "array", 0);
    return array != nullptr ? countChildren(array, {}) : 0;
}

TiXmlElement* Dictionary::append(std::string_view tag) {
    if (!isXmlName(tag) || !canHaveChildren(element_) || depthOf(element_) >= MaxXmlDepth)
        return nullptr;
    return element_->LinkEndChild(new TiXmlElement(std::string(tag)))->ToElement();
}

std::unique_ptr<Dictionary> Dictionary::write(std::string_view key, std::string_view text,
                                              std::int32_t clone, bool overwrite) {
    TiXmlElement* element = overwrite ? findElement(element_, key, {}, clone) : nullptr;
    if (element == nullptr) {
        element = append(key);
        if (element == nullptr)
            return nullptr;
        if (clone != 0)
            element->SetAttribute(std::string("clone"), clone);
    }
    if (!text.empty())
        element->SetAttribute(std::string("value"), std::string(text));
    return handleOn(element);
}

std::unique_ptr<Dictionary> Dictionary::setInteger(std::string_view key, std::int32_t value,
                                                   std::int32_t clone, bool overwrite) {
    return write(key, toText(value), clone, overwrite);
}

std::unique_ptr<Dictionary> Dictionary::setFloat(std::string_view key, float value,
                                                 std::int32_t clone, bool overwrite) {
    return write(key, toText(value), clone, overwrite);
}

std::unique_ptr<Dictionary> Dictionary::setBool(std::string_view key, bool value,
                                                std::int32_t clone, bool overwrite) {
    return write(key, toText(value), clone, overwrite);
}

std::unique_ptr<Dictionary> Dictionary::setString(std::string_view key, std::string_view value,
                                                  std::int32_t clone, bool overwrite) {
    return write(key, value, clone, overwrite);
}

std::unique_ptr<Dictionary> Dictionary::setData(std::string_view key, const void* bytes,
                                                std::size_t size, std::int32_t clone,
                                                bool overwrite) {
    if (size > MaxDataBytes)
        return nullptr;
    return write(key, packData(bytes, size), clone, overwrite);
}

void Dictionary::setInfo(std::string_view creator, std::string_view version) {
    if (TiXmlElement* const info = append("info")) {
        info->SetAttribute(std::string("creator"), std::string(creator));
        info->SetAttribute(std::string("version"), std::string(version));
    }
}

std::unique_ptr<Dictionary> Dictionary::addDict(std::string_view name) {
    return handleOn(append(name));
}

std::unique_ptr<Dictionary> Dictionary::addArray(std::string_view name) {
    return handleOn(append(name));
}

void Dictionary::setName(std::string_view name) {
    if (!legacy_ && element_->ToElement() != nullptr && isXmlName(name))
        element_->SetValue(std::string(name));
}

void Dictionary::setAttribute(std::string_view key, std::string_view attributeName,
                              std::string_view value) {
    TiXmlElement* const element =
        key.empty() ? element_->ToElement() : findElement(element_, key, {}, 0);
    if (element != nullptr && isXmlName(attributeName))
        element->SetAttribute(std::string(attributeName), std::string(value));
}

bool Dictionary::addChild(const Dictionary& other) {
    if (!canHaveChildren(element_) || other.element_->ToDocument() != nullptr ||
        depthOf(element_) + heightOf(other.element_) > MaxXmlDepth)
        return false;
    return element_->InsertEndChild(*other.element_) != nullptr;
}

bool Dictionary::canLoad(std::string& message) {
    detectForm();
    std::string creator = "an unknown plugin";
    std::string version;
    getInfo(creator, version);
    std::string format;
    getString("file-format", format);

    const ProductIdentity& product = ProductIdentity::get();
    if (creator != product.getProductName()) {
        message = "These settings were created by " + creator + " and cannot be loaded.\n\n";
        message += beginningOf(print(*element_), 160);
        return false;
    }
    const Version required(product.getFileFormatText());
    if (required.isAtLeast(Version(format), 1))
        return true;
    message = "These settings were created by an older version of " + creator +
              " and cannot be loaded.\n(Format is " + (format.empty() ? "unspecified" : format) +
              ", this plugin requires " + required.toString() + " or newer.)";
    return false;
}

}  // namespace tarn
