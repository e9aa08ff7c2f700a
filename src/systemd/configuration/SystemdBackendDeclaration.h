// SPDX-License-Identifier: MIT
#pragma once

#include "../../networkmanager/EthInterface.h"

namespace vel_systemd::configuration {

namespace file {
class File;
} // namespace file

/// Reads the present configuration of an interface through a File. Stateless. A host with its own File includes
/// SystemdBackend.h, which defines the members. For file::File the library contains them. Therefore most hosts do not
/// include the headers of streams and paths, which take a sixth of the time to compile.
template <class File>
class SystemdBackendImpl
{
public:
    /// Assigns the configured settings and routes to the cells `ipSettings` and `routes`. They are empty when the files
    /// are missing or have no such entries. Always true. Exceptions of slots pass to the caller.
    bool load(networkmanager::EthInterface& iface) const;

    /// Does nothing.
    bool configure(const networkmanager::EthInterface& /*iface*/) { return false; }
};

extern template class SystemdBackendImpl<file::File>;

} // namespace vel_systemd::configuration
