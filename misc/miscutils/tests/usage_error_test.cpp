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
                                         R"({"texts":[{}]})", R"({"uuids":"00112233445566778899aabbccddeeff"})"));

TEST(UsageError, GivenAnEmptyArrayForASingularField_WhenConverted_ThenNothingIsTouched)
{
    EXPECT_EQ(convert(R"({"i32":[]})", strict).ByteSizeLong(), 0U);
}

} // namespace
} // namespace qx::test
