// SPDX-License-Identifier: MIT
#include "networkhost/state/DropIns.h"

#include "base/Paths.h"
#include "networkhost/text/Words.h"

#include <algorithm>
#include <map>

namespace networkhost {

namespace paths = velbase2::system::paths;

namespace {

bool isMissing(const std::error_code& error)
{
    return error == std::errc::no_such_file_or_directory;
}

bool isListed(const IReadableFiles& files, const std::string& path)
{
    const auto slash = path.rfind('/');
    std::vector<std::string> names;
    files.list(path.substr(0, slash), names);
    return std::find(names.begin(), names.end(), path.substr(slash + 1)) != names.end();
}

bool isDropInName(const std::string& name)
{
    return endsWith(name, ".conf") && name.front() != '.';
}

} // namespace

std::vector<SettingsFile> readWithDropIns(const IReadableFiles& files, const std::string& name)
{
    std::vector<SettingsFile> found;
    const auto read = [&](const std::string& path, bool isDropIn) {
        SettingsFile file{path, {}, {}, isDropIn};
        file.error = files.read(path, file.text);
        // A link that leads nowhere hides files of other directories.
        const bool isThere = !isMissing(file.error) || (!isDropIn && isListed(files, path));
        if (isThere) {
            found.push_back(file);
        }
        return isThere;
    };
    std::map<std::string, std::string> dropIns; // paths by name
    bool isMainFound = false;
    for (const auto* const directory : paths::kDaemonDirectories) {
        const auto path = directory + name;
        isMainFound = isMainFound || read(path, false);
        const auto ofDropIns = path + ".d/";
        std::vector<std::string> names;
        files.list(ofDropIns, names);
        for (const auto& dropIn : names) {
            if (isDropInName(dropIn)) {
                dropIns.emplace(dropIn, ofDropIns + dropIn);
            }
        }
    }
    for (const auto& entry : dropIns) {
        read(entry.second, true);
    }
    return found;
}

} // namespace networkhost
