// Programs, presets and their library.
#include "parameters/Definition.h"
#include "parameters/PresetsLibrary.h"

namespace tarn {
namespace {

using testing::HasSubstr;

constexpr const char* Parameters =
    "<A class='ParameterValue' type='float' scope='module'/>"
    "<Not class='ParameterValue' type='float' scope='module' export='false'/>"
    "<Host class='ParameterValue' type='float' scope='module' realm='host'/>"
    "<All class='ParameterValue' type='float'/>";

class Instance : public Modules, public PresetsLibrary {
public:
    explicit Instance(int presets = 3) : presets_(presets) {
        getModule(0)->setSettings(&first);
        getModule(1)->setSettings(&second);
        init(this);
    }
    std::int32_t getProgramCount() const override { return presets_; }
    void setModified(bool isModified) override {
        PresetsLibrary::setModified(isModified);
        log += isModified ? "*" : "-";
    }
    void resourcesLoading(bool isBeginning) override { log += isBeginning ? "(" : ")"; }
    void readResources(const Dictionary& resources) override { log += resources.getName(); }

    // A change, as the current program hears of it.
    void edit(float value, std::int32_t source = FromUser, const char* id = "A") {
        if (Parameter* const parameter = first.find(id, 0))
            parameter->setFloat(value, source);
        ParameterMessage change(nullptr, ParameterMessage::ValueChanged, id, 0, 0, value, source);
        EXPECT_TRUE(getCurrent()->getProgram(0)->receive(change));
    }

    std::string names() const {
        std::string all;
        for (int i = 0; getPreset(i) != nullptr; ++i)
            all += getPreset(i)->getName(7) + ",";
        return all;
    }
    void expectAt(int program, float a, float b) {
        selectProgram(program);
        expectValues(a, b);
    }
    // Of "A" in both modules.
    void expectValues(float a, float b) const {
        EXPECT_EQ(first.get("A").getFloat(), a);
        EXPECT_EQ(second.get("A").getFloat(), b);
    }

    Defined first{Parameters}, second{Parameters};
    std::string log;

private:
    int presets_;
};

// Faults: edits that are lost when another preset is chosen, or taken along; marks that are wrong.
TEST(PresetsLibrary, EditsStayInThePresetThatIsLeft) {
    Instance instance;
    EXPECT_EQ(instance.names(), ",init 2,init 3,");
    EXPECT_EQ(instance.getProgramName(3) + instance.getProgramName(-1), "");
    instance.second.get("A").setFloat(0.125f, FromUser);  // nobody marks that
    instance.expectAt(1, 0.5f, 0.5f);
    for (const char* const kept : {"Host", "All", "Not"})
        instance.first.get(kept).setFloat(0.25f, FromUser);
    instance.edit(0.75f);
    instance.selectProgram(1);
    instance.expectAt(7, 0.75f, 0.5f);
    instance.expectAt(0, 0.5f, 0.5f);
    for (const char* const kept : {"Host", "All", "Not"})
        take(instance.first.get(kept), "= 0.25");
    instance.edit(0.875f, FromLoad);
    for (const char* const other : {"Not", "Host", "None"})
        instance.edit(0.0f, FromUser, other);
    instance.expectAt(1, 0.75f, 0.5f);
    EXPECT_EQ(instance.names(), ",init 2*,init 3,");
    EXPECT_EQ(instance.getCurrentName() + instance.log, "init 2*");
    EXPECT_EQ(instance.getCurrentIndex(), 1);

    instance.setCurrentName("Pads/Warm/Soft");
    const Preset& preset = *instance.getCurrent();
    EXPECT_EQ(preset.getName(1) + preset.getName(2) + preset.getName(4), "PadsWarm/Soft*");
}

// Faults: edits that can't be undone once the host has saved its project or the preset was left, or
// that stay where they were taken from; an undo of what was kept on purpose.
TEST(PresetsLibrary, RevertingDropsEditsAlsoOnceTheyAreWritten) {
    Instance instance;
    Dictionary state;
    const auto write = [&] { instance.writeAll(state); };
    const auto leave = [&] {
        instance.selectProgram(1);
        instance.selectProgram(0);
    };
    for (const auto& meanwhile : {std::function<void()>(write), {leave}, {[] {}}}) {
        for (const float value : {0.75f, 0.25f}) {
            instance.edit(value);
            meanwhile();
        }
        instance.revertCurrent();
        instance.expectValues(0.5f, 0.5f);
        EXPECT_EQ(instance.names(), ",init 2,init 3,");
    }
    instance.edit(0.75f);
    write();
    ASSERT_TRUE(instance.addPreset("New"));
    leave();
    instance.expectValues(0.5f, 0.5f);
    instance.edit(0.25f);
    write();
    ASSERT_TRUE(instance.storeCurrent());
    instance.revertCurrent();
    instance.expectValues(0.25f, 0.5f);
    instance.expectAt(3, 0.75f, 0.5f);
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
    saved.setFavorite(3, 0);  // behind an empty slot
    saved.edit(1.0f, FromUser, "Not");
    ASSERT_TRUE(saved.saveAll(bank, message)) << message;
    take(saved.first.get("Not"), "= 1");
    saved.expectValues(1.0f, 0.5f);

    Instance loaded(2);
    loaded.setFavorite(4, 1);
    ASSERT_TRUE(loaded.loadFile(bank, message)) << message;
    EXPECT_EQ(loaded.log + loaded.names(), "()Bank/0,Bank/1,Bank/2,Bank/3,Bank/4,");
    EXPECT_EQ(loaded.getPreset(4)->getId(), saved.getPreset(4)->getId());
    loaded.expectValues(0.0f, 0.0f);
    loaded.setProgram(1);
    loaded.expectValues(0.25f, 0.125f);
    for (const auto& [slot, index] : {std::pair{0, 4}, {1, 2}, {2, -1}, {3, 0}, {4, 1}})
        EXPECT_EQ(loaded.getFavorite(slot), index) << slot;
    for (const int slot : {0, 2, 9})
        loaded.recallFavorite(slot);
    loaded.expectValues(1.0f, 0.5f);

    // One preset, in place of the current one.
    saved.setProgram(3);
    ASSERT_TRUE(saved.saveCurrent(one, message)) << message;
    loaded.loadProgram(Dictionary(one), 1);
    loaded.expectValues(1.0f, 0.5f);
    loaded.loadProgram(Dictionary(one), 0);
    loaded.expectValues(0.75f, 0.375f);
    EXPECT_EQ(loaded.log + loaded.names(), "()()*()*Bank/0,Bank/1,Bank/2,Bank/3,Bank/3,");
}

// Faults: files that do harm, or change something before they are refused.
TEST(PresetsLibrary, WhatFilesCantDo) {
    const Product product;
    const test::ScratchFolder folder;
    Instance instance;
    instance.edit(0.25f);
    std::string message;
    const auto loads = [&](const std::string& content, const std::string& creator = "Product",
                           const std::string& format = "0.7") {
        folder.write("presets.xml", "<dict><info creator='" + creator + "' version='1'/>" +
                                        "<file-format value='" + format + "'/>" + content);
        return instance.loadFile(File(folder.path("presets.xml")), message);
    };
    const std::string programs =
        "<programs><program name='X'><resources/><modules><module><parameters><A value='1'/>"
        "</parameters></module></modules></program><!-- x --><program/></programs></dict>";
    EXPECT_FALSE(loads(programs, "Other"));
    EXPECT_THAT(message, HasSubstr("created by Other"));
    EXPECT_FALSE(loads(programs, "Product", "1.0") || loads("<programs>"));
    EXPECT_THAT(message, HasSubstr("presets.xml could not be read"));
    EXPECT_TRUE(
        loads("<favorites><index clone='-1' value='1'/><index clone='999999999' value='1'/>"
              "<index clone='2'/></favorites></dict>"));
    for (const std::int32_t slot : {-1, 999999999, 2})
        EXPECT_EQ(instance.getFavorite(slot), -1);
    instance.expectValues(0.25f, 0.5f);
    EXPECT_EQ(instance.names(), "*,init 2,init 3,");

    instance.log.clear();
    EXPECT_TRUE(loads(programs));
    EXPECT_EQ(instance.log + instance.names(), "(resources)X,,init 3,");
    instance.expectValues(1.0f, 0.5f);
    instance.expectAt(1, 0.5f, 0.5f);  // of which the file had nothing: the defaults

    // The form of old files.
    EXPECT_TRUE(
        loads("<string name='file-format' value='0.5'/><array name='programs'><dict>"
              "<string name='name' value='Old'/><array name='modules'><dict>"
              "<!-- x --><dict name='parameters'><dict name='A'><float name='value' value='0.75'/>"
              "</dict></dict></dict></array></dict></array></dict>",
              "Product", "0.5"));
    instance.expectAt(0, 0.75f, 0.5f);
    EXPECT_EQ(instance.getProgramName(0), "Old");

    std::string many = "<programs>";
    for (int i = 0; i < 5000; ++i)
        many += "<p/>";
    EXPECT_TRUE(loads(many + "</programs></dict>"));
    EXPECT_NE(instance.getPreset(4095), nullptr);
    EXPECT_EQ(instance.getPreset(4096), nullptr);
}

}  // namespace
}  // namespace tarn
