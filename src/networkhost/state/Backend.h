// SPDX-License-Identifier: MIT
#pragma once

#include "../../networkmanager/EthInterface.h"
#include "../device/IFiles.h"

namespace networkhost {

/// The configuration backend of a manager, over the files of a device, which outlive it. Fills the cells as
/// SystemdBackendImpl does.
class Backend
{
public:
    explicit Backend(const IReadableFiles& files) : files_(files) {}

    bool load(networkmanager::EthInterface& iface) const;

private:
    const IReadableFiles& files_;
};

} // namespace networkhost
