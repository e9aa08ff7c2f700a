// SPDX-License-Identifier: MIT
#include "networkhost/plan/Plan.h"

#include "Allocations.h"
#include "networkhost/change/Apply.h"
#include "networkhost/change/Trial.h"
#include "networkhost/plan/Diff.h"
#include "networkhost/plan/PlanText.h"
#include "networkhost/plan/PlannedFiles.h"
#include "networkhost/plan/Requests.h"
#include "networkhost/plan/Settings.h"
#include "networksimulation/Device.h"

#include <gmock/gmock.h>

using std::chrono::seconds;
using testing::Contains;
using testing::HasSubstr;

namespace {

networkhost::Plan planStatic(networkhost::IDevice& device, const std::string& address)
{
    return planIp(device, "remote", {address, "255.255.255.0", false, ""});
}

} // namespace

TEST(Plan, IsNotCarriedOutWhenAFileHasChangedSince)
{
    networksimulation::Device device;
    const auto plan = networkhost::planDnsDomain(device, "a.example");
    ASSERT_TRUE(networkhost::apply(device, networkhost::planDnsDomain(device, "b.example")).isDone);
    EXPECT_EQ(networkhost::apply(device, plan).reason,
              "/etc/systemd/resolved.conf.d/dns_domain.conf is no longer as the "
              "plan saw it: somebody has changed it since");
}

TEST(Plan, IsJudgedByTheFilesOfItsTime)
{
    networksimulation::Device device;
    ASSERT_TRUE(apply(device, planStatic(device, "192.168.50.20")).isDone);
    ASSERT_TRUE(apply(device, networkhost::planRoutes(device, "remote", "dst=10.1.0.0/16,gw=192.168.50.1")).isDone);
    device.advance(seconds(5));
    const auto first = planStatic(device, "192.168.50.30");
    const auto second = networkhost::planDnsDomain(device, "a.example");
    ASSERT_TRUE(apply(device, networkhost::planRoutes(device, "remote", "")).isDone);
    ASSERT_TRUE(apply(device, networkhost::planDnsServer(device, "192.168.50.2", 0)).isDone);
    EXPECT_TRUE(apply(device, first).isDone);
    EXPECT_EQ(waitUntilLive(device, first, seconds(10)), ""); // the route has been removed since the plan
    EXPECT_EQ(tryOut(device, second).reason, "");             // the DNS server has changed since the plan
}

TEST(Plan, MadeByHandIsLiveWhenItsFilesAre)
{
    networksimulation::Device device;
    const auto plan = planStatic(device, "192.168.50.20");
    networkhost::Plan own;
    own.files = plan.files;
    own.activations = plan.activations;
    device.hang("systemd-networkd");
    EXPECT_THAT(tryOut(device, own).reason, HasSubstr("the live state still lacked the address 192.168.50.20"));
}

TEST(Plan, WithoutFilesIsNotDone)
{
    networksimulation::Device device;
    EXPECT_EQ(apply(device, {}).reason, "the plan has no files to write");
    EXPECT_FALSE(tryOut(device, {}).isDone);
}

TEST(Plan, ShowsADropInWhoseDirectoryIsNotThereYet)
{
    networksimulation::Device device;
    networkhost::Plan plan;
    plan.files = {{"/run/systemd/network/02_remote.network.d/plant.conf", {}, "[Network]\nAddress=10.0.0.5/24\n"}};
    const auto configured = readConfiguration(networkhost::PlannedFiles(device.files(), plan));
    EXPECT_THAT(configured.interfaces.at("remote").addresses, testing::ElementsAre("10.0.0.5/24"));
}

TEST(Plan, TellsWhatAFileHasWithoutControlCharacters)
{
    networksimulation::Device device;
    const std::string path = "/etc/systemd/network/02_remote.network";
    device.put(path, device.textOf(path) + "\x1b]0;x=\n");
    EXPECT_THAT(planStatic(device, "192.168.50.20").warnings, Contains(HasSubstr("loses the line '\\x1b]0;x='")));
}

TEST(Plan, IsATextWithEverythingThatPeopleHaveToKnow)
{
    networksimulation::Device device;
    device.unplug("remote");
    const auto plan = planIp(device, "remote", {"10.0.0.5", "255.255.255.0", false, "192.168.50.1"});
    const std::string objection = "the gateway 192.168.50.1 lies outside the subnet 10.0.0.0/24 of remote\n";
    EXPECT_EQ(toText(plan), "refused unless it is forced: " + objection +
                                "warning: the cable of remote is out: the change becomes live only when it is in\n"
                                "warning: remote gives up its lease, and with it the name server 192.168.50.1; "
                                "to keep it: velnetctl set-dns 0 192.168.50.1\n" +
                                stepsText(plan));
    EXPECT_EQ(toText(networkhost::apply(device, plan)), objection);
    EXPECT_EQ(toText(networkhost::planDnsDomain(device, "a\nb")),
              "refused: 'a\\x0ab': control characters are not allowed\n");
    EXPECT_EQ(toText(networkhost::planSettings(device, "{}")),
              "refused: interfaces: missing\nrefused: gateway: missing\nrefused: dns: missing\n");
}

TEST(Diff, OfLongFilesTakesLittleMemory)
{
    networkhost::Plan plan;
    plan.files = {{"/f", "same\n", "same\n"}};
    for (int line = 0; line < 3000; ++line) {
        *plan.files[0].before += "a" + std::to_string(line) + '\n';
        *plan.files[0].after += "b" + std::to_string(line) + '\n';
    }
    const auto before = allocated;
    EXPECT_THAT(toDiff(plan), testing::StartsWith("--- /f\n+++ /f\n@@ -1,3001 +1,3001 @@\n same\n-a0\n-a1\n"));
    EXPECT_LT(allocated - before, 100 * plan.files[0].before->size());
}
