// SPDX-License-Identifier: MIT
#pragma once

#include "networkhost/device/IDevice.h"
#include "networkhost/loop/LiveUpdates.h"
#include "networkhost/state/Configuration.h"
#include "networkhost/state/Json.h"
#include "networkhost/state/Snapshot.h"
#include "networkmanager/EthernetInterfaces.h"
#include "networkmanager/HostSignals.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>

namespace velnetctl {

/// A value that has changed.
struct Change
{
    std::string source;      // an interface, "host" or "resolver"
    std::string name;        // the name of a cell, or "carrier", "configured", "servers", "domains"
    std::string text;        // for people
    networkhost::Json value; // for programs
};

/// Watches a device in the caller's loop. Reports all cells, carriers and the configuration once, and then each change.
class Observer
{
public:
    using Report = std::function<void(const Change&)>;

    /// The device outlives it.
    Observer(networkhost::IDevice& device, Report report);

    /// See LiveUpdates.
    int fd() const { return updates_.fd(); }
    bool dispatch() { return updates_.dispatch(); }

    /// The cells and the configuration of the last dispatch(), with the rest as it is now.
    networkhost::Snapshot snapshot() const
    {
        return networkhost::readSnapshot(device_, cells_.host, cells_.interfaces, configuration_);
    }

    template <class Do, class Done>
    void start(Do change, Done done)
    {
        updates_.start(std::move(change), std::move(done));
    }

private:
    /// Empty cells. A manager would load the configuration into them first, which would then not count as a change.
    struct Cells
    {
        HostSignals& getSignals() { return host; }
        std::map<std::string, networkmanager::EthInterface>& getInterfaces() { return interfaces; }

        HostSignals host;
        std::map<std::string, networkmanager::EthInterface> interfaces =
            networkmanager::EthernetInterfaces().interfaces;
    };

    networkhost::LiveOptions options();
    void reportConfiguration();
    void reportOnChange(const Change& change);

    networkhost::IDevice& device_;
    Report report_;
    Cells cells_;
    networkhost::Configuration configuration_;
    std::map<std::string, Change> configured_; // the last reports, by source and name
    networkhost::LiveUpdates updates_;
};

} // namespace velnetctl
