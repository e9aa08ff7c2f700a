// SPDX-License-Identifier: MIT
#include "base/LogLine.h"
#include "networksimulation/RecordingLog.h"

#include <future>

#include <gtest/gtest.h>

using networksimulation::RecordingLog;
using namespace velbase2::system::log;

TEST(Log, WritesPriorityAndPrintableTextToStderr)
{
    RecordingLog().lines.clear(); // sets another sink and restores the default one
    testing::internal::CaptureStderr();
    for (const int level : {kDetail, kNotable, kError, kFileProblem}) { // log() does not filter
        detail::log(level, "tag", "line");
    }
    detail::log(kNotable, "tag", "a\nb\x1b[2J\x7f\xc3\xbc");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "<7>tag: line\n<6>tag: line\n<3>tag: line\n<4>tag: line\n"
                                                      "<6>tag: a\\nb\\x1b[2J\\x7f\xc3\xbc\n");
}

TEST(Log, MakesLinesFromTheMinimumLevelOn)
{
    EXPECT_FALSE(detail::isEnabled(kDetail));
    EXPECT_TRUE(detail::isEnabled(kNotable));
    const RecordingLog recorded;
    detail::logLine(kDetail, "made ", 1);
    setMinimumLevel(kError);
    detail::logLine(kNotable, "not made");
    EXPECT_EQ(recorded.lines, std::vector<std::string>{"1 made 1"});
}

TEST(Log, LetsASinkReplaceItselfAndStallOnlyItsCaller)
{
    const RecordingLog restoring;
    std::string seen;
    setSink([&seen, name = std::string("a name that lives on the heap")](int, auto, auto) {
        setSink([&seen](int, auto, auto line) { seen += line; });
        std::async(std::launch::async, [] { detail::log(2, "tag", "another's line, "); }).wait();
        seen += name;
    });
    detail::log(2, "tag", "line");
    EXPECT_EQ(seen, "another's line, a name that lives on the heap");
}
