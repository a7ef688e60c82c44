#include "link/IOBridge.h"
#include "platform/SharedMemory.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace tarn::platform {
namespace {

using std::filesystem::exists;

constexpr std::size_t Bytes = 131784;
constexpr char Name[] = "test of a strange object";

std::string objectOf(const std::string& name) {
    return "/tarn-" + std::to_string(::getuid()) + "-" + name;
}

std::string pathOf(const std::string& name) {
    return "/dev/shm" + objectOf(name);
}

bool isTaken(SharedMemory::Access access) {
    return static_cast<bool>(SharedMemory::open(Name, Bytes, access));
}

void expectRefused() {
    EXPECT_FALSE(isTaken(SharedMemory::Access::ReadOnly));
    EXPECT_FALSE(isTaken(SharedMemory::Access::ReadWrite));
    EXPECT_FALSE(SharedMemory::create(Name, Bytes));
}

// An object that another program has made, and holds.
class StrangeObject {
public:
    explicit StrangeObject(mode_t mode = 0600)
        : file_(::shm_open(objectOf(Name).c_str(), O_CREAT | O_EXCL | O_RDWR, mode)) {
        EXPECT_TRUE(::write(file_, "old", 3) == 3 && ::ftruncate(file_, Bytes) == 0);
        lock(LOCK_SH);
    }
    StrangeObject(const StrangeObject&) = delete;
    StrangeObject& operator=(const StrangeObject&) = delete;
    ~StrangeObject() {
        ::close(file_);
        ::shm_unlink(objectOf(Name).c_str());
    }

    void lock(int kind) { EXPECT_EQ(::flock(file_, kind | LOCK_NB), 0); }
    void setOwner(uid_t user) { EXPECT_EQ(::fchown(file_, user, static_cast<gid_t>(-1)), 0); }

private:
    int file_;
};

std::ptrdiff_t openFiles() {
    const std::filesystem::directory_iterator files("/proc/self/fd");
    return std::distance(begin(files), end(files));
}

bool isViewed(const std::string& name) {
    std::ifstream maps("/proc/self/maps");
    const std::string text{std::istreambuf_iterator<char>(maps), {}};
    return text.find(objectOf(name)) != std::string::npos;
}

// Fault, in every case: files, views and names that pile up in a host that looks for blocks all
// day.
class LinuxSharedMemory : public testing::Test {
protected:
    void SetUp() override { ::shm_unlink(objectOf(Name).c_str()); }
    void TearDown() override {
        EXPECT_EQ(openFiles(), openBefore_);
        EXPECT_FALSE(isViewed(Name));
        EXPECT_FALSE(exists(pathOf(Name)));
    }

private:
    const std::ptrdiff_t openBefore_ = openFiles();
};

// Fault: a host that hangs because some program keeps a lock for itself, or has put a pipe there.
TEST_F(LinuxSharedMemory, NobodyElseCanMakeACallWait) {
    {
        StrangeObject object;
        EXPECT_TRUE(isTaken(SharedMemory::Access::ReadWrite));
        object.lock(LOCK_EX);
        expectRefused();
        EXPECT_TRUE(exists(pathOf(Name)));
        object.lock(LOCK_UN);
        const auto fresh = SharedMemory::create(Name, Bytes);
        ASSERT_TRUE(fresh);
        EXPECT_EQ(*static_cast<char*>(fresh.data()), 0);
        object.lock(LOCK_SH);
        EXPECT_TRUE(SharedMemory::create(Name, Bytes));
    }
    ASSERT_EQ(::mkfifo(pathOf(Name).c_str(), 0600), 0);
    EXPECT_FALSE(isTaken(SharedMemory::Access::ReadOnly));
    EXPECT_TRUE(SharedMemory::create(Name, Bytes)) << "what nobody holds is swept";
}

// Fault: audio in the hands of another user, who has made the object first.
TEST_F(LinuxSharedMemory, AnotherUsersObjectIsRefusedAndLeftAlone) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can give a file away";
    StrangeObject object;
    object.setOwner(65534);
    expectRefused();
    object.lock(LOCK_UN);
    expectRefused();
    EXPECT_TRUE(exists(pathOf(Name)));
}

// Fault: two long names that lead to the same object, because both are cut.
TEST_F(LinuxSharedMemory, LongNamesAreRefused) {
    EXPECT_TRUE(SharedMemory::create(std::string(40, 'x'), Bytes));
    for (std::size_t length = 41; length < 100; ++length) {
        const std::string name(length, 'x');
        const auto block = SharedMemory::create(name, Bytes);
        EXPECT_TRUE(!block || exists(pathOf(name))) << length;
    }
    EXPECT_FALSE(SharedMemory::create(std::string(80, 'x'), Bytes));
}

TEST_F(LinuxSharedMemory, NothingStaysWhereMemoryIsShort) {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit little{4096, RLIM_INFINITY};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &little), 0);
    EXPECT_FALSE(SharedMemory::create(Name, Bytes));
}

TEST(LinuxSharedMemoryDeathTest, WhatCanOnlyBeReadOpensToBeRead) {
    const auto isReadAlone = [] {
        if (::geteuid() == 0 && ::seteuid(65534) != 0)  // root may write everything
            return false;
        const StrangeObject object(0400);
        return isTaken(SharedMemory::Access::ReadOnly) && !isTaken(SharedMemory::Access::ReadWrite);
    };
    EXPECT_EXIT(std::_Exit(isReadAlone() ? 0 : 1), testing::ExitedWithCode(0), "");
}

// Fault: a process that has probed leaves the blocks' names behind.
TEST(LinuxSharedMemoryDeathTest, NoProbedBlockOutlivesAnOrderlyExit) {
    constexpr std::uint32_t Slot = 31;
    const auto probeAndExit = [] {
        {
            const auto block =
                SharedMemory::create(connectionMappingName(Slot), ConnectionBlockSize);
            connectionStatus(Slot);
        }
        std::exit(exists(pathOf(connectionMappingName(Slot))) ? 0 : 1);
    };
    EXPECT_EXIT(probeAndExit(), testing::ExitedWithCode(0), "");
    EXPECT_FALSE(exists(pathOf(connectionMappingName(Slot))));
}

}  // namespace
}  // namespace tarn::platform
