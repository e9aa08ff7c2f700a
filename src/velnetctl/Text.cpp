// SPDX-License-Identifier: MIT
#include "Text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>
#include <ctime>
#include <numeric>
#include <string_view>
#include <utility>

#include <unistd.h>

namespace velnetctl {
namespace {

/// The number of letters to insert, delete or change.
std::size_t editDistance(const std::string& from, const std::string& to)
{
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), 0);
    for (std::size_t i = 0; i < from.size(); ++i) {
        auto diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < to.size(); ++j) {
            const std::size_t change = diagonal + (from[i] == to[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({row[j] + 1, row[j + 1] + 1, change});
        }
    }
    return row.back();
}

} // namespace

bool takesEscapes()
{
    const char* type = std::getenv("TERM");
    return type != nullptr && *type != '\0' && std::string_view(type) != "dumb" && ::isatty(STDOUT_FILENO) == 1;
}

bool wantsColor()
{
    const char* noColor = std::getenv("NO_COLOR");
    return (noColor == nullptr || *noColor == '\0') && takesEscapes();
}

std::string colored(Color color, const std::string& text)
{
    static const bool isWanted = wantsColor();
    const char* code = color == Color::Bold ? "1" : color == Color::Green ? "32" : "31";
    return isWanted ? "\033[" + std::string(code) + 'm' + text + "\033[0m" : text;
}

std::string secondsText(std::chrono::milliseconds left)
{
    return std::to_string(std::max<long long>(std::chrono::ceil<std::chrono::seconds>(left).count(), 0)) + " s";
}

std::string lowerCase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char letter) { return std::tolower(letter); });
    return text;
}

std::string utcNow()
{
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const auto sinceEpoch = std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch());
    std::tm utc{};
    ::gmtime_r(&seconds, &utc);
    std::array<char, sizeof "2026-05-04T09:08:07"> text{};
    static_cast<void>(std::strftime(text.data(), text.size(), "%FT%T", &utc));
    return text.data() + ('.' + std::to_string(1000 + sinceEpoch.count() % 1000).substr(1)) + 'Z';
}

std::string suggestion(const std::string& word, const std::vector<std::string>& candidates)
{
    constexpr std::size_t kAlike = 3;
    const auto nearest =
        std::min_element(candidates.begin(), candidates.end(), [&](const auto& left, const auto& right) {
            return editDistance(word, left) < editDistance(word, right);
        });
    if (nearest == candidates.end() || editDistance(word, *nearest) > std::min(kAlike, nearest->size() / 2)) {
        return {};
    }
    return "; did you mean '" + *nearest + "'?";
}

} // namespace velnetctl
