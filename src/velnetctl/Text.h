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

/// The text in the colour where it is wanted; else the text.
std::string colored(Color color, const std::string& text);

/// "12 s": as long as is left, in whole seconds, and not less than none.
std::string secondsText(std::chrono::milliseconds left);

/// The present time as in 2026-05-04T09:08:07.006Z.
std::string utcNow();

/// "; did you mean 'remote'?" with the candidate that is like the word, or the empty text.
std::string suggestion(const std::string& word, const std::vector<std::string>& candidates);

} // namespace velnetctl
