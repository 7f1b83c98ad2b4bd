/// The receiving end at the engine: readers, and who empties them.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "counters.h"
#include "dds_entity.h"
#include "frame_faults.h"
#include "inflow.h"
#include "inlet.h"
#include "mailbox.h"
#include "requester.h"
#include "responder.h"
#include "senders.h"
#include "source_tracker.h"
#include "source_watch.h"
#include "thread.h"

namespace qx::transport {

struct HearingPolicy {
    bool any_topic = true; ///< whether streams of topics with different first tokens are heard
    FaultPolicy faults;
};

/// Follows the sources that its readers hear and posts what happens to them. One reader per partition name, shared by
/// all receivers that need it. The thread that runs the callbacks also empties the readers: a message that finds it
/// idle reaches its callback without another change of threads. The engine's own caches have no bound, so that a relief
/// thread empties them while callbacks run; it sleeps until something arrives then.
/// Threads   any, but `wait` is for one thread.
class Intake {
public:
    /// Answers go to the requests of `requester`, requests get their handles from `responder`.
    Intake(dds_entity_t participant, Mailbox& out, Requester& requester, Responder& responder, Counters& counters,
           const HearingPolicy& policy);
    ~Intake();
    Intake(const Intake&) = delete;
    Intake& operator=(const Intake&) = delete;

    /// Waits until something has arrived or was posted, at most until the deadline, and posts what arrived.
    void wait(Mailbox::Deadline deadline);

    /// Ends a wait: something was posted.
    void wake() noexcept;

    /// What arrives from now on is posted for the receiver. Throws TransportError.
    void add(const std::shared_ptr<Receiver>& receiver);
    void remove(const std::shared_ptr<Receiver>& receiver);

    /// From now on answers to requests of that context are heard. Twice is harmless.
    void hear_answers(const ContextId& self);

    void watch(const std::shared_ptr<SourceWatch>& source);
    void unwatch(const std::shared_ptr<SourceWatch>& source);

private:
    struct FramesInlet : Inlet {
        using Inlet::Inlet;
        Carries carries = Carries::one_token;
        std::size_t users = 0;
    };
    /// Whoever hears a stream hears each of its sources.
    struct WatchedStream {
        std::vector<std::shared_ptr<SourceWatch>> sources; ///< in the order in which they were made
        bool connected = false;                            ///< what they have been told
    };

    void hear(const std::string& partition);
    void unhear(const std::string& partition);
    void drain_until_even(FramesInlet& inlet);
    template <class Kind>
    std::unique_ptr<Kind> make_inlet(dds_entity_t topic, const dds_qos_t* qos);
    std::unique_lock<std::mutex> lock_in_turn();
    void on_arrival(InletId inlet);
    void call_relief();
    void relieve();
    void drain_all(std::size_t batches);
    void note_arrival(InletId inlet);
    bool has_arrivals();
    std::vector<InletId> take_arrivals();
    Inlet::Left drain(InletId id, std::size_t batches);
    void look_at_receivers(const StreamWriter& stream, WatchedStream& watched);
    void tell(const std::shared_ptr<SourceWatch>& source, bool connected);
    Inlet::Left drain_catalogue();
    Inlet::Left drain_answers();
    Inlet::Left drain_frames(FramesInlet& inlet, std::size_t batches);
    const Sender* sender_of(const Arrival& arrival);
    void read_page(const Arrival& arrival);
    void read_answer(const Arrival& arrival);
    void read_frame(const Arrival& arrival, SourceTracker::ReaderId reader);
    void take_frame(const StreamId& stream, SourceTracker::ReaderId reader);

    const dds_entity_t participant_;
    const bool hears_any_topic_;
    Mailbox& out_;
    Requester& requester_;
    Counters& counters_;
    // Before the readers, whose arrivals may be told of from their first to their last moment.
    std::atomic<bool> idle_ = false; ///< somebody is in `wait`, and what arrives needs no relief
    std::mutex arrivals_mutex_;
    std::vector<InletId> arrivals_; ///< where something has arrived or was left; may name one twice
    std::mutex relief_mutex_;
    std::condition_variable relief_called_;
    std::atomic<bool> called_ = false;
    bool stopping_ = false;

    std::atomic<Clock::time_point> due_{}; ///< when to look again though nothing arrives; at first at once
    std::mutex turn_;  ///< held while waiting for `mutex_`: a busy intake must let others have it in turn
    std::mutex mutex_; ///< all below
    Inflow inflow_;
    SourceTracker tracker_;
    Senders senders_;
    DdsEntity frames_topic_;
    DdsEntity catalogue_topic_;
    DdsEntity answers_topic_;
    DdsEntity waitset_;
    DdsEntity posted_;      ///< ends a wait, as does what arrives
    DdsEntity sender_news_; ///< the same
    InletId next_inlet_ = 0;
    std::unique_ptr<Inlet> catalogue_;
    std::unordered_map<std::string, std::unique_ptr<FramesInlet>> frames_; ///< by partition
    std::unordered_map<InletId, FramesInlet*> frames_by_id_;
    std::unique_ptr<Inlet> answers_; ///< from the first request on
    std::unordered_map<StreamWriter*, WatchedStream> watched_;
    std::vector<CatalogueEntry> entries_; ///< scratch
    Frame frame_;                         ///< scratch
    std::optional<FrameFaults> faults_;   ///< if any are wanted
    Thread relief_;
};

} // namespace qx::transport
