// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace networkhost {

/// Reads whole files and directories. An operation that fails leaves its results as they were, and returns an errno
/// value of the generic category. ELOOP means that somebody other than root and the caller could lead the path to
/// another file. Where a directory belongs to another user, root works in it with that user's rights. Paths are
/// absolute. Thread-safe.
class IReadableFiles
{
public:
    virtual ~IReadableFiles() = default;

    /// The whole text, line ends included.
    virtual std::error_code read(const std::string& path, std::string& text) const = 0;

    /// The names in a directory, in byte order.
    virtual std::error_code list(const std::string& directory, std::vector<std::string>& names) const = 0;
};

/// The text of a file; nothing when it cannot be read.
inline std::optional<std::string> textOf(const IReadableFiles& files, const std::string& path)
{
    std::string text;
    return files.read(path, text) ? std::nullopt : std::optional(std::move(text));
}

struct Writer
{
    unsigned int user = 0;
    unsigned int group = 0;
};

/// Who may do what with a file.
struct Rights
{
    unsigned int mode = 0644;
    unsigned int user = 0;
    unsigned int group = 0;
};

inline bool operator==(const Rights& left, const Rights& right)
{
    return left.mode == right.mode && left.user == right.user && left.group == right.group;
}

/// Changes files as well. They have to be regular ones: EINVAL for others. An operation that fails leaves the file as
/// it was, except when only the sync of the directory failed, which comes last. At most one caller at a time may change
/// a file.
class IFiles : public IReadableFiles
{
public:
    /// Readers, and a boot after a power cut, find the old text or the new one, never a part. An existing file keeps
    /// its mode, owner and extended attributes; a new one gets the mode 0644; `rights` overrides both. The directory
    /// has to exist. EPERM when the owner or the group cannot be kept, unless everybody may read the file and the
    /// caller owns the directory.
    virtual std::error_code replace(const std::string& path, const std::string& text,
                                    const Rights* rights = nullptr) = 0;

    /// Writes into an existing file, for one whose directory cannot be written, or that is a mount itself. Readers, and
    /// a boot after a power cut, may find a part of the text.
    virtual std::error_code overwrite(const std::string& path, const std::string& text) = 0;

    /// Removes the file to which a symbolic link leads; the link stays. A missing file counts as removed.
    virtual std::error_code remove(const std::string& path) = 0;

    /// Renames within one directory, in one step, and replaces a file at `to`. ENOENT when there is no `from`: of two
    /// callers, one succeeds.
    virtual std::error_code rename(const std::string& from, const std::string& to) = 0;

    /// Renames what is neither a regular file nor a link, to make room for a file.
    virtual std::error_code moveAside(const std::string& path) = 0;

    virtual std::error_code rightsOf(const std::string& path, Rights& rights) const = 0;

    /// The user and the group with whose rights this process changes that file.
    virtual std::error_code writerOf(const std::string& path, Writer& writer) const = 0;

    /// Makes a directory with the group and the mode of the one that it lies in. Succeeds when it exists.
    virtual std::error_code makeDirectory(const std::string& path) = 0;

    /// A lock of this process on a file, until it is destroyed or the process ends.
    class Lock
    {
    public:
        virtual ~Lock() = default;
    };

    /// Locks a file without waiting, and creates it when it is missing; only those who may write to the directory can
    /// open it. EWOULDBLOCK when somebody has the lock: `holder` then says who, if that is known ("process 812
    /// (velnetctl)").
    virtual std::error_code tryLock(const std::string& path, std::unique_ptr<Lock>& lock, std::string& holder) = 0;

    /// Looks whether somebody has the lock, without taking it: EWOULDBLOCK then, ENOENT when the file is missing.
    virtual std::error_code probeLock(const std::string& path, std::string& holder) const = 0;
};

} // namespace networkhost
