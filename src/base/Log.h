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

/// Receives one record per call. The line has no final newline, but may have newlines inside. Several threads may call
/// the sink at once. A sink may log, and may replace the sink.
using Sink = std::function<void(int level, std::string_view tag, std::string_view line)>;

/// Records below `level` are discarded.
void setMinimumLevel(int level);

/// Replaces the sink. An empty Sink restores the default one. The default sink writes "<P>tag: line" with one write(2)
/// to standard error, where P is the priority for journald. It escapes control characters.
void setSink(Sink sink);

namespace detail {

bool isEnabled(int level) noexcept;

/// Hands the record to the sink without looking at the level. The caller asks isEnabled() before it builds the line.
void log(int level, std::string_view tag, std::string_view line);

} // namespace detail
} // namespace velbase2::system::log
