// SPDX-License-Identifier: MIT
#include "networkhost/state/TrialRecord.h"

#include "base/Paths.h"
#include "networkhost/text/BoundedJson.h"
#include "networkmanager/BuiltInInterfaces.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

namespace networkhost {

namespace paths = velbase2::system::paths;
using Json = nlohmann::ordered_json;

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

Json toJson(const TrialRecord& record)
{
    Json json = {{"title", charactersOf(record.title)}, {"by", charactersOf(record.by)},   {"boot", record.boot},
                 {"deadline", record.deadline.count()}, {"isLive", record.isLive},         {"wasLive", record.wasLive},
                 {"isRestored", record.isRestored},     {"why", charactersOf(record.why)}, {"files", Json::array()}};
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

/// The writer of a record may not have the guard, which is root, write just anywhere.
bool isOwnFile(const std::string& path)
{
    const auto& builtIn = networkmanager::kBuiltInInterfaces;
    return path == paths::dnsDomainFile() || isDnsServerFile(path) ||
           std::any_of(builtIn.begin(), builtIn.end(), [&path](const auto& iface) {
               return path == paths::ofInterface(iface.networkFile) ||
                      path == paths::ofInterface(iface.networkFile, paths::kRoutesDropIn);
           });
}

/// The kernel's id of a boot has dashes, systemd's specifier for it has none.
std::string withoutDashes(std::string text)
{
    text.erase(std::remove(text.begin(), text.end(), '-'), text.end());
    return text;
}

/// A directory, say, in the place of a record would be in the way for ever. True when it is no longer.
bool isInTheWay(IFiles& files, const std::string& path, const std::error_code& error)
{
    return error == std::errc::invalid_argument && !files.moveAside(path);
}

} // namespace

std::error_code readRecord(const IFiles& files, const std::string& path, TrialRecord& record)
{
    std::string text;
    if (const auto error = files.read(path, text)) {
        return error == std::errc::invalid_argument ? std::make_error_code(std::errc::no_such_file_or_directory)
                                                    : error;
    }
    const auto damaged = std::make_error_code(std::errc::bad_message);
    const auto end = std::min(text.rfind(kChecksum), text.size());
    if (text.size() > kMost || text.substr(end) != checksumLine(text.substr(0, end))) {
        return damaged; // before it is parsed: whoever may write to the directory may have written it
    }
    try {
        Faults faults;
        const auto json = parseBounded(text.substr(0, end), faults);
        if (!faults.texts().empty()) {
            return damaged;
        }
        TrialRecord found;
        found.title = bytesOf(json.at("title"));
        found.by = bytesOf(json.at("by"));
        found.boot = withoutDashes(json.at("boot"));
        const auto deadline = integerOf(json.at("deadline"));
        if (deadline < 0 || deadline > kLatest) {
            return damaged;
        }
        found.deadline = std::chrono::milliseconds(deadline);
        found.isLive = json.at("isLive");
        found.wasLive = json.value("wasLive", false); // an earlier version had neither
        found.isRestored = json.value("isRestored", false);
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

std::error_code writeRecord(IFiles& files, const std::string& path, const TrialRecord& record)
{
    Rights rights;
    if (const auto error = rightsForRecords(files, rights)) {
        return error;
    }
    auto text = toJson(record).dump(2) + '\n';
    text += checksumLine(text);
    if (text.size() > kMost) {
        return std::make_error_code(std::errc::file_too_large);
    }
    const auto error = files.replace(path, text, &rights);
    return isInTheWay(files, path, error) ? files.replace(path, text, &rights) : error;
}

std::error_code renameRecord(IFiles& files, const char* from, const char* target)
{
    const auto error = files.rename(from, target);
    return isInTheWay(files, target, error) ? files.rename(from, target) : error;
}

std::error_code endRecord(IFiles& files, const TrialRecord& record)
{
    return writeRecord(files, paths::kRolledBack, record) ? renameRecord(files, paths::kRollback, paths::kRolledBack)
                                                          : files.remove(paths::kRollback);
}

std::error_code rightsForRecords(const IFiles& files, Rights& rights)
{
    const auto error = files.rightsOf(paths::kTrialDirectory, rights);
    rights.mode = 0640;
    return error;
}

std::string bootMark(const IFiles& files)
{
    // The kernel's own id is another one in a container, and there again in a unit with a /proc of its own.
    std::string mark;
    if (files.read(paths::kBootMark, mark)) {
        files.read(paths::kBootId, mark);
    }
    return withoutDashes(mark.substr(0, mark.find('\n')));
}

bool isThere(const IFiles& files, const std::string& path)
{
    std::string text;
    const auto error = files.read(path, text);
    return error != std::errc::no_such_file_or_directory && error != std::errc::invalid_argument;
}

bool hasCaller(const IFiles& files)
{
    std::string holder;
    const auto error = files.probeLock(paths::kCallerLock, holder);
    return error && error != std::errc::no_such_file_or_directory; // for want of descriptors nobody is gone
}

bool closeRestored(IFiles& files)
{
    TrialRecord record;
    return !isThere(files, paths::kTrial) && !readRecord(files, paths::kRollback, record) && record.isRestored &&
           areBack(files, record.files) && !endRecord(files, record);
}

std::error_code makeTrialDirectory(IFiles& files)
{
    const std::string directory = paths::kTrialDirectory;
    std::vector<std::string> names;
    auto error = files.list(directory, names); // usually it is there
    error = error ? files.makeDirectory(directory.substr(0, directory.rfind('/'))) : error;
    return error ? error : files.makeDirectory(directory);
}

} // namespace networkhost
