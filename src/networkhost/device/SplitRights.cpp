// SPDX-License-Identifier: MIT
#include "networkhost/device/SplitRights.h"

#include "base/FileDescriptor.h"
#include "base/Paths.h"
#include "networkmanager/system/SystemIF.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <string>

#include <grp.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace networkhost {

namespace paths = velbase2::system::paths;
using velbase2::system::FileDescriptor;

namespace {

constexpr const char* kSystemctl = "/bin/systemctl";

struct FixedCommand
{
    const char* text; // the text that libVelNetworkManager runs
    const char* verb;
    const char* unit; // may be empty
};

constexpr std::array<FixedCommand, 3> kCommands = {{
    {"sudo /bin/systemctl daemon-reload", "daemon-reload", ""},
    {"sudo /bin/systemctl restart systemd-networkd", "restart", "systemd-networkd"},
    {"sudo /bin/systemctl restart systemd-resolved", "restart", "systemd-resolved"},
}};

/// Sends root's process the number of each command.
class AskingSystem : public networkmanager::SystemIF
{
public:
    explicit AskingSystem(int socket) : socket_(socket) {}
    using SystemIF::executeCmd;

    bool executeCmd(const std::string& command, std::string& /*output*/, std::string& /*errorOutput*/) override
    {
        const auto* const found = std::find_if(kCommands.begin(), kCommands.end(),
                                               [&command](const auto& fixed) { return command == fixed.text; });
        const char number = static_cast<char>(found - kCommands.begin());
        char isDone = 0;
        return ::send(socket_, &number, 1, MSG_NOSIGNAL) == 1 && ::recv(socket_, &isDone, 1, 0) == 1 && isDone != 0;
    }

private:
    int socket_;
};

class AskingDevice : public IDevice
{
public:
    AskingDevice(IDevice& device, int socket) : device_(device), system_(socket) {}

    networkmanager::ISystemIF& system() override { return system_; }
    IFiles& files() override { return device_.files(); }
    std::chrono::milliseconds now() const override { return device_.now(); }
    void pause(std::chrono::milliseconds duration) override { device_.pause(duration); }
    bool startGuard(const std::function<bool()>& /*isUp*/) override { return true; } // this process is the guard
    bool hasBootGuard() override { return device_.hasBootGuard(); }
    std::unique_ptr<IHints> openHints() override { return device_.openHints(); }

private:
    IDevice& device_;
    AskingSystem system_;
};

/// Gives up root's rights. The child ends together with root's process, because alone it could restart no daemon but
/// would be taken for a guard.
bool becomes(const Writer& owner, pid_t parent)
{
    return ::setgroups(0, nullptr) == 0 && ::setresgid(owner.group, owner.group, owner.group) == 0 &&
           ::setresuid(owner.user, owner.user, owner.user) == 0 && ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           ::prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 && ::getppid() == parent;
}

bool isEndGood(pid_t child)
{
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

bool runSystemctl(std::string verb, std::string unit)
{
    std::string program = kSystemctl;
    std::array<char*, 4> arguments = {program.data(), verb.data(), unit.empty() ? nullptr : unit.data(), nullptr};
    std::array<char*, 1> environment = {nullptr};
    pid_t child = 0;
    return ::posix_spawn(&child, kSystemctl, nullptr, nullptr, arguments.data(), environment.data()) == 0 &&
           isEndGood(child);
}

/// The number comes from the less privileged process. Any other than those of the three commands does nothing.
bool runFixed(unsigned char number)
{
    if (number >= kCommands.size()) {
        return false;
    }
    const std::string verb = kCommands[number].verb;
    if (verb == "restart") {
        runSystemctl("reset-failed", kCommands[number].unit); // otherwise the start limit may prevent the roll-back
    }
    return runSystemctl(verb, kCommands[number].unit);
}

void runWhatIsAsked(int socket)
{
    unsigned char number = 0;
    while (::recv(socket, &number, 1, 0) == 1) {
        const char isDone = runFixed(number) ? 1 : 0;
        ::send(socket, &isDone, 1, MSG_NOSIGNAL);
    }
}

} // namespace

bool splitRights(IDevice& device, const std::function<void(IDevice& device)>& work)
{
    Writer owner;
    const auto error = device.files().writerOf(paths::kTrial, owner); // right even if the user's links lead elsewhere
    if (error || owner.user == ::geteuid() || ::geteuid() != 0) {
        work(device);
        return true;
    }
    std::array<int, 2> ends = {-1, -1};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        return false;
    }
    FileDescriptor asked(ends[0]);
    FileDescriptor asking(ends[1]);
    const pid_t parent = ::getpid();
    const pid_t child = ::fork();
    if (child == 0) {
        asked.reset();
        if (!becomes(owner, parent)) {
            ::_exit(EXIT_FAILURE);
        }
        AskingDevice own(device, asking.get());
        work(own);
        ::_exit(EXIT_SUCCESS);
    }
    asking.reset(); // only the child holds this end now, and its end ends the loop below
    if (child < 0) {
        return false;
    }
    runWhatIsAsked(asked.get());
    return isEndGood(child);
}

} // namespace networkhost
