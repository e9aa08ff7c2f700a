// SPDX-License-Identifier: MIT
#include "base/WriteFile.h"

#include "OwnProcess.h"
#include "TemporaryDirectory.h"
#include "base/ReadFile.h"

#include <atomic>
#include <future>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <sys/stat.h>

using velbase2::system::FileDescriptor;
using velbase2::system::writeFile;

static const std::string kLong = "DNS=100.100.100.100\n";
static const std::string kShort = "DNS=1.1.1.1\n";

struct WriteFile : testing::Test
{
    static std::string textOf(const std::string& path)
    {
        std::string text;
        EXPECT_FALSE(velbase2::system::readFile(path, text));
        return text;
    }
    static unsigned modeOf(const std::string& path)
    {
        struct stat status = {};
        EXPECT_EQ(::stat(path.c_str(), &status), 0);
        return status.st_mode & 07777U;
    }
    /// The text that a reader gets who takes the lock as well.
    std::string textInTurn() const
    {
        const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
        EXPECT_EQ(::flock(file.get(), LOCK_SH), 0);
        auto text = textOf(path);
        ::flock(file.get(), LOCK_UN); // a child forked meanwhile keeps the file open
        return text;
    }
    void writeManyTimes(const std::string& text) const
    {
        for (int round = 0; round < 300; ++round) {
            EXPECT_FALSE(writeFile(path, text));
            EXPECT_THAT(textInTurn(), testing::AnyOf(kLong, kShort));
        }
    }

    TemporaryDirectory directory;
    const std::string path = directory.file("x");
};

TEST_F(WriteFile, ReplacesTheContentAndKeepsTheMode)
{
    const auto umaskOfTheHost = ::umask(0077);
    EXPECT_FALSE(writeFile(path, kLong));
    ::umask(umaskOfTheHost);
    EXPECT_EQ(textOf(path), kLong);
    EXPECT_EQ(modeOf(path), 0644U);
    ::chmod(path.c_str(), 0600);
    EXPECT_FALSE(writeFile(path, kShort));
    EXPECT_EQ(textOf(path), kShort);
    EXPECT_EQ(modeOf(path), 0600U);
}

TEST_F(WriteFile, SaysWhyAFileCannotBeOpened)
{
    EXPECT_EQ(writeFile(directory.file("missing/x"), kLong), std::errc::no_such_file_or_directory);
    EXPECT_EQ(writeFile("/dev", kLong), std::errc::is_a_directory);
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(writeFile(path, kLong), std::errc::no_such_device_or_address);
}

TEST_F(WriteFile, WaitsForAWriterButNotForAReader)
{
    EXPECT_FALSE(writeFile(path, kLong));
    const FileDescriptor reader(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_EQ(::flock(reader.get(), LOCK_EX), 0);
    EXPECT_FALSE(writeFile(path, kShort));
    EXPECT_EQ(textOf(path), kShort);
    const FileDescriptor writer(::open(directory.file(".velnet.lock").c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_EQ(::flock(writer.get(), LOCK_EX), 0);
    EXPECT_EQ(modeOf(directory.file(".velnet.lock")), 0600U);
    EXPECT_EQ(writeFile(path, kLong), std::errc::resource_unavailable_try_again);
    EXPECT_EQ(textOf(path), kShort);
}

TEST_F(WriteFile, WritesToTheFileThatReplacedItMeanwhile)
{
    EXPECT_FALSE(writeFile(path, kLong));
    EXPECT_FALSE(writeFile(directory.file("new"), kLong));
    const FileDescriptor other(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_EQ(::flock(other.get(), LOCK_EX), 0);
    auto writer = std::async(std::launch::async, writeFile, path, kShort);
    const auto opened = [this] {
        std::error_code gone; // another thread may close a descriptor meanwhile
        int count = 0;
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
            count += std::filesystem::read_symlink(entry, gone) == path ? 1 : 0;
        }
        return count;
    };
    while (opened() < 2 && writer.wait_for(std::chrono::milliseconds(1)) == std::future_status::timeout) {
    }
    std::filesystem::rename(directory.file("new"), path);
    ::flock(other.get(), LOCK_UN);
    EXPECT_FALSE(writer.get());
    EXPECT_EQ(textOf(path), kShort);
}

TEST_F(WriteFile, LeavesNoLockToChildrenThatTheHostForks)
{
    std::atomic<bool> isForking = true;
    const auto writes = std::async(std::launch::async, [this, &isForking] {
        while (isForking) {
            ASSERT_FALSE(writeFile(path, kShort));
        }
    });
    SleepingChildren children;
    EXPECT_FALSE(writeFile(path, kLong));
    isForking = false;
}

TEST_F(WriteFile, TakesTurnsWithOtherThreadsAndProcesses)
{
    const OwnProcess process([this] { writeManyTimes(kLong); });
    const auto thread = std::async(std::launch::async, [this] { writeManyTimes(kLong); });
    writeManyTimes(kShort);
}
