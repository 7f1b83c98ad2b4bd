#include "qxnotify/bench_message.h"

#include <charconv>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "sample_records/sample_records.h"

namespace qx::tool {

namespace {

using Json = nlohmann::ordered_json;

// JSON knows no leading zeros; added to what is stamped, these keep the digits as many as they are here.
constexpr std::uint64_t number_base = 1'000'000'000;
constexpr std::int64_t time_base = 1'000'000'000'000'000'000;

constexpr const char* number_key = "instrumentId";
constexpr const char* time_key = "updatedTimeNs";

std::string make_payload()
{
    constexpr std::uint64_t seed = 19;
    Json record =
        Json::parse(sample::make_instrument_json(seed, sample::RecordSize::typical, {BenchMessage::market, 1}));
    record[number_key] = number_base;
    record[time_key] = time_base;
    return sample::make_envelope("Update", "InstrumentDownloadRecord", std::to_string(number_base), record.dump());
}

/// Where the value of the first such member of the record within the payload begins.
std::size_t value_at(const std::string& payload, const std::string& key)
{
    const std::string member = R"(\")" + key + R"(\":)";
    const auto found = payload.find(member);
    if (found == std::string::npos) {
        throw std::logic_error("the record of the bench has no " + key);
    }
    return found + member.size();
}

/// As many digits as are there.
template <class Integer>
void overwrite(std::string& text, std::size_t at, Integer value)
{
    std::to_chars(text.data() + at, text.data() + text.size(), value);
}

} // namespace

BenchMessage::BenchMessage()
    : m_payload(make_payload())
    , m_numberAt(value_at(m_payload, number_key))
    , m_timeAt(value_at(m_payload, time_key))
{
}

std::string_view BenchMessage::stamp(std::uint64_t number, std::int64_t nanoseconds)
{
    overwrite(m_payload, m_numberAt, number_base + number);
    overwrite(m_payload, m_timeAt, time_base + nanoseconds);
    return m_payload;
}

std::string BenchMessage::record_json() const
{
    return Json::parse(m_payload).at("data").get<std::string>();
}

std::uint64_t BenchMessage::number_of(const messaging::pds::InstrumentDownloadRecord& record)
{
    return record.instrument_id() - number_base;
}

std::int64_t BenchMessage::nanoseconds_of(const messaging::pds::InstrumentDownloadRecord& record)
{
    return record.updated_time_ns() - time_base;
}

} // namespace qx::tool
