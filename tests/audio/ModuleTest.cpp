#include "audio/Engine.h"
#include "audio/EngineFactory.h"
#include "audio/IOPinConfig.h"
#include "audio/Module.h"
#include "parameters/Definition.h"
#include "parameters/PresetsLibrary.h"

namespace tarn {
namespace {

std::string story;

struct Logging : Engine {
    explicit Logging(Radio* module) : Engine(module) { tuneInByName("P"); }
    ~Logging() override { story += settingsOf(*this)->find("P", 0)->getId() + " ends,"; }
    void start() override { story += "start,"; }
    void onReset() override { story += "reset,"; }
    int getLatency() const override { return 7; }
    void process(const IOPinConfig&, IOPinConfig&, int frames) noexcept override {
        story += std::to_string(frames) + ",";
    }
    bool receive(Message& message) override {
        story += "P " + std::to_string(static_cast<ParameterMessage&>(message).value) + ",";
        return true;
    }
};

struct Factory : EngineFactory {
    std::unique_ptr<Engine> createEngine(Module* module) const override {
        const bool isStarted = module->settings().find("P", 0)->getParent() == module;
        story += isStarted && module->getEngine() == nullptr ? "make," : "make too early,";
        return hasEngine ? std::make_unique<Logging>(module) : nullptr;
    }
    bool hasEngine = true;
};

struct Instance : Modules, PresetsLibrary {};

// Faults: an engine that finds no settings, or other ones, in its whole life; one that is called
// before it is there or while it mustn't be; parameters shared with the settings copied from.
TEST(Module, AnEngineLivesWithinTheModulesSettings) {
    Radio other(nullptr);
    const Defined prototype("<P class='ParameterValue' type='float' scope='module'/>", &other);
    Instance instance;
    Factory factory;
    IOPinConfig in, out;
    for (const bool hasEngine : {true, false}) {
        factory.hasEngine = hasEngine;
        story.clear();
        auto module = std::make_unique<Module>(&instance, prototype, factory);
        const auto use = [&] {
            module->process(in, out, 8);
            module->setEnabled(false);
            module->process(in, out, 9);
            module->setEnabled(true);
            module->resetEngine();
            EXPECT_EQ(module->getLatency(), module->getEngine() != nullptr ? 7 : 0);
        };
        use();
        module->start();
        use();
        EXPECT_EQ(module->getTempBuffers().size(), 32u);
        EXPECT_EQ(module->getTempBuffers().back()->getSize(), 16384);
        EXPECT_EQ(settingsOf(*module), &module->settings());
        module->settings().find("P", 0)->setFloat(0.25f, FromUser);
        EXPECT_EQ(prototype.get().getFloat(), 0.5f);
        module->loadDefaults();
        EXPECT_EQ(module->settings().find("P", 0)->getFloat(), 0.5f);
        module.reset();
        EXPECT_EQ(story, hasEngine ? "make,P 0.500000,start,8,reset,P 0.250000,P 0.500000,P ends,"
                                   : "make,");
    }
}

// Faults: another module's program, an instance that has no presets, or none yet.
TEST(Module, AsksTheInstanceForItsProgram) {
    const Defined settings("");
    Instance instance;
    Module module(&instance, settings, Factory()), alone(nullptr, settings, Factory());
    EXPECT_EQ(module.getPlugin(), static_cast<Radio*>(&instance));
    module.setIndex(1);
    for (const Module* const without : {&module, &alone}) {
        EXPECT_EQ(without->getCurrentProgram(), nullptr);
        EXPECT_EQ(without->getCurrentProgramName(), "");
    }
    instance.init(&instance);
    instance.setCurrentName("Bank/Soft");
    EXPECT_EQ(module.getCurrentProgram(), instance.getCurrent()->getProgram(1));
    EXPECT_EQ(module.getCurrentProgramName(), "Soft");
}

}  // namespace
}  // namespace tarn
