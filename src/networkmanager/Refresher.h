// SPDX-License-Identifier: MIT
#pragma once

#include "EthInterface.h"
#include "HostSignals.h"
#include "system/ISystemIF.h"

#include <map>
#include <string>

namespace networkmanager {

/// Copies the live state into the cells, which emit what changed. A started manager calls refresh() every 2 seconds
/// (see NetworkManagerImpl). Keeps references only, and therefore the arguments must outlive it.
///
/// Only one thread at a time may run it. The slots run on this thread. The set of interfaces must not change meanwhile.
/// An exception of a slot or of the system ends the pass and reaches the caller.
class Refresher
{
public:
    Refresher(HostSignals& hostSignals, std::map<std::string, EthInterface>& interfaces, ISystemIF& system);

    /// Makes one pass over all interfaces, then refreshes the gateway and the host name. An interface with an empty MAC
    /// address counts as absent, and its cells stay unchanged.
    void refresh();

    void updateInterface(EthInterface& iface);
    void refreshIpSettings(EthInterface& iface);

private:
    HostSignals& hostSignals_;
    std::map<std::string, EthInterface>& interfaces_;
    ISystemIF& system_;
};

} // namespace networkmanager
