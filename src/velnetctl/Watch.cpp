// SPDX-License-Identifier: MIT
#include "Watch.h"

#include "Monitor.h"
#include "Picture.h"
#include "Signals.h"

#include <algorithm>
#include <array>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <utility>

#define NCURSES_NOMACROS
#include <curses.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace velnetctl {
namespace {

/// Draws on the terminal. The destructor restores the terminal.
class Screen
{
public:
    Screen() : screen_(open())
    {
        if (!isOpen()) {
            return;
        }
        // Ctrl-C is read as a key. As a signal, it would also end the parent, such as sudo, and too early.
        ::raw();
        ::noecho();
        ::nodelay(stdscr, true);
        ::curs_set(0);
        if (wantsColor() && ::start_color() == OK && ::use_default_colors() == OK) {
            ::init_pair(static_cast<short>(Color::Green), COLOR_GREEN, -1);
            ::init_pair(static_cast<short>(Color::Red), COLOR_RED, -1);
            hasColors_ = true;
        }
    }

    ~Screen()
    {
        if (screen_ != nullptr) {
            ::endwin();
            ::delscreen(screen_);
        }
    }

    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    /// False when the terminal is unknown or cannot move its cursor.
    bool isOpen() const { return screen_ != nullptr && ::tigetstr("cup") != nullptr; }
    int width() const { return ::getmaxx(stdscr); }
    int height() const { return ::getmaxy(stdscr); }

    void resize()
    {
        winsize size{};
        if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_row > 0 && size.ws_col > 0) {
            ::resizeterm(size.ws_row, size.ws_col);
            ::clearok(stdscr, true); // the terminal may have moved its text
        }
    }

    /// Draws the lines and columns that fit.
    void draw(const std::vector<Line>& lines) const
    {
        ::erase();
        for (int y = 0; y < std::min(height(), static_cast<int>(lines.size())); ++y) {
            for (const auto& [column, text, color, isMarked] : lines[static_cast<std::size_t>(y)]) {
                if (column < width()) {
                    const bool isColored = hasColors_ && color && *color != Color::Bold;
                    ::attr_set((color ? A_BOLD : A_NORMAL) | (isMarked ? A_REVERSE : A_NORMAL),
                               isColored ? static_cast<short>(*color) : short(0), nullptr);
                    ::mvaddnstr(y, column, text.c_str(), width() - column);
                }
            }
        }
        ::attr_set(A_NORMAL, 0, nullptr);
        ::refresh();
    }

private:
    static SCREEN* open()
    {
        static_cast<void>(std::setlocale(LC_CTYPE, ""));
        return takesEscapes() ? ::newterm(nullptr, stdout, stdin) : nullptr; // initscr() would end the process
    }

    SCREEN* screen_;
    bool hasColors_ = false;
};

/// Reads the signals. False when one of them ends it.
bool goesOn(int signals, Screen& screen)
{
    bool result = true;
    signalfd_siginfo signal{};
    while (::read(signals, &signal, sizeof signal) == sizeof signal) {
        if (signal.ssi_signo == SIGWINCH) {
            screen.resize();
        } else {
            result = false;
        }
    }
    return result;
}

constexpr int kCtrlC = 3;

/// Reads the keys that are there. The end of the terminal counts as Ctrl-C.
std::vector<int> readKeys()
{
    std::vector<int> keys;
    for (int key = ::getch(); key != ERR; key = ::getch()) {
        keys.push_back(key);
    }
    return keys.empty() ? std::vector{kCtrlC} : keys;
}

bool hasEnd(const std::vector<int>& keys)
{
    return std::any_of(keys.begin(), keys.end(), [](int key) { return key == 'q' || key == kCtrlC; });
}

networkhost::Outcome rollBackByKey(networkhost::IDevice& device)
{
    return networkhost::rollBack(device, "a key of velnetctl watch asked for it");
}

/// Confirms or rolls back the pending trial when a key asks for it.
class TrialKeys
{
public:
    TrialKeys(Observer& observer, Picture& picture) : observer_(observer), picture_(picture) {}

    void take(const std::vector<int>& keys, const networkhost::TrialState& trial)
    {
        picture_.tell({});
        for (const int key : keys) {
            if (trial.isPending() && !isAtWork_ && (key == 'c' || key == 'r')) {
                isAtWork_ = true;
                observer_.start(key == 'c' ? networkhost::confirmTrial : rollBackByKey, [this](const auto& outcome) {
                    isAtWork_ = false;
                    picture_.tell(outcome.reason);
                });
            }
        }
    }

private:
    Observer& observer_;
    Picture& picture_;
    bool isAtWork_ = false;
};

/// The timeout for poll: the time until the picture changes by itself.
int timeout(const Picture& picture, const networkhost::TrialState& trial, Picture::Time now)
{
    constexpr int kSecond = 1000;
    if (trial.isPending() && trial.left.count() > 0) {
        return static_cast<int>(trial.left.count() % kSecond) + 1;
    }
    return trial.isPending() || picture.hasMarks(now) ? kSecond : -1;
}

} // namespace

bool watch(Session& session)
{
    if (::isatty(STDIN_FILENO) != 1 || ::isatty(STDOUT_FILENO) != 1) {
        fail(session, "watch needs a terminal; where there is none, use: velnetctl monitor");
        return false;
    }
    const auto signals = openSignals({SIGHUP, SIGINT, SIGTERM, SIGWINCH});
    Screen screen;
    if (!screen.isOpen()) {
        const char* type = std::getenv("TERM");
        fail(session, "watch cannot draw on a terminal of the type '" + std::string(type == nullptr ? "" : type) +
                          "' (TERM); use: velnetctl monitor");
        return false;
    }
    auto& device = session.device;
    Picture picture;
    bool isComplete = false; // the first reports are the present values, not changes
    networkhost::TrialState trial;
    Observer observer(device, [&](const Change& change) {
        if (isComplete) {
            picture.add(headOf(change).substr(sizeof "2026-05-04"), change.text, device.now());
        }
    });
    TrialKeys trialKeys(observer, picture);
    std::array<pollfd, 3> watched{{{signals.get(), POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}, {observer.fd(), POLLIN, 0}}};
    for (int limit = -1;;) {
        if (::poll(watched.data(), watched.size(), limit) < 0) {
            continue; // EINTR: the process was stopped for a while
        }
        const auto keys = watched[1].revents != 0 ? readKeys() : std::vector<int>();
        if (hasEnd(keys) || (watched[0].revents != 0 && !goesOn(signals.get(), screen))) {
            return true;
        }
        if (!keys.empty()) {
            trialKeys.take(keys, trial);
        }
        if (observer.dispatch()) {
            auto sections = sectionsOf(observer.snapshot());
            std::rotate(sections.begin(), sections.begin() + 2, sections.end()); // the interfaces come first
            picture.show(sections, device.now());
            isComplete = true;
        }
        trial = trialState(device);
        const auto now = device.now();
        screen.draw(picture.lines(trial, screen.width(), screen.height(), now));
        limit = timeout(picture, trial, now);
    }
}

} // namespace velnetctl
