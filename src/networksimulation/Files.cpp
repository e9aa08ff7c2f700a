// SPDX-License-Identifier: MIT
#include "networksimulation/Files.h"

#include <utility>

#include <unistd.h>

namespace networksimulation {
namespace {

/// Names this process in the form in which the real device names the holder of a lock.
std::string thisProcess()
{
    return "process " + std::to_string(::getpid()) + " (" + ::program_invocation_short_name + ')';
}

std::error_code notFound()
{
    return std::make_error_code(std::errc::no_such_file_or_directory);
}

class HeldLock : public networkhost::IFiles::Lock
{
public:
    HeldLock(Disk& disk, std::string path) : disk_(disk), path_(std::move(path)) {}
    HeldLock(const HeldLock&) = delete;
    HeldLock& operator=(const HeldLock&) = delete;
    ~HeldLock() override { disk_.unlock(path_); }

private:
    Disk& disk_;
    std::string path_;
};

} // namespace

std::error_code Files::read(const std::string& path, std::string& text) const
{
    const auto found = disk_.read(path);
    if (!found) {
        return notFound();
    }
    text = *found;
    return {};
}

std::error_code Files::replace(const std::string& path, const std::string& text, const networkhost::Rights* /*rights*/)
{
    return disk_.write(path, text);
}

std::error_code Files::overwrite(const std::string& path, const std::string& text)
{
    return disk_.read(path) ? replace(path, text) : notFound();
}

std::error_code Files::remove(const std::string& path)
{
    return disk_.remove(path);
}

std::error_code Files::rename(const std::string& from, const std::string& to)
{
    return disk_.rename(from, to);
}

std::error_code Files::rightsOf(const std::string& path, networkhost::Rights& rights) const
{
    if (!disk_.read(path) && !disk_.list(path)) {
        return notFound();
    }
    rights = {};
    return {};
}

std::error_code Files::makeDirectory(const std::string& path)
{
    disk_.makeDirectory(path);
    return {};
}

std::error_code Files::moveAside(const std::string& /*path*/)
{
    return std::make_error_code(std::errc::invalid_argument); // there are only regular files
}

std::error_code Files::writerOf(const std::string& /*path*/, networkhost::Writer& writer) const
{
    writer = {::geteuid(), ::getegid()}; // everything belongs to this user
    return {};
}

std::error_code Files::tryLock(const std::string& path, std::unique_ptr<Lock>& lock, std::string& holder)
{
    if (!disk_.lock(path)) {
        holder = thisProcess();
        return std::make_error_code(std::errc::operation_would_block);
    }
    lock = std::make_unique<HeldLock>(disk_, path);
    return {};
}

std::error_code Files::probeLock(const std::string& path, std::string& holder) const
{
    if (!disk_.lock(path)) {
        holder = thisProcess();
        return std::make_error_code(std::errc::operation_would_block);
    }
    disk_.unlock(path);
    return {};
}

std::error_code Files::list(const std::string& directory, std::vector<std::string>& names) const
{
    const auto found = disk_.list(directory);
    if (!found) {
        return notFound();
    }
    names = *found;
    return {};
}

} // namespace networksimulation
