// SPDX-License-Identifier: MIT
#include "networkhost/text/Addresses.h"

#include "Fuzz.h"
#include "base/IpHelper.h"
#include "networkhost/text/Checks.h"

#include <arpa/inet.h>

namespace iphelper = velbase2::system::iphelper;

/// The number of leading one bits of the mask. -1 when a one follows a zero.
static int lengthOf(std::uint32_t mask)
{
    for (int length = 0; length <= 32; ++length) {
        if (mask == static_cast<std::uint32_t>(~(0xFFFFFFFFULL >> length))) {
            return length;
        }
    }
    return -1;
}

/// The input is an address or a mask.
void fuzz::check(const std::string& address)
{
    const auto number = numberOf(address);
    in_addr canonical{};
    const bool isCanonical = number && ::inet_pton(AF_INET, address.c_str(), &canonical) == 1;
    require(networkhost::isCanonicalAddress(address) == isCanonical, "canonical is what inet_pton takes");
    require(networkhost::faultOfAddress(address).empty() == iphelper::isValidIp(address),
            "what is invalid has a fault");
    require(!hasControlCharacter(networkhost::faultOfAddress(address)), "a fault can be printed");
    if (!iphelper::isValidIp(address)) {
        require(!isCanonical && iphelper::cleanupIP(address) == "0.0.0.0", "what inet_pton takes is valid");
        return;
    }
    require(number.has_value(), "what is valid is an address to the tools");
    require(iphelper::cleanupIP(address) == dottedText(*number), "the tools read the same number");
    const int length = lengthOf(*number);
    require(iphelper::subnetMaskToBits(address) == length, "a mask has the length of its ones");
    require(iphelper::isValidMask(address) == (length >= 0), "a mask is valid when it has a length");
    require(length < 0 || iphelper::subnetBitsToMask(length) == dottedText(*number), "a length gives its mask");
}
