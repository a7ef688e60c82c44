#include "diagnostics/CPUAssembly.h"
#include "diagnostics/System.h"
#include "foundation/File.h"
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
    const LogFolder product;
    const auto below = [&](platform::KnownFolder folder) {
        return Folder(platform::knownFolderPath(folder))
            .join(product.getVendorName() + "/" + product.getProductName());
    };
    const auto isAt = [](System::SpecialFolder folder, const Folder& place) {
        return System::getFolderLocation(folder).equals(place);
    };
    EXPECT_TRUE(isAt(System::CommonData, below(CommonApplicationData)));
    EXPECT_TRUE(isAt(System::UserData, below(Documents)));
    EXPECT_TRUE(isAt(System::Install, below(ProgramFiles)));

    const test::ScratchStore store;
    Preferences machine = store.open(platform::PreferencesRoot::LocalMachine);
    Preferences::setStores(&machine, nullptr);
    EXPECT_TRUE(isAt(System::Install, below(ProgramFiles)));
    const Folder install(store.path("Plug-ins Ω"));
    machine.setString("InstallPath", install.getPath());
    EXPECT_TRUE(isAt(System::Install, install));
    EXPECT_TRUE(isAt(System::Resources, install.join(product.getProductName() + " Resources")));
    machine.setString("ResourcesDir", "Skins\\Dark");
    EXPECT_TRUE(isAt(System::Resources, install.join("Skins/Dark")));
    Preferences::setStores(nullptr, nullptr);
}

TEST(System, MessagesBearTheProductsNameAndGiveTheUsersAnswer) {
    const LogFolder product;
    platform::MessageRequest asked;
    MessageAnswer answer{};
    platform::setDialogAnswers({[&](const platform::MessageRequest& request) {
                                    asked = request;
                                    return answer;
                                },
                                {}});
    for (auto [choice, result] : {std::pair(MessageAnswer::Ok, 0), {MessageAnswer::Cancel, 1}}) {
        answer = choice;
        EXPECT_EQ(System::confirm("?", true), result);
        EXPECT_TRUE(asked.kind == MessageKind::Confirm && asked.parented);
    }
    for (auto [choice, result] :
         {std::pair(MessageAnswer::Yes, 0), {MessageAnswer::No, 1}, {MessageAnswer::Cancel, 2}}) {
        answer = choice;
        EXPECT_EQ(System::ask("Größe?", true), result);
        EXPECT_EQ(asked.kind, MessageKind::Ask);
        EXPECT_EQ(asked.title + asked.text, product.getProductName() + "Größe?");
    }
    System::inform("news", false);
    EXPECT_TRUE(asked.kind == MessageKind::Inform && !asked.parented);
    System::fatal("No skin.", false);
    EXPECT_EQ(asked.kind, MessageKind::Alert);
    EXPECT_EQ(asked.text, "No skin.\n\n" + product.getProductName() + " will exit.");
    platform::setDialogAnswers({});
}

// Fault: a fading tail of denormals that costs a hundred times the processor.
TEST(System, FlushesDenormalsOfTheCallingThread) {
    const unsigned before = _mm_getcsr();
    EXPECT_TRUE(System::init());
    EXPECT_EQ(_mm_getcsr() & 0x9FC0u, 0x9FC0u);  // and raises no exceptions
    volatile float smallest = std::numeric_limits<float>::min();
    EXPECT_EQ(smallest * 0.5f, 0.0f);
    _mm_setcsr(before);
}

TEST(CPUAssembly, TellsProcessorsOldAndNewFromTheirBits) {
    const std::tuple<const char*, std::uint32_t, const char*, int, int> cases[] = {
        {"GenuineIntel", 0x543, "INTEL Pentium MMX", 0, 0},
        {"GenuineIntel", 0x906EA, "INTEL Core (Kaby/Coffee Lake)", 0, 0},
        {"AuthenticAMD", 0xA20F12, "AMD Ryzen (Zen 3)", 0xA0, 0},
        {"GenuineIntel", 0x0A5B2FF7, "unknown", 0xA50, 0xB},
        {"SomeoneElse!", 0x543, "unknown", 0, 0}};
    CPUIDLeaves leaves;
    CPUAssembly processor;
    for (const auto& [vendor, signature, model, extendedFamily, extendedModel] : cases) {
        std::memcpy(&leaves.vendor.ebx, vendor, 4);
        std::memcpy(&leaves.vendor.edx, vendor + 4, 4);
        std::memcpy(&leaves.vendor.ecx, vendor + 8, 4);
        leaves.signature.eax = signature;
        processor.identify(leaves);
        EXPECT_STREQ(processor.getVendor(), vendor);
        EXPECT_STREQ(processor.getModel(), model);
        EXPECT_EQ(processor.getExtendedFamily(), extendedFamily) << model;
        EXPECT_EQ(processor.getExtendedModel(), extendedModel) << model;
    }
    leaves.signature = {0xFE7, 0, 0, 1u << 23 | 1u << 26};
    leaves.extendedFeatures.edx = 1u << 31;
    processor.identify(leaves);
    EXPECT_TRUE(processor.getFamily() == 15 && processor.getModelNumber() == 14);
    EXPECT_TRUE(processor.getStepping() == 7 && processor.getFeatures() == 0b1011);

    processor.identify();  // the one that runs this
    EXPECT_TRUE(processor.hasMMX() && processor.hasSSE() && processor.hasSSE2());
    const unsigned long speed = std::stoul(processor.getSpeedMHz());
    EXPECT_TRUE(speed > 200 && speed < 20'000) << speed;
    EXPECT_THAT(System::getProcessorDescription(),
                AllOf(StartsWith(processor.getModel() + " @ "s), EndsWith("MHz")));
    EXPECT_GE(System::getProcessorCount(), 1);
}
