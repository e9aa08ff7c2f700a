// SPDX-License-Identifier: MIT
#include "Allocations.h"
#include "networkhost/CarryOut.h"
#include "networkhost/Record.h"
#include "networkhost/Settings.h"
#include "networksimulation/Device.h"

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

struct Hostile
{
    std::string name;
    std::function<std::string(std::size_t number)> document;
    std::string last; // fault of 5000
};

const Hostile kHostile[] = {
    {"a key that stands twice, in an object with a long name",
     [](std::size_t number) {
         return "{\"" + std::string(4 * number, 'n') + "\": {" + repeated(number, [](auto) { return R"("a":1)"; }) +
                "}}";
     },
     "... and 4903 more"}, // 4,999 twice, 3 missing, 1 unknown
    {"different keys",
     [](std::size_t number) {
         return '{' + repeated(number, [](auto i) { return "\"k" + std::to_string(i) + "\":{}"; }) + '}';
     },
     "... and 4903 more"},
    {"wrong elements",
     [](std::size_t number) {
         return R"({"interfaces": {}, "gateway": null, "dns": {"domains": [], "servers": [)" +
                repeated(number, [](auto) { return "1"; }) + "]}}";
     },
     "... and 4903 more"}, // 2 missing, 1 too many
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
        SCOPED_TRACE(hostile.name);
        const auto document = hostile.document(20000);
        EXPECT_LT(bytesFor(document), 200 * document.size());
        EXPECT_LT(bytesFor(hostile.document(40000)), 2.5 * static_cast<double>(bytesFor(document)));
        const auto faults = faultsOfSettings(hostile.document(5000));
        EXPECT_EQ(faults.size(), 101U);
        EXPECT_EQ(faults.back(), hostile.last);
        for (const auto& fault : faults) {
            EXPECT_LT(fault.size(), 100U);
        }
    }
}

TEST(HostileJson, IsRefusedBeyondItsLimits)
{
    const auto faultOf = [](const std::string& document) { return faultsOfSettings(document).front(); };
    EXPECT_EQ(faultOf(std::string(1U << 20U, '[')), "more than 8 levels");
    EXPECT_EQ(faultOf(std::string(8, '[') + std::string(8, ']')), "an object is expected");
    EXPECT_EQ(faultOf(std::string((1U << 20U) + 1, ' ')), "larger than 1 MiB");
    EXPECT_LT(faultOf('"' + std::string(1U << 19U, 'x')).size(), 1100U);
    EXPECT_EQ(faultsOfSettings(R"({"a": 1, "a": 2)").size(), 1U); // no more is told of half a document
    const auto withServers = [](std::size_t number) {
        return R"({"interfaces": {"local": {"address": null}, "remote": {"address": "dhcp"}}, "gateway": null,
                   "dns": {"domains": [], "servers": [)" +
               repeated(number, [](auto) { return R"("10.0.0.1")"; }) + "]}}";
    };
    EXPECT_TRUE(faultsOfSettings(withServers(256)).empty());
    EXPECT_EQ(faultOf(withServers(257)), "dns.servers: more than 256"); // each takes a file
}

TEST(HostileJson, IsNoRecordOfATrial)
{
    networksimulation::Device device;
    const auto read = [&device](const std::string& more) {
        const auto text =
            R"({"title": "", "by": "", "boot": "", "deadline": 0, "isLive": true, "why": "", "files": [])" + more +
            "}\n";
        device.put(networkhost::kTrial, text + "checksum " + networkhost::checksumOf(text) + '\n');
        networkhost::Record record;
        return readRecord(device.files(), networkhost::kTrial, record);
    };
    EXPECT_FALSE(read(""));
    EXPECT_EQ(read(R"(, "why": "")"), std::errc::bad_message);
    EXPECT_EQ(read(R"(, "more": [[[[[[[[]]]]]]]])"), std::errc::bad_message);
}
