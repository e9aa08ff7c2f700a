// SPDX-License-Identifier: MIT
#include "Progress.h"

#include "Text.h"
#include "networkhost/text/Checks.h"

#include <utility>

#include <sys/ioctl.h>
#include <unistd.h>

namespace velnetctl {
namespace {

/// Cuts the text to the width of the terminal, because a wrapped line could not be rewritten.
std::string cutToTerminal(const std::string& line)
{
    winsize size{};
    const bool isKnown = ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return isKnown ? line.substr(0, size.ws_col - std::size_t{1}) : line;
}

} // namespace

Progress::Progress(Session& session) : session_(session), isRewritten_(takesEscapes()) {}

Progress::~Progress()
{
    if (isRewritten_ && !shown_.empty()) {
        session_.output << "\r\033[K" << std::flush;
    }
}

void Progress::show(const std::string& lacking, std::chrono::milliseconds left)
{
    const auto line = "waiting for " + networkhost::printable(lacking) + " ... " + secondsText(left);
    const auto text = isRewritten_ ? cutToTerminal(line) : lacking;
    if (std::exchange(shown_, text) == text) {
        return;
    }
    if (isRewritten_) {
        session_.output << '\r' << text << "\033[K" << std::flush;
    } else {
        session_.output << line << std::endl;
    }
}

} // namespace velnetctl
