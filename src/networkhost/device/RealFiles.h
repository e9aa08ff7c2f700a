// SPDX-License-Identifier: MIT
#pragma once

#include "IFiles.h"

#pragma GCC visibility push(hidden)

namespace networkhost {

/// The files of the device that the process runs on. Only regular files can be read (otherwise EINVAL), and only those
/// below 16 MiB (otherwise EFBIG).
class RealFiles : public IFiles
{
public:
    std::error_code read(const std::string& path, std::string& text) const override;
    std::error_code list(const std::string& directory, std::vector<std::string>& names) const override;
    std::error_code replace(const std::string& path, const std::string& text, const Rights* rights = nullptr) override;
    std::error_code overwrite(const std::string& path, const std::string& text) override;
    std::error_code remove(const std::string& path) override;
    std::error_code rename(const std::string& from, const std::string& to) override;
    std::error_code moveAside(const std::string& path) override;
    std::error_code rightsOf(const std::string& path, Rights& rights) const override;
    std::error_code writerOf(const std::string& path, Writer& writer) const override;
    std::error_code makeDirectory(const std::string& path) override;
    std::error_code tryLock(const std::string& path, std::unique_ptr<Lock>& lock, std::string& holder) override;
    std::error_code probeLock(const std::string& path, std::string& holder) const override;
};

} // namespace networkhost

#pragma GCC visibility pop
