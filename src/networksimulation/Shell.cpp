// SPDX-License-Identifier: MIT
#include "networksimulation/Shell.h"

#include <string_view>

#include <boost/algorithm/string/predicate.hpp>

namespace networksimulation {

using boost::algorithm::starts_with;

namespace {

constexpr std::string_view kRestart = "sudo /bin/systemctl restart ";
constexpr std::string_view kReload = "sudo /bin/systemctl daemon-reload";
constexpr std::string_view kAddGateway = "route add default gw ";
constexpr std::string_view kFlush = "ip route flush 0/0";

} // namespace

Shell::Shell(const Faults& faults, Kernel& kernel, Services& services, EventLog& events, Clock& clock)
    : faults_(faults), kernel_(kernel), services_(services), events_(events), clock_(clock)
{}

bool Shell::run(const std::string& command, std::string& errorOutput)
{
    const auto held = clock_.hold();
    errorOutput.clear();
    if (const auto words = faults_.ofCommand(command)) {
        errorOutput = *words + '\n';
        events_.note(failedToRun(command));
        return false;
    }
    errorOutput = effectOf(command);
    events_.note(errorOutput.empty() ? ran(command) : failedToRun(command));
    clock_.hint();
    return errorOutput.empty();
}

std::string Shell::effectOf(const std::string& command)
{
    if (starts_with(command, kAddGateway)) {
        return kernel_.addDefaultRoute(command.substr(kAddGateway.size()));
    }
    if (starts_with(command, kRestart)) {
        return services_.restart(command.substr(kRestart.size()));
    }
    if (command == kFlush) {
        kernel_.flushDefaultRoutes();
        return {};
    }
    return command == kReload ? "" : "sh: 1: " + command + ": not found\n";
}

std::vector<velbase2::nsa::common::structs::IpAddress> Shell::addressesOf(const std::string& interfaceName) const
{
    const auto held = clock_.hold();
    return kernel_.addressesOf(interfaceName);
}

} // namespace networksimulation
