// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IDevice.h"
#include "../state/Configuration.h"
#include "../state/LiveState.h"

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#pragma GCC visibility push(hidden)

/// Asks by ARP whether other devices in the network have an address. If the question cannot be asked, there is no
/// fault.
namespace networkhost {

/// A question that has been asked for a plan.
struct AskedNeighbour
{
    std::string interfaceName;
    std::string address;
    bool isGateway;                 // a gateway should answer; another address should not
    std::chrono::milliseconds time; // of the question, on the device's clock
    std::unique_ptr<IQuestion> question;
};

/// Asks for the addresses and the gateway that are in `after` but not in `before`. Skips those outside the live
/// subnets, because the answer would mean nothing. `isLive` says that `after` is already live, and that its addresses
/// therefore belong to this device.
std::vector<AskedNeighbour> askNeighbours(IDevice& device, const Configuration& before, const Configuration& after,
                                          const LiveState& live, bool isLive = false);

/// Returns a sentence for each address that is taken and each gateway that does not answer. An address counts as free
/// when nobody has answered a few milliseconds after the question. A gateway may answer until the limit.
std::vector<std::string> faultsOfNeighbours(const IDevice& device, const std::vector<AskedNeighbour>& asked,
                                            std::chrono::milliseconds limit);

/// For settings that are live. Returns a sentence for each gateway that does not answer within 3 s, and for each
/// address that another device has as well.
std::vector<std::string> unansweredOrTaken(IDevice& device, const Configuration& configuration);

} // namespace networkhost

#pragma GCC visibility pop
