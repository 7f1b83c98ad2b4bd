/// The sending half of a context: its streams, its sources and their catalogue.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "catalogue.h"
#include "dds_entity.h"
#include "stream_writer.h"

namespace qx::transport {

/// Sends the pages of a catalogue, a little later than they change so that many changes make few packets.
class CatalogueWriter : public Flushable, public std::enable_shared_from_this<CatalogueWriter> {
public:
    CatalogueWriter(dds_entity_t participant, const ContextId& context, Flusher& flusher);

    void add(const LocalSource& source);
    void close_source(const LocalSource& source);

    void close() noexcept;

    std::optional<std::chrono::steady_clock::time_point> flush() noexcept override;

private:
    void arm();
    bool write_pages() noexcept;

    const ContextId context_;
    Flusher& flusher_;
    std::mutex mutex_;
    DdsEntity topic_;
    DdsEntity writer_;
    CatalogueBook book_;
    Bytes page_;
    bool armed_ = false;
    bool closed_ = false;
};

/// Has each stream of a context announce its tails, again and again.
class Announcer : public Flushable, public std::enable_shared_from_this<Announcer> {
public:
    explicit Announcer(Flusher& flusher)
        : flusher_(flusher)
    {
    }

    void add(const std::shared_ptr<StreamWriter>& stream);

    std::optional<std::chrono::steady_clock::time_point> flush() noexcept override;

private:
    Flusher& flusher_;
    std::mutex mutex_;
    std::vector<std::weak_ptr<StreamWriter>> streams_;
};

/// Among which sources of a context order is kept, if they also agree in `WhenFull`: they share a stream.
/// token     of one first topic token: whoever wants none of these topics is spared them
/// context   all: whoever wants any topic is sent all
enum class SourceOrder { token, context };

/// Threads   any.
class Publisher {
public:
    Publisher(dds_entity_t participant, const ContextId& id, SourceOrder order, FlushPolicy policy, Flusher& flusher,
              std::shared_ptr<Counters> counters);

    std::shared_ptr<LocalSource> open(std::string_view topic, WhenFull when_full);
    void close_source(LocalSource& source, const SendWait& wait);

    /// Sends that wait for room without limit give up, and no source is made any more.
    void stop() noexcept;

    /// Ends every source, waits at most until the deadline for receivers to have it all, and closes the streams; false
    /// when some had not acknowledged it by then. Doing it twice is harmless.
    bool close(std::chrono::steady_clock::time_point deadline) noexcept;

private:
    using StreamKey = std::pair<std::string, WhenFull>; ///< partition first

    using Streams = std::map<StreamKey, std::shared_ptr<StreamWriter>>;

    static bool end_all(std::map<std::uint32_t, std::shared_ptr<LocalSource>>& sources, const Streams& streams,
                        std::chrono::steady_clock::time_point deadline) noexcept;
    std::shared_ptr<StreamWriter> stream_for(std::string_view topic, WhenFull when_full);

    const dds_entity_t participant_;
    const ContextId id_;
    const SourceOrder order_;
    const FlushPolicy policy_;
    Flusher& flusher_;
    const std::shared_ptr<Counters> counters_;
    std::mutex mutex_;
    DdsEntity frames_topic_;
    std::shared_ptr<CatalogueWriter> catalogue_;
    std::shared_ptr<Announcer> announcer_;
    Streams streams_;
    std::map<std::uint32_t, std::shared_ptr<LocalSource>> sources_;
    std::uint32_t next_source_ = 0;
    bool closed_ = false;
};

} // namespace qx::transport
