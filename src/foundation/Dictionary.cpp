#include "foundation/Dictionary.h"

#include "foundation/File.h"
#include "foundation/Logger.h"
#include "foundation/NumberText.h"
#include "foundation/Packing.h"
#include "foundation/ProductIdentity.h"
#include "foundation/Version.h"
#include "foundation/XmlDocument.h"
#include "foundation/XmlText.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace tarn {

namespace {

constexpr std::string_view ByteOrderMark = "\xef\xbb\xbf";

// Where the keyed form begins.
constexpr std::string_view FirstKeyedFormat = "0.6";

void logParseError(const char* text) {
    logLine(LogError, "__FUNCSIG__: %s", text);
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

std::shared_ptr<XmlDocument> makeDocument() {
    auto document = std::make_shared<XmlDocument>();
    beginWithDeclaration(document->xml());
    return document;
}

// TinyXML is a quarter faster where it needn't look for sequences of several bytes. In ASCII that
// makes a difference to numeric entities alone.
TiXmlEncoding encodingOf(const std::string& text) {
    if (isAscii(text) && text.find("&#") == std::string::npos)
        return TIXML_ENCODING_LEGACY;
    return isPlainUtf8(text) ? TIXML_ENCODING_UTF8 : TIXML_ENCODING_LEGACY;
}

// The document of a text, whole or up to its fault; null if the text is beyond the limits.
std::shared_ptr<XmlDocument> parseXml(std::string text, bool countsLines = false) {
    if (text.starts_with(ByteOrderMark))
        text.erase(0, ByteOrderMark.size());
    text.resize(std::min(text.find('\0'), text.size()));
    if (text.size() > Dictionary::MaxTextBytes) {
        logParseError("Text is too long.");
        return nullptr;
    }
    auto document = std::make_shared<XmlDocument>();
    TiXmlDocument& xml = document->xml();
    xml.SetTabSize(countsLines ? 1 : 0);  // 0: no counting of rows and columns
    xml.Parse(text.c_str(), nullptr, encodingOf(text));
    if (xml.Error())
        logParseError(xml.ErrorDesc());
    if (xml.ErrorId() == TiXmlBase::TIXML_ERROR_BEYOND_LIMITS)
        return nullptr;
    beginWithDeclaration(xml);
    return document;
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

// False if the element has as many as can be read again.
bool putAttribute(TiXmlElement& element, std::string_view name, std::string_view value) {
    int attributes = 0;
    for (const TiXmlAttribute* attribute = element.FirstAttribute(); attribute != nullptr;
         attribute = attribute->Next())
        ++attributes;
    if (attributes >= TiXmlBase::TIXML_MAX_ATTRIBUTES && findAttribute(element, name) == nullptr)
        return false;
    element.SetAttribute(std::string(name), std::string(value));
    return true;
}

// The next of the children that is an element, and has that attribute `name`, where it isn't empty.
TiXmlElement* nextMatch(XmlChildren& children, std::string_view name) {
    while (TiXmlNode* const child = children.next()) {
        TiXmlElement* const element = child->ToElement();
        if (element == nullptr)
            continue;
        if (name.empty())
            return element;
        const std::string* const found = findAttribute(*element, "name");
        if (found != nullptr && *found == name)
            return element;
    }
    return nullptr;
}

bool isClone(const TiXmlElement& element, std::int32_t clone) {
    const std::string* const text = findAttribute(element, "clone");
    return text != nullptr && integerFromText(*text) == clone;
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

// Stops where the text gets larger than what is read again. A few kB of nested elements can be
// printed as a thousand times as much, for each line is indented by its level.
class BoundedPrinter : public TiXmlPrinter {
public:
    using TiXmlPrinter::VisitEnter;
    using TiXmlPrinter::VisitExit;

    bool VisitEnter(const TiXmlElement& element, const TiXmlAttribute* attribute) override {
        for (const auto* counted = attribute; counted != nullptr; counted = counted->Next())
            ++nodes_;
        return count() && TiXmlPrinter::VisitEnter(element, attribute);
    }
    bool VisitExit(const TiXmlElement& element) override {
        return fits() && TiXmlPrinter::VisitExit(element);
    }
    // In place of what it may say, since nothing in it is escaped.
    bool Visit(const TiXmlDeclaration& /*declaration*/) override {
        return count() && TiXmlPrinter::Visit(*makeDeclaration());
    }
    bool Visit(const TiXmlText& text) override { return count() && TiXmlPrinter::Visit(text); }
    bool Visit(const TiXmlComment& comment) override {
        return count() && TiXmlPrinter::Visit(comment);
    }
    bool Visit(const TiXmlUnknown& unknown) override {
        return count() && TiXmlPrinter::Visit(unknown);
    }

    bool fits() {
        return nodes_ <= TiXmlBase::TIXML_MAX_NODES && Size() <= Dictionary::MaxTextBytes;
    }

private:
    bool count() {
        ++nodes_;
        return fits();
    }

    int nodes_ = 0;
};

// The node's text; false, and an empty one, if it couldn't be read again.
bool print(const TiXmlNode& node, std::string& text) {
    BoundedPrinter printer;
    node.Accept(&printer);
    text = printer.fits() ? printer.Str() : std::string();
    return printer.fits();
}

}  // namespace

Dictionary::Dictionary()
    : document_(makeDocument()),
      element_(document_->add(&document_->xml(), std::make_unique<TiXmlElement>("dict"))) {}

Dictionary::Dictionary(std::string_view text) {
    parse(text);
}

Dictionary::Dictionary(const File& file) : Dictionary() {
    load(file);
}

Dictionary::Dictionary(const Dictionary& other)
    : SharedObject(), document_(makeDocument()), legacy_(other.legacy_) {
    if (other.element_->ToDocument() != nullptr) {
        document_->xml() = other.document_->xml();
        element_ = &document_->xml();
    } else {
        element_ = document_->xml().InsertEndChild(*other.element_);
    }
}

Dictionary::Dictionary(Dictionary&& other) noexcept
    : SharedObject(),
      document_(std::move(other.document_)),
      element_(std::exchange(other.element_, nullptr)),
      legacy_(other.legacy_) {}

Dictionary::Dictionary(const Dictionary& parent, TiXmlNode* element)
    : SharedObject(), document_(parent.document_), element_(element), legacy_(parent.legacy_) {}

Dictionary& Dictionary::operator=(const Dictionary& other) {
    return *this = Dictionary(other);
}

Dictionary& Dictionary::operator=(Dictionary&& other) noexcept {
    document_ = std::move(other.document_);
    element_ = std::exchange(other.element_, nullptr);
    legacy_ = other.legacy_;
    return *this;
}

Dictionary::~Dictionary() = default;

bool Dictionary::adopt(std::shared_ptr<XmlDocument> document) {
    if (!document || document->xml().FirstChildElement() == nullptr) {
        *this = Dictionary();
        return false;
    }
    document_ = std::move(document);
    element_ = document_->xml().FirstChildElement("dict");
    if (element_ == nullptr)
        element_ = &document_->xml();
    detectForm();
    return true;
}

bool Dictionary::parse(std::string_view text) {
    return adopt(parseXml(std::string(text.substr(0, MaxTextBytes + 1))));
}

bool Dictionary::parseWhole(std::string_view text, Fault* fault) {
    std::string lines(text.substr(0, MaxTextBytes + 1));
    normalizeLineEnds(lines);
    std::shared_ptr<XmlDocument> document = parseXml(std::move(lines), fault != nullptr);
    if (document && document->xml().Error()) {
        if (fault != nullptr)
            *fault = {document->xml().ErrorDesc(), document->xml().ErrorRow()};
        document.reset();
    }
    return adopt(std::move(document));
}

bool Dictionary::load(const File& file) {
    if (!file.exists())
        return false;
    std::string text;
    file.contents(text, MaxTextBytes);
    return parseWhole(text);
}

bool Dictionary::save(const File& file) const {
    std::string text;
    return print(document_->xml(), text) && file.save(text);
}

bool Dictionary::isElement() const {
    return element_->ToElement() != nullptr;
}

std::int32_t Dictionary::getLine() const {
    return element_->Row();
}

bool Dictionary::toString(std::string& text) const {
    return print(*element_, text);
}

void Dictionary::detectForm() {
    legacy_ = false;
    if (element_->ToElement() == nullptr || element_->ValueStr() != "dict")
        return;
    std::string format;
    legacy_ =
        !getString("file-format", format) || Version(format).isOlderThan(Version(FirstKeyedFormat));
}

// The first match that is marked as that clone, or else the one that so many others precede.
TiXmlElement* Dictionary::findElement(TiXmlNode* parent, std::string_view tag,
                                      std::string_view name, std::int32_t clone) const {
    XmlChildren children(*document_, parent, tag);
    TiXmlElement* match = nextMatch(children, name);
    for (std::int32_t passed = 0; match != nullptr && passed < clone; ++passed) {
        if (isClone(*match, clone))
            break;
        match = nextMatch(children, name);
    }
    return match;
}

TiXmlElement* Dictionary::findNth(std::string_view key, std::int32_t index) const {
    const std::string_view tag = legacy_ ? "string" : key;
    const std::string_view name = legacy_ ? key : std::string_view();
    XmlChildren children(*document_, element_, tag);
    if (name.empty() && !tag.empty()) {
        TiXmlNode* const child = children.at(static_cast<std::size_t>(std::max(index, 0)));
        return child != nullptr ? child->ToElement() : nullptr;
    }
    TiXmlElement* match = nextMatch(children, name);
    for (; match != nullptr && index > 0; --index)
        match = nextMatch(children, name);
    return match;
}

TiXmlNode* Dictionary::childAt(TiXmlNode* parent, std::int32_t index, std::string_view tag) const {
    return index >= 0 ? XmlChildren(*document_, parent, tag).at(static_cast<std::size_t>(index))
                      : nullptr;
}

std::int32_t Dictionary::countChildren(TiXmlNode* parent, std::string_view tag) const {
    return static_cast<std::int32_t>(XmlChildren(*document_, parent, tag).count());
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
        text = findValue(findNth(key, index), valueName);
    if (text != nullptr)
        out = *text;
    return text != nullptr;
}

std::vector<std::string> Dictionary::getStrings(std::string_view key,
                                                std::string_view valueName) const {
    XmlChildren children(*document_, element_, legacy_ ? "string" : key);
    std::vector<std::string> texts;
    while (const TiXmlElement* const child =
               nextMatch(children, legacy_ ? key : std::string_view()))
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
        logLine(LogError, "caught exception: %s", exception.what());
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
    if (!isXmlName(tag) || !canHaveChildren(element_) ||
        depthOf(element_) >= TiXmlBase::TIXML_MAX_DEPTH)
        return nullptr;
    return document_->add(element_, std::make_unique<TiXmlElement>(std::string(tag)))->ToElement();
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
    if (!text.empty() && !putAttribute(*element, "value", text))
        return nullptr;
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
        putAttribute(*info, "creator", creator);
        putAttribute(*info, "version", version);
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
        document_->rename(*element_->ToElement(), name);
}

bool Dictionary::setAttribute(std::string_view key, std::string_view attributeName,
                              std::string_view value) {
    TiXmlElement* const element =
        key.empty() ? element_->ToElement() : findElement(element_, key, {}, 0);
    return element != nullptr && isXmlName(attributeName) &&
           putAttribute(*element, attributeName, value);
}

bool Dictionary::addChild(const Dictionary& other) {
    if (!canHaveChildren(element_) || other.element_->ToDocument() != nullptr ||
        depthOf(element_) + heightOf(other.element_) > TiXmlBase::TIXML_MAX_DEPTH)
        return false;
    document_->add(element_, std::unique_ptr<TiXmlNode>(other.element_->Clone()));
    return true;
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
        std::string text;
        print(*element_, text);
        message += beginningOf(text, 160);
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
