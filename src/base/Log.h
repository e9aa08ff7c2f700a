// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string_view>

/// The logger. Thread-safe.
namespace velbase2::system::log {

// Levels.
inline constexpr int kDetail = 1;
inline constexpr int kNotable = 2; // the default minimum
inline constexpr int kError = 3;
inline constexpr int kFileProblem = 4;

/// Receives one record a call, the line without a final newline (it may hold newlines inside). Called by several
/// threads at once; may itself log or replace the sink.
using Sink = std::function<void(int level, std::string_view tag, std::string_view line)>;

/// Records below `level` are not made.
void setMinimumLevel(int level);

/// An empty Sink restores the default one, which writes "<P>tag: line" with one write(2) to standard error, P being the
/// priority that journald reads. It escapes control characters.
void setSink(Sink sink);

namespace detail {

bool isEnabled(int level) noexcept;

/// Hands the record to the sink whatever its level: the caller asks isEnabled() before it builds the line.
void log(int level, std::string_view tag, std::string_view line);

} // namespace detail
} // namespace velbase2::system::log
