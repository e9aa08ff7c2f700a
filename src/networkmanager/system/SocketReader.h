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

/// Reads through a datagram socket. The constructor opens it, and if that fails, each fd() tries again.
/// Not thread-safe while the socket is closed, because fd() and openSocket() then write the descriptor.
class SocketReader : public ISocketReader
{
public:
    SocketReader();
    SocketReader(const SocketReader&) = delete;
    SocketReader& operator=(const SocketReader&) = delete;
    ~SocketReader() override;

    bool isValidSocket() const;

    /// Opens the socket if it is closed. Returns whether it is open afterwards.
    bool openSocket() const;

    /// The descriptor of the socket. Opens it if necessary, and returns -1 when that fails.
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

/// Makes one request (SIOCG...) about the interface. Its name is cut to 15 characters. If the kernel refuses, the
/// result is empty and a log line names `optionName`.
std::optional<ifreq> getInterfaceGenericOption(int socketFd, int request, const std::string& interfaceName,
                                               const char* optionName);

/// The address field of an AF_INET6 socket address.
const in6_addr* toSockAddrIpv6In(const sockaddr* address);

} // namespace networkmanager
