// SPDX-License-Identifier: MIT
#include "Orders.h"

#include "networkhost/Guard.h"
#include "networkhost/Record.h"
#include "networkhost/Trial.h"

#include <algorithm>
#include <deque>
#include <sstream>
#include <stdexcept>
#include <utility>

#include <boost/functional/hash.hpp>
#include <unistd.h>

namespace orders {

using std::chrono::milliseconds;

namespace {

constexpr const char* kDaemons = "daemons";

struct Killed
{};

// Of this thread; nullptr: the test.
thread_local Process* theProcess = nullptr; // NOLINT(cppcoreguidelines-avoid-non-const-global-variables)

std::size_t hashOf(const Texts& texts)
{
    std::size_t hash = 0;
    for (const auto& [path, text] : texts) {
        boost::hash_combine(hash, std::hash<std::string>()(path));
        boost::hash_combine(hash, std::hash<std::string>()(text.value_or("none")));
    }
    return hash;
}

/// Whether it matters which one comes first: to who reads, or to who boots after a power cut between them. Who has the
/// turn to change is not met by another one that has it.
bool concern(const Operation& left, const Operation& right)
{
    if (left.hasTurn && right.hasTurn) {
        return false;
    }
    const auto isAmong = [&right](const std::string& path) {
        return std::find(right.paths.begin(), right.paths.end(), path) != right.paths.end();
    };
    const bool areSeen = left.isChange && right.isChange && !left.isOfLock && !right.isOfLock;
    return areSeen || ((left.isChange || right.isChange) && std::any_of(left.paths.begin(), left.paths.end(), isAmong));
}

} // namespace

/// Releases it as an operation of its own.
class OwnLock : public networkhost::IFiles::Lock
{
public:
    OwnLock(Device& device, std::string path, std::unique_ptr<networkhost::IFiles::Lock> lock)
        : device_(device), path_(std::move(path)), lock_(std::move(lock))
    {
        device_.holders_[path_] = theProcess;
    }
    OwnLock(const OwnLock&) = delete;
    OwnLock& operator=(const OwnLock&) = delete;
    ~OwnLock() override // NOLINT(bugprone-exception-escape): see below
    {
        if (theProcess != nullptr && !theProcess->isKilled) {
            device_.step({"unlock", {path_}, true, true}); // throws for the killed only
        }
        device_.holders_.erase(path_);
    }

private:
    Device& device_;
    std::string path_;
    std::unique_ptr<networkhost::IFiles::Lock> lock_;
};

class Files : public networksimulation::Files
{
public:
    explicit Files(Device& device) : networksimulation::Files(device), device_(device) {}

    std::error_code read(const std::string& path, std::string& text) const override
    {
        const bool isShared = path.rfind("/etc/systemd/", 0) == 0;
        if (isShared) {
            device_.step({"read", {path}});
        }
        const auto error = networksimulation::Files::read(path, text);
        device_.saw(isShared ? error.message() + text : "");
        return error;
    }
    std::error_code replace(const std::string& path, const std::string& text,
                            const networkhost::Rights* rights) override
    {
        device_.step({"replace", {path}, true});
        const auto error = networksimulation::Files::replace(path, text, rights);
        device_.changed({path});
        return error;
    }
    std::error_code remove(const std::string& path) override
    {
        device_.step({"remove", {path}, true});
        const auto error = networksimulation::Files::remove(path);
        device_.changed({path});
        return error;
    }
    std::error_code rename(const std::string& from, const std::string& to) override
    {
        device_.step({"rename", {from, to}, true});
        const auto error = networksimulation::Files::rename(from, to);
        device_.saw(error.message());
        device_.changed({from, to});
        return error;
    }
    std::error_code tryLock(const std::string& path, std::unique_ptr<networkhost::IFiles::Lock>& lock,
                            std::string& holder) override
    {
        device_.step({"lock", {path}, true, true});
        std::unique_ptr<networkhost::IFiles::Lock> own;
        const auto error = networksimulation::Files::tryLock(path, own, holder);
        device_.saw(error.message());
        if (!error) {
            lock = std::make_unique<OwnLock>(device_, path, std::move(own));
        }
        return error;
    }
    std::error_code probeLock(const std::string& path, std::string& holder) const override
    {
        device_.step({"probe", {path}, device_.probesTakeLocks, true});
        std::unique_ptr<networkhost::IFiles::Lock> own;
        const auto error = device_.probesTakeLocks && theProcess != nullptr
                               ? device_.networksimulation::Device::files().tryLock(path, theProcess->probing, holder)
                               : networksimulation::Files::probeLock(path, holder);
        device_.saw(error.message());
        return error;
    }
    std::error_code writerOf(const std::string& /*path*/, unsigned int& user) const override
    {
        user = ::geteuid(); // the same for root and others
        return {};
    }

private:
    Device& device_;
};

class System : public networksimulation::System
{
public:
    explicit System(Device& device) : networksimulation::System(device), device_(device) {}
    using networksimulation::System::executeCmd;

    bool executeCmd(const std::string& command, std::string& output, std::string& errorOutput) override
    {
        device_.step({command, {kDaemons}, true});
        boost::hash_combine(device_.commands_, command);
        boost::hash_combine(device_.commands_, device_.now().count());
        boost::hash_combine(device_.commands_, hashOf(device_.texts_)); // which the daemons read
        return networksimulation::System::executeCmd(command, output, errorOutput);
    }

private:
    Device& device_;
};

Device::Device(Script script, std::set<std::size_t>& known, std::function<bool(std::size_t)> isKnownSituation)
    : script_(std::move(script)), known_(known), isKnownSituation_(std::move(isKnownSituation)),
      files_(std::make_unique<Files>(*this)), system_(std::make_unique<System>(*this))
{}

Device::~Device() = default;

bool Device::isReady(const Process& process) const
{
    return !process.hasEnded && process.wake <= now();
}

std::size_t Device::indexOf(const Process* process) const
{
    return static_cast<std::size_t>(
        std::find_if(processes_.begin(), processes_.end(), [&](const auto& other) { return other.get() == process; }) -
        processes_.begin());
}

std::size_t Device::situation(const Process* killed) const
{
    auto hash = hashOf(texts_);
    boost::hash_combine(hash, commands_);
    boost::hash_combine(hash, now().count());
    for (const auto& [path, holder] : holders_) {
        boost::hash_combine(hash, path);
        boost::hash_combine(hash, holder == killed ? processes_.size() : indexOf(holder));
    }
    for (const auto& process : processes_) {
        boost::hash_combine(hash, process.get() == killed || process->isKilled ? 0 : process->history);
        boost::hash_combine(hash, process->wake.count());
        boost::hash_combine(hash, process->isHeldUp);
        boost::hash_combine(hash, process.get() == theProcess && theProcess != killed);
    }
    return hash;
}

/// Whether nothing has happened since that concerns what it is about to do.
bool Device::isMoot(const Process& process) const
{
    if (!process.pending) {
        return false;
    }
    const auto begin = points_.begin() + static_cast<std::ptrdiff_t>(*process.pending);
    const bool isKilled = std::any_of(script_.begin(), script_.end(), [&](const auto& choice) {
        return choice.what == 'x' && choice.point > *process.pending;
    });
    return !isKilled && std::none_of(std::next(begin), points_.end(),
                                     [&](const auto& point) { return concern(point.operation, begin->operation); });
}

/// What the script says; nothing for the usual.
std::optional<Choice> Device::choose(Operation operation, std::vector<Option> options)
{
    const auto turn = holders_.find(networkhost::kChangeLock);
    operation.hasTurn = turn != holders_.end() && turn->second == theProcess && operation.name != "unlock";
    constexpr std::size_t kMost = 100000;
    const auto point = points_.size();
    if (point == kMost) {
        throw std::runtime_error("this order does not end");
    }
    if (theProcess != nullptr) {
        boost::hash_combine(theProcess->history, operation.name);
        boost::hash_combine(theProcess->history, operation.paths);
        boost::hash_combine(theProcess->history, now().count());
    }
    std::size_t here = 0;
    if (script_.empty() || point > script_.back().point) {
        here = situation(nullptr);
        if (isKnownSituation_ && isKnownSituation_(here)) {
            isBrokenOff = true;
            for (auto& process : processes_) {
                process->isKilled = true;
            }
            options.clear();
        }
        for (auto& option : options) {
            option.choice.point = point;
            const bool isKill = option.choice.what == 'x';
            option.situation = isKill ? situation(processes_.at(option.choice.process).get()) : here;
            boost::hash_combine(option.situation, option.choice.what);
            boost::hash_combine(option.situation, option.choice.process);
        }
    }
    points_.push_back({indexOf(theProcess), std::move(operation), std::move(options)});
    const auto choice =
        std::find_if(script_.begin(), script_.end(), [&](const auto& entry) { return entry.point == point; });
    return choice == script_.end() ? std::nullopt : std::optional(*choice);
}

void Device::step(const Operation& operation)
{
    auto* const self = theProcess;
    if (self == nullptr) {
        return;
    }
    if (self->isKilled) {
        throw Killed();
    }
    std::vector<Option> options;
    for (std::size_t i = 0; i < processes_.size(); ++i) {
        auto* const other = processes_[i].get();
        if (other != self && isReady(*other)) {
            options.push_back({{0, '>', i}, true, isMoot(*other)});
        }
        const auto lock = holders_.find(operation.paths.front());
        const bool isHolder = other != self && lock != holders_.end() && lock->second == other;
        if (isHolder || (other == self && operation.isChange && !operation.isOfLock)) {
            options.push_back({{0, 'x', i}, false});
        }
    }
    if (const auto choice = choose(operation, std::move(options))) {
        auto* const process = processes_.at(choice->process).get();
        process->isKilled = choice->what == 'x';
        process->isHeldUp = false;
        if (process == self) {
            throw Killed();
        }
        process->next = choice->what == 'x' ? self : nullptr;
        self->pending = choice->what == 'x' ? self->pending : choice->point;
        giveTurn(process);
        awaitTurn(self);
        self->pending.reset();
    }
    self->probing.reset();
    if (self->isKilled && operation.name != "unlock") {
        throw Killed();
    }
}

/// The guard that is the only one left.
Process* Device::loneGuard() const
{
    Process* left = nullptr;
    for (const auto& process : processes_) {
        if (!process->hasEnded && (left != nullptr || process->hasWork)) {
            return nullptr;
        }
        left = process->hasEnded ? left : process.get();
    }
    return left;
}

/// Those that can go on when the one that runs cannot, the usual one first; time passes when there is none.
/// `isFree`: there was.
std::vector<std::size_t> Device::candidates(bool& isFree)
{
    std::vector<std::size_t> ready;
    for (isFree = true; ready.empty(); isFree = isFree && !ready.empty()) {
        const auto self = indexOf(theProcess);
        auto wake = milliseconds::max();
        for (std::size_t i = 1; i <= processes_.size(); ++i) {
            const auto& process = *processes_[(self + i) % processes_.size()];
            if (process.hasEnded || process.isHeldUp) {
                continue;
            }
            wake = std::min(wake, process.wake);
            if (isReady(process)) {
                ready.push_back((self + i) % processes_.size());
            }
        }
        const bool hasHeldUp = std::any_of(processes_.begin(), processes_.end(),
                                           [](const auto& process) { return process->isHeldUp && !process->hasEnded; });
        if (wake == milliseconds::max() && !hasHeldUp) {
            return {};
        }
        if (auto* const guard = loneGuard(); guard != nullptr && ready.empty()) {
            guard->isKilled = true; // it waits for the end of the time, and the test goes on with another one
            guard->isHeldUp = false;
            guard->wake = now();
            continue;
        }
        if (wake == milliseconds::max()) {
            for (auto& process : processes_) {
                process->isHeldUp = false;
            }
        } else if (ready.empty()) {
            advance(wake - now());
        }
    }
    return ready;
}

/// Who goes on when the one that runs cannot.
Process* Device::next(const char* why)
{
    for (;;) {
        bool isFree = true;
        const auto ready = candidates(isFree);
        if (ready.empty()) {
            return nullptr;
        }
        const auto isAsleep = [&](const auto& process) {
            return !process->hasEnded && !process->isHeldUp && !isReady(*process);
        };
        const bool canPass = std::any_of(processes_.begin(), processes_.end(), isAsleep);
        std::vector<Option> options;
        for (std::size_t i = 0; i < ready.size(); ++i) {
            const auto& process = *processes_[ready[i]];
            if (i > 0) {
                options.push_back({{0, '>', ready[i]}, !isFree});
            }
            const bool isHolder = std::any_of(holders_.begin(), holders_.end(),
                                              [&](const auto& holder) { return holder.second == &process; });
            const bool isStarting = process.history == 0 && !process.hasWork;
            if (canPass && !isHolder && !isStarting && &process != theProcess) {
                options.push_back({{0, 'w', ready[i]}, process.history != 0});
            }
        }
        const auto choice = options.empty() ? std::nullopt : choose({why, {""}}, std::move(options));
        if (!choice || choice->what == '>') {
            return processes_.at(choice ? choice->process : ready.front()).get();
        }
        processes_.at(choice->process)->isHeldUp = true;
    }
}

void Device::pause(milliseconds duration)
{
    auto* const self = theProcess;
    if (self == nullptr) {
        return advance(duration);
    }
    if (self->isKilled) {
        throw Killed();
    }
    self->probing.reset();
    boost::hash_combine(self->history, commands_);
    boost::hash_combine(self->history, now().count());
    constexpr milliseconds kShortest(50); // by then the daemons are through: fewer looks, and fewer orders
    self->wake = now() + std::max(duration, kShortest);
    if (auto* const other = next("pause"); other != self) {
        giveTurn(other);
        awaitTurn(self);
    }
    if (self->isKilled) {
        throw Killed();
    }
}

void Device::giveTurn(Process* process)
{
    const std::lock_guard guard(mutex_);
    running_ = process;
    (process == nullptr ? end_ : process->turn).notify_one();
}

void Device::awaitTurn(Process* process)
{
    std::unique_lock lock(mutex_);
    (process == nullptr ? end_ : process->turn).wait(lock, [&] { return running_ == process; });
}

Process& Device::start(const std::string& name, const std::function<void()>& work)
{
    auto& process = *processes_.emplace_back(std::make_unique<Process>());
    process.name = name;
    process.wake = now();
    process.thread = std::thread([this, work, &process] {
        awaitTurn(&process);
        theProcess = &process;
        try {
            if (!process.isKilled) {
                work();
            }
        } catch (const Killed&) {
        } catch (const std::exception& error) {
            fault = process.name + ": " + error.what();
        }
        process.probing.reset();
        process.hasEnded = true;
        boost::hash_combine(process.history, static_cast<int>(process.told));
        noteCut();
        giveTurn(process.next != nullptr ? process.next : next("end"));
    });
    return process;
}

void Device::add(const std::string& name, const std::function<bool(networkhost::IDevice&)>& work)
{
    start(name, [this, work] {
        const bool isDone = work(*this);
        theProcess->told = isDone ? Process::Told::Done : Process::Told::NotDone;
    });
}

void Device::addGuard()
{
    start("guard", [this] { networkhost::guardTrials(*this, [](const std::string&) {}); }).hasWork = false;
}

void Device::run()
{
    giveTurn(next("begin"));
    awaitTurn(nullptr);
    for (const auto& process : processes_) {
        process->thread.join();
    }
}

bool Device::hasLiveGuard() const
{
    return std::any_of(processes_.begin(), processes_.end(), [](const auto& process) {
        return !process->hasWork && (!process->hasEnded || process->isKilled);
    });
}

bool Device::startGuard()
{
    if (theProcess == nullptr) {
        return true;
    }
    const auto end = now() + milliseconds(100);
    do {
        std::string holder;
        if (files().probeLock(networkhost::kGuardLock, holder) == std::errc::operation_would_block ||
            !trialState(*this).isPending()) {
            return true;
        }
        const bool isStarting = std::any_of(processes_.begin(), processes_.end(), [](const auto& process) {
            return !process->hasWork && !process->hasEnded;
        });
        if (hasGuards && !isStarting) {
            addGuard();
        }
        pause(milliseconds(10));
    } while (now() < end);
    return false;
}

void Device::changed(const std::vector<std::string>& paths)
{
    for (const auto& path : paths) {
        std::string text;
        texts_[path] = networksimulation::Device::files().read(path, text) ? std::nullopt : std::optional(text);
    }
    if (theProcess != nullptr) {
        noteCut();
    }
}

void Device::saw(const std::string& result) const
{
    if (theProcess != nullptr) {
        boost::hash_combine(theProcess->history, std::hash<std::string>()(result));
    }
}

void Device::noteCut()
{
    Cut cut{texts_, {}, points_.size()};
    auto hash = hashOf(texts_);
    for (const auto& process : processes_) {
        if (process->hasWork) {
            cut.told[process->name] = process->told;
            boost::hash_combine(hash, static_cast<int>(process->told));
        }
    }
    if (known_.insert(hash).second) {
        cuts_.push_back(std::move(cut));
    }
}

std::string Device::text(std::size_t points) const
{
    std::ostringstream lines;
    for (std::size_t i = 0; i < std::min(points, points_.size()); ++i) {
        const auto& point = points_[i];
        lines << i << "  " << (point.process < processes_.size() ? processes_[point.process]->name : "") << ": "
              << point.operation.name;
        for (const auto& path : point.operation.paths) {
            lines << ' ' << path;
        }
        for (const auto& choice : script_) {
            if (choice.point == i) {
                lines << (choice.what == 'x'   ? "   <- here is killed: "
                          : choice.what == 'w' ? "   <- is held up: "
                                               : "   <- before this goes on: ")
                      << processes_.at(choice.process)->name;
            }
        }
        lines << '\n';
    }
    return lines.str();
}

namespace {

std::string toText(const Script& script)
{
    std::string text;
    for (const auto& choice : script) {
        text += (text.empty() ? "" : ",") + std::to_string(choice.point) + choice.what + std::to_string(choice.process);
    }
    return text;
}

Script scriptOf(const std::string& text)
{
    Script script;
    std::istringstream words(text);
    Choice choice;
    for (char comma = ','; comma == ',' && words >> choice.point >> choice.what >> choice.process;) {
        script.push_back(choice);
        comma = '\0';
        words >> comma;
    }
    return script;
}

struct Run
{
    std::vector<Point> points;
    std::vector<std::string> names; // of the processes
    std::size_t cuts = 0;
    std::string fault;
    std::string text;
};

Run runOnce(const Case& example, const Script& script, std::set<std::size_t>& known,
            const std::function<bool(std::size_t)>& isKnown)
{
    Run result;
    std::vector<Cut> cuts;
    {
        Device device(script, known, isKnown);
        example.prepare(device);
        device.run();
        if (device.fault.empty() && !device.isBrokenOff) {
            example.check(device);
        }
        if (!device.fault.empty()) {
            result.fault = device.fault + "\n" + device.text(device.points().size());
        }
        cuts = device.cuts();
        result.text = device.text(device.points().size());
        result.points = device.points();
        for (const auto& process : device.processes()) {
            result.names.push_back(process->name);
        }
    }
    result.cuts = cuts.size();
    for (auto cut = cuts.begin(); cut != cuts.end() && result.fault.empty(); ++cut) {
        result.fault = example.checkCut(*cut);
        if (!result.fault.empty()) {
            result.fault = "after a power cut before point " + std::to_string(cut->point) + ": " + result.fault;
        }
    }
    return result;
}

class Explorer
{
public:
    Explorer(const Case& example, int preemptions)
        : example_(example), levels_(static_cast<std::size_t>(preemptions) + 1)
    {}

    Found explore()
    {
        levels_.front().push_back({});
        do {
            for (std::size_t level = 0; level < levels_.size(); ++level) {
                while (!levels_[level].empty()) {
                    const auto script = std::move(levels_[level].front());
                    levels_[level].pop_front();
                    if (!follow(script, level)) {
                        return found_;
                    }
                }
            }
        } while (takeUpPostponed());
        return found_;
    }

private:
    struct Branch
    {
        Script script;
        std::size_t level = 0;
        std::size_t situation = 0;
        std::string name; // of the process before whose operation another one goes on
        Operation operation;
    };

    bool follow(const Script& script, std::size_t level)
    {
        const auto run = runOnce(example_, script, known_, [&](std::size_t situation) {
            const auto [seen, isNew] = visited_.emplace(situation, level);
            const bool isKnown = !isNew && seen->second <= level;
            seen->second = std::min(seen->second, level);
            return isKnown;
        });
        ++found_.orders;
        found_.cuts += run.cuts;
        found_.fault = run.fault;
        found_.script = toText(script);
        if (!run.fault.empty()) {
            return false;
        }
        const bool hasKill =
            std::any_of(script.begin(), script.end(), [](const auto& choice) { return choice.what == 'x'; });
        for (auto i = script.empty() ? 0 : script.back().point + 1; i < run.points.size(); ++i) {
            const auto& point = run.points[i];
            const auto name = point.process < run.names.size() ? run.names[point.process] : "";
            footprints_[name].emplace(point.operation.name + point.operation.paths.back() +
                                          (point.operation.hasTurn ? " in turn" : ""),
                                      point.operation);
            for (const auto& option : point.options) {
                const auto itsLevel = level + (option.isPreemption || option.choice.what == 'x' ? 1 : 0);
                if (option.isMoot || (option.choice.what == 'x' && hasKill) || itsLevel >= levels_.size()) {
                    continue;
                }
                Branch branch{script, itsLevel, option.situation,
                              option.isPreemption && !point.operation.paths.front().empty() ? name : "",
                              point.operation};
                branch.script.push_back(option.choice);
                take(std::move(branch));
            }
        }
        return true;
    }

    /// Where the operation concerns nobody else, the other process can as well go on after it.
    bool isOfUse(const Branch& branch) const
    {
        return branch.name.empty() ||
               std::any_of(footprints_.begin(), footprints_.end(), [&branch](const auto& footprint) {
                   return footprint.first != branch.name &&
                          std::any_of(footprint.second.begin(), footprint.second.end(),
                                      [&branch](const auto& entry) { return concern(branch.operation, entry.second); });
               });
    }

    void take(Branch branch)
    {
        if (!isOfUse(branch)) {
            postponed_.push_back(std::move(branch));
            return;
        }
        const auto [seen, isNew] = seen_.emplace(branch.situation, branch.level);
        if (isNew || seen->second > branch.level) {
            seen->second = branch.level;
            levels_[branch.level].push_back(std::move(branch.script));
        }
    }

    /// What was of no use may be now: more is known of what the processes do. False when nothing is.
    bool takeUpPostponed()
    {
        for (auto& branch : std::exchange(postponed_, {})) {
            take(std::move(branch));
        }
        return std::any_of(levels_.begin(), levels_.end(), [](const auto& level) { return !level.empty(); });
    }

    const Case& example_;
    Found found_;
    std::vector<std::deque<Script>> levels_; // to be followed, by their number of preemptions
    std::vector<Branch> postponed_;
    std::map<std::size_t, std::size_t> seen_; // situations, and the fewest preemptions before each
    std::map<std::size_t, std::size_t> visited_;
    std::set<std::size_t> known_;                                        // cuts
    std::map<std::string, std::map<std::string, Operation>> footprints_; // all that a process of that name does
};

} // namespace

Found explore(const Case& example, int preemptions)
{
    return Explorer(example, preemptions).explore();
}

Found replay(const Case& example, const std::string& script)
{
    std::set<std::size_t> known;
    const auto run = runOnce(example, scriptOf(script), known, {});
    return {1, run.cuts, run.fault, script, run.text};
}

} // namespace orders
