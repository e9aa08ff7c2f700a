// SPDX-License-Identifier: MIT
#include "velnetctl/Monitor.h"

#include <gmock/gmock.h>

TEST(Monitor, PrintsAChangeALine)
{
    EXPECT_THAT(velnetctl::lineOf({"remote", "link", "up", true}, false) +
                    velnetctl::lineOf({"host", "hostname", "a", "a\x1b"}, true),
                testing::MatchesRegex(
                    "20..-..-..T..:..:..\\....Z  remote    link        up\n"
                    "\\{\"time\":\".*Z\",\"source\":\"host\",\"name\":\"hostname\",\"value\":\"a.*u001b\"\\}\n"));
}
