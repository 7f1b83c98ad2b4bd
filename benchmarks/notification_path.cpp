// From payload bytes to the observer: what one notification costs in the listener's callback, beside what a user would
// write with stock pieces (the property tree's reader and protobuf's own JSON reader). No message crosses a process:
// it is made as the transport makes it and given to the callback.
#include <cstring>
#include <sstream>
#include <string>

#include <benchmark/benchmark.h>
#include <boost/property_tree/json_parser.hpp>
#include <boost/uuid/string_generator.hpp>
#include <google/protobuf/util/json_util.h>
#include <google/protobuf/util/message_differencer.h>
#include <nlohmann/json.hpp>

#include <logger/logger.h>
#include <qx_notify_listener.h>
#include <sample_records/sample_records.h>

#include "platform/transport/source/message.h"

namespace {

using Json = nlohmann::ordered_json;
using google::protobuf::util::MessageDifferencer;
using qx::messaging::pds::InstrumentDownloadRecord;

/// The first record of the series whose text has about the size asked for.
std::string instrument_of_about(std::size_t bytes)
{
    const auto size = bytes < 3'000 ? qx::sample::RecordSize::typical : qx::sample::RecordSize::large;
    std::string best;
    for (std::uint64_t seed = 0; seed < 500; ++seed) {
        std::string record = qx::sample::make_instrument_json(seed, size);
        const auto distance = [bytes](const std::string& text) {
            return text.size() > bytes ? text.size() - bytes : bytes - text.size();
        };
        if (best.empty() || distance(record) < distance(best)) {
            best = std::move(record);
        }
    }
    return best;
}

/// protobuf's reader wants a UUID as the message that it is; the rest of the record is the same for both.
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

std::string envelope(const std::string& record)
{
    return qx::sample::make_envelope("Update", "InstrumentDownloadRecord", "17", record);
}

/// The peer: four texts out of the envelope, then the record by protobuf's own reader.
bool read_with_stock_pieces(const std::string& payload, InstrumentDownloadRecord& record)
{
    std::istringstream stream(payload);
    boost::property_tree::ptree tree;
    boost::property_tree::read_json(stream, tree);
    for (const char* key : {"et", "dt", "id"}) {
        benchmark::DoNotOptimize(tree.get_child(key).get_value<std::string>());
    }
    const auto data = tree.get_child("data").get_value<std::string>();
    return google::protobuf::util::JsonStringToMessage(data, &record).ok();
}

class KeepLast : public ps_ns::QXNotifyObserver {
public:
    void OnInstrumentDownloadRecord(qx::messaging::pds::enums::PdsNotifyEventType,
                                    InstrumentDownloadRecord& record) override
    {
        ++count;
        last.Swap(&record);
    }
    std::uint64_t count = 0;
    InstrumentDownloadRecord last;
};

/// As the transport hands it over, references included.
qx::transport::MessagePtr data_message(const std::string& payload)
{
    auto source = std::make_shared<qx::transport::RemoteSource>(qx::transport::SourceId{},
                                                                "qxnotify.public.pds.native.42.instrument");
    return qx::transport::Message::make(std::move(source), LBM_MSG_DATA, 0, payload);
}

void deliver(ps_ns::QXNotifyListener& listener, lbm_msg_t& message)
{
    listener.DoHandleNotification(lbm::Message(&message));
}

void BM_PayloadToObserver(benchmark::State& state)
{
    KeepLast observer;
    ps_ns::QXNotifyListener listener(&observer);

    const std::string record = instrument_of_about(static_cast<std::size_t>(state.range(0)));
    const std::string payload = envelope(record);
    const auto message = data_message(payload);

    Json spelled = Json::parse(record);
    spell_uuids_as_messages(spelled);
    InstrumentDownloadRecord reference;
    deliver(listener, *message);
    if (!read_with_stock_pieces(envelope(spelled.dump()), reference) || observer.count != 1 ||
        !MessageDifferencer::Equals(reference, observer.last)) {
        state.SkipWithError("the observer's record differs from the reference");
        return;
    }
    for (auto _ : state) {
        deliver(listener, *message);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(record.size()));
    state.counters["record_bytes"] = static_cast<double>(record.size());
}

void BM_StockPieces(benchmark::State& state)
{
    Json spelled = Json::parse(instrument_of_about(static_cast<std::size_t>(state.range(0))));
    spell_uuids_as_messages(spelled);
    const std::string record = spelled.dump();
    const std::string payload = envelope(record);
    for (auto _ : state) {
        InstrumentDownloadRecord instrument;
        if (!read_with_stock_pieces(payload, instrument)) {
            state.SkipWithError("the stock reader refuses the record");
            return;
        }
        benchmark::DoNotOptimize(&instrument);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(record.size()));
    state.counters["record_bytes"] = static_cast<double>(record.size());
}

BENCHMARK(BM_PayloadToObserver)->ArgName("bytes")->Arg(1'500)->Arg(4'000);
BENCHMARK(BM_StockPieces)->ArgName("bytes")->Arg(1'500)->Arg(4'000);

} // namespace

int main(int argc, char** argv)
{
    // The lines of a notification are debug lines; what is measured is the path with them suppressed.
    qx::logging::g_minLogLevel = qx::logging::QXLOG_WALL;
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
