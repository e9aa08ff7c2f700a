// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#pragma GCC visibility push(hidden)

namespace networkhost {

/// The text without blanks, tabs and carriage returns at both ends.
std::string trimmed(std::string_view text);

/// The words between blanks.
std::vector<std::string> wordsOf(const std::string& text);

/// The lines without their line ends.
std::vector<std::string> linesOf(const std::string& text);

/// For example "12 s": whole seconds, rounded up. A negative time gives "0 s".
std::string secondsText(std::chrono::milliseconds time);

bool startsWith(std::string_view text, std::string_view beginning) noexcept;
bool endsWith(std::string_view text, std::string_view end) noexcept;

} // namespace networkhost

#pragma GCC visibility pop
