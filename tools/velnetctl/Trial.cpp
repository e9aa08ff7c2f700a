// SPDX-License-Identifier: MIT
#include "Trial.h"

#include "Json.h"
#include "base/FileDescriptor.h"
#include "networkhost/Checks.h"
#include "networkhost/Guard.h"
#include "networkhost/SplitRights.h"
#include "networkhost/Trial.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <iostream>

#include <fcntl.h>
#include <poll.h>
#include <syslog.h>
#include <termios.h>
#include <unistd.h>

namespace velnetctl {

using networkhost::TrialState;

namespace {

/// True when there is a line, or the end, of the standard input within that time.
bool isLineThere(std::chrono::milliseconds limit)
{
    pollfd input{STDIN_FILENO, POLLIN, 0};
    return ::poll(&input, 1, static_cast<int>(limit.count())) > 0;
}

bool isEnter()
{
    std::string line;
    return static_cast<bool>(std::getline(std::cin, line));
}

/// The session's own view of the end.
bool reportEnd(Session& session)
{
    const auto state = endOfTrial(session.device);
    session.output << '\n' << networkhost::printable(state.text()) << std::endl;
    return state.kind == TrialState::Kind::Confirmed;
}

bool report(Session& session, const networkhost::Outcome& outcome)
{
    if (outcome.isDone) {
        session.output << networkhost::printable(trialState(session.device).text()) << std::endl;
    } else {
        fail(session, outcome.reason);
    }
    for (const auto& note : outcome.notes) {
        warn(session, note);
    }
    return outcome.isDone;
}

const char* nameOf(TrialState::Kind kind)
{
    switch (kind) {
    case TrialState::Kind::None:
        return "none";
    case TrialState::Kind::Waiting:
        return "waiting";
    case TrialState::Kind::Counting:
        return "counting";
    case TrialState::Kind::RollingBack:
        return "rolling back";
    case TrialState::Kind::Unreadable:
        return "unreadable";
    case TrialState::Kind::Confirmed:
        return "confirmed";
    case TrialState::Kind::RolledBack:
        return "rolled back";
    }
    return "";
}

/// A process of a session of its own, which no terminal and no caller's end takes along. False in the caller.
bool detach()
{
    if (const pid_t child = ::fork(); child != 0) {
        return false;
    }
    ::setsid();
    static_cast<void>(::chdir("/"));
    const int nothing = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        ::dup2(nothing, fd);
    }
    return true;
}

} // namespace

bool awaitConfirmation(Session& session, std::chrono::seconds time)
{
    if (::isatty(STDIN_FILENO) != 1 || ::isatty(STDOUT_FILENO) != 1) {
        session.output << "trial: confirm within " << time.count() << " s with: velnetctl confirm" << std::endl;
        return true;
    }
    constexpr std::chrono::milliseconds kBetweenLooks(200);
    ::tcflush(STDIN_FILENO, TCIFLUSH); // what was typed before the question is no answer
    for (auto state = trialState(session.device); state.kind == TrialState::Kind::Counting;
         state = trialState(session.device)) {
        const auto left = std::chrono::ceil<std::chrono::seconds>(state.left).count();
        session.output << "\rtrial: Enter keeps the setting; it is rolled back in " << std::max<long long>(left, 0)
                       << " s \033[K" << std::flush;
        if (state.left <= std::chrono::milliseconds(0)) {
            wakeGuard(session.device);
        }
        if (isLineThere(kBetweenLooks)) {
            return isEnter() && confirm(session);
        }
    }
    return reportEnd(session);
}

bool confirm(Session& session)
{
    return report(session, networkhost::confirmTrial(session.device));
}

bool rollBack(Session& session)
{
    return report(session, networkhost::rollBack(session.device, "velnetctl rollback was called"));
}

bool printPending(Session& session, bool json)
{
    wakeGuard(session.device);
    const auto state = trialState(session.device);
    if (json) {
        const auto left = state.isPending() ? std::max<long long>(state.left.count(), 0) : 0;
        const Json object = {{"pending", state.isPending()},
                             {"state", nameOf(state.kind)},
                             {"title", state.title},
                             {"by", state.by},
                             {"secondsLeft", static_cast<double>(left) / 1000},
                             {"files", state.files},
                             {"why", state.why}};
        session.output << dump(object, 2) << '\n';
    } else {
        session.output << networkhost::printable(state.text()) << '\n';
    }
    return state.isPending();
}

bool guard(Session& session, GuardKind kind)
{
    if (kind == GuardKind::Detached && !detach()) {
        return true;
    }
    const auto say = [&](const std::string& line) {
        if (kind == GuardKind::Detached) {
            ::syslog(LOG_DAEMON | LOG_WARNING, "%s", networkhost::printable(line).c_str());
        } else {
            fail(session, line);
        }
    };
    if (kind == GuardKind::Boot) {
        return networkhost::restoreAtBoot(session.device, say);
    }
    return networkhost::splitRights(session.device,
                                    [&](networkhost::IDevice& device) { networkhost::guardTrials(device, say); });
}

} // namespace velnetctl
