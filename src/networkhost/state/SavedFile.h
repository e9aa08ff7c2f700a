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
    std::optional<std::string> text; // empty when there was no file
    Rights rights;
    std::optional<std::string> changedTo; // checksum of the new text; empty when the change removes the file
};

/// Returns 16 hexadecimal digits.
std::string checksumOf(const std::string& text);

/// Whether the file has its saved text and rights again.
bool isBack(const IFiles& files, const SavedFile& file);
bool areBack(const IFiles& files, const std::vector<SavedFile>& saved);

} // namespace networkhost

#pragma GCC visibility pop
