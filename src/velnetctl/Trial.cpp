// SPDX-License-Identifier: MIT
#include "Trial.h"

#include "Progress.h"
#include "Signals.h"
#include "Text.h"
#include "base/FileDescriptor.h"
#include "networkhost/change/Guard.h"
#include "networkhost/state/Snapshot.h"
#include "networkhost/text/Checks.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <csignal>
#include <optional>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <syslog.h>
#include <termios.h>
#include <unistd.h>

namespace velnetctl {

using networkhost::TrialState;

namespace {

enum class Answer { None, Keep, GoBack, Unclear, Leave };

/// The meaning of a typed line.
Answer answerOf(std::string line)
{
    const auto isBlank = [](unsigned char letter) { return std::isspace(letter) != 0; };
    line.erase(std::remove_if(line.begin(), line.end(), isBlank), line.end());
    line = lowerCase(std::move(line));
    for (const auto& [text, answer] : {std::pair("", Answer::Keep),
                                       {"y", Answer::Keep},
                                       {"yes", Answer::Keep},
                                       {"confirm", Answer::Keep},
                                       {"n", Answer::GoBack},
                                       {"no", Answer::GoBack},
                                       {"q", Answer::GoBack},
                                       {"rollback", Answer::GoBack}}) {
        if (line == text) {
            return answer;
        }
    }
    return Answer::Unclear;
}

/// Reads the terminal: lines of the standard input, its end, and the keys that would end this program.
class Terminal
{
public:
    Terminal() : signals_(openSignals({SIGINT, SIGQUIT})) {}

    bool isAskedToLeave() const
    {
        pollfd signals{signals_.get(), POLLIN, 0};
        return ::poll(&signals, 1, 0) > 0;
    }

    /// Waits for an answer, at most until the limit.
    Answer read(std::chrono::milliseconds limit)
    {
        std::array<pollfd, 2> watched{{{signals_.get(), POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}}};
        if (::poll(watched.data(), watched.size(), static_cast<int>(limit.count())) <= 0) {
            return Answer::None;
        }
        std::array<char, 256> part{};
        const auto count = watched[0].revents != 0 ? 0 : ::read(STDIN_FILENO, part.data(), part.size());
        if (count <= 0) {
            return Answer::Leave;
        }
        line_.append(part.data(), static_cast<std::size_t>(count));
        return line_.find('\n') == std::string::npos ? Answer::None : answerOf(std::exchange(line_, {}));
    }

private:
    velbase2::system::FileDescriptor signals_;
    std::string line_;
};

/// Thrown to end the wait of a trial when the user leaves.
struct Left
{};

bool leave(Session& session)
{
    const auto state = trialState(session.device);
    if (state.kind != TrialState::Kind::Waiting && state.kind != TrialState::Kind::Counting) {
        fail(session, state.text());
        return false;
    }
    if (state.kind == TrialState::Kind::Waiting) {
        fail(session, state.title + " was not live yet: its guard rolls it back now");
        return false;
    }
    fail(session, "the trial goes on without this terminal: " + state.title + " is rolled back in " +
                      secondsText(state.left) + " unless it is confirmed");
    fail(session, "velnetctl confirm keeps it, velnetctl rollback goes back at once");
    return false;
}

/// Prints how the trial ended.
bool reportEnd(Session& session)
{
    const auto state = endOfTrial(session.device);
    session.output << '\n' << printableLines(state.text()) << std::flush;
    return state.kind == TrialState::Kind::Confirmed;
}

/// When no trial is pending, it says that, even if another fault came first, such as missing rights.
bool report(Session& session, const networkhost::Outcome& outcome)
{
    const auto state = trialState(session.device);
    if (outcome.isDone) {
        session.output << printableLines(state.text()) << std::flush;
    } else {
        fail(session, state.isPending() ? outcome.reason : state.text());
    }
    for (const auto& note : outcome.notes) {
        warn(session, note);
    }
    return outcome.isDone;
}

/// Starts a process in a session of its own, which survives its terminal and its caller. False in the caller.
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

/// Asks on the terminal; true when the setting was kept.
bool ask(Session& session, Terminal& terminal)
{
    constexpr std::chrono::milliseconds kBetweenLooks(200);
    const bool isRewritten = takesEscapes();
    std::string shown;
    for (auto state = trialState(session.device); state.kind == TrialState::Kind::Counting;
         state = trialState(session.device)) {
        auto question =
            "trial: Enter keeps the setting, n goes back; it is rolled back in " + secondsText(state.left) + ": ";
        question.resize(std::max(question.size(), shown.size()), ' ');
        if (shown.empty()) {
            session.output << question << std::flush;
        } else if (isRewritten && question != shown) {
            // Keeps the text that is being typed behind the question.
            session.output << "\0337\r" << question << "\0338" << std::flush;
        }
        shown = shown.empty() || isRewritten ? question : shown;
        if (state.left <= std::chrono::milliseconds(0)) {
            wakeGuard(session.device);
        }
        switch (terminal.read(kBetweenLooks)) {
        case Answer::Keep:
            return confirm(session);
        case Answer::GoBack:
            rollBack(session);
            return false;
        case Answer::Leave:
            session.output << std::endl;
            return leave(session);
        case Answer::Unclear:
            session.output << "trial: that is no answer: Enter, y or yes keeps the setting; n, no, q or rollback goes "
                              "back at once"
                           << std::endl;
            shown.clear();
            break;
        case Answer::None:
            break;
        }
    }
    return reportEnd(session);
}

} // namespace

bool tryPlan(Session& session, const networkhost::Plan& plan, const ChangeOptions& options)
{
    std::optional<Terminal> terminal;
    if (::isatty(STDIN_FILENO) == 1 && ::isatty(STDOUT_FILENO) == 1) {
        terminal.emplace();
    }
    networkhost::TrialOptions trial;
    trial.time = *options.trial;
    trial.wait = options.wait.value_or(std::chrono::duration_cast<std::chrono::seconds>(trial.wait));
    trial.force = options.force;
    trial.requiresBootGuard = options.requiresBootGuard;
    networkhost::Outcome outcome;
    try {
        Progress progress(session);
        trial.onWaiting = [&](const std::string& lacking, std::chrono::milliseconds left) {
            progress.show(lacking, left);
            if (terminal && terminal->isAskedToLeave()) {
                throw Left();
            }
        };
        outcome = networkhost::tryOut(session.device, plan, trial);
    } catch (const Left&) {
        return leave(session);
    }
    if (!outcome.isDone) {
        printFailure(session, outcome);
        return false;
    }
    for (const auto& note : outcome.notes) {
        warn(session, note);
    }
    if (!terminal) {
        session.output << "trial: confirm within " << trial.time.count() << " s with: velnetctl confirm" << std::endl;
        return true;
    }
    ::tcflush(STDIN_FILENO, TCIFLUSH); // drops text that was typed before the question
    return ask(session, *terminal);
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
        session.output << toJson(state) << '\n';
    } else {
        session.output << printableLines(state.text());
    }
    return state.isPending();
}

bool guard(Session& session, GuardKind kind)
{
    if (kind == GuardKind::Detached && !detach()) {
        return true;
    }
    const auto report = [&](const std::string& line) {
        if (kind == GuardKind::Detached) {
            ::syslog(LOG_DAEMON | LOG_WARNING, "%s", networkhost::printable(line).c_str());
        } else {
            fail(session, line);
        }
    };
    if (kind == GuardKind::Boot) {
        return networkhost::restoreAtBoot(session.device, report);
    }
    return networkhost::runGuard(session.device, report);
}

} // namespace velnetctl
