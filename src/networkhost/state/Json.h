// SPDX-License-Identifier: MIT
#pragma once

#include "../../base/IpAddress.h"
#include "../../base/IpSettings.h"
#include "../text/NetworkAddress.h"
#include "Configuration.h"

#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#pragma GCC visibility push(hidden)

/// Values for programs. A cell that was never assigned is null. Inline, because velnetctl uses them too, and the shared
/// library does not export them. Thread-safe.
namespace networkhost {

using Json = nlohmann::ordered_json;

inline Json jsonOf(bool value)
{
    return value;
}

inline Json jsonOf(const std::string& text)
{
    return text;
}

inline Json jsonOf(const velbase2::nsa::common::IpSettings& settings)
{
    return {{"ip", settings.ip}, {"mask", settings.mask}, {"dhcp", settings.dhcp}, {"gateway", settings.gateway}};
}

inline Json jsonOf(const std::vector<velbase2::nsa::common::structs::IpAddress>& addresses)
{
    using velbase2::nsa::common::enums::IpAddressFamily;
    Json list = Json::array();
    for (const auto& address : addresses) {
        list.push_back({{"family", address.family == IpAddressFamily::IPv4 ? "IPv4" : "IPv6"},
                        {"address", address.address},
                        {"mask", address.mask}});
    }
    return list;
}

template <class X>
Json jsonOf(const std::optional<X>& content)
{
    return content ? jsonOf(*content) : Json();
}

/// The settings as a record of libVelNetworkManager, which has room for one address.
inline Json jsonOf(const ConfiguredInterface& configured)
{
    velbase2::nsa::common::IpSettings settings;
    if (!configured.addresses.empty() && !configured.dhcp) {
        const auto& address = configured.addresses.front();
        const auto parsed = NetworkAddress::parse(address);
        settings.ip = parsed ? parsed->address() : address.substr(0, address.find('/'));
        settings.mask = parsed ? parsed->mask() : std::string();
    }
    settings.dhcp = configured.dhcp;
    settings.gateway = configured.gateway;
    return jsonOf(settings);
}

/// The JSON text in one line, or in several with an indentation. Bytes that are not UTF-8 are replaced.
inline std::string dump(const Json& json, int indentation = -1)
{
    return json.dump(indentation, ' ', true, Json::error_handler_t::replace);
}

} // namespace networkhost

#pragma GCC visibility pop
