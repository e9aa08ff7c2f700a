// SPDX-License-Identifier: MIT
#include "Observer.h"

#include "Configured.h"
#include "networkhost/state/Backend.h"
#include "networkhost/state/Cells.h"
#include "networkhost/state/Text.h"
#include "networkhost/text/Checks.h"

#include <utility>

namespace velnetctl {

using networkhost::printable;
using networkhost::toText;

namespace {

networkhost::Json configuredJson(const networkhost::ConfiguredInterface& configured)
{
    auto json = networkhost::jsonOf(configured);
    json["addresses"] = configured.addresses;
    return json;
}

std::string times(std::uint32_t count)
{
    return std::to_string(count) + (count == 1 ? " time" : " times");
}

Change carrierChange(const std::string& interfaceName, const networkhost::Carrier& carrier)
{
    return {interfaceName,
            "carrier",
            "down " + times(carrier.downs) + ", up " + times(carrier.ups),
            {{"downs", carrier.downs}, {"ups", carrier.ups}}};
}

} // namespace

Observer::Observer(networkhost::IDevice& device, Report report)
    : device_(device), report_(std::move(report)), updates_(device, cells_, options())
{
    networkhost::connectToEachCell(cells_, [this](const std::string& source, const char* name, const auto& content) {
        report_({source, name, printable(toText(content)), networkhost::jsonOf(content)});
    });
}

networkhost::LiveOptions Observer::options()
{
    networkhost::LiveOptions options;
    options.onCarrier = [this](const std::string& interfaceName, const networkhost::Carrier& carrier) {
        report_(carrierChange(interfaceName, carrier));
    };
    options.onPass = [this](bool haveFilesChanged) {
        if (haveFilesChanged) {
            reportConfiguration();
        }
    };
    return options;
}

void Observer::reportConfiguration()
{
    configuration_ = networkhost::readConfiguration(device_.files());
    for (auto& [name, iface] : cells_.interfaces) {
        const auto& configured = configuration_.interfaces.at(name);
        reportOnChange({name, "configured", configuredText(configured), configuredJson(configured)});
        auto loaded = iface;
        networkhost::Backend(device_.files()).load(loaded);
        iface.routes.assign_and_signal(loaded.routes.get().value_or("")); // a refresh does not assign it
    }
    const auto& [interfaces, servers, domains] = configuration_;
    reportOnChange({"resolver", "servers", printable(toText(servers)), servers});
    reportOnChange({"resolver", "domains", printable(toText(domains)), domains});
}

void Observer::reportOnChange(const Change& change)
{
    const auto [last, isNew] = configured_.try_emplace(change.source + ' ' + change.name, change);
    if (isNew || last->second.value != change.value) {
        last->second = change;
        report_(change);
    }
}

} // namespace velnetctl
