// Programs, presets and their library.
#include "foundation/ProductIdentity.h"
#include "parameters/Definition.h"
#include "parameters/ModuleDirectory.h"
#include "parameters/PresetsLibrary.h"

#include <set>

namespace tarn {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class Product : public ProductIdentity {
public:
    Product() { set(this); }
    ~Product() override { set(nullptr); }
    std::string getVendorName() const override { return "Maker"; }
    std::string getProductName() const override { return "Product"; }
    std::string getVersionText() const override { return "1.2.0"; }
    std::string getFileFormatText() const override { return "0.7"; }
    std::string getLogFolder() const override { return ""; }
    std::string getBanner() const override { return ""; }
};

constexpr const char* Parameters =
    "<A class='ParameterValue' type='float' scope='module'/>"
    "<Not class='ParameterValue' type='float' scope='module' export='false'/>"
    "<Host class='ParameterValue' type='float' scope='module' realm='host'/>"
    "<All class='ParameterValue' type='float'/>";

// An instance of two modules.
class Instance : public ModuleDirectory, public PresetsLibrary {
public:
    explicit Instance(int presets = 3) : presets_(presets) {
        modules_[0].setSettings(&first);
        modules_[1].setSettings(&second);
        init(this);
    }
    int getModuleCount() const override { return 2; }
    Radio* getModule(int index) const override { return &modules_[index]; }
    std::string getModuleName(const Radio&) const override { return {}; }
    std::int32_t getProgramCount() const override { return presets_; }
    void setModified(bool isModified) override {
        PresetsLibrary::setModified(isModified);
        told.push_back(isModified);
    }
    void resourcesLoading(bool isBeginning) override { log += isBeginning ? "(" : ")"; }
    void readResources(const Dictionary& resources) override { log += resources.getName(); }

    void edit(float value, std::int32_t source = FromUser) {
        first.get("A").setFloat(value, source);
        ParameterMessage change(nullptr, ParameterMessage::ValueChanged, "A", 0, 0, value, source);
        EXPECT_TRUE(getCurrent()->getProgram(0)->receive(change));
    }
    std::vector<std::string> names() const {
        std::vector<std::string> all;
        for (int i = 0; getPreset(i) != nullptr; ++i)
            all.push_back(getPreset(i)->getName(7));
        return all;
    }

    Defined first{Parameters};
    Defined second{Parameters};
    std::vector<bool> told;
    std::string log;

private:
    int presets_;
    mutable Radio modules_[2]{Radio(nullptr), Radio(nullptr)};
};

float valueOf(const Settings& settings, const char* id = "A") {
    return settings.find(id, 0)->getFloat();
}

// Faults: edits that are lost when another preset is chosen, or taken along; marks that are wrong.
TEST(PresetsLibrary, EditsStayInThePresetThatIsLeft) {
    Instance instance;
    EXPECT_THAT(instance.names(), ElementsAre("", "init 2", "init 3"));
    EXPECT_EQ(instance.getProgramName(0) + instance.getProgramName(2), "init 1init 3");
    EXPECT_EQ(instance.getProgramName(3) + instance.getProgramName(-1), "");
    instance.second.get("A").setFloat(0.125f, FromUser);  // nobody marks that
    instance.selectProgram(1);
    EXPECT_EQ(valueOf(instance.second), 0.5f);
    instance.first.get("Host").setFloat(0.25f, FromUser);
    instance.first.get("All").setFloat(0.25f, FromUser);
    instance.edit(0.75f);
    EXPECT_THAT(instance.told, ElementsAre(true));
    instance.selectProgram(1);
    EXPECT_EQ(valueOf(instance.first), 0.75f);
    instance.selectProgram(7);
    instance.selectProgram(0);
    EXPECT_EQ(valueOf(instance.first), 0.5f);
    EXPECT_EQ(valueOf(instance.first, "Host"), 0.25f);  // not the plug-in's to set
    EXPECT_EQ(valueOf(instance.first, "All"), 0.25f);
    instance.edit(0.875f, FromLoad);
    EXPECT_FALSE(instance.getCurrent()->isModified());
    instance.selectProgram(1);
    EXPECT_EQ(valueOf(instance.first), 0.75f);
    EXPECT_THAT(instance.names(), ElementsAre("", "init 2*", "init 3"));
    EXPECT_EQ(instance.getCurrentIndex(), 1);
    EXPECT_EQ(instance.getCurrentName(), "init 2");

    instance.setModified(false);
    for (const char* const other : {"Not", "Host", "None"}) {
        ParameterMessage change(nullptr, 2000, other, 0, 0, 0.0f, FromUser);
        EXPECT_TRUE(instance.getCurrent()->getProgram(0)->receive(change));
    }
    SystemMessage system(nullptr, 0, 0);
    EXPECT_FALSE(instance.getCurrent()->getProgram(0)->receive(system));
    EXPECT_FALSE(instance.getCurrent()->isModified());
    EXPECT_EQ(instance.getPreset(0)->getProgram(2), nullptr);

    EXPECT_EQ(instance.selectFirstUsed(), 1);
    PresetsLibrary empty;
    EXPECT_EQ(empty.getCurrentName(), "");
    EXPECT_EQ(empty.getCurrentIndex() + empty.selectFirstUsed(), 0);
    empty.setCurrentName("x");
    Dictionary tree;
    empty.loadProgram(tree, 0);
    empty.writeCurrent(tree);
    empty.readAll(tree);
    EXPECT_EQ(empty.getProgramCount(), 0);
}

// Faults: names that are cut elsewhere, ids that two presets share.
TEST(PresetsLibrary, NamesAndIds) {
    Instance instance(50);
    instance.setCurrentName("Pads/Warm/Soft");
    EXPECT_EQ(instance.getCurrentName(), "Warm/Soft");
    Preset& preset = *instance.getCurrent();
    EXPECT_EQ(preset.getName(3), "Pads/Warm/Soft");
    EXPECT_EQ(preset.getName(1), "Pads");
    instance.edit(0.0f);
    EXPECT_EQ(preset.getName(7), "Pads/Warm/Soft*");
    EXPECT_EQ(preset.getName(4), "*");
    EXPECT_TRUE(instance.getBankNames().contains("Pads"));
    EXPECT_TRUE(instance.getPresetNames().contains("Pads/Warm/Soft"));
    instance.setCurrentName("Plain");
    EXPECT_EQ(preset.getName(3), "Plain");
    EXPECT_FALSE(instance.getBankNames().contains("Pads"));
    std::set<std::string> ids;
    for (int i = 0; i < 50; ++i) {
        ids.insert(instance.getPreset(i)->getId());
        EXPECT_THAT(instance.getPreset(i)->getId(),
                    testing::MatchesRegex("[0-9a-f]+-[0-9a-f]+-[0-9a-f]+-[0-9a-f]+-"
                                          "[0-9a-f]+-[0-9a-f]+-[0-9a-f]+-[0-9a-f]+"));
        EXPECT_EQ(instance.getPreset(i)->getId().size(), 39u);
    }
    EXPECT_EQ(ids.size(), 50u);
}

// Faults: a preset, a module or a favourite that a file loses; saving that changes what sounds.
TEST(PresetsLibrary, FilesComeBackAsTheyWere) {
    const Product product;
    const test::ScratchFolder folder;
    const File bank(folder.path("bank.xml")), one(folder.path("one.xml"));
    std::string message;
    Instance saved(5);
    for (int i = 0; i < 5; ++i) {
        saved.setProgram(i);
        saved.setCurrentName("Bank/" + std::to_string(i));
        saved.second.get("A").setFloat(0.125f * static_cast<float>(i), FromUser);
        saved.edit(0.25f * static_cast<float>(i));
    }
    saved.storeFavorite(0);
    saved.setFavorite(1, 2);
    saved.setFavorite(2, -1);
    saved.first.get("Not").setFloat(1.0f, FromUser);
    ASSERT_TRUE(saved.saveAll(bank, message)) << message;
    EXPECT_EQ(valueOf(saved.first, "Not"), 1.0f);

    Instance loaded(2);
    loaded.setFavorite(3, 1);
    ASSERT_TRUE(loaded.loadFile(bank, message)) << message;
    EXPECT_EQ(loaded.log, "()");
    EXPECT_THAT(loaded.names(), ElementsAre("Bank/0", "Bank/1", "Bank/2", "Bank/3", "Bank/4"));
    EXPECT_EQ(loaded.getPreset(4)->getId(), saved.getPreset(4)->getId());
    EXPECT_EQ(valueOf(loaded.first), 0.0f);
    for (const int i : {4, 1}) {
        loaded.setProgram(i);
        EXPECT_EQ(valueOf(loaded.first), 0.25f * static_cast<float>(i));
        EXPECT_EQ(valueOf(loaded.second), 0.125f * static_cast<float>(i));
    }
    EXPECT_EQ(loaded.getFavorite(0) * 100 + loaded.getFavorite(1) * 10 + loaded.getFavorite(3),
              421);
    EXPECT_EQ(loaded.getFavorite(2) + loaded.getFavorite(9), -2);
    EXPECT_EQ(loaded.getFavoriteSlot(2) * 10 + loaded.getFavoriteSlot(3), 9);
    loaded.recallFavorite(0);
    loaded.recallFavorite(2);
    loaded.recallFavorite(9);
    EXPECT_EQ(loaded.getCurrentIndex(), 4);

    // One preset, in place of the current one.
    saved.setProgram(3);
    ASSERT_TRUE(saved.saveCurrent(one, message)) << message;
    Dictionary tree(one);
    loaded.told.clear();
    loaded.loadProgram(tree, 1);
    EXPECT_EQ(valueOf(loaded.first), 1.0f);
    loaded.loadProgram(tree, 0);
    EXPECT_EQ(valueOf(loaded.first), 0.75f);
    EXPECT_THAT(loaded.names(), ElementsAre("Bank/0", "Bank/1", "Bank/2", "Bank/3", "Bank/3"));
    EXPECT_THAT(loaded.told, ElementsAre(true, true));
}

// Faults: files that do harm, or change something before they are refused.
TEST(PresetsLibrary, WhatFilesCantDo) {
    const Product product;
    const test::ScratchFolder folder;
    const File file(folder.path("presets.xml"));
    Instance instance;
    instance.edit(0.25f);
    std::string message;
    const auto loads = [&](const std::string& content, const std::string& creator = "Product",
                           const std::string& format = "0.7") {
        folder.write("presets.xml", "<dict><info creator='" + creator + "' version='1'/>" +
                                        "<file-format value='" + format + "'/>" + content +
                                        "</dict>");
        return instance.loadFile(file, message);
    };
    const std::string programs =
        "<programs><program name='X'><resources/><modules><module><parameters><A value='1'/>"
        "</parameters></module></modules></program><!-- x --><program/></programs>";
    EXPECT_FALSE(loads(programs, "Other"));
    EXPECT_THAT(message, HasSubstr("created by Other"));
    EXPECT_FALSE(loads(programs, "Product", "1.0"));
    EXPECT_FALSE(instance.loadFile(File(folder.path("none.xml")), message));
    EXPECT_THAT(message, HasSubstr("none.xml could not be read"));
    folder.write("presets.xml", "<dict><info");
    EXPECT_FALSE(instance.loadFile(file, message));
    EXPECT_TRUE(
        loads("<favorites><index clone='-1' value='1'/><index clone='999999999' value='1'/>"
              "<index clone='2'/></favorites>"));
    EXPECT_EQ(instance.getFavorite(-1) + instance.getFavorite(999999999) + instance.getFavorite(2),
              -3);
    EXPECT_EQ(valueOf(instance.first), 0.25f);
    EXPECT_THAT(instance.names(), ElementsAre("*", "init 2", "init 3"));

    EXPECT_TRUE(loads(programs));
    EXPECT_THAT(instance.log, HasSubstr("(resources)"));
    EXPECT_EQ(valueOf(instance.first), 1.0f);
    EXPECT_THAT(instance.names(), ElementsAre("X", "", "init 3"));
    instance.setProgram(1);  // of which the file had nothing
    EXPECT_EQ(valueOf(instance.first), 0.5f);

    std::string many = "<programs>";
    for (int i = 0; i < 5000; ++i)
        many += "<p/>";
    EXPECT_TRUE(loads(many + "</programs>"));
    EXPECT_NE(instance.getPreset(4095), nullptr);
    EXPECT_EQ(instance.getPreset(4096), nullptr);
    EXPECT_FALSE(instance.saveAll(File(folder.path("no/such/folder.xml")), message));
    EXPECT_THAT(message, HasSubstr("could not be written"));
}

}  // namespace
}  // namespace tarn
