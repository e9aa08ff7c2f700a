// SPDX-License-Identifier: MIT
#include "networkhost/text/DaemonValues.h"

#include "networkhost/text/Addresses.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <limits>
#include <string_view>

#include <boost/algorithm/string/predicate.hpp>

namespace networkhost {
namespace {

template <class Names>
bool isAmong(const Names& names, const std::string& text)
{
    return std::any_of(names.begin(), names.end(),
                       [&text](std::string_view name) { return boost::algorithm::iequals(name, text); });
}

} // namespace

std::optional<bool> daemonBool(const std::string& text)
{
    constexpr std::array<std::string_view, 6> kTrue = {"1", "yes", "y", "true", "t", "on"};
    constexpr std::array<std::string_view, 6> kFalse = {"0", "no", "n", "false", "f", "off"};
    const bool isTrue = isAmong(kTrue, text);
    return isTrue || isAmong(kFalse, text) ? std::optional(isTrue) : std::nullopt;
}

std::optional<std::uint32_t> daemonNumber(const std::string& text)
{
    std::string digits = text.substr(std::min(text.find_first_not_of(" \t"), text.size()));
    int base = 0; // strtoull() knows "0x" and "0" itself
    if (digits.rfind("0b", 0) == 0 || digits.rfind("0o", 0) == 0) {
        base = digits[1] == 'b' ? 2 : 8;
        digits.erase(0, 2);
    }
    char* end = nullptr;
    errno = 0;
    const auto number = std::strtoull(digits.c_str(), &end, base);
    const bool isNegative = !digits.empty() && digits.front() == '-' && number != 0;
    if (errno != 0 || end == digits.c_str() || *end != '\0' || isNegative ||
        number > std::numeric_limits<std::uint32_t>::max()) {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(number);
}

std::optional<DaemonAddress> daemonAddress(const std::string& text)
{
    const auto slash = text.find('/');
    const auto address = text.substr(0, slash);
    const bool hasLength = slash != std::string::npos;
    const auto length = hasLength ? daemonNumber(text.substr(slash + 1)) : 32U;
    if (!isCanonicalAddress(address) || !length || *length > 32) {
        return std::nullopt;
    }
    return DaemonAddress{{addressBits(address), static_cast<int>(*length)}, hasLength};
}

std::optional<int> lengthByClass(const NetworkAddress& address)
{
    const auto first = address.bits >> 24U;
    if (first >= 224) {
        return std::nullopt;
    }
    return first < 128 ? 8 : first < 192 ? 16 : 24;
}

} // namespace networkhost
