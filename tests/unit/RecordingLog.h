// SPDX-License-Identifier: MIT
#pragma once

#include "base/Log.h"

#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

/// Records the log as "level line" as long as it lives. To be read when no other thread logs.
struct RecordingLog
{
    RecordingLog()
    {
        velbase2::system::log::setMinimumLevel(1);
        velbase2::system::log::setSink([this](int level, std::string_view tag, std::string_view line) {
            const std::lock_guard guard(lock);
            EXPECT_EQ(tag, "libVelNetworkManager");
            lines.push_back(std::to_string(level) + ' ' + std::string(line));
        });
    }
    ~RecordingLog()
    {
        velbase2::system::log::setSink({});
        velbase2::system::log::setMinimumLevel(2);
    }

    std::mutex lock;
    std::vector<std::string> lines;
};
