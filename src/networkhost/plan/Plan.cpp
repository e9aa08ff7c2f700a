// SPDX-License-Identifier: MIT
#include "networkhost/plan/Plan.h"

#include "base/Paths.h"
#include "networkhost/change/Trial.h"
#include "networkhost/plan/Concerns.h"
#include "networkhost/plan/DaemonHealth.h"
#include "networkhost/plan/Neighbours.h"
#include "networkhost/state/DaemonFile.h"
#include "networkhost/state/LiveState.h"
#include "networkhost/state/Text.h"
#include "networkmanager/BuiltInInterfaces.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <set>
#include <sstream>
#include <string_view>

namespace networkhost {

namespace paths = velbase2::system::paths;

namespace {

bool startsWith(const std::string& text, const std::string& beginning)
{
    return text.compare(0, beginning.size(), beginning) == 0;
}

bool endsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

std::string trimmed(const std::string& line)
{
    const auto first = line.find_first_not_of(" \t\r");
    return first == std::string::npos ? "" : line.substr(first, line.find_last_not_of(" \t\r") + 1 - first);
}

std::vector<std::string> trimmedLines(const std::optional<std::string>& text)
{
    std::vector<std::string> lines;
    std::istringstream input(text.value_or(""));
    std::string line;
    while (std::getline(input, line)) {
        lines.push_back(trimmed(line));
    }
    return lines;
}

/// Keys that the library itself writes, and takes away when it is asked for something else.
bool isOwnKey(const std::string& path, const std::string& key)
{
    constexpr std::array<std::string_view, 6> kKeys = {"Name", "Address", "DHCP", "Gateway", "DNS", "Domains"};
    return std::find(kKeys.begin(), kKeys.end(), key) != kKeys.end() ||
           (endsWith(path, paths::kRoutesDropIn) && key == "Destination");
}

const FileChange* find(const Plan& plan, const std::string& path)
{
    const auto found =
        std::find_if(plan.files.begin(), plan.files.end(), [&](const auto& file) { return file.path == path; });
    return found == plan.files.end() ? nullptr : &*found;
}

/// What is in `after` and not in `before`.
std::vector<std::string> added(const std::vector<std::string>& before, std::vector<std::string> after)
{
    const auto isOld = [&before](const std::string& text) {
        return std::find(before.begin(), before.end(), text) != before.end();
    };
    after.erase(std::remove_if(after.begin(), after.end(), isOld), after.end());
    return after;
}

bool asksForServers(const IReadableFiles& files, const std::string& path)
{
    std::string text;
    files.read(path, text);
    const auto sections = parseDaemonFile(text);
    return std::any_of(sections.begin(), sections.end(),
                       [](const auto& section) { return !section.valueOf("DNS").empty(); });
}

/// Those of leases that end, with the line that keeps them.
void addLostServers(const IReadableFiles& files, const Configuration& before, const Configuration& after,
                    const LiveState& live, std::vector<std::string>& warnings)
{
    for (const auto& [name, iface] : after.interfaces) {
        const auto& servers = live.interfaces.at(name).lease.dnsServers;
        if (iface.dhcp || !before.interfaces.at(name).dhcp || !(before.dnsServers == after.dnsServers)) {
            continue; // who sets the servers knows them
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
    const auto after = trimmedLines(file.after);
    const bool hasMany = endsWith(file.path, paths::kRoutesDropIn); // sections of the same keys
    std::string section;
    std::set<std::string> seen; // own keys, one of each in each kind of section
    std::vector<std::string> dropped;
    for (const auto& line : trimmedLines(file.before)) {
        if (line.empty() || line.front() == '[') {
            section = line.empty() ? section : line;
            continue;
        }
        const auto key = trimmed(line.substr(0, line.find('=')));
        const bool isFirst = isOwnKey(file.path, key) && (seen.insert(section + key).second || hasMany);
        if (!isFirst && std::find(after.begin(), after.end(), line) == after.end()) {
            dropped.push_back(line);
        }
    }
    return dropped;
}

void judge(IDevice& device, Plan& plan, const std::string& advice)
{
    constexpr std::chrono::milliseconds kForGateway(1200); // the kernel asks again after a second
    const auto live = readLiveState(device);
    const auto before = readConfiguration(device.files());
    const auto after = readConfiguration(PlannedFiles(device.files(), plan));
    const auto asked = askNeighbours(device, before, after, live); // the answers come while the rest is looked at
    plan.concerns = added(concernsOf(before, live, advice), concernsOf(after, live, advice));
    plan.warnings = added(misreadRoutes(before), misreadRoutes(after));
    for (const auto& daemon : daemonsOf(device, plan)) {
        add(bootFaultOf(daemon), plan.concerns);
        add(presentFaultOf(daemon), plan.warnings); // a change restarts it
    }
    for (const auto& fault : faultsOfNeighbours(device, asked, kForGateway)) {
        plan.concerns.push_back(fault);
    }
    for (const auto& [name, iface] : concernedBy(plan, after).interfaces) {
        if (const auto& state = live.interfaces.at(name); state.isPresent && !state.hasLink) {
            plan.warnings.push_back("the cable of " + name + " is out: the change becomes live only when it is in");
        }
    }
    addLostServers(device.files(), before, after, live, plan.warnings);
    for (const auto& file : plan.files) {
        for (const auto& line : droppedLines(file)) {
            plan.warnings.push_back(file.path + " loses the line '" + line + '\'');
        }
    }
}

void refuseDuringTrial(IDevice& device, Plan& plan)
{
    if (!plan.outcome.isNothingToChange()) {
        return;
    }
    if (const auto trial = trialState(device); trial.isPending()) {
        plan.outcome = refused(trial.text());
    }
}

Configuration concernedBy(const Plan& plan, const Configuration& configuration)
{
    const auto isConcerned = [&plan](const std::string& beginning) {
        return std::any_of(plan.files.begin(), plan.files.end(),
                           [&](const auto& file) { return startsWith(file.path, beginning); });
    };
    Configuration concerned;
    for (const auto& builtIn : networkmanager::kBuiltInInterfaces) {
        if (isConcerned(paths::ofInterface(builtIn.networkFile))) {
            concerned.interfaces[builtIn.name] = configuration.interfaces.at(builtIn.name);
        }
    }
    if (isConcerned(paths::kResolverDirectory)) {
        concerned.dnsServers = configuration.dnsServers;
        concerned.searchDomains = configuration.searchDomains;
    }
    return concerned;
}

std::error_code PlannedFiles::read(const std::string& path, std::string& text) const
{
    const auto* const planned = find(plan_, path);
    if (planned == nullptr) {
        return files_.read(path, text);
    }
    if (!planned->after) {
        return std::make_error_code(std::errc::no_such_file_or_directory);
    }
    text = *planned->after;
    return {};
}

std::error_code PlannedFiles::list(const std::string& directory, std::vector<std::string>& names) const
{
    std::vector<std::string> found;
    if (const auto error = files_.list(directory, found)) {
        return error;
    }
    std::set<std::string> all(found.begin(), found.end());
    for (const auto& file : plan_.files) {
        if (startsWith(file.path, directory)) {
            const auto name = file.path.substr(directory.size());
            file.after ? static_cast<void>(all.insert(name)) : static_cast<void>(all.erase(name));
        }
    }
    names.assign(all.begin(), all.end());
    return {};
}

} // namespace networkhost
