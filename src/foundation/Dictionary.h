// The typed tree that every file and every saved state is: a handle on one node of an XML document.
// Everything rests on one rule: handles made from one another share the document, which lives as
// long as the last of them; a copy is a document of its own.
#pragma once

#include "foundation/SharedObject.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// Opaque: only the source knows TinyXML.
class TiXmlElement;
class TiXmlNode;

namespace tarn {

class File;
class XmlDocument;

/// Two forms are read. In the keyed one a value is an attribute, or a child element whose tag is
/// the key:
///     <MasterVolume value="0.7500000000000000"/>
/// In the legacy one, of files below format 0.6, a child's tag is its type and its `name` the key:
///     <float name="MasterVolume" value="0.75"/>
/// What is written is always keyed. A key that occurs more than once is told apart by a clone
/// number: 0 is the first element, n the first that is marked clone="n", or else the one that n
/// others precede.
///
/// Texts from outside may be hostile: one that is nested deeper than 256 levels, has more than
/// 500 attributes on an element, a million nodes or 128 MB is refused, and binary values end at
/// 64 MB. What would go beyond that is refused at writing too: what was saved can be loaded.
///
/// A search among many children takes the same time for each of them, in the keyed form. Thus a
/// loop over `index` or over keys is linear.
///
/// A tree belongs to one thread at a time; never the audio thread. Paths, keys and texts are UTF-8;
/// a key that is written must be an XML name: a letter or "_", then letters, digits, "_", "-",
/// "." and ":". Handles that operations return are the caller's, null where nothing is.
class Dictionary : public SharedObject {
public:
    /// An empty tree of the keyed form: one `dict` element.
    Dictionary();

    /// As `parse` and `load` leave it, which tell how it went.
    explicit Dictionary(std::string_view text);
    explicit Dictionary(const File& file);

    /// A copy of the element that the other stands on, as a document of its own. Assigning leaves
    /// the former document to the handles that share it.
    Dictionary(const Dictionary& other);
    Dictionary& operator=(const Dictionary& other);

    /// Takes over the other's place; the other isn't valid any more, and may only be assigned to or
    /// destroyed.
    Dictionary(Dictionary&& other) noexcept;
    Dictionary& operator=(Dictionary&& other) noexcept;
    ~Dictionary() override;

    /// Replaces the document by what the text holds, up to its first zero byte. The handle then
    /// stands on the first `dict` element, or on the document itself if there is none. Of a broken
    /// text, what stands before the fault is kept. False, and an empty tree, if there isn't a
    /// single element or the text is refused.
    bool parse(std::string_view text);

    /// What is wrong with a text, and the line on which, from 1.
    struct Fault {
        std::string what;
        std::int32_t line = 0;
    };

    /// The same for a text that must be whole: a broken one gives false and an empty tree. Lines
    /// are counted only where a `fault` is asked for; without a fault it stays as it is.
    bool parseWhole(std::string_view text, Fault* fault = nullptr);

    /// The same from a file. False if there is no such file; the handle is then as before.
    bool load(const File& file);

    /// Longer texts are refused.
    static constexpr std::size_t MaxTextBytes = std::size_t{128} << 20;

    /// Writes the whole document, wherever the handle stands: false if it is too large to be read
    /// again or the file can't be written, which then is as before.
    bool save(const File& file) const;

    /// The node that the handle stands on as XML text. False, and an empty text, if it is too large
    /// to be parsed again.
    bool toString(std::string& text) const;

    bool isValid() const noexcept { return element_ != nullptr; }

    /// False on a comment, a text or the document itself.
    bool isElement() const;

    /// The line of the text on which the node begins, from 1; 0 where lines weren't counted.
    std::int32_t getLine() const;
    bool isLegacy() const noexcept { return legacy_; }

    // Scalars. True if a value was found, and only then is `out` written. A value is looked for in
    // the attribute `key`, then in the child's attribute `valueName`, its text, and the `value` of
    // its first child. A text that is no number gives 0, and no bool but "true" is true.

    bool getInteger(std::string_view key, std::int32_t& out, std::int32_t clone = 0,
                    std::string_view valueName = "value") const;
    bool getFloat(std::string_view key, float& out, std::int32_t clone = 0,
                  std::string_view valueName = "value") const;
    bool getBool(std::string_view key, bool& out, std::int32_t clone = 0,
                 std::string_view valueName = "value") const;
    bool getString(std::string_view key, std::string& out, std::int32_t clone = 0,
                   std::string_view valueName = "value") const;

    /// The child that `index` others of that key precede, whatever their clone numbers.
    bool getStringNth(std::string_view key, std::string& out, std::int32_t index,
                      std::string_view valueName = "value") const;

    /// The values of all children of that key, in order.
    std::vector<std::string> getStrings(std::string_view key,
                                        std::string_view valueName = "value") const;

    /// An integer from a value of any type.
    bool getIntegerText(std::string_view key, std::int32_t& out, std::int32_t clone = 0,
                        std::string_view valueName = "value") const;

    /// A string in which two backslashes and an "n" stand for a line's end.
    bool getText(std::string_view key, std::string& out, std::int32_t clone = 0,
                 std::string_view valueName = "value") const;

    /// A binary value into a new block, which is the caller's to `std::free`, and its size in
    /// bytes. Values in the packing of old versions don't know their size: `size` tells it. Without
    /// a value the outputs stay; where it can't be unpacked they become null and 0.
    bool getData(std::string_view key, void*& data, std::size_t& size, std::int32_t clone = 0,
                 std::string_view valueName = "value") const;

    /// Who wrote the tree. False, with both untouched, if either is absent.
    bool getInfo(std::string& creator, std::string& version) const;

    /// An attribute of the element itself; empty if absent.
    std::string getAttribute(std::string_view name) const;

    /// The key that the element is found by: its tag, or in the legacy form its attribute `name`.
    std::string getName() const;

    /// Whether there is a value, attribute or child; false in the legacy form.
    bool hasValue(std::string_view key) const;

    /// Whether there is a child of that key, of whichever type.
    bool hasKey(std::string_view key) const;

    /// Children with that tag; with an empty tag, all child nodes, comments included.
    std::int32_t count(std::string_view tag) const;

    // Structure.

    /// The way down: names with slashes or backslashes between them; `clone` counts at each level.
    /// The handle's own element for an empty path.
    std::unique_ptr<Dictionary> find(std::string_view path, std::int32_t clone = 0) const;

    /// By tag, in both forms.
    std::unique_ptr<Dictionary> getChild(std::string_view tag) const;

    /// What `count` counts, from 0.
    std::unique_ptr<Dictionary> getEntry(std::int32_t index, std::string_view tag = {}) const;

    /// A list, an entry of it by its key, and by its place among all child nodes; how many there
    /// are.
    std::unique_ptr<Dictionary> getArray(std::string_view name) const;
    std::unique_ptr<Dictionary> getArrayDict(std::string_view name, std::string_view key) const;
    std::unique_ptr<Dictionary> getArrayEntry(std::string_view name, std::int32_t index) const;
    std::int32_t getArraySize(std::string_view name) const;

    // Writing. With `overwrite` an element of that key is changed if there is one; otherwise a new
    // one is appended. Returns the element touched; null, with nothing changed, if the key is no
    // name, a node can't have children, or the tree would become too deep.

    std::unique_ptr<Dictionary> setInteger(std::string_view key, std::int32_t value,
                                           std::int32_t clone = 0, bool overwrite = true);
    std::unique_ptr<Dictionary> setFloat(std::string_view key, float value, std::int32_t clone = 0,
                                         bool overwrite = true);
    std::unique_ptr<Dictionary> setBool(std::string_view key, bool value, std::int32_t clone = 0,
                                        bool overwrite = true);

    /// An empty text never replaces a value: the old one stays. A new element with an empty text
    /// has no value.
    std::unique_ptr<Dictionary> setString(std::string_view key, std::string_view value,
                                          std::int32_t clone = 0, bool overwrite = true);

    /// Null also for more than 64 MB.
    std::unique_ptr<Dictionary> setData(std::string_view key, const void* bytes, std::size_t size,
                                        std::int32_t clone = 0, bool overwrite = true);

    void setInfo(std::string_view creator, std::string_view version);
    std::unique_ptr<Dictionary> addDict(std::string_view name);
    std::unique_ptr<Dictionary> addArray(std::string_view name);

    /// Sets the tag; nothing in the legacy form.
    void setName(std::string_view name);

    /// Of the child with that tag, or of the element itself if `key` is empty. False if there is no
    /// such element, the attribute's name is none, or the element has too many.
    bool setAttribute(std::string_view key, std::string_view attributeName, std::string_view value);

    /// Appends a copy of the other's element. False if it can't be had here.
    bool addChild(const Dictionary& other);

    /// Whether the running product may load the tree: it wrote it, in a format whose major number
    /// isn't above its own. If not, `message` tells the user why.
    bool canLoad(std::string& message);

private:
    Dictionary(const Dictionary& parent, TiXmlNode* element);

    bool adopt(std::shared_ptr<XmlDocument> document);
    void detectForm();

    const std::string* findText(std::string_view key, std::string_view legacyTag,
                                std::int32_t clone, std::string_view valueName) const;
    TiXmlElement* findElement(TiXmlNode* parent, std::string_view tag, std::string_view name,
                              std::int32_t clone) const;
    TiXmlElement* findNth(std::string_view key, std::int32_t index) const;
    TiXmlNode* childAt(TiXmlNode* parent, std::int32_t index, std::string_view tag) const;
    std::int32_t countChildren(TiXmlNode* parent, std::string_view tag) const;
    TiXmlElement* findKey(TiXmlNode* parent, std::string_view key, std::string_view legacyTag,
                          std::int32_t clone) const;
    std::unique_ptr<Dictionary> handleOn(TiXmlNode* node) const;
    std::unique_ptr<Dictionary> write(std::string_view key, std::string_view text,
                                      std::int32_t clone, bool overwrite);
    TiXmlElement* append(std::string_view tag);

    std::shared_ptr<XmlDocument> document_;
    TiXmlNode* element_ = nullptr;  // in the document, or the document itself
    bool legacy_ = false;
};

}  // namespace tarn
