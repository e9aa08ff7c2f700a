// SPDX-License-Identifier: MIT
#include "networkhost/Record.h"

#include "base/Paths.h"
#include "networkmanager/BuiltInInterfaces.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

#include <nlohmann/json.hpp>
#include <unistd.h>

namespace networkhost {

namespace paths = velbase2::system::paths;
using Json = nlohmann::json;

namespace {

constexpr std::size_t kMost = std::size_t{1} << 20U;     // bytes
constexpr std::int64_t kLatest = std::int64_t{1} << 50U; // milliseconds; no device runs for so long
constexpr std::string_view kChecksum = "checksum ";

/// JSON holds characters, files hold bytes: each byte becomes the character of its number.
std::string charactersOf(const std::string& bytes)
{
    std::string text;
    for (const char character : bytes) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte >= 0x80) {
            text += static_cast<char>(0xC0U | (byte >> 6U));
        }
        text += static_cast<char>(byte >= 0x80 ? 0x80U | (byte & 0x3FU) : byte);
    }
    return text;
}

std::string bytesOf(const std::string& characters)
{
    std::string bytes;
    for (std::size_t i = 0; i < characters.size(); ++i) {
        const auto byte = static_cast<unsigned char>(characters[i]);
        if (byte < 0x80 || i + 1 == characters.size()) {
            bytes += characters[i];
        } else {
            bytes += static_cast<char>((byte & 0x3U) << 6U | (static_cast<unsigned char>(characters[++i]) & 0x3FU));
        }
    }
    return bytes;
}

Json toJson(const SavedFile& file)
{
    return {{"path", file.path},          {"before", file.text ? Json(charactersOf(*file.text)) : Json()},
            {"mode", file.rights.mode},   {"user", file.rights.user},
            {"group", file.rights.group}, {"changedTo", file.changedTo ? Json(*file.changedTo) : Json()}};
}

/// Throws for a number with a fraction, which need not fit into any integer.
std::int64_t integerOf(const Json& json)
{
    return json.get_ref<const Json::number_integer_t&>();
}

SavedFile savedFileOf(const Json& json)
{
    SavedFile file;
    file.path = json.at("path");
    if (!json.at("before").is_null()) {
        file.text = bytesOf(json.at("before"));
    }
    // Not a mode that would lend the owner's rights: whoever may write records need not be root.
    file.rights = {static_cast<unsigned int>(integerOf(json.at("mode"))) & 0777U,
                   static_cast<unsigned int>(integerOf(json.at("user"))),
                   static_cast<unsigned int>(integerOf(json.at("group")))};
    if (!json.at("changedTo").is_null()) {
        file.changedTo = json.at("changedTo");
    }
    return file;
}

Json toJson(const Record& record)
{
    Json json = {{"title", charactersOf(record.title)},
                 {"by", charactersOf(record.by)},
                 {"boot", record.boot},
                 {"deadline", record.deadline.count()},
                 {"isLive", record.isLive},
                 {"why", charactersOf(record.why)},
                 {"files", Json::array()}};
    for (const auto& file : record.files) {
        json["files"].push_back(toJson(file));
    }
    return json;
}

/// What stands below the JSON.
std::string checksumLine(const std::string& text)
{
    return std::string(kChecksum) + checksumOf(text) + '\n';
}

bool isDnsServerFile(const std::string& path)
{
    const std::string beginning = std::string(paths::kResolverDirectory) + "dns_server_";
    const std::string_view end = ".conf";
    if (path.size() <= beginning.size() + end.size() || path.compare(0, beginning.size(), beginning) != 0) {
        return false;
    }
    const auto number = path.substr(beginning.size(), path.size() - beginning.size() - end.size());
    return number.find_first_not_of("0123456789") == std::string::npos && path == beginning + number + std::string(end);
}

/// Whoever writes a record may not have the guard, which is root, write just anywhere.
bool isOwnFile(const std::string& path)
{
    const auto& builtIn = networkmanager::kBuiltInInterfaces;
    return path == paths::dnsDomainFile() || isDnsServerFile(path) ||
           std::any_of(builtIn.begin(), builtIn.end(), [&path](const auto& iface) {
               return path == paths::ofInterface(iface.networkFile) ||
                      path == paths::ofInterface(iface.networkFile, paths::kRoutesDropIn);
           });
}

} // namespace

std::error_code readRecord(const IFiles& files, const std::string& path, Record& record)
{
    std::string text;
    if (const auto error = files.read(path, text)) {
        return error;
    }
    const auto damaged = std::make_error_code(std::errc::bad_message);
    const auto end = std::min(text.rfind(kChecksum), text.size());
    if (text.size() > kMost || text.substr(end) != checksumLine(text.substr(0, end))) {
        return damaged; // before it is parsed: whoever may write to the directory may have written it
    }
    try {
        const auto json = Json::parse(text.substr(0, end));
        Record found;
        found.title = bytesOf(json.at("title"));
        found.by = bytesOf(json.at("by"));
        found.boot = json.at("boot");
        const auto deadline = integerOf(json.at("deadline"));
        if (deadline < 0 || deadline > kLatest) {
            return damaged;
        }
        found.deadline = std::chrono::milliseconds(deadline);
        found.isLive = json.at("isLive");
        found.why = bytesOf(json.at("why"));
        for (const auto& file : json.at("files")) {
            found.files.push_back(savedFileOf(file));
            if (!isOwnFile(found.files.back().path)) {
                return damaged;
            }
        }
        record = std::move(found);
        return {};
    } catch (const Json::exception&) {
        return damaged;
    }
}

std::error_code writeRecord(IFiles& files, const std::string& path, const Record& record)
{
    Rights rights;
    if (const auto error = rightsForRecords(files, rights)) {
        return error;
    }
    auto text = toJson(record).dump(2) + '\n';
    text += checksumLine(text);
    return text.size() > kMost ? std::make_error_code(std::errc::file_too_large) : files.replace(path, text, &rights);
}

std::error_code rightsForRecords(const IFiles& files, Rights& rights)
{
    const auto error = files.rightsOf(kTrialDirectory, rights);
    rights.mode = 0640;
    rights.user = ::geteuid();
    return error;
}

std::string bootId(const IFiles& files)
{
    std::string id;
    files.read(paths::kBootId, id);
    return id.substr(0, id.find('\n'));
}

} // namespace networkhost
