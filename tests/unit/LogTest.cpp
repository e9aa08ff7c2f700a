// SPDX-License-Identifier: MIT
#include "TestSupport.h"

using namespace velbase2::system::log;

TEST(TheDefaultSink, WritesALineWithThePriorityOfItsLevel)
{
    RecordingLog().lines.clear(); // a sink comes and goes
    EXPECT_TRUE(!detail::isEnabled(1) && detail::isEnabled(2));
    testing::internal::CaptureStderr();
    for (const int level : {1, 2, 3, 4}) {
        detail::log(level, "tag", "a\nb"); // does not filter
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "<7>tag: a\\nb\n<6>tag: a\\nb\n<3>tag: a\\nb\n<4>tag: a\\nb\n");
}

TEST(ASink, MayReplaceItselfAndStallsOnlyItsCaller)
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
