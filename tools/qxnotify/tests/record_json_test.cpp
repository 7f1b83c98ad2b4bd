#include "qxnotify/record_json.h"

#include <limits>

#include <gtest/gtest.h>

#include "instrument_download_record.pb.h"
#include "product_download_record.pb.h"

namespace qx::tool {
namespace {

using messaging::pds::InstrumentDownloadRecord;
using messaging::pds::ProductDownloadRecord;

TEST(RecordJson, GivenEmptyRecord_WhenWritten_ThenEmptyObject)
{
    EXPECT_EQ(record_to_json(ProductDownloadRecord{}).dump(), "{}");
}

TEST(RecordJson, GivenFieldWithPublishedKey_WhenWritten_ThenItStandsUnderThatKey)
{
    ProductDownloadRecord record;
    record.set_market_id(42);
    record.set_symbol("GBL");
    EXPECT_EQ(record_to_json(record).dump(), R"({"marketId":42,"symbol":"GBL"})");
}

TEST(RecordJson, GivenLargestNumbers_WhenWritten_ThenEveryDigitIsKept)
{
    InstrumentDownloadRecord record;
    record.set_instrument_id(std::numeric_limits<std::uint64_t>::max());
    record.set_open_interest(std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(record_to_json(record).dump(),
              R"({"instrumentId":18446744073709551615,"openInterest":-9223372036854775808})");
}

TEST(RecordJson, GivenFloat_WhenWritten_ThenItsShortestTextIsUsed)
{
    ProductDownloadRecord record;
    record.set_margin_rate(0.1F);
    EXPECT_EQ(record_to_json(record).dump(), R"({"marginRate":0.1})");
}

TEST(RecordJson, GivenEnumeration_WhenWritten_ThenByName)
{
    ProductDownloadRecord record;
    record.set_product_type(messaging::pds::enums::PRODUCT_TYPE_OPTION);
    EXPECT_EQ(record_to_json(record).dump(), R"({"productType":"PRODUCT_TYPE_OPTION"})");
}

TEST(RecordJson, GivenUuid_WhenWritten_ThenAsTextInByteOrder)
{
    ProductDownloadRecord record;
    record.mutable_uuid()->set_hi(0x7766554433221100ULL);
    record.mutable_uuid()->set_lo(0xffeeddccbbaa9988ULL);
    EXPECT_EQ(record_to_json(record).dump(), R"({"uuid":"00112233-4455-6677-8899-aabbccddeeff"})");
}

TEST(RecordJson, GivenNestedAndRepeatedFields_WhenWritten_ThenObjectsAndListsInOrder)
{
    InstrumentDownloadRecord record;
    record.add_related_instrument_ids(2);
    record.add_related_instrument_ids(1);
    record.mutable_exchange()->set_mic("XEUR");
    record.add_legs()->set_ratio(-1);
    record.add_legs()->set_symbol("A");
    EXPECT_EQ(record_to_json(record).dump(),
              R"({"relatedInstrumentIds":[2,1],"exchange":{"mic":"XEUR"},"legs":[{"ratio":-1},{"symbol":"A"}]})");
}

TEST(RecordJson, GivenFieldSetToItsDefault_WhenWritten_ThenItIsThere)
{
    InstrumentDownloadRecord record;
    record.set_tradable(false);
    EXPECT_EQ(record_to_json(record).dump(), R"({"tradable":false})");
}

} // namespace
} // namespace qx::tool
