#include "intake.h"

#include <algorithm>
#include <array>
#include <functional>
#include <thread>

#include "partition.h"
#include "wire.h"
#include "wire_qos.h"

namespace qx::transport {
namespace {

constexpr std::size_t take_max = 64;
constexpr std::size_t batches_per_turn = 16;
constexpr std::size_t batches_between_callbacks = 1; // what waits in the queue counts against its bound
constexpr std::chrono::seconds longest_wait{30};
constexpr std::chrono::milliseconds copies_apart_max{100};

} // namespace

Intake::Intake(dds_entity_t participant, Mailbox& out, Requester& requester, Responder& responder, Counters& counters,
               const FaultPolicy& faults)
    : participant_(participant)
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
    , catalogue_(make_reader(catalogue_topic_.get(), catalogue_qos().get()))
{
    check_dds(dds_waitset_attach(waitset_.get(), posted_.get(), 0), "dds_waitset_attach");
    check_dds(dds_waitset_attach(waitset_.get(), sender_news_.get(), 0), "dds_waitset_attach");
    if (faults.any()) {
        faults_.emplace(faults, [this](const StreamId& stream, SourceTracker::ReaderId reader, ByteView body) {
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

Intake::Reader Intake::make_reader(dds_entity_t topic, const dds_qos_t* qos)
{
    const std::unique_ptr<dds_listener_t, decltype(&dds_delete_listener)> listener{dds_create_listener(this),
                                                                                   &dds_delete_listener};
    dds_lset_data_available(listener.get(), &Intake::on_arrival);
    Reader made;
    made.reader = {dds_create_reader(participant_, topic, qos, listener.get()), "dds_create_reader"};
    made.condition = {dds_create_readcondition(made.reader.get(), DDS_ANY_STATE), "dds_create_readcondition"};
    made.id = next_reader_++;
    check_dds(dds_waitset_attach(waitset_.get(), made.condition.get(), 0), "dds_waitset_attach");
    wake(); // a wait that has begun does not see what arrived before
    return made;
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
    inflow_.add(receiver);
    wake();
}

void Intake::remove(const std::shared_ptr<Receiver>& receiver)
{
    const auto lock = lock_in_turn();
    unhear(receiver->partition());
    inflow_.remove(receiver);
    wake();
}

void Intake::hear(const std::string& partition)
{
    auto found = readers_.find(partition);
    if (found == readers_.end()) {
        found = readers_.emplace(partition, make_reader(frames_topic_.get(), frames_qos(partition).get())).first;
    }
    ++found->second.users;
}

void Intake::unhear(const std::string& partition)
{
    const auto found = readers_.find(partition);
    if (found == readers_.end() || --found->second.users > 0) {
        return;
    }
    drain_until_even(found->second);
    if (faults_) {
        faults_->let_go_due(Clock::time_point::max());
    }
    tracker_.reader_gone(found->second.id, readers_.size() == 1);
    dds_waitset_detach(waitset_.get(), found->second.condition.get());
    readers_.erase(found);
}

/// Its copies of shared streams are the ones that count: takes those that other readers have dropped already. The
/// engine gives a frame to one reader after the other, so that some may have yet to arrive.
void Intake::drain_until_even(const Reader& reader)
{
    const auto deadline = Clock::now() + copies_apart_max;
    while (drain_frames(reader, batches_per_turn) || Clock::now() < deadline) {
        if (!tracker_.is_behind(reader.id)) {
            return;
        }
        std::this_thread::yield();
    }
}

void Intake::hear_answers(const ContextId& self)
{
    const auto lock = lock_in_turn();
    if (!answers_) {
        answers_topic_ = make_packet_topic(participant_, answers_topic);
        answers_ = make_reader(answers_topic_.get(), frames_qos(partition_of_requester(self)).get());
    }
}

void Intake::wait(Mailbox::Deadline deadline)
{
    idle_ = true;
    if (out_.waits_for_posts()) {
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
void Intake::on_arrival(dds_entity_t, void* intake)
{
    auto& self = *static_cast<Intake*>(intake);
    if (!self.idle_) {
        self.call_relief();
    }
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
        lock.lock();
    }
}

void Intake::drain_all(std::size_t batches)
{
    const auto lock = lock_in_turn();
    senders_.refresh(Clock::now());
    // The catalogue first: it must not announce what the end of a stream has already ended.
    drain_catalogue();
    for (const auto& [partition, reader] : readers_) {
        drain_frames(reader, batches);
    }
    drain_answers();
    look_at_receivers();
    const auto now = Clock::now();
    if (faults_) {
        faults_->let_go_due(now);
    }
    for (const ParticipantKey& participant : senders_.take_gone()) {
        tracker_.participant_gone(participant, now);
    }
    tracker_.tick(now);
    counters_.copies_dropped.raise_to(tracker_.duplicates());
    Clock::time_point due = tracker_.next_due().value_or(now + longest_wait);
    if (faults_) {
        due = std::min(due, faults_->next_due().value_or(due));
    }
    due_ = due;
}

bool Intake::is_watched(const StreamWriter& stream) const
{
    return std::any_of(watched_.begin(), watched_.end(), [&](const auto& w) { return &w->stream() == &stream; });
}

void Intake::watch(const std::shared_ptr<SourceWatch>& source)
{
    const auto lock = lock_in_turn();
    const dds_entity_t writer = source->stream().entity();
    if (!is_watched(source->stream())) {
        check_dds(dds_set_status_mask(writer, DDS_PUBLICATION_MATCHED_STATUS), "dds_set_status_mask");
        check_dds(dds_waitset_attach(waitset_.get(), writer, 0), "dds_waitset_attach");
    }
    watched_.push_back(source);
    look_at_receivers(); // those who are there already make no news
    wake();
}

void Intake::unwatch(const std::shared_ptr<SourceWatch>& source)
{
    const auto lock = lock_in_turn();
    std::erase(watched_, source);
    if (!is_watched(source->stream())) {
        dds_waitset_detach(waitset_.get(), source->stream().entity()); // news that nobody takes would wake us for ever
    }
}

void Intake::look_at_receivers()
{
    for (const auto& source : watched_) {
        if (const int event = source->look(); event != 0) {
            out_.post({Delivery::What::source_event, nullptr, nullptr, nullptr, static_cast<std::uint32_t>(event), 0,
                       source});
        }
    }
}

/// Gives each valid packet to `take` if it is from whom it says, and collects the keys whose senders are gone, each
/// once. A steady flow is left in time for others to have their turn, but not before all of a sender that is gone was
/// taken. False: it was empty.
template <class Take>
bool Intake::take_some(dds_entity_t reader, std::size_t batches, std::vector<Key>& gone, Take take)
{
    std::array<void*, take_max> loans{};
    std::array<dds_sample_info_t, take_max> infos{};
    dds_return_t taken = 0;
    std::size_t batch = 0;
    for (; (batch < batches || !gone.empty()) &&
           (taken = dds_take(reader, loans.data(), infos.data(), take_max, take_max)) > 0;
         ++batch) {
        for (std::size_t i = 0; i < static_cast<std::size_t>(taken); ++i) {
            const auto& packet = *static_cast<const qx_wire_Packet*>(loans[i]);
            Key key{{}, packet.part};
            std::copy_n(packet.context, key.context.bytes.size(), key.context.bytes.begin());
            // None of us ever disposes: who does so disposes of what is another's.
            const bool alive = infos[i].instance_state != DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE;
            if (infos[i].valid_data) {
                const Sender* const sender = senders_.find(infos[i].publication_handle);
                if (sender != nullptr && key.context.is_of(sender->participant)) {
                    take(key, ByteView{packet.body._buffer, packet.body._length}, *sender, alive);
                } else {
                    counters_.packets_refused.add();
                }
            }
            if (!alive && std::find(gone.begin(), gone.end(), key) == gone.end()) {
                gone.push_back(key);
            }
        }
        dds_return_loan(reader, loans.data(), taken);
        loans.fill(nullptr);
    }
    return batch > 0;
}

void Intake::drain_catalogue()
{
    // What a dead sender's page says is of no use to anybody: its sources would begin only to end.
    std::vector<Key> gone;
    take_some(catalogue_.reader.get(), batches_per_turn, gone,
              [&](const Key& key, ByteView body, const Sender&, bool alive) {
                  if (alive) {
                      read_page(key, body);
                  }
              });
    for (const Key& key : gone) {
        tracker_.page_gone(key.context, key.part, Clock::now());
    }
}

void Intake::drain_answers()
{
    if (!answers_) {
        return;
    }
    std::vector<Key> gone; // who answered and left has answered all the same
    take_some(answers_->reader.get(), batches_per_turn, gone, [&](const Key& key, ByteView body, const Sender&, bool) {
        if (std::optional<Delivery> delivery = requester_.receive(key.context, body)) {
            counters_.answers_received.add();
            out_.post(std::move(*delivery));
        } else {
            counters_.answers_dropped.add();
        }
    });
}

bool Intake::drain_frames(const Reader& reader, std::size_t batches)
{
    std::vector<Key> gone;
    const bool any =
        take_some(reader.reader.get(), batches, gone, [&](const Key& key, ByteView body, const Sender& sender, bool) {
            read_frame({key.context, key.part}, reader.id, body, sender);
        });
    for (const Key& key : gone) {
        if (faults_) {
            faults_->let_go({key.context, key.part}, reader.id);
        }
        tracker_.stream_gone({key.context, key.part}, reader.id, Clock::now());
    }
    return any;
}

void Intake::read_page(const Key& key, ByteView body)
{
    if (decode_page(body, entries_)) {
        tracker_.page(key.context, key.part, entries_, Clock::now());
    } else {
        counters_.packets_refused.add();
    }
}

void Intake::read_frame(const StreamId& stream, SourceTracker::ReaderId reader, ByteView body, const Sender& sender)
{
    if (!decode_frame(body, frame_) || !sender.may_send(frame_)) {
        counters_.packets_refused.add();
        return;
    }
    if (faults_) {
        faults_->pass(stream, reader, body, Clock::now());
    } else {
        take_frame(stream, reader);
    }
}

void Intake::take_frame(const StreamId& stream, SourceTracker::ReaderId reader)
{
    const std::uint64_t refused_before = tracker_.refused();
    tracker_.frame(stream, reader, frame_, Clock::now());
    counters_.packets_refused.add(frame_.unknown_kinds + tracker_.refused() - refused_before);
}

} // namespace qx::transport
