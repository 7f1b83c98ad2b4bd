#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "misc/miscutils/tests/convert.h"

namespace qx::test {
namespace {

template <class T>
using limits = std::numeric_limits<T>;

TEST(Scalar, GivenInt32_WhenConverted_ThenTheRangeIsExactAndBeyondItTheLowBitsStay)
{
    EXPECT_EQ(convert(R"({"i32":2147483647})", strict).i32(), limits<std::int32_t>::max());
    EXPECT_EQ(convert(R"({"i32":-2147483648})", strict).i32(), limits<std::int32_t>::min());
    EXPECT_EQ(convert(R"({"i32":2147483648})", strict).i32(), limits<std::int32_t>::min());
    EXPECT_EQ(convert(R"({"i32":4294967297})", strict).i32(), 1);
}

TEST(Scalar, GivenInt64_WhenConverted_ThenTheRangeIsExact)
{
    EXPECT_EQ(convert(R"({"i64":9223372036854775807})", strict).i64(), limits<std::int64_t>::max());
    EXPECT_EQ(convert(R"({"i64":-9223372036854775808})", strict).i64(), limits<std::int64_t>::min());
    EXPECT_EQ(convert(R"({"zigzag":-9007199254740993})", strict).zigzag(), -9007199254740993);
}

TEST(Scalar, GivenUInt32_WhenConverted_ThenTheLowBitsStay)
{
    EXPECT_EQ(convert(R"({"u32":4294967295})", strict).u32(), limits<std::uint32_t>::max());
    EXPECT_EQ(convert(R"({"u32":4294967296})", strict).u32(), 0U);
    EXPECT_EQ(convert(R"({"u32":-1})", strict).u32(), limits<std::uint32_t>::max());
}

TEST(Scalar, GivenUInt64_WhenConverted_ThenTheRangeIsExactAndNegativesWrap)
{
    EXPECT_EQ(convert(R"({"u64":18446744073709551615})", strict).u64(), limits<std::uint64_t>::max());
    EXPECT_EQ(convert(R"({"u64":9223372036854775808})", strict).u64(), std::uint64_t{1} << 63U);
    EXPECT_EQ(convert(R"({"u64":-1})", strict).u64(), limits<std::uint64_t>::max());
    EXPECT_EQ(convert(R"({"fixed":9007199254740993})", strict).fixed(), 9007199254740993U);
}

TEST(Scalar, GivenAFractionForAnInteger_WhenConverted_ThenItIsTruncated)
{
    EXPECT_EQ(convert(R"({"i32":-1.9})", strict).i32(), -1);
    EXPECT_EQ(convert(R"({"i64":1.5e3})", strict).i64(), 1500);
}

TEST(Scalar, GivenADouble_WhenConverted_ThenItIsTheNearest)
{
    EXPECT_EQ(convert(R"({"real":0.1})", strict).real(), 0.1);
    EXPECT_EQ(convert(R"({"real":-1.5e-3})", strict).real(), -0.0015);
    EXPECT_EQ(convert(R"({"real":12345678901234567890})", strict).real(), 12345678901234567890.0);
    EXPECT_EQ(convert(R"({"real":1e400})", strict).real(), HUGE_VAL);
}

TEST(Scalar, GivenAFloat_WhenConverted_ThenTheDoubleIsNarrowed)
{
    EXPECT_EQ(convert(R"({"single":0.1})", strict).single(), 0.1F);
    EXPECT_EQ(convert(R"({"single":1e39})", strict).single(), HUGE_VALF);
    // Just above the middle of two floats: as a double it is the middle, which then goes to the even one.
    EXPECT_EQ(convert(R"({"single":1.00000005960464477539062500001})", strict).single(), 1.0F);
}

TEST(Scalar, GivenADecimalCommaInTheLocale_WhenConverted_ThenThePointIsStillAPoint)
{
    setenv("LOCPATH", QX_TEST_LOCALES, 1); // NOLINT(concurrency-mt-unsafe): one thread
    const std::string before = std::setlocale(LC_NUMERIC, nullptr);
    ASSERT_NE(std::setlocale(LC_NUMERIC, "decimal_comma"), nullptr);
    ASSERT_EQ(std::strtod("1.5", nullptr), 1.0); // the locale does what it is here for
    EXPECT_EQ(convert(R"({"real":1.5})", strict).real(), 1.5);
    EXPECT_EQ(convert(R"({"single":1.5})", strict).single(), 1.5F);
    EXPECT_EQ(convert(R"({"reals":[2.5]})", strict).reals(0), 2.5);
    std::setlocale(LC_NUMERIC, before.c_str());
}

TEST(Scalar, GivenANumberForABool_WhenConverted_ThenItIsWhetherTheIntegerIsNotZero)
{
    EXPECT_FALSE(convert(R"({"flag":0})", strict).flag());
    EXPECT_TRUE(convert(R"({"flag":0})", strict).has_flag());
    EXPECT_TRUE(convert(R"({"flag":2})", strict).flag());
    EXPECT_TRUE(convert(R"({"flag":-1})", strict).flag());
    EXPECT_FALSE(convert(R"({"flag":0.5})", strict).flag());
}

TEST(Scalar, GivenABool_WhenConverted_ThenItIsTaken)
{
    EXPECT_TRUE(convert(R"({"flag":true})", strict).flag());
    EXPECT_TRUE(convert(R"({"flag":false})", strict).has_flag());
    EXPECT_FALSE(convert(R"({"flag":false})", strict).flag());
}

TEST(Scalar, GivenAString_WhenConverted_ThenItIsTakenUnescapedByteForByte)
{
    EXPECT_EQ(convert(R"({"text":"a\n\u00e9\u0000b"})", strict).text(), std::string("a\n\xC3\xA9\0b", 6));
    EXPECT_EQ(convert("{\"raw\":\"\xFF\x80\"}", strict).raw(), "\xFF\x80");
    EXPECT_TRUE(convert(R"({"text":""})", strict).has_text());
}

TEST(Scalar, GivenAnotherTypeForAString_WhenStrict_ThenItsTextIsTakenUnchecked)
{
    EXPECT_EQ(convert(R"({"text":1.50})", strict).text(), "1.50");
    EXPECT_EQ(convert(R"({"text":true})", strict).text(), "true");
    EXPECT_EQ(convert(R"({"text":null})", strict).text(), "null");
}

TEST(Scalar, GivenADuplicateKey_WhenConverted_ThenTheLaterOverwrites)
{
    EXPECT_EQ(convert(R"({"i32":1,"text":"a","i32":2})", strict).ShortDebugString(), R"(i32: 2 text: "a")");
}

TEST(Scalar, GivenTheKeyOfTwoFields_WhenConverted_ThenTheLaterDeclaredIsSet)
{
    EXPECT_EQ(convert<Keys>(R"({"shared":1,"taken":2,"newName":3})", strict).ShortDebugString(),
              "renamed: 3 later: 1 taker: 2");
}

class StringForNumber : public testing::TestWithParam<std::string> {};

TEST_P(StringForNumber, GivenAStringForANumber_WhenStrict_ThenItThrowsForTheType)
{
    const std::string& key = GetParam();
    EXPECT_EQ(strict_failure("{\"" + key + R"(":"12"})"), key + " is expected to be of type JSON_NUMBER");
}

TEST_P(StringForNumber, GivenNullForANumber_WhenStrict_ThenItThrowsForTheType)
{
    const std::string& key = GetParam();
    EXPECT_EQ(strict_failure("{\"" + key + R"(":null})"), key + " is expected to be of type JSON_NUMBER");
}

INSTANTIATE_TEST_SUITE_P(EachNumericType, StringForNumber,
                         testing::Values("i32", "i64", "u32", "u64", "real", "single", "zigzag", "fixed"),
                         [](const auto& test) { return test.param; });

TEST(Scalar, GivenAStringForABool_WhenStrict_ThenItThrowsForTheType)
{
    EXPECT_EQ(strict_failure(R"({"flag":"true"})"), "flag is expected to be of type JSON_BOOL");
    EXPECT_EQ(strict_failure(R"({"flag":null})"), "flag is expected to be of type JSON_BOOL");
}

TEST(Scalar, GivenAStringForAnInteger_WhenLenient_ThenItsLeadingNumberIsTaken)
{
    EXPECT_EQ(convert(R"({"i64":"9007199254740993"})", lenient).i64(), 9007199254740993);
    EXPECT_EQ(convert(R"({"u64":"18446744073709551615"})", lenient).u64(), limits<std::uint64_t>::max());
    EXPECT_EQ(convert(R"({"i32":" 12abc"})", lenient).i32(), 12);
    EXPECT_EQ(convert(R"({"i32":"abc"})", lenient).i32(), 0);
    EXPECT_TRUE(convert(R"({"i32":"abc"})", lenient).has_i32());
}

TEST(Scalar, GivenAStringForADouble_WhenLenient_ThenItsTextIsParsed)
{
    EXPECT_EQ(convert(R"({"real":"1.5"})", lenient).real(), 1.5);
    EXPECT_EQ(convert(R"({"real":"1.5x"})", lenient).real(), 1.5);
    EXPECT_EQ(convert(R"({"real":"abc"})", lenient).real(), 0);
    EXPECT_EQ(convert(R"({"single":"2.5"})", lenient).single(), 2.5F);
}

TEST(Scalar, GivenTextsOnlyStrtodKnows_WhenLenient_ThenTheyAreReadAsItReadsThem)
{
    EXPECT_EQ(convert(R"({"real":"0x10"})", lenient).real(), 16);
    EXPECT_EQ(convert(R"({"real":"-inf"})", lenient).real(), -HUGE_VAL);
    EXPECT_TRUE(std::isnan(convert(R"({"real":"nan"})", lenient).real()));
}

TEST(Scalar, GivenNullOrBoolForANumber_WhenLenient_ThenItIsReadByTheLibrarysConversions)
{
    EXPECT_EQ(convert(R"({"i32":null,"i64":true,"real":true})", lenient).ShortDebugString(), "i32: 0 i64: 1 real: 0");
}

TEST(Scalar, GivenAStringForABool_WhenLenient_ThenOnlyTheWordTrueIsTrue)
{
    EXPECT_TRUE(convert(R"({"flag":"true"})", lenient).flag());
    EXPECT_FALSE(convert(R"({"flag":"yes"})", lenient).flag());
    EXPECT_TRUE(convert(R"({"flag":"yes"})", lenient).has_flag());
    EXPECT_FALSE(convert(R"({"flag":null})", lenient).flag());
}

} // namespace
} // namespace qx::test
