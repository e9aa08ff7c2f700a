// SPDX-License-Identifier: MIT
#include "systemd/configuration/SystemdBackend.h"

#include "TestSupport.h"

struct FakeFile
{
    static inline std::map<std::string, std::string> texts;

    std::error_code read(const std::filesystem::path& path, std::iostream& out) const
    {
        out << texts[path];
        return std::make_error_code(texts[path].empty() ? std::errc::no_such_file_or_directory : std::errc());
    }
};

TEST(TheLoader, TakesTheFirstNetworkSectionAndAllRoutes)
{
    networkmanager::EthInterface iface;
    iface.networkFile = "x.network";
    std::string emitted;
    iface.ipSettings.connect([&emitted](const auto&) { emitted += "settings "; });
    iface.routes.connect([&emitted](const auto& routes) { emitted += "routes" + *routes; });
    // Turns the address drop-in, the routes drop-in and the main file, joined by "|", into "ip mask dhcp;routes".
    const auto load = [&iface](const std::string& texts) {
        std::istringstream parts(texts);
        for (const char* suffix : {".d/51-ip_address.conf", ".d/50-routes.conf", ""}) {
            std::getline(parts, FakeFile::texts["/etc/systemd/network/x.network" + std::string(suffix)], '|');
        }
        EXPECT_TRUE(vel_systemd::configuration::SystemdBackendImpl<FakeFile>().load(iface));
        const auto settings = iface.ipSettings.get().value();
        return settings.ip + ' ' + settings.mask + (settings.dhcp ? " dhcp;" : ";") + iface.routes.get().value();
    };
    EXPECT_EQ(load("||") + load("||") + emitted, " ; ;settings routes");
    expectResults(
        load, {"||[Match]\nDHCP=ipv4 ->  ;", "||[Network]\nDHCP=yes\nAddress=1.2.3.4/8 -> 1.2.3.4 255.0.0.0;",
               "||[Network]\nDHCP=IPv4\nAddress=1.2.3.4 -> 1.2.3.4 255.255.255.255;",
               "||[Network]\nDHCP=ipv4\nAddress=1.2.3.4/8 ->   dhcp;", "[Network]\nDNS=x||[Network]\nDHCP=ipv4 ->  ;",
               "|[Network]\nDHCP=ipv4|[Network]\nAddress=1.2.3.4/8 ->   dhcp;",
               "[Network]\nAddress=1.2.3.4/|[Network]\nDHCP=ipv4| -> 1.2.3.4 0.0.0.0;",
               "||[Network]\nAddress=1.2.3.4/x -> 1.2.3.4 0.0.0.0;",
               "||[Network]\nAddress=001.2.3.4/ 9 bits -> 1.2.3.4 255.128.0.0;",
               "||[Network]\nAddress=1.2.3.4/33 -> 1.2.3.4 ;", "||[Network]\nAddress=1.2.3.4/99999999999 -> 1.2.3.4 ;",
               "||[Network]\nAddress=x/8 -> 0.0.0.0 255.0.0.0;",
               "[Route]\nDestination=a\nGateway=1\n[route]\nDestination=x\nGateway=x|[Route]\nDestination=b\nGateway=2|"
               "[Route]\nGateway=x\n[Route]\nDestination=x\n[Route]\nGateway=3\nDestination=c ->  ;dst=a,gw=1 "
               "dst=b,gw=2 dst=c,gw=3"});
}
