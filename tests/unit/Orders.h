// SPDX-License-Identifier: MIT
// Several processes over one simulated device, and all orders of what they do to its files and locks.
#pragma once

#include "networksimulation/Device.h"
#include "networksimulation/Files.h"
#include "networksimulation/System.h"

#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace orders {

/// What others may see, or what sees them.
struct Operation
{
    std::string name;               // "rename"
    std::vector<std::string> paths; // of files; kDaemons for a command
    bool isChange = false;
    bool isOfLock = false; // there is no use in a kill before it: the lock goes with the process
    bool hasTurn = false;  // its process holds the lock of changes
};

/// At that point of an order, not the one that runs goes on, but the process of that number ('>'), or that process is
/// killed ('x'), or it is held up until the others have ended or it is chosen ('w'). An order is a list of these:
/// everywhere else, a process runs until it pauses or ends.
struct Choice
{
    std::size_t point = 0;
    char what = '>';
    std::size_t process = 0;
};
using Script = std::vector<Choice>;

struct Option
{
    Choice choice;
    bool isPreemption = false;
    bool isMoot = false;       // the process that goes on could as well have gone further before
    std::size_t situation = 0; // what comes of it is the same in two orders when this is
};

/// Where somebody else could have gone on.
struct Point
{
    std::size_t process = 0;
    Operation operation;
    std::vector<Option> options;
};

struct Process
{
    enum class Told { Nothing, Done, NotDone }; // to its caller

    std::string name;
    Told told = Told::Nothing;
    bool isKilled = false;
    bool hasEnded = false;
    bool isHeldUp = false;
    bool hasWork = true; // false: a guard, which tells nobody
    std::chrono::milliseconds wake{};
    std::size_t history = 0;            // a hash of all that it has seen
    std::optional<std::size_t> pending; // the point at which another one goes on before it
    Process* next = nullptr;            // goes on when it has ended
    std::condition_variable turn;
    std::unique_ptr<networkhost::IFiles::Lock> probing; // see Device::probesTakeLocks
    std::thread thread;
};

using Texts = std::map<std::string, std::optional<std::string>>; // by path; none: there is no file

/// What a power cut would leave at a point, and what had been told until then.
struct Cut
{
    Texts texts;
    std::map<std::string, Process::Told> told; // by the name of the process
    std::size_t point = 0;
};

/// Its processes take turns. Before and after them, the thread of the test uses it alone.
class Device : public networksimulation::Device
{
public:
    /// `known` gets a hash for each of its cuts; one that is there already is none of them.
    /// It is broken off at the first situation after the script that `isKnownSituation` knows.
    Device(Script script, std::set<std::size_t>& known, std::function<bool(std::size_t)> isKnownSituation);
    ~Device() override;

    networkmanager::ISystemIF& system() override { return *system_; }
    networkhost::IFiles& files() override { return *files_; }
    void pause(std::chrono::milliseconds duration) override;
    std::unique_ptr<networkhost::IHints> openHints() override { return nullptr; } // it polls
    bool hasBootGuard() override { return hasGuards; }
    bool startGuard() override; // as that of the real device, with a process for the guard

    /// `work` returns whether it is done.
    void add(const std::string& name, const std::function<bool(networkhost::IDevice&)>& work);
    void addGuard();

    /// Until all processes have ended.
    void run();

    const std::vector<std::unique_ptr<Process>>& processes() const { return processes_; }
    const std::vector<Point>& points() const { return points_; }
    const std::vector<Cut>& cuts() const { return cuts_; }
    bool hasLiveGuard() const;
    std::string text(std::size_t points) const; // the order so far, a line for each operation
    std::string fault;                          // what did not hold; empty when all did

    bool isBrokenOff = false;
    bool hasGuards = true;        // for startGuard()
    bool probesTakeLocks = false; // until the next operation: a planted fault

private:
    friend class Files;
    friend class OwnLock;
    friend class System;

    Process& start(const std::string& name, const std::function<void()>& work);
    void step(const Operation& operation);
    void changed(const std::vector<std::string>& paths);
    void saw(const std::string& result) const;
    void noteCut();
    bool isReady(const Process& process) const;
    std::size_t indexOf(const Process* process) const;
    std::size_t situation(const Process* killed) const;
    bool isMoot(const Process& process) const;
    std::optional<Choice> choose(Operation operation, std::vector<Option> options);
    Process* loneGuard() const;
    std::vector<std::size_t> candidates(bool& isFree);
    Process* next(const char* why);
    void giveTurn(Process* process);
    void awaitTurn(Process* process);

    Script script_;
    std::set<std::size_t>& known_;
    std::function<bool(std::size_t)> isKnownSituation_;
    std::unique_ptr<networkhost::IFiles> files_;
    std::unique_ptr<networkmanager::ISystemIF> system_;
    std::vector<std::unique_ptr<Process>> processes_;
    std::map<std::string, Process*> holders_; // of locks, by path
    std::vector<Point> points_;
    std::vector<Cut> cuts_;
    Texts texts_;              // that have changed
    std::size_t commands_ = 0; // a hash of those that were run, and when
    std::mutex mutex_;
    Process* running_ = nullptr; // nullptr: the test
    std::condition_variable end_;
};

struct Case
{
    std::string name;
    std::function<void(Device&)> prepare; // adds the processes
    std::function<void(Device&)> check;   // when they have ended: sets its fault
    std::function<std::string(const Cut&)> checkCut;
};

struct Found
{
    std::size_t orders = 0;
    std::size_t cuts = 0;
    std::string fault;  // with its order; empty: there is none
    std::string script; // of the order, for replay()
    std::string text;   // the same for people
};

/// All orders with up to so many preemptions, one of which may be a kill, but for those in which only operations
/// that do not concern each other have changed places. Ends at the first fault.
Found explore(const Case& example, int preemptions);

/// One order.
Found replay(const Case& example, const std::string& script);

} // namespace orders
