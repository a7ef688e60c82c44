#include "platform/SharedMemory.h"
#include "support/OpenHandles.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace tarn::platform {
namespace {

using std::filesystem::exists;

constexpr std::size_t Bytes = 131784;
constexpr char Name[] = "test of a strange object";

std::string pathOf(const std::string& name) {
    return "/dev/shm/tarn-" + std::to_string(::getuid()) + "-" + name;
}

void expectRefused() {
    for (const auto access : {SharedMemory::Access::ReadOnly, SharedMemory::Access::ReadWrite})
        EXPECT_FALSE(SharedMemory::open(Name, Bytes, access));
    EXPECT_FALSE(SharedMemory::create(Name, Bytes));
}

// The file of an object that another program has made, and holds.
int makeStrangeObject() {
    const int file = ::open(pathOf(Name).c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, 0600);
    EXPECT_TRUE(::write(file, "old", 3) == 3 && ::ftruncate(file, Bytes) == 0);
    EXPECT_EQ(::flock(file, LOCK_SH), 0);
    return file;
}

// Fault, in every case: files, views and names that pile up in a host that looks for blocks all
// day.
class LinuxSharedMemory : public testing::Test {
protected:
    void SetUp() override { ::unlink(pathOf(Name).c_str()); }
    void TearDown() override {
        EXPECT_EQ(test::openHandles(), openBefore_);
        std::ifstream maps("/proc/self/maps");
        const std::string text{std::istreambuf_iterator<char>(maps), {}};
        EXPECT_EQ(text.find(pathOf(Name)), std::string::npos);
        EXPECT_FALSE(exists(pathOf(Name)));
    }

private:
    const int openBefore_ = test::openHandles();
};

// Fault: a host that hangs because some program keeps a lock for itself, or has put a pipe there.
TEST_F(LinuxSharedMemory, NobodyElseCanMakeACallWait) {
    const int object = makeStrangeObject();
    EXPECT_TRUE(SharedMemory::open(Name, Bytes));
    ::flock(object, LOCK_EX);
    expectRefused();
    EXPECT_TRUE(exists(pathOf(Name)));
    ::flock(object, LOCK_UN);
    {
        const auto fresh = SharedMemory::create(Name, Bytes);
        ASSERT_TRUE(fresh);
        EXPECT_EQ(*static_cast<char*>(fresh.data()), 0);
        ::flock(object, LOCK_SH);
        EXPECT_TRUE(SharedMemory::create(Name, Bytes));
        ::close(object);
    }
    ASSERT_EQ(::mkfifo(pathOf(Name).c_str(), 0600), 0);
    EXPECT_FALSE(SharedMemory::open(Name, Bytes, SharedMemory::Access::ReadOnly));
    EXPECT_TRUE(SharedMemory::create(Name, Bytes)) << "what nobody holds is swept";
}

// Fault: audio in the hands of another user, who has made the object first.
TEST_F(LinuxSharedMemory, AnotherUsersObjectIsRefusedAndLeftAlone) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can give a file away";
    const int object = makeStrangeObject();
    EXPECT_EQ(::fchown(object, 65534, static_cast<gid_t>(-1)), 0);
    expectRefused();
    ::flock(object, LOCK_UN);
    expectRefused();
    ::close(object);
    EXPECT_EQ(::unlink(pathOf(Name).c_str()), 0);
}

TEST_F(LinuxSharedMemory, NothingStaysWhereMemoryIsShort) {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit little{4096, RLIM_INFINITY};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &little), 0);
    EXPECT_FALSE(SharedMemory::create(Name, Bytes));
}

}  // namespace
}  // namespace tarn::platform
