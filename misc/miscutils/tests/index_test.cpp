// The index from JSON key to field, and the two checks.
#include <string>
#include <type_traits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "misc/miscutils/tests/convert.h"

namespace qx::test {
namespace {

using testing::ThrowsMessage;

/// The name of the field that the key finds, however often the index is to be asked; "" when there is none.
template <class Record = Keys>
std::string found(const std::string& key)
{
    Record message;
    const auto* field = JSONProto::FieldDescriptorIndex(&message).FindFieldByName(key);
    for (const std::size_t lookups : {0U, 1U, 2U, 100U}) {
        const JSONProto::FieldDescriptorIndex index(&message, lookups);
        EXPECT_EQ(index.FindFieldByName(key), field) << key << " with " << lookups;
    }
    return field == nullptr ? "" : field->name();
}

TEST(FieldDescriptorIndex, GivenNoOption_WhenLookedUp_ThenTheKeyIsTheFieldsOwnName)
{
    EXPECT_EQ(found("plain_name"), "plain_name");
    EXPECT_EQ(found("plainName"), "");
}

TEST(FieldDescriptorIndex, GivenAnOption_WhenLookedUp_ThenOnlyItsTextFindsTheField)
{
    EXPECT_EQ(found("newName"), "renamed");
    EXPECT_EQ(found("renamed"), "");
}

TEST(FieldDescriptorIndex, GivenProtobufsJsonName_WhenLookedUp_ThenItPlaysNoPart)
{
    EXPECT_EQ(found("json_named"), "json_named");
    EXPECT_EQ(found("viaProtobuf"), "");
}

TEST(FieldDescriptorIndex, GivenTwoFieldsWithOneKey_WhenLookedUp_ThenTheLaterWins)
{
    EXPECT_EQ(found("shared"), "later");
    EXPECT_EQ(found("taken"), "taker");
}

TEST(FieldDescriptorIndex, GivenNamesThatDifferInCase_WhenLookedUp_ThenTheyAreDifferentKeys)
{
    EXPECT_EQ(found("Id"), "upper_id");
    EXPECT_EQ(found("id"), "id");
    EXPECT_EQ(found("ID"), "");
}

TEST(FieldDescriptorIndex, GivenKeysThatHashAlike_WhenLookedUp_ThenEachFindsItsOwnField)
{
    EXPECT_EQ(found("quantity_1_quantity"), "quantity_1_quantity");
    EXPECT_EQ(found("quantity_2_quantity"), "quantity_2_quantity");
    EXPECT_EQ(found("quantity_3_quantity"), "");
}

TEST(FieldDescriptorIndex, GivenAFieldWithTheEmptyKey_WhenLookedUp_ThenItIsFoundLikeAnyOther)
{
    EXPECT_EQ(found<EmptyKey>(""), "unnamed");
    EXPECT_EQ(found<EmptyKey>("named"), "named");
    EXPECT_EQ(found<EmptyKey>("none"), "");
}

TEST(FieldDescriptorIndex, GivenAnOptionWithAZeroByte_WhenLookedUp_ThenTheKeyEndsThere)
{
    EXPECT_EQ(found("cut"), "cut");
    EXPECT_EQ(found(std::string("cut\0off", 7)), "");
}

TEST(FieldDescriptorIndex, GivenAKeyWithAZeroByte_WhenLookedUp_ThenAllOfItIsCompared)
{
    EXPECT_EQ(found(std::string("id\0", 3)), "");
}

TEST(FieldDescriptorIndex, GivenExtensionsAndTheEmptyKey_WhenLookedUp_ThenTheyAreNotThere)
{
    EXPECT_EQ(found("extension"), "");
    EXPECT_EQ(found(""), "");
}

TEST(FieldDescriptorIndex, GivenNestedTypes_WhenLookedUp_ThenNeitherTheyNorTheirFieldsAreThere)
{
    EXPECT_EQ(found("Nested"), "");
    EXPECT_EQ(found("deep"), "");
    EXPECT_EQ(found("NestedEnum"), "");
    EXPECT_EQ(found("NESTED_VALUE"), "");
}

TEST(FieldDescriptorIndex, GivenAMessageWithoutFields_WhenLookedUp_ThenEveryKeyIsUnknown)
{
    EXPECT_EQ(found<Empty>(""), "");
    EXPECT_EQ(found<Empty>("id"), "");
}

TEST(VerifyType, GivenTheExpectedType_WhenChecked_ThenItIsTrueInBothModes)
{
    const JSONNode number = libjson::parse("1");
    EXPECT_TRUE(JSONProto{}.JSON2PB_VERIFY_TYPE("price", number, JSON_NUMBER, strict));
    EXPECT_TRUE(JSONProto{}.JSON2PB_VERIFY_TYPE("price", number, JSON_NUMBER, lenient));
}

TEST(VerifyType, GivenAnotherTypeAndLenient_WhenChecked_ThenItIsTrueAllTheSame)
{
    EXPECT_TRUE(JSONProto{}.JSON2PB_VERIFY_TYPE("price", libjson::parse("null"), JSON_NUMBER, lenient));
}

struct TypeName {
    char code;
    const char* name;
};

class VerifyTypeName : public testing::TestWithParam<TypeName> {};

TEST_P(VerifyTypeName, GivenAnotherTypeAndStrict_WhenChecked_ThenTheMessageNamesTheExpectedType)
{
    // Anything but what the code names: an object, or a null where an object is expected.
    const JSONNode other = libjson::parse(GetParam().code == JSON_NODE ? "null" : "{}");
    EXPECT_THAT([&] { JSONProto{}.JSON2PB_VERIFY_TYPE("price", other, GetParam().code, strict); },
                ThrowsMessage<JSONProtoException>(std::string("price is expected to be of type ") + GetParam().name));
}

INSTANTIATE_TEST_SUITE_P(EachCode, VerifyTypeName,
                         testing::Values(TypeName{JSON_NULL, "JSON_NULL"}, TypeName{JSON_STRING, "JSON_STRING"},
                                         TypeName{JSON_NUMBER, "JSON_NUMBER"}, TypeName{JSON_BOOL, "JSON_BOOL"},
                                         TypeName{JSON_ARRAY, "JSON_ARRAY"}, TypeName{JSON_NODE, "JSON_NODE"},
                                         TypeName{6, "UNKNOWN"}, TypeName{-1, "UNKNOWN"}));

TEST(Failed, GivenStrict_WhenReported_ThenTheKeyHasAnInvalidValue)
{
    EXPECT_THAT([] { JSONProto{}.JSON2PB_FAILED("price", strict); },
                ThrowsMessage<JSONProtoException>("price has invalid value"));
}

TEST(Failed, GivenLenient_WhenReported_ThenNothingHappens)
{
    EXPECT_NO_THROW(JSONProto{}.JSON2PB_FAILED("price", lenient));
}

TEST(JSONProtoException, GivenItsType_WhenInspected_ThenItIsACopyableRuntimeErrorWithVirtualDestructor)
{
    static_assert(std::is_base_of_v<std::runtime_error, JSONProtoException>);
    static_assert(std::is_copy_constructible_v<JSONProtoException> && std::is_move_constructible_v<JSONProtoException>);
    static_assert(std::is_copy_assignable_v<JSONProtoException> && std::is_move_assignable_v<JSONProtoException>);
    static_assert(std::has_virtual_destructor_v<JSONProtoException>);
    EXPECT_STREQ(JSONProtoException("text").what(), "text");
}

} // namespace
} // namespace qx::test
