// SPDX-License-Identifier: MIT
#include "networkhost/plan/PlannedFiles.h"

#include "base/Paths.h"
#include "networkhost/text/Words.h"
#include "networkmanager/BuiltInInterfaces.h"

#include <algorithm>
#include <set>

namespace networkhost {

namespace paths = velbase2::system::paths;

namespace {

const FileChange* find(const Plan& plan, const std::string& path)
{
    const auto found =
        std::find_if(plan.files.begin(), plan.files.end(), [&](const auto& file) { return file.path == path; });
    return found == plan.files.end() ? nullptr : &*found;
}

} // namespace

std::error_code PlannedFiles::read(const std::string& path, std::string& text) const
{
    const auto* const planned = find(plan_, path);
    if (planned == nullptr) {
        return files_.read(path, text);
    }
    if (!planned->after) {
        return std::make_error_code(std::errc::no_such_file_or_directory);
    }
    text = *planned->after;
    return {};
}

std::error_code PlannedFiles::list(const std::string& directory, std::vector<std::string>& names) const
{
    std::vector<std::string> found;
    const auto error = files_.list(directory, found);
    if (error && error != std::errc::no_such_file_or_directory) {
        return error;
    }
    std::set<std::string> all(found.begin(), found.end());
    for (const auto& file : plan_.files) {
        if (startsWith(file.path, directory)) {
            const auto name = file.path.substr(directory.size());
            file.after ? static_cast<void>(all.insert(name)) : static_cast<void>(all.erase(name));
        }
    }
    if (error && all.empty()) {
        return error;
    }
    names.assign(all.begin(), all.end());
    return {};
}

Configuration touchedBy(const Plan& plan, const Configuration& configuration)
{
    const auto isTouched = [&plan](const std::string& beginning) {
        return std::any_of(plan.files.begin(), plan.files.end(),
                           [&](const auto& file) { return startsWith(file.path, beginning); });
    };
    Configuration touched;
    for (const auto& builtIn : networkmanager::kBuiltInInterfaces) {
        if (isTouched(paths::ofInterface(builtIn.networkFile))) {
            touched.interfaces[builtIn.name] = configuration.interfaces.at(builtIn.name);
        }
    }
    if (isTouched(paths::kResolverDirectory)) {
        touched.dnsServers = configuration.dnsServers;
        touched.searchDomains = configuration.searchDomains;
    }
    return touched;
}

Configuration touchedNow(const IReadableFiles& files, const Plan& plan)
{
    return touchedBy(plan, readConfiguration(files));
}

} // namespace networkhost
