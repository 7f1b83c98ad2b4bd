#include <limits>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "misc/miscutils/tests/convert.h"

namespace qx::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(Repeated, GivenIntegers_WhenConverted_ThenTheyAreAppendedInOrderWithTheRulesOfSingularOnes)
{
    const auto message = convert(
        R"({"i32s":[1,4294967298],"i64s":[-9223372036854775808],"u32s":[-1,0],"u64s":[18446744073709551615,-1]})",
        strict);
    EXPECT_THAT(message.i32s(), ElementsAre(1, 2));
    EXPECT_THAT(message.i64s(), ElementsAre(std::numeric_limits<std::int64_t>::min()));
    EXPECT_THAT(message.u32s(), ElementsAre(4294967295U, 0U));
    EXPECT_THAT(message.u64s(), ElementsAre(18446744073709551615U, 18446744073709551615U));
}

TEST(Repeated, GivenRealsFlagsSidesAndTexts_WhenConverted_ThenTheyAreAppendedInOrder)
{
    const auto message = convert(
        R"({"reals":[0.1,2],"singles":[0.5],"flags":[true,0,2,false],"sides":["Sell",1],"texts":["a","",1.50]})",
        strict);
    EXPECT_THAT(message.reals(), ElementsAre(0.1, 2.0));
    EXPECT_THAT(message.singles(), ElementsAre(0.5F));
    EXPECT_THAT(message.flags(), ElementsAre(true, false, true, false));
    EXPECT_THAT(message.sides(), ElementsAre(Sell, Buy));
    EXPECT_THAT(message.texts(), ElementsAre("a", "", "1.50"));
}

TEST(Repeated, GivenAFractionForABool_WhenConverted_ThenItIsWhetherTheIntegerIsNotZero)
{
    EXPECT_THAT(convert(R"({"flags":[0.5,1.5]})", strict).flags(), ElementsAre(false, true));
}

TEST(Repeated, GivenObjects_WhenConverted_ThenEachAppendsASubMessage)
{
    EXPECT_EQ(convert(R"({"inners":[{"number":1},{},{"text":"c"}]})", strict).ShortDebugString(),
              R"(inners { number: 1 } inners { } inners { text: "c" })");
}

TEST(Repeated, GivenAnEmptyArray_WhenConverted_ThenNothingIsAppended)
{
    EXPECT_EQ(convert(R"({"i32s":[]})", strict).ByteSizeLong(), 0U);
}

TEST(Repeated, GivenTheKeyTwice_WhenConverted_ThenTheSecondArrayIsAppended)
{
    EXPECT_THAT(convert(R"({"i32s":[1],"i32s":[2,3]})", strict).i32s(), ElementsAre(1, 2, 3));
}

TEST(Repeated, GivenAnElementOfAnotherType_WhenStrict_ThenTheMessageNamesTheArraysKey)
{
    EXPECT_EQ(strict_failure(R"({"i64s":[1,"2"]})"), "i64s is expected to be of type JSON_NUMBER");
    EXPECT_EQ(strict_failure(R"({"reals":["1.5"]})"), "reals is expected to be of type JSON_NUMBER");
    EXPECT_EQ(strict_failure(R"({"flags":["true"]})"), "flags is expected to be of type JSON_BOOL");
}

TEST(Repeated, GivenAnElementOfAnotherType_WhenLenient_ThenItIsReadByTheLibrarysConversions)
{
    const auto message = convert(R"({"i64s":["12x",null,true],"reals":["1.5","x"],"flags":["true",null]})", lenient);
    EXPECT_THAT(message.i64s(), ElementsAre(12, 0, 1));
    EXPECT_THAT(message.reals(), ElementsAre(1.5, 0.0));
    EXPECT_THAT(message.flags(), ElementsAre(true, false));
}

TEST(Repeated, GivenAnInnerArray_WhenLenient_ThenItGivesNothing)
{
    EXPECT_THAT(convert(R"({"texts":["a",["b",["c"]],"d"]})", lenient).texts(), ElementsAre("a", "d"));
}

TEST(Repeated, GivenAnInnerArray_WhenStrict_ThenItThrowsForTheEmptyKey)
{
    EXPECT_EQ(strict_failure(R"({"texts":[["b"]]})"), " has invalid value");
}

TEST(Repeated, GivenAnEmptyInnerArray_WhenStrict_ThenThereIsNothingToRefuse)
{
    EXPECT_THAT(convert(R"({"texts":[[]]})", strict).texts(), IsEmpty());
}

TEST(Repeated, GivenAFieldWithTheEmptyKey_WhenItMeetsAnInnerArray_ThenThatFieldTakesIt)
{
    const auto message = convert<EmptyKey>(R"({"named":["a",["b"]]})", strict);
    EXPECT_THAT(message.named(), ElementsAre("a"));
    EXPECT_THAT(message.unnamed(), ElementsAre("b"));
}

TEST(Repeated, GivenScalarsForAMessageField_WhenConverted_ThenTheyArePassedOverInSilenceEvenWhenStrict)
{
    EXPECT_THAT(convert(R"({"inners":["a",1,null,{"number":2}]})", strict).inners().size(), 1);
    EXPECT_THAT(convert(R"({"uuids":["00112233-4455-6677-8899-aabbccddeeff","bad"]})", strict).uuids(), IsEmpty());
}

TEST(ParseJSONRepeating, GivenNoContainer_WhenParsed_ThenTheMessageIsUntouched)
{
    AllTypes message;
    std::string key = "i32s";
    JSONProto{}.ParseJSONRepeating(&message, AllTypes::GetReflection(), libjson::parse("1"), key, strict);
    EXPECT_EQ(message.ByteSizeLong(), 0U);
}

TEST(ParseJSONRepeating, GivenAnUnknownKey_WhenParsed_ThenEveryElementIsSkippedOrTheFirstThrows)
{
    AllTypes message;
    std::string key = "nope";
    const JSONNode array = libjson::parse("[1,[2],{}]");
    JSONProto{}.ParseJSONRepeating(&message, AllTypes::GetReflection(), array, key, lenient);
    EXPECT_EQ(message.ByteSizeLong(), 0U);
    EXPECT_THROW(JSONProto{}.ParseJSONRepeating(&message, AllTypes::GetReflection(), array, key, strict),
                 JSONProtoException);
}

} // namespace
} // namespace qx::test
