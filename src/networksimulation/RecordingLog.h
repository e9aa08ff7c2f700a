// SPDX-License-Identifier: MIT
#pragma once

#include "../base/Log.h"

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace networksimulation {

/// Records the whole log as "LEVEL line" as long as it lives, and then restores the default sink and level. A line with
/// another tag than the library's begins with that tag. There is at most one at a time, and it outlives every manager
/// that runs. Read `lines` while no other thread logs.
class RecordingLog
{
public:
    RecordingLog()
    {
        velbase2::system::log::setMinimumLevel(velbase2::system::log::kDetail);
        velbase2::system::log::setSink([this](int level, std::string_view tag, std::string_view line) {
            const std::lock_guard guard(lock_);
            const bool isOwn = tag == "libVelNetworkManager";
            lines.push_back((isOwn ? "" : std::string(tag) + ' ') + std::to_string(level) + ' ' + std::string(line));
        });
    }
    RecordingLog(const RecordingLog&) = delete;
    RecordingLog& operator=(const RecordingLog&) = delete;
    ~RecordingLog()
    {
        velbase2::system::log::setSink({});
        velbase2::system::log::setMinimumLevel(velbase2::system::log::kNotable);
    }

    std::vector<std::string> lines;

private:
    std::mutex lock_;
};

} // namespace networksimulation
