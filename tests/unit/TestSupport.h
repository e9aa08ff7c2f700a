// SPDX-License-Identifier: MIT
#pragma once

#include "RecordingLog.h"
#include "networkmanager/NetworkManagerImpl.h"
#include "networkmanager/system/SystemIF.h"

#include <future>
#include <map>

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

/// A device made of texts. `files` gets an entry for every path that is read, and `commands` one for every command and
/// every write. Those that begin with `failingCommand` fail.
struct FakeSystem : networkmanager::SystemIF
{
    using Addresses = std::vector<velbase2::nsa::common::structs::IpAddress>;
    using SystemIF::executeCmd;
    bool executeCmd(const std::string& command, std::string& output, std::string& errorOutput) override
    {
        commands.push_back(&output == &errorOutput ? command : command + " (two texts)");
        errorOutput = errorText;
        return succeeds();
    }
    bool writeToConfFile(const std::string& path, const std::string& content) override
    {
        if (content.empty()) {
            return false;
        }
        commands.push_back("write " + path + '\n' + content);
        return succeeds();
    }
    std::string readFile(const std::string& path) const override { return files[path]; }
    Addresses getAddresses(const std::string& /*interfaceName*/) const override { return addresses; }

    bool succeeds() const { return failingCommand.empty() || commands.back().rfind(failingCommand, 0) != 0; }

    mutable std::map<std::string, std::string> files;
    std::vector<std::string> commands;
    std::string failingCommand, errorText;
    Addresses addresses;
};
