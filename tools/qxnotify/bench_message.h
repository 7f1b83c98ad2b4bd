/// The notification that a bench sends again and again, with a number and a time in it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "instrument_download_record.pb.h"

namespace qx::tool {

/// A made-up instrument record of some 1.5 KB. The number travels as its identifier, the time of the send as the time
/// of its last update: fields that have 64 bits in the record, written with always as many digits, so that a stamp
/// costs no new text.
class BenchMessage {
public:
    static constexpr std::uint64_t market = 42;

    BenchMessage();

    /// The payload with that number (below 9 thousand million) and steady clock time (since its epoch, below 200
    /// years); valid until the next stamp.
    std::string_view stamp(std::uint64_t number, std::int64_t nanoseconds);
    /// The record alone, with the stamp that it has now.
    std::string record_json() const;
    std::size_t payload_bytes() const { return m_payload.size(); }

    static std::uint64_t number_of(const messaging::pds::InstrumentDownloadRecord& record);
    static std::int64_t nanoseconds_of(const messaging::pds::InstrumentDownloadRecord& record);

private:
    std::string m_payload;
    std::size_t m_numberAt;
    std::size_t m_timeAt;
};

} // namespace qx::tool
