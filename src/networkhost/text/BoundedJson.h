// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#pragma GCC visibility push(hidden)

/// Reads untrusted JSON. The time and memory are in proportion to its size. Thread-safe.
namespace networkhost {

/// The first 100 faults, and the number of the others.
class Faults
{
public:
    /// Adds a fault. A very long text is shortened.
    void add(const std::string& fault);

    /// The texts of the faults. The last text may be "... and 12 more".
    std::vector<std::string> texts() const;

private:
    std::vector<std::string> first_;
    std::size_t more_ = 0;
};

/// Parses the text. Adds a fault for each key that occurs twice in an object, and takes its last value. A text above
/// 1 MiB, with more than 8 levels, or that is not JSON gives a fault and the value "discarded".
nlohmann::ordered_json parseBounded(const std::string& text, Faults& faults);

/// The key in a form that is safe in a fault: shortened and printable.
std::string shownKey(const std::string& key);

} // namespace networkhost

#pragma GCC visibility pop
