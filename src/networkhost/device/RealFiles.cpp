// SPDX-License-Identifier: MIT
#include "networkhost/device/RealFiles.h"

#include "base/FileDescriptor.h"
#include "base/ReadFile.h"
#include "networkhost/device/LockHolder.h"
#include "networkhost/device/ResolvedPath.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <linux/limits.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace networkhost {

using velbase2::system::FileDescriptor;

namespace {

/// The error of a system call with this result.
std::error_code errorOfCall(int result)
{
    return errorOf(result == 0 ? 0 : errno);
}

std::error_code writeAll(int fd, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t count = ::write(fd, text.data(), text.size());
        if (count < 0 && errno != EINTR) {
            return errorOf(errno);
        }
        text.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    return {};
}

/// Returns EFBIG for a file above the limit of readAll(). Otherwise a change that is undone would leave a part of the
/// file.
std::error_code readWhole(int fd, std::string& text)
{
    const auto error = velbase2::system::readAll(fd, text);
    const bool isCut = !error && text.size() == velbase2::system::kMostOfAFile;
    return errorOf(isCut ? EFBIG : error.value());
}

/// Gives the open file the attributes of the one at `resolved`.
std::error_code copyAttributes(int fd, const ResolvedPath& resolved)
{
    const auto old = "/proc/self/fd/" + std::to_string(resolved.directory.get()) + '/' + resolved.name;
    std::string names(XATTR_LIST_MAX, '\0');
    const ssize_t size = ::llistxattr(old.c_str(), names.data(), names.size());
    if (size < 0) {
        return errorOf(errno == ENOTSUP ? 0 : errno);
    }
    names.resize(static_cast<std::size_t>(size));
    std::istringstream list(names);
    std::string name;
    while (std::getline(list, name, '\0')) {
        if (name == "security.capability") {
            continue; // a text file needs no capabilities; the set-user-ID and set-group-ID bits are left out as well
        }
        std::string value(XATTR_SIZE_MAX, '\0');
        const ssize_t length = ::lgetxattr(old.c_str(), name.c_str(), value.data(), value.size());
        if (length < 0 || ::fsetxattr(fd, name.c_str(), value.data(), static_cast<std::size_t>(length), 0) != 0) {
            return errorOf(errno);
        }
    }
    return {};
}

std::error_code setRights(int fd, const Rights& rights)
{
    struct stat made = {};
    if (::fstat(fd, &made) != 0) {
        return errorOf(errno);
    }
    const bool isRight = made.st_uid == rights.user && made.st_gid == rights.group;
    if (!isRight && ::fchown(fd, rights.user, rights.group) != 0) {
        return errorOf(errno);
    }
    return errorOfCall(::fchmod(fd, rights.mode));
}

std::error_code rightsAt(const ResolvedPath& resolved, Rights& rights)
{
    struct stat status = {};
    if (::fstatat(resolved.directory.get(), resolved.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return errorOf(errno);
    }
    rights = {status.st_mode & 0777U, status.st_uid, status.st_gid};
    return {};
}

/// Whether the file may become the property of the directory's owner, for example after root has edited it by hand.
/// Everybody may read it, and the owner of the directory may remove it anyway. Therefore nothing is lost.
bool mayChangeOwner(const ResolvedPath& resolved, const Rights& rights)
{
    struct stat directory = {};
    return ::fstat(resolved.directory.get(), &directory) == 0 && (rights.mode & S_IROTH) != 0 &&
           directory.st_uid == ::geteuid();
}

/// Gives the new file the wanted rights, or those of the file at `resolved`, and the attributes of that file. Without
/// either, the mode is 0644.
std::error_code takeOver(int fd, const ResolvedPath& resolved, const Rights* wanted)
{
    Rights rights;
    const auto missing = rightsAt(resolved, rights);
    if (missing && missing != std::errc::no_such_file_or_directory) {
        return missing;
    }
    if (missing && wanted == nullptr) {
        return errorOfCall(::fchmod(fd, 0644)); // independent of the umask
    }
    rights = wanted != nullptr ? *wanted : rights;
    auto error = setRights(fd, rights);
    if (error == std::errc::operation_not_permitted && mayChangeOwner(resolved, rights)) {
        error = errorOfCall(::fchmod(fd, rights.mode));
    }
    return error || missing ? error : copyAttributes(fd, resolved);
}

/// Writes the text to the open file and syncs it to the disk.
std::error_code fill(int fd, const std::string& text)
{
    const auto error = writeAll(fd, text);
    return error ? error : errorOfCall(::fsync(fd));
}

/// Only regular files are replaced or removed. Returns EINVAL for anything else, and no error for a missing file.
std::error_code checkRegular(int directory, const std::string& name)
{
    struct stat status = {};
    if (::fstatat(directory, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return errorOf(errno == ENOENT ? 0 : errno);
    }
    return errorOf(S_ISREG(status.st_mode) ? 0 : EINVAL);
}

/// Creates a new file in the directory of the resolved one, and sets `name`. The name is usually the same each time.
/// Therefore the next change removes a file that a crash has left. A number is added when something that cannot be
/// removed has this name. The daemons read no file with such a name.
FileDescriptor openBeside(const ResolvedPath& resolved, std::string& name)
{
    constexpr int kMost = 100;
    int fd = -1;
    for (int number = 0; fd < 0 && number < kMost && (number == 0 || errno == EEXIST); ++number) {
        name = '.' + resolved.name + ".new" + (number == 0 ? "" : std::to_string(number));
        ::unlinkat(resolved.directory.get(), name.c_str(), 0);
        fd = ::openat(resolved.directory.get(), name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                      0600);
    }
    return FileDescriptor(fd);
}

std::error_code replaceAt(const ResolvedPath& resolved, const std::string& text, const Rights* rights)
{
    const int directory = resolved.directory.get();
    if (const auto error = checkRegular(directory, resolved.name)) {
        return error;
    }
    std::string beside;
    const FileDescriptor fd = openBeside(resolved, beside);
    if (!fd.isOpen()) {
        return errorOf(errno);
    }
    auto error = takeOver(fd.get(), resolved, rights);
    if (!error) {
        error = fill(fd.get(), text);
    }
    if (!error) {
        error = errorOfCall(::renameat(directory, beside.c_str(), directory, resolved.name.c_str()));
    }
    if (error) {
        ::unlinkat(directory, beside.c_str(), 0);
        return error;
    }
    return errorOfCall(::fsync(directory));
}

class FileLock : public IFiles::Lock
{
public:
    explicit FileLock(FileDescriptor&& file) : file_(std::move(file)) {}
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    /// Unlocks explicitly. A child that the host has forked may still hold the descriptor, and with it the lock.
    ~FileLock() override { ::flock(file_.get(), LOCK_UN); }

private:
    FileDescriptor file_;
};

/// Opens the file for writing, because a user who may only read must not be able to lock it. O_NONBLOCK avoids a wait
/// for another process's lease.
FileDescriptor openLockFile(const ResolvedPath& resolved)
{
    constexpr int kFlags = O_RDWR | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK;
    const int directory = resolved.directory.get();
    FileDescriptor file(::openat(directory, resolved.name.c_str(), kFlags | O_CREAT | O_EXCL, 0600));
    if (!file.isOpen()) {
        return FileDescriptor(errno == EEXIST ? ::openat(directory, resolved.name.c_str(), kFlags) : -1);
    }
    struct stat parent = {};
    const bool isOfGroup = ::fstat(directory, &parent) == 0 && (parent.st_mode & S_IWGRP) != 0;
    if (isOfGroup && ::fchown(file.get(), static_cast<uid_t>(-1), parent.st_gid) == 0) {
        ::fchmod(file.get(), 0660);
    }
    return file;
}

/// Returns EWOULDBLOCK when another process has the lock, and sets `holder`.
std::error_code lockFile(const FileDescriptor& file, int operation, std::string& holder)
{
    if (!file.isOpen()) {
        holder = errno == EWOULDBLOCK ? "another process" : ""; // it has a lease on the file
        return errorOf(errno);
    }
    if (::flock(file.get(), operation | LOCK_NB) != 0) {
        const int error = errno;
        holder = error == EWOULDBLOCK ? lockHolder(file.get()) : "";
        return errorOf(error);
    }
    return {};
}

} // namespace

std::error_code RealFiles::read(const std::string& path, std::string& text) const
{
    ResolvedPath resolved;
    if (const auto error = resolve(path, resolved)) {
        return error;
    }
    const FileDescriptor file(::openat(resolved.directory.get(), resolved.name.c_str(),
                                       O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status = {};
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0) {
        return errorOf(errno);
    }
    if (!S_ISREG(status.st_mode)) {
        return errorOf(EINVAL);
    }
    std::string found;
    const auto error = readWhole(file.get(), found);
    if (!error) {
        text = std::move(found);
    }
    return error;
}

std::error_code RealFiles::list(const std::string& directory, std::vector<std::string>& names) const
{
    std::error_code error;
    std::vector<std::string> found;
    for (auto entry = std::filesystem::directory_iterator(directory, error);
         !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        found.push_back(entry->path().filename().string());
    }
    if (!error) {
        std::sort(found.begin(), found.end());
        names = std::move(found);
    }
    return error;
}

std::error_code RealFiles::replace(const std::string& path, const std::string& text, const Rights* rights)
{
    ResolvedPath resolved;
    const auto error = resolve(path, resolved);
    return error ? error : replaceAt(resolved, text, rights);
}

std::error_code RealFiles::overwrite(const std::string& path, const std::string& text)
{
    ResolvedPath resolved;
    if (const auto error = resolve(path, resolved)) {
        return error;
    }
    std::string old;
    const FileDescriptor fd(::openat(resolved.directory.get(), resolved.name.c_str(),
                                     O_RDWR | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!fd.isOpen()) {
        return errorOf(errno);
    }
    struct stat status = {};
    if (::fstat(fd.get(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_nlink != 1) {
        return errorOf(EPERM); // a file with a second hard link may belong to another user
    }
    if (const auto error = readWhole(fd.get(), old)) {
        return error;
    }
    const auto put = [&fd](const std::string& content) {
        // The file is truncated after the write, not before. Therefore a reader never sees an empty file.
        auto error = errorOfCall(::lseek(fd.get(), 0, SEEK_SET) == 0 ? 0 : -1);
        error = error ? error : writeAll(fd.get(), content);
        error = error ? error : errorOfCall(::ftruncate(fd.get(), static_cast<off_t>(content.size())));
        return error ? error : errorOfCall(::fsync(fd.get()));
    };
    const auto error = put(text);
    if (error) {
        put(old);
    }
    return error;
}

std::error_code RealFiles::remove(const std::string& path)
{
    ResolvedPath resolved;
    if (const auto error = resolve(path, resolved)) {
        return error == std::errc::no_such_file_or_directory ? std::error_code() : error;
    }
    if (const auto error = checkRegular(resolved.directory.get(), resolved.name)) {
        return error;
    }
    if (::unlinkat(resolved.directory.get(), resolved.name.c_str(), 0) != 0) {
        return errorOf(errno == ENOENT ? 0 : errno);
    }
    return errorOfCall(::fsync(resolved.directory.get()));
}

std::error_code RealFiles::rename(const std::string& from, const std::string& to)
{
    ResolvedPath resolved;
    if (const auto error = resolve(from, resolved)) {
        return error;
    }
    const auto name = std::filesystem::path(to).filename().string();
    const int directory = resolved.directory.get();
    for (const auto& one : {resolved.name, name}) {
        if (const auto error = checkRegular(directory, one)) {
            return error;
        }
    }
    const auto error = errorOfCall(::renameat(directory, resolved.name.c_str(), directory, name.c_str()));
    return error ? error : errorOfCall(::fsync(directory));
}

std::error_code RealFiles::moveAside(const std::string& path)
{
    const auto slash = path.rfind('/') + 1;
    auto name = path.substr(slash);
    ResolvedPath resolved;
    auto error = resolve(path, resolved);
    if (!error && ::geteuid() != 0) {
        name = resolved.name;
    } else { // root may have made a link, for example to /dev/null, and its target must stay in place
        resolved.rights.reset();
        error = resolve(path.substr(0, slash) + '.', resolved);
    }
    if (error) {
        return error;
    }
    constexpr int kMost = 1000;
    struct stat status = {};
    const int directory = resolved.directory.get();
    if (::fstatat(directory, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return errorOf(errno);
    }
    if (S_ISREG(status.st_mode) || S_ISLNK(status.st_mode)) {
        return errorOf(EINVAL);
    }
    error = errorOf(EEXIST);
    for (int number = 1; error == std::errc::file_exists && number < kMost; ++number) {
        const auto aside = name + ".aside" + std::to_string(number);
        error = errorOfCall(::renameat2(directory, name.c_str(), directory, aside.c_str(), RENAME_NOREPLACE));
    }
    return error;
}

std::error_code RealFiles::writerOf(const std::string& path, Writer& writer) const
{
    ResolvedPath resolved;
    const auto error = resolve(path, resolved);
    if (!error) {
        writer = {::geteuid(), ::getegid()};
    }
    return error;
}

std::error_code RealFiles::rightsOf(const std::string& path, Rights& rights) const
{
    ResolvedPath resolved;
    const auto error = resolve(path, resolved);
    return error ? error : rightsAt(resolved, rights);
}

std::error_code RealFiles::makeDirectory(const std::string& path)
{
    ResolvedPath resolved;
    if (const auto error = resolve(path, resolved)) {
        return error;
    }
    struct stat parent = {};
    if (::fstat(resolved.directory.get(), &parent) != 0) {
        return errorOf(errno);
    }
    if (::mkdirat(resolved.directory.get(), resolved.name.c_str(), 0700) != 0 && errno != EEXIST) {
        return errorOf(errno);
    }
    const FileDescriptor made(
        ::openat(resolved.directory.get(), resolved.name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!made.isOpen()) {
        return errorOf(errno);
    }
    constexpr mode_t kMode = 0777;
    struct stat status = {};
    const bool isOwn = ::fstat(made.get(), &status) == 0 && status.st_uid == ::geteuid();
    // A directory with the right group and mode is not touched, because a change would wake its watchers.
    if (isOwn && (status.st_gid != parent.st_gid || (status.st_mode & kMode) != (parent.st_mode & kMode))) {
        // If this fails, the directory keeps the caller's group.
        static_cast<void>(::fchown(made.get(), static_cast<uid_t>(-1), parent.st_gid));
        ::fchmod(made.get(), parent.st_mode & kMode);
    }
    return errorOfCall(::fsync(resolved.directory.get()));
}

std::error_code RealFiles::tryLock(const std::string& path, std::unique_ptr<Lock>& lock, std::string& holder)
{
    ResolvedPath resolved;
    if (const auto error = resolve(path, resolved)) {
        return error;
    }
    FileDescriptor file = openLockFile(resolved);
    const auto error = lockFile(file, LOCK_EX, holder);
    if (!error) {
        lock = std::make_unique<FileLock>(std::move(file));
    }
    return error;
}

std::error_code RealFiles::probeLock(const std::string& path, std::string& holder) const
{
    ResolvedPath resolved;
    if (const auto error = resolve(path, resolved)) {
        return error;
    }
    // The lock is shared. Therefore two processes that only probe do not take each other for the holder.
    FileDescriptor file(
        ::openat(resolved.directory.get(), resolved.name.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
    const auto error = lockFile(file, LOCK_SH, holder);
    if (!error) {
        const FileLock released(std::move(file));
    }
    return error;
}

} // namespace networkhost
