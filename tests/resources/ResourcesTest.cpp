#include "drawing/PngFile.h"
#include "resources/MissingFileHandler.h"
#include "resources/Resources.h"
#include "resources/ScratchProduct.h"
#include "samples/Pack.h"
#include "samples/WaveBytes.h"
#include "support/Hearer.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <sstream>
#include <thread>

namespace tarn {
namespace {

using namespace test;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using Texts = std::vector<std::string>;

std::string wave(char level = 'a') {
    return waveFile(formatChunk(1, 8) + chunk("data", std::string(10, level)));
}

// An instance of the plug-in, with a user who knows where files are.
struct Instance : Radio, MissingFileHandler {
    Instance() : Radio(nullptr) {}
    Radio* getPlugin() const override { return const_cast<Instance*>(this); }
    bool reportMissingSample(File& file) override {
        asked.push_back(file.getName());
        file = File(answer);
        return !answer.empty();
    }
    bool findPackFile(const std::string& pack, File& file) override {
        asked.push_back(pack);
        file = File(answer);
        return !answer.empty();
    }
    Texts asked;
    std::string answer;
};

struct ResourcesTest : testing::Test {
    ResourcesTest() { product.log.open(LogDetail); }

    std::string listOf(const std::string& content) const {
        return "<dict><info creator='" + product.log.getProductName() +
               "' version='1'/><file-format value='0.7'/>" + content + "</dict>";
    }
    bool load(Resources& resources, const std::string& text) const {
        product.store.write("Resources.xml", text);
        return resources.load(File(product.store.path("Resources.xml"))).isOk();
    }
    bool loadBitmaps(Resources& resources, const std::string& bitmaps) const {
        return load(resources, listOf("<bitmaps>" + bitmaps + "</bitmaps>"));
    }
    bool loadSamples(Resources& resources, const std::string& samples) const {
        return load(resources, listOf("<samples>" + samples + "</samples>"));
    }
    // A path as a file tells it, with the system's separators.
    static std::string native(const std::string& path) { return File(path).getPath(); }

    ScratchProduct product;
};

Dictionary entryOf(const std::string& id, const std::string& fileName, const Sample* audio = {}) {
    Dictionary entry;
    entry.setString("id", id);
    entry.setString("filename", fileName);
    if (audio != nullptr)
        audio->writeData(entry);
    return entry;
}

SharedObjectPtr<Sample> sampleOf(float level) {
    Dictionary state;
    const float values[3] = {level, level, level};
    state.setData("sampledata", values, sizeof values);
    auto sample = makeShared<Sample>();
    sample->read(state);
    return sample;
}

float levelOf(const Resources& resources, const std::string& id) {
    const auto sample = resources.getSample(id);
    return sample && sample->hasData() ? sample->getData()[0] : 0.0f;
}

// Fault: a list that is broken, foreign or too new takes the place of the one in use.
TEST_F(ResourcesTest, ARefusedListLeavesTheFormerOne) {
    product.write("Images/a.png", plainPng(4, 8));
    Resources resources;
    const std::string good = listOf("<samples/><bitmaps><a filename='a.png'/></bitmaps>");
    std::string foreign = good, newer = good;
    foreign.replace(foreign.find("creator='") + 9, 1, "X");
    newer.replace(newer.find("0.7"), 3, "2.0");
    ASSERT_TRUE(load(resources, good));
    Texts refused = {foreign, newer};
    for (std::size_t bytes = 0; bytes < good.size(); ++bytes)
        refused.push_back(good.substr(0, bytes));
    for (const std::string& text : refused)
        EXPECT_FALSE(load(resources, text)) << text;
    const Error error = resources.load(File("none.xml"));
    EXPECT_STREQ(error.what(), "Failed to import file none.xml");
    EXPECT_EQ(error.code, "EIFL");
    EXPECT_NE(resources.getBitmap("a"), nullptr);
}

TEST_F(ResourcesTest, TheProductsListAndTheDocumentsExamplesLoad) {
    const auto textOf = [](const char* name) {
        std::ifstream file(std::filesystem::path(PROJECT_FOLDER) / name, std::ios::binary);
        return std::string{std::istreambuf_iterator<char>(file), {}};
    };
    std::string document = textOf("docs/resources.md");
    const auto takeExample = [&document] {
        const std::size_t begin = document.find("```xml\n") + 7;
        const std::string example = document.substr(begin, document.find("```", begin) - begin);
        document.erase(0, begin + example.size());
        return example;
    };
    const auto madeOurs = [this](std::string list, const std::string& creator) {
        return list.replace(list.find(creator), creator.size(), product.log.getProductName());
    };
    const std::string list = madeOurs(takeExample(), "Example");
    for (const char* name : {"background", "knobs/knob", "lamps", "icons", "digits"})
        product.write(std::string("Images/") + name + ".png", plainPng(160, 80));
    product.write("Samples/Clicks/click.wav", wave());
    ASSERT_TRUE(writePack(File(product.store.path(product.place("Samples/drums.pack"))),
                          {{"kick", wave()}}));
    product.write("Skins/1/info.xml", takeExample());
    Resources resources;
    ASSERT_TRUE(load(resources, list));
    EXPECT_TRUE(resources.getSample("click") && resources.getSample("drums/kick"));
    Texts seen;
    for (const char* id : {"background", "knob", "lamps", "icons", "digits", "needle"}) {
        const auto bitmap = resources.getBitmap(id);
        ASSERT_TRUE(bitmap) << id;
        const std::int32_t frames = bitmap->getFrameCount();
        const Rect last = bitmap->getFrameRect(frames - 1);
        std::ostringstream text;
        text << frames << ": " << last.left << ' ' << last.top << ' ' << last.right << ' '
             << last.bottom << ' ' << bitmap->usesAlpha() << bitmap->getOpacity() << ' '
             << bitmap->getGlyphs() << bitmap->getOrigin().x << ' ' << bitmap->getOrigin().y;
        seen.push_back(text.str());
    }
    EXPECT_THAT(seen, ElementsAre("1: 0 0 160 80 01 0 0", "4: 0 60 160 80 11 0 0",
                                  "2: 80 0 160 80 10.5 0 0", "7: 80 40 120 80 11 0 0",
                                  "10: 144 0 160 80 11 01234567890 0", "1: 10 20 40 80 11 15 60"));
    const Skin& night = resources.getSkin("com.example.night");
    EXPECT_EQ(night.getName() + night.getAuthor() + night.getUrl(),
              "NightA. Painterhttps://example.com");

    std::string brimtide = textOf("product/Resources.xml");
    brimtide.erase(0, brimtide.find("creator"));
    EXPECT_TRUE(load(resources, madeOurs("<dict><info " + brimtide, "Brimtide")));
}

// Fault: numbers of frames that can't be, which divide by zero or make frames of no pixels.
TEST_F(ResourcesTest, FramesAreCutAsTheListTells) {
    product.write("Images/a.png", plainPng(100, 400));
    const std::pair<const char*, const char*> cuts[] = {
        {"frames='4'", "4x100x100"},
        {"frames='4x2'", "8x25x200"},
        {"frames='4' horizontal='true'", "4x25x400"},
        {"frames='150'", "150x100x2"},
        {"frames='30x7'", "210x3x57"},
        {"frames='4' left='7' right='9'", "4x100x100"},
        {"frames='2x2' left='60'", "2x40x200"},
        {"nrframes='5'", "5x20x400"},
        {"frames='4' nrframes='3'", "3x100x100"},
        {"nrframes='2000000000'", "100x1x400"},
        {"left='10' top='20' right='30' bottom='40'", "76x20x20"},
        {"left='2147483647' top='-2147483648'", "1x100x400"},
        {"left='-2147483648' right='2147483647'", "1x100x400"},
        {"frames='0'", "1x100x400"},
        {"frames='-3' nrframes='-1'", "1x100x400"},
        {"frames='500'", "1x100x400"},
        {"frames='0x0'", "1x100x400"},
        {"frames='-2147483648x-1'", "1x100x400"},
        {"frames='500x1'", "1x100x400"},
        {"frames='4x'", "4x100x100"},
        {"frames='what'", "1x100x400"}};
    for (const auto& [keys, cut] : cuts) {
        Resources resources;
        ASSERT_TRUE(loadBitmaps(resources, std::string("<a filename='a.png' ") + keys + "/>"));
        const auto bitmap = resources.getBitmap("a");
        std::ostringstream text;
        text << bitmap->getFrameCount() << 'x' << bitmap->getFrameSize().x << 'x'
             << bitmap->getFrameSize().y;
        EXPECT_EQ(text.str(), cut) << keys;
    }
}

// Faults: a skin's image that isn't there, or broken, is missing on the screen or lets drawing read
// beyond the pixels; a switch that leaves bitmaps of the former skin.
TEST_F(ResourcesTest, ASkinReplacesWhatItHas) {
    const auto described = [](const char* texts) {
        return std::string("<dict><file-format value='0.7'/>") + texts + "</dict>";
    };
    product.write("info.xml", described("<name value='Other'/>"));
    product.write("Images/in/a.png", plainPng(4, 8, '\x10'));
    product.write("Images/b.png", plainPng(4, 8, '\x10'));
    product.write("Images/c.png", plainPng(4, 8, '\x10'));
    product.write("Skins/1/Images/in/a.png", plainPng(6, 20, '\x20'));
    product.write("Skins/1/Images/c.png", "broken");
    product.write("Skins/2/info.xml", described("<uid value='two'/>"));
    product.write("Skins/3/info.xml", "<dict");
    product.user.setString("DefaultSkin", "gone");

    Resources resources;
    ASSERT_TRUE(loadBitmaps(resources,
                            "<a filename='in/a.png' frames='2'/><b filename='b.png'/>"
                            "<c filename='c.png' frames='4' alphabet='wxyz' flicker='3'/>"
                            "<d filename='d.png'/>"));
    EXPECT_EQ(resources.getCurrentSkin(), "gone");
    const auto a = resources.getBitmap("a"), b = resources.getBitmap("b"),
               c = resources.getBitmap("c");
    EXPECT_EQ(resources.getCurrentSkin(), "default");
    EXPECT_EQ(a, resources.getBitmap("a"));
    EXPECT_EQ(a->getFrameSize(), (Point{4, 4}));
    EXPECT_EQ(c->getFlicker(), 3.0f);
    for (const char* id : {"", "d", "e"})
        EXPECT_EQ(resources.getBitmap(id), nullptr) << id;
    EXPECT_THAT(product.log.lines(), Contains("  bitmap not found e"));
    EXPECT_THAT(product.log.lines(), Contains("  failed to load bitmap d"));
    Texts names;
    for (const Skin& skin : resources.getSkins())
        names.push_back(skin.getName() + " " + skin.getUid());
    EXPECT_THAT(names, testing::UnorderedElementsAre("default default", "1 1", "2 two", "3 3"));

    Texts told;
    Hearer hearer(resources, [&](Message& message) {
        EXPECT_EQ(message.code, ResourceMessage::SetLoaded);
        told.push_back(dynamic_cast<ResourceMessage&>(message).resourceName.str());
    });
    resources.setCurrentSkin("1");
    resources.setCurrentSkin("1");
    EXPECT_EQ(a->getFrameSize(), (Point{6, 10}));
    EXPECT_EQ(a->getPixel({0, 0}).getRed(), Color::fromBytes(0x1F, 0, 0, 0).getRed());
    EXPECT_EQ(b->getRect(), (Rect{0, 0, 4, 8}));
    EXPECT_FALSE(c->isValid());
    EXPECT_EQ(c->getFrameRect(3), Rect());
    EXPECT_EQ(c->getGlyphs(), "wxyz");
    EXPECT_EQ(Resources().getCurrentSkin(), "1");
    resources.setCurrentSkin("none");
    EXPECT_EQ(c->getFrameCount(), 4);
    EXPECT_EQ(resources.getCurrentSkin(), "default");
    resources.setCurrentSkin("none");
    EXPECT_THAT(told, ElementsAre("1", "default"));
    Preferences::setStores(&product.machine, nullptr);
    resources.setCurrentSkin("two");
    EXPECT_EQ(Resources().getCurrentSkin(), "default");
    EXPECT_EQ(resources.getSkin("none").getName(), "default");
    EXPECT_EQ(resources.getCurrentSkin(), "default");
}

// Faults: a moved folder that isn't found, a place that is asked for twice, a path that leads the
// search astray.
TEST_F(ResourcesTest, AFileIsFoundWhereItsFolderWasMoved) {
    for (const char* file : {"Samples/Kits/808/kick.wav", "up.wav", "Samples/808/hat.wav",
                             "Samples/snare.wav", "Skins/far.wav"})
        product.write(file, wave());
    const std::string moved = "Moved/Kits/808/tom.wav";
    product.store.write(moved, wave());
    const std::string above = product.store.path("Moved");
    Instance instance;
    Resources resources;
    resources.setParent(&instance);
    resources.addSearchFolder(Folder(above));
    resources.addSearchFolder(Folder(above));
    resources.addSearchFolder(Folder(product.store.path("none")));
    const std::string elsewhere = native("/elsewhere/");
    const std::pair<std::string, std::string> places[] = {
        {product.store.path(moved), product.store.path(moved)},
        {"Kits/808/kick.wav", product.place("Samples/Kits/808/kick.wav")},
        {"up.wav", product.place("up.wav")},
        {"Drums/808/hat.wav", product.place("Samples/808/hat.wav")},
        {"x/y/snare.wav", product.place("Samples/snare.wav")},
        {"a/./b/../../Skins/far.wav", product.place("Skins/far.wav")},
        {"../Skins/far.wav", product.place("Skins/far.wav")},
        {elsewhere + "Kits/808/tom.wav", moved},
        {elsewhere + "x/Kits/808/tom.wav", ""},
        {"x/y/z/snare.wav", ""},
        {"../../../../../../../../../../../../tom.wav", ""},
        {"", ""}};
    for (const auto& [name, place] : places) {
        File file(name);
        EXPECT_EQ(resources.findFile(file), !place.empty()) << name;
        if (!place.empty())
            EXPECT_TRUE(std::filesystem::equivalent(
                std::filesystem::u8path(file.getPath()),
                std::filesystem::u8path(place.starts_with(above[0]) ? place
                                                                    : product.store.path(place))))
                << name << " is " << file.getPath();
        else
            EXPECT_EQ(file.getPath(), native(name));
    }
    File beside("kick.wav");  // where an earlier file was found
    EXPECT_TRUE(resources.findFile(beside));
    EXPECT_THAT(instance.asked, ElementsAre("tom.wav", "snare.wav", "tom.wav"));
    EXPECT_THAT(product.log.lines(), Contains("Unable to locate sample file snare.wav"));
    EXPECT_THAT(product.log.lines(), Contains(HasSubstr("adding " + above)).Times(2));

    std::string deep;
    for (int i = 0; i < 40'000; ++i)
        deep += "a/";
    File far(deep + "\n.wav");
    instance.answer = product.store.path("none.wav");
    EXPECT_FALSE(resources.findFile(far));
    EXPECT_EQ(far.getName(), "\n.wav");
    EXPECT_THAT(product.log.lines(), Contains("Unable to locate sample file ?.wav"));
    instance.answer = product.store.path(moved);
    EXPECT_TRUE(resources.findFile(far));
    EXPECT_EQ(far.getPath(), instance.answer);
}

// Fault: one sample that can't be had, and those behind it are lost too.
TEST_F(ResourcesTest, TheProductsSamplesLoadAsFarAsTheyAreThere) {
    product.write("Samples/a.wav", wave());
    product.write("Samples/broken.wav", "RIFF");
    ASSERT_TRUE(writePack(File(product.store.path(product.place("Samples/p.pack"))),
                          {{"kick", wave()}, {"bad", "RIFF"}, {"snare", wave('b')}}));
    Dictionary own;
    sampleOf(0.5f)->writeData(own);
    own.setName("sample");
    own.setAttribute("", "name", "own");
    std::string embedded, corrupt;
    ASSERT_TRUE(own.toString(embedded));
    own.setInteger("samples", 7);
    own.setAttribute("", "name", "corrupt");
    ASSERT_TRUE(own.toString(corrupt));
    Resources resources;
    ASSERT_TRUE(loadSamples(
        resources,
        "<!-- --><s name='gone' filename='gone.wav'/><s name='b' filename='broken.wav'/>" +
            corrupt + "<s name='none:pack' filename='none.pack'/>" + embedded +
            "<s name='p:pack' filename='p.pack'/><s name='a' filename='a.wav'/>"
            "<s name='a' filename='gone.wav'/><s/><s name='late' filename='a.wav'/>"));
    for (const char* id : {"gone", "b", "corrupt", "p/bad", "late", ""})
        EXPECT_FALSE(resources.getSample(id)) << id;
    EXPECT_EQ(levelOf(resources, "own"), 0.5f);
    EXPECT_EQ(levelOf(resources, "a"), levelOf(resources, "p/kick"));
    EXPECT_NE(levelOf(resources, "p/snare"), 0.0f);
    const Texts lines = product.log.lines();
    EXPECT_THAT(lines, Contains("Unable to locate sample file gone.wav").Times(1));
    EXPECT_THAT(lines, Contains(HasSubstr("caught exception: ")));
    EXPECT_THAT(lines, Contains(HasSubstr("broken.wav [EIFL]")));
    resources.releaseAllSamples();
    EXPECT_FALSE(resources.getSample("a"));
}

// Faults: a sample that is gone while somebody plays it, or stays when nobody does; a count that is
// taken off twice. The sanitizers see both.
TEST_F(ResourcesTest, SamplesGoWhenNobodyHoldsThem) {
    const auto resources = std::make_unique<Resources>();
    SharedObjectPtr<Sample> played = sampleOf(0.5f);
    Sample* const sample = played.get();
    resources->addSample("one", sample);
    resources->addSample("two", sample);
    resources->addSample("none", nullptr);
    resources->addSample("other", sampleOf(0.25f).get());
    EXPECT_FALSE(resources->getSample("none"));
    resources->removeSample("one");
    resources->removeSample("unknown");
    EXPECT_EQ(resources->getSample("one").get(), sample);

    resources->retainAllSamples();
    resources->addSample("late", sampleOf(0.125f).get());
    played.reset();
    resources->releaseAllSamples();
    for (const char* id : {"one", "other", "late"})
        EXPECT_FALSE(resources->getSample(id)) << id;

    played = sampleOf(0.5f);
    resources->addSample("one", played.get());
    resources->addSample("two", played.get());
    resources->retainAllSamples();
    played.reset();
    for (const auto& [id, stays] : {std::pair("one", true), {"one", true}, {"two", false}}) {
        resources->removeSample(id);
        EXPECT_EQ(resources->getSample("one").get() != nullptr, stays);
        EXPECT_EQ(resources->getSample("two").get() != nullptr, stays);
    }
    for (int order = 0; order < 4 * 4 * 4 * 4; ++order) {
        for (int step = order, i = 0; i < 4; ++i, step /= 4) {
            if (step % 4 == 0)
                resources->retainAllSamples();
            else if (step % 4 == 1)
                resources->releaseAllSamples();
            else if (step % 4 == 2)
                resources->removeSample("x");
            else
                resources->addSample(i % 2 == 0 ? "x" : "y", makeShared<Sample>().get());
        }
    }
    played = resources->getSample("y");
}

// Faults: a state that changes a sample which is being played, one that can't be found and takes
// another one along, a state that isn't what it was after a save.
TEST_F(ResourcesTest, AStateBringsItsSamples) {
    product.write("Samples/kick.wav", wave());
    const std::string pack = product.store.path("drums.pack");
    ASSERT_TRUE(writePack(File(pack), {{"hat", wave('b')}}));
    Instance instance;
    Resources resources;
    resources.setParent(&instance);
    Texts told;
    Hearer hearer(resources, [&](Message& message) {
        EXPECT_EQ(message.code, ResourceMessage::ResourceLoaded);
        told.push_back(dynamic_cast<ResourceMessage&>(message).resourceName.str());
    });
    const auto read = [&resources](const Dictionary& entry) {
        std::string id = "former";
        resources.readSample(id, entry);
        return id;
    };
    EXPECT_EQ(read(entryOf("own", "own.wav", sampleOf(0.5f).get())), "own");
    const auto played = resources.getSample("own");
    Dictionary changed = entryOf("own", "");
    changed.setInteger("SampleRootNote", 33);
    read(changed);
    EXPECT_EQ(played->getRootNote(), 60);
    EXPECT_EQ(resources.getSample("own")->getRootNote(), 33);
    EXPECT_EQ(levelOf(resources, "own"), 0.5f);

    read(entryOf("kick", "x/kick.wav"));
    EXPECT_NE(levelOf(resources, "kick"), 0.0f);
    read(entryOf("drums:hat", "x/drums.pack"));
    EXPECT_FALSE(resources.getSample("drums:hat"));
    instance.answer = pack;
    read(entryOf("drums:hat", ""));
    read(entryOf("drums:none", ""));
    EXPECT_EQ(resources.getSample("drums:hat").get(), resources.getSample("drums/hat").get());
    EXPECT_NE(levelOf(resources, "drums:hat"), 0.0f);
    EXPECT_FALSE(resources.getSample("drums:none"));
    EXPECT_THAT(instance.asked, ElementsAre("drums", "drums"));
    instance.answer.clear();
    const std::string path = native("/a:b.wav");
    read(entryOf(path, path));
    EXPECT_EQ(instance.asked.back(), "a:b.wav");

    Dictionary corrupt = entryOf("kick", "");
    corrupt.setInteger("channels", -1);
    read(corrupt);
    EXPECT_FALSE(resources.getSample("kick"));
    EXPECT_THAT(told, ElementsAre("own", "own", "kick", "drums:hat", "drums:hat", "drums:none",
                                  path, "kick"));

    Dictionary state(
        "<dict file-format='0.7'><samples><a id='own'/><!-- --><b id='gone'/><c/>"
        "<d id='drums:hat'/></samples></dict>");
    Dictionary brief(state);
    resources.writeSamples(state);
    resources.writeSamplesTo(brief, false);
    std::string text;
    ASSERT_TRUE(brief.toString(text));
    EXPECT_THAT(text, Not(HasSubstr("sampledata")));
    Resources fresh;
    fresh.readSamples(state);
    EXPECT_EQ(levelOf(fresh, "own"), 0.5f);
    EXPECT_EQ(fresh.getSample("own")->getRootNote(), 33);
    EXPECT_EQ(levelOf(fresh, "drums:hat"), levelOf(resources, "drums:hat"));
    EXPECT_FALSE(fresh.getSample("gone"));
    std::string fileName;
    const auto last = brief.getArrayEntry("samples", 4);
    ASSERT_TRUE(last && last->getString("filename", fileName));
    EXPECT_THAT(fileName, EndsWith("drums.pack"));
}

// Fault: a look-up on one thread while another one changes what it walks. ThreadSanitizer sees it.
TEST_F(ResourcesTest, SamplesAndFilesAreLookedUpOnTwoThreads) {
    Resources resources;
    std::string id;
    const Dictionary entry = entryOf("x", "", sampleOf(0.5f).get());
    resources.readSample(id, entry);
    std::thread other([&resources] {
        for (int i = 0; i < 30; ++i) {
            File missing("missing.wav");
            EXPECT_FALSE(resources.findFile(missing));
        }
        for (int i = 0; i < 300; ++i)
            EXPECT_TRUE(levelOf(resources, "x") == 0.5f || levelOf(resources, "x") == 0.0f);
    });
    for (int i = 0; i < 30; ++i) {
        const std::string folder = product.store.path("d" + std::to_string(i));
        EXPECT_TRUE(Folder(folder).create());
        resources.addSearchFolder(Folder(folder));
        resources.retainAllSamples();
        resources.readSample(id, entry);
        resources.removeSample("x");
        resources.releaseAllSamples();
    }
    other.join();
}

}  // namespace
}  // namespace tarn
