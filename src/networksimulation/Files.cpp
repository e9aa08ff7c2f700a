// SPDX-License-Identifier: MIT
#include "networksimulation/Files.h"

#include "networksimulation/Device.h"

namespace networksimulation {
namespace {

std::error_code errorOf(int value)
{
    return {value, std::generic_category()};
}

} // namespace

std::error_code Files::read(const std::string& path, std::string& text) const
{
    const auto found = device_.find(path);
    if (!found) {
        return errorOf(ENOENT);
    }
    text = *found;
    return {};
}

std::error_code Files::replace(const std::string& path, const std::string& text)
{
    int error = 0;
    return device_.write(path, text, error) ? std::error_code() : errorOf(error);
}

std::error_code Files::remove(const std::string& path)
{
    int error = 0;
    return device_.remove(path, error) ? std::error_code() : errorOf(error);
}

std::error_code Files::list(const std::string& directory, std::vector<std::string>& names) const
{
    const auto found = device_.list(directory);
    if (!found) {
        return errorOf(ENOENT);
    }
    names = *found;
    return {};
}

} // namespace networksimulation
