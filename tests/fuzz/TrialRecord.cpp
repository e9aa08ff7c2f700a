// SPDX-License-Identifier: MIT
#include "networkhost/state/TrialRecord.h"

#include "Fuzz.h"
#include "base/Paths.h"
#include "networkhost/change/Guard.h"
#include "networkhost/change/Trial.h"
#include "networksimulation/Device.h"

#include <sstream>

namespace {

struct Enough
{};

/// Ends a guard that would run for ever, because its record is unreadable or its deadline is far away.
class Device : public networksimulation::Device
{
public:
    void pause(std::chrono::milliseconds duration) override
    {
        if (++pauses_ > 20) {
            throw Enough();
        }
        networksimulation::Device::pause(duration);
    }

private:
    int pauses_ = 0;
};

void checkRecord(Device& device, const std::string& path)
{
    networkhost::TrialRecord record;
    if (networkhost::readRecord(device.files(), path, record)) {
        return;
    }
    for (const auto& file : record.files) {
        fuzz::require(fuzz::isOwnFile(file.path), "a record holds the library's own files: " + file.path);
        fuzz::require((file.rights.mode & ~0777U) == 0, "a record lends no rights");
    }
}

void act(Device& device, const std::string& what)
{
    const auto say = [](const std::string&) {};
    if (what == "boot") {
        networkhost::restoreAtBoot(device, say);
    } else if (what == "confirm") {
        networkhost::confirmTrial(device);
    } else if (what == "rollback") {
        networkhost::rollBack(device, "");
    } else {
        try {
            networkhost::guardTrials(device, say);
        } catch (const Enough&) {
        }
    }
}

} // namespace

/// The first line of the input names the caller that meets the record (guard, boot, confirm or rollback). "claimed"
/// means that the record is being rolled back, and "bare" that it has no checksum. The rest is the record.
void fuzz::check(const std::string& input)
{
    const auto end = std::min(input.find('\n'), input.size());
    std::istringstream words(input.substr(0, end));
    std::string actor;
    std::string word;
    const char* path = velbase2::system::paths::kTrial;
    auto text = input.substr(std::min(end + 1, input.size()));
    auto checksum = "checksum " + networkhost::checksumOf(text) + '\n';
    for (words >> actor; words >> word;) {
        path = word == "claimed" ? velbase2::system::paths::kRollback : path;
        checksum = word == "bare" ? "" : checksum;
    }
    Device device;
    device.put(path, text + checksum);
    checkRecord(device, path);
    device.takeEvents();
    act(device, actor);
    for (const auto& event : device.takeEvents()) {
        const bool isBeside = event.subject.rfind(velbase2::system::paths::kTrialDirectory, 0) == 0;
        if (event.what == "ran" || event.what == "failed to run") {
            require(isKnownCommand(event.subject), "the command is known: " + event.subject);
        } else {
            require(isBeside || isOwnFile(event.subject), "the file is the library's own: " + event.subject);
        }
    }
    require(!networkhost::trialState(device).text().empty(), "a trial has a state");
}
