#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "misc/miscutils/tests/convert.h"

namespace qx::test {
namespace {

TEST(Nesting, GivenAnObject_WhenConverted_ThenItFillsTheSubMessage)
{
    EXPECT_EQ(convert(R"({"inner":{"number":1,"inner":{"text":"deep"}}})", strict).ShortDebugString(),
              R"(inner { number: 1 inner { text: "deep" } })");
}

TEST(Nesting, GivenAnEmptyObject_WhenConverted_ThenTheSubMessageIsPresent)
{
    EXPECT_TRUE(convert(R"({"inner":{}})", strict).has_inner());
}

TEST(Nesting, GivenTheSameObjectTwice_WhenConverted_ThenTheSecondIsMergedIntoTheFirst)
{
    EXPECT_EQ(convert(R"({"inner":{"number":1,"text":"a"},"inner":{"number":2}})", strict).ShortDebugString(),
              R"(inner { number: 2 text: "a" })");
}

TEST(Nesting, GivenAnUnknownKeyInside_WhenStrict_ThenItThrowsForTheInnerKeyAndKeepsWhatWasWritten)
{
    AllTypes message;
    EXPECT_THROW(
        JSONProto{}.JSONToProtobuf(message, libjson::parse(R"({"inner":{"number":1,"nope":2}})"), strict, false),
        JSONProtoException);
    EXPECT_EQ(message.ShortDebugString(), "inner { number: 1 }");
    EXPECT_EQ(strict_failure(R"({"inner":{"nope":2}})"), "nope has invalid value");
}

TEST(Nesting, GivenAnUnknownKeyInside_WhenLenient_ThenOnlyItIsSkipped)
{
    EXPECT_EQ(convert(R"({"inner":{"nope":{"number":1},"number":2},"i32":3})", lenient).ShortDebugString(),
              "i32: 3 inner { number: 2 }");
}

TEST(Nesting, GivenTheDeepestDocument_WhenConverted_ThenEveryLevelIsThere)
{
    std::string json = R"({"number":1})";
    for (std::size_t level = 1; level < libjson::depth_max; ++level) {
        json = R"({"inner":)" + json + "}"; // NOLINT(performance-inefficient-string-concatenation): 512 times
    }
    const auto message = convert<Inner>(json, strict);
    const Inner* inner = &message;
    std::size_t levels = 1;
    for (; inner->has_inner(); inner = &inner->inner()) {
        ++levels;
    }
    EXPECT_EQ(levels, libjson::depth_max);
    EXPECT_EQ(inner->number(), 1);
}

TEST(Nesting, GivenAnArrayInASubMessage_WhenConverted_ThenItFillsItsRepeatedField)
{
    EXPECT_THAT(convert(R"({"inner":{"numbers":[1,2]}})", strict).inner().numbers(), testing::ElementsAre(1, 2));
}

} // namespace
} // namespace qx::test
