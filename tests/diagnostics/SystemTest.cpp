#include "diagnostics/CPUAssembly.h"
#include "diagnostics/System.h"
#include "foundation/LogFolder.h"
#include "platform/Dialogs.h"
#include "support/ScratchStore.h"

#include <gmock/gmock.h>
#include <xmmintrin.h>

#include <cstring>
#include <limits>

using namespace tarn;
using namespace std::string_literals;
using namespace testing;
using platform::MessageAnswer;
using platform::MessageKind;

TEST(System, FindsTheProductsFolders) {
    using enum platform::KnownFolder;
    LogFolder product;
    product.open(LogProgress);
    for (const auto& [folder, above] : {std::pair(System::CommonData, CommonApplicationData),
                                        {System::UserData, Documents},
                                        {System::Install, ProgramFiles}})
        EXPECT_TRUE(System::getFolderLocation(folder).equals(
            Folder(platform::knownFolderPath(above)).join("Maker/Wellengang ä")));

    const test::ScratchStore store;
    Preferences machine = store.open(platform::PreferencesRoot::LocalMachine);
    Preferences::setStores(&machine, nullptr);
    machine.setString("InstallPath", store.path("Ω"));
    const auto resources = [] { return System::getFolderLocation(System::Resources).getPath(); };
    EXPECT_EQ(resources(), store.path("Ω/Wellengang ä Resources"));
    machine.setString("ResourcesDir", "Skins\\Dark");
    EXPECT_EQ(resources(), store.path("Ω/Skins/Dark"));
    EXPECT_THAT(product.lines(), ElementsAre(HasSubstr("'InstallPath' not found")));
    Preferences::setStores(nullptr, nullptr);
}

TEST(System, MessagesBearTheProductsNameAndGiveTheUsersAnswer) {
    LogFolder product;
    product.open(LogProgress);
    platform::MessageRequest asked;
    MessageAnswer answer{};
    platform::setDialogAnswers({[&](const auto& request) { return asked = request, answer; }, {}});
    const std::tuple<MessageAnswer, int, int> choices[] = {
        {MessageAnswer::Ok, 0, 2}, {MessageAnswer::Yes, 1, 0}, {MessageAnswer::No, 1, 1}};
    for (const auto& [choice, confirmed, answered] : choices) {
        answer = choice;
        EXPECT_EQ(System::confirm("?", true), confirmed);
        EXPECT_TRUE(asked.kind == MessageKind::Confirm && asked.parented);
        EXPECT_EQ(System::ask("Größe?", false), answered);
        EXPECT_TRUE(asked.kind == MessageKind::Ask && !asked.parented);
    }
    System::inform("news", false);
    EXPECT_EQ(asked.kind, MessageKind::Inform);
    System::fatal("No skin.", true);
    EXPECT_TRUE(asked.kind == MessageKind::Alert && asked.parented);
    EXPECT_EQ(asked.title + ": " + asked.text,
              "Das Wellengang: No skin.\n\nDas Wellengang will exit.");
    System::deleteFailed(reinterpret_cast<void*>(0xBEEF));
    EXPECT_THAT(product.lines(), ElementsAre("No skin.", "failed to delete object 0xbeef"));
}

// Fault: a fading tail of denormals that costs a hundred times the processor.
TEST(System, SetsTheHeapAndTheCallingThreadsFloatingPointUp) {
    LogFolder product;
    product.open(LogProgress);
    const unsigned before = _mm_getcsr();
    _mm_setcsr(0x1F80);  // as the system leaves it
    EXPECT_TRUE(System::init());
    EXPECT_EQ(_mm_getcsr(), 0x9FE0u);
    volatile float smallest = std::numeric_limits<float>::min();
    EXPECT_EQ(smallest * 0.5f, 0.0f);
    EXPECT_THAT(product.lines(),
                ElementsAre(AnyOf("Low-fragmentation heap: ", "Low-fragmentation heap: enabled"),
                            "SSE2 exceptions: disabled", "SSE2 flush to zero: enabled",
                            "SSE2 denormals are zero: enabled"));
    _mm_setcsr(before);
}

TEST(System, MapsVersionsAndCursorsFromTheirNumbers) {
    const std::tuple<unsigned, unsigned, int> versions[] = {{4, 2, 0}, {5, 0, 1}, {5, 1, 2},
                                                            {5, 2, 3}, {6, 2, 4}, {10, 0, 2}};
    for (const auto& [major, minor, level] : versions)
        EXPECT_EQ(System::getOSLevel(platform::WindowsVersion{major, minor}), level) << major;
    EXPECT_EQ(System::getOSLevel(std::nullopt), 2);
    using enum platform::CursorShape;
    int kind = 0;
    for (const auto shape : {Arrow, Move, LeftRight, UpDown, LeftRight, LeftRight, UpDown, UpDown,
                             Arrow, Hand, Wait, Arrow})
        EXPECT_EQ(System::getCursorShape(kind++), shape) << kind;
}

TEST(CPUAssembly, TellsProcessorsOldAndNewFromTheirBits) {
    const std::tuple<std::string, std::uint32_t, std::string, int, int> cases[] = {
        {"GenuineIntel", 0x906EA, "INTEL Core (Kaby/Coffee Lake)", 0, 0},
        {"AuthenticAMD", 0xA20F12, "AMD Ryzen (Zen 3)", 0xA0, 0},
        {"GenuineIntel", 0x1A5B2FF7, "unknown", 0xA50, 0xB},
        {"SomeoneElse!", 0x906EA, "unknown", 0, 0}};
    CPUIDLeaves leaves;
    CPUAssembly processor;
    for (const auto& [vendor, signature, model, extendedFamily, extendedModel] : cases) {
        std::memcpy(&leaves.vendor.ebx, vendor.data(), 4);
        std::memcpy(&leaves.vendor.edx, vendor.data() + 4, 4);
        std::memcpy(&leaves.vendor.ecx, vendor.data() + 8, 4);
        leaves.signature = {signature, 0, 0, 1u << 23 | 1u << 26};
        processor.identify(leaves);
        EXPECT_EQ(processor.getVendor() + ": "s + processor.getModel(), vendor + ": " + model);
        EXPECT_EQ(processor.getExtendedFamily(), extendedFamily) << model;
        EXPECT_EQ(processor.getExtendedModel(), extendedModel) << model;
        EXPECT_EQ(processor.getFeatures(), 0b1001) << model;
    }
    EXPECT_FALSE(processor.hasSSE() || processor.has3DNow());

    processor.identify();  // the one that runs this
    EXPECT_TRUE(processor.hasMMX() && processor.hasSSE() && processor.hasSSE2());
    const unsigned long speed = std::stoul(processor.getSpeedMHz());
    EXPECT_TRUE(speed > 200 && speed < 20'000) << speed;
    EXPECT_THAT(System::getProcessorDescription(),
                AllOf(StartsWith(processor.getModel() + " @ "s), EndsWith("MHz")));
}
