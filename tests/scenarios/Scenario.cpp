// SPDX-License-Identifier: MIT
#include "Scenario.h"

#include "networkhost/Cells.h"
#include "networkhost/DaemonFile.h"
#include "networkhost/LiveState.h"
#include "networkhost/Missing.h"
#include "networkhost/Text.h"
#include "networkmanager/Refresher.h"

#include <sstream>
#include <stdexcept>
#include <utility>

using networkhost::toText;

/// Tells of each write and command, and has the device do it.
class Scenario::Recorder : public networkmanager::SystemIF
{
public:
    using SystemIF::executeCmd;

    Recorder(networkmanager::ISystemIF& device, Scenario& scenario) : device_(device), scenario_(scenario) {}

    std::vector<velbase2::nsa::common::structs::IpAddress> getAddresses(const std::string& name) const override
    {
        return device_.getAddresses(name);
    }
    std::string readFile(const std::string& path) const override { return device_.readFile(path); }
    bool writeToConfFile(const std::string& path, const std::string& content) override
    {
        const bool isWritten = device_.writeToConfFile(path, content);
        scenario_.tell((isWritten ? "wrote " : "could not write ") + path + '\n' + content);
        return isWritten;
    }
    bool executeCmd(const std::string& command, std::string& output, std::string& errorOutput) override
    {
        const bool isDone = device_.executeCmd(command, output, errorOutput);
        scenario_.tell((isDone ? "ran " : "failed to run ") + command + '\n' + errorOutput);
        return isDone;
    }

private:
    networkmanager::ISystemIF& device_;
    Scenario& scenario_;
};

Scenario::Scenario(networkhost::IDevice& device, Surroundings surroundings)
    : device_(device), surroundings_(std::move(surroundings)),
      lease_(networkhost::readLiveState(device).interfaces.at("remote").lease.address), backend_(device.files()),
      manager_(backend_, std::make_unique<Recorder>(device.system(), *this))
{
    manager_.getSignals().requestStatus.connect([this](const std::string& status) { tell("emitted " + status); });
    networkhost::connectToEachCell(manager_, [this](const std::string& source, const char* cell, const auto& content) {
        tell("published " + source + ' ' + cell + ": " + toText(content));
    });
}

std::string Scenario::run(const std::string& step)
{
    told_.clear();
    ask(step);
    settle();
    // A pass of its own: the thread of a manager would show some steps of the daemons and miss others.
    networkmanager::Refresher(manager_.getSignals(), manager_.getInterfaces(), device_.system()).refresh();
    auto text = told_ + changesSince(std::exchange(shown_, liveText()));
    for (auto position = text.find(lease_); !lease_.empty() && position != std::string::npos;
         position = text.find(lease_)) {
        text.replace(position, lease_.size(), "LEASE");
    }
    return text;
}

std::string Scenario::changesSince(const std::string& before) const
{
    std::string changes;
    std::istringstream lines(shown_);
    std::string line;
    while (std::getline(lines, line)) {
        changes += before.find(line + '\n') == std::string::npos ? line + '\n' : "";
    }
    return changes;
}

void Scenario::ask(const std::string& step)
{
    const auto words = networkhost::wordsOf(step);
    const auto word = [&words](std::size_t index) { return index < words.size() ? words[index] : std::string(); };
    const auto rest = [&](std::size_t first) {
        std::string text;
        for (auto i = first; i < words.size(); ++i) {
            text += (text.empty() ? "" : " ") + words[i];
        }
        return text;
    };
    const auto result = [this](bool isDone) { tell(isDone ? "true" : "false"); };
    if (word(0) == "set-ip") {
        const bool dhcp = word(2) == "dhcp";
        result(manager_.setIp(word(1), {dhcp ? "" : word(2), word(3), dhcp, ""}));
    } else if (word(0) == "set-gateway") {
        result(manager_.setGateway(word(1)));
    } else if (word(0) == "set-dns") {
        result(manager_.setDnsServer(word(2), static_cast<unsigned int>(std::stoul(word(1)))));
    } else if (word(0) == "set-domain") {
        result(manager_.setDnsDomain(rest(1)));
    } else if (word(0) == "set-routes") {
        result(manager_.setRoutes(word(1), rest(2)));
    } else if (word(0) != "look") {
        surroundings_(words);
    }
}

void Scenario::settle()
{
    using std::chrono::milliseconds;
    constexpr milliseconds kLimit(15000);
    constexpr milliseconds kStep(20);
    const auto end = device_.now() + kLimit;
    // Nothing tells that a daemon has given up: what is asked for and does not come is waited for longer.
    auto before = liveText();
    auto since = device_.now();
    while (device_.now() < end) {
        device_.pause(kStep);
        if (auto now = liveText(); now != before) {
            before = std::move(now);
            since = device_.now();
        }
        const bool isComplete =
            missing(networkhost::readConfiguration(device_.files()), networkhost::readLiveState(device_)).empty();
        if (device_.now() - since >= milliseconds(isComplete ? 200 : 1500)) {
            return;
        }
    }
    throw std::runtime_error("the device does not settle");
}

void Scenario::tell(const std::string& text)
{
    told_ += text + (text.empty() || text.back() != '\n' ? "\n" : "");
}

std::string Scenario::liveText()
{
    const auto live = networkhost::readLiveState(device_);
    std::string text;
    for (const auto& [name, iface] : live.interfaces) {
        text += "kernel " + name + ": " + toText(iface.addresses);
        for (const auto& route : iface.routes) {
            text += ", " + toText(route);
        }
        text += '\n';
    }
    text += "kernel gateway: " + toText(live.gateway) + "\nresolver: " + toText(live.dnsServers) + ", search " +
            toText(live.searchDomains) + '\n';
    return text;
}
