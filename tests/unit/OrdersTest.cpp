// SPDX-License-Identifier: MIT
// Runs the callers and guards of trials as processes of one simulated device, in all orders. See docs/testing.md.
#include "base/Paths.h"
#include "networkhost/change/Apply.h"
#include "networkhost/change/Guard.h"
#include "networkhost/change/RollBack.h"
#include "networkhost/change/RollBackSteps.h"
#include "networkhost/change/Trial.h"
#include "networkhost/plan/Requests.h"
#include "networkhost/state/LiveState.h"
#include "networkhost/state/Missing.h"
#include "networkhost/state/TrialRecord.h"
#include "networksimulation/Device.h"
#include "networksimulation/Files.h"
#include "networksimulation/RecordingLog.h"
#include "networksimulation/System.h"

#include <condition_variable>
#include <cstdlib>
#include <sstream>
#include <thread>

#include <boost/functional/hash.hpp>
#include <gmock/gmock.h>

using networkhost::TrialState;
using std::chrono::milliseconds;
using std::chrono::seconds;

namespace {

struct Killed
{};

/// An event at a point of an order. The process that is about to act lets the others run first until they pause ('y'),
/// is stopped until the next event or for 15 s ('s'), or is killed ('k').
struct Event
{
    std::size_t point = 0;
    char what = 'y';
};
using Script = std::vector<Event>; // at all other points, a process continues until it pauses or ends

/// The possible events at a point. Each has a hash of everything that matters for the steps after it.
using Choices = std::map<char, std::size_t>;

struct Process
{
    std::string name;
    milliseconds wake{};
    std::optional<bool> isDone; // the answer to the caller
    bool hasEnded = false;
    bool isKilled = false;
    bool isStopped = false;
    std::size_t history = 0; // a hash of everything that the process has done and seen
    std::size_t deeds = 0;   // a hash of everything that other processes can notice
    std::condition_variable turn;
    std::thread thread;
};

thread_local Process* theProcess =
    nullptr; // NOLINT(cppcoreguidelines-avoid-non-const-global-variables): each thread has its own

using Answers = std::map<std::string, std::optional<bool>>; // by the name of the process
using Texts = std::map<std::string, std::string>;           // changed files by path; empty when there is no file

/// A device whose processes run one at a time. Each operation on a record, a lock, a configuration file or a daemon is
/// a point, at which another process may continue.
class Device : public networksimulation::Device
{
public:
    explicit Device(Script script);

    networkmanager::ISystemIF& system() override { return *system_; }
    networkhost::IFiles& files() override { return *files_; }
    std::unique_ptr<networkhost::IHints> openHints() override { return nullptr; } // it polls
    bool hasBootGuard() override { return hasGuards; }

    void add(const std::string& name, const std::function<bool(Device&)>& work)
    {
        auto& process = *processes.emplace_back(std::make_unique<Process>());
        process.name = name;
        process.wake = now();
        process.thread = std::thread([this, work, &process] {
            awaitTurn(&process);
            theProcess = &process;
            try {
                process.isDone = work(*this);
            } catch (const Killed&) { // the unwinding has released its locks
            }
            process.hasEnded = true;
            saw(std::to_string(process.isDone.value_or(false)));
            noteCut();
            giveTurn(next());
        });
    }

    void addGuard()
    {
        add("guard", [](Device& device) {
            networkhost::guardTrials(device, [](const std::string&) {});
            return true;
        });
    }

    bool hasGuard(bool evenKilled = false) const
    {
        return std::any_of(processes.begin(), processes.end(), [evenKilled](const auto& process) {
            return process->name == "guard" && (!process->hasEnded || (evenKilled && process->isKilled));
        });
    }

    /// Does what the real device does. The guard is a process of this device.
    bool startGuard(const std::function<bool()>& isUp) override
    {
        for (int tries = 0; tries < 3 && theProcess != nullptr; ++tries) {
            if (isUp()) {
                return true;
            }
            if (hasGuards && !hasGuard()) {
                addGuard();
            }
            pause(milliseconds(10));
        }
        return theProcess == nullptr;
    }

    /// Runs until all processes have ended.
    void run()
    {
        giveTurn(next());
        awaitTurn(nullptr);
        for (const auto& process : processes) {
            process->thread.join();
        }
    }

    /// A point before an operation. Returns when it is the turn of this process.
    void step(const std::string& operation, const std::string& path, bool canBeKilled = true)
    {
        auto* const self = theProcess;
        if (self == nullptr) {
            return;
        }
        self->wake = now();
        trace.push_back(self->name + ": " + operation + ' ' + path);
        saw(trace.back());
        choices.push_back(choicesOf(*self, canBeKilled));
        if (operation != "read" && operation != "probe") {
            boost::hash_combine(self->deeds, trace.back());
        }
        constexpr std::size_t kMost = 10000;
        if (trace.size() > kMost && canBeKilled) {
            fault = "this order does not end";
            self->isKilled = true;
            throw Killed();
        }
        const auto event = std::find_if(script_.begin(), script_.end(),
                                        [this](const auto& one) { return one.point + 1 == trace.size(); });
        if (event != script_.end()) {
            trace.back() += std::string("   <- ") + event->what;
            if (event->what == 'k') {
                self->isKilled = true;
                throw Killed();
            }
            for (const auto& process : processes) {
                process->wake = process->isStopped ? now() : process->wake;
            }
            self->isStopped = event->what == 's';
            self->wake += self->isStopped ? seconds(15) : seconds(0);
            passTurn();
            self->isStopped = false;
        }
    }

    void pause(milliseconds duration) override
    {
        if (theProcess == nullptr && now() > std::chrono::minutes(10)) {
            throw std::runtime_error("the guard of the test does not end");
        }
        if (theProcess == nullptr) {
            return advance(duration);
        }
        constexpr milliseconds kShortest(200); // enough for the daemons, and saves looks
        theProcess->wake = now() + std::max(duration, kShortest);
        passTurn();
    }

    /// Notes a result that the running process has learnt.
    void saw(const std::string& result)
    {
        if (theProcess != nullptr) {
            boost::hash_combine(theProcess->history, result);
        }
    }

    static std::size_t history() { return theProcess == nullptr ? 0 : theProcess->history; }

    static void forgetUntil(std::size_t history)
    {
        if (theProcess != nullptr) {
            theProcess->history = history;
        }
    }

    void changed(const std::vector<std::string>& paths)
    {
        for (const auto& path : paths) {
            texts_[path] = textOf(path);
        }
        textsHash_ = boost::hash_value(texts_);
        noteCut();
    }

    void hasRun(const std::string& command)
    {
        for (const auto part : {boost::hash_value(command), boost::hash_value(now().count()), textsHash_}) {
            boost::hash_combine(daemonsHash_, part);
        }
    }

    std::vector<std::unique_ptr<Process>> processes;
    std::vector<std::string> trace;           // the operations in order
    std::vector<Choices> choices;             // the choices before each operation
    std::set<std::pair<Texts, Answers>> cuts; // files that a power cut may leave, and the answers before it
    std::string fault;                        // the first failed check; empty when there is none
    bool hasGuards = true;                    // for startGuard()
    bool probesTakeLocks = false;             // a deliberate fault

private:
    Choices choicesOf(const Process& self, bool canBeKilled) const
    {
        Choices result;
        const auto add = [&](char what) {
            auto hash = boost::hash_value(what);
            boost::hash_combine(hash, textsHash_);
            boost::hash_combine(hash, daemonsHash_);
            for (const auto& process : processes) {
                const bool isGone = process->isKilled || (what == 'k' && process.get() == &self);
                boost::hash_combine(hash, isGone ? process->deeds : process->history);
                boost::hash_combine(hash, isGone);
                boost::hash_combine(hash, process.get() == &self);
                boost::hash_combine(hash, process->wake > now());
            }
            result[what] = hash;
        };
        const auto isOther = [&](const auto& process) { return process.get() != &self && !process->hasEnded; };
        if (std::any_of(processes.begin(), processes.end(), isOther)) {
            add('y');
            add('s');
        }
        if (canBeKilled) {
            add('k');
        }
        return result;
    }

    /// Returns the next awake process in turn, the running one last. Advances the clock while no process is awake.
    Process* next()
    {
        std::size_t first = 0;
        for (std::size_t i = 0; i < processes.size(); ++i) {
            first = processes[i].get() == theProcess ? i + 1 : first;
        }
        for (;;) {
            auto earliest = milliseconds::max();
            for (std::size_t i = 0; i < processes.size(); ++i) {
                auto& process = *processes[(first + i) % processes.size()];
                if (!process.hasEnded && process.wake <= now()) {
                    return &process;
                }
                earliest = process.hasEnded ? earliest : std::min(earliest, process.wake);
            }
            if (earliest == milliseconds::max()) {
                return nullptr;
            }
            advance(earliest - now());
        }
    }

    void passTurn()
    {
        auto* const self = theProcess;
        if (auto* const other = next(); other != self) {
            giveTurn(other);
            awaitTurn(self);
        }
    }

    void giveTurn(Process* process)
    {
        const std::lock_guard guard(mutex_);
        running_ = process;
        (process == nullptr ? turn_ : process->turn).notify_one();
    }

    void awaitTurn(Process* process)
    {
        std::unique_lock lock(mutex_);
        (process == nullptr ? turn_ : process->turn).wait(lock, [&] { return running_ == process; });
    }

    void noteCut()
    {
        Answers answers;
        for (const auto& process : processes) {
            answers[process->name] = process->isDone;
        }
        cuts.emplace(texts_, answers);
    }

    Script script_;
    Texts texts_;
    std::size_t textsHash_ = 0;
    std::size_t daemonsHash_ = 0; // of the commands to the daemons and their times
    std::unique_ptr<networkhost::IFiles> files_;
    std::unique_ptr<networkmanager::ISystemIF> system_;
    std::mutex mutex_;
    std::condition_variable turn_; // wakes the test
    Process* running_ = nullptr;   // nullptr while the test runs
};

/// The release of this lock is a point as well, except in a killed process.
class OwnLock : public networkhost::IFiles::Lock
{
public:
    OwnLock(Device& device, std::string path, std::unique_ptr<networkhost::IFiles::Lock> lock)
        : device_(device), path_(std::move(path)), lock_(std::move(lock))
    {}
    OwnLock(const OwnLock&) = delete;
    OwnLock& operator=(const OwnLock&) = delete;
    ~OwnLock() override // NOLINT(bugprone-exception-escape): no process is killed here
    {
        if (theProcess != nullptr && !theProcess->isKilled) {
            device_.step("unlock", path_, false);
        }
    }

private:
    Device& device_;
    std::string path_;
    std::unique_ptr<networkhost::IFiles::Lock> lock_;
};

class Files : public networksimulation::Files
{
public:
    using Base = networksimulation::Files;
    explicit Files(Device& device) : Base(device.disk()), device_(device) {}

    std::error_code read(const std::string& path, std::string& text) const override
    {
        if (path.rfind(velbase2::system::paths::kTrialDirectory, 0) == 0) {
            device_.step("read", path);
        }
        const auto error = Base::read(path, text);
        device_.saw(error.message() + text);
        return error;
    }
    std::error_code replace(const std::string& path, const std::string& text,
                            const networkhost::Rights* rights) override
    {
        device_.step("replace", path);
        const auto error = Base::replace(path, text, rights);
        device_.changed({path});
        return error;
    }
    std::error_code remove(const std::string& path) override
    {
        device_.step("remove", path);
        const auto error = Base::remove(path);
        device_.changed({path});
        return error;
    }
    std::error_code rename(const std::string& from, const std::string& to) override
    {
        device_.step("rename", from + ' ' + to);
        const auto error = Base::rename(from, to);
        device_.saw(error.message());
        device_.changed({from, to}); // a power cut cannot separate the two
        return error;
    }
    std::error_code tryLock(const std::string& path, std::unique_ptr<networkhost::IFiles::Lock>& lock,
                            std::string& holder) override
    {
        const auto history = device_.history();
        device_.step("lock", path);
        std::unique_ptr<networkhost::IFiles::Lock> own;
        const auto error = Base::tryLock(path, own, holder);
        if (error) {
            device_.forgetUntil(history); // a further try is like the one before
        } else {
            lock = std::make_unique<OwnLock>(device_, path, std::move(own));
        }
        return error;
    }
    std::error_code probeLock(const std::string& path, std::string& holder) const override
    {
        if (device_.probesTakeLocks) {
            std::unique_ptr<networkhost::IFiles::Lock> own;
            return device_.files().tryLock(path, own, holder);
        }
        device_.step("probe", path);
        const auto error = Base::probeLock(path, holder);
        device_.saw(error.message());
        return error;
    }

private:
    Device& device_;
};

class System : public networksimulation::System
{
public:
    explicit System(Device& device) : networksimulation::System(device.disk(), device.shell()), device_(device) {}
    using networksimulation::System::executeCmd;

    bool executeCmd(const std::string& command, std::string& output, std::string& errorOutput) override
    {
        device_.step("run", command);
        device_.hasRun(command);
        return networksimulation::System::executeCmd(command, output, errorOutput);
    }

private:
    Device& device_;
};

Device::Device(Script script)
    : script_(std::move(script)), files_(std::make_unique<Files>(*this)), system_(std::make_unique<System>(*this))
{}

// --- The processes and the checks

enum class Start { Idle, Counting, Over, EarlierBoot }; // of the trial
enum class Role { Begin, Confirm, RollBack, RootsRollBack, Guard, BootGuard, WakeGuard, Apply };

struct Case
{
    const char* name;
    Start start;
    std::vector<Role> roles;
    bool hasGuards = true;
    bool probesTakeLocks = false;
};

std::ostream& operator<<(std::ostream& stream, const Case& example)
{
    return stream << example.name;
}

/// A trial with two files, and another change to one of them.
struct Plans
{
    networkhost::Plan trial;
    networkhost::Plan other;
};

const Plans& plans()
{
    static const Plans thePlans = [] {
        networksimulation::Device own;
        return Plans{planIp(own, "remote", {"192.168.50.20", "255.255.255.0", false, ""}, {"10.0.0.53"}),
                     planDnsServer(own, "10.0.0.54", 0)};
    }();
    return thePlans;
}

bool begin(networkhost::IDevice& device)
{
    networkhost::TrialOptions options;
    options.time = seconds(1);
    options.wait = seconds(1);
    options.force = true;
    return tryOut(device, plans().trial, options).isDone;
}

void add(Device& device, Role role)
{
    switch (role) {
    case Role::Begin:
        return device.add("begin", [](Device& own) {
            const bool isDone = begin(own);
            const bool isPending = !own.textOf(velbase2::system::paths::kTrial).empty();
            own.fault = isDone && isPending && !own.hasGuard(true) ? "a trial counts, and nobody guards it" : own.fault;
            return isDone;
        });
    case Role::Confirm:
        return device.add("confirm", [](Device& own) { return confirmTrial(own).isDone; });
    case Role::RollBack:
        return device.add("rollback", [](Device& own) { return rollBack(own, "asked for").isDone; });
    case Role::RootsRollBack: // of another user's trial
        return device.add("root's rollback", [](Device& own) {
            networkhost::RollBackOptions options;
            options.breaksLock = true;
            options.endsWithoutTurn = true;
            return rollBackTrial(own, "asked for", options).isDone;
        });
    case Role::Guard:
        return device.addGuard();
    case Role::BootGuard:
        return device.add("boot guard", [](Device& own) {
            const bool isDone = networkhost::restoreAtBoot(own, [](const std::string&) {});
            own.system().reloadSettings(); // now the daemons start
            own.system().reloadResolveD();
            return isDone;
        });
    case Role::WakeGuard:
        return device.add("wakeGuard", [](Device& own) {
            wakeGuard(own);
            return true;
        });
    case Role::Apply:
        return device.add("apply", [](Device& own) { return apply(own, plans().other).isDone; });
    }
}

void prepare(Device& device, const Case& example)
{
    if (example.start != Start::Idle && !begin(device)) {
        throw std::logic_error("the trial did not begin");
    }
    if (example.start == Start::Over) {
        device.advance(seconds(1));
    } else if (example.start == Start::EarlierBoot) {
        device.removeGuards();
        device.reboot();
        device.repair();
    }
    device.hasGuards = example.hasGuards;
    device.probesTakeLocks = example.probesTakeLocks;
    std::for_each(example.roles.begin(), example.roles.end(), [&device](Role role) { add(device, role); });
}

/// Names what is wrong with the files, or with the answers about them.
std::string faultOf(networksimulation::Device& device, Answers answers)
{
    const auto isAs = [&](const networkhost::FileChange& file, const std::optional<std::string>& text) {
        return device.textOf(file.path) == text.value_or("");
    };
    const auto& files = plans().trial.files;
    const auto& other = plans().other.files.front();
    const bool isOther = isAs(other, other.after);
    const bool isNew = std::all_of(files.begin(), files.end(), [&](const auto& f) { return isAs(f, f.after); });
    const bool isOld = std::all_of(files.begin(), files.end(), [&](const auto& file) {
        return isAs(file, file.before) || (isOther && file.path == other.path);
    });
    const auto state = trialState(device);
    const auto lacking = networkhost::missing(readConfiguration(device.files()), readLiveState(device));
    const bool isConfirmed = state.kind == TrialState::Kind::Confirmed;
    if (state.isPending()) {
        return state.text();
    }
    if (isNew == isOld || isNew != isConfirmed) {
        return std::string("the files are ") + (isNew ? "new" : isOld ? "old" : "mixed") + ", and " + state.text();
    }
    if (isNew ? answers["rollback"] == true || answers["confirm"] == false : answers["confirm"] == true) {
        return "somebody was told otherwise";
    }
    if (answers["apply"] && answers["apply"] != isOther) {
        return "the other change was told otherwise";
    }
    return lacking.empty() ? "" : "the device lacks " + lacking;
}

/// Checks the device after all processes have ended and a further guard has run.
void check(Device& device)
{
    Answers answers;
    bool isKilled = false;
    const bool breaksLock = device.processes.at(1)->name == "root's rollback"; // then a kill breaks no promise
    for (const auto& process : device.processes) {
        answers[process->name] = process->isDone;
        isKilled = isKilled || process->isKilled;
        if (process->isKilled && (breaksLock || process->name == "apply" || process->name == "boot guard")) {
            device.system().reloadSettings();
            device.system().reloadResolveD();
        }
    }
    if (trialState(device).isPending() && !isKilled && answers.count("guard") != 0) {
        device.fault = "a trial is pending, and its guard has ended";
        return;
    }
    networkhost::guardTrials(device, [](const std::string&) {});
    device.settle();
    device.fault = faultOf(device, answers);
}

std::string faultAfterCut(const Texts& texts, const Answers& answers)
{
    networksimulation::Device device;
    device.reboot(); // the next boot must differ from the boot of any record
    device.reboot();
    for (const auto& [path, text] : texts) {
        text.empty() ? static_cast<void>(device.files().remove(path)) : device.put(path, text);
    }
    device.reboot();
    return faultOf(device, answers);
}

// --- All orders

bool has(const Script& script, char what)
{
    return std::any_of(script.begin(), script.end(), [what](const Event& event) { return event.what == what; });
}

std::string textOf(const Script& script)
{
    std::string text;
    for (const auto& event : script) {
        text += (text.empty() ? "" : ",") + std::to_string(event.point) + event.what;
    }
    return text;
}

Script scriptOf(const std::string& text)
{
    Script script;
    std::istringstream words(text);
    for (Event event; words >> event.point >> event.what; words.ignore()) {
        script.push_back(event);
    }
    return script;
}

/// The orders of a case.
class Orders
{
public:
    explicit Orders(const Case& example) : example_(example) { plans(); }

    /// Runs all orders with at most this many events. At most one event kills a process. At most one stops a process,
    /// and it counts as two. When two orders lead to the same situation, only one is continued. Ends at the first
    /// fault.
    void explore(std::size_t events)
    {
        std::vector<std::vector<Script>> scripts(events + 1); // by the count of their events
        scripts[0] = {{}};
        for (std::size_t much = 0; much <= events; ++much) {
            for (std::size_t i = 0; i < scripts[much].size() && fault.empty(); ++i) {
                const auto script = scripts[much][i];
                const auto choices = run(script);
                for (auto point = script.empty() ? 0 : script.back().point + 1; point < choices.size(); ++point) {
                    for (const auto& [what, situation] : choices[point]) {
                        const auto more = much + (what == 's' ? 2 : 1);
                        const bool isSecond = what != 'y' && has(script, what);
                        if (more <= events && !isSecond && seen_.insert(situation).second) {
                            scripts[more].push_back(script);
                            scripts[more].back().push_back({point, what});
                        }
                    }
                }
            }
        }
    }

    /// Runs one order. Returns the possible events at its points.
    std::vector<Choices> run(const Script& script)
    {
        std::vector<Choices> choices;
        std::set<std::pair<Texts, Answers>> cuts;
        {
            Device device(script);
            prepare(device, example_);
            device.run();
            if (device.fault.empty()) {
                check(device);
            }
            fault = device.fault;
            trace = device.trace;
            choices = device.choices;
            cuts.swap(device.cuts);
        }
        for (const auto& cut : cuts) {
            if (fault.empty() && cuts_.insert(cut).second) {
                fault = faultAfterCut(cut.first, cut.second);
                fault += fault.empty() ? "" : " (after a power cut)";
            }
        }
        last = textOf(script);
        ++count;
        return choices;
    }

    std::size_t cuts() const { return cuts_.size(); }

    std::string fault;
    std::string last;               // the text of the last order
    std::vector<std::string> trace; // of the last order
    std::size_t count = 0;

private:
    const Case& example_;
    std::set<std::size_t> seen_; // the situations in which something happened
    std::set<std::pair<Texts, Answers>> cuts_;
};

std::size_t eventsAtMost()
{
    const char* const text = std::getenv("ORDERS_EVENTS");
    return text == nullptr ? 2 : std::stoul(text);
}

struct TrialOrders : testing::TestWithParam<Case>
{
    networksimulation::RecordingLog log; // keeps the log out of the output
};

} // namespace

TEST_P(TrialOrders, LeaveOldOrConfirmedFilesThatAreLive)
{
    Orders orders(GetParam());
    if (const char* const script = std::getenv("ORDERS_REPLAY")) {
        orders.run(scriptOf(script));
    } else {
        orders.explore(eventsAtMost());
    }
    EXPECT_EQ(orders.fault, "") << testing::PrintToString(orders.trace) << "\nagain: ORDERS_REPLAY=" << orders.last
                                << " unit_tests --gtest_filter='*/" << GetParam() << "'";
    std::cout << orders.count << " orders, " << orders.cuts() << " power cuts\n";
}

INSTANTIATE_TEST_SUITE_P(
    All, TrialOrders,
    testing::Values(Case{"ConfirmMeetsTheEndOfTheTime", Start::Over, {Role::Confirm, Role::Guard}},
                    Case{"ConfirmMeetsRollBack", Start::Counting, {Role::Confirm, Role::RollBack}, false},
                    Case{"ConfirmMeetsBegin", Start::Idle, {Role::Begin, Role::Confirm}},
                    Case{"RollBackMeetsTheGuard", Start::Over, {Role::RollBack, Role::Guard}},
                    Case{"RollBackMeetsBegin", Start::Idle, {Role::Begin, Role::RollBack}},
                    Case{"RootsRollBackMeetsBegin", Start::Idle, {Role::Begin, Role::RootsRollBack}},
                    Case{"ChangeMeetsTheGuard", Start::Over, {Role::Apply, Role::Guard}},
                    Case{"ChangeMeetsBegin", Start::Idle, {Role::Apply, Role::Begin}},
                    Case{"BeginMeetsBegin", Start::Idle, {Role::Begin, Role::Begin}},
                    Case{"BeginMeetsTheEndOfTheTime", Start::Over, {Role::Begin, Role::Guard}},
                    Case{"BootGuardMeetsConfirm", Start::EarlierBoot, {Role::BootGuard, Role::Confirm}},
                    Case{"BootGuardMeetsRollBack", Start::EarlierBoot, {Role::BootGuard, Role::RollBack}},
                    Case{"BootGuardMeetsTheGuard", Start::EarlierBoot, {Role::BootGuard, Role::Guard}},
                    Case{"GuardMeetsGuard", Start::Over, {Role::Guard, Role::Guard}},
                    Case{"WakeGuardMeetsBeginWithoutGuards", Start::Idle, {Role::Begin, Role::WakeGuard}, false},
                    Case{"ConfirmMeetsRollBackAndTheGuard", Start::Over, {Role::Confirm, Role::RollBack, Role::Guard}},
                    Case{"ChangeMeetsBeginAndTheGuard", Start::Over, {Role::Apply, Role::Begin, Role::Guard}}),
    [](const auto& example) { return example.param.name; });

TEST(PlantedOrders, ShowAGuardThatIsAProbeOnly)
{
    const networksimulation::RecordingLog log;
    const Case example{"", Start::Idle, {Role::Begin, Role::WakeGuard}, false, true};
    Orders orders(example);
    orders.explore(2);
    EXPECT_EQ(orders.fault, "a trial counts, and nobody guards it");
    Orders again(example);
    again.run(scriptOf(orders.last));
    EXPECT_EQ(again.fault, orders.fault);
}
