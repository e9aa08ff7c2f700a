// SPDX-License-Identifier: MIT
#include "base/IpHelper.h"

#include <array>
#include <charconv>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace velbase2::system::iphelper {
namespace {

std::optional<std::uint32_t> parseOctet(std::string_view digits) noexcept
{
    if (digits.empty() || digits.size() > 3) {
        return std::nullopt;
    }
    std::uint32_t octet = 0;
    for (const char digit : digits) {
        if (digit < '0' || digit > '9') {
            return std::nullopt;
        }
        octet = octet * 10 + static_cast<std::uint32_t>(digit - '0');
    }
    // Some tools read a number with a leading zero as octal. Only 0 to 7 are the same in both.
    const bool ambiguous = digits.size() > 1 && digits.front() == '0' && octet > 7;
    if (octet > 255 || ambiguous) {
        return std::nullopt;
    }
    return octet;
}

std::optional<std::uint32_t> parseAddress(std::string_view text) noexcept
{
    std::uint32_t address = 0;
    for (int dotsLeft = 3; dotsLeft >= 0; --dotsLeft) {
        const auto end = dotsLeft > 0 ? text.find('.') : text.size();
        if (end == std::string_view::npos) {
            return std::nullopt;
        }
        const auto octet = parseOctet(text.substr(0, end));
        if (!octet) {
            return std::nullopt;
        }
        address = address << 8 | *octet;
        text.remove_prefix(dotsLeft > 0 ? end + 1 : end);
    }
    return address;
}

} // namespace

std::string dotted(std::uint32_t address)
{
    // inet_ntop() would take ten times as long, and this runs at every refresh.
    std::array<char, sizeof "255.255.255.255."> text{};
    char* end = text.data();
    for (const int shift : {24, 16, 8, 0}) {
        end = std::to_chars(end, end + 3, address >> shift & 0xFFU).ptr;
        *end++ = '.';
    }
    return {text.data(), end - 1};
}

std::string cleanupIP(const std::string& address)
{
    return dotted(parseAddress(address).value_or(0));
}

bool isValidIp(const std::string& address)
{
    return parseAddress(address).has_value();
}

bool isValidMask(const std::string& mask)
{
    return subnetMaskToBits(mask) >= 0;
}

bool isValidMask(int prefixLength)
{
    return prefixLength >= 0 && prefixLength <= 32;
}

std::string subnetBitsToMask(int prefixLength)
{
    if (!isValidMask(prefixLength)) {
        return {};
    }
    return dotted(static_cast<std::uint32_t>(0xFFFFFFFFULL << (32 - prefixLength)));
}

int leadingNumber(const std::string& text, int ifNone, int ifBeyondInt)
{
    try {
        return std::stoi(text);
    } catch (const std::invalid_argument&) {
        return ifNone;
    } catch (const std::out_of_range&) {
        return ifBeyondInt;
    }
}

int subnetMaskToBits(const std::string& mask)
{
    const auto address = parseAddress(mask);
    if (!address) {
        return -1;
    }
    const std::uint32_t hostBits = ~*address;
    if ((hostBits & (hostBits + 1)) != 0) {
        return -1; // the ones are not contiguous
    }
    int prefixLength = 32;
    for (auto bits = hostBits; bits != 0; bits >>= 1) {
        --prefixLength;
    }
    return prefixLength;
}

} // namespace velbase2::system::iphelper
