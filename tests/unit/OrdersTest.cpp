// SPDX-License-Identifier: MIT
// What begins, ends and guards trials, in all orders of what it does to files and locks: see docs/testing.md.
#include "Orders.h"

#include "networkhost/Guard.h"
#include "networkhost/LiveState.h"
#include "networkhost/Missing.h"
#include "networkhost/Record.h"
#include "networkhost/Requests.h"
#include "networkhost/Settings.h"
#include "networkhost/Trial.h"
#include "networksimulation/RecordingLog.h"

#include <cstdlib>
#include <iostream>

#include <gmock/gmock.h>

using networkhost::TrialState;
using orders::Process;
using std::chrono::seconds;

namespace {

enum class Start { Idle, Counting, Over, EarlierBoot }; // of the trial
enum class Role { Begin, Confirm, RollBack, Guard, BootGuard, WakeGuard, Apply };

struct Case
{
    const char* name;
    Start start;
    std::vector<Role> roles;
    bool hasGuards = true;
    int fewer = 0; // preemptions than the others: where there are most orders
};

std::ostream& operator<<(std::ostream& stream, const Case& example)
{
    return stream << example.name;
}

constexpr const char* kDomainPath = "/etc/systemd/resolved.conf.d/dns_domain.conf";

/// Of a trial with two files, and of another change to one of them.
struct Plans
{
    Plans()
    {
        networksimulation::Device own;
        trial = networkhost::planSettings(own, R"({"interfaces": {"local": {"address": "192.168.10.1/24", "routes": []},
            "remote": {"address": "192.168.50.20/24", "routes": []}}, "gateway": "192.168.50.1",
            "dns": {"servers": [], "domains": ["a.example"]}})");
        other = networkhost::planDnsDomain(own, "b.example");
    }

    networkhost::Plan trial;
    networkhost::Plan other;
};

const Plans& plans()
{
    static const Plans thePlans;
    return thePlans;
}

networkhost::Outcome begin(networkhost::IDevice& device)
{
    networkhost::TrialOptions options;
    options.time = seconds(1);
    options.wait = seconds(1);
    return tryOut(device, plans().trial, options);
}

void prepare(orders::Device& device, const Case& example)
{
    if (example.start != Start::Idle && !begin(device).isDone) {
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
    for (const auto role : example.roles) {
        switch (role) {
        case Role::Begin:
            device.add("begin", [&device](auto& own) {
                const bool isDone = begin(own).isDone;
                if (isDone && !device.textOf(networkhost::kTrial).empty() && !device.hasLiveGuard()) {
                    device.fault = "a trial counts, and nobody guards it";
                }
                return isDone;
            });
            break;
        case Role::Confirm:
            device.add("confirm", [](auto& own) { return confirmTrial(own).isDone; });
            break;
        case Role::RollBack:
            device.add("rollback", [](auto& own) { return rollBack(own, "asked for").isDone; });
            break;
        case Role::Guard:
            device.addGuard();
            break;
        case Role::BootGuard:
            device.add("boot guard", [](auto& own) {
                const bool isDone = networkhost::restoreAtBoot(own, [](const std::string&) {});
                own.system().reloadSettings(); // now the daemons start
                own.system().reloadResolveD();
                return isDone;
            });
            break;
        case Role::WakeGuard:
            device.add("wakeGuard", [](auto& own) {
                wakeGuard(own);
                return true;
            });
            break;
        case Role::Apply:
            device.add("apply", [](auto& own) { return apply(own, plans().other).isDone; });
            break;
        }
    }
}

using Told = std::map<std::string, Process::Told>;

bool isTold(const Told& told, const std::string& name, Process::Told what)
{
    const auto entry = told.find(name);
    return entry != told.end() && entry->second == what;
}

/// What does not hold of the files and of what is told of them.
std::string faultOf(networksimulation::Device& device, const Told& told)
{
    const auto isAs = [&](const networkhost::FileChange& file, const std::optional<std::string>& text) {
        return device.textOf(file.path) == text.value_or("");
    };
    const auto& files = plans().trial.files;
    const bool isOther = isAs(plans().other.files.front(), plans().other.files.front().after);
    const bool isNew = std::all_of(files.begin(), files.end(), [&](const auto& f) { return isAs(f, f.after); });
    const bool isOld = std::all_of(files.begin(), files.end(), [&](const auto& file) {
        return isAs(file, file.before) || (isOther && file.path == kDomainPath);
    });
    const auto state = trialState(device);
    if (state.isPending()) {
        return state.text();
    }
    if (!isNew && !isOld) {
        return "some files are new, and some are old";
    }
    if (isNew != (state.kind == TrialState::Kind::Confirmed)) {
        return (isNew ? "the files are new, but: " : "the files are old, but: ") + state.text();
    }
    const auto isDone = [&](const char* name) { return isTold(told, name, Process::Told::Done); };
    const auto isNotDone = [&](const char* name) { return isTold(told, name, Process::Told::NotDone); };
    if (isNew && (isDone("rollback") || isNotDone("confirm"))) {
        return "the files are new, but somebody was told otherwise";
    }
    if (!isNew && isDone("confirm")) {
        return "the files are old, but somebody was told that they are confirmed";
    }
    if (isOther ? isNotDone("apply") : isDone("apply")) {
        return "the other change was told otherwise";
    }
    const auto lacking = networkhost::missing(readConfiguration(device.files()), readLiveState(device));
    return lacking.empty() ? "" : "the device lacks " + lacking;
}

void check(orders::Device& device, const Case& example)
{
    Told told;
    bool hasKill = false;
    bool areDaemonsLeft = false; // on what they had: nothing promises more for these two
    for (const auto& process : device.processes()) {
        told[process->name] = process->told;
        hasKill = hasKill || process->isKilled;
        areDaemonsLeft =
            areDaemonsLeft || (process->isKilled && (process->name == "apply" || process->name == "boot guard"));
    }
    if (trialState(device).isPending() && !hasKill && example.hasGuards && !device.hasLiveGuard()) {
        device.fault = "a trial is pending, and nobody guards it any more";
        return;
    }
    if (areDaemonsLeft) {
        device.system().reloadSettings();
        device.system().reloadResolveD();
    }
    const auto limit = device.now() + seconds(60);
    networkhost::guardTrials(device, [&](const std::string& line) {
        if (device.now() > limit) {
            throw std::runtime_error("the guard does not come to an end: " + line);
        }
    });
    device.settle();
    device.fault = faultOf(device, told);
}

std::string checkCut(const orders::Cut& cut)
{
    networksimulation::Device device;
    device.reboot(); // that its next boot is another one than any of the record
    device.reboot();
    for (const auto& [path, text] : cut.texts) {
        if (text) {
            device.put(path, *text);
        } else {
            device.files().remove(path);
        }
    }
    device.reboot();
    return faultOf(device, cut.told);
}

orders::Case caseOf(const Case& example)
{
    plans(); // while there is no other device
    return {example.name, [example](orders::Device& device) { prepare(device, example); },
            [example](orders::Device& device) { check(device, example); }, checkCut};
}

int preemptions()
{
    const char* const text = std::getenv("ORDERS_PREEMPTIONS");
    return text == nullptr ? 2 : std::stoi(text);
}

/// Keeps the library's log away.
struct Quiet : networksimulation::RecordingLog
{
    Quiet() { velbase2::system::log::setMinimumLevel(0); }
};

struct Orders : testing::TestWithParam<Case>
{
    Quiet quiet;
};

} // namespace

TEST_P(Orders, LeaveOldOrConfirmedFilesThatAreLive)
{
    const auto example = caseOf(GetParam());
    const char* const script = std::getenv("ORDERS_REPLAY");
    const auto found = script == nullptr ? orders::explore(example, preemptions() - GetParam().fewer)
                                         : orders::replay(example, script);
    if (!found.fault.empty()) {
        ADD_FAILURE() << found.fault << "again: ORDERS_REPLAY='" << found.script << "' unit_tests --gtest_filter='*/"
                      << GetParam() << "'";
    }
    if (script != nullptr) {
        std::cout << found.text;
    }
    std::cout << found.orders << " orders, " << found.cuts << " power cuts\n";
}

INSTANTIATE_TEST_SUITE_P(
    Trials, Orders,
    testing::Values(
        Case{"ConfirmMeetsTheEndOfTheTime", Start::Over, {Role::Confirm, Role::Guard}},
        Case{"ConfirmMeetsRollBack", Start::Counting, {Role::Confirm, Role::RollBack}, false},
        Case{"ConfirmMeetsBegin", Start::Idle, {Role::Begin, Role::Confirm}},
        Case{"RollBackMeetsTheGuard", Start::Over, {Role::RollBack, Role::Guard}},
        Case{"RollBackMeetsBegin", Start::Idle, {Role::Begin, Role::RollBack}},
        Case{"ChangeMeetsTheGuard", Start::Over, {Role::Apply, Role::Guard}},
        Case{"ChangeMeetsBegin", Start::Idle, {Role::Apply, Role::Begin}},
        Case{"BeginMeetsBegin", Start::Idle, {Role::Begin, Role::Begin}, true, 1},
        Case{"BeginMeetsTheEndOfTheTime", Start::Over, {Role::Begin, Role::Guard}},
        Case{"BootGuardMeetsConfirm", Start::EarlierBoot, {Role::BootGuard, Role::Confirm}},
        Case{"BootGuardMeetsRollBack", Start::EarlierBoot, {Role::BootGuard, Role::RollBack}},
        Case{"BootGuardMeetsTheGuard", Start::EarlierBoot, {Role::BootGuard, Role::Guard}},
        Case{"GuardMeetsGuard", Start::Over, {Role::Guard, Role::Guard}},
        Case{"WakeGuardMeetsBeginWithoutGuards", Start::Idle, {Role::Begin, Role::WakeGuard}, false},
        Case{"ConfirmMeetsRollBackAndTheGuard", Start::Over, {Role::Confirm, Role::RollBack, Role::Guard}, true, 1},
        Case{"ChangeMeetsBeginAndTheGuard", Start::Over, {Role::Apply, Role::Begin, Role::Guard}, true, 1}),
    [](const auto& example) { return example.param.name; });

TEST(PlantedOrders, ShowAGuardThatIsAProbeOnly)
{
    const Quiet quiet;
    auto example = caseOf({"", Start::Idle, {Role::Begin, Role::WakeGuard}, false});
    const auto prepareRight = example.prepare;
    example.prepare = [&prepareRight](orders::Device& device) {
        prepareRight(device);
        device.probesTakeLocks = true;
    };
    const auto found = orders::explore(example, 2);
    EXPECT_THAT(found.fault, testing::StartsWith("a trial counts, and nobody guards it"));
    EXPECT_EQ(orders::replay(example, found.script).fault, found.fault);
}
