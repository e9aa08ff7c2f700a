// SPDX-License-Identifier: MIT
// Parses a unit file from text in memory, with the library and with other parsers. They do not check the same things.
#include "Turns.h"
#include "systemd/configuration/UnitFile.h"

#include <sstream>

#include <boost/property_tree/ini_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <glib.h>

namespace benchmarks {
namespace {

using Parser = void (*)(const std::string&);

void parseByLibrary(const std::string& text)
{
    vel_systemd::configuration::file::Content content;
    std::istringstream(text) >> vel_systemd::configuration::file::FileConverter(content);
    keep(content);
}

void parseByGKeyFile(const std::string& text)
{
    GKeyFile* const file = g_key_file_new();
    keep(g_key_file_load_from_data(file, text.data(), text.size(), G_KEY_FILE_NONE, nullptr));
    g_key_file_free(file);
}

void parseByPropertyTree(const std::string& text)
{
    std::istringstream input(text);
    boost::property_tree::ptree tree;
    boost::property_tree::read_ini(input, tree);
    keep(tree);
}

/// Makes sections with different names, because the three parsers treat sections of the same name differently. All
/// sections have the same length, also at the end of a long text.
std::string textOf(std::size_t bytes)
{
    std::string text;
    for (std::size_t number = 1000000; text.size() < bytes; ++number) {
        const auto name = std::to_string(number);
        text += "[Route" + name +
                "]\n# to the plant\nDestination=10.128.50.0/24\nGateway=192.168.50.1\nMetric=" + name +
                "\nGatewayOnLink=yes\nScope=global\n\n";
    }
    text.resize(text.rfind('\n', bytes) + 1);
    return text;
}

std::function<Run()> parsing(Parser parser, std::size_t mebibytes)
{
    return [parser, mebibytes] { return [parser, text = textOf(mebibytes << 20U)] { parser(text); }; };
}

} // namespace
} // namespace benchmarks

int main(int argc, char** argv)
{
    using namespace benchmarks;
    Candidates candidates;
    for (const std::size_t mebibytes : {1, 64}) {
        const auto size = std::to_string(mebibytes);
        candidates["library-" + size] = parsing(parseByLibrary, mebibytes);
        candidates["gkeyfile-" + size] = parsing(parseByGKeyFile, mebibytes);
        candidates["ptree-" + size] = parsing(parseByPropertyTree, mebibytes);
    }
    return takeTurns(candidates, argc, argv);
}
