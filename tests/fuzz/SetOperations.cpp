// SPDX-License-Identifier: MIT
#include "Fuzz.h"
#include "base/IpHelper.h"
#include "networkhost/change/Apply.h"
#include "networkhost/plan/Requests.h"
#include "networksimulation/NetworkManagerData.h"

#include <algorithm>
#include <stdexcept>

using networksimulation::ran;
using networksimulation::wrote;
using velbase2::nsa::common::IpSettings;
using velbase2::system::iphelper::leadingNumber;

namespace {

constexpr std::size_t kFields = 6;

/// The fields between tabs. The last one has the rest of the line. "~" in a field means a line end.
std::vector<std::string> fieldsOf(const std::string& line)
{
    auto fields = fuzz::split(line, '\t');
    fields.resize(std::max(fields.size(), kFields));
    for (auto& field : fields) {
        std::replace(field.begin(), field.end(), '~', '\n');
    }
    return fields;
}

/// Makes the change with the manager itself or with networkhost. Returns whether it was done.
bool set(networksimulation::NetworkManager& manager, networkhost::IDevice& device,
         const std::vector<std::string>& fields)
{
    constexpr networkhost::ApplyOptions kForce{true};
    const bool isOfHost = fields[0] == "host";
    const auto& operation = fields[1];
    if (operation == "ip") {
        const IpSettings settings{fields[3], fields[4], fields[3] == "dhcp", fields[5]};
        return isOfHost ? apply(device, planIp(device, fields[2], settings), kForce).isDone
                        : manager.setIp(fields[2], settings);
    }
    if (operation == "gateway") {
        return isOfHost ? apply(device, planGateway(device, fields[2]), kForce).isDone : manager.setGateway(fields[2]);
    }
    if (operation == "dns") {
        const auto index = static_cast<unsigned int>(leadingNumber(fields[2], 0, 0));
        return isOfHost ? apply(device, planDnsServer(device, fields[3], index), kForce).isDone
                        : manager.setDnsServer(fields[3], index);
    }
    if (operation == "routes") {
        return isOfHost ? apply(device, planRoutes(device, fields[2], fields[3]), kForce).isDone
                        : manager.setRoutes(fields[2], fields[3]);
    }
    return operation == "domain" && apply(device, planDnsDomain(device, fields[2]), kForce).isDone;
}

} // namespace

/// Each line of the input is a call.
void fuzz::check(const std::string& input)
{
    networksimulation::Device device;
    networksimulation::NetworkManager manager;
    for (const auto& line : split(input, '\n')) {
        const auto fields = fieldsOf(line);
        const bool isOfHost = fields[0] == "host";
        if (!isOfHost && fields[1] == "domain") { // kept: the text reaches the file unchanged
            const auto text = "[Resolve]\nDomains=" + fields[2] + '\n';
            manager.setDnsDomain(fields[2]);
            const std::vector<networksimulation::Event> expected = {
                wrote("/etc/systemd/resolved.conf.d/dns_domain.conf", text),
                ran("sudo /bin/systemctl restart systemd-resolved")};
            require(device.takeEvents() == expected, "the domain's file is written and nothing else is done");
            continue;
        }
        try {
            set(manager, device, fields);
        } catch (const std::out_of_range&) { // declared
            require(!isOfHost && fields[1] == "routes", "nothing else throws");
        }
        for (const auto& event : device.takeEvents()) {
            requireKnown(event);
            for (const auto& written : split(event.text, '\n')) {
                require(!isOfHost || !hasControlCharacter(written), "no control character of a host reaches a file");
            }
        }
        device.advance(std::chrono::minutes(1)); // until the daemons have finished
        refresh(manager);
    }
}
