// SPDX-License-Identifier: MIT
#pragma once

#include "RecordingLog.h"
#include "networkmanager/NetworkManagerImpl.h"
#include "networkmanager/system/SystemIF.h"

#include <future>
#include <map>

#include <gmock/gmock.h>

/// Checks a text function against a table of "argument -> result".
template <class Function>
void expectResults(Function function, const std::vector<std::string>& table)
{
    for (const auto& row : table) {
        const auto argument = row.substr(0, row.find(" -> "));
        EXPECT_EQ(argument + " -> " + function(argument), row);
    }
}

/// A device made of texts. `files` gets an entry for every path that is read, and `commands` one for every command and
/// every write. Those that begin with `failingCommand` fail.
struct FakeSystem : networkmanager::SystemIF
{
    using Addresses = std::vector<velbase2::nsa::common::structs::IpAddress>;
    using SystemIF::executeCmd;
    bool executeCmd(const std::string& command, std::string& output, std::string& errorOutput) override
    {
        commands.push_back(&output == &errorOutput ? command : command + " (two texts)");
        errorOutput = errorText;
        return succeeds();
    }
    bool writeToConfFile(const std::string& path, const std::string& content) override
    {
        if (content.empty()) {
            return false;
        }
        commands.push_back("write " + path + '\n' + content);
        return succeeds();
    }
    std::string readFile(const std::string& path) const override { return files[path]; }
    Addresses getAddresses(const std::string& /*interfaceName*/) const override { return addresses; }

    bool succeeds() const { return failingCommand.empty() || commands.back().rfind(failingCommand, 0) != 0; }

    mutable std::map<std::string, std::string> files;
    std::vector<std::string> commands;
    std::string failingCommand, errorText;
    Addresses addresses;
};

struct EmptyBackend
{
    bool load(networkmanager::EthInterface& /*iface*/) const { return true; }
};

/// A manager over a fake device that has both interfaces, 192.168.1.1 as default gateway and 10.0.0.5 as address.
/// Statuses are recorded among the commands; a slot throws at the `objectionable` one.
struct ASetRequest : testing::Test
{
    ASetRequest()
    {
        using velbase2::nsa::common::enums::IpAddressFamily;
        manager.getSignals().requestStatus.connect([this](const auto& status) { hear("status " + status); });
        local.routes.connect([this](const auto& routes) { hear("routes " + *routes); });
        system.files = {{"/sys/class/net/local/address", "00:aa"}, {"/sys/class/net/remote/address", "00:bb"}};
        system.files["/proc/net/route"] = "remote\t00000000\t0101A8C0";
        system.addresses = {{IpAddressFamily::IPv4, "169.254.3.4", "255.255.0.0"},
                            {IpAddressFamily::IPv4, "10.0.0.5", "255.0.0.0"}};
        recorded.lines.clear();
    }

    void hear(const std::string& text)
    {
        system.commands.push_back(text);
        if (text == objectionable) {
            throw std::invalid_argument("objection");
        }
    }

    /// Commands, routes and statuses since the last call, in their order, each ended by ';', and the result.
    std::string outcome(bool isDone)
    {
        std::string text;
        for (const auto& command : std::exchange(system.commands, {})) {
            text += command + ';';
        }
        return text + (isDone ? "true" : "false");
    }
    /// The same with the last line of the log.
    std::string loggedOutcome(bool isDone)
    {
        const auto lines = std::exchange(recorded.lines, {});
        return outcome(isDone) + (lines.empty() ? "" : lines.back());
    }

    std::string setRoutes(const std::string& routes) { return outcome(manager.setRoutes("local", routes)); }

    RecordingLog recorded;
    EmptyBackend backend;
    FakeSystem& system = *new FakeSystem; // the manager's
    networkmanager::detail::NetworkManagerImpl<EmptyBackend> manager{backend, std::unique_ptr<FakeSystem>(&system)};
    networkmanager::EthInterface& local = manager.getInterfaces().at("local");
    networkmanager::EthInterface& remote = manager.getInterfaces().at("remote");
    std::string objectionable;
    const std::string reload = ";sudo /bin/systemctl daemon-reload;";
    const std::string restart = reload + "sudo /bin/systemctl restart systemd-networkd;";
    const std::string remoteFile = "write /etc/systemd/network/02_remote.network\n[Match]\nName=remote\n\n[Network]\n";
    const std::string localFile = "write /etc/systemd/network/01_local.network\n[Match]\nName=local\n\n[Network]\n"
                                  "LinkLocalAddressing=ipv6\nMulticastDNS=true\n";
    const std::string routesFile = "write /etc/systemd/network/01_local.network.d/50-routes.conf\n";
    const std::string refused = "status internal error;false", written = "2 change ip settings from networkd daemon";
    const std::string reloaded = "\n" + restart + "status OK;true" + written,
                      noReload = "\n" + reload + refused + written;
    const std::string noWrite = "\n;" + refused + "3 Writing to config file failed!";
    const std::string same = " -> status nothing to change;false", invalid = " -> status invalid ip or mask;false";
};
