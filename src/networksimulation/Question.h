// SPDX-License-Identifier: MIT
#pragma once

#include "../networkhost/device/IDevice.h"
#include "Clock.h"

#include <chrono>

namespace networksimulation {

/// A question to the simulated network whose answer is known. A wait for an answer that does not come advances the
/// clock, which outlives the question.
class Question : public networkhost::IQuestion
{
public:
    Question(Clock& clock, bool isAnswered) : clock_(clock), isAnswered_(isAnswered) {}

    bool isAnswered(std::chrono::milliseconds limit) override
    {
        if (!isAnswered_) {
            clock_.advance(limit);
        }
        return isAnswered_;
    }

private:
    Clock& clock_;
    bool isAnswered_;
};

} // namespace networksimulation
