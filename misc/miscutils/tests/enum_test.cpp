#include <string>

#include <gmock/gmock.h>
#include <google/protobuf/descriptor.pb.h>
#include <gtest/gtest.h>

#include "misc/miscutils/tests/convert.h"

namespace qx::test {
namespace {

TEST(Enum, GivenNameOrNumber_WhenConverted_ThenTheSameValueIsSet)
{
    EXPECT_EQ(convert(R"({"side":"Sell"})", strict).side(), Sell);
    EXPECT_EQ(convert(R"({"side":2})", strict).side(), Sell);
    EXPECT_EQ(convert(R"({"side":-1})", strict).side(), Short);
    EXPECT_TRUE(convert(R"({"side":0})", strict).has_side());
}

TEST(Enum, GivenANumberBeyondThirtyTwoBits_WhenConverted_ThenItsLowBitsAreLookedUp)
{
    EXPECT_EQ(convert(R"({"side":4294967298})", strict).side(), Sell);
}

// Names of large enumerations are looked up in another way than those of small ones.
TEST(Enum, GivenAnEnumerationOfManyValues_WhenConverted_ThenItsNamesAreFoundTheSame)
{
    using google::protobuf::FieldDescriptorProto;
    ASSERT_GT(FieldDescriptorProto::Type_descriptor()->value_count(), 16);
    EXPECT_EQ(convert<FieldDescriptorProto>(R"({"type":"TYPE_SINT64"})", strict).type(),
              FieldDescriptorProto::TYPE_SINT64);
    EXPECT_EQ(strict_failure<FieldDescriptorProto>(R"({"type":"TYPE_SINT"})"), "type has invalid value");
}

class UnusableEnum : public testing::TestWithParam<const char*> {};

TEST_P(UnusableEnum, GivenNoSuchValue_WhenStrict_ThenTheKeyHasAnInvalidValue)
{
    EXPECT_EQ(strict_failure(std::string(R"({"side":)") + GetParam() + "}"), "side has invalid value");
}

TEST_P(UnusableEnum, GivenNoSuchValue_WhenLenient_ThenNothingIsWrittenAndConversionGoesOn)
{
    const auto message = convert(std::string(R"({"side":)") + GetParam() + R"(,"i32":1})", lenient);
    EXPECT_EQ(message.ShortDebugString(), "i32: 1");
}

TEST_P(UnusableEnum, GivenNoSuchValueInAnArray_WhenLenient_ThenOnlyItIsLeftOut)
{
    const auto message = convert(std::string(R"({"sides":["Buy",)") + GetParam() + R"(,2]})", lenient);
    EXPECT_THAT(message.sides(), testing::ElementsAre(Buy, Sell));
}

TEST_P(UnusableEnum, GivenNoSuchValueInAnArray_WhenStrict_ThenTheArraysKeyHasAnInvalidValue)
{
    EXPECT_EQ(strict_failure(std::string(R"({"sides":["Buy",)") + GetParam() + "]}"), "sides has invalid value");
}

INSTANTIATE_TEST_SUITE_P(EachKind, UnusableEnum,
                         testing::Values(R"("sell")", R"("")", R"("2")", "3", "null", "true", "false"));

} // namespace
} // namespace qx::test
