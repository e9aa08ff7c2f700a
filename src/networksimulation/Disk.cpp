// SPDX-License-Identifier: MIT
#include "networksimulation/Disk.h"

#include <cerrno>
#include <utility>

#include <boost/algorithm/string/predicate.hpp>

namespace networksimulation {

using boost::algorithm::starts_with;

namespace {

std::error_code errorOf(int value)
{
    return {value, std::generic_category()};
}

std::string asDirectory(const std::string& path)
{
    return path.empty() || path.back() == '/' ? path : path + '/';
}

} // namespace

void Disk::show(const std::string& path, Show show)
{
    const auto held = clock_.hold();
    shown_[path] = std::move(show);
}

std::optional<std::string> Disk::read(const std::string& path) const
{
    const auto held = clock_.hold();
    for (const auto& [shown, textOf] : shown_) {
        if (shown.back() == '/' ? starts_with(path, shown) : path == shown) {
            const auto text = textOf(path.substr(shown.size()));
            return text.empty() ? std::nullopt : std::optional(text);
        }
    }
    const auto text = texts_.find(path);
    return text == texts_.end() ? std::nullopt : std::optional(text->second);
}

std::optional<std::vector<std::string>> Disk::list(const std::string& directory) const
{
    const auto held = clock_.hold();
    const auto beginning = asDirectory(directory);
    std::set<std::string> names;
    for (const auto& entry : texts_) {
        if (starts_with(entry.first, beginning)) {
            const auto rest = entry.first.substr(beginning.size());
            names.insert(rest.substr(0, rest.find('/')));
        }
    }
    if (names.empty() && directories_.count(beginning) == 0) {
        return std::nullopt;
    }
    return std::vector<std::string>(names.begin(), names.end());
}

void Disk::makeDirectory(const std::string& path)
{
    const auto held = clock_.hold();
    directories_.insert(asDirectory(path));
}

std::error_code Disk::write(const std::string& path, const std::string& text)
{
    const auto held = clock_.hold();
    const bool hasDirectory = list(path.substr(0, path.rfind('/') + 1)).has_value();
    const int error = hasDirectory ? faults_.ofWrite(path) : ENOENT;
    if (error != 0) {
        events_.note(failedToWrite(path, text));
        return errorOf(error);
    }
    texts_[path] = text;
    events_.note(wrote(path, text));
    clock_.hint();
    return {};
}

std::error_code Disk::remove(const std::string& path)
{
    const auto held = clock_.hold();
    if (const int error = faults_.ofWrite(path); error != 0) {
        return errorOf(error);
    }
    if (texts_.erase(path) > 0) {
        events_.note(removed(path));
        clock_.hint();
    }
    return {};
}

std::error_code Disk::rename(const std::string& from, const std::string& to)
{
    const auto held = clock_.hold();
    if (const int error = faults_.ofWrite(to); error != 0) {
        return errorOf(error);
    }
    auto file = texts_.extract(from);
    if (file.empty()) {
        return errorOf(ENOENT);
    }
    texts_[to] = std::move(file.mapped());
    events_.note(renamed(from, to));
    clock_.hint();
    return {};
}

void Disk::put(const std::string& path, const std::string& text)
{
    const auto held = clock_.hold();
    texts_[path] = text;
    clock_.hint();
}

bool Disk::lock(const std::string& path)
{
    const auto held = clock_.hold();
    return locked_.insert(path).second;
}

void Disk::unlock(const std::string& path)
{
    const auto held = clock_.hold();
    locked_.erase(path);
}

} // namespace networksimulation
