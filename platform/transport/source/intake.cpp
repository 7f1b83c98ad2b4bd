#include "intake.h"

#include <algorithm>
#include <thread>
#include <utility>

#include "partition.h"
#include "wire.h"
#include "wire_qos.h"

namespace qx::transport {
namespace {

constexpr std::size_t batches_per_turn = 16;
constexpr std::size_t batches_between_callbacks = 1; // what waits in the queue counts against its bound
constexpr std::chrono::seconds longest_wait{30};
constexpr std::chrono::milliseconds copies_apart_max{1'000};

} // namespace

Intake::Intake(dds_entity_t participant, Mailbox& out, Requester& requester, Responder& responder, Counters& counters,
               const HearingPolicy& policy)
    : participant_(participant)
    , hears_any_topic_(policy.any_topic)
    , out_(out)
    , requester_(requester)
    , counters_(counters)
    , inflow_(out, counters,
              [&responder](const ContextId& from, std::uint64_t number) { return responder.handle_for(from, number); })
    , tracker_(inflow_)
    , senders_(participant)
    , frames_topic_(make_packet_topic(participant, frames_topic))
    , catalogue_topic_(make_packet_topic(participant, catalogue_topic))
    , waitset_(dds_create_waitset(participant), "dds_create_waitset")
    , posted_(dds_create_guardcondition(participant), "dds_create_guardcondition")
    , sender_news_(dds_create_readcondition(senders_.news(), DDS_ANY_STATE), "dds_create_readcondition")
    , catalogue_(make_inlet<Inlet>(catalogue_topic_.get(), catalogue_qos().get()))
{
    check_dds(dds_waitset_attach(waitset_.get(), posted_.get(), 0), "dds_waitset_attach");
    check_dds(dds_waitset_attach(waitset_.get(), sender_news_.get(), 0), "dds_waitset_attach");
    if (policy.faults.any()) {
        faults_.emplace(policy.faults, [this](const StreamId& stream, SourceTracker::ReaderId reader, ByteView body) {
            decode_frame(body, frame_); // which it has been before
            take_frame(stream, reader);
        });
    }
    relief_ = Thread{"lbm_intake", [this] { relieve(); }};
}

Intake::~Intake()
{
    {
        const std::lock_guard lock{relief_mutex_};
        stopping_ = true;
    }
    relief_called_.notify_one();
    relief_.finish();
}

template <class Kind>
std::unique_ptr<Kind> Intake::make_inlet(dds_entity_t topic, const dds_qos_t* qos)
{
    return std::make_unique<Kind>(next_inlet_++, participant_, topic, qos, [this](InletId id) { on_arrival(id); });
}

std::unique_lock<std::mutex> Intake::lock_in_turn()
{
    const std::lock_guard turn{turn_};
    return std::unique_lock{mutex_};
}

void Intake::add(const std::shared_ptr<Receiver>& receiver)
{
    const auto lock = lock_in_turn();
    hear(receiver->partition());
    if (hears_any_topic_) {
        try {
            hear(any_topic_partition);
        } catch (...) {
            unhear(receiver->partition());
            throw;
        }
    }
    inflow_.add(receiver);
    wake();
}

void Intake::remove(const std::shared_ptr<Receiver>& receiver)
{
    const auto lock = lock_in_turn();
    if (hears_any_topic_) {
        unhear(any_topic_partition);
    }
    unhear(receiver->partition());
    inflow_.remove(receiver);
    wake();
}

void Intake::hear(const std::string& partition)
{
    auto found = frames_.find(partition);
    if (found == frames_.end()) {
        auto made = make_inlet<FramesInlet>(frames_topic_.get(), frames_qos(partition).get());
        made->carries = partition == any_topic_partition ? Carries::any_topic : Carries::one_token;
        frames_by_id_.emplace(made->id(), made.get());
        found = frames_.emplace(partition, std::move(made)).first;
    }
    ++found->second->users;
}

void Intake::unhear(const std::string& partition)
{
    const auto found = frames_.find(partition);
    if (found == frames_.end() || --found->second->users > 0) {
        return;
    }
    FramesInlet& inlet = *found->second;
    drain_until_even(inlet);
    if (faults_) {
        faults_->let_go_due(Clock::time_point::max());
    }
    tracker_.reader_gone(inlet.id(), frames_.size() == 1);
    frames_by_id_.erase(inlet.id());
    frames_.erase(found);
}

/// Its copies of shared streams are the ones that count: takes those that other readers have dropped already. The
/// engine gives a frame to one reader after the other, so that some may have yet to arrive.
void Intake::drain_until_even(FramesInlet& inlet)
{
    const auto deadline = Clock::now() + copies_apart_max;
    do {
        drain_frames(inlet, batches_per_turn);
        std::this_thread::yield();
    } while (tracker_.is_behind(inlet.id()) && Clock::now() < deadline);
}

void Intake::hear_answers(const ContextId& self)
{
    const auto lock = lock_in_turn();
    if (!answers_) {
        answers_topic_ = make_packet_topic(participant_, answers_topic);
        answers_ = make_inlet<Inlet>(answers_topic_.get(), frames_qos(partition_of_requester(self)).get());
    }
}

void Intake::wait(Mailbox::Deadline deadline)
{
    idle_ = true;
    if (out_.waits_for_posts() && !has_arrivals()) {
        const Clock::time_point until = std::min(due_.load(), deadline.value_or(Clock::time_point::max()));
        const std::chrono::nanoseconds left = until - Clock::now();
        dds_waitset_wait(waitset_.get(), nullptr, 0, std::max<dds_duration_t>(left.count(), 0));
    }
    idle_ = false; // before the readers are emptied: what arrives later calls the relief
    bool posted = false;
    dds_take_guardcondition(posted_.get(), &posted);
    drain_all(batches_between_callbacks);
}

void Intake::wake() noexcept
{
    if (idle_) {
        dds_set_guardcondition(posted_.get(), true);
    }
}

/// On an engine's thread, which must not be held up.
void Intake::on_arrival(InletId inlet)
{
    note_arrival(inlet);
    if (idle_) {
        dds_set_guardcondition(posted_.get(), true);
    } else {
        call_relief();
    }
}

void Intake::note_arrival(InletId inlet)
{
    const std::lock_guard lock{arrivals_mutex_};
    arrivals_.push_back(inlet);
}

bool Intake::has_arrivals()
{
    const std::lock_guard lock{arrivals_mutex_};
    return !arrivals_.empty();
}

/// The catalogue, which was made first, first: it must not announce what the end of a stream has already ended.
std::vector<InletId> Intake::take_arrivals()
{
    std::vector<InletId> taken;
    {
        const std::lock_guard lock{arrivals_mutex_};
        taken.swap(arrivals_);
    }
    std::sort(taken.begin(), taken.end());
    taken.erase(std::unique(taken.begin(), taken.end()), taken.end());
    return taken;
}

void Intake::call_relief()
{
    if (called_.exchange(true)) {
        return;
    }
    const std::lock_guard lock{relief_mutex_}; // it is either before its look at the call or waits
    relief_called_.notify_one();
}

void Intake::relieve()
{
    std::unique_lock lock{relief_mutex_};
    while (true) {
        relief_called_.wait(lock, [this] { return stopping_ || called_; });
        if (stopping_) {
            return;
        }
        lock.unlock();
        called_ = false; // before the readers are emptied: what arrives later calls again
        drain_all(batches_per_turn);
        wake();
        if (!idle_ && has_arrivals()) {
            called_ = true; // a turn left something
        }
        lock.lock();
    }
}

void Intake::drain_all(std::size_t batches)
{
    const auto lock = lock_in_turn();
    senders_.refresh(Clock::now());
    for (const InletId inlet : take_arrivals()) {
        if (drain(inlet, batches) == Inlet::Left::perhaps_more) {
            note_arrival(inlet);
        }
    }
    for (auto& [stream, watched] : watched_) {
        look_at_receivers(*stream, watched);
    }
    const auto now = Clock::now();
    if (faults_) {
        faults_->let_go_due(now);
    }
    for (const ContextId& context : senders_.take_gone()) {
        tracker_.context_gone(context, now);
    }
    tracker_.tick(now);
    counters_.copies_dropped.raise_to(tracker_.duplicates());
    Clock::time_point due = tracker_.next_due().value_or(now + longest_wait);
    if (faults_) {
        due = std::min(due, faults_->next_due().value_or(due));
    }
    due_ = due;
}

Inlet::Left Intake::drain(InletId id, std::size_t batches)
{
    if (id == catalogue_->id()) {
        return drain_catalogue();
    }
    if (answers_ && id == answers_->id()) {
        return drain_answers();
    }
    const auto found = frames_by_id_.find(id);
    return found == frames_by_id_.end() ? Inlet::Left::nothing_came : drain_frames(*found->second, batches);
}

void Intake::watch(const std::shared_ptr<SourceWatch>& source)
{
    const auto lock = lock_in_turn();
    StreamWriter& stream = source->stream();
    if (!watched_.contains(&stream)) {
        check_dds(dds_set_status_mask(stream.entity(), DDS_PUBLICATION_MATCHED_STATUS), "dds_set_status_mask");
        check_dds(dds_waitset_attach(waitset_.get(), stream.entity(), 0), "dds_waitset_attach");
    }
    WatchedStream& watched = watched_[&stream];
    look_at_receivers(stream, watched); // those who are there already make no news
    watched.sources.push_back(source);
    if (watched.connected) {
        tell(source, true);
    }
    wake();
}

void Intake::unwatch(const std::shared_ptr<SourceWatch>& source)
{
    const auto lock = lock_in_turn();
    const auto found = watched_.find(&source->stream());
    std::erase(found->second.sources, source);
    if (found->second.sources.empty()) {
        dds_waitset_detach(waitset_.get(), found->first->entity()); // news that nobody takes would wake us for ever
        watched_.erase(found);
    }
}

void Intake::look_at_receivers(const StreamWriter& stream, WatchedStream& watched)
{
    if (const bool now = stream.has_receivers(); now != watched.connected) {
        watched.connected = now;
        for (const auto& source : watched.sources) {
            tell(source, now);
        }
    }
}

void Intake::tell(const std::shared_ptr<SourceWatch>& source, bool connected)
{
    const std::uint32_t event = connected ? LBM_SRC_EVENT_CONNECT : LBM_SRC_EVENT_DISCONNECT;
    out_.post({Delivery::What::source_event, nullptr, nullptr, nullptr, event, 0, source});
}

/// Null, and counted, unless it is from whom it says.
const Sender* Intake::sender_of(const Arrival& arrival)
{
    const Sender* const sender = senders_.find(arrival.writer, arrival.context);
    if (sender == nullptr) {
        counters_.packets_refused.add();
    }
    return sender;
}

Inlet::Left Intake::drain_catalogue()
{
    return catalogue_->take(
        batches_per_turn, [this](const Arrival& arrival) { read_page(arrival); },
        [this](const ContextId& context, std::uint32_t page) { tracker_.page_gone(context, page, Clock::now()); });
}

Inlet::Left Intake::drain_answers()
{
    // Who answered and left has answered all the same.
    return answers_->take(
        batches_per_turn, [this](const Arrival& arrival) { read_answer(arrival); },
        [](const ContextId&, std::uint32_t) {});
}

Inlet::Left Intake::drain_frames(FramesInlet& inlet, std::size_t batches)
{
    return inlet.take(
        batches, [this, &inlet](const Arrival& arrival) { read_frame(arrival, inlet.id()); },
        [this, &inlet](const ContextId& context, std::uint32_t stream) {
            if (faults_) {
                faults_->let_go({context, stream}, inlet.id());
            }
            tracker_.stream_gone({context, stream}, inlet.id(), Clock::now());
        });
}

void Intake::read_page(const Arrival& arrival)
{
    // What a dead sender's page says is of no use to anybody: its sources would begin only to end.
    if (sender_of(arrival) == nullptr || !arrival.alive) {
        return;
    }
    if (decode_page(arrival.body, entries_)) {
        tracker_.page(arrival.context, arrival.part, entries_, Clock::now());
    } else {
        counters_.packets_refused.add();
    }
}

void Intake::read_answer(const Arrival& arrival)
{
    if (sender_of(arrival) == nullptr) {
        return;
    }
    if (std::optional<Delivery> delivery = requester_.receive(arrival.context, arrival.body)) {
        counters_.answers_received.add();
        out_.post(std::move(*delivery));
    } else {
        counters_.answers_dropped.add();
    }
}

void Intake::read_frame(const Arrival& arrival, SourceTracker::ReaderId reader)
{
    const Sender* const sender = sender_of(arrival);
    if (sender == nullptr) {
        return;
    }
    if (!decode_frame(arrival.body, frame_) || !sender->may_send(frame_)) {
        counters_.packets_refused.add();
        return;
    }
    const StreamId stream{arrival.context, arrival.part};
    if (faults_) {
        faults_->pass(stream, reader, arrival.body, Clock::now());
    } else {
        take_frame(stream, reader);
    }
}

void Intake::take_frame(const StreamId& stream, SourceTracker::ReaderId reader)
{
    const std::uint64_t refused_before = tracker_.refused();
    tracker_.frame(stream, reader, frame_, Clock::now(), frames_by_id_.at(reader)->carries);
    counters_.packets_refused.add(frame_.unknown_kinds + tracker_.refused() - refused_before);
}

} // namespace qx::transport
