// SPDX-License-Identifier: MIT
#include "Change.h"

#include "Progress.h"
#include "Text.h"
#include "Trial.h"
#include "base/FileDescriptor.h"
#include "base/ReadFile.h"
#include "networkhost/change/Apply.h"
#include "networkhost/change/Trial.h"
#include "networkhost/plan/PlanText.h"
#include "networkhost/plan/Requests.h"
#include "networkhost/plan/Settings.h"
#include "networkhost/state/Configuration.h"
#include "networkhost/state/LiveState.h"
#include "networkhost/state/Missing.h"
#include "networkhost/state/Text.h"
#include "networkhost/text/Addresses.h"
#include "networkhost/text/Checks.h"
#include "networkhost/text/NetworkAddress.h"
#include "networkmanager/RequestStatus.h"
#include "networkmanager/system/Helper.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include <boost/algorithm/string/join.hpp>
#include <fcntl.h>
#include <unistd.h>

namespace velnetctl {

using networkhost::Outcome;
using networkhost::Plan;
using velbase2::nsa::common::IpSettings;

namespace {

constexpr const char* kNone = "none";
constexpr auto kTimeToSettle = std::chrono::seconds(3);

/// Waits until the live state is as configured. A change keeps the live gateway, and would lose one that is about to
/// come back.
void settle(Session& session, const std::string& interfaceName)
{
    auto configured = onlyInterface(networkhost::readConfiguration(session.device.files()), interfaceName);
    configured.interfaces.at(interfaceName).routes.clear();              // a change does not need them
    const bool hasLink = session.device.system().getLink(interfaceName); // without a link, nothing becomes live
    const auto lacking =
        networkhost::waitUntilLive(session.device, configured, hasLink ? kTimeToSettle : std::chrono::seconds(0));
    if (!lacking.empty()) {
        warn(session, "the live state lacks " + lacking + ", which is configured");
    }
}

/// True unless the request was refused or failed.
bool reportChange(Session& session, const Outcome& outcome)
{
    if (!outcome.isDone && !outcome.isNothingToChange()) {
        printFailure(session, outcome);
        return false;
    }
    const auto text = toText(outcome);
    const auto endOfStatus = text.find('\n') + 1;
    session.output << text.substr(0, endOfStatus) << std::flush;
    fail(session, text.substr(endOfStatus)); // the warnings
    return true;
}

std::string shownBy(const networkhost::LiveState& live)
{
    std::string text;
    for (const auto& [name, iface] : live.interfaces) {
        const auto settings = networkmanager::helper::getIpSettingsWithFirstIpv4(iface.addresses);
        text += name + ' ' + networkhost::toText(settings) + ", ";
    }
    return text + "gateway " + networkhost::toText(live.gateway);
}

/// The same as waitUntilLive(), but on a terminal it shows each second what is missing.
std::string waitShowing(Session& session, const Plan& plan, std::chrono::milliseconds wait)
{
    auto& device = session.device;
    if (!takesEscapes()) {
        return networkhost::waitUntilLive(device, plan, wait);
    }
    constexpr std::chrono::milliseconds kSecond(1000);
    Progress progress(session);
    const auto end = device.now() + wait;
    for (;;) {
        auto lacking = networkhost::waitUntilLive(device, plan, std::min(end - device.now(), kSecond));
        const auto left = end - device.now();
        if (lacking.empty() || left <= std::chrono::milliseconds(0)) {
            return lacking;
        }
        progress.show(lacking, left);
    }
}

bool awaitEffect(Session& session, Seconds wait, const Plan& plan)
{
    if (!wait) {
        return true;
    }
    const auto lacking = waitShowing(session, plan, *wait);
    if (!lacking.empty()) {
        fail(session, "after " + std::to_string(wait->count()) + " s the live state still lacks " + lacking +
                          "; it shows " + shownBy(networkhost::readLiveState(session.device)));
    }
    return lacking.empty();
}

/// Unchanged for patch(1); on a terminal, control characters become text.
void printPlan(Session& session, const Plan& plan, bool json)
{
    if (json) {
        session.output << toJson(plan) << '\n';
    } else {
        const auto text = stepsText(plan);
        session.output << (::isatty(STDOUT_FILENO) == 1 ? printableLines(text) : text);
    }
}

bool carryOut(Session& session, const Plan& plan, const ChangeOptions& options)
{
    const auto planned = outcomeOf(plan, options.force);
    const bool isRefused = !planned.isDone && !planned.isNothingToChange();
    if (options.dryRun || !isRefused) { // the change does not happen, and needs no warnings
        for (const auto& warning : plan.warnings) {
            warn(session, warning);
        }
    }
    if (options.dryRun) {
        printPlan(session, plan, options.json);
        return !isRefused || reportChange(session, planned);
    }
    if (options.trial && !plan.files.empty()) {
        return tryPlan(session, plan, options);
    }
    const auto outcome = networkhost::apply(session.device, plan, {options.force});
    return reportChange(session, outcome) && (!outcome.isDone || awaitEffect(session, options.wait, plan));
}

/// Nothing for ADDRESS and MASK with a fault.
std::optional<IpSettings> requestedSettings(const std::string& address, const std::string& mask, std::string& fault)
{
    if (mask.empty()) {
        return networkhost::parseIpSettings(address, fault);
    }
    fault = networkhost::faultOfSettings({address, mask, false, {}});
    if (!fault.empty()) {
        return std::nullopt;
    }
    auto settings = networkhost::NetworkAddress::parse(address)->settings();
    settings.mask = mask;
    return settings;
}

/// The library spells "none" as 0.0.0.0.
std::string addressOrNone(const std::string& text)
{
    return lowerCase(text) == kNone ? networkhost::kNoAddress : text;
}

/// Reads to the end, and waits for the writer of a pipe. Returns the error of the open or the read.
std::error_code readDocument(const std::string& file, std::string& text)
{
    constexpr std::size_t kMost = velbase2::system::kMostOfAFile;
    const auto lastError = [] { return std::error_code(errno, std::generic_category()); };
    velbase2::system::FileDescriptor own;
    if (file != "-") {
        own.reset(::open(file.c_str(), O_RDONLY | O_NOCTTY | O_CLOEXEC));
        if (!own.isOpen()) {
            return lastError();
        }
    }
    std::array<char, 4096> part{};
    for (;;) {
        const auto count = ::read(own.isOpen() ? own.get() : STDIN_FILENO, part.data(), part.size());
        if (count <= 0) {
            return count < 0 ? lastError() : std::error_code();
        }
        text.append(part.data(), static_cast<std::size_t>(count));
        if (text.size() > kMost) {
            return std::make_error_code(std::errc::file_too_large);
        }
    }
}

/// Warns of settings of the interface that its document does not have, or that it has in a form that `apply` refuses.
void warnOfLosses(Session& session, const std::string& name, const networkhost::ConfiguredInterface& iface,
                  const networkhost::LiveInterface& live)
{
    for (const auto* const sentences : {&iface.unread, &iface.ignored}) {
        for (const auto& sentence : *sentences) {
            warn(session, networkhost::printable(sentence));
        }
    }
    if (!iface.dnsServers.empty() || !iface.searchDomains.empty()) {
        warn(session, "the name servers and domains of " + name + " alone have no place in the document");
    }
    if (iface.addresses.size() + (iface.dhcp ? 1 : 0) > 1) {
        warn(session, name + " has more than one address: \"apply\" refuses this document");
    }
    if (!iface.gateway.empty() && name != networkhost::gatewayInterface()) {
        warn(session, name + " has a default route: \"apply\" refuses this document");
    }
    if (iface.files.empty() && !live.networkFile.empty()) {
        warn(session, "systemd-networkd uses " + networkhost::printable(live.networkFile) + " for " + name +
                          ", which this library does not read");
    }
}

} // namespace

void printFailure(Session& session, const Outcome& outcome)
{
    fail(session, toText(outcome));
    if (!outcome.objections.empty()) {
        fail(session, "nothing is changed; --force does it all the same");
    }
}

bool setIp(Session& session, const std::string& interfaceName, const std::string& address, const std::string& mask,
           const std::string& gateway, const std::vector<std::string>& dnsServers, const ChangeOptions& options)
{
    std::string fault;
    auto settings = requestedSettings(address, mask, fault);
    if (!settings) {
        printFailure(session, networkhost::refused(fault, networkmanager::status::kInvalidIpOrMask));
        return false;
    }
    settings->gateway = addressOrNone(gateway);
    settle(session, interfaceName);
    if (dnsServers.empty()) {
        return carryOut(session, networkhost::planIp(session.device, interfaceName, *settings), options);
    }
    const bool isNone = dnsServers.size() == 1 && lowerCase(dnsServers.front()) == kNone;
    const auto servers = isNone ? std::vector<std::string>() : dnsServers;
    return carryOut(session, networkhost::planIp(session.device, interfaceName, *settings, servers), options);
}

bool setGateway(Session& session, const std::string& gateway, const ChangeOptions& options)
{
    const auto address = addressOrNone(gateway);
    if (networkhost::faultOfAddress(address).empty()) {
        settle(session, networkhost::gatewayInterface());
    }
    return carryOut(session, networkhost::planGateway(session.device, address), options);
}

bool setDns(Session& session, unsigned int index, const std::string& address, const ChangeOptions& options)
{
    return carryOut(session, networkhost::planDnsServer(session.device, addressOrNone(address), index), options);
}

bool setDomain(Session& session, const std::vector<std::string>& domains, const ChangeOptions& options)
{
    const auto text = boost::algorithm::join(domains, " ");
    return carryOut(session, networkhost::planDnsDomain(session.device, text), options);
}

bool setRoutes(Session& session, const std::string& interfaceName, const std::string& routes,
               const ChangeOptions& options)
{
    settle(session, interfaceName);
    return carryOut(session, networkhost::planRoutes(session.device, interfaceName, routes), options);
}

bool applySettings(Session& session, const std::string& file, const ChangeOptions& options)
{
    const auto name = file == "-" ? "standard input" : file;
    std::string document;
    if (const auto error = readDocument(file, document)) {
        fail(session, "cannot read " + name + ": " + error.message());
        return false;
    }
    const auto plan = networkhost::planSettings(session.device, document);
    const auto place = name + ": ";
    for (const auto& fault : plan.faults) {
        fail(session, place + fault);
    }
    return plan.faults.empty() && carryOut(session, plan, options);
}

bool saveSettings(Session& session, const std::string& file)
{
    const auto unread = networkhost::unreadFiles(session.device.files());
    if (!unread.empty()) { // without their settings, the document would remove these from a device
        fail(session, networkhost::textOf(unread));
        return false;
    }
    const auto live = networkhost::readLiveState(session.device);
    for (const auto& [name, iface] : networkhost::readConfiguration(session.device.files()).interfaces) {
        warnOfLosses(session, name, iface, live.interfaces.at(name));
    }
    const auto document = networkhost::saveSettings(session.device.files());
    if (file == "-") {
        session.output << document << std::flush;
        return true;
    }
    const auto error = session.device.files().replace(std::filesystem::absolute(file), document);
    if (error) {
        fail(session, networkhost::textOf({{networkhost::Failure::Step::WriteFile, file, error, {}}}));
    }
    return !error;
}

} // namespace velnetctl
