// SPDX-License-Identifier: MIT
#include "Scenario.h"

#include "base/Log.h"
#include "networkhost/device/LockHolder.h"
#include "networkhost/state/Cells.h"
#include "networkhost/state/LiveState.h"
#include "networkhost/state/Missing.h"
#include "networkhost/state/Text.h"
#include "networkhost/text/Checks.h"
#include "networkhost/text/Words.h"
#include "networkmanager/Refresher.h"
#include "velnetctl/CommandLine.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <sstream>
#include <stdexcept>
#include <utility>
#include <vector>

using networkhost::toText;
namespace logging = velbase2::system::log;

namespace {

/// The parts of "A && B". They run without a pause in between.
std::vector<std::string> partsOf(const std::string& step)
{
    const std::string separator = " && ";
    std::vector<std::string> parts;
    std::size_t begin = 0;
    for (auto end = step.find(separator); end != std::string::npos; end = step.find(separator, begin)) {
        parts.push_back(step.substr(begin, end - begin));
        begin = end + separator.size();
    }
    parts.push_back(step.substr(begin));
    return parts;
}

void replaceAll(std::string& text, const std::string& old, const std::string& replacement)
{
    for (auto at = text.find(old); !old.empty() && at != std::string::npos; at = text.find(old, at)) {
        text.replace(at, old.size(), replacement);
    }
}

} // namespace

/// Reports each write and command, and passes it on to the device.
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

Step::Step(const std::string& line) : line_(line), words_(networkhost::wordsOf(line)) {}

std::string Step::word(std::size_t index) const
{
    return index < words_.size() ? words_[index] : std::string();
}

std::string Step::textAfter(std::size_t count) const
{
    std::size_t begin = 0;
    for (; count > 0 && begin != std::string::npos; --count) {
        begin = line_.find(' ', begin);
        begin += begin == std::string::npos ? 0 : 1;
    }
    auto text = begin == std::string::npos ? std::string() : line_.substr(begin);
    const std::map<std::string, std::string> escapes = {
        {"\\e", "\x1b"}, {"\\n", "\n"}, {"\\r", "\r"}, {"\\t", "\t"}, {"\\s", " "}};
    for (const auto& [escape, meant] : escapes) {
        replaceAll(text, escape, meant);
    }
    return text;
}

Scenario::Scenario(networkhost::IDevice& device, Surroundings surroundings)
    : device_(device), surroundings_(std::move(surroundings)),
      lease_(networkhost::readLiveState(device).interfaces.at("remote").lease.address), backend_(device.files()),
      manager_(backend_, std::make_unique<Recorder>(device.system(), *this))
{
    ::setenv("NO_COLOR", "1", 1); // keeps colour codes out of velnetctl's output
    logging::setMinimumLevel(logging::kFileProblem + 1);
    refresh();
    shown_ = liveText();
    logging::setSink([this](int level, std::string_view /*tag*/, std::string_view line) {
        tell("logged " + std::to_string(level) + ' ' + std::string(line));
    });
    manager_.getSignals().requestStatus.connect(
        [this](const std::string& status) { tell("emitted " + networkhost::printable(status)); });
    networkhost::connectToEachCell(manager_, [this](const std::string& source, const char* cell, const auto& content) {
        tell("published " + source + ' ' + cell + ": " + networkhost::printable(toText(content)));
    });
}

Scenario::~Scenario()
{
    logging::setSink({});
    logging::setMinimumLevel(logging::kNotable);
}

std::string Scenario::run(const std::string& step)
{
    told_.clear();
    for (const auto& part : partsOf(step)) {
        ask(Step(part));
    }
    settle();
    refresh();
    auto text = told_ + changesSince(std::exchange(shown_, liveText()));
    replaceAll(text, lease_, "LEASE");
    replaceAll(text, "configuring\n", "configured\n"); // networkd also waits for IPv6 routers, for some seconds
    replaceAll(text, "\"configuring\"", "\"configured\"");
    replaceAll(text, networkhost::thisProcess(), "PROCESS");
    return text;
}

void Scenario::refresh()
{
    // Makes one pass after the step. The thread of a manager would show some steps of the daemons and miss others.
    networkmanager::Refresher(manager_.getSignals(), manager_.getInterfaces(), device_.system()).refresh();
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

void Scenario::ask(const Step& step)
{
    const auto verb = step.word(0);
    if (verb.rfind("set-", 0) == 0) {
        change(step);
    } else if (verb == "velnetctl") {
        runVelnetctl(step);
    } else if (verb == "log") {
        logging::setMinimumLevel(std::stoi(step.word(1)));
    } else if (verb == "no-dhcp") {
        manager_.getInterfaces().at(step.word(1)).dhcpSupported = false;
    } else if (verb == "no-gateway") {
        manager_.getInterfaces().at(step.word(1)).holdsGateway = false;
    } else if (verb != "look") {
        tell(surroundings_(step));
    }
}

void Scenario::change(const Step& step)
{
    const auto verb = step.word(0);
    bool isDone = false;
    try {
        if (verb == "set-ip") {
            const bool dhcp = step.word(2) == "dhcp";
            isDone = manager_.setIp(step.word(1), {dhcp ? "" : step.word(2), step.word(3), dhcp, step.word(4)});
        } else if (verb == "set-gateway") {
            isDone = manager_.setGateway(step.textAfter(1));
        } else if (verb == "set-dns") {
            isDone = manager_.setDnsServer(step.textAfter(2), static_cast<unsigned int>(std::stoul(step.word(1))));
        } else if (verb == "set-domain") {
            isDone = manager_.setDnsDomain(step.textAfter(1));
        } else if (verb == "set-routes") {
            isDone = manager_.setRoutes(step.word(1), step.textAfter(2));
        } else {
            throw std::invalid_argument("unknown step: " + verb);
        }
    } catch (const std::out_of_range&) {
        tell("threw out_of_range");
        return;
    }
    tell(isDone ? "true" : "false");
}

void Scenario::runVelnetctl(const Step& step)
{
    std::ostringstream output;
    std::ostringstream errors;
    velnetctl::Session session{device_, output, errors};
    auto words = networkhost::wordsOf(step.textAfter(1));
    const int code = velnetctl::run(words, session);
    const auto printed = output.str() + errors.str();
    tell(printed + "exit code " + std::to_string(code));
    if (!networkhost::faultOfText(printed, true).empty()) {
        tell("control characters reach the terminal"); // tell() itself makes them visible
    }
    logging::setMinimumLevel(logging::kFileProblem + 1);
}

void Scenario::settle()
{
    using std::chrono::milliseconds;
    constexpr milliseconds kLimit(15000);
    constexpr milliseconds kStep(20);
    const auto end = device_.now() + kLimit;
    // There is no sign that a daemon has given up. Therefore the wait is longer for settings that do not become live.
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
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        told_ += networkhost::printable(line) + '\n';
    }
}

std::string Scenario::liveText()
{
    const auto live = networkhost::readLiveState(device_);
    std::vector<std::string> servers;
    for (const auto& server : live.dnsServers) { // systemd 257 lists a server once, and 252 as often as it is set
        if (std::find(servers.begin(), servers.end(), server) == servers.end()) {
            servers.push_back(server);
        }
    }
    std::string text;
    for (const auto& [name, iface] : live.interfaces) {
        text += "kernel " + name + ": " + toText(iface.addresses);
        for (const auto& route : iface.routes) {
            text += ", " + toText(route);
        }
        text += '\n';
    }
    text += "kernel gateway: " + toText(live.gateway) + "\nresolver: " + toText(servers) + ", search " +
            toText(live.searchDomains) + '\n';
    return text;
}
