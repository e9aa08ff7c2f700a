// SPDX-License-Identifier: MIT
#include "Json.h"

namespace velnetctl {

using velbase2::nsa::common::IpSettings;
using velbase2::nsa::common::enums::IpAddressFamily;
using velbase2::nsa::common::structs::IpAddress;

Json toJson(bool value)
{
    return value;
}

Json toJson(const std::string& text)
{
    return text;
}

Json toJson(const IpSettings& settings)
{
    return {{"ip", settings.ip}, {"mask", settings.mask}, {"dhcp", settings.dhcp}, {"gateway", settings.gateway}};
}

Json toJson(const std::vector<IpAddress>& addresses)
{
    Json list = Json::array();
    for (const auto& address : addresses) {
        list.push_back({{"family", address.family == IpAddressFamily::IPv4 ? "IPv4" : "IPv6"},
                        {"address", address.address},
                        {"mask", address.mask}});
    }
    return list;
}

std::string dump(const Json& json, int indentation)
{
    return json.dump(indentation, ' ', true, Json::error_handler_t::replace);
}

} // namespace velnetctl
