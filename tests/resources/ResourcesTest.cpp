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

// A product that is installed in a folder of the test's own; the instance too, with a user who
// knows where files are.
struct ResourcesTest : Test, Radio, MissingFileHandler {
    ResourcesTest() : Radio(nullptr) {
        machine.setString("InstallPath", store.path());
        Preferences::setStores(&machine, &user);
        restart("");
    }
    ~ResourcesTest() override { Preferences::setStores(nullptr, nullptr); }
    Radio* getPlugin() const override { return const_cast<ResourcesTest*>(this); }
    bool reportMissingSample(File& file) override { return findPackFile(file.getName(), file); }
    bool findPackFile(const std::string& name, File& file) override {
        asked.push_back(name);
        file = File(answer);
        return !answer.empty();
    }

    // Files in the folder of its resources.
    std::string path(const std::string& file) const { return store.path(inside + file); }
    void write(const Texts& files, const std::string& bytes) const {
        for (const std::string& file : files)
            store.write(inside + file, bytes);
    }
    std::string good(const std::string& lists) const {
        return "<dict><info creator='" + log.getProductName() +
               "' version='1'/><file-format value='0.7'/>" + lists + "</dict>";
    }
    bool load(const std::string& text) {
        store.write("Resources.xml", text);
        return resources->load(File(store.path("Resources.xml"))).isOk();
    }
    // As the process begins, with these lists.
    void restart(const std::string& lists) {
        hearer.reset();
        resources = std::make_unique<Resources>();
        resources->setParent(this);
        hearer.emplace(*resources, [this](Message& message) {
            told.push_back(dynamic_cast<ResourceMessage&>(message).resourceName.str());
        });
        ASSERT_TRUE(load(good(lists)));
    }
    void read(const Dictionary& entry) {
        std::string id = "former";
        resources->readSample(id, entry);
    }
    float levelOf(const std::string& id) const {
        const auto sample = resources->getSample(id);
        return sample && sample->hasData() ? sample->getData()[0] : 0.0f;
    }

    LogFolder log;
    const std::string inside = log.getProductName() + " Resources/";
    ScratchStore store;
    Preferences machine = store.open(platform::PreferencesRoot::LocalMachine);
    Preferences user = store.openUser();
    std::unique_ptr<Resources> resources;
    std::optional<Hearer> hearer;
    Texts told, asked;
    std::string answer;
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

// Fault: a list that is broken, foreign or too new takes the place of the one in use.
TEST_F(ResourcesTest, ARefusedListLeavesTheFormerOne) {
    write({"Images/a.png"}, plainPng(4, 8));
    const std::string lists = "<samples/><bitmaps><a filename='a.png'/></bitmaps>";
    const std::string whole = good(lists);
    restart(lists);
    for (std::size_t bytes = 0; bytes < whole.size(); ++bytes)
        EXPECT_FALSE(load(whole.substr(0, bytes))) << bytes;
    EXPECT_FALSE(load(std::string(whole).replace(whole.find("creator='") + 9, 1, "X")));
    EXPECT_FALSE(load(std::string(whole).replace(whole.find("0.7"), 3, "2.0")));
    EXPECT_EQ(resources->load(File("none.xml")).code, "EIFL");
    EXPECT_NE(resources->getBitmap("a"), nullptr);
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
    write({"Images/background.png", "Images/knobs/knob.png", "Images/lamps.png", "Images/icons.png",
           "Images/digits.png"},
          plainPng(160, 80));
    write({"Samples/Clicks/click.wav"}, Wave);
    ASSERT_TRUE(writePack(File(path("Samples/drums.pack")), {{"kick", Wave}}));
    write({"Skins/1/info.xml"}, takeExample());
    restart("");
    EXPECT_TRUE(load(list) && resources->getSample("click") && resources->getSample("drums/kick"));
    for (const char* id : {"background", "knob", "lamps", "icons", "digits", "needle"})
        ASSERT_TRUE(resources->getBitmap(id)) << id;
    EXPECT_FALSE(resources->getBitmap("background")->usesAlpha());
    EXPECT_EQ(resources->getBitmap("lamps")->getOpacity(), 0.5f);
    EXPECT_EQ(resources->getBitmap("digits")->getGlyphs(), "0123456789");
    EXPECT_EQ(resources->getBitmap("needle")->getOrigin(), (Point{15, 60}));
    const Skin& night = resources->getSkin("com.example.night");
    EXPECT_EQ(night.getName() + night.getAuthor(), "NightA. Painter");
}

// Fault: numbers of frames that can't be, which divide by zero or make frames of no pixels.
TEST_F(ResourcesTest, FramesAreCutAsTheListTells) {
    write({"Images/a.png"}, plainPng(100, 400));
    const std::tuple<int, Point, Texts> cuts[] = {
        {4,
         {100, 100},
         {"frames='4'", "frames='1x4'", "frames='4x'", "frames='4' left='7' right='9'"}},
        {8, {25, 200}, {"frames='4x2'"}},
        {4, {25, 400}, {"frames='4' horizontal='true'"}},
        {210, {3, 57}, {"frames='30x7'"}},
        {2, {40, 200}, {"frames='2x2' left='60'"}},
        {3, {100, 100}, {"frames='4' nrframes='3'"}},
        {100, {1, 400}, {"nrframes='2000000000'"}},
        {76, {20, 20}, {"left='10' top='20' right='30' bottom='40'"}},
        {1,
         {100, 400},
         {"left='2147483647' top='-2147483648'", "frames='-3' nrframes='-1'", "frames='500'",
          "frames='0x4'", "frames='-2147483648x-1'"}}};
    for (const auto& [frames, size, lists] : cuts)
        for (const std::string& keys : lists) {
            restart("<bitmaps><a filename='a.png' " + keys + "/></bitmaps>");
            const auto bitmap = resources->getBitmap("a");
            EXPECT_EQ(bitmap->getFrameCount(), frames) << keys;
            EXPECT_EQ(bitmap->getFrameSize(), size) << keys;
        }
}

// Faults: a skin's image that isn't there, or broken, is missing on the screen or lets drawing read
// beyond the pixels; a switch that leaves bitmaps of the former skin.
TEST_F(ResourcesTest, ASkinReplacesWhatItHas) {
    write({"Images/in/a.png", "Images/b.png", "Images/c.png"}, plainPng(4, 8));
    write({"Skins/1/Images/in/a.png"}, plainPng(6, 20));
    write({"Skins/1/Images/c.png"}, "broken");
    write({"Skins/2/info.xml"}, "<dict><file-format value='0.7'/><uid value='two'/></dict>");
    write({"Skins/3/info.xml"}, "<dict");
    user.setString("DefaultSkin", "gone");
    restart(
        "<bitmaps><a filename='in/a.png' frames='2'/><b filename='b.png'/>"
        "<c filename='c.png' frames='4' flicker='3'/><d filename='d.png'/></bitmaps>");
    const auto a = resources->getBitmap("a"), b = resources->getBitmap("b"),
               c = resources->getBitmap("c");
    EXPECT_EQ(resources->getCurrentSkin(), "default");
    EXPECT_TRUE(a == resources->getBitmap("a") && c->getFlicker() == 3.0f);
    for (const char* id : {"", "d", "e"})
        EXPECT_EQ(resources->getBitmap(id), nullptr) << id;

    for (int times = 0; times < 2; ++times)
        resources->setCurrentSkin("1");
    EXPECT_EQ(a->getFrameSize(), (Point{6, 10}));
    EXPECT_EQ(b->getRect(), (Rect{0, 0, 4, 8}));
    EXPECT_TRUE(!c->isValid() && c->getFrameRect(3) == Rect());
    EXPECT_EQ(Resources().getCurrentSkin(), "1");
    resources->setCurrentSkin("none");
    EXPECT_EQ(c->getFrameCount(), 4);
    resources->setCurrentSkin("none");
    Preferences::setStores(&machine, nullptr);
    resources->setCurrentSkin("two");
    EXPECT_THAT(told, ElementsAre("1", "default", "two"));
    EXPECT_EQ(resources->getSkin("none").getName() + resources->getSkin("3").getUid(), "default3");
    EXPECT_EQ(resources->getCurrentSkin(), "default");
}

// Faults: a dense screen that gets the coarse image, one skin's image beside another's; images that
// are all loaded anew each time, one that changed and isn't, a broken file that takes its former
// image away or isn't named while it stays broken.
TEST_F(ResourcesTest, ImagesComeInDensitiesAndAreReloadedWhereTheyChanged) {
    write({"Images/a.png", "Images/b.png"}, plainPng(4, 2));
    write({"Images/a@200.png"}, plainPng(8, 4));
    write({"Images/b@150.png"}, "no image");
    write({"Skins/Dense/Images/a@150.png"}, plainPng(6, 3));
    write({"Skins/Dense/Controls.xml"}, "");
    restart("<bitmaps><a filename='a.png' frames='2'/><b filename='b.png'/></bitmaps>");
    const auto a = resources->getBitmap("a"), b = resources->getBitmap("b");
    // The coarsest and the densest image of "a", and the interface's file.
    const auto expect = [&](float low, float high, const char* file) {
        EXPECT_EQ(a->getVariant(0.1f)->density, low);
        EXPECT_EQ(a->getVariant(9)->density, high);
        EXPECT_EQ(resources->findSkinFile("Controls.xml").getPath(), path(file));
    };
    expect(1.0f, 2.0f, "Controls.xml");
    EXPECT_EQ(b->getVariant(9)->density, 1.0f);
    EXPECT_EQ(resources->reloadImages(), "");
    write({"Images/b.png"}, "no image");
    for (int times = 0; times < 2; ++times)
        EXPECT_EQ(resources->reloadImages(), path("Images/b.png"));
    EXPECT_TRUE(told.empty() && b->isValid());
    write({"Images/a.png"}, plainPng(6, 20));
    write({"Images/b.png"}, plainPng(3, 3));
    for (int times = 0; times < 2; ++times)
        EXPECT_EQ(resources->reloadImages(), "");
    EXPECT_THAT(told, ElementsAre("default"));
    EXPECT_EQ(a->getFrameSize(), (Point{6, 10}));
    EXPECT_EQ(b->getRect(), (Rect{0, 0, 3, 3}));
    resources->setCurrentSkin("Dense");
    expect(1.5f, 1.5f, "Skins/Dense/Controls.xml");
    EXPECT_EQ(a->getRect(), (Rect{0, 0, 4, 2}));
    EXPECT_EQ(resources->findSkinFile("other").getPath(), path("other"));
}

// Faults: a moved folder that isn't found, a place that is asked for twice, a path that leads the
// search astray, a name that ends a line of the log.
TEST_F(ResourcesTest, AFileIsFoundWhereItsFolderWasMoved) {
    write({"Samples/Kits/808/kick.wav", "up.wav", "Samples/808/hat.wav", "Samples/snare.wav",
           "Skins/far.wav", "Samples/Skins/far.wav"},
          Wave);
    store.write("Moved/Kits/808/tom.wav", Wave);
    const std::string moved = store.path("Moved/Kits/808/tom.wav");
    resources->addSearchFolder(Folder(store.path("Moved")));
    resources->addSearchFolder(Folder(store.path("none")));
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
        EXPECT_EQ(resources->findFile(file), !place.empty()) << name;
        EXPECT_EQ(file.getPath(), place.empty() ? File(name).getPath() : place);
    }
    EXPECT_THAT(asked, ElementsAre("tom.wav", "snare.wav", "tom.wav"));

    log.open(LogWarning);
    File far(std::string(40'000, 'a') + "/\n.wav");
    answer = store.path("none.wav");
    EXPECT_TRUE(!resources->findFile(far) && far.getName() == "\n.wav");
    EXPECT_THAT(log.lines(), ElementsAre("Unable to locate sample file ?.wav"));
    answer = moved;
    EXPECT_TRUE(resources->findFile(far) && far.getPath() == moved);
}

// Fault: one sample that can't be had, and those behind it are lost too.
TEST_F(ResourcesTest, TheProductsSamplesLoadAsFarAsTheyAreThere) {
    write({"Samples/a.wav"}, Wave);
    write({"Samples/broken.wav"}, "RIFF");
    const File pack(path("Samples/p.pack"));
    ASSERT_TRUE(writePack(pack, {{"kick", Wave}, {"bad", "RIFF"}, {"snare", Wave}}));
    Dictionary own = entryOf("", "", true);
    own.setString("name", "own");
    restart(
        "<samples><!-- --><s name='gone' filename='gone.wav'/><s name='b' filename='broken.wav'/>"
        "<s name='corrupt' channels='-1'/><s name='none:pack' filename='none.pack'/>" +
        textOf(own) +
        "<s name='p:pack' filename='p.pack'/><s name='a' filename='a.wav'/>"
        "<s name='a' filename='gone.wav'/><s/><s name='late' filename='a.wav'/></samples>");
    for (const char* id : {"gone", "b", "corrupt", "p/bad", "late", ""})
        EXPECT_FALSE(resources->getSample(id)) << id;
    EXPECT_EQ(levelOf("own"), 0.5f);
    for (const char* id : {"a", "p/kick", "p/snare"})
        EXPECT_EQ(levelOf(id), WaveLevel) << id;
    resources->releaseAllSamples();
    EXPECT_FALSE(resources->getSample("a"));
}

// Faults: a sample that is gone while somebody plays it, or stays when nobody does; a count that is
// taken off twice.
TEST_F(ResourcesTest, SamplesGoWhenNobodyHoldsThem) {
    SharedObjectPtr<Sample> played = makeShared<Sample>();
    resources->addSample("none", nullptr);
    resources->addSample("one", played.get());
    resources->addSample("two", played.get());
    resources->addSample("other", makeShared<Sample>().get());
    for (const char* id : {"one", "unknown", "none", "other"})
        resources->removeSample(id);
    EXPECT_TRUE(resources->getSample("one").get() == played.get() &&
                !resources->getSample("other"));

    for (int times = 0; times < 2; ++times)
        resources->retainAllSamples();
    resources->addSample("late", makeShared<Sample>().get());
    played.reset();
    resources->releaseAllSamples();
    EXPECT_FALSE(resources->getSample("late"));
    for (const auto& [id, stays] : {std::pair("one", true), {"one", true}, {"two", false}}) {
        resources->removeSample(id);
        for (const char* name : {"one", "two"})
            EXPECT_EQ(resources->getSample(name).get() != nullptr, stays);
    }
}

// Faults: a state that changes a sample which is being played, one that can't be found and takes
// another one along, a state that isn't what it was after a save.
TEST_F(ResourcesTest, AStateBringsItsSamples) {
    write({"Samples/kick.wav"}, Wave);
    const std::string pack = store.path("drums.pack");
    ASSERT_TRUE(writePack(File(pack), {{"hat", Wave}}));
    read(entryOf("own", "own.wav", true));
    const auto played = resources->getSample("own");
    read(Dictionary("<dict id='own' SampleRootNote='33'/>"));
    EXPECT_EQ(std::tuple(played->getRootNote(), levelOf("own")), std::tuple(60, 0.5f));

    read(entryOf("drums:hat", "x/drums.pack"));
    EXPECT_FALSE(resources->getSample("drums:hat"));
    answer = pack;
    read(entryOf("drums:hat", ""));
    read(entryOf("drums:none", ""));
    EXPECT_EQ(resources->getSample("drums:hat").get(), resources->getSample("drums/hat").get());
    EXPECT_EQ(levelOf("drums:hat"), WaveLevel);
    EXPECT_FALSE(resources->getSample("drums:none"));
    answer.clear();
    const std::string absolute = File("/a:b.wav").getPath();
    read(entryOf(absolute, absolute));
    EXPECT_THAT(asked, ElementsAre("drums", "drums", "a:b.wav"));

    read(entryOf("kick", "x/kick.wav"));
    EXPECT_EQ(levelOf("kick"), WaveLevel);
    read(Dictionary("<dict id='kick' channels='-1'/>"));
    EXPECT_FALSE(resources->getSample("kick"));
    EXPECT_THAT(told, ElementsAre("own", "own", "drums:hat", "drums:hat", "drums:none", absolute,
                                  "kick", "kick"));

    Dictionary state(
        "<dict file-format='0.7'><samples><a id='own'/><!-- --><b id='gone'/><c/>"
        "<d id='drums:hat'/></samples></dict>");
    Dictionary brief(state);
    resources->writeSamples(state);
    resources->writeSamplesTo(brief, false);
    EXPECT_THAT(textOf(brief), AllOf(HasSubstr("drums.pack"), Not(HasSubstr("sampledata"))));
    restart("");
    resources->readSamples(state);
    EXPECT_EQ(resources->getSample("own")->getRootNote(), 33);
    EXPECT_EQ(std::pair(levelOf("own"), levelOf("drums:hat")), std::pair(0.5f, WaveLevel));
    EXPECT_FALSE(resources->getSample("gone"));
    resources->removeSample("drums:hat");
    EXPECT_FALSE(resources->getSample("drums:hat"));
}

// Fault: a look-up on one thread while another one changes what it walks. ThreadSanitizer sees it.
TEST_F(ResourcesTest, SamplesAndFilesAreLookedUpOnTwoThreads) {
    resources->setParent(nullptr);
    const Dictionary entry = entryOf("x", "", true);
    read(entry);
    std::thread other([this] {
        for (int i = 0; i < 300; ++i) {
            File missing("missing.wav");
            EXPECT_FALSE(i % 10 == 0 && resources->findFile(missing));
            const float level = levelOf("x");
            EXPECT_TRUE(level == 0.5f || level == 0.0f);
        }
    });
    for (int i = 0; i < 30; ++i) {
        Folder folder(store.path("d" + std::to_string(i)));
        EXPECT_TRUE(folder.create());
        resources->addSearchFolder(folder);
        resources->retainAllSamples();
        read(entry);
        resources->removeSample("x");
        resources->releaseAllSamples();
    }
    other.join();
}

}  // namespace
}  // namespace tarn
