// The entry point: what it converts, what it reports, and which failures it lets through.
#include <string>

#include <gmock/gmock.h>
#include <google/protobuf/arena.h>
#include <gtest/gtest.h>

#include "misc/miscutils/tests/convert.h"
#include "tests/doubles/captured_log.h"

namespace qx::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr bool log_empty = true;

template <class Message>
bool converted(Message& message, std::string_view json, bool mode, bool logEmptyJson)
{
    return JSONProto{}.JSONToProtobuf(message, libjson::parse(json), mode, logEmptyJson);
}

TEST(JSONToProtobuf, GivenAnObject_WhenConverted_ThenItIsTrueAndNothingIsLogged)
{
    const CapturedLog log;
    AllTypes message;
    EXPECT_TRUE(converted(message, R"({"i32":7})", strict, log_empty));
    EXPECT_EQ(message.ShortDebugString(), "i32: 7");
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(JSONToProtobuf, GivenAnEmptyObject_WhenLoggingIsAskedFor_ThenItIsLoggedWithItsText)
{
    const CapturedLog log;
    AllTypes message;
    EXPECT_FALSE(converted(message, " { } ", lenient, log_empty));
    EXPECT_THAT(log.texts(), ElementsAre("JSON to protobuf conversion fails. Supplied JSON empty: message={}"));
}

TEST(JSONToProtobuf, GivenAnEmptyArray_WhenLoggingIsAskedFor_ThenItIsLoggedWithItsText)
{
    const CapturedLog log;
    AllTypes message;
    EXPECT_FALSE(converted(message, "[]", strict, log_empty));
    EXPECT_THAT(log.texts(), ElementsAre("JSON to protobuf conversion fails. Supplied JSON empty: message=[]"));
}

TEST(JSONToProtobuf, GivenTheStatement_WhenLogged_ThenItCarriesIdThirteenAndItsOwnPlace)
{
    const CapturedLog log;
    AllTypes message;
    converted(message, "{}", lenient, log_empty);
    const auto statement = log.statements().at(0);
    EXPECT_EQ(statement.level, logging::QXLOG_INFO);
    EXPECT_EQ(statement.id, 13U);
    EXPECT_EQ(statement.decodeType, logging::QXLOG_DECODE_AS_KV);
    EXPECT_EQ(statement.source, "");
    EXPECT_EQ(statement.handlerName, "");
    EXPECT_THAT(statement.file, testing::EndsWith("JSONtopb_non_static.cpp"));
    EXPECT_GT(statement.line, 0);
}

TEST(JSONToProtobuf, GivenAnEmptyObject_WhenLoggingIsNotAskedFor_ThenItIsFalseInSilence)
{
    const CapturedLog log;
    AllTypes message;
    EXPECT_FALSE(converted(message, "{}", strict, !log_empty));
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(JSONToProtobuf, GivenTheLevelIsNotAdmitted_WhenEmpty_ThenItIsFalseInSilence)
{
    const CapturedLog log(logging::QXLOG_INFO + 1);
    AllTypes message;
    EXPECT_FALSE(converted(message, "{}", lenient, log_empty));
    EXPECT_THAT(log.texts(), IsEmpty());
}

class BareScalar : public testing::TestWithParam<const char*> {};

TEST_P(BareScalar, GivenNoContainer_WhenLoggingIsAskedFor_ThenNothingFollowsTheEqualsSign)
{
    const CapturedLog log;
    AllTypes message;
    EXPECT_FALSE(converted(message, GetParam(), strict, log_empty));
    EXPECT_THAT(log.texts(), ElementsAre("JSON to protobuf conversion fails. Supplied JSON empty: message="));
}

INSTANTIATE_TEST_SUITE_P(EachType, BareScalar, testing::Values(R"("text")", "42", "true", "null"));

TEST(JSONToProtobuf, GivenOnlyAnUnknownKey_WhenLenient_ThenItIsTrueAndTheMessageStaysEmpty)
{
    const CapturedLog log;
    AllTypes message;
    EXPECT_TRUE(converted(message, R"({"nope":1})", lenient, log_empty));
    EXPECT_EQ(message.ByteSizeLong(), 0U);
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(JSONToProtobuf, GivenUnknownKeysWithContainers_WhenLenient_ThenTheyAreSkippedAndTheRestIsRead)
{
    EXPECT_EQ(convert(R"({"nope":[1,[2],{"i32":3}],"no":{"i32":4},"i64":5})", lenient).ShortDebugString(), "i64: 5");
}

TEST(JSONToProtobuf, GivenOnlyAnUnknownKey_WhenStrict_ThenItThrowsForThatKey)
{
    EXPECT_EQ(strict_failure(R"({"nope":1})"), "nope has invalid value");
    EXPECT_EQ(strict_failure(R"({"nope":[1]})"), "nope has invalid value");
    EXPECT_EQ(strict_failure(R"({"nope":{"x":1}})"), "nope has invalid value");
}

TEST(JSONToProtobuf, GivenAnUnknownKeyAmongKnownOnes_WhenStrict_ThenTheEarlierOnesAreKept)
{
    AllTypes message;
    EXPECT_THROW(converted(message, R"({"i32":1,"nope":2,"i64":3})", strict, log_empty), JSONProtoException);
    EXPECT_EQ(message.ShortDebugString(), "i32: 1");
}

TEST(JSONToProtobuf, GivenAnArrayWithElements_WhenConverted_ThenTheirEmptyNamesAreUnknownKeys)
{
    AllTypes message;
    EXPECT_TRUE(converted(message, R"([{"i32":1}])", lenient, log_empty));
    EXPECT_EQ(message.ByteSizeLong(), 0U);
    EXPECT_EQ(strict_failure("[1]"), " has invalid value");
}

TEST(JSONToProtobuf, GivenAMessageWithoutFields_WhenConverted_ThenEveryKeyIsUnknown)
{
    Empty message;
    EXPECT_TRUE(converted(message, R"({"id":1})", lenient, log_empty));
    EXPECT_EQ(strict_failure<Empty>(R"({"id":1})"), "id has invalid value");
}

TEST(JSONToProtobuf, GivenAFilledMessage_WhenConvertedInto_ThenItIsAddedTo)
{
    AllTypes message;
    converted(message, R"({"i32":1,"i32s":[1]})", strict, log_empty);
    converted(message, R"({"i64":2,"i32s":[2]})", strict, log_empty);
    EXPECT_EQ(message.ShortDebugString(), "i32: 1 i64: 2 i32s: 1 i32s: 2");
}

/// Its fields cannot be indexed: asking for the descriptor throws `Failure`. The reflection is another message's.
template <class Failure>
class RefusingMessage : public google::protobuf::Message {
public:
    const google::protobuf::Reflection* GetReflection() const { return AllTypes::GetReflection(); }
    Message* New(google::protobuf::Arena*) const override { return nullptr; }
    int GetCachedSize() const override { return 0; }

private:
    google::protobuf::Metadata GetMetadata() const override { throw Failure("no such thing"); }
};

TEST(JSONToProtobuf, GivenAnInvalidArgumentInside_WhenConverted_ThenItIsLoggedAndFalse)
{
    const CapturedLog log;
    RefusingMessage<std::invalid_argument> message;
    EXPECT_FALSE(converted(message, R"({"i32":1})", strict, !log_empty));
    ASSERT_THAT(log.texts(logging::QXLOG_INFO),
                ElementsAre("Invalid argument in JSON to protobuf conversion no such thing"));
    EXPECT_EQ(log.statements().at(0).id, 13U);
}

TEST(JSONToProtobuf, GivenAnInvalidArgumentAndTheLevelIsNotAdmitted_WhenConverted_ThenItIsFalseInSilence)
{
    const CapturedLog log(logging::QXLOG_INFO + 1);
    RefusingMessage<std::invalid_argument> message;
    EXPECT_FALSE(converted(message, R"({"i32":1})", strict, log_empty));
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(JSONToProtobuf, GivenAnyOtherExceptionInside_WhenConverted_ThenItEscapesUnlogged)
{
    const CapturedLog log;
    RefusingMessage<std::out_of_range> message;
    EXPECT_THAT([&] { converted(message, R"({"i32":1})", lenient, log_empty); },
                testing::ThrowsMessage<std::out_of_range>("no such thing"));
    EXPECT_THAT(log.texts(), IsEmpty());
}

/// A message that has no reflection to fill it with.
struct UnreflectedMessage : RefusingMessage<std::invalid_argument> {
    const google::protobuf::Reflection* GetReflection() const { return nullptr; }
};

TEST(JSONToProtobuf, GivenNoReflection_WhenConverted_ThenItIsFalseInSilence)
{
    const CapturedLog log;
    UnreflectedMessage message;
    EXPECT_FALSE(converted(message, "{}", strict, log_empty));
    EXPECT_FALSE(converted(message, R"({"i32":1})", strict, log_empty));
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(ParseJSON, GivenNoContainer_WhenParsed_ThenTheMessageIsUntouched)
{
    AllTypes message;
    JSONProto{}.ParseJSON(&message, AllTypes::GetReflection(), libjson::parse("1"), strict);
    EXPECT_EQ(message.ByteSizeLong(), 0U);
}

} // namespace
} // namespace qx::test
