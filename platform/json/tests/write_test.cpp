#include <libjson.h>

#include <string>

#include <gtest/gtest.h>

namespace {

std::string rewritten(const std::string& text)
{
    return libjson::parse(text).write();
}

TEST(Write, GivenScalars_WhenWritten_ThenTheTextIsEmpty)
{
    for (const char* text : {"null", "true", "1", R"("a")"}) {
        EXPECT_EQ(rewritten(text), "") << text;
        EXPECT_EQ(libjson::parse(text).write_formatted(), "") << text;
    }
}

TEST(Write, GivenEmptyContainers_WhenWritten_ThenTheyAreTwoCharacters)
{
    EXPECT_EQ(rewritten(" { } "), "{}");
    EXPECT_EQ(rewritten(" [ ] "), "[]");
    EXPECT_EQ(libjson::parse("{}").write_formatted(), "{}");
}

TEST(Write, GivenBlanksBetween_WhenWritten_ThenTheResultIsCompact)
{
    EXPECT_EQ(rewritten(" { \"a\" : [ 1 , { } , null ] ,\n\"b\" : \"c d\" } "), R"({"a":[1,{},null],"b":"c d"})");
}

TEST(Write, GivenNumbers_WhenWritten_ThenTheyAreAsTheyWereRead)
{
    const std::string text = "[1.50,1e3,-0,1E+400,18446744073709551615]";
    EXPECT_EQ(rewritten(text), text);
}

TEST(Write, GivenSpecialCharacters_WhenWritten_ThenTheyAreEscaped)
{
    EXPECT_EQ(rewritten(R"({"\"\\\/":"\b\f\n\r\t\u0000\u001f\u007f"})"),
              "{\"\\\"\\\\/\":\"\\b\\f\\n\\r\\t\\u0000\\u001f\x7F\"}");
}

TEST(Write, GivenBytesThatAreNotUtf8_WhenWritten_ThenTheyPassUnchanged)
{
    const std::string text = "[\"\x80\xFF\xC3\xA9\"]";
    EXPECT_EQ(rewritten(text), text);
}

TEST(Write, GivenDuplicateMembers_WhenWritten_ThenAllAreKept)
{
    EXPECT_EQ(rewritten(R"({"a":1,"a":2,"":3})"), R"({"a":1,"a":2,"":3})");
}

TEST(Write, GivenAnInnerContainer_WhenWritten_ThenItsOwnNameIsNotPartOfIt)
{
    EXPECT_EQ(libjson::parse(R"({"a":{"b":1}})").at("a").write(), R"({"b":1})");
}

TEST(Write, GivenNesting_WhenWrittenFormatted_ThenEachLevelIsIndentedByFourBlanks)
{
    EXPECT_EQ(libjson::parse(R"({"a":[1,{"b":"c"}],"d":{}})").write_formatted(), R"({
    "a": [
        1,
        {
            "b": "c"
        }
    ],
    "d": {}
})");
}

TEST(Write, GivenDeepestNesting_WhenWritten_ThenItIsTheSameText)
{
    const std::string text = std::string(libjson::depth_max, '[') + std::string(libjson::depth_max, ']');
    EXPECT_EQ(rewritten(text), text);
}

} // namespace
