// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IFiles.h"
#include "Plan.h"

#include <string>
#include <system_error>
#include <vector>

#pragma GCC visibility push(hidden)

namespace networkhost {

/// The files with the plan's changes.
class PlannedFiles : public IReadableFiles
{
public:
    /// Both arguments outlive the object.
    PlannedFiles(const IReadableFiles& files, const Plan& plan) : files_(files), plan_(plan) {}

    std::error_code read(const std::string& path, std::string& text) const override;
    std::error_code list(const std::string& directory, std::vector<std::string>& names) const override;

private:
    const IReadableFiles& files_;
    const Plan& plan_;
};

/// The part of a configuration that the plan's files set: their interfaces, and systemd-resolved.
Configuration touchedBy(const Plan& plan, const Configuration& configuration);

/// The same part of the present configuration. Other changes may have come between the plan and its apply().
Configuration touchedNow(const IReadableFiles& files, const Plan& plan);

} // namespace networkhost

#pragma GCC visibility pop
