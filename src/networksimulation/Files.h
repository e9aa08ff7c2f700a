// SPDX-License-Identifier: MIT
#pragma once

#include "../networkhost/device/IFiles.h"
#include "Disk.h"

#include <memory>
#include <string>
#include <system_error>
#include <vector>

namespace networksimulation {

/// The disk of a simulated device as the library sees it. All files have the rights of a new one of root, and the user
/// of the test may change them.
class Files : public networkhost::IFiles
{
public:
    /// The disk outlives the files.
    explicit Files(Disk& disk) : disk_(disk) {}

    std::error_code read(const std::string& path, std::string& text) const override;
    std::error_code list(const std::string& directory, std::vector<std::string>& names) const override;
    std::error_code replace(const std::string& path, const std::string& text,
                            const networkhost::Rights* rights = nullptr) override;
    std::error_code overwrite(const std::string& path, const std::string& text) override;
    std::error_code remove(const std::string& path) override;
    std::error_code rename(const std::string& from, const std::string& to) override;
    std::error_code moveAside(const std::string& path) override;
    std::error_code writerOf(const std::string& path, networkhost::Writer& writer) const override;
    std::error_code rightsOf(const std::string& path, networkhost::Rights& rights) const override;
    std::error_code makeDirectory(const std::string& path) override;
    std::error_code tryLock(const std::string& path, std::unique_ptr<Lock>& lock, std::string& holder) override;
    std::error_code probeLock(const std::string& path, std::string& holder) const override;

private:
    Disk& disk_;
};

} // namespace networksimulation
