// SPDX-License-Identifier: MIT
#include "CommandLine.h"

#include "Change.h"
#include "Monitor.h"
#include "Status.h"
#include "Text.h"
#include "Trial.h"
#include "Watch.h"
#include "base/Log.h"
#include "networkhost/Checks.h"
#include "networkmanager/EthernetInterfaces.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <map>
#include <sstream>

#include <CLI/CLI.hpp>

namespace velnetctl {
namespace {

constexpr int kGood = 0;
constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;
constexpr int kNothingPending = 3;

constexpr const char* kAddressForms = "dhcp, ADDRESS/LENGTH, or ADDRESS and MASK";
constexpr const char* kRouteForms = R"(DESTINATION via GATEWAY ..., or dst=DESTINATION gw=GATEWAY ...)";

/// A subcommand, as --help shows it.
struct Verb
{
    const char* name;
    const char* description;
    const char* examples;
};

constexpr Verb kStatus = {"status", "Print the configured and the live state, once",
                          R"(  velnetctl status                 host, resolver and all interfaces
  velnetctl status remote --json   one interface, for programs)"};
constexpr Verb kMonitor = {"monitor", "Print every change as it is published, until Ctrl-C",
                           R"(  velnetctl monitor
  velnetctl monitor --json | jq -c 'select(.name == "link")')"};
#ifdef VELNETCTL_HAS_WATCH
constexpr Verb kWatch = {"watch", "Show the state and its changes on the whole terminal, until q or Ctrl-C",
                         R"(  velnetctl watch)"};
#endif
constexpr Verb kSetIp = {"set-ip", "Switch an interface to DHCP or to a static address",
                         R"(  velnetctl set-ip remote dhcp --wait 20   and return when the lease is there
  velnetctl set-ip local 192.168.10.1/24
  velnetctl set-ip local 192.168.10.1 255.255.255.0
  velnetctl set-ip remote 10.0.0.5/24 --gateway 10.0.0.1 --dry-run
  velnetctl set-ip remote 10.0.0.5/24 --gateway 10.0.0.1 --try 60   and then: velnetctl confirm)"};
constexpr Verb kSetGateway = {"set-gateway", "Set or remove the default gateway",
                              R"(  velnetctl set-gateway 192.168.50.1
  velnetctl set-gateway none)"};
constexpr Verb kSetDns = {"set-dns", "Set or clear one of the DNS servers",
                          R"(  velnetctl set-dns 0 192.168.50.1
  velnetctl set-dns 0 none)"};
constexpr Verb kSetDomain = {"set-domain", "Set the DNS search domain, or remove it without DOMAIN",
                             R"(  velnetctl set-domain example.org
  velnetctl set-domain)"};
constexpr Verb kSetRoutes = {"set-routes", "Replace the static routes of an interface, or remove them without ROUTE",
                             R"(  velnetctl set-routes remote 10.1.0.0/16 via 192.168.50.2 10.2.0.0/16 via 192.168.50.3
  velnetctl set-routes remote)"};

constexpr Verb kConfirm = {"confirm", "Keep the settings of the pending trial (see --try)", "  velnetctl confirm"};
constexpr Verb kRollBack = {"rollback", "End the pending trial at once with the previous settings",
                            "  velnetctl rollback"};
constexpr Verb kPending = {"pending", "Tell whether a trial is pending, or how the last one ended",
                           R"(  velnetctl pending          exit code 0 when one is pending, 3 when none is
  velnetctl pending --json)"};
constexpr Verb kGuard = {"guard", "Roll the pending trial back when its time is over (for velnet-guard.service)",
                         R"(  velnetctl guard
  velnetctl guard --boot    at boot, before systemd-networkd)"};
constexpr Verb kSave = {"save", "Write what is configured as one JSON document",
                        R"(  velnetctl save
  velnetctl save settings.json)"};
constexpr Verb kApply = {"apply", "Make the device as such a document says",
                         R"(  velnetctl apply settings.json --dry-run
  velnetctl apply settings.json --try 60
  velnetctl apply - <settings.json)"};

constexpr const char* kExitCodes = "Exit codes: 0 good, 1 failed, 2 wrong usage, 3 no trial is pending.";

/// An empty text for a managed interface, else why it is refused (CLI11's convention).
std::string checkInterfaceName(const std::string& name)
{
    const networkmanager::EthernetInterfaces registry;
    if (registry.interfaces.count(name) > 0) {
        return {};
    }
    std::vector<std::string> names;
    std::string known;
    for (const auto& entry : registry.interfaces) {
        names.push_back(entry.first);
        known += (known.empty() ? "" : ", ") + entry.first;
    }
    return "unknown interface '" + networkhost::printable(name) + "'; the managed interfaces are: " + known +
           suggestion(name, names);
}

/// The library writes some texts into files as they stand: nothing in them may end a line there.
std::string checkPrintable(const std::string& text)
{
    return networkhost::faultOfText(text);
}

/// CLI11 alone would read a leading zero as octal, an empty text as 0, and wrap what is out of range.
std::string checkNumber(const std::string& text)
{
    constexpr unsigned long long kMost = std::numeric_limits<unsigned int>::max();
    const bool isNumber = !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
    const bool hasLeadingZero = text.size() > 1 && text.front() == '0';
    if (!isNumber || hasLeadingZero || text.size() > 10 || std::stoull(text) > kMost) {
        return "'" + networkhost::printable(text) + "' is not a number from 0 to " + std::to_string(kMost);
    }
    return {};
}

std::string checkNotZero(const std::string& text)
{
    return text == "0" ? "there is no time to confirm in" : "";
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
    std::string gateway;
    std::string file = "-";
    unsigned int index = 0;
    ChangeOptions change;
    GuardKind guard = GuardKind::Foreground;
};

/// The command line, and what each verb does once the arguments are known; the exit code.
struct Commands
{
    CLI::App app{"Looks at and sets the network interfaces of this device, through libVelNetworkManager.", "velnetctl"};
    Arguments arguments;
    std::map<const CLI::App*, std::function<int()>> actions;
};

/// The action's result is the exit code, or whether it went well.
template <class Action>
CLI::App& add(Commands& commands, const Verb& verb, Action action)
{
    auto& app = *commands.app.add_subcommand(verb.name, verb.description);
    app.footer(std::string("Examples:\n") + verb.examples);
    commands.actions[&app] = [action]() -> int {
        if constexpr (std::is_same_v<decltype(action()), bool>) {
            return action() ? kGood : kFailed;
        } else {
            return action();
        }
    };
    return app;
}

/// An option that takes a number of seconds.
CLI::Option* addSeconds(CLI::App& app, const std::string& name, Seconds& seconds, const std::string& description)
{
    return app
        .add_option_function<unsigned int>(
            name, [&seconds](unsigned int number) { seconds = std::chrono::seconds(number); }, description)
        ->type_name("SECONDS")
        ->check(CLI::Validator(checkNumber, "", "seconds"));
}

CLI::App& addChange(Commands& commands, const Verb& verb, std::function<bool()> action)
{
    auto& app = add(commands, verb, std::move(action));
    auto& options = commands.arguments.change;
    addSeconds(app, "--wait", options.wait, "Return when the live state shows the setting, fail after that time");
    auto* trial = addSeconds(app, "--try", options.trial,
                             "Roll back unless it is confirmed within that time, which begins when it is live; also "
                             "when it is not live after --wait, by default 30")
                      ->check(CLI::Validator(checkNotZero, "", "not zero"));
    app.add_flag("--require-boot-guard", options.requiresBootGuard, "Refuse a trial that a reboot would keep")
        ->needs(trial);
    auto* dryRun = app.add_flag("--dry-run", options.dryRun, "Print what would be written and run; touch nothing")
                       ->excludes(trial);
    app.add_flag("--json", options.json, "Print the plan as one JSON object")->needs(dryRun);
    app.add_flag("--force", options.force, "Do what is refused as unsound");
    return app;
}

CLI::Validator managedInterface()
{
    return {checkInterfaceName, "", "interface"};
}

void addLooking(Commands& commands, Session& session)
{
    auto& arguments = commands.arguments;
    auto& status = add(commands, kStatus, [&] {
        printStatus(session, arguments.words, arguments.json);
        return true;
    });
    status.add_flag("--json", arguments.json, "Print one JSON object");
    status.add_option("INTERFACE", arguments.words, "Only these interfaces")->check(managedInterface());

    auto& monitoring = add(commands, kMonitor, [&] { return monitor(session, arguments.json); });
    monitoring.add_flag("--json", arguments.json, "Print one JSON object a line");
#ifdef VELNETCTL_HAS_WATCH
    add(commands, kWatch, [&] { return watch(session); });
#endif
}

void addSetting(Commands& commands, Session& session)
{
    auto& arguments = commands.arguments;
    auto& ip = addChange(commands, kSetIp, [&] {
        return setIp(session, arguments.interfaceName, arguments.address, arguments.mask, arguments.gateway,
                     arguments.change);
    });
    ip.add_option("INTERFACE", arguments.interfaceName)->required()->check(managedInterface());
    ip.add_option("ADDRESS", arguments.address, kAddressForms)->required();
    ip.add_option("MASK", arguments.mask, "Dotted, for an ADDRESS without LENGTH");
    ip.add_option("--gateway", arguments.gateway, "The default gateway, or none; otherwise the present one is kept")
        ->type_name("ADDRESS");
    ip.final_callback([&arguments] {
        const bool isDhcp = CLI::detail::to_lower(arguments.address) == "dhcp";
        const bool needsMask = !isDhcp && arguments.address.find('/') == std::string::npos;
        if (needsMask == arguments.mask.empty()) {
            throw CLI::ValidationError("ADDRESS", std::string("expected ") + kAddressForms);
        }
    });

    auto& gateway =
        addChange(commands, kSetGateway, [&] { return setGateway(session, arguments.address, arguments.change); });
    gateway.add_option("ADDRESS", arguments.address, "The gateway, or none")->required();

    auto& dns = addChange(commands, kSetDns,
                          [&] { return setDns(session, arguments.index, arguments.address, arguments.change); });
    dns.add_option("INDEX", arguments.index, "Which one: 0, 1, ...")
        ->required()
        ->check(CLI::Validator(checkNumber, "", "index"));
    dns.add_option("ADDRESS", arguments.address, "The server, or none")->required();

    const CLI::Validator isPrintable(checkPrintable, "", "text");
    auto& domain =
        addChange(commands, kSetDomain, [&] { return setDomain(session, arguments.address, arguments.change); });
    domain.add_option("DOMAIN", arguments.address)->check(isPrintable);

    auto& routes = addChange(commands, kSetRoutes, [&] {
        return setRoutes(session, arguments.interfaceName, routesText(arguments.words), arguments.change);
    });
    routes.add_option("INTERFACE", arguments.interfaceName)->required()->check(managedInterface());
    routes.add_option("ROUTE", arguments.words, kRouteForms)->check(isPrintable);
    routes.final_callback([&arguments] { routesText(arguments.words); });
}

void addTrial(Commands& commands, Session& session)
{
    auto& arguments = commands.arguments;
    add(commands, kConfirm, [&] { return confirm(session); });
    add(commands, kRollBack, [&] { return rollBack(session); });
    auto& pending =
        add(commands, kPending, [&] { return printPending(session, arguments.json) ? kGood : kNothingPending; });
    pending.add_flag("--json", arguments.json, "Print one JSON object");
    auto& guarding = add(commands, kGuard, [&] { return guard(session, arguments.guard); });
    auto* boot = guarding.add_flag_callback(
        "--boot", [&] { arguments.guard = GuardKind::Boot; },
        "Restore what was not confirmed before the device was started");
    guarding
        .add_flag_callback(
            "--detach", [&] { arguments.guard = GuardKind::Detached; }, "In a session of its own")
        ->excludes(boot);
}

void addSettings(Commands& commands, Session& session)
{
    auto& arguments = commands.arguments;
    auto& saving = add(commands, kSave, [&] { return saveSettings(session, arguments.file); });
    saving.add_option("FILE", arguments.file, "Otherwise, or as -, standard output");
    auto& applying =
        addChange(commands, kApply, [&] { return applySettings(session, arguments.file, arguments.change); });
    applying.add_option("FILE", arguments.file, "- is standard input")->required();
}

void addAll(Commands& commands, Session& session)
{
    auto& app = commands.app;
    app.footer(std::string("Examples:\n") + kStatus.examples + '\n' + kSetIp.examples + '\n' + kSetGateway.examples +
               "\n\n" + kExitCodes);
    app.set_version_flag("--version", "velnetctl " VELNETCTL_VERSION);
    app.require_subcommand(1);
    app.fallthrough();
    app.add_flag("-v,--verbose", commands.arguments.verbose, "Show the library's log on standard error");
    addLooking(commands, session);
    addSetting(commands, session);
    addSettings(commands, session);
    addTrial(commands, session);
}

/// CLI11 only says that a mistyped verb was not expected. Empty when the first word is a verb, or an option.
std::string faultOfVerb(const CLI::App& app, const std::vector<std::string>& arguments)
{
    const auto word = std::find_if(arguments.begin(), arguments.end(),
                                   [](const std::string& text) { return text.empty() || text.front() != '-'; });
    std::vector<std::string> names;
    for (const auto* verb : app.get_subcommands({})) {
        names.push_back(verb->get_name());
    }
    if (word == arguments.end() || std::find(names.begin(), names.end(), *word) != names.end()) {
        return {};
    }
    return "unknown command '" + *word + "'" + suggestion(*word, names) + " (see velnetctl --help)";
}

} // namespace

int run(const std::vector<std::string>& arguments, Session& session)
{
    Commands commands;
    addAll(commands, session);
    auto& app = commands.app;
    if (const auto fault = faultOfVerb(app, arguments); !fault.empty()) {
        fail(session, fault);
        return kWrongUsage;
    }
    try {
        app.parse(
            std::vector<std::string>(arguments.rbegin(), arguments.rend())); // CLI11 takes the last argument first
    } catch (const CLI::ParseError& error) {
        std::ostringstream errors;
        const bool isGood = app.exit(error, session.output, errors) == 0; // --help and --version
        std::istringstream lines(errors.str());
        std::string line;
        while (std::getline(lines, line)) {
            session.errors << networkhost::printable(line) << '\n'; // they repeat what was typed
        }
        return isGood ? kGood : kWrongUsage;
    }

    constexpr int kNothing = velbase2::system::log::kFileProblem + 1; // velnetctl itself tells what failed
    velbase2::system::log::setMinimumLevel(commands.arguments.verbose ? velbase2::system::log::kDetail : kNothing);
    return commands.actions.at(app.get_subcommands().front())();
}

void describe(Session& session, const std::function<void(const CLI::App&)>& description)
{
    Commands commands;
    addAll(commands, session);
    description(commands.app);
}

} // namespace velnetctl
