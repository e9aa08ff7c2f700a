// SPDX-License-Identifier: MIT
#include "networkmanager/system/SocketReader.h"

#include "base/LogLine.h"
#include "networkmanager/system/Helper.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace networkmanager {

using velbase2::nsa::common::enums::IpAddressFamily;
using velbase2::nsa::common::structs::IpAddress;
using velbase2::system::log::kDetail;
using velbase2::system::log::detail::logLine;

namespace {

/// The kernel may report an address without a netmask. Then the text is empty.
std::string maskText(const sockaddr* netmask)
{
    return netmask == nullptr ? std::string() : helper::ip2str(netmask);
}

/// The text of inet_ntop(), which would take ten times as long. This runs at every refresh.
std::string ipv6Text(const in6_addr& address)
{
    constexpr std::size_t kGroups = 8;
    std::array<unsigned int, kGroups> groups{};
    for (std::size_t i = 0; i < kGroups; ++i) {
        groups[i] = static_cast<unsigned int>(address.s6_addr[2 * i]) << 8U | address.s6_addr[2 * i + 1];
    }
    std::size_t gap = kGroups; // the first of the longest runs of zeros
    std::size_t length = 1;
    for (std::size_t i = 0, run = 0; i < kGroups; ++i) {
        run = groups[i] == 0 ? run + 1 : 0;
        if (run > length) {
            length = run;
            gap = i + 1 - run;
        }
    }
    std::array<char, INET6_ADDRSTRLEN> text{};
    if (gap == 0 && length >= 5) { // it may contain an IPv4 address
        return ::inet_ntop(AF_INET6, &address, text.data(), text.size());
    }
    char* end = text.data();
    for (std::size_t i = 0; i < kGroups; ++i) {
        if (i == gap) {
            *end++ = ':';
            i += length - 1;
        } else {
            *end = ':';
            end = std::to_chars(i == 0 ? end : end + 1, text.data() + text.size(), groups[i], 16).ptr;
        }
    }
    if (gap + length == kGroups) {
        *end++ = ':';
    }
    return {text.data(), end};
}

} // namespace

SocketReader::SocketReader()
{
    openSocket();
}

SocketReader::~SocketReader()
{
    ::close(fd_);
}

bool SocketReader::isValidSocket() const
{
    return fd_ >= 0;
}

bool SocketReader::openSocket() const
{
    if (isValidSocket()) {
        return true;
    }
    logLine(kDetail, "Socket is closed, attempting to open.");
    fd_ = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (!isValidSocket()) {
        logLine(kDetail, "Could not get network interface settings:Unable to open socket - Errno: ", errno);
    }
    return isValidSocket();
}

int SocketReader::fd() const
{
    openSocket();
    return fd_;
}

std::string SocketReader::getInterfaceMac(const std::string& interfaceName) const
{
    const auto request = getInterfaceGenericOption(fd(), SIOCGIFHWADDR, interfaceName, "MAC-Address");
    return request ? helper::mac2str(request->ifr_hwaddr) : std::string();
}

std::vector<IpAddress> SocketReader::getInterfaceAddresses(const std::string& interfaceName) const
{
    std::vector<IpAddress> addresses;
    ifaddrs* head = nullptr;
    if (::getifaddrs(&head) != 0) {
        return addresses;
    }
    const std::unique_ptr<ifaddrs, decltype(&::freeifaddrs)> list(head, &::freeifaddrs);
    addresses.reserve(4); // an interface rarely has more
    for (const ifaddrs* entry = list.get(); entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_addr == nullptr || interfaceName != entry->ifa_name) {
            continue;
        }
        if (entry->ifa_addr->sa_family == AF_INET) {
            addresses.push_back({IpAddressFamily::IPv4, helper::ip2str(entry->ifa_addr), maskText(entry->ifa_netmask)});
        } else if (entry->ifa_addr->sa_family == AF_INET6) {
            addresses.push_back({IpAddressFamily::IPv6, ipv6Text(*toSockAddrIpv6In(entry->ifa_addr)), {}});
        }
    }
    return addresses;
}

std::unique_ptr<ISocketReader> SocketReaderFactory::create() const
{
    return std::make_unique<SocketReader>();
}

std::optional<ifreq> getInterfaceGenericOption(int socketFd, int request, const std::string& interfaceName,
                                               const char* optionName)
{
    ifreq interfaceRequest{};
    std::strncpy(interfaceRequest.ifr_name, interfaceName.c_str(), IFNAMSIZ - 1);
    if (::ioctl(socketFd, static_cast<unsigned long>(request), &interfaceRequest) != 0) {
        logLine(kDetail, "could not query ", optionName, " from interface ", interfaceName);
        return std::nullopt;
    }
    return interfaceRequest;
}

const in6_addr* toSockAddrIpv6In(const sockaddr* address)
{
    return &reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr;
}

} // namespace networkmanager
