#include "qxnotify/terminal.h"

#include <gtest/gtest.h>

namespace qx::tool {
namespace {

TEST(Escaped, GivenPlainText_WhenEscaped_ThenItStays)
{
    EXPECT_EQ(escaped("GBL Mar27 3.25 %"), "GBL Mar27 3.25 %");
}

TEST(Escaped, GivenEmptyText_WhenEscaped_ThenItStaysEmpty)
{
    EXPECT_EQ(escaped(""), "");
}

TEST(Escaped, GivenControlCharacters_WhenEscaped_ThenNoneIsLeft)
{
    EXPECT_EQ(escaped(std::string("a\nb\rc\td\x1b[31m\x7f\0z", 15)), R"(a\nb\rc\td\x1b[31m\x7f\x00z)");
}

TEST(Escaped, GivenBackslash_WhenEscaped_ThenItIsDoubledSoThatEscapesAreUnambiguous)
{
    EXPECT_EQ(escaped(R"(\n)"), R"(\\n)");
}

TEST(Escaped, GivenLettersOfOtherScripts_WhenEscaped_ThenTheyStay)
{
    EXPECT_EQ(escaped("S\u00e3o \u6771\u4eac \U0001F4C8"), "S\u00e3o \u6771\u4eac \U0001F4C8");
}

TEST(Escaped, GivenControlCharactersOfTheSecondSet_WhenEscaped_ThenTheyAreShownAsBytes)
{
    EXPECT_EQ(escaped("\u009b31m"), R"(\xc2\x9b31m)");
}

TEST(Escaped, GivenBrokenUtf8_WhenEscaped_ThenOnlyTheBadBytesAreShownAsBytes)
{
    EXPECT_EQ(escaped("\xff\xc3(\xe6\x9d"), R"(\xff\xc3(\xe6\x9d)");
}

TEST(Quoted, GivenTextOfTheLimit_WhenQuoted_ThenNothingIsCut)
{
    EXPECT_EQ(quoted("abcd", 4), R"("abcd")");
}

TEST(Quoted, GivenLongerText_WhenQuoted_ThenTheCutIsTold)
{
    EXPECT_EQ(quoted("abcde", 4), R"("abcd" (the first 4 of 5 bytes))");
}

TEST(Colour, GivenAutomatic_WhenNotATerminal_ThenOff)
{
    EXPECT_FALSE(use_colour(ColourChoice::automatic, false, nullptr));
}

TEST(Colour, GivenAutomatic_WhenATerminal_ThenOn)
{
    EXPECT_TRUE(use_colour(ColourChoice::automatic, true, nullptr));
}

TEST(Colour, GivenNoColor_WhenSet_ThenOffAndWhenEmpty_ThenOn)
{
    EXPECT_FALSE(use_colour(ColourChoice::automatic, true, "1"));
    EXPECT_TRUE(use_colour(ColourChoice::automatic, true, ""));
}

TEST(Colour, GivenExplicitChoice_WhenAsked_ThenItWinsOverTerminalAndEnvironment)
{
    EXPECT_TRUE(use_colour(ColourChoice::always, false, "1"));
    EXPECT_FALSE(use_colour(ColourChoice::never, true, nullptr));
}

} // namespace
} // namespace qx::tool
