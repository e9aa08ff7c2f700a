// SPDX-License-Identifier: MIT
#include "networkhost/device/RealFiles.h"

#include "TemporaryDirectory.h"
#include "networkhost/device/LockHolder.h"

#include <csignal>

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

class RealFiles : public testing::Test
{
protected:
    unsigned int mode() const
    {
        struct stat status = {};
        EXPECT_EQ(::stat(path.c_str(), &status), 0);
        return status.st_mode & 07777U;
    }

    std::string textOf(const std::string& file) const
    {
        std::string text;
        EXPECT_FALSE(files.read(file, text));
        return text;
    }

    std::vector<std::string> names() const
    {
        std::vector<std::string> found;
        EXPECT_FALSE(files.list(directory.file(""), found));
        return found;
    }

    const TemporaryDirectory directory;
    const std::string path = directory.file("x.conf");
    networkhost::RealFiles files;
};

} // namespace

TEST_F(RealFiles, LeaveTheResultWhenThereIsNoFile)
{
    std::string text = "untouched";
    EXPECT_EQ(files.read(path, text), std::errc::no_such_file_or_directory);
    EXPECT_EQ(text, "untouched");
}

TEST_F(RealFiles, AreNewWithMode0644WhateverTheUmask)
{
    const auto hostMask = ::umask(0077);
    EXPECT_FALSE(files.replace(path, "one\ntwo\n"));
    ::umask(hostMask);
    EXPECT_EQ(mode(), 0644U);
}

TEST_F(RealFiles, KeepTheirModeAndLeaveNothingBesideThem)
{
    ASSERT_FALSE(files.replace(path, "one"));
    ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
    EXPECT_FALSE(files.replace(path, "two"));
    EXPECT_EQ(mode(), 0640U);
    EXPECT_EQ(textOf(path), "two");
    EXPECT_THAT(names(), testing::ElementsAre("x.conf"));
}

TEST_F(RealFiles, NeedTheirDirectoryAndAreNone)
{
    EXPECT_EQ(files.replace(directory.file("missing/x"), "x"), std::errc::no_such_file_or_directory);
    ASSERT_EQ(::mkdir(directory.file("a").c_str(), 0755), 0);
    EXPECT_TRUE(files.replace(directory.file("a"), "text"));
    EXPECT_THAT(names(), testing::ElementsAre("a"));
}

TEST_F(RealFiles, AreNotTouchedBeyondWhatIsRead)
{
    ASSERT_FALSE(files.replace(path, "text"));
    ASSERT_EQ(::truncate(path.c_str(), 16 << 20), 0);
    std::string text;
    EXPECT_EQ(files.read(path, text), std::errc::file_too_large);
    EXPECT_EQ(files.overwrite(path, "x"), std::errc::file_too_large);
}

TEST_F(RealFiles, AreRemovedTwice)
{
    ASSERT_FALSE(files.replace(path, "text"));
    EXPECT_FALSE(files.remove(path));
    EXPECT_FALSE(files.remove(path));
    EXPECT_THAT(names(), testing::IsEmpty());
}

TEST_F(RealFiles, KeepTheOldTextWhenTheWriteFailsLate)
{
    ASSERT_FALSE(files.replace(path, "old"));
    struct rlimit limit = {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &limit), 0);
    const struct rlimit narrow = {3, limit.rlim_max};
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &narrow), 0);
    const auto replaced = files.replace(path, "too long");
    const auto overwritten = files.overwrite(path, "too long");
    ::setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(replaced, std::errc::file_too_large);
    EXPECT_EQ(overwritten, std::errc::file_too_large);
    EXPECT_EQ(textOf(path), "old");
    EXPECT_THAT(names(), testing::ElementsAre("x.conf"));
}

TEST_F(RealFiles, FollowLinks)
{
    ASSERT_FALSE(files.makeDirectory(directory.file("target")));
    ASSERT_EQ(::symlink("target", directory.file("directory").c_str()), 0);
    ASSERT_EQ(::symlink("directory/x.conf", directory.file("link").c_str()), 0);
    EXPECT_FALSE(files.replace(directory.file("link"), "text"));
    EXPECT_EQ(textOf(directory.file("target/x.conf")), "text");
}

TEST_F(RealFiles, AreRenamedByOneCaller)
{
    ASSERT_FALSE(files.replace(path, "text"));
    EXPECT_FALSE(files.rename(path, directory.file("y.conf")));
    EXPECT_EQ(files.rename(path, directory.file("y.conf")), std::errc::no_such_file_or_directory);
}

TEST_F(RealFiles, AreLockedByOneProcess)
{
    std::unique_ptr<networkhost::IFiles::Lock> lock;
    std::unique_ptr<networkhost::IFiles::Lock> another;
    std::string holder;
    EXPECT_FALSE(files.tryLock(directory.file("lock"), lock, holder));
    EXPECT_EQ(files.tryLock(directory.file("lock"), another, holder), std::errc::operation_would_block);
    EXPECT_EQ(holder, networkhost::thisProcess());
    lock.reset();
    EXPECT_FALSE(files.tryLock(directory.file("lock"), another, holder));
}
