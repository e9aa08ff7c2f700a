// SPDX-License-Identifier: MIT
#include "Monitor.h"
#include "Status.h"
#include "base/Log.h"
#include "networkmanager/EthernetInterfaces.h"

#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace {

constexpr int kGood = 0;
constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

constexpr const char* kExamples = R"(Examples:
  velnetctl status                 the host and all interfaces
  velnetctl status remote --json   one interface, for programs
  velnetctl monitor                every change as it comes, until Ctrl-C

Exit codes: 0 good, 1 failed, 2 wrong usage.)";

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

int run(int argc, char** argv)
{
    CLI::App app("Looks at the network interfaces of this device through libVelNetworkManager.", "velnetctl");
    app.footer(kExamples);
    app.set_version_flag("--version", "velnetctl " VELNETCTL_VERSION);
    app.require_subcommand(1);
    app.fallthrough();
    bool json = false;
    app.add_flag("--json", json, "Print JSON: one object, or one object a line when monitoring");
    bool verbose = false;
    app.add_flag("-v,--verbose", verbose, "Show the library's log on standard error");

    auto* status = app.add_subcommand("status", "Print the configured and the live state, once");
    std::vector<std::string> interfaceNames;
    status->add_option("INTERFACE", interfaceNames, "Only these interfaces")
        ->check(CLI::Validator(checkInterfaceName, "", "interface"));
    const auto* monitor = app.add_subcommand("monitor", "Print every change as it is published, until Ctrl-C");

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kGood : kWrongUsage; // 0: --help and --version
    }

    constexpr int kDetails = 1;
    constexpr int kErrors = 3;
    velbase2::system::log::setMinimumLevel(verbose ? kDetails : kErrors);
    if (monitor->parsed()) {
        velnetctl::monitor(std::cout, json);
    }
    velnetctl::printStatus(std::cout, interfaceNames, json);
    if (!std::cout.flush()) {
        std::cerr << "velnetctl: cannot write to standard output\n";
        return kFailed;
    }
    return kGood;
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
