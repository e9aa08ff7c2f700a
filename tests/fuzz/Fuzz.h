// SPDX-License-Identifier: MIT
#pragma once

#include "networksimulation/Event.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// What the targets share. None of it uses the code that it judges.
namespace fuzz {

/// Each target defines this one: what has to hold, whatever the input. No exception may leave it.
void check(const std::string& input);

/// Prints what does not hold, and aborts.
void require(bool holds, const std::string& what);

/// The parts between separators, one more than there are separators.
std::vector<std::string> split(const std::string& text, char separator);

bool hasControlCharacter(const std::string& text);

/// The number of four dotted parts as the tools read it, a part with a leading zero as octal; empty for other texts.
std::optional<std::uint32_t> numberOf(const std::string& address);
std::string dottedText(std::uint32_t number);

/// One of the commands that the library has, with an address where one belongs.
bool isKnownCommand(const std::string& command);

/// A file that the library writes.
bool isOwnFile(const std::string& path);

/// What a set operation may do: a known command, or one of the library's own files with nothing in it that it has no
/// line for.
void requireKnown(const networksimulation::Event& event);

} // namespace fuzz
