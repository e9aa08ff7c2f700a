// SPDX-License-Identifier: MIT
#pragma once

#include "base/Log.h"
#include "networkmanager/system/SystemIF.h"

#include <future>
#include <map>
#include <mutex>

#include <gmock/gmock.h>

/// Checks a text function against a table of "argument -> result".
template <class Function>
void expectResults(Function function, const std::vector<std::string>& table)
{
    for (const auto& row : table) {
        const auto argument = row.substr(0, row.find(" -> "));
        EXPECT_EQ(argument + " -> " + function(argument), row);
    }
}

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

/// A device made of texts. `files` gets an entry for every path that is read.
struct FakeSystem : networkmanager::SystemIF
{
    using Addresses = std::vector<velbase2::nsa::common::structs::IpAddress>;
    using SystemIF::executeCmd;
    bool executeCmd(const std::string& command, std::string& output, std::string& errorOutput) override
    {
        commands.push_back(&output == &errorOutput ? command : command + " (two texts)");
        errorOutput = errorText;
        return commands.back() != failingCommand;
    }
    std::string readFile(const std::string& path) const override { return files[path]; }
    Addresses getAddresses(const std::string& /*interfaceName*/) const override { return addresses; }

    mutable std::map<std::string, std::string> files;
    std::vector<std::string> commands;
    std::string failingCommand, errorText;
    Addresses addresses;
};
