#include <algorithm>
#include <cctype>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "gson_name.pb.h"
#include "header.pb.h"
#include "instrument_download_record.pb.h"
#include "pds_enums.pb.h"
#include "product_download_record.pb.h"
#include "triage_action.pb.h"
#include "uuid.pb.h"
#include "wire.pb.h"

namespace {

namespace enums = qx::messaging::pds::enums;
namespace triage = qx::messaging::triage;
using google::protobuf::Descriptor;
using google::protobuf::FieldDescriptor;
using qx::messaging::gson_name;
using qx::messaging::Header;

std::string json_key(const FieldDescriptor& field)
{
    return field.options().HasExtension(gson_name) ? field.options().GetExtension(gson_name) : field.name();
}

std::vector<const Descriptor*> record_messages()
{
    return {qx::messaging::Uuid::descriptor(),
            qx::messaging::pds::Alias::descriptor(),
            qx::messaging::pds::ExchangeData::descriptor(),
            qx::messaging::pds::TickTableRange::descriptor(),
            qx::messaging::pds::InstrumentLeg::descriptor(),
            qx::messaging::pds::ProductDownloadRecord::descriptor(),
            qx::messaging::pds::InstrumentDownloadRecord::descriptor()};
}

std::vector<const Descriptor*> request_messages()
{
    return {qx::messaging::Header::descriptor(),        qx::messaging::Wire::descriptor(),
            triage::TriageActionWithWire::descriptor(), triage::TriageTestRequest::descriptor(),
            triage::TriageNakKillRequest::descriptor(), triage::TriageResponse::descriptor()};
}

std::string field_line(const FieldDescriptor& field)
{
    std::ostringstream line;
    line << field.full_name() << " = " << field.number() << ' ' << (field.is_repeated() ? "repeated " : "optional ")
         << field.type_name() << ' ' << json_key(field);
    return line.str();
}

std::set<std::string> lines_of(const std::string& path)
{
    std::ifstream file(path);
    std::set<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        if (!line.empty() && line.front() != '#') {
            lines.insert(line);
        }
    }
    return lines;
}

std::vector<int> enum_values(const google::protobuf::EnumDescriptor& descriptor)
{
    std::vector<int> values;
    for (int i = 0; i < descriptor.value_count(); ++i) {
        values.push_back(descriptor.value(i)->number());
    }
    return values;
}

TEST(Schema, GivenTheEventTypes_ThenNamesNumbersAndBoundsAreFixed)
{
    EXPECT_EQ(0, enums::Create);
    EXPECT_EQ(1, enums::Update);
    EXPECT_EQ(2, enums::Delete);
    EXPECT_EQ(0, enums::PdsNotifyEventType_MIN);
    EXPECT_EQ(2, enums::PdsNotifyEventType_MAX);
    EXPECT_EQ(3, enums::PdsNotifyEventType_ARRAYSIZE);
    EXPECT_THAT(enum_values(*enums::PdsNotifyEventType_descriptor()), testing::ElementsAre(0, 1, 2));
    static_assert(sizeof(enums::PdsNotifyEventType) == 4);
}

TEST(Schema, GivenTheDataTypes_ThenNamesNumbersAndBoundsAreFixed)
{
    EXPECT_EQ(1, enums::ProductUploadRecord);
    EXPECT_EQ(2, enums::ProductDownloadRecord);
    EXPECT_EQ(3, enums::ProductDeleteRecord);
    EXPECT_EQ(4, enums::InstrumentUploadRecord);
    EXPECT_EQ(5, enums::InstrumentDownloadRecord);
    EXPECT_EQ(6, enums::InstrumentDeleteRecord);
    EXPECT_EQ(7, enums::TickTableUploadRecord);
    EXPECT_EQ(8, enums::CurrencyUploadRecord);
    EXPECT_EQ(9, enums::TickTableDeleteRecord);
    EXPECT_EQ(10, enums::SyntheticRuleUploadRecord);
    EXPECT_EQ(11, enums::SyntheticRuleDeleteRecord);
    EXPECT_EQ(1, enums::PdsNotifyDataType_MIN);
    EXPECT_EQ(11, enums::PdsNotifyDataType_MAX);
    EXPECT_EQ(12, enums::PdsNotifyDataType_ARRAYSIZE);
    EXPECT_EQ(11, enums::PdsNotifyDataType_descriptor()->value_count());
}

TEST(Schema, GivenEveryMessage_ThenItsFieldsAreAsFirstPublished)
{
    const std::set<std::string> published = lines_of(QX_PUBLISHED_FIELDS);
    std::set<std::string> now;
    for (const Descriptor* message : record_messages()) {
        for (int i = 0; i < message->field_count(); ++i) {
            now.insert(field_line(*message->field(i)));
        }
    }
    for (const Descriptor* message : request_messages()) {
        for (int i = 0; i < message->field_count(); ++i) {
            const FieldDescriptor& field = *message->field(i);
            now.insert(field_line(field) + (field.has_presence() ? ", presence" : ", no presence"));
        }
    }
    // A new field is added to the list together with its schema; a line of the list is never changed.
    EXPECT_EQ(published, now);
}

TEST(Schema, GivenTheMessageTypes_ThenTheNumbersOfOperationsRequestsAreFixed)
{
    EXPECT_EQ(1300, Header::MSG_OPS_TRIAGE_ACTION);
    EXPECT_EQ(1301, Header::MSG_OPS_TRIAGE_ACTION_WITH_WIRE);
    EXPECT_EQ(1302, Header::MSG_OPS_TRIAGE_ACTION_RESPONSE);
    EXPECT_EQ(1303, Header::MSG_OPS_TRIAGE_TEST_REQUEST);
    EXPECT_EQ(1304, Header::MSG_OPS_TRIAGE_NAK_KILL_REQUEST);
    EXPECT_THAT(enum_values(*Header::MessageType_descriptor()), testing::ElementsAre(0, 1300, 1301, 1302, 1303, 1304));
}

TEST(Schema, GivenTheContextsOfARequest_ThenNamesAndNumbersAreFixed)
{
    EXPECT_EQ(0, triage::ORDER);
    EXPECT_EQ(1, triage::PRICE);
    EXPECT_EQ(2, triage::QXNOTIFY);
    EXPECT_EQ(3, triage::ALL);
    EXPECT_THAT(enum_values(*triage::LBMContext_descriptor()), testing::ElementsAre(0, 1, 2, 3));
}

TEST(Schema, GivenTheStatesOfAnAnswer_ThenNamesAndNumbersAreFixed)
{
    EXPECT_EQ(0, triage::TRIAGE_RESPONSE_STATUS_SUCCESS);
    EXPECT_EQ(1, triage::TRIAGE_RESPONSE_STATUS_FAILURE);
    EXPECT_THAT(enum_values(*triage::TriageActionResponseStatus_descriptor()), testing::ElementsAre(0, 1));
}

TEST(Schema, GivenNumbersWithoutAName_WhenRead_ThenTheyArePresentAndKept)
{
    Header header;
    ASSERT_TRUE(header.ParseFromString("\x08\x05"));
    EXPECT_TRUE(header.has_msg_type());
    EXPECT_EQ(5, static_cast<int>(header.msg_type()));

    triage::TriageNakKillRequest request;
    ASSERT_TRUE(request.ParseFromString("\x08\x4d"));
    EXPECT_EQ(77, static_cast<int>(request.context()));
}

TEST(Schema, GivenDefaultsSetByHand_WhenAnAnswerIsWritten_ThenBothFieldsAreOnTheWire)
{
    triage::TriageResponse response;
    EXPECT_EQ("", response.SerializeAsString());
    response.set_request_id("");
    response.set_status(triage::TRIAGE_RESPONSE_STATUS_SUCCESS);
    EXPECT_EQ(std::string("\x0a\x00\x10\x00", 4), response.SerializeAsString());
}

TEST(Schema, GivenTheRecords_ThenTheyAreAsWideAsAGatewayMakesThem)
{
    EXPECT_GE(qx::messaging::pds::InstrumentDownloadRecord::descriptor()->field_count(), 60);
    EXPECT_GE(qx::messaging::pds::ProductDownloadRecord::descriptor()->field_count(), 35);
}

TEST(Schema, GivenAnyRecordMessage_ThenJsonKeysAreCamelCaseAndUnique)
{
    for (const Descriptor* message : record_messages()) {
        std::set<std::string> keys;
        for (int i = 0; i < message->field_count(); ++i) {
            const std::string key = json_key(*message->field(i));
            EXPECT_TRUE(keys.insert(key).second) << message->full_name() << " has " << key << " twice";
            EXPECT_EQ(std::string::npos, key.find('_')) << key;
            EXPECT_TRUE(std::islower(static_cast<unsigned char>(key.front()))) << key;
        }
    }
}

TEST(Schema, GivenASingularField_ThenItsPresenceIsKnown)
{
    qx::messaging::pds::InstrumentDownloadRecord record;
    EXPECT_FALSE(record.has_strike_price());
    record.set_strike_price(0);
    EXPECT_TRUE(record.has_strike_price());

    qx::messaging::Uuid uuid;
    EXPECT_FALSE(uuid.has_lo());
    EXPECT_FALSE(uuid.has_hi());
    uuid.set_lo(0);
    uuid.set_hi(0);
    EXPECT_TRUE(uuid.has_lo() && uuid.has_hi());
}

TEST(Schema, GivenTheUuidMessage_ThenLoIsDeclaredBeforeHi)
{
    const Descriptor* uuid = qx::messaging::Uuid::descriptor();
    ASSERT_EQ(2, uuid->field_count());
    EXPECT_EQ("lo", uuid->field(0)->name());
    EXPECT_EQ("hi", uuid->field(1)->name());
}

} // namespace
