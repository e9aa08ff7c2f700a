// SPDX-License-Identifier: MIT
#include "networkhost/plan/Settings.h"

#include "base/IpHelper.h"
#include "base/Paths.h"
#include "networkhost/plan/DnsServers.h"
#include "networkhost/plan/PlannedFiles.h"
#include "networkhost/plan/PlanningSystem.h"
#include "networkhost/plan/Review.h"
#include "networkhost/plan/SettingsDocument.h"
#include "networkhost/state/DaemonFile.h"
#include "networkhost/state/DropIns.h"
#include "networkhost/state/Text.h"
#include "networkhost/text/Addresses.h"
#include "networkhost/text/NetworkAddress.h"
#include "networkhost/text/Words.h"
#include "networkmanager/BuiltInInterfaces.h"
#include "networkmanager/DnsConfig.h"
#include "networkmanager/RequestStatus.h"
#include "networkmanager/Routes.h"
#include "networkmanager/confighandler/ConfigHandler.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <set>

#include <boost/algorithm/string/join.hpp>

namespace networkhost {

using networkmanager::BuiltInInterface;
using velbase2::nsa::common::IpSettings;
namespace iphelper = velbase2::system::iphelper;
namespace paths = velbase2::system::paths;
namespace status = networkmanager::status;

namespace {

using Texts = std::vector<std::string>;

/// An interface, or the resolver.
struct Part
{
    std::string place;                                           // in the document
    std::function<Configuration(const Configuration& all)> only; // takes this part out of a configuration
    Plan main;                                                   // this and the next: files that the library writes
    Plan other;
    Texts foreign; // files that the daemon reads but the library does not write
};

void addFile(IDevice& device, const std::string& path, const std::string& text, Plan& plan)
{
    PlanningSystem(device, plan).writeToConfFile(path, text);
}

std::string mainFileText(const BuiltInInterface& builtIn, const ConfiguredInterface& iface)
{
    IpSettings settings{kNoAddress, kNoAddress, iface.dhcp, {}};
    if (!iface.addresses.empty()) { // parseDocument() has checked that there is at most one, and that it is valid
        settings = NetworkAddress::parse(iface.addresses.front())->settings();
    }
    return networkmanager::confighandler::createConfig(builtIn.name, settings, iface.gateway, builtIn.intComIf);
}

std::string routesFileText(const ConfiguredInterface& iface)
{
    std::vector<networkmanager::RouteSetting> routes;
    for (const auto& route : iface.routes) {
        routes.push_back({route.destination, route.gateway});
    }
    velbase2::system::signals::signal<std::string> messages; // none is emitted, because the routes are valid
    return networkmanager::createSysConf(routes, messages);
}

Part interfacePart(IDevice& device, const BuiltInInterface& builtIn, const Configuration& wanted)
{
    const std::string name = builtIn.name;
    Part part;
    part.place = "interfaces." + name;
    part.only = [name](const Configuration& all) { return onlyInterface(all, name); };
    const auto& iface = wanted.interfaces.at(name);
    addFile(device, paths::ofInterface(builtIn.networkFile), mainFileText(builtIn, iface), part.main);
    addFile(device, paths::ofInterface(builtIn.networkFile, paths::kRoutesDropIn), routesFileText(iface), part.other);
    for (const auto& file : readWithDropIns(device.files(), std::string("network/") + builtIn.networkFile)) {
        if (file.isDropIn && file.path != paths::ofInterface(builtIn.networkFile, paths::kRoutesDropIn)) {
            part.foreign.push_back(file.path);
        }
    }
    return part;
}

/// Whether setDnsServer() writes this file.
bool isSlot(const std::string& path)
{
    const auto digits = std::min(path.find_first_of("0123456789"), path.size());
    const auto index = iphelper::leadingNumber(path.substr(digits), -1, -1);
    return index >= 0 && path == paths::dnsServerFile(static_cast<unsigned int>(index));
}

bool asksForDns(const IReadableFiles& files, const std::string& path)
{
    for (const auto& section : parseDaemonFile(textOf(files, path).value_or("")).sections) {
        for (const auto& [key, value] : section.entries) {
            if (key == "DNS" || key == "Domains") {
                return true;
            }
        }
    }
    return false;
}

Part resolverPart(IDevice& device, const Configuration& wanted)
{
    Part part{"dns", onlyResolver, {}, {}, {paths::kResolverFile}};
    std::set<std::string> slots; // in the daemon's order by text: slot 10 comes before slot 2
    for (unsigned int index = 0; index < wanted.dnsServers.size(); ++index) {
        slots.insert(paths::dnsServerFile(index));
    }
    auto server = wanted.dnsServers.begin();
    for (const auto& path : slots) {
        addFile(device, path, networkmanager::createDnsConfig(*server++), part.main);
    }
    const auto domains = boost::algorithm::join(wanted.searchDomains, " ");
    addFile(device, paths::dnsDomainFile(), networkmanager::createDomainConfig(domains), part.other);
    Texts names;
    device.files().list(paths::kResolverDirectory, names);
    for (const auto& name : names) {
        const auto path = paths::kResolverDirectory + name;
        if (slots.count(path) > 0 || path == paths::dnsDomainFile()) {
            continue;
        }
        if (!isSlot(path)) {
            part.foreign.push_back(path);
        } else if (asksForDns(device.files(), path)) {
            addFile(device, path, networkmanager::createDnsConfig(kNoAddress), part.main);
        }
    }
    return part;
}

/// Adds the fewest files that bring the wanted configuration: none, one group, or both. Both are needed when a user has
/// written an entry by hand into the wrong group's file. Returns why the files are not enough, or an empty text.
std::string addNeededFiles(const IReadableFiles& files, const Part& part, const Configuration& wanted, Plan& plan)
{
    for (const auto* group : {&part.main, &part.other}) {
        if (const auto& failures = group->failures; !failures.empty()) {
            plan.failures.insert(plan.failures.end(), failures.begin(), failures.end());
            return textOf(failures);
        }
    }
    Plan tried;
    const auto configured = [&] { return part.only(sorted(readConfiguration(PlannedFiles(files, tried)))); };
    auto both = part.main.files;
    both.insert(both.end(), part.other.files.begin(), part.other.files.end());
    for (const auto& group : {std::vector<FileChange>(), part.other.files, part.main.files, both}) {
        tried.files = group;
        if (configured() == part.only(wanted)) {
            std::copy_if(group.begin(), group.end(), std::back_inserter(plan.files),
                         [](const auto& file) { return file.after != file.before; });
            return {};
        }
    }
    const auto best = configured();
    Texts inTheWay;
    for (const auto& path : part.foreign) {
        tried.files.push_back({path, {}, {}}); // tries the configuration without this file
        if (!(configured() == best)) {
            inTheWay.push_back(path);
        }
        tried.files.pop_back();
    }
    return part.place + ": a file that is not written here asks for something else: " + toText(inTheWay);
}

void addActivations(IDevice& device, Plan& plan)
{
    const auto isAnyIn = [&plan](const std::string& directory) {
        return std::any_of(plan.files.begin(), plan.files.end(),
                           [&](const auto& file) { return startsWith(file.path, directory); });
    };
    PlanningSystem system(device, plan);
    if (isAnyIn(paths::kNetworkDirectory)) {
        system.reloadSettings();
    }
    if (isAnyIn(paths::kResolverDirectory)) {
        system.reloadResolveD();
    }
}

} // namespace

std::string saveSettings(const IReadableFiles& files)
{
    return toDocument(sorted(readConfiguration(files)));
}

Plan planSettings(IDevice& device, const std::string& document)
{
    Plan plan;
    plan.title = "apply";
    const auto wanted = parseDocument(document, plan.faults);
    if (!plan.faults.empty()) {
        plan.refusal = boost::algorithm::join(plan.faults, "; ");
        return plan;
    }
    Texts reasons;
    const auto add = [&](const Part& part) {
        if (const auto reason = addNeededFiles(device.files(), part, wanted, plan); !reason.empty()) {
            reasons.push_back(reason);
        }
    };
    for (const auto& builtIn : networkmanager::kBuiltInInterfaces) {
        add(interfacePart(device, builtIn, wanted));
    }
    add(resolverPart(device, wanted));
    if (!reasons.empty()) {
        plan.files.clear();
        plan.refusal = boost::algorithm::join(reasons, "; ");
        return plan;
    }
    if (plan.files.empty()) {
        plan.status = status::kNothingToChange;
    } else {
        addActivations(device, plan);
        plan.status = status::kOk;
    }
    return reviewed(device, std::move(plan));
}

std::string addDnsServers(IDevice& device, const std::vector<std::string>& servers, Plan& plan)
{
    auto wanted = sorted(readConfiguration(device.files()));
    wanted.dnsServers = servers;
    const auto count = plan.files.size();
    auto reason = addNeededFiles(device.files(), resolverPart(device, wanted), wanted, plan);
    if (plan.files.size() > count) {
        PlanningSystem(device, plan).reloadResolveD();
    }
    return reason;
}

Texts faultsOfSettings(const std::string& document)
{
    Texts faults;
    parseDocument(document, faults);
    return faults;
}

} // namespace networkhost
