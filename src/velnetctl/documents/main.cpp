// SPDX-License-Identifier: MIT
#include "networkhost/device/RealDevice.h"
#include "networkmanager/BuiltInInterfaces.h"
#include "velnetctl/CommandLine.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <regex>
#include <sstream>

#include <CLI/CLI.hpp>
#include <boost/algorithm/string/join.hpp>

/// Makes the manual page and the completion of velnetctl from templates and the command line.
namespace {

using boost::algorithm::join;
using Options = std::vector<const CLI::Option*>;

std::vector<const CLI::App*> verbsOf(const CLI::App& app)
{
    return app.get_subcommands([](const CLI::App*) { return true; });
}

Options placesOf(const CLI::App& app)
{
    return app.get_options([](const CLI::Option* option) { return option->get_positional(); });
}

Options optionsOf(const CLI::App& app)
{
    return app.get_options([](const CLI::Option* option) { return option->nonpositional(); });
}

bool isRepeated(const CLI::Option& place)
{
    return place.get_items_expected_max() > 1;
}

std::string longName(const CLI::Option& option)
{
    return "--" + option.get_lnames().at(0);
}

/// The options of a command without its --help, which is the same for all.
Options ownOptionsOf(const CLI::App& verb)
{
    auto options = optionsOf(verb);
    options.erase(std::remove(options.begin(), options.end(), verb.get_help_ptr()), options.end());
    return options;
}

// --- The manual page: roff with the macros of man(7) ---

std::string escaped(const std::string& text)
{
    std::string roff;
    for (const char letter : text) {
        roff += letter == '\\' ? "\\e" : letter == '-' ? "\\-" : letter == '\'' ? "\\(aq" : std::string(1, letter);
    }
    return (roff.rfind('.', 0) == 0 ? "\\&" : "") + roff;
}

std::string bold(const std::string& text)
{
    return "\\fB" + escaped(text) + "\\fR";
}

std::string italic(const std::string& text)
{
    return "\\fI" + escaped(text) + "\\fR";
}

/// A description as a sentence. Words to type are bold, placeholders are italic.
std::string prose(const std::string& text)
{
    static const std::regex special(
        R"((--[a-z-]+|\b(?:dhcp|none|via)\b|\b(?:dst|gw)=)|\b(?!DHCP|DNS|JSON)([A-Z]{2,})\b)");
    std::string roff;
    auto rest = text;
    for (std::smatch match; std::regex_search(rest, match, special); rest = match.suffix()) {
        roff += escaped(match.prefix());
        roff += match[1].matched ? bold(match[1]) : italic(match[2]);
    }
    roff += escaped(rest);
    return roff.empty() || roff.back() == '.' ? roff : roff + '.';
}

std::string usage(const CLI::Option& place)
{
    const auto name = italic(place.get_name(true)) + (isRepeated(place) ? " ..." : "");
    return place.get_required() ? name : '[' + name + ']';
}

std::string heading(const CLI::Option& option)
{
    std::string names;
    for (const auto& name : option.get_snames()) {
        names += bold('-' + name) + ", ";
    }
    const auto value = italic(option.get_type_name());
    return names + bold(longName(option)) +
           (option.get_items_expected_max() == 0   ? ""
            : option.get_items_expected_min() == 0 ? " [" + value + ']'
                                                   : ' ' + value);
}

std::string manualOfVerbs(const CLI::App& app)
{
    std::string page;
    for (const auto* verb : verbsOf(app)) {
        page += ".SS " + bold(verb->get_name());
        for (const auto* place : placesOf(*verb)) {
            page += ' ' + usage(*place);
        }
        page += '\n' + prose(verb->get_description()) + '\n';
        std::vector<std::string> names;
        for (const auto* option : ownOptionsOf(*verb)) {
            names.push_back(bold(longName(*option)));
        }
        page += names.empty() ? "" : ".br\nOptions: " + join(names, ", ") + ".\n";
        for (const auto* place : placesOf(*verb)) {
            if (place->has_description()) {
                page += ".TP\n" + italic(place->get_name(true)) + '\n' + prose(place->get_description()) + '\n';
            }
        }
    }
    return page;
}

std::string manualOf(const CLI::Option& option)
{
    return ".TP\n" + heading(option) + '\n' + prose(option.get_description()) + '\n';
}

/// An option of several commands is described once.
std::string manualOfOptions(const CLI::App& app)
{
    std::vector<std::pair<const CLI::Option*, std::string>> verbsOfOptions;
    for (const auto* verb : verbsOf(app)) {
        for (const auto* option : ownOptionsOf(*verb)) {
            const auto known = std::find_if(verbsOfOptions.begin(), verbsOfOptions.end(), [&](const auto& entry) {
                return longName(*entry.first) == longName(*option) &&
                       entry.first->get_description() == option->get_description();
            });
            if (known == verbsOfOptions.end()) {
                verbsOfOptions.emplace_back(option, verb->get_name());
            } else {
                known->second += ", " + verb->get_name();
            }
        }
    }
    std::string page;
    for (const auto* option : optionsOf(app)) {
        page += manualOf(*option);
    }
    std::string before;
    for (const auto& [option, verbs] : verbsOfOptions) {
        page += (verbs == before ? "" : ".SS " + escaped("For " + verbs) + '\n') + manualOf(*option);
        before = verbs;
    }
    return page;
}

/// Each line is "  COMMAND   what it does".
std::string manualOfExamples(const CLI::App& app)
{
    static const std::regex example("  (.*?)(?: {3,}(.*))?");
    std::string page;
    for (const auto* verb : verbsOf(app)) {
        page += (page.empty() ? "" : ".PP\n") + prose(verb->get_description()) + "\n.PP\n.EX\n";
        std::istringstream lines(verb->get_footer());
        std::string line;
        std::getline(lines, line); // the heading
        while (std::getline(lines, line)) {
            std::smatch match;
            std::regex_match(line, match, example);
            page += "    " + bold(match[1]) + '\n' + (match[2].matched ? "        " + escaped(match[2]) + '\n' : "");
        }
        page += ".EE\n";
    }
    return page;
}

// --- The completion ---

std::string interfaceNames()
{
    std::string names;
    for (const auto& entry : networkmanager::kBuiltInInterfaces) {
        names += (names.empty() ? "" : " ") + std::string(entry.name);
    }
    return names;
}

/// The words that completion offers for an argument, or for the value of an option.
std::string offeredFor(const std::string& name, const std::string& description)
{
    if (name == "INTERFACE") {
        return interfaceNames();
    }
    if (name == "FILE") {
        return name;
    }
    static const std::regex literal(R"(\b(dhcp|none)\b)");
    std::smatch match;
    return std::regex_search(description, match, literal) ? match.str() : "";
}

std::string entryOfTable(const std::string& verb, const Options& options, const std::vector<std::string>& places,
                         bool repeats)
{
    std::vector<std::string> names;
    std::vector<std::string> values;
    for (const auto* option : options) {
        names.push_back(longName(*option));
        if (option->get_items_expected_max() > 0) {
            values.push_back(names.back() + '=' + offeredFor(option->get_type_name(), option->get_description()));
        }
    }
    return "    '" + verb + "')\n        options='" + join(names, " ") + "'\n        values='" + join(values, " ") +
           "' repeats=" + (repeats ? "yes" : "''") + "\n        places=(" + join(places, " ") + ")\n        ;;\n";
}

std::string completionTable(const CLI::App& app)
{
    std::vector<std::string> verbs;
    for (const auto* verb : verbsOf(app)) {
        verbs.push_back(verb->get_name());
    }
    auto table = entryOfTable("", optionsOf(app), {'\'' + join(verbs, " ") + '\''}, false);
    for (const auto* verb : verbsOf(app)) {
        auto options = optionsOf(*verb);
        for (const auto* option : optionsOf(app)) {
            if (option != app.get_help_ptr() && longName(*option) != "--version") {
                options.push_back(option); // the options of velnetctl are valid behind a command, too
            }
        }
        std::vector<std::string> places;
        bool repeats = false;
        for (const auto* place : placesOf(*verb)) {
            places.push_back('\'' + offeredFor(place->get_name(true), place->get_description()) + '\'');
            repeats = repeats || isRepeated(*place);
        }
        table += entryOfTable(verb->get_name(), options, places, repeats);
    }
    return table;
}

/// The text that replaces a line of the template: a generated part, or the line itself.
std::string expanded(const std::string& line, const CLI::App& app)
{
    return line == "@COMMANDS@"   ? manualOfVerbs(app)
           : line == "@OPTIONS@"  ? manualOfOptions(app)
           : line == "@EXAMPLES@" ? manualOfExamples(app)
           : line == "@TABLE@"    ? completionTable(app)
                                  : line + '\n';
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::cerr << "Usage: make_velnetctl_documents TEMPLATE FILE\n";
        return 2;
    }
    networkhost::RealDevice device;
    velnetctl::Session session{device, std::cout, std::cerr};
    std::ifstream input(argv[1]);
    std::ofstream output(argv[2]);
    velnetctl::describe(session, [&](const CLI::App& app) {
        for (std::string line; std::getline(input, line);) {
            output << expanded(line, app);
        }
    });
    if (!input.eof() || !output.flush()) {
        std::cerr << "make_velnetctl_documents: cannot make " << argv[2] << " of " << argv[1] << '\n';
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
