// SPDX-License-Identifier: MIT
#pragma once

#include "../base/FileDescriptor.h"
#include "../networkhost/device/IHints.h"

#include <chrono>

namespace networksimulation {

class Device;

/// Tells each change of the simulated device. Made and destroyed while it lives.
class Hints : public networkhost::IHints
{
public:
    explicit Hints(Device& device);
    Hints(const Hints&) = delete;
    Hints& operator=(const Hints&) = delete;
    ~Hints() override;

    int fd() const override { return ready_.get(); }
    bool take(std::chrono::milliseconds limit) override;
    void rearm() override {}

    void add();

private:
    Device& device_;
    velbase2::system::FileDescriptor ready_;
};

} // namespace networksimulation
