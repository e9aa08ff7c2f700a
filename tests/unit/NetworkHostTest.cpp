// SPDX-License-Identifier: MIT
#include "TemporaryDirectory.h"
#include "networkhost/change/Apply.h"
#include "networkhost/change/Trial.h"
#include "networkhost/device/LockHolder.h"
#include "networkhost/device/RealFiles.h"
#include "networkhost/plan/Requests.h"
#include "networkhost/plan/Settings.h"
#include "networksimulation/Device.h"
#include "velnetctl/Monitor.h"

#include <csignal>

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

TEST(Requests, TellTheStepThatFailed)
{
    networksimulation::Device device;
    device.failWrite("/etc/systemd/resolved.conf.d/dns_domain.conf", ENOSPC);
    const auto unwritten = networkhost::apply(device, networkhost::planDnsDomain(device, "a.example"));
    EXPECT_FALSE(unwritten.isDone);
    EXPECT_EQ(unwritten.failures.at(0).error, std::errc::no_space_on_device);
    EXPECT_EQ(unwritten.reason, "cannot write /etc/systemd/resolved.conf.d/dns_domain.conf: No space left on device");
    EXPECT_THAT(device.takeEvents(), testing::SizeIs(1)); // the failed write: nothing is restarted
    device.failCommand("sudo /bin/systemctl restart", "Job failed.");
    EXPECT_EQ(networkhost::apply(device, networkhost::planRoutes(device, "local", "")).status, "internal error");
    EXPECT_EQ(networkhost::apply(device, networkhost::planIp(device, "eth9", {"", "", true, ""})).reason,
              "there is no managed interface 'eth9'");
    EXPECT_EQ(networkhost::apply(device, networkhost::planRoutes(device, "eth9", "")).reason,
              "there is no managed interface 'eth9'");
    EXPECT_EQ(networkhost::apply(device, networkhost::planDnsDomain(device, "a\nb")).reason,
              "'a\\x0ab': control characters are not allowed");
}

TEST(Requests, DoNotTakeWhatIsOnTrialForWhatIsSet)
{
    networksimulation::Device device;
    ASSERT_TRUE(networkhost::tryOut(device, networkhost::planDnsServer(device, "10.0.0.53", 0)).isDone);
    const auto document = networkhost::saveSettings(device.files());
    const auto refused = networkhost::apply(device, networkhost::planSettings(device, document));
    EXPECT_FALSE(refused.isNothingToChange());
    EXPECT_EQ(refused.reason, networkhost::trialState(device).text());
    ASSERT_TRUE(networkhost::confirmTrial(device).isDone);
    EXPECT_TRUE(networkhost::planSettings(device, document).isNothingToChange());
}

TEST(RealFiles, AreReplacedWhole)
{
    const TemporaryDirectory directory;
    const auto path = directory.file("x.conf");
    networkhost::RealFiles files;
    std::string text = "untouched";
    EXPECT_EQ(files.read(path, text), std::errc::no_such_file_or_directory);
    EXPECT_EQ(text, "untouched");
    const auto hostMask = ::umask(0077);
    EXPECT_FALSE(files.replace(path, "one\ntwo\n"));
    ::umask(hostMask);
    struct stat status = {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0644U);
    ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
    EXPECT_FALSE(files.replace(path, "three"));
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0640U);
    EXPECT_FALSE(files.read(path, text));
    EXPECT_EQ(text, "three");
    EXPECT_EQ(files.replace(directory.file("missing/x"), "x"), std::errc::no_such_file_or_directory);
    ASSERT_EQ(::truncate(path.c_str(), 16 << 20), 0); // more than is read of any file
    EXPECT_EQ(files.read(path, text), std::errc::file_too_large);
    EXPECT_EQ(files.overwrite(path, "x"), std::errc::file_too_large);
    ASSERT_EQ(::mkdir(directory.file("a").c_str(), 0755), 0);
    EXPECT_TRUE(files.replace(directory.file("a"), "a directory is no file"));
    std::vector<std::string> names;
    EXPECT_FALSE(files.list(directory.file(""), names));
    EXPECT_THAT(names, testing::ElementsAre("a", "x.conf"));
    EXPECT_FALSE(files.remove(path));
    EXPECT_FALSE(files.remove(path));
}

TEST(RealFiles, KeepTheOldTextWhenTheWriteFailsLate)
{
    const TemporaryDirectory directory;
    const auto path = directory.file("x.conf");
    networkhost::RealFiles files;
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
    std::string text;
    EXPECT_FALSE(files.read(path, text));
    EXPECT_EQ(text, "old");
    std::vector<std::string> names;
    EXPECT_FALSE(files.list(directory.file(""), names));
    EXPECT_THAT(names, testing::ElementsAre("x.conf"));
}

TEST(RealFiles, FollowLinksAndAreLocked)
{
    const TemporaryDirectory directory;
    networkhost::RealFiles files;
    ASSERT_FALSE(files.makeDirectory(directory.file("target")));
    ASSERT_EQ(::symlink("target", directory.file("directory").c_str()), 0);
    ASSERT_EQ(::symlink("directory/x.conf", directory.file("link").c_str()), 0);
    EXPECT_FALSE(files.replace(directory.file("link"), "text"));
    std::string text;
    EXPECT_FALSE(files.read(directory.file("target/x.conf"), text));
    EXPECT_EQ(text, "text");
    EXPECT_FALSE(files.rename(directory.file("target/x.conf"), directory.file("target/y.conf")));
    EXPECT_EQ(files.rename(directory.file("target/x.conf"), directory.file("target/y.conf")),
              std::errc::no_such_file_or_directory);
    std::unique_ptr<networkhost::IFiles::Lock> lock;
    std::unique_ptr<networkhost::IFiles::Lock> another;
    std::string holder;
    EXPECT_FALSE(files.tryLock(directory.file("target/lock"), lock, holder));
    EXPECT_EQ(files.tryLock(directory.file("target/lock"), another, holder), std::errc::operation_would_block);
    EXPECT_EQ(holder, networkhost::thisProcess());
    lock.reset();
    EXPECT_FALSE(files.tryLock(directory.file("target/lock"), another, holder));
}

TEST(Monitor, PrintsAChangeALine)
{
    EXPECT_THAT(velnetctl::lineOf({"remote", "link", "up", true}, false) +
                    velnetctl::lineOf({"host", "hostname", "a", "a\x1b"}, true),
                testing::MatchesRegex(
                    "20..-..-..T..:..:..\\....Z  remote  link        up\n"
                    "\\{\"time\":\".*Z\",\"source\":\"host\",\"name\":\"hostname\",\"value\":\"a.*u001b\"\\}\n"));
}
