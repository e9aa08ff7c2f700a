// SPDX-License-Identifier: MIT
#include "base/CommandEnvironment.h"

#include <string_view>

#include <unistd.h>

namespace velbase2::system {
namespace {

std::string pathVariable(std::string_view hostPath)
{
    std::string path(hostPath.empty() ? "/usr/bin:/bin" : hostPath);
    for (const std::string directory : {"/usr/sbin", "/sbin"}) { // the route tool lives there
        if ((':' + path + ':').find(':' + directory + ':') == std::string::npos) {
            path += ':' + directory;
        }
    }
    return "PATH=" + path;
}

} // namespace

CommandEnvironment::CommandEnvironment()
{
    constexpr std::string_view kPath = "PATH=";
    constexpr std::string_view kLocale = "LC_ALL=";
    std::string_view hostPath;
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        const std::string_view variable = *entry;
        if (variable.substr(0, kPath.size()) == kPath) {
            hostPath = variable.substr(kPath.size());
        } else if (variable.substr(0, kLocale.size()) != kLocale) {
            variables_.push_back(*entry);
        }
    }
    path_ = pathVariable(hostPath);
    variables_.insert(variables_.end(), {path_.data(), locale_.data(), nullptr});
}

} // namespace velbase2::system
