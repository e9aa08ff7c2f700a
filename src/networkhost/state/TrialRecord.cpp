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
constexpr std::int64_t kLatest = std::int64_t{1} << 50U; // milliseconds, far beyond any uptime
constexpr std::string_view kChecksum = "checksum ";

/// JSON holds characters, but files hold bytes. Therefore each byte becomes the character with its number.
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

/// Throws for a number with a fraction, because it may not fit into any integer.
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
    // The set-user-ID and set-group-ID bits are dropped, because users other than root may write records.
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

/// The line below the JSON text.
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

/// The guard runs as root, and the writer of a record may be another user. Therefore a record may only name files that
/// this library writes.
bool isOwnFile(const std::string& path)
{
    const auto& builtIn = networkmanager::kBuiltInInterfaces;
    return path == paths::dnsDomainFile() || isDnsServerFile(path) ||
           std::any_of(builtIn.begin(), builtIn.end(), [&path](const auto& iface) {
               return path == paths::ofInterface(iface.networkFile) ||
                      path == paths::ofInterface(iface.networkFile, paths::kRoutesDropIn);
           });
}

/// The kernel's boot ID has dashes. systemd's specifier for it has none.
std::string withoutDashes(std::string text)
{
    text.erase(std::remove(text.begin(), text.end(), '-'), text.end());
    return text;
}

/// A directory, for example, may stand where a record belongs, and would block every trial. Moves it aside. True when
/// the way is free now.
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
        return damaged; // checked before parsing, because any user who may write to the directory may have made it
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
        found.wasLive = json.value("wasLive", false); // records of an earlier version lack this and the next key
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
    // The kernel's boot ID differs in a container, and again in a unit with its own /proc. It is only the fallback.
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
    return error && error != std::errc::no_such_file_or_directory; // e.g. EMFILE does not show that it ended
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
    auto error = files.list(directory, names); // it usually exists
    error = error ? files.makeDirectory(directory.substr(0, directory.rfind('/'))) : error;
    return error ? error : files.makeDirectory(directory);
}

} // namespace networkhost
