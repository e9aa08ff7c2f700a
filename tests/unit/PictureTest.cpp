// SPDX-License-Identifier: MIT
#include "velnetctl/Picture.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;
using velnetctl::Picture;

/// The lines of a window, without blanks at the end. Marked text is in brackets.
std::string shown(const Picture& picture, int width, int height, Picture::Time now,
                  const networkhost::TrialState& trial = {})
{
    std::string text;
    for (const auto& line : picture.lines(trial, width, height, now)) {
        std::string row;
        for (const auto& span : line) {
            row.resize(std::max(row.size(), static_cast<std::size_t>(span.column)), ' ');
            row += span.isMarked && !span.text.empty() ? '[' + span.text + ']' : span.text;
        }
        text += row.substr(0, row.find_last_not_of(' ') + 1) + '\n';
    }
    return text;
}

TEST(PictureTest, MarksForAWhileTheRowsThatWereNotThere)
{
    Picture picture;
    picture.show({{"local", {{"addresses", "10.0.0.1/8", {}, {}}, {"mac", "02::", {}, {}}}}}, 1s);
    EXPECT_FALSE(picture.hasMarks(1s));
    const std::string before = "local\n";
    const std::string after = "  mac         02::\n\nlast changes\n  none yet (q ends this)\n";
    picture.show(
        {{"local",
          {{"addresses", "10.0.0.2/8", {}, {}}, {"addresses", "10.0.0.1/8", {}, {}}, {"mac", "02::", {}, {}}}}},
        2s);
    EXPECT_EQ(shown(picture, 80, 24, 6999ms),
              before + "  addresses   [10.0.0.2/8]\n              10.0.0.1/8\n" + after);
    EXPECT_EQ(shown(picture, 80, 24, 7s), before + "  addresses   10.0.0.2/8\n              10.0.0.1/8\n" + after);
}

TEST(PictureTest, WrapsLinesAndFitsALowWindow)
{
    Picture picture;
    picture.show({{"resolver", {{"live", "10.0.0.53, search ab.\u00fc\u00fc\u00fc\u00fc.example", {}, {}}}}}, 1s);
    EXPECT_EQ(shown(picture, 24, 7, 1s), "resolver\n  live        10.0.0.53,\n"
                                         "              search\n              ab.\u00fc\u00fc\u00fc\n"
                                         "              \u00fc.example\nlast changes\n  none yet (q ends this)\n");
}

TEST(PictureTest, PutsAPendingTrialFirstAndAFinishedOneLast)
{
    Picture picture;
    picture.show({{"local", {{"mac", "02::", {}, {}}, {"live", "none", {}, {}}}}}, 1s);
    networkhost::TrialState trial;
    trial.kind = networkhost::TrialState::Kind::Counting;
    trial.title = "set-ip local dhcp";
    const std::string top =
        "trial\n  a trial is pending: set-ip local dhcp, by ; it is\n  rolled back in 0 s unless it "
        "is confirmed (velnetctl\n  confirm)\n  c keeps the setting, r goes back at once\n";
    const std::string state = "local\n  mac         02::\n  live        none\n";
    const std::string changes = "last changes\n  none yet (q ends this)\n";
    EXPECT_EQ(shown(picture, 55, 24, 1s, trial), top + '\n' + state + '\n' + changes);
    EXPECT_EQ(shown(picture, 55, 7, 1s, trial), top + "local\n... 4 more lines\n");
    trial.kind = networkhost::TrialState::Kind::RolledBack;
    EXPECT_EQ(shown(picture, 55, 24, 1s, trial),
              state + '\n' + changes + "\nno trial is pending; the last one, set-ip local ...\n");
    trial.why = "one\ntwo";
    EXPECT_EQ(shown(picture, 99, 24, 1s, trial),
              state + '\n' + changes +
                  "\nno trial is pending; the last one, set-ip local dhcp, was rolled back: one two\n");
}
