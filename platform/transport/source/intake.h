/// The receiving end at the engine: readers, and the thread that empties them.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "counters.h"
#include "dds_entity.h"
#include "mailbox.h"
#include "requester.h"
#include "responder.h"
#include "source_tracker.h"
#include "source_watch.h"
#include "thread.h"

namespace qx::transport {

/// Follows the sources that its readers hear and posts what happens to them. One reader per partition name, shared by
/// all receivers that need it; the engine's own caches have no bound, so they are emptied at once, whatever callbacks
/// do.
/// Threads   any.
class Intake : private SourceEvents {
public:
    /// Answers go to the requests of `requester`, requests get their handles from `responder`.
    Intake(dds_entity_t participant, Mailbox& out, Requester& requester, Responder& responder, Counters& counters);
    ~Intake() override;
    Intake(const Intake&) = delete;
    Intake& operator=(const Intake&) = delete;

    void add(const std::string& partition);
    void remove(const std::string& partition);

    /// From now on answers to requests of that context are heard. Twice is harmless.
    void hear_answers(const ContextId& self);

    void watch(const std::shared_ptr<SourceWatch>& source);
    void unwatch(const std::shared_ptr<SourceWatch>& source);

private:
    struct Reader {
        DdsEntity reader;
        DdsEntity condition;
        SourceTracker::ReaderId id = 0;
        std::size_t users = 0;
    };
    struct Key {
        ContextId context;
        std::uint32_t part;
        bool operator==(const Key&) const = default;
    };

    void begun(const SourcePtr& source, std::uint32_t next) override;
    void data(const SourcePtr& source, const WireMessage& message) override;
    void lost(const SourcePtr& source, std::uint32_t first, std::uint32_t last) override;
    void ended(const SourcePtr& source, std::uint32_t next) override;

    Reader make_reader(dds_entity_t topic, const dds_qos_t* qos);
    std::unique_lock<std::mutex> lock_in_turn();
    void run();
    void wait();
    void drain_all();
    void look_at_receivers();
    bool is_watched(const StreamWriter& stream) const;
    void drain_catalogue();
    void drain_answers();
    bool drain_frames(const Reader& reader);
    void read_page(const Key& key, ByteView body);
    void read_frame(const Key& key, ByteView body, SourceTracker::ReaderId reader);
    template <class Take>
    static bool take_some(dds_entity_t reader, std::vector<Key>& gone, Take take);

    const dds_entity_t participant_;
    Mailbox& out_;
    Requester& requester_;
    Responder& responder_;
    Counters& counters_;
    std::mutex turn_;  ///< held while waiting for `mutex_`: a busy intake must let others have it in turn
    std::mutex mutex_; ///< readers and tracker
    SourceTracker tracker_;
    DdsEntity frames_topic_;
    DdsEntity catalogue_topic_;
    DdsEntity answers_topic_;
    DdsEntity waitset_;
    DdsEntity stop_;
    Reader catalogue_;
    std::map<std::string, Reader> readers_;
    std::optional<Reader> answers_; ///< from the first request on
    std::vector<std::shared_ptr<SourceWatch>> watched_;
    SourceTracker::ReaderId next_reader_ = 0;
    std::vector<CatalogueEntry> entries_; ///< scratch
    Frame frame_;                         ///< scratch
    Clock::time_point wake_{};            ///< when the intake thread looks again; at first at once
    Thread thread_;
};

} // namespace qx::transport
