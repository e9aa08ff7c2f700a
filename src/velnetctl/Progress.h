// SPDX-License-Identifier: MIT
#pragma once

#include "Session.h"
#include "networkhost/state/Missing.h"

#include <chrono>
#include <string>

namespace velnetctl {

/// Tells what is waited for and how long still. On a terminal that is one line, which it rewrites, and which is gone
/// with it; elsewhere a line whenever what is lacking is something else.
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
    std::string shown_; // what is lacking, or on a terminal the line
};

} // namespace velnetctl
