// SPDX-License-Identifier: MIT
#include "base/ReadFile.h"

#include "TemporaryDirectory.h"
#include "systemd/configuration/File.h"

#include <fstream>
#include <sstream>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

using vel_systemd::configuration::file::File;
using velbase2::system::FileDescriptor;
using velbase2::system::readFile;

TEST(ReadFile, SaysWhyItFailed)
{
    std::string text = "old";
    EXPECT_EQ(readFile("/proc/self/nothing", text), std::errc::no_such_file_or_directory);
    EXPECT_EQ(text, "");
    EXPECT_EQ(readFile("/proc/self", text), std::errc::is_a_directory);
}

TEST(ReadFile, WaitsForNoWriterOfAFifo)
{
    const TemporaryDirectory directory;
    const auto fifo = directory.file("fifo");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    std::string text = "old";
    EXPECT_FALSE(readFile(fifo, text));
    EXPECT_EQ(text, "");

    const FileDescriptor silentWriter(::open(fifo.c_str(), O_RDWR | O_CLOEXEC));
    EXPECT_FALSE(readFile(fifo, text));
    EXPECT_EQ(text, "");
}

TEST(ReadFile, EndsAfter16MiBOfAnEndlessDevice)
{
    std::string text;
    EXPECT_FALSE(readFile("/dev/zero", text));
    EXPECT_EQ(text.size(), 16U * 1024 * 1024);
}

TEST(File, CopiesTheWholeTextOrTellsWhyTheOpenFailed)
{
    const TemporaryDirectory directory;
    const std::string written = "[Match]\n\nName=eth0" + std::string(10000, '.');
    std::stringstream out;
    EXPECT_EQ(File().read(directory.file("x"), out), std::error_code(ENOENT, std::system_category()));
    std::ofstream(directory.file("x")) << written;
    EXPECT_EQ(File().read(directory.file("x"), out), std::error_code(0, std::system_category()));
    EXPECT_EQ(out.str(), written);
}

TEST(File, SpoilsTheStreamWhereThereIsNothingToCopy)
{
    for (const std::string path : {"/dev/null", "/proc/self"}) {
        SCOPED_TRACE(path);
        std::stringstream out;
        EXPECT_FALSE(File().read(path, out));
        EXPECT_TRUE(out.fail());
    }
}
