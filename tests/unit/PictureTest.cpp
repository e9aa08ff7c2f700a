// SPDX-License-Identifier: MIT
#include "velnetctl/Picture.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;
using velnetctl::Picture;

/// The lines of a window, with what is marked in brackets and without blanks at the end.
std::string shown(const Picture& picture, int width, int height, Picture::Time now)
{
    std::string text;
    for (const auto& line : picture.lines({}, width, height, now)) {
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
    const std::string before = "trial\n  no trial is pending\n\nlocal\n";
    const std::string after = "  mac         02::\n\nlast changes\n  none yet (q ends this)\n";
    picture.show(
        {{"local",
          {{"addresses", "10.0.0.2/8", {}, {}}, {"addresses", "10.0.0.1/8", {}, {}}, {"mac", "02::", {}, {}}}}},
        2s);
    EXPECT_EQ(shown(picture, 80, 24, 6999ms),
              before + "  addresses   [10.0.0.2/8]\n              10.0.0.1/8\n" + after);
    EXPECT_EQ(shown(picture, 80, 24, 7s), before + "  addresses   10.0.0.2/8\n              10.0.0.1/8\n" + after);
}

TEST(PictureTest, WrapsBetweenWordsOrCharactersAndStandsCloserInALowWindow)
{
    Picture picture;
    picture.show({{"resolver", {{"live", "10.0.0.53, search ab.\u00fc\u00fc\u00fc\u00fc.example", {}, {}}}}}, 1s);
    EXPECT_EQ(shown(picture, 24, 10, 1s), "trial\n  no trial is pending\nresolver\n  live        10.0.0.53,\n"
                                          "              search\n              ab.\u00fc\u00fc\u00fc\n"
                                          "              \u00fc.example\nlast changes\n  none yet (q ends this)\n");
}
