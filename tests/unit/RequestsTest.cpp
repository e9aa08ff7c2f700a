// SPDX-License-Identifier: MIT
#include "networkhost/plan/Requests.h"

#include "networkhost/change/Apply.h"
#include "networkhost/change/Trial.h"
#include "networkhost/plan/Settings.h"
#include "networkhost/text/NetworkAddress.h"
#include "networksimulation/Device.h"

#include <gmock/gmock.h>

TEST(Requests, TellTheStepThatFailed)
{
    networksimulation::Device device;
    device.failWrite("/etc/systemd/resolved.conf.d/dns_domain.conf", ENOSPC);
    const auto unwritten = networkhost::apply(device, networkhost::planDnsDomain(device, "a.example"));
    EXPECT_FALSE(unwritten.isDone);
    EXPECT_EQ(unwritten.failures.at(0).error, std::errc::no_space_on_device);
    EXPECT_EQ(unwritten.reason, "cannot write /etc/systemd/resolved.conf.d/dns_domain.conf: No space left on device");
    EXPECT_THAT(device.takeEvents(), testing::SizeIs(1)); // only the failed write; no daemon is restarted
    device.failCommand("sudo /bin/systemctl restart", "Job failed.");
    EXPECT_EQ(networkhost::apply(device, networkhost::planRoutes(device, "local", "")).status, "internal error");
    EXPECT_EQ(networkhost::apply(device, networkhost::planIp(device, "eth9", {"", "", true, ""})).reason,
              "there is no managed interface 'eth9'");
    EXPECT_EQ(networkhost::apply(device, networkhost::planRoutes(device, "eth9", "")).reason,
              "there is no managed interface 'eth9'");
    EXPECT_EQ(networkhost::apply(device, networkhost::planDnsDomain(device, "a\nb")).reason,
              "'a\\x0ab': control characters are not allowed");
}

TEST(Requests, DoNotTakeWhatIsOnTrialForWhatIsSet)
{
    networksimulation::Device device;
    ASSERT_TRUE(networkhost::tryOut(device, networkhost::planDnsServer(device, "10.0.0.53", 0)).isDone);
    const auto document = networkhost::saveSettings(device.files());
    const auto refused = networkhost::apply(device, networkhost::planSettings(device, document));
    EXPECT_FALSE(refused.isNothingToChange());
    EXPECT_EQ(refused.reason, networkhost::trialState(device).text());
    ASSERT_TRUE(networkhost::confirmTrial(device).isDone);
    EXPECT_TRUE(networkhost::planSettings(device, document).isNothingToChange());
}

TEST(Requests, ComeFromTheArgumentOfACommand)
{
    const auto parsed = [](const std::string& text) {
        std::string fault;
        const auto settings = networkhost::parseIpSettings(text, fault);
        return settings ? networkhost::toText(*settings) + fault : fault;
    };
    EXPECT_EQ(parsed("10.0.0.5/24"), "10.0.0.5/24");
    EXPECT_EQ(parsed("Dhcp"), "DHCP");
    EXPECT_EQ(parsed("10.0.0.5"), "'10.0.0.5' has no prefix length: use a form such as 10.0.0.5/24");
    EXPECT_EQ(parsed("10.0.0.5/33"), "'/33' is not a prefix length: a prefix length is 0 to 32");
    EXPECT_EQ(parsed(""), "the address is missing");
}
