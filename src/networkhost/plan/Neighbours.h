// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IDevice.h"
#include "../state/Configuration.h"
#include "../state/LiveState.h"
#include "Plan.h"

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#pragma GCC visibility push(hidden)

/// Whether others in a network answer for an address (ARP). Where the question cannot be asked, nothing is claimed.
namespace networkhost {

/// A question that has been asked for a plan.
struct AskedNeighbour
{
    std::string interfaceName;
    std::string address;
    bool isGateway;                 // which is to answer; others are not
    std::chrono::milliseconds time; // on the device's clock
    std::unique_ptr<IQuestion> question;
};

/// Asks for the addresses and the gateway that `after` has and `before` has not, where they lie in a subnet that is
/// live: of others the answer would say nothing. `isLive`: `after` is live already, and its addresses are this
/// device's.
std::vector<AskedNeighbour> askNeighbours(IDevice& device, const Configuration& before, const Configuration& after,
                                          const LiveState& live, bool isLive = false);

/// Which addresses are taken and which gateways do not answer, in sentences. Nobody has an address who has not answered
/// some milliseconds after the question; a gateway has until the limit.
std::vector<std::string> faultsOfNeighbours(const IDevice& device, const std::vector<AskedNeighbour>& asked,
                                            std::chrono::milliseconds limit);

/// For a trial whose settings are live: which gateways of the plan's interfaces do not answer within 3 s, and which of
/// their addresses somebody else has as well.
std::vector<std::string> unansweredOrTaken(IDevice& device, const Plan& plan);

} // namespace networkhost

#pragma GCC visibility pop
