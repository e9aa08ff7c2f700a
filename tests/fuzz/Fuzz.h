// SPDX-License-Identifier: MIT
#pragma once

#include "networksimulation/Event.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// Helpers of the targets. They do not use the code under test.
namespace fuzz {

/// Each target defines this. It checks what must hold for any input. No exception may leave it.
void check(const std::string& input);

/// When the condition does not hold, prints the text and aborts.
void require(bool holds, const std::string& what);

/// The parts between the separators.
std::vector<std::string> split(const std::string& text, char separator);

bool hasControlCharacter(const std::string& text);

/// The number of an address with four parts, as the tools read it: a part with a leading zero is octal. Empty for other
/// texts.
std::optional<std::uint32_t> numberOf(const std::string& address);
std::string dottedText(std::uint32_t number);

/// Whether the library runs this command. An address in it must be valid.
bool isKnownCommand(const std::string& command);

/// Whether the library writes this file.
bool isOwnFile(const std::string& path);

/// Checks that a set operation may do this: run a known command, or write a file of the library with known lines only.
void requireKnown(const networksimulation::Event& event);

} // namespace fuzz
