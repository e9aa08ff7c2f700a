// SPDX-License-Identifier: MIT
#pragma once

#include "networksimulation/NetworkManagerData.h"
#include "networksimulation/RecordingLog.h"

#include <cerrno>

#include <gmock/gmock.h>

/// A manager that is not started, over a booted simulated device and after one refresh. From then on, the device notes
/// events: written files, commands, emitted statuses and published cells.
struct SimulatedManager : testing::Test
{
    SimulatedManager()
    {
        device.watch(manager);
        refresh(manager);
        device.takeEvents();
        log.lines.clear();
    }

    networksimulation::Device device;
    networksimulation::RecordingLog log;
    networksimulation::NetworkManager manager;
};

using networksimulation::emitted;
using networksimulation::published;
using testing::Contains;
using testing::ElementsAre;
using velbase2::nsa::common::IpSettings;
