// SPDX-License-Identifier: MIT
#include "networkhost/plan/SettingsDocument.h"

#include "networkhost/state/Text.h"
#include "networkhost/text/Addresses.h"
#include "networkhost/text/BoundedJson.h"
#include "networkhost/text/Checks.h"
#include "networkhost/text/NetworkAddress.h"
#include "networkmanager/BuiltInInterfaces.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace networkhost {

using OrderedJson = nlohmann::ordered_json;
using networkmanager::kBuiltInInterfaces;

namespace {

constexpr const char* kDhcp = "dhcp";
constexpr const char* kDefaultRoute = "0.0.0.0/0";
constexpr std::size_t kMostServers = 256; // systemd-resolved takes no more, and each has a file of its own

using Texts = std::vector<std::string>;

std::string faultOfHost(const std::string& address)
{
    if (!isCanonicalAddress(address)) {
        return "not an IPv4 address";
    }
    return addressBits(address) == 0 ? "0.0.0.0 is no host's address" : ""; // in the library's files it stands for none
}

std::string faultOfLength(const std::string& address)
{
    const auto slash = address.find('/');
    return slash == std::string::npos ? "no prefix length" : faultOfPrefixLength(address.substr(slash + 1));
}

std::string faultOfInterfaceAddress(const std::string& address)
{
    if (address == kDhcp) {
        return {};
    }
    if (address.find(", ") != std::string::npos) {
        return "there is room for one address, or for \"dhcp\"";
    }
    const auto fault = faultOfHost(address.substr(0, address.find('/')));
    return fault.empty() ? faultOfLength(address) : fault;
}

std::string faultOfNetwork(const std::string& network)
{
    if (!isCanonicalAddress(network.substr(0, network.find('/')))) {
        return "not an IPv4 address";
    }
    const auto parsed = NetworkAddress::parseAsDaemons(network);
    return parsed && parsed->length == 0 ? "the default route is the \"gateway\"" : faultOfLength(network);
}

/// Some of the other characters would end the word, some its line, in the daemon's file.
std::string faultOfDomain(const std::string& domain)
{
    const bool isWord = !domain.empty() && std::none_of(domain.begin(), domain.end(), [](char character) {
        const auto byte = static_cast<unsigned char>(character);
        return byte <= 0x20 || byte == 0x7F || character == '\\';
    });
    return isWord ? "" : "a word without blanks, control characters and backslashes is expected";
}

/// A value of the document. A value of another kind is added to the faults. A missing one is empty.
class Node
{
public:
    Node(const OrderedJson* json, std::string place, Faults& faults)
        : json_(json), place_(std::move(place)), faults_(faults)
    {}

    void add(const std::string& fault) const
    {
        faults_.add(place_.empty() ? "the document: " + fault : place_ + ": " + fault);
    }

    Node member(const std::string& key) const
    {
        const bool isThere = json_ != nullptr && json_->contains(key);
        return {isThere ? &json_->at(key) : nullptr, placeOf(key), faults_};
    }

    void checkKeys(const Texts& keys, const Texts& optionalKeys = {}) const
    {
        if (!is(&OrderedJson::is_object, "an object")) {
            return;
        }
        for (const auto& key : keys) {
            if (!json_->contains(key)) {
                faults_.add(placeOf(key) + ": missing");
            }
        }
        for (const auto& entry : json_->items()) {
            const auto isAmong = [&entry](const Texts& known) {
                return std::find(known.begin(), known.end(), entry.key()) != known.end();
            };
            if (!isAmong(keys) && !isAmong(optionalKeys)) {
                faults_.add(placeOf(shownKey(entry.key())) + ": unknown key");
            }
        }
    }

    template <typename Visitor>
    void forEachElement(const Visitor& visit) const
    {
        if (!is(&OrderedJson::is_array, "a list")) {
            return;
        }
        for (std::size_t i = 0; i < json_->size(); ++i) {
            visit(Node(&(*json_)[i], place_ + '[' + std::to_string(i) + ']', faults_));
        }
    }

    using Check = std::string (*)(const std::string&);

    std::string text(Check faultOf, const char* kind = "a text") const
    {
        if (!is(&OrderedJson::is_string, kind)) {
            return {};
        }
        if (const auto fault = faultOf(*json_); !fault.empty()) {
            add(fault);
        }
        return *json_;
    }

    /// Empty for null.
    std::string textOrNull(Check faultOf) const
    {
        const bool isNull = json_ != nullptr && json_->is_null();
        return isNull ? std::string() : text(faultOf, "a text or null");
    }

private:
    std::string placeOf(const std::string& key) const { return place_.empty() ? key : place_ + '.' + key; }

    bool is(bool (OrderedJson::*isKind)() const noexcept, const char* kind) const
    {
        const bool isIt = json_ != nullptr && (json_->*isKind)();
        if (json_ != nullptr && !isIt) {
            add(std::string(kind) + " is expected");
        }
        return isIt;
    }

    const OrderedJson* json_; // null: missing
    std::string place_;
    Faults& faults_;
};

ConfiguredInterface readInterface(const Node& node)
{
    ConfiguredInterface iface;
    node.checkKeys({"address"}, {"routes"});
    const auto address = node.member("address").textOrNull(faultOfInterfaceAddress);
    iface.dhcp = address == kDhcp;
    if (!iface.dhcp && !address.empty()) {
        iface.addresses = {address};
    }
    node.member("routes").forEachElement([&iface](const Node& route) {
        route.checkKeys({"destination", "gateway"});
        const auto network = route.member("destination").text(faultOfNetwork);
        const auto parsed = NetworkAddress::parseAsDaemons(network);
        iface.routes.push_back({parsed ? parsed->network().text() : "", route.member("gateway").text(faultOfHost)});
    });
    return iface;
}

Configuration readDocument(const Node& document)
{
    Configuration configuration;
    document.checkKeys({"interfaces", "gateway", "dns"});
    const auto interfaces = document.member("interfaces");
    Texts names;
    for (const auto& builtIn : kBuiltInInterfaces) {
        names.emplace_back(builtIn.name);
        configuration.interfaces[builtIn.name] = readInterface(interfaces.member(builtIn.name));
    }
    interfaces.checkKeys(names);
    auto& holder = configuration.interfaces[gatewayInterface()];
    const auto gateway = document.member("gateway");
    holder.gateway = gateway.textOrNull(faultOfHost);
    if (holder.dhcp && !holder.gateway.empty()) {
        gateway.add("null is expected: with DHCP, it comes with the lease of " + gatewayInterface());
    }
    const auto dns = document.member("dns");
    dns.checkKeys({"servers", "domains"});
    const auto servers = dns.member("servers");
    servers.forEachElement([&](const Node& server) { configuration.dnsServers.push_back(server.text(faultOfHost)); });
    if (configuration.dnsServers.size() > kMostServers) {
        servers.add("more than " + std::to_string(kMostServers) + " servers");
    }
    dns.member("domains").forEachElement(
        [&](const Node& domain) { configuration.searchDomains.push_back(domain.text(faultOfDomain)); });
    return configuration;
}

/// A setting that the form has no place for stands in it all the same, to be refused instead of lost.
OrderedJson toJson(const std::string& name, const ConfiguredInterface& iface)
{
    auto json = OrderedJson::object();
    json["address"] = toText(iface);
    if (iface.addresses.empty()) {
        json["address"] = iface.dhcp ? OrderedJson(kDhcp) : OrderedJson();
    }
    auto routes = iface.routes;
    if (!iface.gateway.empty() && name != gatewayInterface()) {
        routes.push_back({kDefaultRoute, iface.gateway});
    }
    json["routes"] = OrderedJson::array();
    for (const auto& route : routes) {
        json["routes"].push_back({{"destination", route.destination}, {"gateway", route.gateway}});
    }
    return json;
}

} // namespace

std::string toDocument(const Configuration& configuration)
{
    auto json = OrderedJson::object();
    for (const auto& builtIn : kBuiltInInterfaces) {
        json["interfaces"][builtIn.name] = toJson(builtIn.name, configuration.interfaces.at(builtIn.name));
    }
    const auto& gateway = configuration.interfaces.at(gatewayInterface()).gateway;
    json["gateway"] = gateway.empty() ? OrderedJson() : OrderedJson(gateway);
    json["dns"] = {{"servers", configuration.dnsServers}, {"domains", configuration.searchDomains}};
    return json.dump(2, ' ', true, OrderedJson::error_handler_t::replace) + '\n';
}

Configuration parseDocument(const std::string& document, Texts& faults)
{
    Faults found;
    Configuration configuration;
    if (const auto json = parseBounded(document, found); !json.is_discarded()) {
        configuration = sorted(readDocument({&json, "", found}));
    }
    faults = found.texts();
    return configuration;
}

Configuration sorted(Configuration configuration)
{
    for (auto& [name, iface] : configuration.interfaces) {
        auto& routes = iface.routes;
        std::sort(routes.begin(), routes.end(), [](const Route& left, const Route& right) {
            return std::tie(left.destination, left.gateway) < std::tie(right.destination, right.gateway);
        });
        routes.erase(std::unique(routes.begin(), routes.end()), routes.end());
    }
    return configuration;
}

} // namespace networkhost
