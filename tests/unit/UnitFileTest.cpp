// SPDX-License-Identifier: MIT
#include "systemd/configuration/UnitFile.h"

#include <sstream>

#include <gtest/gtest.h>

using namespace vel_systemd::configuration::file;

static Content parsed(const std::string& text)
{
    Content content;
    std::istringstream input(text);
    input >> FileConverter(content);
    return content;
}

static std::string written(const Content& content)
{
    std::ostringstream output;
    output << FileConverter(content);
    return output.str();
}

TEST(UnitFile, IsReadToTheLetter)
{
    const struct
    {
        const char* name;
        const char* text;
        Content content;
    } cases[] = {
        {"two sections", "[A]\nx=1\n\n[B]\ny=2", {{"A", {{"x", "1"}}}, {"B", {{"y", "2"}}}}},
        {"equal sections stay two", "[A]\nx=1\n[A]\nx=2\n", {{"A", {{"x", "1"}}}, {"A", {{"x", "2"}}}}},
        {"the first of equal keys wins", "[A]\nx=1\nX=2\nx=3\n", {{"A", {{"x", "1"}, {"X", "2"}}}}},
        {"nothing is trimmed", "[ A ]\n x = 1 \ny=2\r\n", {{" A ", {{" x ", " 1 "}, {"y", "2\r"}}}}},
        {"comments begin the line", "[A]\n#x=1\n;x=2\n #x=3\n", {{"A", {{" #x", "3"}}}}},
        {"a word is key and value",
         "[A]\nWord\n=no key\nx=1=2\n",
         {{"A", {{"Word", "Word"}, {"", "no key"}, {"x", "1=2"}}}}},
        {"odd headers", "[A\nx=1\n[B]work]\ny=2\n", {{"A", {{"x", "1"}}}, {"B", {{"y", "2"}}}}},
        {"what has no section or no entry is dropped", "x=1\n[]\nx=2\n[A]\n[B]\ny=1\n[C]\n", {{"B", {{"y", "1"}}}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(parsed(c.text), c.content) << written(parsed(c.text));
    }
}

TEST(UnitFile, IsLeftOutWhenItsStreamFails)
{
    struct : std::stringbuf
    {
        int_type underflow() override { throw std::runtime_error("medium error"); }
    } failing;
    failing.str("[A]\nx=1\n[B]\ny=2\n");
    std::iostream stream(&failing);
    Content content;
    stream >> FileConverter(content);
    EXPECT_EQ(content, Content());
}

TEST(UnitFile, IsWrittenWithItsKeysInOrder)
{
    EXPECT_EQ(written({{"B", {{"y", "2"}, {"x", ""}}}, {"A", {}}}), "[B]\nx=\ny=2\n\n[A]\n");
}

TEST(UnitFile, IsWrittenWithoutWhatHasNoName)
{
    EXPECT_EQ(written({{"A", {{"", "no key"}, {"x", "1"}}}, {"", {{"x", "2"}}}}), "[A]\nx=1\n");
    EXPECT_EQ(written({{"", {{"x", "1"}}}, {"A", {{"y", "2"}}}}), "\n[A]\ny=2\n");
}

TEST(UnitFile, IsNotReadIntoAConstContent)
{
    const Content content;
    std::istringstream input("[A]\nx=1");
    EXPECT_THROW(input >> FileConverter(content), std::bad_variant_access);
    EXPECT_EQ(input.tellg(), 0);
}

TEST(UnitFile, IsEqualWhenSectionsAndOrderAre)
{
    const Content content{{"A", {{"x", "1"}}}, {"B", {{"x", "1"}}}};
    EXPECT_NE(content, (Content{{"B", {{"x", "1"}}}, {"A", {{"x", "1"}}}}));
    EXPECT_NE(content.front(), content.back());
    EXPECT_NE(content.front(), (Section{"A", {{"x", "2"}}}));
}
