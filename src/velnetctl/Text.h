// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace velnetctl {

enum class Color { Bold, Green, Red };

/// Whether standard output is a terminal that takes escape sequences.
bool takesEscapes();

/// The same, and NO_COLOR is not set.
bool wantsColor();

/// The text in the colour if wantsColor(), otherwise without.
std::string colored(Color color, const std::string& text);

/// "12 s": whole seconds, rounded up, at least 0.
std::string secondsText(std::chrono::milliseconds left);

/// The text with small letters, for words that people may type in capitals, such as "DHCP" and "None".
std::string lowerCase(std::string text);

/// The present time as in 2026-05-04T09:08:07.006Z.
std::string utcNow();

/// "; did you mean 'remote'?", or an empty text when no candidate resembles the word.
std::string suggestion(const std::string& word, const std::vector<std::string>& candidates);

} // namespace velnetctl
