// SPDX-License-Identifier: MIT
#include "networkhost/state/Backend.h"

#include "base/Paths.h"
#include "systemd/configuration/SystemdBackend.h"

#include <sstream>
#include <string>

namespace networkhost {

namespace configuration = vel_systemd::configuration;
namespace paths = velbase2::system::paths;

bool Backend::load(networkmanager::EthInterface& iface) const
{
    configuration::file::Content content;
    for (const char* suffix : paths::kInLoadingOrder) {
        std::string text;
        if (!files_.read(paths::ofInterface(iface.networkFile, suffix), text)) {
            std::istringstream(text) >> configuration::file::FileConverter(content);
        }
    }
    iface.ipSettings.assign_and_signal(configuration::detail::ipSettingsOf(content));
    iface.routes.assign_and_signal(configuration::detail::routesOf(content));
    return true;
}

} // namespace networkhost
