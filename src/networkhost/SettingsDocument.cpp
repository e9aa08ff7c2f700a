// SPDX-License-Identifier: MIT
#include "networkhost/SettingsDocument.h"

#include "networkhost/Addresses.h"
#include "networkhost/Checks.h"
#include "networkhost/Text.h"
#include "networkmanager/BuiltInInterfaces.h"

#include <algorithm>
#include <set>
#include <tuple>
#include <utility>

#include <boost/algorithm/string/join.hpp>
#include <nlohmann/json.hpp>

namespace networkhost {

using OrderedJson = nlohmann::ordered_json;
using networkmanager::kBuiltInInterfaces;

namespace {

constexpr const char* kDhcp = "dhcp";
constexpr const char* kDefaultRoute = "0.0.0.0/0";

using Event = OrderedJson::parse_event_t;
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
    const auto fault = faultOfHost(address.substr(0, address.find('/')));
    return fault.empty() ? faultOfLength(address) : fault;
}

std::string faultOfNetwork(const std::string& network)
{
    if (!isCanonicalAddress(network.substr(0, network.find('/')))) {
        return "not an IPv4 address";
    }
    return canonicalNetwork(network) == kDefaultRoute ? "the default route is the \"gateway\"" : faultOfLength(network);
}

/// Of other characters, some would end the word, and some its line, in the daemon's file.
std::string faultOfDomain(const std::string& domain)
{
    const bool isWord = !domain.empty() && std::none_of(domain.begin(), domain.end(), [](char character) {
        const auto byte = static_cast<unsigned char>(character);
        return byte <= 0x20 || byte == 0x7F || character == '\\';
    });
    return isWord ? "" : "a word without blanks, control characters and backslashes is expected";
}

/// A value of the document. What it should be and is not is added to the faults. One that is missing is empty.
class Node
{
public:
    Node(const OrderedJson* json, std::string place, Texts& faults)
        : json_(json), place_(std::move(place)), faults_(faults)
    {}

    void add(const std::string& fault) const { faults_.push_back(place_.empty() ? fault : place_ + ": " + fault); }

    Node member(const std::string& key) const
    {
        const bool isThere = json_ != nullptr && json_->contains(key);
        return {isThere ? &json_->at(key) : nullptr, place_.empty() ? key : place_ + '.' + key, faults_};
    }

    void checkKeys(const Texts& keys, const Texts& optionalKeys = {}) const
    {
        if (!is(&OrderedJson::is_object, "an object")) {
            return;
        }
        for (const auto& key : keys) {
            if (!json_->contains(key)) {
                member(key).add("missing");
            }
        }
        for (const auto& entry : json_->items()) {
            const auto isAmong = [&entry](const Texts& known) {
                return std::find(known.begin(), known.end(), entry.key()) != known.end();
            };
            if (!isAmong(keys) && !isAmong(optionalKeys)) {
                member(printable(entry.key())).add("unknown key");
            }
        }
    }

    std::vector<Node> elements() const
    {
        std::vector<Node> nodes;
        if (is(&OrderedJson::is_array, "a list")) {
            for (const auto& element : *json_) {
                nodes.emplace_back(&element, place_ + '[' + std::to_string(nodes.size()) + ']', faults_);
            }
        }
        return nodes;
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
    Texts& faults_;
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
    for (const auto& route : node.member("routes").elements()) {
        route.checkKeys({"destination", "gateway"});
        const auto network = route.member("destination").text(faultOfNetwork);
        iface.routes.push_back({canonicalNetwork(network).value_or(""), route.member("gateway").text(faultOfHost)});
    }
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
    for (const auto& server : dns.member("servers").elements()) {
        configuration.dnsServers.push_back(server.text(faultOfHost));
    }
    for (const auto& domain : dns.member("domains").elements()) {
        configuration.searchDomains.push_back(domain.text(faultOfDomain));
    }
    return configuration;
}

/// Notes the keys that stand twice in an object, of which the parser keeps the last one.
OrderedJson::parser_callback_t keyWatch(Texts& faults)
{
    return [&faults, path = Texts(), seen = std::vector<std::set<std::string>>()](int /*depth*/, Event event,
                                                                                  const OrderedJson& parsed) mutable {
        if (event == Event::object_start) {
            path.emplace_back();
            seen.emplace_back();
        } else if (event == Event::object_end) {
            path.pop_back();
            seen.pop_back();
        } else if (event == Event::key) {
            path.back() = printable(parsed);
            if (!seen.back().insert(parsed).second) {
                faults.push_back(boost::algorithm::join(path, ".") + ": the key stands twice");
            }
        }
        return true;
    };
}

/// What the form has no place for stands in it all the same, to be refused instead of lost.
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
    return json.dump(2, ' ', false, OrderedJson::error_handler_t::replace) + '\n';
}

Configuration parseDocument(const std::string& document, Texts& faults)
{
    try {
        const auto json = OrderedJson::parse(document, keyWatch(faults));
        return sorted(readDocument({&json, "", faults}));
    } catch (const OrderedJson::exception& error) {
        std::string words = error.what(); // "[json.exception.parse_error.101] parse error at line 1, column 2: ..."
        for (const std::string beginning : {"] ", "parse error at "}) {
            if (const auto position = words.find(beginning); position != std::string::npos) {
                words.erase(0, position + beginning.size());
            }
        }
        faults = {printable(words)};
        return {};
    }
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
