#include "publisher.h"

#include <algorithm>
#include <utility>

#include "partition.h"
#include "wire.h"
#include "wire_qos.h"

namespace qx::transport {
namespace {

constexpr std::chrono::milliseconds page_delay{1};
constexpr std::chrono::seconds announcement_interval{1};

} // namespace

CatalogueWriter::CatalogueWriter(dds_entity_t participant, const ContextId& context, Flusher& flusher)
    : context_(context)
    , flusher_(flusher)
    , topic_(make_packet_topic(participant, catalogue_topic))
    , writer_(dds_create_writer(participant, topic_.get(), catalogue_qos().get(), nullptr), "dds_create_writer")
{
}

void CatalogueWriter::add(const LocalSource& source)
{
    const std::lock_guard lock{mutex_};
    book_.reuse_closed(Clock::now());
    book_.add(source.number, source.stream->number(), source.topic);
    arm();
}

void CatalogueWriter::close_source(const LocalSource& source)
{
    const std::lock_guard lock{mutex_};
    book_.close(source.number, source.next, source.frames, Clock::now());
    arm();
}

void CatalogueWriter::arm()
{
    if (!armed_) {
        flusher_.arm(weak_from_this(), Clock::now() + page_delay);
        armed_ = true;
    }
}

bool CatalogueWriter::write_pages() noexcept
{
    while (const auto page = book_.first_dirty(page_)) {
        qx_wire_Packet packet{};
        std::copy(context_.bytes.begin(), context_.bytes.end(), packet.context);
        packet.part = *page;
        packet.body._buffer = page_.data();
        packet.body._length = packet.body._maximum = static_cast<std::uint32_t>(page_.size());
        if (dds_write(writer_.get(), &packet) != DDS_RETCODE_OK) {
            return false;
        }
        book_.sent(*page);
    }
    return true;
}

std::optional<Clock::time_point> CatalogueWriter::flush() noexcept
{
    const std::lock_guard lock{mutex_};
    armed_ = false;
    if (closed_ || write_pages()) {
        return std::nullopt;
    }
    armed_ = true;
    return Clock::now() + page_delay;
}

void CatalogueWriter::close() noexcept
{
    const std::lock_guard lock{mutex_};
    closed_ = true;
    writer_.reset();
}

void Announcer::add(const std::shared_ptr<StreamWriter>& stream)
{
    const std::lock_guard lock{mutex_};
    if (streams_.empty()) {
        flusher_.arm(weak_from_this(), Clock::now() + announcement_interval);
    }
    streams_.push_back(stream);
}

std::optional<Clock::time_point> Announcer::flush() noexcept
{
    const std::lock_guard lock{mutex_};
    for (const auto& stream : streams_) {
        if (const auto living = stream.lock()) {
            living->announce();
        }
    }
    return Clock::now() + announcement_interval;
}

Publisher::Publisher(dds_entity_t participant, const ContextId& id, SourceOrder order, FlushPolicy policy,
                     Flusher& flusher, std::shared_ptr<Counters> counters)
    : participant_(participant)
    , id_(id)
    , order_(order)
    , policy_(policy)
    , flusher_(flusher)
    , counters_(std::move(counters))
    , announcer_(std::make_shared<Announcer>(flusher))
{
}

std::shared_ptr<StreamWriter> Publisher::stream_for(std::string_view topic, WhenFull when_full)
{
    const std::string partition = order_ == SourceOrder::token ? partition_of_topic(topic) : any_topic_partition;
    const StreamKey key{partition, when_full};
    if (const auto found = streams_.find(key); found != streams_.end()) {
        return found->second;
    }
    if (!frames_topic_) {
        frames_topic_ = make_packet_topic(participant_, frames_topic);
    }
    const StreamId id{id_, static_cast<std::uint32_t>(streams_.size())};
    auto stream = std::make_shared<StreamWriter>(participant_, frames_topic_.get(), id, partition, when_full, policy_,
                                                 flusher_, counters_);
    streams_.emplace(key, stream);
    announcer_->add(stream);
    return stream;
}

std::shared_ptr<LocalSource> Publisher::open(std::string_view topic, WhenFull when_full)
{
    const std::lock_guard lock{mutex_};
    if (closed_) {
        throw TransportError(LBM_EOP, "the context is deleted");
    }
    flusher_.start(); // nothing may fail between the source's entry in the catalogue and its announcement
    if (!catalogue_) {
        catalogue_ = std::make_shared<CatalogueWriter>(participant_, id_, flusher_);
    }
    auto source =
        std::make_shared<LocalSource>(LocalSource{next_source_, std::string{topic}, stream_for(topic, when_full)});
    sources_.emplace(next_source_, source);
    ++next_source_;
    source->stream->open(source);
    catalogue_->add(*source);
    return source;
}

void Publisher::close_source(LocalSource& source, const SendWait& wait)
{
    try {
        source.stream->end(source, wait);
    } catch (const TransportError&) {
        // Receivers that do not keep up learn of the end from the catalogue.
    }
    const std::lock_guard lock{mutex_};
    sources_.erase(source.number);
    if (catalogue_) {
        catalogue_->close_source(source);
    }
}

void Publisher::stop() noexcept
{
    const std::lock_guard lock{mutex_};
    closed_ = true;
    for (const auto& [key, stream] : streams_) {
        stream->stop_waiting();
    }
}

/// Streams whose receivers do not keep up are not to hold up the others.
bool Publisher::end_all(std::map<std::uint32_t, std::shared_ptr<LocalSource>>& sources, const Streams& streams,
                        Clock::time_point deadline) noexcept
{
    bool done = false;
    do {
        std::erase_if(sources, [](const auto& source) { return source.second->stream->try_end(*source.second); });
        done = sources.empty();
        for (const auto& [key, stream] : streams) {
            done = stream->drain(std::min(deadline, Clock::now() + retry_interval)) && done;
        }
    } while (!done && Clock::now() < deadline);
    return done;
}

bool Publisher::close(Clock::time_point deadline) noexcept
{
    std::map<std::uint32_t, std::shared_ptr<LocalSource>> sources;
    Streams streams;
    std::shared_ptr<CatalogueWriter> catalogue;
    {
        const std::lock_guard lock{mutex_};
        closed_ = true;
        sources.swap(sources_);
        streams.swap(streams_);
        catalogue.swap(catalogue_);
    }
    const bool acknowledged = end_all(sources, streams, deadline);
    for (const auto& [key, stream] : streams) {
        stream->close();
    }
    if (catalogue) {
        catalogue->close();
    }
    return acknowledged;
}

} // namespace qx::transport
