// SPDX-License-Identifier: MIT
#include "networkhost/device/RealNeighbours.h"

#include "base/FileDescriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <sstream>
#include <utility>

#include <arpa/inet.h>
#include <linux/neighbour.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <net/ethernet.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <netpacket/packet.h>
#include <poll.h>
#include <sys/socket.h>

namespace networkhost {

using std::chrono::milliseconds;
using velbase2::system::FileDescriptor;

namespace {

/// Returns when the answer has arrived or the limit has passed.
void waitFor(const FileDescriptor& socket, milliseconds limit, const std::function<bool()>& isThere)
{
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + limit;
    while (!isThere() && Clock::now() < end) {
        const auto left = std::chrono::duration_cast<milliseconds>(end - Clock::now()) + milliseconds(1);
        ::pollfd readable{socket.get(), POLLIN, 0};
        ::poll(&readable, 1, static_cast<int>(left.count()));
    }
}

struct Request
{
    ::nlmsghdr header;
    ::ndmsg neighbour;
    ::rtattr attribute;
    ::in_addr address;
};

/// Asks through the kernel's neighbour table, and reads the changes of the entry.
class KernelQuestion : public IQuestion
{
public:
    KernelQuestion(unsigned int interfaceIndex, const ::in_addr& address)
        : socket_(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE)),
          index_(static_cast<int>(interfaceIndex)), address_(address)
    {}

    /// Uses the first request that the kernel accepts. The first asks a known neighbour again, and the second looks for
    /// an unknown one.
    bool ask()
    {
        ::sockaddr_nl own = {};
        own.nl_family = AF_NETLINK;
        own.nl_groups = RTMGRP_NEIGH;
        return socket_.get() >= 0 && ::bind(socket_.get(), reinterpret_cast<::sockaddr*>(&own), sizeof own) == 0 &&
               (request(NUD_PROBE, 0, NLM_F_REPLACE) || request(NUD_NONE, NTF_USE, NLM_F_CREATE));
    }

    bool isAnswered(milliseconds limit) override
    {
        waitFor(socket_, limit, [this] {
            takeAll();
            return state_ == NUD_REACHABLE || state_ == NUD_FAILED;
        });
        return state_ == NUD_REACHABLE;
    }

private:
    bool request(unsigned short state, unsigned char use, unsigned int how)
    {
        Request message = {};
        message.header.nlmsg_len = sizeof message;
        message.header.nlmsg_type = RTM_NEWNEIGH;
        message.header.nlmsg_flags = static_cast<unsigned short>(NLM_F_REQUEST | NLM_F_ACK | how);
        message.neighbour.ndm_family = AF_INET;
        message.neighbour.ndm_ifindex = index_;
        message.neighbour.ndm_state = state;
        message.neighbour.ndm_flags = use;
        message.attribute.rta_len = RTA_LENGTH(sizeof message.address);
        message.attribute.rta_type = NDA_DST;
        message.address = address_;
        result_ = EIO;
        state_ = NUD_NONE; // a state from an earlier question means nothing
        if (::send(socket_.get(), &message, sizeof message, 0) != sizeof message) {
            return false;
        }
        takeAll(); // the kernel has answered before send() returned
        return result_ == 0;
    }

    void takeAll()
    {
        alignas(::nlmsghdr) std::array<char, 8192> buffer{};
        for (;;) {
            const auto size = ::recv(socket_.get(), buffer.data(), buffer.size(), 0);
            if (size < 0 && errno == EINTR) {
                continue;
            }
            if (size < 0 && errno != ENOBUFS) {
                return;
            }
            auto left = static_cast<unsigned int>(std::max<ssize_t>(size, 0));
            for (auto* message = reinterpret_cast<::nlmsghdr*>(buffer.data()); NLMSG_OK(message, left);
                 message = NLMSG_NEXT(message, left)) {
                take(*message);
            }
        }
    }

    void take(::nlmsghdr& message)
    {
        if (message.nlmsg_type == NLMSG_ERROR) {
            result_ = -static_cast<::nlmsgerr*>(NLMSG_DATA(&message))->error;
        }
        if (message.nlmsg_type != RTM_NEWNEIGH) {
            return;
        }
        const auto* neighbour = static_cast<::ndmsg*>(NLMSG_DATA(&message));
        auto left = static_cast<unsigned int>(message.nlmsg_len - NLMSG_LENGTH(sizeof *neighbour));
        auto* attribute =
            reinterpret_cast<::rtattr*>(static_cast<char*>(NLMSG_DATA(&message)) + NLMSG_ALIGN(sizeof *neighbour));
        for (; RTA_OK(attribute, left); attribute = RTA_NEXT(attribute, left)) {
            if (neighbour->ndm_ifindex == index_ && attribute->rta_type == NDA_DST &&
                RTA_PAYLOAD(attribute) == sizeof address_ &&
                std::memcmp(RTA_DATA(attribute), &address_, sizeof address_) == 0) {
                state_ = neighbour->ndm_state;
            }
        }
    }

    FileDescriptor socket_;
    int index_;
    ::in_addr address_;
    int result_ = 0;
    unsigned int state_ = NUD_NONE;
};

/// Whether the neighbour has a permanent entry. Such a neighbour is not asked, because the question would replace the
/// entry.
bool isPermanent(const std::string& interfaceName, const std::string& address)
{
    std::ifstream table("/proc/net/arp");
    for (std::string line; std::getline(table, line);) {
        std::istringstream words(line);
        std::string known, hardwareType, flags, hardware, mask, device; // NOLINT(readability-isolate-declaration)
        words >> known >> hardwareType >> flags >> hardware >> mask >> device;
        if (known == address && device == interfaceName) {
            return (std::strtoul(flags.c_str(), nullptr, 16) & ATF_PERM) != 0;
        }
    }
    return false;
}

class KnownAnswer : public IQuestion
{
public:
    bool isAnswered(milliseconds /*limit*/) override { return true; }
};

/// An ARP packet of Ethernet and IPv4.
struct ArpPacket
{
    std::uint16_t hardware;
    std::uint16_t protocol;
    std::uint8_t hardwareSize;
    std::uint8_t protocolSize;
    std::uint16_t operation;
    std::array<std::uint8_t, ETH_ALEN> senderHardware;
    std::array<std::uint8_t, 4> sender;
    std::array<std::uint8_t, ETH_ALEN> targetHardware;
    std::array<std::uint8_t, 4> target;
};

static_assert(sizeof(ArpPacket) == 28);

/// The probe of RFC 5227. The holder of the address answers, and no device enters a new address into its ARP cache.
class TwinQuestion : public IQuestion
{
public:
    TwinQuestion(unsigned int interfaceIndex, const ::in_addr& address)
        : socket_(::socket(AF_PACKET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)),
          index_(static_cast<int>(interfaceIndex))
    {
        std::memcpy(address_.data(), &address, address_.size());
    }

    bool ask()
    {
        ::sockaddr_ll link = {};
        link.sll_family = AF_PACKET;
        link.sll_protocol = htons(ETH_P_ARP);
        link.sll_ifindex = index_;
        auto* const any = reinterpret_cast<::sockaddr*>(&link);
        ::socklen_t size = sizeof link;
        if (socket_.get() < 0 || ::bind(socket_.get(), any, size) != 0 ||
            ::getsockname(socket_.get(), any, &size) != 0 || link.sll_hatype != ARPHRD_ETHER) {
            return false;
        }
        std::memcpy(own_.data(), link.sll_addr, own_.size());
        const ArpPacket probe = {
            htons(ARPHRD_ETHER), htons(ETH_P_IP), ETH_ALEN, 4, htons(ARPOP_REQUEST), own_, {}, {}, address_};
        std::memset(link.sll_addr, 0xFF, ETH_ALEN); // broadcast
        link.sll_halen = ETH_ALEN;
        return ::sendto(socket_.get(), &probe, sizeof probe, 0, any, sizeof link) == sizeof probe;
    }

    bool isAnswered(milliseconds limit) override
    {
        waitFor(socket_, limit, [this] {
            ArpPacket packet = {};
            while (!isAnswered_ && ::recv(socket_.get(), &packet, sizeof packet, 0) >= 0) {
                isAnswered_ = packet.sender == address_ && packet.senderHardware != own_;
            }
            return isAnswered_;
        });
        return isAnswered_;
    }

private:
    FileDescriptor socket_;
    int index_;
    std::array<std::uint8_t, 4> address_{};
    std::array<std::uint8_t, ETH_ALEN> own_{};
    bool isAnswered_ = false;
};

template <class Question>
std::unique_ptr<IQuestion> ask(const std::string& interfaceName, const std::string& address)
{
    ::in_addr bits = {};
    const auto index = ::if_nametoindex(interfaceName.c_str());
    if (index == 0 || ::inet_pton(AF_INET, address.c_str(), &bits) != 1) {
        return nullptr;
    }
    auto question = std::make_unique<Question>(index, bits);
    return question->ask() ? std::move(question) : nullptr;
}

} // namespace

std::unique_ptr<IQuestion> askForNeighbour(const std::string& interfaceName, const std::string& address)
{
    if (isPermanent(interfaceName, address)) {
        return std::make_unique<KnownAnswer>();
    }
    return ask<KernelQuestion>(interfaceName, address);
}

std::unique_ptr<IQuestion> askForTwin(const std::string& interfaceName, const std::string& address)
{
    return ask<TwinQuestion>(interfaceName, address);
}

} // namespace networkhost
