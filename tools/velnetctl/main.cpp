// SPDX-License-Identifier: MIT
#include "Change.h"
#include "Monitor.h"
#include "Status.h"
#include "base/Log.h"
#include "networkmanager/EthernetInterfaces.h"

#include <algorithm>
#include <exception>
#include <functional>
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace {

constexpr int kGood = 0;
constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

constexpr const char* kExamples = R"(Examples:
  velnetctl status                         the host and all interfaces
  velnetctl status remote --json           one interface, for programs
  velnetctl monitor                        every change as it comes, until Ctrl-C
  velnetctl set-ip remote dhcp --wait 20   and return when the lease is there
  velnetctl set-ip local 192.168.10.1/24
  velnetctl set-gateway 192.168.50.1
  velnetctl set-dns 0 192.168.50.1
  velnetctl set-routes remote 10.1.0.0/16 via 192.168.50.2

Exit codes: 0 good, 1 failed, 2 wrong usage.)";

constexpr const char* kAddressForms = "dhcp, ADDRESS/LENGTH, or ADDRESS and MASK";
constexpr const char* kRouteForms = R"(DESTINATION via GATEWAY ..., or dst=DESTINATION gw=GATEWAY ...)";

/// An empty text for a managed interface, else why it is refused (CLI11's convention).
std::string checkInterfaceName(const std::string& name)
{
    const networkmanager::EthernetInterfaces registry;
    if (registry.interfaces.count(name) > 0) {
        return {};
    }
    std::string known;
    for (const auto& entry : registry.interfaces) {
        known += (known.empty() ? "" : ", ") + entry.first;
    }
    return "unknown interface '" + name + "'; the managed interfaces are: " + known;
}

/// The library writes some texts into files as they stand: nothing in them may end a line there.
std::string checkPrintable(const std::string& text)
{
    const auto isControl = [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; };
    return std::any_of(text.begin(), text.end(), isControl) ? "control characters are not allowed" : "";
}

/// CLI11 would read a leading zero as octal.
std::string checkDecimal(const std::string& text)
{
    return text.size() > 1 && text.front() == '0' ? "leading zeros are not allowed" : "";
}

/// "dst=D gw=G ..." of the words "D via G ...", or of words in the library's own form already.
std::string routesText(const std::vector<std::string>& words)
{
    std::string text;
    if (words.size() == 1 || (!words.empty() && words.front().rfind("dst=", 0) == 0)) {
        for (const auto& word : words) {
            text += (text.empty() ? "" : " ") + word;
        }
        return text;
    }
    for (std::size_t i = 0; i < words.size(); i += 3) {
        if (i + 2 >= words.size() || words[i + 1] != "via") {
            throw CLI::ValidationError("ROUTE", std::string("expected ") + kRouteForms);
        }
        text += (i == 0 ? "dst=" : " dst=") + words[i] + " gw=" + words[i + 2];
    }
    return text;
}

struct Arguments
{
    bool verbose = false;
    bool json = false;
    std::vector<std::string> words;
    std::string interfaceName;
    std::string address;
    std::string mask;
    unsigned int index = 0;
    velnetctl::Wait wait;
};

/// What each subcommand does once the arguments are known; false is a failure.
using Actions = std::map<const CLI::App*, std::function<bool()>>;

CLI::Validator managedInterface()
{
    return {checkInterfaceName, "", "interface"};
}

void addLooking(CLI::App& app, Arguments& arguments, Actions& actions)
{
    auto* status = app.add_subcommand("status", "Print the configured and the live state, once");
    status->add_flag("--json", arguments.json, "Print one JSON object");
    status->add_option("INTERFACE", arguments.words, "Only these interfaces")->check(managedInterface());
    actions[status] = [&arguments] {
        velnetctl::printStatus(std::cout, arguments.words, arguments.json);
        return true;
    };

    auto* monitor = app.add_subcommand("monitor", "Print every change as it is published, until Ctrl-C");
    monitor->add_flag("--json", arguments.json, "Print one JSON object a line");
    actions[monitor] = [&arguments]() -> bool { velnetctl::monitor(std::cout, arguments.json); };
}

void addSetting(CLI::App& app, Arguments& arguments, Actions& actions)
{
    const auto add = [&](const char* name, const char* description, std::function<bool()> action) {
        auto* verb = app.add_subcommand(name, description);
        const auto setWait = [&arguments](unsigned int seconds) { arguments.wait = std::chrono::seconds(seconds); };
        verb->add_option_function<unsigned int>("--wait", setWait,
                                                "Return when the live state shows the setting, fail after that time")
            ->type_name("SECONDS");
        actions[verb] = std::move(action);
        return verb;
    };
    const CLI::Validator isPrintable(checkPrintable, "", "text");

    auto* setIp = add("set-ip", "Switch an interface to DHCP or to a static address", [&arguments] {
        return velnetctl::setIp(arguments.interfaceName, arguments.address, arguments.mask, arguments.wait);
    });
    setIp->add_option("INTERFACE", arguments.interfaceName)->required()->check(managedInterface());
    setIp->add_option("ADDRESS", arguments.address, kAddressForms)->required();
    setIp->add_option("MASK", arguments.mask, "Dotted, for an ADDRESS without LENGTH");
    setIp->final_callback([&arguments] {
        const bool needsMask = arguments.address != "dhcp" && arguments.address.find('/') == std::string::npos;
        if (needsMask == arguments.mask.empty()) {
            throw CLI::ValidationError("ADDRESS", std::string("expected ") + kAddressForms);
        }
    });

    auto* setGateway = add("set-gateway", "Set or remove the default gateway",
                           [&arguments] { return velnetctl::setGateway(arguments.address, arguments.wait); });
    setGateway->add_option("ADDRESS", arguments.address, "The gateway, or none")->required();

    auto* setDns = add("set-dns", "Set or clear one of the DNS servers",
                       [&arguments] { return velnetctl::setDns(arguments.index, arguments.address, arguments.wait); });
    setDns->add_option("INDEX", arguments.index, "Which one: 0, 1, ...")
        ->required()
        ->check(CLI::Validator(checkDecimal, "", "index"));
    setDns->add_option("ADDRESS", arguments.address, "The server, or none")->required();

    auto* setDomain = add("set-domain", "Set the DNS search domain, or remove it without DOMAIN",
                          [&arguments] { return velnetctl::setDomain(arguments.address, arguments.wait); });
    setDomain->add_option("DOMAIN", arguments.address)->check(isPrintable);

    auto* setRoutes =
        add("set-routes", "Replace the static routes of an interface, or remove them without ROUTE", [&arguments] {
            return velnetctl::setRoutes(arguments.interfaceName, routesText(arguments.words), arguments.wait);
        });
    setRoutes->add_option("INTERFACE", arguments.interfaceName)->required()->check(managedInterface());
    setRoutes->add_option("ROUTE", arguments.words, kRouteForms)->check(isPrintable);
    setRoutes->final_callback([&arguments] { routesText(arguments.words); });
}

int run(int argc, char** argv)
{
    CLI::App app("Looks at and sets the network interfaces of this device, through libVelNetworkManager.", "velnetctl");
    app.footer(kExamples);
    app.set_version_flag("--version", "velnetctl " VELNETCTL_VERSION);
    app.require_subcommand(1);
    app.fallthrough();
    Arguments arguments;
    app.add_flag("-v,--verbose", arguments.verbose, "Show the library's log on standard error");
    Actions actions;
    addLooking(app, arguments, actions);
    addSetting(app, arguments, actions);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kGood : kWrongUsage; // 0: --help and --version
    }

    constexpr int kDetails = 1;
    constexpr int kNothing = 5; // velnetctl itself tells what failed
    velbase2::system::log::setMinimumLevel(arguments.verbose ? kDetails : kNothing);
    const bool isGood = actions.at(app.get_subcommands().front())();
    if (!std::cout.flush()) {
        std::cerr << "velnetctl: cannot write to standard output\n";
        return kFailed;
    }
    return isGood ? kGood : kFailed;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << "velnetctl: " << error.what() << '\n';
        return kFailed;
    }
}
