// SPDX-License-Identifier: MIT
#include "networksimulation/Files.h"

#include "networkhost/device/LockHolder.h"
#include "networksimulation/Device.h"

#include <utility>

#include <unistd.h>

namespace networksimulation {
namespace {

std::error_code errorOf(int value)
{
    return {value, std::generic_category()};
}

class HeldLock : public networkhost::IFiles::Lock
{
public:
    HeldLock(Device& device, std::string path) : device_(device), path_(std::move(path)) {}
    HeldLock(const HeldLock&) = delete;
    HeldLock& operator=(const HeldLock&) = delete;
    ~HeldLock() override { device_.unlock(path_); }

private:
    Device& device_;
    std::string path_;
};

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

std::error_code Files::moveAside(const std::string& /*path*/)
{
    return errorOf(EINVAL); // there are only regular files
}

std::error_code Files::writerOf(const std::string& /*path*/, networkhost::Writer& writer) const
{
    writer = {::geteuid(), ::getegid()}; // all is this user's own
    return {};
}

std::error_code Files::tryLock(const std::string& path, std::unique_ptr<Lock>& lock, std::string& holder)
{
    if (!device_.lock(path)) {
        holder = networkhost::thisProcess();
        return errorOf(EWOULDBLOCK);
    }
    lock = std::make_unique<HeldLock>(device_, path);
    return {};
}

std::error_code Files::probeLock(const std::string& path, std::string& holder) const
{
    if (!device_.lock(path)) {
        holder = networkhost::thisProcess();
        return errorOf(EWOULDBLOCK);
    }
    device_.unlock(path);
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
