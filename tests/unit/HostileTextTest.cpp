// SPDX-License-Identifier: MIT
#include "SimulatedManager.h"
#include "base/IpHelper.h"

#include <random>
#include <regex>

using velbase2::system::iphelper::isValidIp;

namespace {

bool isKnownCommand(const std::string& command)
{
    static const std::regex known("ip route flush 0/0|sudo /bin/systemctl "
                                  "(daemon-reload|restart systemd-networkd|restart systemd-resolved)");
    const std::string add = "route add default gw ";
    return std::regex_match(command, known) || (command.rfind(add, 0) == 0 && isValidIp(command.substr(add.size())));
}

bool isKnownFile(const std::string& path, const std::string& text)
{
    // What follows a destination's "/" is the caller's, but for separators, once it begins with a number.
    static const std::map<std::string, std::regex> known = {
        {"/etc/systemd/network/01_local.network",
         std::regex(R"(\[Match\]\nName=local\n\n\[Network\]\nLinkLocalAddressing=ipv6\nMulticastDNS=true\n)"
                    R"(Address=[\d.]+/\d+\n\n)")},
        {"/etc/systemd/network/02_remote.network",
         std::regex(R"(\[Match\]\nName=remote\n\n\[Network\]\nAddress=[\d.]+/\d+\n(\[Route\]\nGateway=[\d.]+\n)?\n)")},
        {"/etc/systemd/network/02_remote.network.d/50-routes.conf",
         std::regex(R"((\[Route\]\nDestination=[\d.]+(/\s*[+-]?\d[^\n,;| ]*)?\nGateway=[\d.]+\n)+)")},
        {"/etc/systemd/resolved.conf.d/dns_server_7.conf", std::regex(R"(\[Resolve\]\nDNS=[\d.]+\n)")}};
    const auto entry = known.find(path);
    return entry != known.end() && std::regex_match(text, entry->second);
}

struct HostileText : SimulatedManager
{
    HostileText()
    {
        manager.setIp("remote", {"192.168.50.2", "255.255.255.0", false, ""}); // DHCP refuses a gateway
        device.settle();
        device.takeEvents();
    }

    /// The text with up to three insertions of what means something to a shell, to a daemon or to the library.
    std::string spoilt(std::string text)
    {
        constexpr char characters[] = "019./dst=gw- \n\r\t;|&$()`'\"\\#%*[]\xc3\xbc\xff"; // and the NUL at the end
        for (auto count = random() % 4; count > 0; --count) {
            const auto character = characters[random() % sizeof characters];
            text.insert(random() % (text.size() + 1), random() % 16 == 0 ? 300 : 1, character);
        }
        return text;
    }

    /// Calls the operation with 1000 spoilt texts. What it runs and writes is known, and a few calls succeed.
    template <class Operation>
    void repeat(Operation operation)
    {
        int successes = 0;
        for (int round = 0; round < 1000; ++round) {
            successes += operation() ? 1 : 0;
            for (const auto& event : device.takeEvents()) {
                if (event.what == "ran" || event.what == "failed to run") {
                    ASSERT_PRED1(isKnownCommand, event.subject);
                } else if (event.what != "emitted" && event.what != "published") {
                    ASSERT_PRED2(isKnownFile, event.subject, event.text);
                }
            }
            device.settle();
        }
        EXPECT_GT(successes, 10);
    }

    std::mt19937 random{1}; // the same texts in every run
};

} // namespace

TEST_F(HostileText, IsNothingToSetIp)
{
    repeat([this] {
        return manager.setIp(spoilt("local"), {spoilt("192.168.10.7"), spoilt("255.255.0.0"), false, spoilt("")});
    });
}

TEST_F(HostileText, IsNothingToSetGateway)
{
    repeat([this] { return manager.setGateway(spoilt("192.168.50." + std::to_string(random() % 100))); });
}

TEST_F(HostileText, IsNothingToSetDnsServer)
{
    repeat([this] { return manager.setDnsServer(spoilt("10.0.0.9"), 7); });
}

TEST_F(HostileText, IsNothingToSetRoutes)
{
    repeat([this] {
        try {
            return manager.setRoutes("remote", spoilt("dst=10.1.0.0/16 gw=10.0.0.1 dst=10.2.0.0 gw=10.0.0.2"));
        } catch (const std::out_of_range&) { // a prefix length beyond int, or a later route without gateway
            return false;
        }
    });
}
