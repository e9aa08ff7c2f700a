// SPDX-License-Identifier: MIT
#pragma once

#include "../../networkmanager/EthInterface.h"

namespace vel_systemd::configuration {

namespace file {
class File;
} // namespace file

/// Reads the present configuration of an interface through a File. Stateless. Whoever brings a File of his own includes
/// SystemdBackend.h, which defines the members; for file::File the library has them, and its hosts are spared the
/// headers of streams and paths, which take a sixth of the time to compile.
template <class File>
class SystemdBackendImpl
{
public:
    /// Assigns the configured settings and routes to the cells `ipSettings` and `routes`; empty ones where the files
    /// are missing or say nothing. Always true. Exceptions of slots pass to the caller.
    bool load(networkmanager::EthInterface& iface) const;

    /// Does nothing.
    bool configure(const networkmanager::EthInterface& /*iface*/) { return false; }
};

extern template class SystemdBackendImpl<file::File>;

} // namespace vel_systemd::configuration
