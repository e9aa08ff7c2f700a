// SPDX-License-Identifier: MIT
#pragma once

#include "Session.h"
#include "networkhost/state/Missing.h"

#include <chrono>
#include <string>

namespace velnetctl {

/// Shows the setting that a command waits for, and the time that is left. On a terminal, it rewrites one line and
/// clears it at the end. Elsewhere, it prints a line when the missing setting is another one.
class Progress
{
public:
    explicit Progress(Session& session);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void show(const std::string& lacking, std::chrono::milliseconds left);

private:
    Session& session_;
    bool isRewritten_;
    std::string shown_; // the missing setting, or on a terminal the line
};

} // namespace velnetctl
