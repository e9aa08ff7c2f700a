// SPDX-License-Identifier: MIT
#include "Allocations.h"
#include "networkhost/plan/Settings.h"

#include <functional>

#include <gtest/gtest.h>

using networkhost::faultsOfSettings;

namespace {

std::string repeated(std::size_t times, const std::function<std::string(std::size_t)>& member)
{
    std::string text = member(0);
    for (std::size_t i = 1; i < times; ++i) {
        text += ',' + member(i);
    }
    return text;
}

/// Hostile documents with the given number of members.
const std::function<std::string(std::size_t)> kHostile[] = {
    [](std::size_t number) {
        const auto keys = repeated(number, [](auto) { return R"("a":1)"; });
        return "{\"" + std::string(4 * number, 'n') + "\": {" + keys +
               "}}"; // the same key many times, below a long name
    },
    [](std::size_t number) {
        return '{' + repeated(number, [](auto i) { return "\"k" + std::to_string(i) + "\":{}"; }) + '}';
    },
    [](std::size_t number) {
        return R"({"interfaces": {}, "gateway": null, "dns": {"domains": [], "servers": [)" +
               repeated(number, [](auto) { return "1"; }) + "]}}";
    },
};

std::size_t bytesFor(const std::string& document)
{
    const auto before = allocated;
    faultsOfSettings(document);
    return allocated - before;
}

} // namespace

TEST(HostileJson, CostsWhatItWeighs)
{
    for (const auto& hostile : kHostile) {
        const auto document = hostile(20000);
        SCOPED_TRACE(document.substr(document.size() - 20));
        EXPECT_LT(bytesFor(document), 200 * document.size());
        EXPECT_LT(bytesFor(hostile(40000)), 2.5 * static_cast<double>(bytesFor(document)));
        const auto faults = faultsOfSettings(hostile(5000));
        EXPECT_EQ(faults.size(), 101U);
        EXPECT_EQ(faults.back(), "... and 4903 more"); // there are three other faults
        for (const auto& fault : faults) {
            EXPECT_LT(fault.size(), 100U);
        }
    }
}

TEST(HostileJson, IsRefusedBeyondItsLimits)
{
    const auto faultOf = [](const std::string& document) { return faultsOfSettings(document).front(); };
    EXPECT_EQ(faultOf(std::string(1U << 20U, '[')), "the document has more than 8 levels");
    EXPECT_EQ(faultOf(std::string(8, '[') + std::string(8, ']')), "the document: an object is expected");
    EXPECT_EQ(faultOf(std::string((1U << 20U) + 1, ' ')), "the document is larger than 1 MiB");
    EXPECT_LT(faultOf('"' + std::string(1U << 19U, 'x')).size(), 1100U);
    EXPECT_EQ(faultsOfSettings(R"({"a": 1, "a": 2)").size(), 1U); // half a document gives only the syntax error
    const auto withServers = [](std::size_t number) {
        return R"({"interfaces": {"local": {"address": null}, "remote": {"address": "dhcp"}}, "gateway": null,
                   "dns": {"domains": [], "servers": [)" +
               repeated(number, [](auto) { return R"("10.0.0.1")"; }) + "]}}";
    };
    EXPECT_TRUE(faultsOfSettings(withServers(256)).empty());
    EXPECT_EQ(faultOf(withServers(257)), "dns.servers: more than 256 servers"); // each server needs a file
}
