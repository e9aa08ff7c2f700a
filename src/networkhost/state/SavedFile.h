// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IFiles.h"

#include <optional>
#include <string>
#include <vector>

#pragma GCC visibility push(hidden)

namespace networkhost {

/// A file as it was before a change.
struct SavedFile
{
    std::string path;
    std::optional<std::string> text; // none: there was no file
    Rights rights;
    std::optional<std::string> changedTo; // the checksum of the text that the change gives it; none: it removes it
};

/// 16 hexadecimal digits.
std::string checksumOf(const std::string& text);

/// Whether the file is as it was.
bool isBack(const IFiles& files, const SavedFile& file);
bool areBack(const IFiles& files, const std::vector<SavedFile>& saved);

} // namespace networkhost

#pragma GCC visibility pop
