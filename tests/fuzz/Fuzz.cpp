// SPDX-License-Identifier: MIT
#include "Fuzz.h"

#include "base/Log.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <set>

#include <arpa/inet.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    namespace log = velbase2::system::log;
    log::setMinimumLevel(log::kDetail); // the library builds log lines only for an enabled level
    log::setSink([](int, std::string_view, std::string_view) {});
    fuzz::check(std::string(data, data + size));
    return 0;
}

namespace fuzz {
namespace {

const std::string kNetwork = "/etc/systemd/network/";
const std::string kResolver = "/etc/systemd/resolved.conf.d/";

std::string afterFirst(const std::string& text, char separator)
{
    const auto position = text.find(separator);
    return position == std::string::npos ? "" : text.substr(position + 1);
}

bool isNumber(const std::string& text)
{
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

/// kept: a text after the number of a prefix length reaches the file.
bool beginsWithNumber(const std::string& text)
{
    char* end = nullptr;
    static_cast<void>(std::strtol(text.c_str(), &end, 10));
    return end != text.c_str();
}

bool isKnownLine(const std::string& line)
{
    static const std::set<std::string> known = {"",
                                                "[Match]",
                                                "[Network]",
                                                "[Route]",
                                                "[Resolve]",
                                                "Name=local",
                                                "Name=remote",
                                                "LinkLocalAddressing=ipv6",
                                                "MulticastDNS=true",
                                                "DHCP=ipv4"};
    const auto key = line.substr(0, line.find('='));
    const auto value = afterFirst(line, '=');
    const bool isAddress = numberOf(value.substr(0, value.find('/'))).has_value();
    const bool hasLength = value.find('/') != std::string::npos;
    const auto length = afterFirst(value, '/');
    return known.count(line) > 0 || ((key == "Gateway" || key == "DNS") && isAddress && !hasLength) ||
           (key == "Address" && isAddress && isNumber(length) && length.size() <= 2) ||
           (key == "Destination" && isAddress && (!hasLength || beginsWithNumber(length))) ||
           (key == "Domains" && !hasControlCharacter(value));
}

} // namespace

void require(bool holds, const std::string& what)
{
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what.c_str());
        std::abort();
    }
}

std::vector<std::string> split(const std::string& text, char separator)
{
    std::vector<std::string> parts(1);
    for (const char character : text) {
        if (character == separator) {
            parts.emplace_back();
        } else {
            parts.back() += character;
        }
    }
    return parts;
}

bool hasControlCharacter(const std::string& text)
{
    return std::any_of(text.begin(), text.end(), [](unsigned char byte) { return std::iscntrl(byte) != 0; });
}

std::optional<std::uint32_t> numberOf(const std::string& address)
{
    in_addr number{};
    const bool isAddress = address.find_first_not_of("0123456789.") == std::string::npos &&
                           std::count(address.begin(), address.end(), '.') == 3 &&
                           ::inet_aton(address.c_str(), &number) != 0;
    return isAddress ? std::optional(ntohl(number.s_addr)) : std::nullopt;
}

std::string dottedText(std::uint32_t number)
{
    const in_addr address{htonl(number)};
    std::array<char, INET_ADDRSTRLEN> text{};
    return ::inet_ntop(AF_INET, &address, text.data(), text.size());
}

bool isKnownCommand(const std::string& command)
{
    static const std::set<std::string> known = {"ip route flush 0/0", "sudo /bin/systemctl daemon-reload",
                                                "sudo /bin/systemctl restart systemd-networkd",
                                                "sudo /bin/systemctl restart systemd-resolved"};
    const std::string add = "route add default gw ";
    return known.count(command) > 0 || (command.rfind(add, 0) == 0 && numberOf(command.substr(add.size())));
}

bool isOwnFile(const std::string& path)
{
    static const std::set<std::string> known = {
        kNetwork + "01_local.network", kNetwork + "01_local.network.d/50-routes.conf", kNetwork + "02_remote.network",
        kNetwork + "02_remote.network.d/50-routes.conf", kResolver + "dns_domain.conf"};
    const auto beginning = kResolver + "dns_server_";
    const auto end = path.rfind(".conf");
    return known.count(path) > 0 || (path.rfind(beginning, 0) == 0 && end == path.size() - 5 &&
                                     isNumber(path.substr(beginning.size(), end - beginning.size())));
}

void requireKnown(const networksimulation::Event& event)
{
    if (event.what == "ran" || event.what == "failed to run") {
        require(isKnownCommand(event.subject), "the command is known: " + event.subject);
        return;
    }
    require(isOwnFile(event.subject), "the file is the library's own: " + event.subject);
    for (const auto& line : split(event.text, '\n')) {
        require(isKnownLine(line), "the library writes such a line: " + line);
    }
}

} // namespace fuzz
