// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace networkhost {

/// Files, each as a whole, to look at. An operation that fails leaves results as they were and returns why, as an errno
/// value of the generic category: ELOOP when others than root and the caller can lead the path elsewhere. Root works in
/// a directory of another user with that user's rights. Paths are absolute. Thread-safe.
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

/// Files to change as well: regular ones only, EINVAL for others. An operation that fails leaves them as they were, but
/// for the sync of the directory, which comes last. At most one caller at a time changes a file.
class IFiles : public IReadableFiles
{
public:
    /// A reader, and a boot after a power cut, finds the old text or the new one, never a part. Keeps the mode, owner
    /// and extended attributes of a file that is there; a new one gets mode 0644. `rights` overrides both. Makes no
    /// directory. EPERM when it cannot keep the owner or the group, unless everybody may read the file and the caller
    /// owns the directory.
    virtual std::error_code replace(const std::string& path, const std::string& text,
                                    const Rights* rights = nullptr) = 0;

    /// Writes into a file that is there: for one whose directory cannot be written, or that is mounted itself. A reader
    /// or a power cut may meet a part of it.
    virtual std::error_code overwrite(const std::string& path, const std::string& text) = 0;

    /// At the end of a symbolic link, which stays. A missing file counts as removed.
    virtual std::error_code remove(const std::string& path) = 0;

    /// Within one directory, in one step, in place of what is at `to`. ENOENT when `from` is not there: of two callers
    /// one succeeds.
    virtual std::error_code rename(const std::string& from, const std::string& to) = 0;

    /// Gives another name to anything that is neither a regular file nor a link, to have it out of the way.
    virtual std::error_code moveAside(const std::string& path) = 0;

    virtual std::error_code rightsOf(const std::string& path, Rights& rights) const = 0;

    /// With whose rights this process changes that file.
    virtual std::error_code writerOf(const std::string& path, Writer& writer) const = 0;

    /// With the group and the mode of the directory that it lies in. One that is there is good.
    virtual std::error_code makeDirectory(const std::string& path) = 0;

    /// A lock of this process on a file, until it is destroyed or the process ends.
    class Lock
    {
    public:
        virtual ~Lock() = default;
    };

    /// Makes the file when it is missing, for those only who may write to the directory. EWOULDBLOCK when somebody has
    /// the lock: `holder` says who, as far as it is known ("process 812 (velnetctl)").
    virtual std::error_code tryLock(const std::string& path, std::unique_ptr<Lock>& lock, std::string& holder) = 0;

    /// EWOULDBLOCK when somebody has the lock, ENOENT when nobody has made the file yet. Takes it from nobody.
    virtual std::error_code probeLock(const std::string& path, std::string& holder) const = 0;
};

} // namespace networkhost
