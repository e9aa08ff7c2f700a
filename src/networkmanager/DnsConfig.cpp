// SPDX-License-Identifier: MIT
#include "networkmanager/DnsConfig.h"

#include "base/IpHelper.h"
#include "base/Paths.h"

namespace networkmanager {

namespace paths = velbase2::system::paths;

namespace {

constexpr const char* kSection = "[Resolve]\n";

} // namespace

DnsConfig::DnsConfig(ISystemIF& system) : system_(system) {}

bool DnsConfig::setDnsServer(const std::string& address, unsigned int index)
{
    if (!velbase2::system::iphelper::isValidIp(address)) {
        return false;
    }
    return writeToConfigAndReload(paths::dnsServerFile(index), createDnsConfig(address));
}

bool DnsConfig::setDnsDomain(const std::string& domain)
{
    return writeToConfigAndReload(paths::dnsDomainFile(), createDomainConfig(domain));
}

bool DnsConfig::writeToConfigAndReload(const std::string& file, const std::string& content)
{
    return system_.writeToConfFile(file, content) && system_.reloadResolveD();
}

std::string createDnsConfig(const std::string& address)
{
    return address == "0.0.0.0" ? kSection : kSection + ("DNS=" + address + '\n');
}

std::string createDomainConfig(const std::string& domain)
{
    return kSection + ("Domains=" + domain + '\n');
}

} // namespace networkmanager
