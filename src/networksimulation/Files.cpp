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

std::error_code Files::replace(const std::string& path, const std::string& text, const networkhost::Rights* /*rights*/)
{
    int error = 0;
    return device_.write(path, text, error) ? std::error_code() : errorOf(error);
}

std::error_code Files::overwrite(const std::string& path, const std::string& text)
{
    return device_.find(path) ? replace(path, text) : errorOf(ENOENT);
}

std::error_code Files::remove(const std::string& path)
{
    int error = 0;
    return device_.remove(path, error) ? std::error_code() : errorOf(error);
}

std::error_code Files::rename(const std::string& from, const std::string& to)
{
    int error = 0;
    return device_.rename(from, to, error) ? std::error_code() : errorOf(error);
}

std::error_code Files::rightsOf(const std::string& path, networkhost::Rights& rights) const
{
    if (!device_.find(path) && !device_.list(path)) {
        return errorOf(ENOENT);
    }
    rights = {};
    return {};
}

std::error_code Files::makeDirectory(const std::string& path)
{
    device_.makeDirectory(path);
    return {};
}

std::error_code Files::tryLock(const std::string& /*directory*/, std::unique_ptr<Lock>& lock, std::string& /*holder*/)
{
    lock = std::make_unique<Lock>();
    return {};
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
