// SPDX-License-Identifier: MIT
#include "networkhost/state/SavedFile.h"

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstdint>
#include <cstdio>

#include <boost/crc.hpp>

namespace networkhost {

std::string checksumOf(const std::string& text)
{
    boost::crc_optimal<64, 0x42F0E1EBA9EA3693, ~std::uint64_t{0}, ~std::uint64_t{0}, true, true> sum; // CRC-64/XZ
    sum.process_bytes(text.data(), text.size());
    std::array<char, 17> digits{};
    static_cast<void>(std::snprintf(digits.data(), digits.size(), "%016" PRIx64, std::uint64_t{sum.checksum()}));
    return digits.data();
}

bool isBack(const IFiles& files, const SavedFile& file)
{
    std::string text;
    const auto error = files.read(file.path, text);
    if (!file.text) {
        return error == std::errc::no_such_file_or_directory;
    }
    Rights rights;
    if (error || text != *file.text || files.rightsOf(file.path, rights)) {
        return false;
    }
    // Without root's rights, a restored file may belong to the caller if everybody may read it. See IFiles::replace().
    const bool isOwnerFree = (file.rights.mode & 0004U) != 0;
    return rights == file.rights || (isOwnerFree && rights.mode == file.rights.mode);
}

bool areBack(const IFiles& files, const std::vector<SavedFile>& saved)
{
    return std::all_of(saved.begin(), saved.end(), [&files](const SavedFile& file) { return isBack(files, file); });
}

} // namespace networkhost
