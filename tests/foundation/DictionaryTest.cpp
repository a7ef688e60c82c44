#include "foundation/Dictionary.h"
#include "foundation/File.h"
#include "foundation/LogFolder.h"
#include "foundation/Packing.h"

#include <cryptopp/base64.h>
#include <cryptopp/filters.h>

#include <clocale>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <locale>
#include <numeric>
#include <stdexcept>

using namespace tarn;

namespace {

// In the keyed form, around a few lines.
std::string keyed(const std::string& lines) {
    return "<dict><file-format value=\"1.0\"/>" + lines + "</dict>";
}

std::string stringOf(const Dictionary& tree, std::string_view key, std::int32_t clone = 0) {
    std::string text = "none";
    const bool found = tree.getString(key, text, clone);
    EXPECT_EQ(found, text != "none");
    return text;
}

std::string textOf(const Dictionary& tree) {
    std::string text;
    tree.toString(text);
    return text;
}

std::string repeat(const std::string& text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i)
        all += text;
    return all;
}

std::string nested(int depth) {
    return repeat("<dict>", depth) + repeat("</dict>", depth);
}

// The outcome of getData: the bytes as a text, or "failed" with null and 0, or "none".
std::string dataOf(const Dictionary& tree, std::string_view key, std::size_t expected = 0) {
    void* data = &data;
    std::size_t size = expected;
    if (!tree.getData(key, data, size))
        return data == nullptr && size == 0 ? "failed" : data == &data ? "none" : "wrong";
    std::string bytes(static_cast<const char*>(data), size);
    std::free(data);
    return bytes;
}

}  // namespace

TEST(Dictionary, ValuesAreFoundInTheirOrderOfPlaces) {
    const Dictionary tree(keyed(R"(<attribute value="a &lt;b&gt;"/><text>  a
        text </text><inner><x value="of the first child"/></inner><inner2><x value=""/></inner2>
        <empty/><blank value=""/><comment><!--c-->text</comment><other min="1" value="2"/>
        <lines value="a\\nb\n\\\\n"/><nth value="0"/><nth clone="7" value="1"/><nth value="2"/>)"));
    std::string values;
    for (const char* key : {"attribute", "text", "inner", "blank", "inner2", "empty", "comment"}) {
        values += stringOf(tree, key) + "|";
        EXPECT_EQ(tree.hasValue(key), stringOf(tree, key) != "none") << key;
    }
    EXPECT_EQ(values, "a <b>|a text|of the first child||none|none|none|");
    EXPECT_TRUE(tree.hasKey("empty") && !tree.hasKey("absent") && !tree.hasValue("absent"));

    std::string text;
    EXPECT_TRUE(tree.getString("other", text, 0, "min") && text == "1");
    EXPECT_TRUE(tree.getText("lines", text) && text == "a\nb\\n\\\\\n") << text;
    EXPECT_TRUE(tree.getStringNth("nth", text, 1) && text == "1");
    EXPECT_FALSE(tree.getStringNth("nth", text, 3));

    // An attribute of the element wins over its children.
    const Dictionary both("<dict file-format='1.0' x='attribute'><x value='child'/></dict>");
    EXPECT_EQ(stringOf(both, "x", 5), "attribute");
    EXPECT_TRUE(both.getStringNth("x", text, 5) && text == "attribute");
}

TEST(Dictionary, TextThatIsNoNumberIsZeroWhateverTheLocale) {
    struct Comma : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
    };
    const std::locale before = std::locale::global(std::locale(std::locale(), new Comma));
    if (std::setlocale(LC_NUMERIC, "de_DE.UTF-8") == nullptr)
        std::setlocale(LC_NUMERIC, "German");
    const struct {
        const char* text;
        std::int32_t integer;
        float real;
        bool truth;
    } cases[] = {{"1", 1, 1, false},      {" -3.75x", -3, -3.75F, false},
                 {"+.5", 0, 0.5F, false}, {"1e3", 1, 1000, false},
                 {"abc", 0, 0, false},    {"", 0, 0, false},
                 {"true", 0, 0, true},    {"True", 0, 0, false},
                 {"1e99", 1, 0, false},   {"2147483648", 0, 2147483648.0F, false},
                 {"inf", 0, 0, false},    {"-2147483648", INT32_MIN, -2147483648.0F, false},
                 {"nan", 0, 0, false},    {"+-1", 0, 0, false},
                 {"2e", 2, 0, false},     {"0x10", 0, 0, false},
                 {"0,5", 0, 0, false}};
    for (const auto& [text, expectedInteger, expectedReal, expectedTruth] : cases) {
        const Dictionary tree(keyed("<k value='" + std::string(text) + "'/>"));
        std::int32_t integer = 7;
        float real = 7;
        bool truth = !expectedTruth;
        EXPECT_TRUE(tree.getInteger("k", integer) && tree.getFloat("k", real) &&
                    tree.getBool("k", truth));
        EXPECT_EQ(integer, expectedInteger) << text;
        EXPECT_EQ(real, expectedReal) << text;
        EXPECT_EQ(truth, expectedTruth) << text;
    }

    // And what is written is the same everywhere: this is a state as hosts store it.
    Dictionary tree;
    tree.setInfo("Brimtide", "1.2.0");
    tree.setString("file-format", "1.0");
    const auto parameters = tree.addDict("parameters");
    parameters->setFloat("Half", 0.5F);
    parameters->setFloat("Tenth", -0.1F, 2);
    parameters->setFloat("Huge", std::numeric_limits<float>::max());
    parameters->setFloat("NoNumber", -std::nanf(""));
    parameters->setInteger("Count", 1234567);
    parameters->setBool("On", true)->setAttribute("", "unit", "\"'");
    EXPECT_EQ(textOf(tree), R"(<dict>
    <info creator="Brimtide" version="1.2.0" />
    <file-format value="1.0" />
    <parameters>
        <Half value="0.5000000000000000" />
        <Tenth clone="2" value="-0.1000000014901161" />
        <Huge value="340282346638528859811704183484516925440.0000000000000000" />
        <NoNumber value="nan" />
        <Count value="1234567" />
        <On value="true" unit='&quot;&apos;' />
    </parameters>
</dict>
)");
    std::setlocale(LC_NUMERIC, "C");
    std::locale::global(before);
}

TEST(Dictionary, LegacyFormIsReadByTypeAndName) {
    const Dictionary tree(R"(<dict><integer name="n" value="3"/><float name="n" value="0.5"/>
        <integer name="n" clone="4" value="4"/><bool name="on" value="true"/>
        <string name="n">text</string><dict name="a"><dict name="b"><string name="c" value="d"/>
        </dict></dict><array name="list"><dict name="x"/><dict name="y"/></array></dict>)");
    std::int32_t integer = 0;
    float real = 0;
    bool truth = false;
    EXPECT_TRUE(tree.getInteger("n", integer, 4) && integer == 4);
    EXPECT_TRUE(tree.getFloat("n", real) && real == 0.5F);
    EXPECT_TRUE(tree.getBool("on", truth) && truth);
    EXPECT_EQ(stringOf(tree, "n"), "text");
    EXPECT_TRUE(tree.getIntegerText("n", integer) && integer == 3);
    EXPECT_FALSE(tree.getInteger("on", integer));
    EXPECT_TRUE(tree.hasKey("on") && !tree.hasValue("on"));
    ASSERT_TRUE(tree.find("a/b") && !tree.find("a/c") && !tree.find("list"));
    EXPECT_EQ(stringOf(*tree.find("a\\b/"), "c"), "d");
    EXPECT_EQ(tree.getArraySize("list"), 2);
    EXPECT_EQ(tree.getArrayDict("list", "y")->getName(), "y");
    EXPECT_EQ(tree.getArrayEntry("list", 1)->getName(), "y");
    EXPECT_FALSE(tree.getArray("a") || tree.getArrayDict("list", "z") || tree.getChild("list"));
    EXPECT_EQ(tree.getChild("array")->getName(), "list");
}

TEST(Dictionary, FormIsChosenByTheFormatKey) {
    EXPECT_FALSE(Dictionary().isLegacy());
    EXPECT_TRUE(Dictionary(textOf(Dictionary())).isLegacy());
    EXPECT_TRUE(Dictionary("<dict><file-format value='0.5'/></dict>").isLegacy());
    EXPECT_FALSE(Dictionary("<dict><file-format>0.6</file-format></dict>").isLegacy());

    // Without a root of that tag the handle stands on the document.
    const Dictionary skin("<skin><name value='Dark'/></skin><more/>");
    EXPECT_TRUE(!skin.isLegacy() && skin.getName().empty() && skin.count("more") == 1);
    EXPECT_EQ(stringOf(*skin.getChild("skin"), "name"), "Dark");
    EXPECT_EQ(textOf(Dictionary(skin)), textOf(skin));
}

TEST(Dictionary, ClonesAreFoundByMarkOrPlace) {
    const Dictionary tree(keyed(R"(<p value="a"/><!-- p --><p clone="5" value="b"/><q value="x"/>
        <p clone="99999999999999999999" value="c"/><l><a/><b/>text<a i="2"/></l>
        <m clone="1"><n value="d"/></m><m><n value="e"/><n clone="1" value="f"/></m>)"));
    std::string found;
    for (int clone : {INT32_MIN, 0, 1, 2, 3, 4, 5, 6, INT32_MAX})
        found += stringOf(tree, "p", clone) + " ";
    EXPECT_EQ(found, "a a b c none none b none none ");

    EXPECT_EQ(tree.find("m/n", 0)->getAttribute("value"), "d");
    EXPECT_FALSE(tree.find("m/n", 1));
    EXPECT_EQ(textOf(*tree.find("", 3)), textOf(tree));
    const auto list = tree.getArray("l");
    EXPECT_EQ(list->count("a"), 2);
    EXPECT_EQ(list->count(""), 4);
    EXPECT_EQ(list->getEntry(1, "a")->getAttribute("i"), "2");
    EXPECT_FALSE(list->getEntry(2)->setInteger("in", 1) || list->getEntry(-1) || list->getEntry(4));
}

TEST(Dictionary, EmptyTextNeverOverwrites) {
    Dictionary tree;
    tree.setString("k", "old");
    tree.setString("k", "");
    EXPECT_EQ(stringOf(tree, "k"), "old");
    tree.setString("k", "new");
    tree.setString("k", "second", 0, false);
    tree.setString("empty", "");

    // A key that couldn't be read back would take the whole text with it.
    EXPECT_FALSE(tree.setInteger("my key", 1) || tree.setInteger("1st", 1) || tree.addDict("a>"));
    tree.setName("<");
    tree.setAttribute("k", "a b", "c");
    EXPECT_EQ(
        textOf(tree),
        "<dict>\n    <k value=\"new\" />\n    <k value=\"second\" />\n    <empty />\n</dict>\n");
    tree.setName("renamed");
    EXPECT_EQ(tree.getName(), "renamed");
}

TEST(Dictionary, EveryByteComesBackThroughAFile) {
    std::string bytes(256, '\0');
    std::iota(bytes.begin(), bytes.end(), '\0');
    const std::string cut = "M\xc3\xbc\xc3";
    Dictionary tree;
    tree.setString("file-format", "1.0");
    tree.setString("bytes", bytes);
    tree.setString("cut", cut);
    tree.setString("mark", "\xef\xbb\xbf \xef\xbf\xbf");
    tree.addDict("deeper")->addChild(tree);
    const File file(testing::TempDir() + "/B\xc3\xbcytes.xml");
    ASSERT_TRUE(tree.save(file));
    Dictionary again(file);
    EXPECT_EQ(textOf(again), textOf(tree));
    EXPECT_EQ(stringOf(again, "bytes"), bytes);
    EXPECT_EQ(stringOf(again, "cut"), cut);

    // What isn't there changes nothing; what is broken leaves an empty tree.
    EXPECT_TRUE(file.remove());
    EXPECT_FALSE(again.load(file));
    EXPECT_EQ(textOf(again), textOf(tree));
    ASSERT_TRUE(file.save("<dict><a value='1'/>"));
    EXPECT_FALSE(again.load(file));
    EXPECT_EQ(textOf(again), "<dict />\n");
    ASSERT_TRUE(file.save("\xef\xbb\xbf<?xml version='1.0'?>\r\n<dict a='1\r\n2\r3'/>\r"));
    EXPECT_TRUE(again.load(file));
    EXPECT_EQ(again.getAttribute("a"), "1\n2\n3");
    EXPECT_TRUE(file.remove());
}

TEST(Dictionary, DocumentLivesAsLongAsItsLastHandle) {
    auto tree = std::make_unique<Dictionary>();
    const auto child = tree->addDict("child");
    Dictionary copy(*child);
    copy.setInteger("copied", 1);

    // New content for one handle is none for the others.
    tree->parse(keyed("<x/>"));
    tree->addChild(copy);
    *tree = *tree->getChild("child");
    EXPECT_TRUE(tree->hasKey("copied"));
    tree.reset();
    child->setInteger("late", 2);
    EXPECT_EQ(textOf(*child), "<child>\n    <late value=\"2\" />\n</child>\n");
}

TEST(Dictionary, HostileTextIsRefusedBeforeItsParserDies) {
    std::string attributes = "<a";
    for (int i = 0; i < 100'000; ++i)
        attributes += " a" + std::to_string(i) + "=''";
    // The fourth hides its end tags in an entity, as TinyXML reads it.
    for (const std::string& text : {nested(101), nested(1'000'000), repeat("<a>", 1'000'000),
                                    keyed(repeat("<a b=\"&#x\"></a></dict>x41;\">", 100)),
                                    keyed(attributes + "/>"), keyed(repeat("<a/>", 1'000'000))}) {
        Dictionary tree(keyed("<old/>"));
        EXPECT_FALSE(tree.parse(text)) << text.substr(0, 40);
        EXPECT_EQ(textOf(tree), "<dict />\n");
    }

    // Just not too deep; and nothing that is built becomes too deep to be read.
    Dictionary deepest(nested(100));
    Dictionary tree;
    EXPECT_FALSE(tree.addDict("a")->addChild(deepest));
    tree = deepest;
    for (auto inner = tree.find(""); inner; inner = inner->getEntry(0))
        if (inner->count("") == 0)
            inner->addDict("dict");
    EXPECT_EQ(textOf(tree), textOf(deepest));
}

TEST(Dictionary, BrokenTextKeepsWhatStandsBeforeTheFault) {
    Dictionary tree;
    for (const char* text : {"", "text", "<!-- only -->", "<", "&#x;", "<?xml", "\xf0"}) {
        EXPECT_FALSE(tree.parse(text)) << text;
        EXPECT_EQ(textOf(tree), "<dict />\n");
    }
    EXPECT_TRUE(tree.parse("<dict file-format='1.0'><a value='1'/><b value='2"));
    EXPECT_EQ(stringOf(tree, "a"), "1");
    EXPECT_TRUE(tree.parse(std::string_view("<dict a='1'/>\0<dict b='2'>", 26)));
    EXPECT_EQ(tree.getAttribute("a"), "1");
    EXPECT_TRUE(
        tree.parse("<dict file-format='1.0'><v value='\xc3'/><w value='&#99999999999;!'/>"));
    EXPECT_EQ(stringOf(tree, "v"), "\xc3");
}

TEST(Dictionary, BinaryValuesComeBackWhateverTheirLength) {
    Dictionary tree;
    std::string bytes;
    for (int size = 0; size < 100; ++size, bytes += static_cast<char>(size * 37)) {
        ASSERT_TRUE(tree.setData("d", bytes.data(), bytes.size()));
        ASSERT_EQ(dataOf(tree, "d"), bytes);
    }
    EXPECT_EQ(dataOf(tree, "absent"), "none");
    // The text is the same on every system.
    tree.setData("d", "tarn tarn tarn", 14);
    EXPECT_EQ(stringOf(tree, "d"), "H4sIAAAAAAAA/ytJLMpTKIERAOCUHlcOAAAA");
    EXPECT_FALSE(tree.setData("d", bytes.data(), std::size_t{65} << 20));
    EXPECT_EQ(dataOf(tree, "d"), "tarn tarn tarn");
}

TEST(Dictionary, OldPackingIsReadWordByWord) {
    const Dictionary tree(R"(<dict><data name="d" value="123450a+-Z00"/><data name="e" value=""/>
        <data name="s" value="12345"/></dict>)");
    // 1, 2, 3, 4, 5, 0, 10, 62, 63, 61, 0, in 6 bits each.
    const std::string bytes("\x14\xc4\x20\x04\xd0\xff\xbe\x02", 8);
    EXPECT_EQ(dataOf(tree, "d", 8), bytes);
    EXPECT_EQ(dataOf(tree, "d", 7).substr(0, 4), bytes.substr(0, 4));
    EXPECT_EQ(dataOf(tree, "d", 7).size(), 7U);
    EXPECT_EQ(dataOf(tree, "e", 0), "");

    // A file claims more than its text holds.
    EXPECT_EQ(dataOf(tree, "d", 12), "failed");
    EXPECT_EQ(dataOf(tree, "s", 4), "failed");
    EXPECT_EQ(dataOf(tree, "e", SIZE_MAX), "failed");
}

TEST(Dictionary, DamagedBinaryValuesFail) {
    Dictionary tree;
    tree.setData("good", "some bytes, some bytes", 22);
    const std::string good = stringOf(tree, "good");
    std::string flipped = good;
    flipped[20] = flipped[20] == 'A' ? 'B' : 'A';
    for (const std::string& text : {flipped, good.substr(0, good.size() - 8), good.substr(0, 16),
                                    good.substr(4), std::string("!!!!"), std::string("/")}) {
        tree.setString("bad", text);
        EXPECT_EQ(dataOf(tree, "bad"), "failed") << text;
    }

    // 650 kB that unpack to more than is taken: two copies of the byte before, 258 bytes each, and
    // then as many of what stands 258 before.
    const std::string bits =
        "11000110000" + repeat("1100010100000", 2) + repeat("11000101100001000000", 270'000);
    std::string gzip("\x1f\x8b\x08\0\0\0\0\0\0\0", 10);
    for (std::size_t i = 0; i + 8 <= bits.size(); i += 8) {
        const std::string byte(bits.rend() - i - 8, bits.rend() - i);
        gzip += static_cast<char>(std::stoi(byte, nullptr, 2));
    }
    std::string bomb;
    const CryptoPP::StringSource encode(
        gzip, true, new CryptoPP::Base64Encoder(new CryptoPP::StringSink(bomb), false));
    EXPECT_THROW(unpackData(bomb), std::length_error);
}

TEST(Dictionary, OnlyTheProductsOwnTreesOfItsMajorFormatCanBeLoaded) {
    const LogFolder product;
    std::string message = "untouched";
    const auto canLoad = [&](const std::string& root) {
        const std::string info = "<info creator='Wellengang \u00e4' version='9'/></dict>";
        return Dictionary(root + info).canLoad(message);
    };
    EXPECT_TRUE(canLoad("<dict file-format='1.9'>") && canLoad("<dict file-format='0.6'>") &&
                canLoad("<dict>"));
    EXPECT_EQ(message, "untouched");
    EXPECT_FALSE(canLoad("<dict file-format='2.1'>"));
    EXPECT_EQ(message,
              "These settings were created by an older version of Wellengang \u00e4 and cannot be "
              "loaded.\n(Format is 2.1, this plugin requires 1.2 or newer.)");
    const std::string unknown = "<dict>\n    <info creator=\"Wellengang\" />\n</dict>\n";
    EXPECT_FALSE(Dictionary(unknown).canLoad(message));
    EXPECT_EQ(
        message,
        "These settings were created by an unknown plugin and cannot be loaded.\n\n" + unknown);
    Dictionary foreign;
    foreign.setInfo("Other", "1");
    foreign.setString("k", std::string(97, 'x') + repeat("\xc3\xbc", 50));
    EXPECT_FALSE(foreign.canLoad(message));
    EXPECT_EQ(message, "These settings were created by Other and cannot be loaded.\n\n" +
                           textOf(foreign).substr(0, 159));  // 160 would be half a character
}
