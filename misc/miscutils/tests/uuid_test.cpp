#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid_io.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "misc/miscutils/source/uuid_text.h"
#include "misc/miscutils/tests/convert.h"

namespace qx::test {
namespace {

using testing::ThrowsMessage;

class UuidForm : public testing::TestWithParam<const char*> {};

TEST_P(UuidForm, GivenAnAcceptedForm_WhenConverted_ThenTheHalvesAreLittleEndian)
{
    const auto message = convert(std::string(R"({"uuid":")") + GetParam() + R"("})", strict);
    ASSERT_TRUE(message.uuid().has_hi());
    ASSERT_TRUE(message.uuid().has_lo());
    EXPECT_EQ(message.uuid().hi(), 0x7766554433221100U);
    EXPECT_EQ(message.uuid().lo(), 0xffeeddccbbaa9988U);
}

INSTANTIATE_TEST_SUITE_P(EachForm, UuidForm,
                         testing::Values("00112233-4455-6677-8899-aabbccddeeff", "00112233-4455-6677-8899-AABBCCDDEEFF",
                                         "{00112233-4455-6677-8899-aabbccddeeff}", "00112233445566778899aabbccddeeff"));

TEST(Uuid, GivenAllZeros_WhenConverted_ThenBothHalvesArePresent)
{
    const auto message = convert(R"({"uuid":"00000000-0000-0000-0000-000000000000"})", strict);
    EXPECT_TRUE(message.uuid().has_hi());
    EXPECT_TRUE(message.uuid().has_lo());
    EXPECT_EQ(message.uuid().hi(), 0U);
}

/// None when it is refused.
template <class Read>
std::optional<boost::uuids::uuid> uuid_by(const Read& read, const std::string& text)
{
    try {
        return read(text);
    } catch (const std::runtime_error&) {
        return std::nullopt;
    }
}

TEST(Uuid, GivenEachByteAnywhereInTheUsualForm_WhenRead_ThenItCountsAsForTheLibrary)
{
    const std::string usual = "00112233-4455-6677-8899-aabbCCDDEEFF";
    for (std::size_t at = 0; at < usual.size(); ++at) {
        for (unsigned byte = 0; byte < 256; ++byte) {
            std::string text = usual;
            text[at] = static_cast<char>(byte);
            const auto expected = uuid_by(boost::uuids::string_generator{}, text);
            boost::uuids::uuid uuid{};
            ASSERT_EQ(uuid_by(&detail::read_uuid, text), expected) << text;
            ASSERT_EQ(detail::read_plain_uuid(text, uuid), expected.has_value()) << text;
        }
    }
}

class MalformedUuid : public testing::TestWithParam<const char*> {};

TEST_P(MalformedUuid, GivenAnyMode_WhenConverted_ThenTheUuidLibrarysErrorEscapes)
{
    const std::string json = std::string(R"({"uuid":)") + GetParam() + "}";
    EXPECT_THAT([&] { convert(json, lenient); }, ThrowsMessage<std::runtime_error>("invalid uuid string"));
}

// In lenient mode a value that is no string is read by its text, which is no UUID either.
INSTANTIATE_TEST_SUITE_P(EachKind, MalformedUuid,
                         testing::Values(R"("")", R"("abc")", R"("00112233-4455-6677-8899-aabbccddeef")",
                                         R"("00112233-4455-6677-8899-aabbccddeeff0")",
                                         R"("{00112233-4455-6677-8899-aabbccddeeff")",
                                         R"("00112233-445566778899aabbccddeeff")", "null", "12", "true"));

class MalformedUuidText : public testing::TestWithParam<const char*> {};

TEST_P(MalformedUuidText, GivenStrict_WhenConverted_ThenTheUuidLibrarysErrorEscapes)
{
    const std::string json = std::string(R"({"uuid":")") + GetParam() + R"("})";
    EXPECT_THAT([&] { convert(json, strict); }, ThrowsMessage<std::runtime_error>("invalid uuid string"));
}

INSTANTIATE_TEST_SUITE_P(EachFault, MalformedUuidText,
                         testing::Values("", "00112233-4455-6677-8899-aabbccddeef",
                                         "00112233-4455-6677-8899-aabbccddeeff0", "{00112233445566778899aabbccddeeff",
                                         "0011223g-4455-6677-8899-aabbccddeeff"));

TEST(Uuid, GivenAMalformedText_WhenStrict_ThenItIsTheSameErrorAndTheFieldIsPresentButEmpty)
{
    AllTypes message;
    EXPECT_THAT([&] { JSONProto{}.JSONToProtobuf(message, libjson::parse(R"({"uuid":"abc"})"), strict, false); },
                ThrowsMessage<std::runtime_error>("invalid uuid string"));
    EXPECT_TRUE(message.has_uuid());
    EXPECT_FALSE(message.uuid().has_hi());
}

TEST(Uuid, GivenAValueThatIsNoString_WhenStrict_ThenItThrowsForTheTypeBeforeTheFieldIsMade)
{
    AllTypes message;
    EXPECT_THAT([&] { JSONProto{}.JSONToProtobuf(message, libjson::parse(R"({"uuid":12})"), strict, false); },
                ThrowsMessage<JSONProtoException>("uuid is expected to be of type JSON_STRING"));
    EXPECT_FALSE(message.has_uuid());
}

TEST(Uuid, GivenAStringForAnotherMessage_WhenStrict_ThenItThrowsAndTheFieldIsPresent)
{
    AllTypes message;
    EXPECT_THAT([&] { JSONProto{}.JSONToProtobuf(message, libjson::parse(R"({"inner":"abc"})"), strict, false); },
                ThrowsMessage<JSONProtoException>("inner has invalid value"));
    EXPECT_TRUE(message.has_inner());
}

TEST(Uuid, GivenAScalarForAnotherMessage_WhenLenient_ThenTheFieldIsPresentAndConversionGoesOn)
{
    EXPECT_EQ(convert(R"({"inner":null,"i32":1})", lenient).ShortDebugString(), "i32: 1 inner { }");
}

TEST(Uuid, GivenAnObject_WhenConverted_ThenItFillsTheHalvesByName)
{
    EXPECT_EQ(convert(R"({"uuid":{"lo":1,"hi":2}})", strict).ShortDebugString(), "uuid { lo: 1 hi: 2 }");
}

} // namespace
} // namespace qx::test
