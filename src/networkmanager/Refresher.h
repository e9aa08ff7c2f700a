// SPDX-License-Identifier: MIT
#pragma once

#include "EthInterface.h"
#include "HostSignals.h"
#include "system/ISystemIF.h"

#include <map>
#include <string>

namespace networkmanager {

/// Copies the live state into the cells, which emit what changed. A started manager calls refresh() every 2 seconds
/// (see NetworkManagerImpl). Holds references only: what it is given outlives it.
///
/// One thread at a time runs it, slots included; the set of interfaces must not change meanwhile. It catches nothing:
/// an exception of a slot or of the system ends the pass.
class Refresher
{
public:
    Refresher(HostSignals& hostSignals, std::map<std::string, EthInterface>& interfaces, ISystemIF& system);

    /// One pass over all interfaces, then gateway and host name. An interface whose MAC address reads empty counts as
    /// absent: its cells stay as they are.
    void refresh();

    void updateInterface(EthInterface& iface);
    void refreshIpSettings(EthInterface& iface);

private:
    HostSignals& hostSignals_;
    std::map<std::string, EthInterface>& interfaces_;
    ISystemIF& system_;
};

} // namespace networkmanager
