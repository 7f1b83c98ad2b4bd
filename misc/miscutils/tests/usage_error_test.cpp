// A document whose shape does not fit the schema. The converter does not guard against it; protobuf does.
#include <exception>
#include <type_traits>

#include <gmock/gmock.h>
#include <google/protobuf/stubs/logging.h>
#include <gtest/gtest.h>

#include "misc/miscutils/tests/convert.h"

namespace qx::test {
namespace {

class UsageError : public testing::TestWithParam<const char*> {};

TEST_P(UsageError, GivenAShapeThatDoesNotFit_WhenConverted_ThenProtobufThrowsAStandardException)
{
    static_assert(std::is_base_of_v<std::exception, google::protobuf::FatalException>);
    EXPECT_THROW(convert(GetParam(), lenient), google::protobuf::FatalException);
    EXPECT_THROW(convert(GetParam(), strict), google::protobuf::FatalException);
}

INSTANTIATE_TEST_SUITE_P(EachShape, UsageError,
                         testing::Values(R"({"i32s":1})", R"({"inners":{"number":1}})", R"({"i32":[1]})",
                                         R"({"inner":[{"number":1}]})", R"({"i32":{"number":1}})", R"({"text":{}})",
                                         R"({"texts":[{}]})", R"({"uuids":"00112233445566778899aabbccddeeff"})",
                                         R"({"sides":"Buy"})", R"({"side":["Buy"]})", R"({"side":[1]})",
                                         R"({"sides":1})", R"({"texts":"a"})", R"({"texts":null})"));

TEST(UsageError, GivenNullForARepeatedNumber_WhenConverted_ThenStrictModeRefusesTheTypeFirst)
{
    EXPECT_THROW(convert(R"({"i32s":null})", lenient), google::protobuf::FatalException);
    EXPECT_EQ(strict_failure(R"({"i32s":null})"), "i32s is expected to be of type JSON_NUMBER");
}

TEST(UsageError, GivenNoEnumValueForARepeatedEnum_WhenConverted_ThenTheValueIsRefusedBeforeTheShape)
{
    EXPECT_EQ(convert(R"({"sides":null})", lenient).ByteSizeLong(), 0U);
    EXPECT_EQ(strict_failure(R"({"sides":null})"), "sides has invalid value");
}

TEST(UsageError, GivenScalarsInAnArrayForASingularMessage_WhenStrict_ThenTheyArePassedOverInSilence)
{
    EXPECT_EQ(convert(R"({"inner":[1,"a",null],"uuid":["bad"]})", strict).ByteSizeLong(), 0U);
}

TEST(UsageError, GivenAnEmptyArrayForASingularField_WhenConverted_ThenNothingIsTouched)
{
    EXPECT_EQ(convert(R"({"i32":[]})", strict).ByteSizeLong(), 0U);
}

} // namespace
} // namespace qx::test
