// SPDX-License-Identifier: MIT
#pragma once

#include "../../base/IpHelper.h"
#include "../../base/IpSettings.h"
#include "../../base/LogLine.h"
#include "../../base/Paths.h"
#include "../../networkmanager/EthInterface.h"
#include "File.h"
#include "SystemdBackendDeclaration.h"
#include "UnitFile.h"

#include <filesystem>
#include <optional>
#include <sstream>
#include <string>

namespace vel_systemd::configuration {

namespace detail {

/// The settings of the first section named Network. They are empty without such a section. The gateway is never set.
velbase2::nsa::common::IpSettings ipSettingsOf(const file::Content& content);

/// "dst=...,gw=..." for every section named Route that has both keys, joined by blanks.
std::string routesOf(const file::Content& content);

} // namespace detail

template <class File>
bool SystemdBackendImpl<File>::load(networkmanager::EthInterface& iface) const
{
    namespace log = velbase2::system::log;
    namespace paths = velbase2::system::paths;
    log::detail::logLine(log::kNotable, "load network configuration for: ", iface.name);
    const std::filesystem::path directory = paths::kNetworkDirectory;
    file::Content content;
    // The order matters, because only the first Network section counts.
    for (const char* suffix : paths::kInLoadingOrder) {
        std::stringstream text;
        if (!File().read(directory / (iface.networkFile + suffix), text)) {
            text >> file::FileConverter(content);
        }
    }
    iface.ipSettings.assign_and_signal(detail::ipSettingsOf(content));
    iface.routes.assign_and_signal(detail::routesOf(content));
    return true;
}

} // namespace vel_systemd::configuration
