// SPDX-License-Identifier: MIT
#pragma once

/// What `requestStatus` emits, besides the route tool's words and those of a bad route.
namespace networkmanager::status {

inline constexpr const char* kOk = "OK";
inline constexpr const char* kInternalError = "internal error";
inline constexpr const char* kInvalidIpOrMask = "invalid ip or mask";
inline constexpr const char* kNothingToChange = "nothing to change";
inline constexpr const char* kGatewayFromDhcp = "Gateway from DHCP not overwritten!";
inline constexpr const char* kRoutesUpdated = "Routes updated";

} // namespace networkmanager::status
