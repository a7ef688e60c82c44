#include "drawing/PngFile.h"
#include "foundation/LogFolder.h"
#include "foundation/TextOf.h"
#include "resources/MissingFileHandler.h"
#include "resources/Resources.h"
#include "samples/Pack.h"
#include "samples/WaveBytes.h"
#include "support/Hearer.h"
#include "support/ScratchStore.h"

#include <gmock/gmock.h>

#include <thread>

namespace tarn {
namespace {

using namespace test;
using namespace testing;

using Texts = std::vector<std::string>;

const std::string Wave = byteWave("aaaaaaaaaa");
constexpr float WaveLevel = ('a' - 128) / 128.0f;

// An instance of the plug-in, with a user who knows where files are.
struct Instance : Radio, MissingFileHandler {
    Instance() : Radio(nullptr) {}
    Radio* getPlugin() const override { return const_cast<Instance*>(this); }
    bool reportMissingSample(File& file) override { return ask(file.getName(), file); }
    bool findPackFile(const std::string& pack, File& file) override { return ask(pack, file); }
    bool ask(const std::string& name, File& file) {
        asked.push_back(name);
        file = File(answer);
        return !answer.empty();
    }
    Texts asked;
    std::string answer;
};

// A product that is installed in a folder of the test's own.
struct Product {
    Product() {
        machine.setString("InstallPath", store.path());
        Preferences::setStores(&machine, &user);
    }
    ~Product() { Preferences::setStores(nullptr, nullptr); }

    // A file in the folder of its resources.
    std::string inside(const std::string& file) const {
        return log.getProductName() + " Resources/" + file;
    }
    std::string path(const std::string& file) const { return store.path(inside(file)); }
    void write(const std::string& file, const std::string& bytes) const {
        store.write(inside(file), bytes);
    }

    LogFolder log;
    ScratchStore store;
    Preferences machine = store.open(platform::PreferencesRoot::LocalMachine);
    Preferences user = store.openUser();
};

struct ResourcesTest : Test, Product {
    ResourcesTest() { resources.setParent(&instance); }

    bool load(Resources& target, const std::string& text) const {
        store.write("Resources.xml", text);
        return target.load(File(store.path("Resources.xml"))).isOk();
    }
    std::string good(const std::string& lists) const {
        return "<dict><info creator='" + log.getProductName() +
               "' version='1'/><file-format value='0.7'/>" + lists + "</dict>";
    }
    void read(const Dictionary& entry) {
        std::string id = "former";
        resources.readSample(id, entry);
    }

    Instance instance;
    Resources resources;
    Texts told;
    Hearer hearer{resources, [this](Message& message) {
                      told.push_back(dynamic_cast<ResourceMessage&>(message).resourceName.str());
                  }};
};

Dictionary entryOf(const std::string& id, const std::string& fileName, bool hasAudio = false) {
    const float values[] = {0.5f, 0.25f, 0.125f};
    Dictionary entry;
    entry.setString("id", id);
    entry.setString("filename", fileName);
    if (hasAudio)
        entry.setData("sampledata", values, sizeof values);
    return entry;
}

float levelOf(const Resources& resources, const std::string& id) {
    const auto sample = resources.getSample(id);
    return sample && sample->hasData() ? sample->getData()[0] : 0.0f;
}

// Fault: a list that is broken, foreign or too new takes the place of the one in use.
TEST_F(ResourcesTest, ARefusedListLeavesTheFormerOne) {
    write("Images/a.png", plainPng(4, 8));
    const std::string whole = good("<samples/><bitmaps><a filename='a.png'/></bitmaps>");
    std::string foreign = whole, newer = whole;
    foreign.replace(foreign.find("creator='") + 9, 1, "X");
    newer.replace(newer.find("0.7"), 3, "2.0");
    ASSERT_TRUE(load(resources, whole));
    EXPECT_FALSE(load(resources, foreign) || load(resources, newer));
    for (std::size_t bytes = 0; bytes < whole.size(); ++bytes)
        EXPECT_FALSE(load(resources, whole.substr(0, bytes))) << bytes;
    EXPECT_EQ(resources.load(File("none.xml")).code, "EIFL");
    EXPECT_NE(resources.getBitmap("a"), nullptr);
}

// Fault: a document whose examples don't work.
TEST_F(ResourcesTest, TheDocumentsExamplesLoad) {
    std::string document;
    ASSERT_TRUE(File(PROJECT_FOLDER "/docs/resources.md").contents(document, 1 << 20));
    const auto takeExample = [&document] {
        document.erase(0, document.find("```xml\n") + 7);
        return document.substr(0, document.find("```"));
    };
    std::string list = takeExample();
    list.replace(list.find("Example"), 7, log.getProductName());
    for (const char* name : {"background", "knobs/knob", "lamps", "icons", "digits"})
        write(std::string("Images/") + name + ".png", plainPng(160, 80));
    write("Samples/Clicks/click.wav", Wave);
    ASSERT_TRUE(writePack(File(path("Samples/drums.pack")), {{"kick", Wave}}));
    write("Skins/1/info.xml", takeExample());
    Resources skinned;
    ASSERT_TRUE(load(skinned, list));
    EXPECT_TRUE(skinned.getSample("click") && skinned.getSample("drums/kick"));
    for (const char* id : {"background", "knob", "lamps", "icons", "digits", "needle"})
        ASSERT_TRUE(skinned.getBitmap(id)) << id;
    EXPECT_FALSE(skinned.getBitmap("background")->usesAlpha());
    EXPECT_EQ(skinned.getBitmap("lamps")->getOpacity(), 0.5f);
    EXPECT_EQ(skinned.getBitmap("digits")->getGlyphs(), "0123456789");
    EXPECT_EQ(skinned.getBitmap("needle")->getOrigin(), (Point{15, 60}));
    const Skin& night = skinned.getSkin("com.example.night");
    EXPECT_EQ(night.getName() + night.getAuthor(), "NightA. Painter");
}

// Fault: numbers of frames that can't be, which divide by zero or make frames of no pixels.
TEST_F(ResourcesTest, FramesAreCutAsTheListTells) {
    write("Images/a.png", plainPng(100, 400));
    const std::tuple<const char*, int, Point> cuts[] = {
        {"frames='4'", 4, {100, 100}},
        {"frames='4x2'", 8, {25, 200}},
        {"frames='1x4'", 4, {100, 100}},
        {"frames='4' horizontal='true'", 4, {25, 400}},
        {"frames='30x7'", 210, {3, 57}},
        {"frames='4' left='7' right='9'", 4, {100, 100}},
        {"frames='2x2' left='60'", 2, {40, 200}},
        {"frames='4' nrframes='3'", 3, {100, 100}},
        {"nrframes='2000000000'", 100, {1, 400}},
        {"left='10' top='20' right='30' bottom='40'", 76, {20, 20}},
        {"left='2147483647' top='-2147483648'", 1, {100, 400}},
        {"frames='-3' nrframes='-1'", 1, {100, 400}},
        {"frames='500'", 1, {100, 400}},
        {"frames='0x4'", 1, {100, 400}},
        {"frames='-2147483648x-1'", 1, {100, 400}},
        {"frames='4x'", 4, {100, 100}}};
    for (const auto& [keys, frames, size] : cuts) {
        Resources fresh;
        const std::string entry = std::string("<a filename='a.png' ") + keys + "/>";
        ASSERT_TRUE(load(fresh, good("<bitmaps>" + entry + "</bitmaps>")));
        const auto bitmap = fresh.getBitmap("a");
        EXPECT_EQ(bitmap->getFrameCount(), frames) << keys;
        EXPECT_EQ(bitmap->getFrameSize(), size) << keys;
    }
}

// Faults: a skin's image that isn't there, or broken, is missing on the screen or lets drawing read
// beyond the pixels; a switch that leaves bitmaps of the former skin.
TEST_F(ResourcesTest, ASkinReplacesWhatItHas) {
    for (const char* image : {"Images/in/a.png", "Images/b.png", "Images/c.png"})
        write(image, plainPng(4, 8));
    write("Skins/1/Images/in/a.png", plainPng(6, 20));
    write("Skins/1/Images/c.png", "broken");
    write("Skins/2/info.xml", "<dict><file-format value='0.7'/><uid value='two'/></dict>");
    write("Skins/3/info.xml", "<dict");
    user.setString("DefaultSkin", "gone");
    Resources skinned;
    ASSERT_TRUE(
        load(skinned,
             good("<bitmaps><a filename='in/a.png' frames='2'/><b filename='b.png'/>"
                  "<c filename='c.png' frames='4' flicker='3'/><d filename='d.png'/></bitmaps>")));
    const auto a = skinned.getBitmap("a"), b = skinned.getBitmap("b"), c = skinned.getBitmap("c");
    EXPECT_EQ(skinned.getCurrentSkin(), "default");
    EXPECT_EQ(a, skinned.getBitmap("a"));
    EXPECT_EQ(c->getFlicker(), 3.0f);
    for (const char* id : {"", "d", "e"})
        EXPECT_EQ(skinned.getBitmap(id), nullptr) << id;

    Hearer heard(skinned, hearer.answer);
    skinned.setCurrentSkin("1");
    skinned.setCurrentSkin("1");
    EXPECT_EQ(a->getFrameSize(), (Point{6, 10}));
    EXPECT_EQ(b->getRect(), (Rect{0, 0, 4, 8}));
    EXPECT_FALSE(c->isValid());
    EXPECT_EQ(c->getFrameRect(3), Rect());
    EXPECT_EQ(Resources().getCurrentSkin(), "1");
    skinned.setCurrentSkin("none");
    EXPECT_EQ(c->getFrameCount(), 4);
    skinned.setCurrentSkin("none");
    Preferences::setStores(&machine, nullptr);
    skinned.setCurrentSkin("two");
    EXPECT_THAT(told, ElementsAre("1", "default", "two"));
    EXPECT_EQ(skinned.getSkin("none").getName() + skinned.getSkin("3").getUid(), "default3");
    EXPECT_EQ(skinned.getCurrentSkin(), "default");
}

// Faults: a dense screen that gets the coarse image, one skin's image beside another's.
TEST_F(ResourcesTest, ASkinBringsItsImagesDensities) {
    write("Images/a.png", plainPng(4, 2));
    write("Images/a@200.png", plainPng(8, 4));
    write("Images/b.png", plainPng(4, 2));
    write("Images/b@150.png", "no image");
    write("Skins/Dense/Images/a@150.png", plainPng(6, 3));
    write("Skins/Dense/Controls.xml", "");
    Resources dense;
    ASSERT_TRUE(load(
        dense, good("<samples/><bitmaps><a filename='a.png'/><b filename='b.png'/></bitmaps>")));
    const auto image = dense.getBitmap("a");
    // The coarsest and the densest image of "a" and of "b", and the interface's file.
    const auto expect = [&](float low, float high, const char* file) {
        EXPECT_EQ(image->getVariant(0.1f)->density, low);
        EXPECT_EQ(image->getVariant(9)->density, high);
        EXPECT_EQ(dense.findSkinFile("Controls.xml").getPath(), path(file));
    };
    expect(1.0f, 2.0f, "Controls.xml");
    EXPECT_EQ(dense.getBitmap("b")->getVariant(9)->density, 1.0f);
    dense.setCurrentSkin("Dense");
    expect(1.5f, 1.5f, "Skins/Dense/Controls.xml");
    EXPECT_EQ(image->getRect(), (Rect{0, 0, 4, 2}));
    EXPECT_EQ(dense.findSkinFile("other").getPath(), path("other"));
}

// Faults: images that are all loaded anew each time, one that changed and isn't, a broken file that
// takes its former image away or isn't named while it stays broken.
TEST_F(ResourcesTest, ImagesThatChangedAreReloaded) {
    for (const char* image : {"Images/a.png", "Images/b.png"})
        write(image, plainPng(4, 2));
    ASSERT_TRUE(load(resources, good("<bitmaps><a filename='a.png' frames='2'/>"
                                     "<b filename='b.png'/></bitmaps>")));
    const auto a = resources.getBitmap("a"), b = resources.getBitmap("b");
    told.clear();
    EXPECT_EQ(resources.reloadImages(), "");
    write("Images/b.png", "no image");
    for (int times = 0; times < 2; ++times)
        EXPECT_EQ(resources.reloadImages(), path("Images/b.png"));
    EXPECT_TRUE(told.empty() && b->isValid());
    write("Images/a.png", plainPng(6, 20));
    write("Images/b.png", plainPng(3, 3));
    for (int times = 0; times < 2; ++times)
        EXPECT_EQ(resources.reloadImages(), "");
    EXPECT_THAT(told, ElementsAre("default"));
    EXPECT_EQ(a->getFrameSize(), (Point{6, 10}));
    EXPECT_EQ(b->getRect(), (Rect{0, 0, 3, 3}));
}

// Faults: a moved folder that isn't found, a place that is asked for twice, a path that leads the
// search astray, a name that ends a line of the log.
TEST_F(ResourcesTest, AFileIsFoundWhereItsFolderWasMoved) {
    for (const char* file : {"Samples/Kits/808/kick.wav", "up.wav", "Samples/808/hat.wav",
                             "Samples/snare.wav", "Skins/far.wav", "Samples/Skins/far.wav"})
        write(file, Wave);
    store.write("Moved/Kits/808/tom.wav", Wave);
    const std::string moved = store.path("Moved/Kits/808/tom.wav");
    resources.addSearchFolder(Folder(store.path("Moved")));
    resources.addSearchFolder(Folder(store.path("none")));
    const std::string elsewhere = File("/elsewhere/").getPath();
    const std::pair<std::string, std::string> places[] = {
        {moved, moved},
        {"Kits/808/kick.wav", path("Samples/Kits/808/kick.wav")},
        {"up.wav", path("up.wav")},
        {"Drums/808/hat.wav", path("Samples/808/hat.wav")},
        {"x/y/snare.wav", path("Samples/snare.wav")},
        {"a/./b/../../Skins/far.wav", path("Samples/Skins/far.wav")},
        {"../Skins/far.wav", path("Skins/far.wav")},
        {elsewhere + "Kits/808/tom.wav", moved},
        {"kick.wav", path("Samples/Kits/808/kick.wav")},  // where an earlier file was found
        {elsewhere + "x/Kits/808/tom.wav", ""},
        {"x/y/z/snare.wav", ""},
        {"../../../../../../../../../../../../tom.wav", ""},
        {"", ""}};
    for (const auto& [name, place] : places) {
        File file(name);
        EXPECT_EQ(resources.findFile(file), !place.empty()) << name;
        EXPECT_EQ(file.getPath(), place.empty() ? File(name).getPath() : place);
    }
    EXPECT_THAT(instance.asked, ElementsAre("tom.wav", "snare.wav", "tom.wav"));

    log.open(LogWarning);
    File far(std::string(40'000, 'a') + "/\n.wav");
    instance.answer = store.path("none.wav");
    EXPECT_FALSE(resources.findFile(far));
    EXPECT_EQ(far.getName(), "\n.wav");
    EXPECT_THAT(log.lines(), ElementsAre("Unable to locate sample file ?.wav"));
    instance.answer = moved;
    EXPECT_TRUE(resources.findFile(far));
    EXPECT_EQ(far.getPath(), moved);
}

// Fault: one sample that can't be had, and those behind it are lost too.
TEST_F(ResourcesTest, TheProductsSamplesLoadAsFarAsTheyAreThere) {
    write("Samples/a.wav", Wave);
    write("Samples/broken.wav", "RIFF");
    ASSERT_TRUE(writePack(File(path("Samples/p.pack")),
                          {{"kick", Wave}, {"bad", "RIFF"}, {"snare", Wave}}));
    Dictionary own = entryOf("", "", true);
    own.setString("name", "own");
    const std::string list =
        "<samples><!-- --><s name='gone' filename='gone.wav'/><s name='b' filename='broken.wav'/>"
        "<s name='corrupt' channels='-1'/><s name='none:pack' filename='none.pack'/>" +
        textOf(own) +
        "<s name='p:pack' filename='p.pack'/><s name='a' filename='a.wav'/>"
        "<s name='a' filename='gone.wav'/><s/><s name='late' filename='a.wav'/></samples>";
    ASSERT_TRUE(load(resources, good(list)));
    for (const char* id : {"gone", "b", "corrupt", "p/bad", "late", ""})
        EXPECT_FALSE(resources.getSample(id)) << id;
    EXPECT_EQ(levelOf(resources, "own"), 0.5f);
    for (const char* id : {"a", "p/kick", "p/snare"})
        EXPECT_EQ(levelOf(resources, id), WaveLevel) << id;
    resources.releaseAllSamples();
    EXPECT_FALSE(resources.getSample("a"));
}

// Faults: a sample that is gone while somebody plays it, or stays when nobody does; a count that is
// taken off twice.
TEST_F(ResourcesTest, SamplesGoWhenNobodyHoldsThem) {
    SharedObjectPtr<Sample> played = makeShared<Sample>();
    resources.addSample("none", nullptr);
    resources.addSample("one", played.get());
    resources.addSample("two", played.get());
    resources.addSample("other", makeShared<Sample>().get());
    for (const char* id : {"one", "unknown", "none", "other"})
        resources.removeSample(id);
    EXPECT_EQ(resources.getSample("one").get(), played.get());
    EXPECT_FALSE(resources.getSample("other"));

    resources.retainAllSamples();
    resources.retainAllSamples();
    resources.addSample("late", makeShared<Sample>().get());
    played.reset();
    resources.releaseAllSamples();
    EXPECT_FALSE(resources.getSample("late"));
    for (const auto& [id, stays] : {std::pair("one", true), {"one", true}, {"two", false}}) {
        resources.removeSample(id);
        EXPECT_EQ(resources.getSample("one").get() != nullptr, stays);
        EXPECT_EQ(resources.getSample("two").get() != nullptr, stays);
    }
}

// Faults: a state that changes a sample which is being played, one that can't be found and takes
// another one along, a state that isn't what it was after a save.
TEST_F(ResourcesTest, AStateBringsItsSamples) {
    write("Samples/kick.wav", Wave);
    const std::string pack = store.path("drums.pack");
    ASSERT_TRUE(writePack(File(pack), {{"hat", Wave}}));
    read(entryOf("own", "own.wav", true));
    const auto played = resources.getSample("own");
    read(Dictionary("<dict id='own' SampleRootNote='33'/>"));
    EXPECT_EQ(std::tuple(played->getRootNote(), levelOf(resources, "own")), std::tuple(60, 0.5f));

    read(entryOf("drums:hat", "x/drums.pack"));
    EXPECT_FALSE(resources.getSample("drums:hat"));
    instance.answer = pack;
    read(entryOf("drums:hat", ""));
    read(entryOf("drums:none", ""));
    EXPECT_EQ(resources.getSample("drums:hat").get(), resources.getSample("drums/hat").get());
    EXPECT_EQ(levelOf(resources, "drums:hat"), WaveLevel);
    EXPECT_FALSE(resources.getSample("drums:none"));
    instance.answer.clear();
    const std::string absolute = File("/a:b.wav").getPath();
    read(entryOf(absolute, absolute));
    EXPECT_THAT(instance.asked, ElementsAre("drums", "drums", "a:b.wav"));

    read(entryOf("kick", "x/kick.wav"));
    EXPECT_EQ(levelOf(resources, "kick"), WaveLevel);
    read(Dictionary("<dict id='kick' channels='-1'/>"));
    EXPECT_FALSE(resources.getSample("kick"));
    EXPECT_THAT(told, ElementsAre("own", "own", "drums:hat", "drums:hat", "drums:none", absolute,
                                  "kick", "kick"));

    Dictionary state(
        "<dict file-format='0.7'><samples><a id='own'/><!-- --><b id='gone'/><c/>"
        "<d id='drums:hat'/></samples></dict>");
    Dictionary brief(state);
    resources.writeSamples(state);
    resources.writeSamplesTo(brief, false);
    EXPECT_THAT(textOf(brief), AllOf(HasSubstr("drums.pack"), Not(HasSubstr("sampledata"))));
    Resources fresh;
    fresh.readSamples(state);
    EXPECT_EQ(levelOf(fresh, "own"), 0.5f);
    EXPECT_EQ(fresh.getSample("own")->getRootNote(), 33);
    EXPECT_EQ(levelOf(fresh, "drums:hat"), WaveLevel);
    EXPECT_FALSE(fresh.getSample("gone"));
    fresh.removeSample("drums:hat");
    EXPECT_FALSE(fresh.getSample("drums:hat"));
}

// Fault: a look-up on one thread while another one changes what it walks. ThreadSanitizer sees it.
TEST_F(ResourcesTest, SamplesAndFilesAreLookedUpOnTwoThreads) {
    resources.setParent(nullptr);
    const Dictionary entry = entryOf("x", "", true);
    read(entry);
    std::thread other([this] {
        for (int i = 0; i < 300; ++i) {
            File missing("missing.wav");
            EXPECT_FALSE(i % 10 == 0 && resources.findFile(missing));
            const float level = levelOf(resources, "x");
            EXPECT_TRUE(level == 0.5f || level == 0.0f);
        }
    });
    for (int i = 0; i < 30; ++i) {
        Folder folder(store.path("d" + std::to_string(i)));
        EXPECT_TRUE(folder.create());
        resources.addSearchFolder(folder);
        resources.retainAllSamples();
        read(entry);
        resources.removeSample("x");
        resources.releaseAllSamples();
    }
    other.join();
}

}  // namespace
}  // namespace tarn
