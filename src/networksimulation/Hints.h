// SPDX-License-Identifier: MIT
#pragma once

#include "../base/FileDescriptor.h"
#include "../networkhost/device/IHints.h"
#include "Clock.h"

#include <chrono>

namespace networksimulation {

/// Tells each change of a simulated device. A wait advances the device's clock.
class Hints : public networkhost::IHints
{
public:
    /// The clock outlives the hints.
    explicit Hints(Clock& clock);
    Hints(const Hints&) = delete;
    Hints& operator=(const Hints&) = delete;
    ~Hints() override;

    int fd() const override { return ready_.get(); }
    bool take(std::chrono::milliseconds limit) override;
    void rearm() override {}

private:
    Clock& clock_;
    velbase2::system::FileDescriptor ready_;
};

} // namespace networksimulation
