// SPDX-License-Identifier: MIT
#pragma once

#include "../networkmanager/system/ISystemIF.h"
#include "IDevice.h"
#include "RealFiles.h"

#include <chrono>
#include <memory>

namespace networkhost {

/// The device that the process runs on. Thread-safe.
class RealDevice : public IDevice
{
public:
    networkmanager::ISystemIF& system() override { return *system_; }
    IFiles& files() override { return files_; }
    std::chrono::milliseconds now() const override;
    void pause(std::chrono::milliseconds duration) override;

private:
    std::unique_ptr<networkmanager::ISystemIF> system_ = networkmanager::SystemIF_Factory();
    RealFiles files_;
};

} // namespace networkhost
