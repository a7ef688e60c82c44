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

namespace tarn {
namespace {

using platform::KnownFolder;
using platform::MessageAnswer;
using platform::MessageKind;

TEST(System, FindsTheProductsFolders) {
    using namespace System;
    const LogFolder product;
    const auto below = [&](KnownFolder folder) {
        return Folder(platform::knownFolderPath(folder))
            .join(product.getVendorName() + "/" + product.getProductName())
            .getPath();
    };
    EXPECT_EQ(getFolderLocation(CommonData).getPath(), below(KnownFolder::CommonApplicationData));
    EXPECT_EQ(getFolderLocation(UserData).getPath(), below(KnownFolder::Documents));
    EXPECT_EQ(getFolderLocation(Install).getPath(), below(KnownFolder::ProgramFiles));

    const test::ScratchStore store;
    Preferences machine = store.open(platform::PreferencesRoot::LocalMachine);
    Preferences::setStores(&machine, nullptr);
    EXPECT_EQ(getFolderLocation(Install).getPath(), below(KnownFolder::ProgramFiles));
    const Folder install(store.path("Plug-ins Ω"));
    machine.setString("InstallPath", install.getPath());
    EXPECT_EQ(getFolderLocation(Install).getPath(), install.getPath());
    EXPECT_EQ(getFolderLocation(Resources).getPath(),
              install.join(product.getProductName() + " Resources").getPath());
    machine.setString("ResourcesDir", "Skins\\Dark");
    EXPECT_EQ(getFolderLocation(Resources).getPath(), install.join("Skins/Dark").getPath());
    Preferences::setStores(nullptr, nullptr);
}

TEST(System, MessagesBearTheProductsNameAndGiveTheUsersAnswer) {
    const LogFolder product;
    platform::MessageRequest asked;
    MessageAnswer answer = MessageAnswer::Ok;
    platform::setDialogAnswers({[&](const platform::MessageRequest& request) {
                                    asked = request;
                                    return answer;
                                },
                                {}});
    const struct {
        int (*show)(const std::string&, bool);
        MessageKind kind;
        MessageAnswer answer;
        int result;
    } questions[] = {{System::confirm, MessageKind::Confirm, MessageAnswer::Ok, 0},
                     {System::confirm, MessageKind::Confirm, MessageAnswer::Cancel, 1},
                     {System::ask, MessageKind::Ask, MessageAnswer::Yes, 0},
                     {System::ask, MessageKind::Ask, MessageAnswer::No, 1},
                     {System::ask, MessageKind::Ask, MessageAnswer::Cancel, 2}};
    for (const auto& question : questions) {
        answer = question.answer;
        EXPECT_EQ(question.show("Größe?", true), question.result);
        EXPECT_EQ(asked.kind, question.kind);
        EXPECT_EQ(asked.title + asked.text, product.getProductName() + "Größe?");
        EXPECT_TRUE(asked.parented);
    }
    System::inform("news", false);
    EXPECT_TRUE(asked.kind == MessageKind::Inform && !asked.parented);
    System::fatal("No skin.", false);
    EXPECT_EQ(asked.kind, MessageKind::Alert);
    EXPECT_EQ(asked.text, "No skin.\n\n" + product.getProductName() + " will exit.");
    platform::setDialogAnswers({});
}

// The fault it would catch: a fading tail of denormals that costs a hundred times the processor.
TEST(System, FlushesDenormalsOfTheCallingThread) {
    const unsigned before = _mm_getcsr();
    EXPECT_TRUE(System::init());
    EXPECT_EQ(_mm_getcsr() & 0x9FC0u, 0x9FC0u);  // and raises no exceptions
    volatile float smallest = std::numeric_limits<float>::min();
    EXPECT_EQ(smallest * 0.5f, 0.0f);
    _mm_setcsr(before);
}

TEST(System, TimeIsTheReplaceableClocks) {
    platform::setHighResolutionClock([]() noexcept { return 1234.5; });
    EXPECT_EQ(System::getTime(), 1234.5);
    platform::setHighResolutionClock(nullptr);
    const double first = System::getTime();
    EXPECT_NE(first, 1234.5);
    EXPECT_GE(System::getTime(), first);
}

TEST(CPUAssembly, TellsProcessorsOldAndNewFromTheirBits) {
    const struct {
        const char* vendor;
        std::uint32_t signature;
        const char* model;
    } cases[] = {
        {"GenuineIntel", 0x543, "INTEL Pentium MMX"},
        {"GenuineIntel", 0x906EA, "INTEL Core (Kaby/Coffee Lake)"},
        {"AuthenticAMD", 0xA20F12, "AMD Ryzen (Zen 3)"},
        {"CyrixInstead", 0x520, "CYRIX 6x86"},
        {"CentaurHauls", 0x693, "VIA C3"},
        {"GenuineIntel", 0xFF6F0, "unknown"},
        {"SomeoneElse!", 0x543, "unknown"},
    };
    CPUIDLeaves leaves;
    CPUAssembly processor;
    for (const auto& c : cases) {
        std::memcpy(&leaves.vendor.ebx, c.vendor, 4);
        std::memcpy(&leaves.vendor.edx, c.vendor + 4, 4);
        std::memcpy(&leaves.vendor.ecx, c.vendor + 8, 4);
        leaves.signature.eax = c.signature;
        processor.identify(leaves);
        EXPECT_STREQ(processor.getVendor(), c.vendor);
        EXPECT_STREQ(processor.getModel(), c.model) << std::hex << c.signature;
    }

    leaves.signature = {0x0A5B2FF7, 0, 0, 1u << 23 | 1u << 26};
    leaves.extendedFeatures.edx = 1u << 31;
    processor.identify(leaves);
    EXPECT_EQ(processor.getFamily(), 15);
    EXPECT_EQ(processor.getExtendedFamily(), 0xA50);
    EXPECT_EQ(processor.getModelNumber(), 15);
    EXPECT_EQ(processor.getExtendedModel(), 0xB);
    EXPECT_EQ(processor.getStepping(), 7);
    EXPECT_EQ(processor.getFeatures(), 0b1011u);
    leaves.signature = {0x0A5B26E7, 0, 0, 1u << 25};
    leaves.extendedFeatures = {};
    processor.identify(leaves);
    EXPECT_EQ(processor.getExtendedFamily() | processor.getExtendedModel(), 0);
    EXPECT_EQ(processor.getFeatures(), 0b0100u);

    processor.identify();  // the one that runs this
    EXPECT_TRUE(processor.hasMMX() && processor.hasSSE() && processor.hasSSE2());
    const unsigned long speed = std::stoul(processor.getSpeedMHz());
    EXPECT_TRUE(speed > 200 && speed < 20'000) << speed;
    EXPECT_THAT(System::getProcessorDescription(),
                testing::AllOf(testing::StartsWith(processor.getModel()), testing::HasSubstr(" @ "),
                               testing::EndsWith("MHz")));
    EXPECT_GE(System::getProcessorCount(), 1);
}

}  // namespace
}  // namespace tarn
