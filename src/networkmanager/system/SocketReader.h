// SPDX-License-Identifier: MIT
#pragma once

#include "ISocketReader.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace networkmanager {

/// Reads through a datagram socket, which it opens at construction and, while that fails, again at each fd().
/// Not thread-safe while the socket is closed: fd() and openSocket() then write the descriptor.
class SocketReader : public ISocketReader
{
public:
    SocketReader();
    SocketReader(const SocketReader&) = delete;
    SocketReader& operator=(const SocketReader&) = delete;
    ~SocketReader() override;

    bool isValidSocket() const;

    /// Opens the socket if it is closed. True when it is open afterwards.
    bool openSocket() const;

    /// The descriptor of the socket, opened if need be; -1 when that failed.
    int fd() const;

    std::string getInterfaceMac(const std::string& interfaceName) const override;
    std::vector<velbase2::nsa::common::structs::IpAddress>
    getInterfaceAddresses(const std::string& interfaceName) const override;

private:
    mutable int fd_ = -1;
};

class SocketReaderFactory
{
public:
    virtual ~SocketReaderFactory() = default;
    virtual std::unique_ptr<ISocketReader> create() const;
};

/// One interface request (SIOCG...) about the interface, whose name is cut to 15 characters. Empty, with a log line
/// that names `optionName`, when the kernel refuses.
std::optional<ifreq> getInterfaceGenericOption(int socketFd, int request, const std::string& interfaceName,
                                               const char* optionName);

/// The address field of an AF_INET6 socket address.
const in6_addr* toSockAddrIpv6In(const sockaddr* address);

} // namespace networkmanager
