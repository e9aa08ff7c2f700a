// SPDX-License-Identifier: MIT
#include "CommandLine.h"

#include "Change.h"
#include "Monitor.h"
#include "Status.h"
#include "Text.h"
#include "Trial.h"
#include "Watch.h"
#include "base/Log.h"
#include "networkhost/text/Checks.h"
#include "networkmanager/EthernetInterfaces.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <limits>
#include <map>

#include <CLI/CLI.hpp>
#include <boost/algorithm/string/join.hpp>

namespace velnetctl {
namespace {

constexpr int kGood = 0;
constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;
constexpr int kNothingPending = 3;

constexpr const char* kAddressForms = "dhcp, ADDRESS/LENGTH, or ADDRESS and MASK";
constexpr const char* kRouteForms = R"(DESTINATION via GATEWAY ..., or dst=DESTINATION gw=GATEWAY ...)";

/// A command of velnetctl, as --help shows it.
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
  velnetctl monitor --json | jq -c 'select(.name == "link")'
  velnetctl monitor --json | jq -c 'select(.name == "carrier")'   links that went down, even for a moment)"};
#ifdef VELNETCTL_HAS_WATCH
constexpr Verb kWatch = {"watch", "Show the state and its changes on the whole terminal, until q or Ctrl-C",
                         R"(  velnetctl watch   during a trial, the key c confirms it, and r rolls it back)"};
#endif
constexpr Verb kSetIp = {"set-ip", "Switch an interface to DHCP or to a static address",
                         R"(  velnetctl set-ip remote dhcp --wait 20   returns when the lease is there
  velnetctl set-ip local 192.168.10.1/24
  velnetctl set-ip local 192.168.10.1 255.255.255.0
  velnetctl set-ip remote 10.0.0.5/24 --gateway 10.0.0.1 --dns 10.0.0.1 10.0.0.2 --dry-run
  velnetctl set-ip remote 10.0.0.5/24 --gateway 10.0.0.1 --try 2m   then: velnetctl confirm)"};
constexpr Verb kSetGateway = {"set-gateway", "Set or remove the default gateway",
                              R"(  velnetctl set-gateway 192.168.50.1
  velnetctl set-gateway none)"};
constexpr Verb kSetDns = {"set-dns", "Set or clear one of the DNS servers",
                          R"(  velnetctl set-dns 0 192.168.50.1
  velnetctl set-dns 0 none)"};
constexpr Verb kSetDomain = {"set-domain", "Set the DNS search domains, or remove them without DOMAIN",
                             R"(  velnetctl set-domain example.org
  velnetctl set-domain example.org example.net
  velnetctl set-domain)"};
constexpr Verb kSetRoutes = {"set-routes", "Replace the static routes of an interface, or remove them without ROUTE",
                             R"(  velnetctl set-routes remote 10.1.0.0/16 via 192.168.50.2 10.2.0.0/16 via 192.168.50.3
  velnetctl set-routes remote)"};

constexpr Verb kConfirm = {"confirm", "Keep the settings of the pending trial (see --try)", "  velnetctl confirm"};
constexpr Verb kRollBack = {"rollback", "Undo the pending trial at once", "  velnetctl rollback"};
constexpr Verb kPending = {"pending", "Tell whether a trial is pending, or how the last one ended",
                           R"(  velnetctl pending          exit code 0 when one is pending, 3 when none is
  velnetctl pending --json)"};
constexpr Verb kGuard = {"guard", "Undo the pending trial when its time is over (for velnet-guard.service)",
                         R"(  velnetctl guard
  velnetctl guard --boot    at boot, before systemd-networkd)"};
constexpr Verb kSave = {"save", "Write all settings as one JSON document",
                        R"(  velnetctl save
  velnetctl save settings.json)"};
constexpr Verb kApply = {"apply", "Change all settings to those of a JSON document (see save)",
                         R"(  velnetctl apply settings.json --dry-run
  velnetctl apply settings.json --try 60
  velnetctl apply - <settings.json)"};

constexpr const char* kExitCodes =
    "Exit codes: 0 success, 1 failed or refused, 2 wrong usage, 3 no trial is pending (from pending).";

std::vector<std::string> namesOfInterfaces()
{
    std::vector<std::string> names;
    for (const auto& entry : networkmanager::EthernetInterfaces().interfaces) {
        names.push_back(entry.first);
    }
    return names;
}

/// Returns the fault of the name; empty for a managed interface, as CLI11 expects it.
std::string checkInterfaceName(const std::string& name)
{
    const auto names = namesOfInterfaces();
    if (std::find(names.begin(), names.end(), name) != names.end()) {
        return {};
    }
    return "unknown interface '" + networkhost::printable(name) +
           "'; the managed interfaces are: " + boost::algorithm::join(names, ", ") + suggestion(name, names);
}

/// Refuses control characters. The library writes some texts into files unchanged, and a line end would begin another
/// setting there.
std::string checkPrintable(const std::string& text)
{
    return networkhost::faultOfText(text);
}

/// Checked before CLI11 converts the number: CLI11 reads a leading zero as octal and an empty text as 0, and wraps
/// numbers that are out of range.
std::string checkIndex(const std::string& text)
{
    constexpr unsigned long long kMost = std::numeric_limits<unsigned int>::max();
    const bool isNumber = !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
    const bool hasLeadingZero = text.size() > 1 && text.front() == '0';
    if (!isNumber || hasLeadingZero || text.size() > 10 || std::stoull(text) > kMost) {
        return "'" + networkhost::printable(text) + "' is not an index: an index is a number: 0, 1, ..., up to " +
               std::to_string(kMost);
    }
    return {};
}

/// Takes "90", "90s", "2m" or "1h"; nothing for another text.
Seconds parseTime(const std::string& text)
{
    constexpr std::size_t kMostDigits = 9; // more would be out of range, and would overflow as hours
    const auto unit = text.find_first_not_of("0123456789");
    const auto digits = text.substr(0, unit);
    if (digits.empty() || (digits.size() > 1 && digits.front() == '0')) {
        return {};
    }
    const auto number = std::stoll(digits.substr(0, kMostDigits));
    const auto name = unit == std::string::npos ? "s" : text.substr(unit);
    return name == "s"   ? std::chrono::seconds(number)
           : name == "m" ? std::chrono::minutes(number)
           : name == "h" ? Seconds(std::chrono::hours(number))
                         : std::nullopt;
}

std::string checkTime(const std::string& text)
{
    constexpr std::chrono::seconds kLeast(1);
    constexpr std::chrono::hours kMost(24);
    const auto time = parseTime(text);
    if (!time) {
        return "'" + networkhost::printable(text) + "' is not a time such as 60, 90s, 2m or 1h";
    }
    if (*time < kLeast || *time > kMost) {
        return "'" + text + "' is out of range: a time is 1s to 24h";
    }
    return {};
}

/// Makes "dst=D gw=G ..." of the words "D via G ...". Words in the library's own form stay as they are.
std::string routesText(const std::vector<std::string>& words)
{
    if (words.size() == 1 || (!words.empty() && words.front().rfind("dst=", 0) == 0)) {
        return boost::algorithm::join(words, " ");
    }
    std::string text;
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

/// The command line, and the action of each command, which returns the exit code.
struct Commands
{
    CLI::App app{"Shows and changes the network settings of this device, through libVelNetworkManager.", "velnetctl"};
    Arguments arguments;
    std::map<const CLI::App*, std::function<int()>> actions;
};

/// The action returns the exit code, or true for success.
template <class Action>
CLI::App& add(Commands& commands, const Verb& verb, Action action)
{
    auto& app = *commands.app.add_subcommand(verb.name, verb.description)->group("Commands");
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

CLI::Option* addTime(CLI::App& app, const std::string& name, Seconds& time, const std::string& description)
{
    return app
        .add_option_function<std::string>(
            name, [&time](const std::string& text) { time = parseTime(text); }, description)
        ->type_name("TIME")
        ->check(CLI::Validator(checkTime, "", "time"));
}

CLI::App& addChange(Commands& commands, const Verb& verb, std::function<bool()> action)
{
    auto& app = add(commands, verb, std::move(action));
    auto& options = commands.arguments.change;
    addTime(app, "--wait", options.wait, "Return when the setting is live; fail after TIME (60, 90s, 2m, 1h)");
    auto* trial = addTime(app, "--try", options.trial,
                          "Undo the change unless it is confirmed within TIME (1s to 24h, default 60s) after it is "
                          "live. If it is not live within --wait (default 30s), it is undone at once.")
                      ->option_text("[TIME]")
                      ->expected(0, 1)
                      ->default_str("60");
    app.add_flag("--require-boot-guard", options.requiresBootGuard, "Refuse the trial unless a reboot undoes it")
        ->needs(trial);
    auto* dryRun = app.add_flag("--dry-run", options.dryRun, "Print what would be written and run; change nothing")
                       ->excludes(trial);
    app.add_flag("--json", options.json, "Print the plan as one JSON object")->needs(dryRun);
    app.add_flag("--force", options.force, "Carry it out in spite of objections");
    return app;
}

CLI::Validator managedInterface()
{
    return {checkInterfaceName, "", "interface"};
}

void addInterface(CLI::App& app, Arguments& arguments)
{
    app.add_option("INTERFACE", arguments.interfaceName, boost::algorithm::join(namesOfInterfaces(), " or "))
        ->required()
        ->check(managedInterface());
}

/// Returns why ADDRESS and MASK cannot be combined; empty when they can. The library checks the values.
std::string faultOfForm(const std::string& address, const std::string& mask)
{
    if (lowerCase(address) == "dhcp") {
        return mask.empty() ? "" : "dhcp takes no mask";
    }
    const bool hasLength = address.find('/') != std::string::npos;
    if (hasLength == mask.empty()) {
        return {};
    }
    if (hasLength) {
        return "give the length or the mask, not both";
    }
    return networkhost::faultOfAddress(address).empty()
               ? address + " has no prefix length: use a form such as " + address + "/24, or add the mask"
               : std::string("expected ") + kAddressForms;
}

bool isNone(const std::string& word)
{
    return lowerCase(word) == "none";
}

void addLooking(Commands& commands, Session& session)
{
    auto& arguments = commands.arguments;
    auto& status = add(commands, kStatus, [&] {
        printStatus(session, arguments.words, arguments.json);
        return true;
    });
    status.add_flag("--json", arguments.json, "Print one JSON object");
    status
        .add_option("INTERFACE", arguments.words,
                    boost::algorithm::join(namesOfInterfaces(), " or ") + "; all interfaces by default")
        ->check(managedInterface());

    auto& monitoring = add(commands, kMonitor, [&] { return monitor(session, arguments.json); });
    monitoring.add_flag("--json", arguments.json, "Print one JSON object per line");
#ifdef VELNETCTL_HAS_WATCH
    add(commands, kWatch, [&] { return watch(session); });
#endif
}

void addSetting(Commands& commands, Session& session)
{
    auto& arguments = commands.arguments;
    auto& ip = addChange(commands, kSetIp, [&] {
        return setIp(session, arguments.interfaceName, arguments.address, arguments.mask, arguments.gateway,
                     arguments.words, arguments.change);
    });
    addInterface(ip, arguments);
    ip.add_option("ADDRESS", arguments.address, kAddressForms)->required();
    ip.add_option("MASK", arguments.mask, "Such as 255.255.255.0, for an ADDRESS without LENGTH");
    ip.add_option("--gateway", arguments.gateway, "The default gateway, or none; by default, the present one is kept")
        ->type_name("ADDRESS");
    ip.add_option("--dns", arguments.words, "All DNS servers, or none; by default, the present ones are kept")
        ->type_name("ADDRESS");
    ip.final_callback([&arguments] {
        if (const auto fault = faultOfForm(arguments.address, arguments.mask); !fault.empty()) {
            throw CLI::ValidationError("ADDRESS", fault);
        }
        const auto& servers = arguments.words;
        const bool hasNone = std::any_of(servers.begin(), servers.end(), isNone);
        if (hasNone && servers.size() > 1) {
            throw CLI::ValidationError("--dns", "none must stand alone");
        }
    });

    auto& gateway =
        addChange(commands, kSetGateway, [&] { return setGateway(session, arguments.address, arguments.change); });
    gateway.add_option("ADDRESS", arguments.address, "The gateway, or none")->required();

    auto& dns = addChange(commands, kSetDns,
                          [&] { return setDns(session, arguments.index, arguments.address, arguments.change); });
    dns.add_option("INDEX", arguments.index, "The number of the server: 0, 1, ...")
        ->required()
        ->check(CLI::Validator(checkIndex, "", "index"));
    dns.add_option("ADDRESS", arguments.address, "The server, or none")->required();

    const CLI::Validator isPrintable(checkPrintable, "", "text");
    auto& domain =
        addChange(commands, kSetDomain, [&] { return setDomain(session, arguments.words, arguments.change); });
    domain.add_option("DOMAIN", arguments.words, "A search domain, such as example.org")->check(isPrintable);

    auto& routes = addChange(commands, kSetRoutes, [&] {
        return setRoutes(session, arguments.interfaceName, routesText(arguments.words), arguments.change);
    });
    addInterface(routes, arguments);
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
        "Undo a trial that was pending when the device went down");
    guarding
        .add_flag_callback(
            "--detach", [&] { arguments.guard = GuardKind::Detached; },
            "Run in the background, in a session of its own")
        ->excludes(boot);
}

void addSettings(Commands& commands, Session& session)
{
    auto& arguments = commands.arguments;
    auto& saving = add(commands, kSave, [&] { return saveSettings(session, arguments.file); });
    saving.add_option("FILE", arguments.file, "The file; standard output by default, or for -");
    auto& applying =
        addChange(commands, kApply, [&] { return applySettings(session, arguments.file, arguments.change); });
    applying.add_option("FILE", arguments.file, "The file; - is standard input")->required();
}

void addAll(Commands& commands, Session& session)
{
    auto& app = commands.app;
    app.footer(std::string("Examples:\n") + kStatus.examples + '\n' + kSetIp.examples + '\n' + kSetGateway.examples +
               "\n\n" + kExitCodes);
    app.set_version_flag("--version", "velnetctl " VELNETCTL_VERSION);
    app.require_subcommand(1);
    app.get_formatter()->label("SUBCOMMAND", "COMMAND");
    app.fallthrough();
    app.add_flag("-v,--verbose", commands.arguments.verbose, "Show the library's log on standard error");
    addLooking(commands, session);
    addSetting(commands, session);
    addSettings(commands, session);
    addTrial(commands, session);
}

/// The first word that is no option.
std::string verbOf(const std::vector<std::string>& arguments)
{
    const auto word = std::find_if(arguments.begin(), arguments.end(),
                                   [](const std::string& text) { return text.empty() || text.front() != '-'; });
    return word == arguments.end() ? std::string() : *word;
}

std::vector<std::string> namesOfVerbs(const CLI::App& app)
{
    std::vector<std::string> names;
    for (const auto* verb : app.get_subcommands({})) {
        names.push_back(verb->get_name());
    }
    return names;
}

/// The options of the command and of velnetctl.
std::vector<const CLI::Option*> optionsOf(const CLI::App& app, const std::string& verb)
{
    const auto isOption = [](const CLI::Option* option) { return option->nonpositional(); };
    auto options = app.get_options(isOption);
    if (!verb.empty()) {
        const auto own = app.get_subcommand(verb)->get_options(isOption);
        options.insert(options.end(), own.begin(), own.end());
    }
    return options;
}

/// Finds unknown options before CLI11 does: it would take the words after one for other arguments, and report these.
std::string faultOfOptions(const std::vector<const CLI::Option*>& options, const std::vector<std::string>& arguments)
{
    std::vector<std::string> names(options.size());
    std::transform(options.begin(), options.end(), names.begin(),
                   [](const CLI::Option* option) { return "--" + option->get_lnames().at(0); });
    for (auto word = arguments.begin(); word != arguments.end() && *word != "--"; ++word) {
        constexpr const char* kNumber = "0123456789";
        if (word->size() < 2 || word->front() != '-' || word->find_first_of(kNumber, 1) == 1) {
            continue;
        }
        const bool isLong = (*word)[1] == '-';
        const auto name = isLong ? word->substr(0, word->find('=')) : word->substr(0, 2);
        const auto option = std::find_if(options.begin(), options.end(),
                                         [&](const CLI::Option* candidate) { return candidate->check_name(name); });
        if (option == options.end()) {
            const auto shown = isLong ? name : *word;
            return "unknown option '" + networkhost::printable(shown) + "'" + suggestion(shown, names);
        }
        const bool takesNext = (*option)->get_items_expected_min() > 0 && *word == name;
        word += takesNext && std::next(word) != arguments.end() ? 1 : 0;
    }
    return {};
}

/// The error that CLI11 found, in one line.
std::string textOf(const CLI::ParseError& error, const CLI::App& app)
{
    if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr) {
        const auto words = app.remaining(true);
        const auto word = words.empty() ? std::string() : words.front();
        return std::string("unexpected ") + (word.rfind('-', 0) == 0 ? "option" : "word") + " '" + word + "'";
    }
    const std::string text = error.what();
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr) {
        return text.substr(0, text.find(':')) + " needs a value";
    }
    const std::string place = "INTERFACE: ";
    return text.rfind(place + "unknown", 0) == 0 ? text.substr(place.size()) : text;
}

int failForUsage(Session& session, const std::string& fault, const std::string& verb)
{
    const auto help = "velnetctl " + verb + (verb.empty() ? "" : " ") + "--help";
    fail(session, networkhost::printable(fault) + " (see " + help + ')'); // the fault quotes typed words
    return kWrongUsage;
}

} // namespace

int run(const std::vector<std::string>& arguments, Session& session)
{
    Commands commands;
    addAll(commands, session);
    auto& app = commands.app;
    const auto verb = verbOf(arguments);
    const auto verbs = namesOfVerbs(app);
    const bool isVerb = std::find(verbs.begin(), verbs.end(), verb) != verbs.end();
    if (!verb.empty() && !isVerb) {
        return failForUsage(session, "unknown command '" + verb + "'" + suggestion(verb, verbs), {});
    }
    try {
        if (const auto fault = faultOfOptions(optionsOf(app, verb), arguments); !fault.empty()) {
            return failForUsage(session, fault, verb);
        }
        app.parse(
            std::vector<std::string>(arguments.rbegin(), arguments.rend())); // CLI11 takes the last argument first
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() != 0) {
            return failForUsage(session, verb.empty() ? "a command is required" : textOf(error, app), verb);
        }
        return app.exit(error, session.output, session.errors); // --help and --version
    }

    constexpr int kNothing = velbase2::system::log::kFileProblem + 1; // velnetctl reports failures itself
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
