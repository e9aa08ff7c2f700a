// SPDX-License-Identifier: MIT
#include "networkhost/plan/Review.h"

#include "base/Paths.h"
#include "networkhost/plan/Neighbours.h"
#include "networkhost/plan/Objections.h"
#include "networkhost/plan/PlanDaemons.h"
#include "networkhost/plan/PlannedFiles.h"
#include "networkhost/state/DaemonFile.h"
#include "networkhost/state/DaemonHealth.h"
#include "networkhost/state/LiveState.h"
#include "networkhost/state/Text.h"
#include "networkhost/state/TrialState.h"
#include "networkhost/text/Checks.h"
#include "networkhost/text/Words.h"
#include "networkmanager/BuiltInInterfaces.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <set>

namespace networkhost {

namespace paths = velbase2::system::paths;

namespace {

std::vector<std::string> trimmedLines(const std::optional<std::string>& text)
{
    auto lines = daemonLines(text.value_or(""));
    std::transform(lines.begin(), lines.end(), lines.begin(), [](const auto& line) { return trimmed(line); });
    return lines;
}

/// Whether the library itself writes such lines into that file, and removes them. It writes IPv4 only.
bool isOwnLine(const std::string& path, const std::string& key, const std::string& line)
{
    if (startsWith(path, paths::kResolverDirectory)) {
        return key == "DNS" || key == "Domains";
    }
    if (line.find(':') != std::string::npos || line == "DHCP=ipv6") {
        return false;
    }
    if (endsWith(path, paths::kRoutesDropIn)) {
        return key == "Destination" || key == "Gateway";
    }
    const auto& interfaces = networkmanager::kBuiltInInterfaces;
    const bool mayHaveGateway = std::any_of(interfaces.begin(), interfaces.end(), [&path](const auto& iface) {
        return iface.name == gatewayInterface() && path == paths::ofInterface(iface.networkFile);
    });
    return key == "Address" || key == "DHCP" || (key == "Gateway" && mayHaveGateway);
}

/// The file of another directory that a new file hides. Empty for none.
std::string hiddenBy(const IReadableFiles& files, const FileChange& change)
{
    const std::string own = paths::kDaemonDirectories.front();
    if (change.before || !startsWith(change.path, own)) {
        return {};
    }
    const auto name = change.path.substr(own.size());
    for (const std::string directory : paths::kDaemonDirectories) {
        if (textOf(files, directory + name)) {
            return directory + name;
        }
    }
    return {};
}

void addDroppedLines(const IReadableFiles& files, const FileChange& change, std::vector<std::string>& warnings)
{
    auto shown = change;
    const auto hidden = hiddenBy(files, change);
    shown.before = hidden.empty() ? change.before : textOf(files, hidden);
    const auto beginning =
        hidden.empty() ? change.path + " loses the line '" : hidden + " no longer counts, with its line '";
    for (const auto& line : droppedLines(shown)) {
        warnings.push_back(std::string(beginning).append(line).append("'"));
    }
}

/// Warns when systemd-networkd has no settings for the interface, or takes them from a file that is not read.
void addOtherUse(const std::string& name, const ConfiguredInterface& before, const LiveInterface& live,
                 std::vector<std::string>& warnings)
{
    if (before.files.empty() && !live.networkFile.empty()) {
        warnings.push_back("systemd-networkd uses " + live.networkFile + " for " + name +
                           ", which this library does not read: its settings may be lost");
    } else if (!before.files.empty() && live.networkd == "unmanaged") {
        warnings.push_back("systemd-networkd does not manage " + name + ": see its journal");
    }
}

/// The texts that are in `after` but not in `before`.
std::vector<std::string> added(const std::vector<std::string>& before, std::vector<std::string> after)
{
    const std::set<std::string> old(before.begin(), before.end());
    const auto isOld = [&old](const std::string& text) { return old.count(text) > 0; };
    after.erase(std::remove_if(after.begin(), after.end(), isOld), after.end());
    return after;
}

bool asksForServers(const IReadableFiles& files, const std::string& path)
{
    const auto sections = parseDaemonFile(textOf(files, path).value_or("")).sections;
    return std::any_of(sections.begin(), sections.end(),
                       [](const auto& section) { return !section.valueOf("DNS").empty(); });
}

/// Warns of each lease that ends with its DNS servers, and shows the commands that keep the servers.
void addLostServers(const IReadableFiles& files, const Configuration& before, const Configuration& after,
                    const LiveState& live, std::vector<std::string>& warnings)
{
    for (const auto& [name, iface] : after.interfaces) {
        const auto& servers = live.interfaces.at(name).lease.dnsServers;
        if (iface.dhcp || !before.interfaces.at(name).dhcp || !(before.dnsServers == after.dnsServers)) {
            continue; // a change that sets the servers needs no warning about them
        }
        std::string commands;
        unsigned int slot = 0;
        const auto lost = added(after.dnsServers, servers);
        for (const auto& server : lost) {
            while (asksForServers(files, paths::dnsServerFile(slot))) {
                ++slot;
            }
            commands += commands.empty() ? "velnetctl set-dns " : " && velnetctl set-dns ";
            commands += std::to_string(slot++) + ' ';
            commands += server;
        }
        if (!lost.empty()) {
            const bool isOne = lost.size() == 1;
            auto warning = name + " gives up its lease, and with it the name server";
            warning += isOne ? " " : "s ";
            warning += toText(lost);
            warning += isOne ? "; to keep it: " : "; to keep them: ";
            warnings.push_back(warning + commands);
        }
    }
}

void add(const std::string& sentence, std::vector<std::string>& sentences)
{
    if (!sentence.empty()) {
        sentences.push_back(sentence);
    }
}

} // namespace

std::vector<std::string> droppedLines(const FileChange& file)
{
    const auto lines = trimmedLines(file.after);
    const std::set<std::string> after(lines.begin(), lines.end());
    const bool hasMany = endsWith(file.path, paths::kRoutesDropIn); // it has several sections with the same keys
    std::set<std::string> seen;                                     // own keys
    std::vector<std::string> dropped;
    for (const auto& line : trimmedLines(file.before)) {
        if (line.empty() || line.front() == '[') {
            continue;
        }
        const auto key = trimmed(line.substr(0, line.find('=')));
        const bool isFirst = isOwnLine(file.path, key, line) && (seen.insert(key).second || hasMany);
        if (!isFirst && after.count(line) == 0) {
            dropped.push_back(line);
        }
    }
    return dropped;
}

void review(IDevice& device, Plan& plan, const std::string& advice)
{
    constexpr std::chrono::milliseconds kForGateway(1200); // the kernel repeats the question after a second
    const auto live = readLiveState(device);
    const auto before = readConfiguration(device.files());
    const auto after = readConfiguration(PlannedFiles(device.files(), plan));
    const auto asked = askNeighbours(device, before, after, live); // answers arrive during the checks below
    plan.before = touchedBy(plan, before);
    plan.after = touchedBy(plan, after);
    plan.objections = added(objectionsTo(before, live, advice), objectionsTo(after, live, advice));
    plan.warnings = added(misreadRoutes(before), misreadRoutes(after));
    for (const auto& daemon : daemonsOf(device, plan)) {
        add(bootFaultOf(daemon), plan.objections);
        add(presentFaultOf(daemon), plan.warnings); // a change restarts it
    }
    for (const auto& fault : faultsOfNeighbours(device, asked, kForGateway)) {
        plan.objections.push_back(fault);
    }
    for (const auto& [name, iface] : plan.after.interfaces) {
        add(iface.unused, plan.objections);
        plan.warnings.insert(plan.warnings.end(), iface.unread.begin(), iface.unread.end());
        plan.warnings.insert(plan.warnings.end(), iface.ignored.begin(), iface.ignored.end());
        addOtherUse(name, plan.before.interfaces.at(name), live.interfaces.at(name), plan.warnings);
        if (const auto& state = live.interfaces.at(name); state.isPresent && !state.hasLink) {
            plan.warnings.push_back("the cable of " + name + " is out: the change becomes live only when it is in");
        }
    }
    addLostServers(device.files(), before, after, live, plan.warnings);
    for (const auto& file : plan.files) {
        addDroppedLines(device.files(), file, plan.warnings);
    }
    for (auto* const sentences : {&plan.objections, &plan.warnings}) { // some quote files
        std::transform(sentences->begin(), sentences->end(), sentences->begin(), printable);
    }
}

Plan reviewed(IDevice& device, Plan plan, const std::string& advice)
{
    if (outcomeOf(plan).isDone) {
        review(device, plan, advice);
    } else if (plan.isNothingToChange()) {
        if (const auto trial = trialState(device); trial.isPending()) {
            plan.refusal = trial.text();
            plan.status.clear();
        }
    }
    return plan;
}

} // namespace networkhost
