#include "records.h"

#include <cstdint>
#include <cstring>
#include <stdexcept>

#include <boost/uuid/string_generator.hpp>
#include <google/protobuf/util/json_util.h>
#include <nlohmann/json.hpp>
#include <sample_records/sample_records.h>

#include "instrument_download_record.pb.h"
#include "product_download_record.pb.h"

namespace qx::benchmark {
namespace {

using Json = nlohmann::ordered_json;

void spell_uuids_as_messages(Json& node)
{
    for (const auto& item : node.items()) {
        const std::string& key = item.key();
        Json& value = item.value();
        if (value.is_structured()) {
            spell_uuids_as_messages(value);
        } else if (value.is_string() && (key == "uuid" || key == "revisionUuid")) {
            const auto uuid = boost::uuids::string_generator{}(value.get<std::string>());
            std::uint64_t hi = 0;
            std::uint64_t lo = 0;
            std::memcpy(&hi, uuid.begin(), sizeof hi);
            std::memcpy(&lo, uuid.begin() + sizeof hi, sizeof lo);
            value = Json{{"lo", std::to_string(lo)}, {"hi", std::to_string(hi)}};
        }
    }
}

template <class Record>
Sample sample_of(std::string name, const char* data_type, const std::string& record)
{
    Json spelled = Json::parse(record);
    spell_uuids_as_messages(spelled);
    auto reference = std::make_shared<Record>();
    if (!google::protobuf::util::JsonStringToMessage(spelled.dump(), reference.get()).ok()) {
        throw std::runtime_error(name + ": protobuf's own reader refuses the record");
    }
    return {std::move(name),
            sample::make_envelope("Update", data_type, "17", record),
            sample::make_envelope("Update", data_type, "17", spelled.dump()),
            reference->SerializeAsString(),
            record.size(),
            reference};
}

Sample instrument_sample(std::string name, const std::string& record)
{
    return sample_of<messaging::pds::InstrumentDownloadRecord>(std::move(name), "InstrumentDownloadRecord", record);
}

/// The first record of the series whose text has about the size asked for.
std::string record_of_about(std::size_t bytes)
{
    const auto size = bytes < 3'000 ? sample::RecordSize::typical : sample::RecordSize::large;
    const auto distance = [bytes](const std::string& text) {
        return text.size() > bytes ? text.size() - bytes : bytes - text.size();
    };
    std::string best;
    for (std::uint64_t seed = 0; seed < 500; ++seed) {
        std::string record = sample::make_instrument_json(seed, size);
        if (best.empty() || distance(record) < distance(best)) {
            best = std::move(record);
        }
    }
    return best;
}

} // namespace

Sample instrument(std::size_t bytes)
{
    constexpr std::size_t largest_made = 6'000;
    std::string record = record_of_about(std::min(bytes, largest_made));
    if (bytes > largest_made) {
        Json grown = Json::parse(record);
        const Json legs = grown.at("legs");
        while ((record = grown.dump()).size() < bytes) {
            for (const Json& leg : legs) {
                grown["legs"].push_back(leg);
            }
        }
    }
    return instrument_sample("instrument, " + std::to_string(record.size()) + " B", record);
}

Sample product()
{
    const std::string record = sample::make_product_json(1, sample::RecordSize::typical);
    return sample_of<messaging::pds::ProductDownloadRecord>("product, " + std::to_string(record.size()) + " B",
                                                            "ProductDownloadRecord", record);
}

Sample instrument_among_members(std::size_t members)
{
    Sample sample = instrument(1'500);
    std::string others;
    for (std::size_t i = 0; i < members; ++i) {
        others += R"("note":"\n",)";
    }
    sample.name = std::to_string(members) + " other members";
    for (std::string* envelope : {&sample.payload, &sample.respelled}) {
        envelope->insert(1, others); // behind the brace
    }
    return sample;
}

Sample instrument_with_list(std::size_t elements)
{
    Json record = Json::parse(record_of_about(1'500));
    Json& list = record["relatedInstrumentIds"] = Json::array();
    for (std::size_t i = 0; i < elements; ++i) {
        list.push_back(1'000'000 + i);
    }
    return instrument_sample(std::to_string(elements) + " repeated elements", record.dump());
}

} // namespace qx::benchmark
