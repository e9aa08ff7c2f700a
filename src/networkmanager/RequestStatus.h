// SPDX-License-Identifier: MIT
#pragma once

/// The texts that `requestStatus` emits, except for the error texts of the route tool and of an invalid route.
namespace networkmanager::status {

inline constexpr const char* kOk = "OK";
inline constexpr const char* kInternalError = "internal error";
inline constexpr const char* kInvalidIpOrMask = "invalid ip or mask";
inline constexpr const char* kNothingToChange = "nothing to change";
inline constexpr const char* kGatewayFromDhcp = "Gateway from DHCP not overwritten!";
inline constexpr const char* kRoutesUpdated = "Routes updated";

} // namespace networkmanager::status
