// SPDX-License-Identifier: MIT
#pragma once

#include "../../base/IpHelper.h"
#include "../../base/IpSettings.h"
#include "../../base/LogLine.h"
#include "../../networkmanager/EthInterface.h"
#include "File.h"
#include "UnitFile.h"

#include <filesystem>
#include <optional>
#include <sstream>
#include <string>

namespace vel_systemd::configuration {

namespace detail {

inline constexpr const char* kNetworkDirectory = "/etc/systemd/network";

/// The settings of the first section named Network; empty ones without it. The gateway is never set.
velbase2::nsa::common::IpSettings ipSettingsOf(const file::Content& content);

/// "dst=...,gw=..." for every section named Route that has both keys, joined by blanks.
std::string routesOf(const file::Content& content);

} // namespace detail

/// Reads the present configuration of an interface through a File. Stateless.
template <class File>
class SystemdBackendImpl
{
public:
    /// Assigns the configured settings and routes to the cells `ipSettings` and `routes`; empty ones where the files
    /// are missing or say nothing. Always true. Exceptions of slots pass to the caller.
    bool load(networkmanager::EthInterface& iface) const
    {
        velbase2::system::log::detail::logLine(2, "load network configuration for: ", iface.name);
        const std::filesystem::path directory = detail::kNetworkDirectory;
        file::Content content;
        // The order is the precedence: the first Network section is the one that counts.
        for (const char* suffix : {".d/51-ip_address.conf", ".d/50-routes.conf", ""}) {
            std::stringstream text;
            if (!File().read(directory / (iface.networkFile + suffix), text)) {
                text >> file::FileConverter(content);
            }
        }
        iface.ipSettings.assign_and_signal(detail::ipSettingsOf(content));
        iface.routes.assign_and_signal(detail::routesOf(content));
        return true;
    }

    /// Does nothing.
    bool configure(const networkmanager::EthInterface& /*iface*/) { return false; }
};

extern template class SystemdBackendImpl<file::File>;

} // namespace vel_systemd::configuration
