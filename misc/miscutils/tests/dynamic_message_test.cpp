// Messages whose type is only known at run time.
#include <memory>
#include <string>

#include <gmock/gmock.h>
#include <google/protobuf/dynamic_message.h>
#include <gtest/gtest.h>

#include "misc/miscutils/tests/convert.h"

namespace qx::test {
namespace {

using google::protobuf::Descriptor;
using google::protobuf::DescriptorPool;
using google::protobuf::DynamicMessageFactory;
using google::protobuf::FileDescriptor;
using google::protobuf::FileDescriptorProto;
using google::protobuf::Message;
using testing::ThrowsMessage;

constexpr const char* record = R"({"i32":1,"side":"Sell","inners":[{"number":2}],
                                   "uuid":"00112233-4455-6677-8899-aabbccddeeff"})";

void convert_into(Message& message, bool mode)
{
    JSONProto{}.JSONToProtobuf(message, libjson::parse(record), mode, false);
}

TEST(DynamicMessage, GivenTheGeneratedTypes_WhenConverted_ThenItIsFilledLikeAGeneratedOne)
{
    DynamicMessageFactory factory;
    const std::unique_ptr<Message> message(factory.GetPrototype(AllTypes::descriptor())->New());
    convert_into(*message, strict);
    EXPECT_EQ(message->SerializeAsString(), convert(record, strict).SerializeAsString());
}

/// The file and those that it imports, anew.
void copy_file(const FileDescriptor& file, DescriptorPool& to)
{
    for (int i = 0; i < file.dependency_count(); ++i) {
        copy_file(*file.dependency(i), to);
    }
    if (to.FindFileByName(file.name()) == nullptr) {
        FileDescriptorProto copy;
        file.CopyTo(&copy);
        to.BuildFile(copy);
    }
}

TEST(DynamicMessage, GivenTypesOfItsOwn_WhenConverted_ThenItsUuidIsAMessageLikeAnyOther)
{
    DescriptorPool pool;
    copy_file(*AllTypes::descriptor()->file(), pool);
    DynamicMessageFactory factory;
    const Descriptor* const type = pool.FindMessageTypeByName(AllTypes::descriptor()->full_name());
    ASSERT_NE(type, nullptr);
    const std::unique_ptr<Message> message(factory.GetPrototype(type)->New());
    EXPECT_THAT([&] { convert_into(*message, strict); }, ThrowsMessage<JSONProtoException>("uuid has invalid value"));
    EXPECT_EQ(message->ShortDebugString(), "i32: 1 side: Sell uuid { } inners { number: 2 }");
}

} // namespace
} // namespace qx::test
