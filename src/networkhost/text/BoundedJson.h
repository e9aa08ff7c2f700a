// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#pragma GCC visibility push(hidden)

/// JSON that anybody may have written: reading it takes time and memory in proportion to its size. Thread-safe.
/// Not installed, because no installed header needs nlohmann-json.
namespace networkhost {

/// The first 100 faults, and how many more there are.
class Faults
{
public:
    /// Shortens one that is very long.
    void add(const std::string& fault);

    /// Empty when there is none; the last one may be "... and 12 more".
    std::vector<std::string> texts() const;

private:
    std::vector<std::string> first_;
    std::size_t more_ = 0;
};

/// Adds a fault for each key that occurs twice in an object; its last value counts. Discarded, with a fault, for a text
/// of more than 1 MiB, of more than 8 levels, or that is no JSON.
nlohmann::ordered_json parseBounded(const std::string& text, Faults& faults);

/// A key as it may stand in a fault: printable, and not much of it.
std::string shownKey(const std::string& key);

} // namespace networkhost

#pragma GCC visibility pop
