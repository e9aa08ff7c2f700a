// SPDX-License-Identifier: MIT
#include "systemd/configuration/SystemdBackend.h"

#include "RecordingLog.h"

using velbase2::nsa::common::IpSettings;

struct FakeFile
{
    static inline std::map<std::string, std::string> texts;

    std::error_code read(const std::filesystem::path& path, std::iostream& out) const
    {
        if (texts.count(path) == 0) {
            return std::make_error_code(std::errc::no_such_file_or_directory);
        }
        out << texts[path];
        return {};
    }
};

struct SystemdBackend : testing::Test
{
    SystemdBackend()
    {
        FakeFile::texts.clear();
        iface.name = "eth0";
        iface.networkFile = "x.network";
    }

    void load()
    {
        EXPECT_TRUE(vel_systemd::configuration::SystemdBackendImpl<FakeFile>().load(iface));
        settings = iface.ipSettings.get().value();
        routes = iface.routes.get().value();
    }

    const RecordingLog recorded;
    networkmanager::EthInterface iface;
    std::string& addressDropIn() { return FakeFile::texts["/etc/systemd/network/x.network.d/51-ip_address.conf"]; }
    std::string& routesDropIn() { return FakeFile::texts["/etc/systemd/network/x.network.d/50-routes.conf"]; }
    std::string& mainFile() { return FakeFile::texts["/etc/systemd/network/x.network"]; }
    IpSettings settings;
    std::string routes;
};

TEST_F(SystemdBackend, EmitsEmptyValuesOnceWhenThereAreNoFiles)
{
    int emissions = 0;
    iface.ipSettings.connect([&emissions](const auto&) { ++emissions; });
    iface.routes.connect([&emissions](const auto&) { ++emissions; });
    load();
    load();
    EXPECT_EQ(settings, IpSettings());
    EXPECT_EQ(routes, "");
    EXPECT_EQ(emissions, 2);
    EXPECT_EQ(recorded.lines, std::vector<std::string>(2, "2 load network configuration for: eth0"));
}

TEST_F(SystemdBackend, ConfiguresNothing)
{
    EXPECT_FALSE(vel_systemd::configuration::SystemdBackendImpl<FakeFile>().configure(iface));
}

TEST_F(SystemdBackend, TakesTheSettingsOfANetworkSection)
{
    const struct
    {
        const char* name;
        const char* mainFile;
        IpSettings settings;
    } cases[] = {
        {"DHCP", "[Network]\nDHCP=ipv4\nAddress=1.2.3.4/8", {"", "", true, ""}},
        {"other DHCP counts as none", "[Network]\nDHCP=yes\nAddress=1.2.3.4/8", {"1.2.3.4", "255.0.0.0", false, ""}},
        {"DHCP by letter case", "[Network]\nDHCP=IPv4", {"", "", false, ""}},
        {"another section", "[Match]\nDHCP=ipv4", {"", "", false, ""}},
        {"no gateway", "[Network]\nAddress=1.2.3.4/8\nGateway=1.2.3.1", {"1.2.3.4", "255.0.0.0", false, ""}},
        {"canonical text", "[Network]\nAddress=001.2.3.4/ 9 bits", {"1.2.3.4", "255.128.0.0", false, ""}},
        {"a host's address", "[Network]\nAddress=1.2.3.4", {"1.2.3.4", "255.255.255.255", false, ""}},
        {"no prefix length", "[Network]\nAddress=1.2.3.4/", {"1.2.3.4", "0.0.0.0", false, ""}},
        {"no number", "[Network]\nAddress=1.2.3.4/x", {"1.2.3.4", "0.0.0.0", false, ""}},
        {"beyond 32", "[Network]\nAddress=1.2.3.4/33", {"1.2.3.4", "", false, ""}},
        {"beyond int", "[Network]\nAddress=1.2.3.4/99999999999", {"1.2.3.4", "", false, ""}},
        {"no address", "[Network]\nAddress=x/8", {"0.0.0.0", "255.0.0.0", false, ""}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        mainFile() = c.mainFile;
        load();
        EXPECT_EQ(settings, c.settings) << settings.ip << ' ' << settings.mask << ' ' << settings.dhcp;
    }
}

TEST_F(SystemdBackend, LooksAtTheFirstNetworkSectionOfTheThreeFilesOnly)
{
    mainFile() = "[Network]\nAddress=10.0.0.3/8\n[Network]\nDHCP=ipv4";
    load();
    EXPECT_EQ(settings.ip, "10.0.0.3");
    routesDropIn() = "[Network]\nAddress=10.0.0.2/8";
    load();
    EXPECT_EQ(settings.ip, "10.0.0.2");
    addressDropIn() = "[Network]\nAddress=10.0.0.1/8";
    load();
    EXPECT_EQ(settings.ip, "10.0.0.1");
    addressDropIn() = "[Network]\nDNS=10.0.0.9";
    load();
    EXPECT_EQ(settings, IpSettings());
}

TEST_F(SystemdBackend, JoinsTheRoutesOfAllFiles)
{
    addressDropIn() = "[Route]\nDestination=a\nGateway=1";
    routesDropIn() = "[Route]\nGateway=2\nDestination=b";
    mainFile() = "[Route]\nDestination=c\nGateway=3";
    load();
    EXPECT_EQ(routes, "dst=a,gw=1 dst=b,gw=2 dst=c,gw=3");
}

TEST_F(SystemdBackend, SkipsWhatIsNoRoute)
{
    mainFile() = "[Route]\nGateway=1\n[Route]\nDestination=b\n[route]\nDestination=c\nGateway=3\n"
                 "[Route]\nDestination=d\nGateway=4";
    load();
    EXPECT_EQ(routes, "dst=d,gw=4");
}
