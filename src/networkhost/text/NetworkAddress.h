// SPDX-License-Identifier: MIT
#pragma once

#include "../../base/IpSettings.h"

#include <cstdint>
#include <optional>
#include <string>

namespace networkhost {

/// An IPv4 address and its prefix length: "192.168.50.20/24" of an interface, "10.0.0.0/8" of a network. A value:
///
///     std::string fault;
///     if (const auto address = NetworkAddress::parse("192.168.50.20/24", fault)) {
///         const auto plan = planIp(device, "remote", address->settings());
///     }
struct NetworkAddress
{
    std::uint32_t bits = 0; // 127.0.0.1 is 0x7F000001
    int length = 32;        // 0 to 32

    /// Takes "ADDRESS/LENGTH", or "ADDRESS" with the length 32, as the set operations do. Nothing for another text;
    /// `fault` then says what is wrong with it, in a sentence.
    static std::optional<NetworkAddress> parse(const std::string& text, std::string& fault);
    static std::optional<NetworkAddress> parse(const std::string& text);

    /// The same, but nothing for a text that the daemons do not understand: they know no leading zeros.
    static std::optional<NetworkAddress> parseAsDaemons(const std::string& text);

    /// Nothing for what is no address, or no mask such as "255.255.255.0".
    static std::optional<NetworkAddress> of(const std::string& address, const std::string& mask);

    std::string text() const;    // "10.0.0.5/8"
    std::string address() const; // "10.0.0.5"
    std::string mask() const;    // "255.0.0.0"

    NetworkAddress network() const;   // 10.0.0.0/8
    NetworkAddress broadcast() const; // 10.255.255.255/8

    /// Whether the address of the other one lies in this network.
    bool contains(const NetworkAddress& other) const;

    /// Whether the two networks have an address in common.
    bool overlaps(const NetworkAddress& other) const;

    /// As a static request without a gateway.
    velbase2::nsa::common::IpSettings settings() const;
};

inline bool operator==(const NetworkAddress& left, const NetworkAddress& right)
{
    return left.bits == right.bits && left.length == right.length;
}

/// The request that somebody typed: "10.0.0.5/24", or "dhcp" in small or capital letters. It leaves the gateway to
/// planIp(). Nothing for another text; `fault` then says what is wrong with it, in a sentence:
///
///     std::string fault;
///     const auto settings = networkhost::parseIpSettings(argv[1], fault);
///     if (!settings) {
///         std::cerr << fault << '\n';
///     }
std::optional<velbase2::nsa::common::IpSettings> parseIpSettings(const std::string& text, std::string& fault);

} // namespace networkhost
