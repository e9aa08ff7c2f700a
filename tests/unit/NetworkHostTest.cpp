// SPDX-License-Identifier: MIT
#include "TemporaryDirectory.h"
#include "networkhost/LockHolder.h"
#include "networkhost/Missing.h"
#include "networkhost/RealFiles.h"
#include "networkhost/Requests.h"
#include "networksimulation/Device.h"
#include "velnetctl/Monitor.h"

#include <csignal>
#include <sstream>

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using networkhost::Configuration;
using networkhost::LiveState;
using velbase2::nsa::common::enums::IpAddressFamily;
using velbase2::nsa::common::structs::IpAddress;

namespace {

IpAddress ipv4(const std::string& address)
{
    return {IpAddressFamily::IPv4, address, "255.255.255.0"};
}

} // namespace

TEST(Missing, IsTheFirstThingThatTheLiveStateLacks)
{
    // remote, configured as the case says, on a device that has all of this:
    LiveState live;
    live.interfaces["remote"] = {true,
                                 true,
                                 {ipv4("169.254.1.1"), ipv4("10.0.0.5"), ipv4("10.0.0.6")},
                                 {"10.0.0.5", "10.0.0.1", {"10.0.0.53"}},
                                 {{"10.1.0.0/16", "10.0.0.2"}}};
    live.interfaces["local"] = {};
    live.gateway = "10.0.0.1";
    live.dnsServers = {"10.0.0.53", "10.0.0.54"};
    live.searchDomains = {"box.example"};
    struct Case
    {
        const char* name;
        Configuration wanted;
        std::optional<Configuration> before;
        const char* missing;
    };
    const auto remote = [](const networkhost::ConfiguredInterface& iface) {
        return Configuration{{{"remote", iface}}, {}, {}};
    };
    const Case cases[] = {
        {"everything is there",
         {{{"remote", {{"10.0.0.5/24", "10.0.0.6/24"}, true, "10.0.0.1", {{"10.1.0.0/16", "10.0.0.2"}}}}},
          {"10.0.0.54"},
          {"box.example.", "~other"}},
         {},
         ""},
        {"an interface", {{{"local", {}}}, {}, {}}, {}, "the interface local"},
        {"another prefix length", remote({{"10.0.0.5/16"}, false, "", {}}), {}, "the address 10.0.0.5 of remote"},
        {"a notation that the daemons ignore",
         remote({{"10.0.0.005/24"}, false, "", {}}),
         {},
         "the address 10.0.0.005 of remote"},
        {"an old address is first",
         remote({{"10.0.0.6/24"}, false, "", {}}),
         {},
         "the removal of the address 10.0.0.5 of remote"},
        {"another gateway", remote({{}, false, "10.0.0.2", {}}), {}, "the default route via 10.0.0.2"},
        {"a default route of somebody's own may stay", remote({}), remote({}), ""},
        {"the removal of the gateway", remote({}), remote({{}, false, "10.0.0.1", {}}),
         "the removal of the default route"},
        {"a route", remote({{}, true, "", {{"10.2.0.0/16", "10.0.0.2"}}}), {}, "the route 10.2.0.0/16 via 10.0.0.2"},
        {"the removal of a route", remote({{}, true, "", {}}), remote({{}, true, "", {{"10.1.0.0/16", "10.0.0.2"}}}),
         "the removal of the route 10.1.0.0/16 via 10.0.0.2"},
        {"a DNS server", {{}, {"10.0.0.55"}, {}}, {}, "the nameserver 10.0.0.55"},
        {"the removal of a DNS server",
         {},
         Configuration{{}, {"10.0.0.54"}, {}},
         "the removal of the nameserver 10.0.0.54"},
        {"a server that a lease brings may stay", {}, Configuration{{}, {"10.0.0.53"}, {}}, ""},
        {"a search domain", {{}, {}, {"a.example"}}, {}, "the search domain a.example"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(missing(c.wanted, live, c.before), c.missing) << c.name;
    }
    live.interfaces["remote"].lease.address = "10.0.0.9";
    EXPECT_EQ(missing(remote({{}, true, "", {}}), live), "an address of remote by DHCP");
}

TEST(Configuration, IsReadAsTheDaemonsReadIt)
{
    networksimulation::Device device;
    device.put(
        "/etc/systemd/network/02_remote.network",
        "[Match]\nName=remote\n[Network]\n Address = 10.0.0.5/8\n# Address=1.1.1.1/8\nAddress=10.0.0.6/8\nDHCP=no\n"
        "[Route]\nGateway=10.0.0.1\n[Address]\nAddress=fe80::1/64\n[Network]\nDHCP=yes\n");
    device.put(
        "/etc/systemd/network/02_remote.network.d/50-routes.conf",
        "[Route]\nDestination=10.1.2.3/16\nGateway=10.0.0.2\n[Route]\nDestination=10.2.0.7\nGateway=10.0.0.007\n");
    device.put("/etc/systemd/network/02_remote.network.d/51-ip_address.conf",
               "[Network]\nAddress=\nAddress=10.0.0.7\n");
    device.put("/etc/systemd/resolved.conf", "[Resolve]\nDNS=1.1.1.1\nDomains=a.example\n");
    device.put("/etc/systemd/resolved.conf.d/dns_server_1.conf", "[Resolve]\nDNS=\nDNS=3.3.3.3 \\\n 4.4.4.4\n");
    device.put("/etc/systemd/resolved.conf.d/dns_server_1.conf.bak", "[Resolve]\nDNS=5.5.5.5\n");
    const Configuration expected = {
        {{"local", {{"192.168.10.1/24"}, false, "", {}}},
         {"remote", {{"10.0.0.7/32"}, true, "10.0.0.1", {{"10.1.0.0/16", "10.0.0.2"}, {"10.2.0.7/32", "10.0.0.007"}}}}},
        {"3.3.3.3", "4.4.4.4"},
        {"a.example"}};
    EXPECT_EQ(networkhost::readConfiguration(device.files()), expected);
}

TEST(Requests, TellTheStepThatFailed)
{
    networksimulation::Device device;
    device.failWrite("/etc/systemd/resolved.conf.d/dns_domain.conf", ENOSPC);
    const auto unwritten = networkhost::setDnsDomain(device, "a.example");
    EXPECT_FALSE(unwritten.isDone);
    EXPECT_EQ(unwritten.failures.at(0).error, std::errc::no_space_on_device);
    EXPECT_EQ(unwritten.reason, "cannot write /etc/systemd/resolved.conf.d/dns_domain.conf: No space left on device");
    device.failCommand("sudo /bin/systemctl restart", "Job failed.");
    const auto notRestarted = networkhost::setRoutes(device, "local", "");
    EXPECT_EQ(notRestarted.status, "internal error");
    EXPECT_EQ(notRestarted.reason, "'sudo /bin/systemctl restart systemd-networkd' failed: Job failed.");
    EXPECT_EQ(networkhost::setIp(device, "eth9", {"", "", true, ""}).reason, "there is no managed interface 'eth9'");
    EXPECT_EQ(networkhost::setRoutes(device, "eth9", "").reason, "there is no managed interface 'eth9'");
    EXPECT_EQ(networkhost::setDnsDomain(device, "a\nb").reason, "'a\\x0ab': control characters are not allowed");
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
