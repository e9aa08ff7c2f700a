// SPDX-License-Identifier: MIT
// Reads the files of tests/networkfiles as systemd-networkd 252 and 257 do, and a few as version 255, whose rules are
// not known. The real daemon reads them in tests/device/test_network_files.py.
#include "networkhost/state/Configuration.h"
#include "networkhost/state/Text.h"
#include "networksimulation/Device.h"

#include <filesystem>
#include <fstream>
#include <map>

#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/replace.hpp>
#include <gtest/gtest.h>

using boost::algorithm::replace_all;
using boost::algorithm::starts_with;

namespace {

struct Case
{
    std::string name;
    std::map<std::string, std::string> files; // texts by path
    std::map<int, std::string> expected;      // by version of systemd
};

std::string withBytes(std::string line)
{
    replace_all(line, "<BOM>", "\xEF\xBB\xBF");
    replace_all(line, "<CR>", "\r");
    replace_all(line, "<LF>", "\n");
    replace_all(line, "<NUL>", std::string(1, '\0'));
    replace_all(line, "<SPACE>", " ");
    replace_all(line, "<FF>", "\xFF");
    return line;
}

/// The first line of a file tells in quotation marks which lines stand before each of its cases.
std::vector<Case> readCases(const std::filesystem::path& path)
{
    std::ifstream input(path);
    std::string line;
    std::getline(input, line);
    std::string beginning;
    for (auto open = line.find('"'); open != std::string::npos; open = line.find('"', line.find('"', open + 1) + 1)) {
        beginning += line.substr(open + 1, line.find('"', open + 1) - open - 1) + '\n';
    }
    std::vector<Case> cases;
    std::string file;
    while (std::getline(input, line)) {
        if (starts_with(line, "== ")) {
            file = "/etc/systemd/network/02_remote.network";
            cases.push_back({line.substr(3), {{file, beginning}}, {}});
        } else if (starts_with(line, "-> ")) {
            file = line.substr(3);
            cases.back().files[file]; // may stay empty
        } else if (starts_with(line, "-- 25")) {
            cases.back().expected[std::stoi(line.substr(3))] = line.substr(8);
        } else if (starts_with(line, "-- ")) {
            cases.back().expected = {{252, line.substr(3)}, {257, line.substr(3)}};
        } else if (!cases.empty() && cases.back().expected.empty()) {
            cases.back().files[file] += withBytes(line + '\n');
        }
    }
    return cases;
}

std::string answerOf(const networkhost::ConfiguredInterface& iface)
{
    if (!iface.unused.empty()) {
        return "not used: " + iface.unused.substr(iface.unused.find(": ") + 2);
    }
    if (!iface.unread.empty()) {
        const auto& sentence = iface.unread.front();
        const auto begin = sentence.find(" has ") + 5;
        return "not read: " + sentence.substr(begin, sentence.find(", ") - begin);
    }
    auto parts = iface.addresses;
    if (iface.dhcp) {
        parts.emplace_back("DHCP");
    }
    if (!iface.gateway.empty()) {
        parts.push_back("gateway " + iface.gateway);
    } else if (iface.usesLeasedGateway) {
        parts.emplace_back("gateway by DHCP");
    }
    for (const auto& route : iface.routes) {
        parts.push_back(networkhost::toText(route));
    }
    return parts.empty() ? "nothing" : boost::algorithm::join(parts, ", ");
}

TEST(NetworkFiles, AreReadAsTheDaemonOfTheInstalledVersionReadsThem)
{
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(NETWORK_FILES)) {
        for (const auto& testCase : readCases(entry.path())) {
            SCOPED_TRACE(entry.path().filename().string() + ": " + testCase.name);
            networksimulation::Device device;
            for (const auto& [path, text] : testCase.files) {
                device.put(path, text);
            }
            for (const auto& [version, expected] : testCase.expected) {
                device.setSystemdVersion(version);
                EXPECT_EQ(answerOf(readConfiguration(device.files()).interfaces.at("remote")), expected) << version;
                ++count;
            }
        }
    }
    EXPECT_GT(count, 100U);
}

} // namespace
