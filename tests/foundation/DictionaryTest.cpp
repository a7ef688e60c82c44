#include "foundation/CommaLocale.h"
#include "foundation/Dictionary.h"
#include "foundation/File.h"
#include "foundation/LogFolder.h"
#include "foundation/NumberText.h"
#include "foundation/Packing.h"
#include "foundation/ParsedFiles.h"
#include "foundation/TextOf.h"
#include "support/ScratchFolder.h"

#include <cryptopp/base64.h>
#include <cryptopp/filters.h>
#include <cryptopp/gzip.h>
#include <gmock/gmock.h>

#include <limits>
#include <stdexcept>

using namespace tarn;
using namespace std::string_literals;
using test::textOf;
using testing::ElementsAre;

namespace {

std::string stringOf(const Dictionary& tree, std::string_view key, std::int32_t clone = 0) {
    std::string text = "none";
    const bool found = tree.getString(key, text, clone);
    EXPECT_EQ(found, text != "none");
    return text;
}

std::string repeat(const std::string& text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i)
        all += text;
    return all;
}

// The outcome of getData: the bytes as a text, or "failed" with null and 0, or "none".
std::string dataOf(const Dictionary& tree, std::string_view key, std::size_t size = 0) {
    void* data = &data;
    if (!tree.getData(key, data, size))
        return data == nullptr && size == 0 ? "failed" : data == &data ? "none" : "wrong";
    const HeapBlock owner(static_cast<std::byte*>(data));
    return {static_cast<const char*>(data), size};
}

}  // namespace

TEST(Dictionary, ValuesAreFoundInTheirOrderOfPlaces) {
    const Dictionary tree(R"(<dict file-format="1.0" both="attribute"><both value="child"/>
        <attribute value="a &lt;b&gt;"/><text>  a
        text </text><inner><x value="of a child"/></inner><inner2><x value=""/></inner2>
        <blank value=""/><other min="1" value="2"/>
        <lines value="a\\nb\n\\\\n"/></dict>)");
    std::vector<std::string> values;
    for (const char* key : {"both", "attribute", "text", "inner", "blank", "inner2", "absent"}) {
        values.push_back(stringOf(tree, key));
        EXPECT_EQ(tree.hasValue(key), values.back() != "none") << key;
    }
    EXPECT_THAT(values,
                ElementsAre("attribute", "a <b>", "a text", "of a child", "", "none", "none"));
    std::string text;
    EXPECT_TRUE(tree.getString("other", text, 0, "min") && text == "1");
    EXPECT_TRUE(tree.getText("lines", text) && text == "a\nb\\n\\\\\n") << text;
}

TEST(Dictionary, TextThatIsNoNumberIsZeroWhateverTheLocale) {
    const CommaLocale locale;
    const std::pair<const char*, std::pair<std::int32_t, float>> numbers[] = {
        {" -3.5x", {-3, -3.5F}}, {"1e99", {1, 0}}, {"0,5", {0, 0}}, {"nan", {0, 0}}, {"", {0, 0}}};
    for (const auto& [text, expected] : numbers)
        EXPECT_EQ(std::pair(integerFromText(text), floatFromText(text)), expected) << text;
    EXPECT_EQ(integerFromText("-2147483648") + integerFromText("2147483648"), INT32_MIN);
    EXPECT_TRUE(boolFromText(" true") && !boolFromText("True") && !boolFromText("1"));

    // And what is written is the same everywhere.
    EXPECT_EQ(toText(-0.1F), "-0.1000000014901161");
    EXPECT_EQ(toText(-std::numeric_limits<float>::quiet_NaN()), "nan");
}

// Faults: a state that other versions can't read; a key that would take the whole text with it.
TEST(Dictionary, WritesTheFormThatHostsStore) {
    Dictionary tree;
    tree.setInfo("Brimtide", "1.2.0");
    const auto values = tree.addDict("values");
    for (const char* text : {"old", "new", ""})
        values->setString("k", text);
    values->setFloat("k", 0.5F, 2, false);
    values->setBool("On", true)->setAttribute("", "unit", "\"'");
    values->setString("empty", "");
    values->setName("parameters");

    EXPECT_FALSE(tree.setInteger("my key", 1) || tree.addDict("a>"));
    values->setName("<");
    EXPECT_EQ(textOf(tree), R"(<dict>
    <info creator="Brimtide" version="1.2.0" />
    <parameters>
        <k value="new" />
        <k clone="2" value="0.5000000000000000" />
        <On value="true" unit='&quot;&apos;' />
        <empty />
    </parameters>
</dict>
)");
}

TEST(Dictionary, LegacyFormIsReadByTypeAndName) {
    const Dictionary original(R"(<dict><integer name="n" value="3"/><float name="n" value="0.5"/>
        <integer name="n" clone="4" value="4"/><bool name="on" value="true"/>
        <string name="n">text</string><dict name="a"><dict name="b"><string name="c" value="d"/>
        </dict></dict><array name="list"><dict name="x"/><dict name="y"/></array></dict>)");
    const Dictionary tree(original);
    std::int32_t integer = 0;
    float real = 0;
    bool truth = false;
    EXPECT_TRUE(tree.getInteger("n", integer, 4) && integer == 4);
    EXPECT_TRUE(tree.getIntegerText("n", integer) && integer == 3);
    EXPECT_TRUE(tree.getFloat("n", real) && real == 0.5F && tree.getBool("on", truth) && truth);
    EXPECT_EQ(stringOf(tree, "n") + stringOf(*tree.find("a\\b/"), "c"), "textd");
    EXPECT_FALSE(tree.getInteger("on", integer) || tree.hasValue("on") || !tree.hasKey("on"));
    EXPECT_EQ(tree.getArraySize("list"), 2);
    EXPECT_EQ(tree.getArrayDict("list", "y")->getName(), "y");
    EXPECT_EQ(tree.getArrayEntry("list", 0)->getName(), "x");
}

TEST(Dictionary, ClonesAreFoundByMarkOrPlace) {
    const Dictionary tree(R"(<dict file-format="1.0"><p value="a"/><!-- p -->
        <p clone="5" value="b"/><q value="x"/><p clone="99999999999999999999" value="c"/>
        <l><a/><b/>text<a i="2"/></l></dict>)");
    std::vector<std::string> found;
    for (int clone : {INT32_MIN, 0, 1, 2, 3, 5, INT32_MAX})
        found.push_back(stringOf(tree, "p", clone));
    EXPECT_THAT(found, ElementsAre("a", "a", "b", "c", "none", "b", "none"));
    std::string text;
    EXPECT_TRUE(tree.getStringNth("p", text, 1) && text == "b");
    EXPECT_FALSE(tree.getStringNth("p", text, 3));
    const auto list = tree.getArray("l");
    EXPECT_EQ(list->getEntry(1, "a")->getAttribute("i"), "2");
    EXPECT_FALSE(list->getEntry(2)->setInteger("in", 1) || list->getEntry(-1) || list->getEntry(4));
}

TEST(Dictionary, EveryByteComesBackThroughAFile) {
    std::string text = "M\xc3\xbc\xc3 \xef\xbb\xbf \xef\xbf\xbf";
    for (int byte = 0; byte < 256; ++byte)
        text += static_cast<char>(byte);
    const test::ScratchFolder scratch;
    const File file(scratch.path("tree.xml"));
    Dictionary tree;
    tree.setAttribute("", "text", text);
    ASSERT_TRUE(tree.save(file));
    EXPECT_EQ(Dictionary(file).getAttribute("text"), text);
    scratch.write("tree.xml", "\xef\xbb\xbf<?xml version='1.0'?>\r\n<dict a='1\r\n2\r3'/>\r");
    EXPECT_TRUE(tree.load(file) && tree.getAttribute("a") == "1\n2\n3");
}

// Faults: a preset that is lost over an absent file, or half of one that is taken for the whole.
TEST(Dictionary, BrokenTextKeepsWhatStandsBeforeTheFaultAndABrokenFileNothing) {
    for (const char* text : {"", "text", "<!-- only -->", "<", "&#x;", "<?xml", "\xf0"})
        EXPECT_EQ(textOf(Dictionary(text)), "<dict />\n") << text;
    const std::string broken = "<dict a='\xc3'/>";
    for (const std::string& end :
         {"<b value='2"s, "\0<dict b='2'>"s, "<w value='&#99999999999;!'/>"s})
        EXPECT_EQ(Dictionary(broken + end).getAttribute("a"), "\xc3") << end;

    const test::ScratchFolder scratch;
    Dictionary tree(broken);
    EXPECT_FALSE(tree.load(File(scratch.path("absent"))) || tree.getAttribute("a").empty());
    scratch.write("broken", "<dict><a value='1'/>");
    EXPECT_FALSE(tree.load(File(scratch.path("broken"))));
    EXPECT_EQ(textOf(tree), "<dict />\n");
}

// Faults: one instance's changes in another's tree, a file that was replaced within the second and
// counts as the old one, a tree that is lost over a broken file.
TEST(ParsedFiles, EveryCallerHasATreeOfWhatTheFileHoldsNow) {
    const test::ScratchFolder scratch;
    const File file(scratch.path("a.xml"));
    ParsedFiles files;
    Dictionary tree, other;
    EXPECT_FALSE(files.load(file, tree));
    scratch.write("a.xml", "<dict a='1'/>");
    EXPECT_TRUE(files.load(file, tree));
    tree.setAttribute({}, "a", "changed");
    EXPECT_TRUE(files.load(file, other));
    EXPECT_EQ(other.getAttribute("a"), "1");
    scratch.write("a.xml", "<dict a='2'>");
    EXPECT_FALSE(files.load(file, other));
    EXPECT_EQ(other.getAttribute("a"), "1");
    scratch.write("a.xml", "<dict a='3'/>");
    EXPECT_TRUE(files.load(file, other));
    EXPECT_EQ(other.getAttribute("a"), "3");
}

TEST(Dictionary, DocumentLivesAsLongAsItsLastHandle) {
    auto tree = std::make_unique<Dictionary>();
    const auto child = tree->addDict("child");
    Dictionary copy(*child);
    copy.setInteger("copied", 1);

    // New content for one handle is none for the others.
    tree->parse("<dict file-format='1.0'/>");
    tree->addChild(copy);
    *tree = *tree->getChild("child");
    EXPECT_TRUE(tree->hasKey("copied"));
    tree->parse("<dict><dict name='inner'/></dict>");
    const auto inner = tree->find("inner");
    *tree = std::move(*inner);
    EXPECT_TRUE(tree->getName() == "inner" && !inner->isValid());
    tree.reset();
    child->setInteger("late", 2);
    EXPECT_EQ(textOf(*child), "<child>\n    <late value=\"2\" />\n</child>\n");
}

// Faults: a host that dies of a text; a state that is saved and can't be loaded again.
TEST(Dictionary, LimitsAreTheSameForReadingAndWriting) {
    std::string attributes = "<dict";
    for (int i = 0; i < 500; ++i)
        attributes += " a" + std::to_string(i) + "=''";
    const std::string deepest = repeat("<dict>", 255) + "<dict/>" + repeat("</dict>", 255);
    for (const std::string& text :
         {"<dict>" + deepest + "</dict>", "<![CDATA[<a/>]]>" + repeat("<a>", 257),
          attributes + " more=''/>", "<dict>" + repeat("<a b=''/>x", 333'334) + "</dict>"}) {
        Dictionary tree("<dict><old/></dict>");
        EXPECT_FALSE(tree.parse(text)) << text.substr(0, 40);
        EXPECT_EQ(textOf(tree), "<dict />\n");
    }

    Dictionary tree;
    EXPECT_FALSE(tree.addDict("a")->addChild(Dictionary(deepest)));
    EXPECT_TRUE(tree.parse(deepest));
    for (auto inner = tree.find(""); inner; inner = inner->getEntry(0))
        if (inner->count("") == 0)
            inner->addDict("dict");
    EXPECT_TRUE(textOf(tree) == textOf(Dictionary(deepest)));

    EXPECT_TRUE(tree.parse("<dict>" + attributes + "/></dict>"));
    const auto full = tree.getChild("dict");
    EXPECT_TRUE(full->setAttribute("", "a499", "changed") && !full->setAttribute("", "more", ""));

    // The last node, and too long a text for all its indentation.
    const test::ScratchFolder scratch;
    const File file(scratch.path("state"));
    Dictionary many("<dict>" + repeat("<a b=''/>x", 333'332) + "</dict>");
    EXPECT_TRUE(many.addDict("a") && many.addDict("a") && many.save(file));
    EXPECT_FALSE(!many.addDict("a") || many.save(file));
    EXPECT_FALSE(Dictionary(repeat("<dict>", 250) + repeat("<a/>", 140'000)).save(file));
}

TEST(Dictionary, BinaryValuesComeBackOrFail) {
    Dictionary tree(R"(<dict><data name="d" value="123450a+-Z00"/><data name="e" value=""/>
        <data name="s" value="12345"/></dict>)");
    // As old versions packed them: 1, 2, 3, 4, 5, 0, 10, 62, 63, 61, 0, in 6 bits each.
    const std::string bytes("\x14\xc4\x20\x04\xd0\xff\xbe\x02", 8);
    EXPECT_EQ(dataOf(tree, "d", 8) + dataOf(tree, "d", 4), bytes + bytes.substr(0, 4));
    // A file claims more than its text holds.
    EXPECT_EQ(dataOf(tree, "d", 12) + dataOf(tree, "s", 4), "failedfailed");
    EXPECT_EQ(dataOf(tree, "e", SIZE_MAX), "failed");

    tree = Dictionary();
    tree.setData("d", "tarn tarn tarn", 14);
    EXPECT_EQ(dataOf(tree, "d"), "tarn tarn tarn");
    const std::string good = stringOf(tree, "d");
    EXPECT_EQ(good, "H4sIAAAAAAAA/ytJLMpTKIERAOCUHlcOAAAA");  // on every system
    EXPECT_FALSE(tree.setData("d", good.data(), MaxDataBytes + 1));
    std::string flipped = good;
    flipped[20] = 'A';
    for (const std::string& text : {flipped, good.substr(0, good.size() - 8), good.substr(4),
                                    std::string("!!!!"), std::string("/")}) {
        tree.setString("d", text);
        EXPECT_EQ(dataOf(tree, "d"), "failed") << text;
    }
}

// Fault: a few kB of text that unpack to more than a host can hold.
TEST(Dictionary, BinaryValuesThatGrowWithoutEndAreRefused) {
    using namespace CryptoPP;
    const std::string plain(1 << 20, 'x');
    std::string packed;
    Gzip gzip(new StringSink(packed));
    gzip.Put(reinterpret_cast<const byte*>(plain.data()), plain.size());
    gzip.Flush(true);
    packed += repeat(packed.substr(10), 64);  // without the header
    std::string text;
    const StringSource encode(packed, true, new Base64Encoder(new StringSink(text), false));
    EXPECT_THROW(unpackData(text), std::length_error);
}

TEST(Dictionary, OnlyTheProductsOwnTreesOfItsMajorFormatCanBeLoaded) {
    const LogFolder product;
    const std::string info = "<info creator='Wellengang \u00e4' version='9'/></dict>";
    Dictionary foreign;
    foreign.setInfo("Other", "1");
    foreign.setString("k", std::string(97, 'x') + repeat("\u00fc", 50));
    const std::string foreignStart = textOf(foreign).substr(0, 159);  // 160: half a character
    const std::pair<std::string, std::string> messages[] = {
        {"<dict file-format='1.9'>" + info, ""},
        {"<dict file-format='2.1'>" + info,
         "an older version of Wellengang \u00e4 and cannot be loaded.\n(Format is 2.1, this plugin "
         "requires 1.2 or newer.)"},
        {textOf(foreign), "Other and cannot be loaded.\n\n" + foreignStart}};
    for (const auto& [text, expected] : messages) {
        std::string message = "These settings were created by ";
        EXPECT_EQ(Dictionary(text).canLoad(message), expected.empty());
        EXPECT_EQ(message, "These settings were created by " + expected);
    }
}
