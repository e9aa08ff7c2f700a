// SPDX-License-Identifier: MIT
#include "Fuzz.h"
#include "networkmanager/system/IPSettingsExtractor.h"

/// The input is the text of /proc/net/route.
void fuzz::check(const std::string& input)
{
    static const networkmanager::IPSettingsExtractor extractor;
    const auto gateway = extractor.getDefaultGateway("remote", input);
    const auto number = numberOf(gateway);
    require(gateway.empty() || (number && dottedText(*number) == gateway), "the gateway is none or an address");
    require(gateway.empty() == (input.find("remote\t00000000\t") == std::string::npos),
            "a default route has a gateway");
}
