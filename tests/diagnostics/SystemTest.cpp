#include "diagnostics/System.h"
#include "foundation/File.h"
#include "foundation/LogFolder.h"
#include "platform/Dialogs.h"
#include "platform/DynamicLibrary.h"
#include "support/ScratchStore.h"

#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <filesystem>
#include <limits>

using namespace tarn;
using platform::MessageAnswer;
using platform::MessageKind;

TEST(System, FindsTheProductsFolders) {
    using enum platform::KnownFolder;
    const LogFolder product;
    for (const auto& [folder, above] : {std::pair(System::CommonData, CommonApplicationData),
                                        {System::UserData, Documents},
                                        {System::Install, ProgramFiles}})
        EXPECT_TRUE(System::getFolderLocation(folder).equals(
            Folder(platform::knownFolderPath(above)).join("Maker/Wellengang ä")));

    const test::ScratchStore store;
    Preferences machine = store.open(platform::PreferencesRoot::LocalMachine);
    Preferences::setStores(&machine, nullptr);
    const Folder beside = File(platform::ownLibrary().path).getFolder().join("Wellengang ä");
    ASSERT_TRUE(Folder(beside).create());
    EXPECT_TRUE(System::getFolderLocation(System::Install).equals(beside));
    machine.setString("InstallPath", store.path());
    EXPECT_EQ(System::getFolderLocation(System::Install).getPath(), store.path());
    std::filesystem::remove(std::filesystem::u8path(beside.getPath()));
    machine.setString("InstallPath", store.path("Ω"));
    const auto resources = [] { return System::getFolderLocation(System::Resources).getPath(); };
    EXPECT_EQ(resources(), store.path("Ω/Wellengang ä Resources"));
    machine.setString("ResourcesDir", "Skins\\Dark");
    EXPECT_EQ(resources(), store.path("Ω/Skins/Dark"));
    Preferences::setStores(nullptr, nullptr);
}

TEST(System, MessagesBearTheProductsNameAndGiveTheUsersAnswer) {
    const LogFolder product;
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
    System::fatal("No skin.", true);
    EXPECT_TRUE(asked.kind == MessageKind::Alert && asked.parented);
    EXPECT_EQ(asked.title, "Das Wellengang");
}

// Fault: a fading tail of denormals that costs a hundred times the processor.
TEST(System, SetsTheCallingThreadsFloatingPointUp) {
    const unsigned before = _mm_getcsr();
    _mm_setcsr(0x1F80);  // as the system leaves it
    EXPECT_TRUE(System::init());
    EXPECT_EQ(_mm_getcsr(), 0x9FE0u);
    volatile float smallest = std::numeric_limits<float>::min();
    EXPECT_EQ(smallest * 0.5f, 0.0f);
    _mm_setcsr(before);
}
