// SPDX-License-Identifier: MIT
#include "networkmanager/Routes.h"

#include "base/IpHelper.h"
#include "base/LogLine.h"
#include "base/Paths.h"
#include "networkmanager/RequestStatus.h"

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <string_view>

namespace networkmanager {

using velbase2::system::log::kDetail;
using velbase2::system::log::kError;
using velbase2::system::log::detail::logLine;
namespace iphelper = velbase2::system::iphelper;
namespace paths = velbase2::system::paths;

namespace {

constexpr const char* kDestination = "dst=";
constexpr const char* kGateway = "gw=";
constexpr std::size_t kIdentifierLengths = 7; // of both
constexpr const char* kInvalid = "invalid";

std::string withoutSeparators(std::string text)
{
    // Tab and carriage return are not separators.
    const auto isSeparator = [](char character) {
        return std::string_view("\n,;| ").find(character) != std::string_view::npos;
    };
    text.erase(std::remove_if(text.begin(), text.end(), isSeparator), text.end());
    return text;
}

/// A position for the log. The text is the same on 32-bit and 64-bit targets, also for npos.
std::uint32_t shown(std::size_t position)
{
    return static_cast<std::uint32_t>(position);
}

} // namespace

Routes::Routes(velbase2::system::signals::signal<std::string>& messages, ISystemIF& system, EthInterface& iface)
    : messages_(messages), system_(system), iface_(iface)
{}

bool Routes::set(const std::string& routes)
{
    bool isWritten = false;
    try {
        const auto content = createSysConf(extract(routes), messages_);
        if (content == kInvalid) {
            return false;
        }
        logLine(kDetail, "write: ", content);
        isWritten = system_.writeToConfFile(paths::ofInterface(iface_.networkFile, paths::kRoutesDropIn), content);
        if (!isWritten || !system_.reloadSettings()) {
            messages_(status::kInternalError);
            return false;
        }
        iface_.routes.assign_and_signal(routes);
        messages_(status::kRoutesUpdated);
        return true;
    } catch (const std::invalid_argument& error) {
        // kept: a slot may throw it after the write. Then the file stays, and the result is true.
        messages_(error.what());
        return isWritten;
    }
}

std::vector<RouteSetting> extract(const std::string& routes)
{
    std::vector<RouteSetting> settings;
    if (routes.empty()) {
        return settings;
    }
    checkForIdentifier(routes);
    auto rest = withoutSeparators(routes);
    do {
        rest = fillNewSettingToVector(settings, std::move(rest));
    } while (!rest.empty());
    return settings;
}

void checkForIdentifier(const std::string& routes)
{
    const auto destination = findStartOfContent(routes, kDestination);
    const auto gateway = findStartOfContent(routes, kGateway);
    if (destination == std::string::npos) {
        throw std::invalid_argument("dst= identifier is missing!");
    }
    if (gateway == std::string::npos) {
        throw std::invalid_argument("gw= identifier is missing!");
    }
    if (destination > gateway) {
        throw std::invalid_argument("destination (dst=) has to be first parameter!");
    }
}

std::string fillNewSettingToVector(std::vector<RouteSetting>& routes, std::string rest)
{
    logLine(kDetail, rest);
    const auto destinationStart = findStartOfContent(rest, kDestination);
    const auto gatewayStart = findStartOfContent(rest, kGateway);
    logLine(kDetail, "dst pos ", shown(destinationStart), " - gw pos ", shown(gatewayStart));
    const auto routeEnd = std::min(rest.find(kDestination, destinationStart), rest.size());
    logLine(kDetail, "route end ", shown(routeEnd), " - gw length ", shown(routeEnd - gatewayStart));

    // kept: the lengths are right for a text that begins with "dst=" and has its own "gw=". Another text is cut at the
    // wrong places. It usually fails the validation, and the status shows the cut text.
    RouteSetting route{rest.substr(destinationStart, gatewayStart - kIdentifierLengths),
                       rest.substr(gatewayStart, routeEnd - gatewayStart)};
    rest.erase(0, routeEnd);
    logLine(kDetail, "dest: ", route.destination, " - gw ", route.gateway);
    routes.push_back(std::move(route));
    return rest;
}

std::size_t findStartOfContent(const std::string& text, const std::string& identifier)
{
    const auto position = text.find(identifier);
    return position == std::string::npos ? position : position + identifier.size();
}

std::string createSysConf(const std::vector<RouteSetting>& routes,
                          velbase2::system::signals::signal<std::string>& messages)
{
    std::string content;
    for (const auto& route : routes) {
        if (!checkValidRoute(route.destination)) {
            messages("Invalid route format: " + route.destination);
            return kInvalid;
        }
        if (!iphelper::isValidIp(route.gateway)) {
            messages("Invalid gateway format: " + route.gateway);
            return kInvalid;
        }
        content += "[Route]\nDestination=" + route.destination + "\nGateway=" + route.gateway + '\n';
    }
    return content.empty() ? "[Route]\n" : content;
}

bool checkValidRoute(const std::string& destination)
{
    const auto slash = destination.find('/');
    const bool isMaskValid = slash == std::string::npos || checkMask(destination.substr(slash + 1));
    return iphelper::isValidIp(destination.substr(0, slash)) && isMaskValid;
}

bool checkMask(const std::string& prefix)
{
    try {
        return iphelper::isValidMask(std::stoi(prefix)); // kept: unlike leadingNumber, it throws beyond int
    } catch (const std::invalid_argument&) {
        logLine(kError, "invalid mask value: ", prefix);
        return false;
    }
}

std::string createSysDDropInFilePath(const EthInterface& iface)
{
    return paths::ofInterface(iface.networkFile, ".d");
}

} // namespace networkmanager
