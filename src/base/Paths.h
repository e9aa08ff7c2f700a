// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <string>

/// The files that the libraries read and write, and the order in which the daemons read them.
namespace velbase2::system::paths {

// systemd's daemons look for a file in these, and take the first one of a name.
// The last one is a link to /usr on most systems.
inline constexpr std::array<const char*, 5> kDaemonDirectories = {
    "/etc/systemd/", "/run/systemd/", "/usr/local/lib/systemd/", "/usr/lib/systemd/", "/lib/systemd/"};

inline constexpr const char* kNetworkDirectory = "/etc/systemd/network/";
inline constexpr const char* kResolverDirectory = "/etc/systemd/resolved.conf.d/";
// systemd-resolved reads this file first, and then the files of the directory in byte order.
inline constexpr const char* kResolverFile = "/etc/systemd/resolved.conf";
inline constexpr const char* kHostname = "/etc/hostname";

inline constexpr const char* kRouteTable = "/proc/net/route";
inline constexpr const char* kInterfaceStates = "/sys/class/net/";

inline constexpr const char* kBootMark = "/run/velnet/boot";              // made at each start by packaging/tmpfiles.d
inline constexpr const char* kBootId = "/proc/sys/kernel/random/boot_id"; // changes at each start

inline constexpr const char* kNetworkd = "/lib/systemd/systemd-networkd"; // its program
inline constexpr const char* kLinks = "/run/systemd/netif/links/";        // networkd's, named by interface index
inline constexpr const char* kLeases = "/run/systemd/netif/leases/";      // networkd's, named by interface index
inline constexpr const char* kResolverState = "/run/systemd/resolve/resolv.conf"; // what resolved itself uses

// The records of trials, and their locks.
inline constexpr const char* kTrialDirectory = "/etc/systemd/velnet/trials";
inline constexpr const char* kTrial = "/etc/systemd/velnet/trials/trial";            // pending
inline constexpr const char* kRollback = "/etc/systemd/velnet/trials/rollback";      // being rolled back
inline constexpr const char* kConfirmed = "/etc/systemd/velnet/trials/confirmed";    // the last one, kept
inline constexpr const char* kRolledBack = "/etc/systemd/velnet/trials/rolled-back"; // the last one, undone
inline constexpr const char* kChangeLock = "/etc/systemd/velnet/trials/change.lock"; // held during a change
inline constexpr const char* kCallerLock = "/etc/systemd/velnet/trials/caller.lock"; // held until the trial is live
inline constexpr const char* kGuardLock = "/etc/systemd/velnet/trials/guard.lock";   // held by the guard

/// The suffixes of an interface's files after the path of the main file. In the loader, the first of two Network
/// sections counts.
inline constexpr const char* kAddressDropIn = ".d/51-ip_address.conf"; // never written by this library
inline constexpr const char* kRoutesDropIn = ".d/50-routes.conf";
inline constexpr std::array<const char*, 3> kInLoadingOrder = {kAddressDropIn, kRoutesDropIn, ""};

/// `networkFile` is the name of the interface's main file.
inline std::string ofInterface(const std::string& networkFile, const char* suffix = "")
{
    return kNetworkDirectory + networkFile + suffix;
}

inline std::string dnsServerFile(unsigned int index)
{
    return std::string(kResolverDirectory) + "dns_server_" + std::to_string(index) + ".conf";
}

inline std::string dnsDomainFile()
{
    return std::string(kResolverDirectory) + "dns_domain.conf";
}

} // namespace velbase2::system::paths
