#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>

#include "price_server/ps_common/connector/tests/listener_fixture.h"

namespace enums = qx::messaging::pds::enums;

static_assert(std::is_same_v<decltype(ps_ns::UnsupportedEventType), const int> && ps_ns::UnsupportedEventType == 100);
static_assert(std::is_same_v<decltype(ps_ns::UnsupportedDataType), const int> && ps_ns::UnsupportedDataType == 100);
static_assert(enums::Create == 0 && enums::Update == 1 && enums::Delete == 2);
static_assert(enums::PdsNotifyEventType_MIN == 0 && enums::PdsNotifyEventType_MAX == 2 &&
              enums::PdsNotifyEventType_ARRAYSIZE == 3);
static_assert(enums::ProductUploadRecord == 1 && enums::ProductDownloadRecord == 2 && enums::ProductDeleteRecord == 3 &&
              enums::InstrumentUploadRecord == 4 && enums::InstrumentDownloadRecord == 5 &&
              enums::InstrumentDeleteRecord == 6 && enums::TickTableUploadRecord == 7 &&
              enums::CurrencyUploadRecord == 8 && enums::TickTableDeleteRecord == 9 &&
              enums::SyntheticRuleUploadRecord == 10 && enums::SyntheticRuleDeleteRecord == 11);
static_assert(enums::PdsNotifyDataType_MIN == 1 && enums::PdsNotifyDataType_MAX == 11 &&
              enums::PdsNotifyDataType_ARRAYSIZE == 12);

namespace ps_ns::test {

static_assert(std::is_same_v<std::underlying_type_t<PdsNotifyEventType>, std::int32_t> &&
              std::is_convertible_v<PdsNotifyEventType, int>);
static_assert(std::is_same_v<std::underlying_type_t<PdsNotifyDataType>, std::int32_t> &&
              std::is_convertible_v<PdsNotifyDataType, int>);
static_assert(std::is_same_v<decltype(&QXNotifyListener::GetNotifyEventTypeFromString),
                             PdsNotifyEventType (QXNotifyListener::*)(const std::string&)>);
static_assert(std::is_same_v<decltype(&QXNotifyListener::GetNotifyDataTypeFromString),
                             PdsNotifyDataType (QXNotifyListener::*)(const std::string&)>);

namespace {

using Expected = std::pair<std::string, int>;

class EventTypeName : public ListenerTest, public ::testing::WithParamInterface<Expected> {};
class DataTypeName : public ListenerTest, public ::testing::WithParamInterface<Expected> {};

} // namespace

TEST_P(EventTypeName, GivenName_WhenMapped_ThenValue)
{
    EXPECT_EQ(listener.GetNotifyEventTypeFromString(GetParam().first), GetParam().second) << GetParam().first;
}

INSTANTIATE_TEST_SUITE_P(Known, EventTypeName,
                         ::testing::Values(Expected{"Create", 0}, Expected{"Update", 1}, Expected{"Delete", 2}));
INSTANTIATE_TEST_SUITE_P(Unknown, EventTypeName,
                         ::testing::Values(Expected{"delete", 100}, Expected{" Create", 100}, Expected{"Create ", 100},
                                           Expected{"", 100}, Expected{"Creat", 100}, Expected{"UPDATE", 100},
                                           Expected{std::string("Delete\0", 7), 100}));

TEST_P(DataTypeName, GivenName_WhenMapped_ThenValue)
{
    EXPECT_EQ(listener.GetNotifyDataTypeFromString(GetParam().first), GetParam().second) << GetParam().first;
}

INSTANTIATE_TEST_SUITE_P(Known, DataTypeName,
                         ::testing::Values(Expected{"ProductDownloadRecord", 2}, Expected{"ProductDeleteRecord", 3},
                                           Expected{"InstrumentDownloadRecord", 5},
                                           Expected{"InstrumentDeleteRecord", 6}));
// Enumerators that this listener has no use for are no different from an unknown word.
INSTANTIATE_TEST_SUITE_P(
    Unknown, DataTypeName,
    ::testing::Values(Expected{"ProductUploadRecord", 100}, Expected{"InstrumentUploadRecord", 100},
                      Expected{"TickTableUploadRecord", 100}, Expected{"CurrencyUploadRecord", 100},
                      Expected{"TickTableDeleteRecord", 100}, Expected{"SyntheticRuleUploadRecord", 100},
                      Expected{"SyntheticRuleDeleteRecord", 100}, Expected{"productdownloadrecord", 100},
                      Expected{"ProductDownloadRecord ", 100}, Expected{"", 100}));

} // namespace ps_ns::test
