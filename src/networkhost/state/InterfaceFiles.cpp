// SPDX-License-Identifier: MIT
#include "networkhost/state/InterfaceFiles.h"

#include "base/IpHelper.h"
#include "networkhost/state/DaemonFile.h"
#include "networkhost/state/DaemonVersion.h"
#include "networkhost/state/DropIns.h"
#include "networkhost/text/Addresses.h"
#include "networkhost/text/DaemonValues.h"
#include "networkhost/text/Words.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include <fnmatch.h>

namespace networkhost {

namespace {

constexpr std::uint32_t kMainTable = 254;
constexpr std::uint32_t kLeaseMetric = 1024;

// Keys that change what this library shows or waits for, and that it does not read. systemd-networkd ignores a whole
// section for one bad value of most of them.
constexpr std::array<std::string_view, 17> kMatchKeys = {
    "MACAddress",        "PermanentMACAddress", "Path",       "Driver",       "Type",    "Kind",
    "Property",          "WLANInterfaceType",   "SSID",       "BSSID",        "Host",    "Virtualization",
    "KernelCommandLine", "KernelVersion",       "Credential", "Architecture", "Firmware"};
constexpr std::array<std::string_view, 7> kNetworkKeys = {
    "Bridge", "Bond", "VRF", "BatmanAdvanced", "KeepConfiguration", "BindCarrier", "DefaultRouteOnDevice"};
constexpr std::array<std::string_view, 13> kAddressKeys = {"Peer",
                                                           "Broadcast",
                                                           "PreferredLifetime",
                                                           "HomeAddress",
                                                           "DuplicateAddressDetection",
                                                           "ManageTemporaryAddress",
                                                           "AddPrefixRoute",
                                                           "PrefixRoute",
                                                           "AutoJoin",
                                                           "Scope",
                                                           "RouteMetric",
                                                           "NetLabel",
                                                           "NFTSet"};
constexpr std::array<std::string_view, 18> kRouteKeys = {"Source",
                                                         "IPv6Preference",
                                                         "Scope",
                                                         "PreferredSource",
                                                         "HopLimit",
                                                         "Protocol",
                                                         "Type",
                                                         "InitialCongestionWindow",
                                                         "InitialAdvertisedReceiveWindow",
                                                         "QuickAck",
                                                         "FastOpenNoCookie",
                                                         "MTUBytes",
                                                         "TCPAdvertisedMaximumSegmentSize",
                                                         "TCPCongestionControlAlgorithm",
                                                         "TCPRetransmissionTimeoutSec",
                                                         "TTLPropagate",
                                                         "MultiPathRoute",
                                                         "NextHop"};

template <class Keys>
bool isAmong(const Keys& keys, const std::string& key)
{
    return std::find(keys.begin(), keys.end(), key) != keys.end();
}

std::string entryOf(const std::string& key, const std::string& value = {})
{
    return std::string(key).append("=").append(value);
}

struct DefaultRoute
{
    std::uint32_t metric = 0;
    std::string gateway;
};

/// Where the versions of systemd differ: about addresses without a prefix length, and about empty values.
enum class Rules {
    Of252, // and before
    Of257, // and later
    Unknown
};

/// What the files say so far.
struct Reading
{
    const IReadableFiles& files;
    const std::string& interfaceName;
    ConfiguredInterface iface = {};
    std::vector<std::string> names = {}; // the names in [Match]; "!" marks one that must not match
    bool hasOtherMatch = false;
    bool isUnmanaged = false;
    std::vector<DefaultRoute> defaultRoutes = {};
    bool usesLeasedRoutes = true;
    std::optional<bool> usesLeasedGateway = {};
    std::uint32_t leaseMetric = kLeaseMetric;
    std::uint32_t leaseTable = kMainTable;
    std::optional<Rules> rules = {}; // once they are needed
};

/// Where something stands, for a sentence.
struct Place
{
    const std::string& path;
    const std::string& section;
};

void addOnce(std::vector<std::string>& sentences, const std::string& sentence)
{
    if (std::find(sentences.begin(), sentences.end(), sentence) == sentences.end()) {
        sentences.push_back(sentence);
    }
}

void addUnread(Reading& reading, const Place& place, const std::string& entry)
{
    addOnce(reading.iface.unread,
            place.path + " has [" + place.section + "] " + entry + ", which this library does not read");
}

/// In [Network], a bad value costs its line. Elsewhere it costs its section.
void addIgnored(Reading& reading, const Place& place, const std::string& reason)
{
    const auto what = place.section == "Network" ? "a line of [Network]" : "a section [" + place.section + "]";
    addOnce(reading.iface.ignored, place.path + ": systemd-networkd ignores " + what + " because of " + reason);
}

bool isIpv6(const std::string& text)
{
    return text.find(':') != std::string::npos;
}

/// An address without a length. A word such as "_ipv6ra" names a gateway that somebody else tells.
bool isGateway(const std::string& text)
{
    const bool hasLength = text.find('/') != std::string::npos;
    return startsWith(text, "_") || ((daemonAddress(text) || isIpv6(text)) && !hasLength);
}

Rules rulesOf(Reading& reading)
{
    if (!reading.rules) {
        const auto version = networkdVersion(reading.files);
        const bool isKnown = version && (*version <= 252 || *version >= 257);
        reading.rules = !isKnown ? Rules::Unknown : *version <= 252 ? Rules::Of252 : Rules::Of257;
    }
    return *reading.rules;
}

/// The address as it becomes live. Nothing when that cannot be told, or when it is none.
std::optional<std::string> interfaceAddress(Reading& reading, const Place& place, const std::string& value)
{
    const auto entry = "Address=" + value;
    auto parsed = daemonAddress(value);
    if (!parsed) {
        if (!value.empty() && !isIpv6(value)) {
            addIgnored(reading, place, entry);
        }
        return std::nullopt;
    }
    if (parsed->address.bits == 0) { // systemd-networkd takes a free network of that length
        addUnread(reading, place, entry);
        return std::nullopt;
    }
    if (!parsed->hasLength) {
        const auto rules = rulesOf(reading);
        if (rules == Rules::Unknown) {
            addUnread(reading, place, entry + " without a prefix length");
            return std::nullopt;
        }
        if (rules == Rules::Of252) {
            parsed->address.length = lengthByClass(parsed->address).value_or(-1);
        }
        if (parsed->address.length < 0) {
            addIgnored(reading, place, entry + ": it has no prefix length");
            return std::nullopt;
        }
    }
    return parsed->address.text();
}

void addAddress(Reading& reading, const std::string& address)
{
    auto& addresses = reading.iface.addresses;
    addresses.erase(std::remove(addresses.begin(), addresses.end(), address), addresses.end());
    addresses.push_back(address);
}

/// Whether an empty "Address=" or "Gateway=" removes the earlier ones.
bool removesEarlierOnes(Reading& reading, const Place& place, const std::string& key)
{
    const auto rules = rulesOf(reading);
    if (rules == Rules::Unknown) {
        addUnread(reading, place, key + "= without a value");
    }
    return rules == Rules::Of257;
}

void readMatch(Reading& reading, const Place& place, const std::string& key, const std::string& value)
{
    if (key != "Name") {
        if (isAmong(kMatchKeys, key) && !value.empty()) {
            reading.hasOtherMatch = true;
            addUnread(reading, place, entryOf(key));
        }
        return;
    }
    if (value.empty()) {
        reading.names.clear();
    }
    const bool isInverted = startsWith(value, "!");
    for (const auto& name : wordsOf(value.substr(isInverted ? 1 : 0))) {
        if (name.find_first_of("/:%") == std::string::npos) { // other words are no names
            reading.names.push_back(isInverted ? '!' + name : name);
        }
    }
}

void readLink(Reading& reading, const Place& place, const std::string& key, const std::string& value)
{
    if (key == "Unmanaged") {
        reading.isUnmanaged = daemonBool(value).value_or(reading.isUnmanaged);
    } else if (key == "ActivationPolicy" && value != "up" && value != "always-up") {
        addUnread(reading, place, entryOf(key, value));
    }
}

/// Whether "DHCP=" asks for an IPv4 lease. Nothing for a value that systemd-networkd ignores.
std::optional<bool> asksForLease(const std::string& value)
{
    if (value == "ipv4" || value == "v4" || value == "both") {
        return true;
    }
    return value == "ipv6" || value == "v6" || value == "none" ? false : daemonBool(value);
}

void readGateway(Reading& reading, const Place& place, const std::string& value)
{
    auto& routes = reading.defaultRoutes;
    const auto entry = entryOf("Gateway", value);
    if (value.empty()) {
        const bool hasRoutes = !routes.empty() || !reading.iface.routes.empty();
        if (hasRoutes && removesEarlierOnes(reading, place, "Gateway")) { // those with a destination as well
            routes.clear();
            reading.iface.routes.clear();
        }
    } else if (value == kNoAddress || value == "_dhcp4") {
        addUnread(reading, place, entry);
    } else if (!isGateway(value)) {
        addIgnored(reading, place, entry);
    } else if (daemonAddress(value)) {
        routes.push_back({0, value});
    }
}

void readNetwork(Reading& reading, const Place& place, const std::string& key, const std::string& value)
{
    auto& iface = reading.iface;
    if (key == "DHCP") {
        iface.dhcp = asksForLease(value).value_or(iface.dhcp);
    } else if (key == "DNS") {
        assignList(iface.dnsServers, value);
    } else if (key == "Domains") {
        assignList(iface.searchDomains, value);
    } else if (key == "Address" && value.empty()) {
        if (!iface.addresses.empty() && removesEarlierOnes(reading, place, key)) {
            iface.addresses.clear();
        }
    } else if (key == "Address") {
        if (const auto address = interfaceAddress(reading, place, value)) {
            addAddress(reading, *address);
        }
    } else if (key == "Gateway") {
        readGateway(reading, place, value);
    } else if (isAmong(kNetworkKeys, key) && daemonBool(value).value_or(true)) {
        addUnread(reading, place, entryOf(key));
    }
}

/// An alias of the address: any text that fits into the kernel's field.
bool isLabel(const std::string& text)
{
    return text.size() <= 15 &&
           std::all_of(text.begin(), text.end(), [](char character) { return character > 0x1F && character < 0x7F; });
}

/// Whether an address with that label is found among those of the interface.
bool isFound(const std::string& label, const std::string& interfaceName)
{
    return label.empty() || label == interfaceName || startsWith(label, interfaceName + ':');
}

void readAddressSection(Reading& reading, const Place& place, const DaemonSection& section)
{
    std::string address;
    std::string fault;
    for (const auto& [key, value] : section.entries) {
        if (key == "Address") {
            address = value;
            const bool isGood =
                value.empty() ? removesEarlierOnes(reading, place, key) : daemonAddress(value) || isIpv6(value);
            fault = isGood ? fault : entryOf(key, value);
        } else if (key == "Label" && !isLabel(value)) {
            fault = "Label=" + value;
        } else if (isAmong(kAddressKeys, key) || (key == "Label" && !isFound(value, reading.interfaceName))) {
            addUnread(reading, place, entryOf(key));
        }
    }
    if (!fault.empty()) {
        addIgnored(reading, place, fault);
    } else if (const auto live = interfaceAddress(reading, place, address)) {
        addAddress(reading, *live);
    }
}

/// A number of a routing table, or one of the names that every system has. Nothing for another name.
std::optional<std::uint32_t> tableOf(const std::string& value)
{
    if (value == "main") {
        return kMainTable;
    }
    return value == "default" ? std::optional(253U) : value == "local" ? std::optional(255U) : daemonNumber(value);
}

struct RouteSection
{
    DefaultRoute route;
    std::optional<std::string> destination;
    std::uint32_t table = kMainTable;
};

/// Takes over the value. False for one that makes systemd-networkd ignore the section.
bool readRouteEntry(RouteSection& read, const std::string& key, const std::string& value)
{
    if (key == "Gateway") {
        read.route.gateway = value;
        return value.empty() || isGateway(value);
    }
    if (key == "Destination") {
        read.destination = value;
        return daemonAddress(value) || isIpv6(value);
    }
    if (key == "Metric") {
        read.route.metric = daemonNumber(value).value_or(0);
        return daemonNumber(value).has_value();
    }
    if (key == "Table") {
        read.table = tableOf(value).value_or(0);
        return read.table != 0;
    }
    return key != "GatewayOnLink" || daemonBool(value);
}

void addRoute(Reading& reading, const Place& place, const RouteSection& read)
{
    const auto& gateway = read.route.gateway;
    const auto parsed = daemonAddress(read.destination.value_or("0.0.0.0/0"));
    const auto network = parsed ? parsed->address.network().text() : read.destination.value_or("");
    if (gateway == "_dhcp4") {
        addUnread(reading, place, "Gateway=_dhcp4");
    } else if (read.table != kMainTable || isIpv6(network) || isIpv6(gateway) || startsWith(gateway, "_")) {
        return; // "_ipv6ra" and others
    } else if (gateway.empty() || gateway == kNoAddress) {
        if (read.destination && network == "0.0.0.0/0") {
            addUnread(reading, place, "a default route without a gateway");
        }
    } else if (network == "0.0.0.0/0") {
        reading.defaultRoutes.push_back(read.route);
    } else {
        reading.iface.routes.push_back({network, gateway});
    }
}

void readRouteSection(Reading& reading, const Place& place, const DaemonSection& section)
{
    RouteSection read;
    std::string fault;
    for (const auto& [key, value] : section.entries) {
        if (isAmong(kRouteKeys, key)) {
            addUnread(reading, place, entryOf(key));
        } else if (key == "Table" && !value.empty() && !tableOf(value)) {
            addUnread(reading, place, entryOf(key, value));
            read.table = 0; // a name of networkd.conf, or a fault: not the main table
        } else if (!readRouteEntry(read, key, value)) {
            fault = entryOf(key, value);
        }
    }
    if (fault.empty()) {
        addRoute(reading, place, read);
    } else {
        addIgnored(reading, place, fault);
    }
}

void readLeaseOptions(Reading& reading, const Place& place, const std::string& key, const std::string& value)
{
    if (key == "UseRoutes") {
        reading.usesLeasedRoutes = daemonBool(value).value_or(reading.usesLeasedRoutes);
    } else if (key == "UseGateway" && place.section == "DHCPv4") {
        const auto isUsed = daemonBool(value);
        reading.usesLeasedGateway = isUsed ? isUsed : reading.usesLeasedGateway;
    } else if (key == "RouteMetric") {
        reading.leaseMetric = daemonNumber(value).value_or(reading.leaseMetric);
    } else if (key == "RouteTable") {
        reading.leaseTable = tableOf(value).value_or(reading.leaseTable);
        if (!tableOf(value)) { // a name of networkd.conf
            addUnread(reading, place, entryOf(key, value));
        }
    } else if (key == "Label") {
        addUnread(reading, place, entryOf(key));
    }
}

void readSection(Reading& reading, const Place& place, const DaemonSection& section)
{
    if (section.name == "Address") {
        readAddressSection(reading, place, section);
    } else if (section.name == "Route") {
        readRouteSection(reading, place, section);
    }
    for (const auto& [key, value] : section.entries) {
        if (section.name == "Match") {
            readMatch(reading, place, key, value);
        } else if (section.name == "Link") {
            readLink(reading, place, key, value);
        } else if (section.name == "Network") {
            readNetwork(reading, place, key, value);
        } else if (section.name == "DHCPv4" || section.name == "DHCP") {
            readLeaseOptions(reading, place, key, value);
        } else if (section.name == "DHCPServer" && key == "ServerAddress") {
            addUnread(reading, place, entryOf(key)); // it becomes one of the interface
        }
    }
}

bool matches(const std::vector<std::string>& names, const std::string& interfaceName)
{
    bool isMatched = std::all_of(names.begin(), names.end(), [](const auto& name) { return name.front() == '!'; });
    for (const auto& name : names) {
        const bool isInverted = name.front() == '!';
        if (::fnmatch(name.c_str() + (isInverted ? 1 : 0), interfaceName.c_str(), 0) == 0) {
            if (isInverted) {
                return false;
            }
            isMatched = true;
        }
    }
    return isMatched;
}

/// Why systemd-networkd does not use the files for the interface, or an empty text.
std::string faultOfUse(const Reading& reading)
{
    if (reading.names.empty() && !reading.hasOtherMatch) {
        return "it has no [Match] section with a name";
    }
    if (!matches(reading.names, reading.interfaceName)) {
        return "its [Match] section does not fit " + reading.interfaceName;
    }
    return reading.isUnmanaged ? "it has [Link] Unmanaged=" : "";
}

/// Chooses the default route that leads: the one with the lowest metric.
void takeDefaultRoute(Reading& reading)
{
    auto& iface = reading.iface;
    const auto& routes = reading.defaultRoutes;
    const auto metric = reading.leaseMetric;
    iface.usesLeasedGateway =
        iface.dhcp && reading.leaseTable == kMainTable && reading.usesLeasedGateway.value_or(reading.usesLeasedRoutes);
    const auto first = std::min_element(routes.begin(), routes.end(),
                                        [](const auto& left, const auto& right) { return left.metric < right.metric; });
    if (first == routes.end() || (iface.usesLeasedGateway && metric < first->metric)) {
        return; // the lease brings it
    }
    iface.gateway = first->gateway;
    const bool isAlone = std::all_of(routes.begin(), routes.end(), [&](const auto& route) {
        return route.metric != first->metric || route.gateway == first->gateway;
    });
    if (!isAlone || (iface.usesLeasedGateway && metric == first->metric)) {
        addOnce(iface.unread,
                iface.files.front() +
                    " has several default routes with the same metric, and the kernel may use any of them");
    }
}

/// Why systemd-networkd gives up the file, or for a drop-in, the main file; empty if it does not. A drop-in may be a
/// link to /dev/null or one that leads nowhere: then it does not count.
std::string faultOfReading(const IReadableFiles& files, const SettingsFile& file)
{
    const bool isMissing = file.error == std::errc::no_such_file_or_directory;
    if (isMissing && !file.isDropIn) {
        return "it is a link that leads nowhere";
    }
    std::vector<std::string> names;
    if (file.error == std::errc::invalid_argument && !files.list(file.path, names)) {
        return "it is a directory";
    }
    return file.error == std::errc::invalid_argument && !file.isDropIn ? "it is not a regular file" : "";
}

/// The interface of files that are not used.
ConfiguredInterface unused(const ConfiguredInterface& read, const std::string& path, const std::string& reason)
{
    ConfiguredInterface iface;
    iface.files = read.files;
    iface.unused = "systemd-networkd does not use " + path + ": " + reason;
    return iface;
}

} // namespace

ConfiguredInterface readInterface(const IReadableFiles& files, const std::string& interfaceName,
                                  const std::string& networkFile)
{
    Reading reading{files, interfaceName};
    auto& iface = reading.iface;
    const auto texts = readWithDropIns(files, "network/" + networkFile);
    if (texts.empty() || texts.front().isDropIn) {
        return iface; // without the file, its drop-ins do not count
    }
    for (const auto& file : texts) {
        iface.files.push_back(file.path);
    }
    const auto& main = texts.front();
    if (main.text.empty() && !main.error) {
        return unused(iface, main.path, "it is empty");
    }
    for (const auto& file : texts) {
        const auto parsed = parseDaemonFile(file.text);
        const auto fault = parsed.fault.empty() ? faultOfReading(files, file) : parsed.fault;
        if (!fault.empty()) {
            return unused(iface, main.path, (file.isDropIn ? "its drop-in " + file.path + ": " : "") + fault);
        }
        if (file.error && file.error != std::errc::invalid_argument) {
            addOnce(iface.unread, file.path + " cannot be read here: " + file.error.message());
            reading.hasOtherMatch = true; // it may stand in that file
        }
        for (const auto& section : parsed.sections) {
            readSection(reading, {file.path, section.name}, section);
        }
    }
    if (const auto fault = faultOfUse(reading); !fault.empty()) {
        return unused(iface, main.path, fault);
    }
    takeDefaultRoute(reading);
    return iface;
}

} // namespace networkhost
