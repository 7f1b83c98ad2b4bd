#include "intake.h"

#include <algorithm>
#include <array>

#include "partition.h"
#include "wire.h"
#include "wire_qos.h"

namespace qx::transport {
namespace {

constexpr std::size_t take_max = 64;
constexpr std::size_t batches_per_turn = 16;
constexpr std::chrono::seconds longest_wait{30};

} // namespace

Intake::Intake(dds_entity_t participant, Mailbox& out, Requester& requester, Responder& responder, Counters& counters)
    : participant_(participant)
    , out_(out)
    , requester_(requester)
    , responder_(responder)
    , counters_(counters)
    , tracker_(*this)
    , frames_topic_(make_packet_topic(participant, frames_topic))
    , catalogue_topic_(make_packet_topic(participant, catalogue_topic))
    , waitset_(dds_create_waitset(participant), "dds_create_waitset")
    , stop_(dds_create_guardcondition(participant), "dds_create_guardcondition")
    , catalogue_(make_reader(catalogue_topic_.get(), catalogue_qos().get()))
{
    check_dds(dds_waitset_attach(waitset_.get(), stop_.get(), 0), "dds_waitset_attach");
    thread_ = Thread{"lbm_intake", [this] { run(); }};
}

Intake::~Intake()
{
    dds_set_guardcondition(stop_.get(), true);
    thread_.finish();
}

Intake::Reader Intake::make_reader(dds_entity_t topic, const dds_qos_t* qos)
{
    Reader made;
    made.reader = {dds_create_reader(participant_, topic, qos, nullptr), "dds_create_reader"};
    made.condition = {dds_create_readcondition(made.reader.get(), DDS_ANY_STATE), "dds_create_readcondition"};
    made.id = next_reader_++;
    check_dds(dds_waitset_attach(waitset_.get(), made.condition.get(), 0), "dds_waitset_attach");
    return made;
}

std::unique_lock<std::mutex> Intake::lock_in_turn()
{
    const std::lock_guard turn{turn_};
    return std::unique_lock{mutex_};
}

void Intake::add(const std::string& partition)
{
    const auto lock = lock_in_turn();
    auto found = readers_.find(partition);
    if (found == readers_.end()) {
        found = readers_.emplace(partition, make_reader(frames_topic_.get(), frames_qos(partition).get())).first;
    }
    ++found->second.users;
}

void Intake::remove(const std::string& partition)
{
    const auto lock = lock_in_turn();
    const auto found = readers_.find(partition);
    if (found == readers_.end() || --found->second.users > 0) {
        return;
    }
    // Its copies of shared streams are the ones that count: take those that other readers have dropped already.
    while (drain_frames(found->second) && tracker_.is_behind(found->second.id)) {
    }
    tracker_.reader_gone(found->second.id);
    dds_waitset_detach(waitset_.get(), found->second.condition.get());
    readers_.erase(found);
}

void Intake::hear_answers(const ContextId& self)
{
    const auto lock = lock_in_turn();
    if (!answers_) {
        answers_topic_ = make_packet_topic(participant_, answers_topic);
        answers_ = make_reader(answers_topic_.get(), frames_qos(partition_of_requester(self)).get());
    }
}

void Intake::run()
{
    while (true) {
        wait();
        bool stopping = false;
        dds_read_guardcondition(stop_.get(), &stopping);
        if (stopping) {
            return;
        }
        drain_all();
    }
}

void Intake::wait()
{
    const std::chrono::nanoseconds left = wake_ - Clock::now();
    dds_waitset_wait(waitset_.get(), nullptr, 0, std::max<dds_duration_t>(left.count(), 0));
}

void Intake::drain_all()
{
    const auto lock = lock_in_turn();
    // The catalogue first: it must not announce what the end of a stream has already ended.
    drain_catalogue();
    for (const auto& [partition, reader] : readers_) {
        drain_frames(reader);
    }
    drain_answers();
    look_at_receivers();
    const auto now = Clock::now();
    tracker_.tick(now);
    counters_.copies_dropped.raise_to(tracker_.duplicates());
    wake_ = tracker_.next_due().value_or(now + longest_wait);
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

/// Gives each valid packet to `take` and collects the keys whose senders are gone, each once. A steady flow is left in
/// time for others to have their turn, but not before all of a sender that is gone was taken. False: it was empty.
template <class Take>
bool Intake::take_some(dds_entity_t reader, std::vector<Key>& gone, Take take)
{
    std::array<void*, take_max> loans{};
    std::array<dds_sample_info_t, take_max> infos{};
    dds_return_t taken = 0;
    std::size_t batch = 0;
    for (; (batch < batches_per_turn || !gone.empty()) &&
           (taken = dds_take(reader, loans.data(), infos.data(), take_max, take_max)) > 0;
         ++batch) {
        for (std::size_t i = 0; i < static_cast<std::size_t>(taken); ++i) {
            const auto& packet = *static_cast<const qx_wire_Packet*>(loans[i]);
            Key key{{}, packet.part};
            std::copy_n(packet.context, key.context.bytes.size(), key.context.bytes.begin());
            const bool alive = infos[i].instance_state == DDS_ALIVE_INSTANCE_STATE;
            if (infos[i].valid_data) {
                take(key, ByteView{packet.body._buffer, packet.body._length}, alive);
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
    take_some(catalogue_.reader.get(), gone, [&](const Key& key, ByteView body, bool alive) {
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
    take_some(answers_->reader.get(), gone, [&](const Key& key, ByteView body, bool) {
        if (std::optional<Delivery> delivery = requester_.receive(key.context, body)) {
            counters_.answers_received.add();
            out_.post(std::move(*delivery));
        } else {
            counters_.answers_dropped.add();
        }
    });
}

bool Intake::drain_frames(const Reader& reader)
{
    std::vector<Key> gone;
    const bool any = take_some(reader.reader.get(), gone,
                               [&](const Key& key, ByteView body, bool) { read_frame(key, body, reader.id); });
    for (const Key& key : gone) {
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

void Intake::read_frame(const Key& key, ByteView body, SourceTracker::ReaderId reader)
{
    if (decode_frame(body, frame_)) {
        counters_.packets_refused.add(frame_.unknown_kinds);
        tracker_.frame({key.context, key.part}, reader, frame_, Clock::now());
    } else {
        counters_.packets_refused.add();
    }
}

void Intake::begun(const SourcePtr& source, std::uint32_t next)
{
    counters_.sources.add();
    source->arrivals.begin(next);
    out_.post({Delivery::What::begin, nullptr, source, Message::make(source, LBM_MSG_BOS, next), 0, 0, nullptr});
}

void Intake::data(const SourcePtr& source, const WireMessage& m)
{
    if (!source->arrivals.arrive(m.sequence + 1)) {
        counters_.messages_unwanted.add();
        return;
    }
    counters_.messages_received.add();
    counters_.bytes_received.add(m.payload.size());
    const bool request = m.kind == Kind::request;
    MessagePtr message = Message::make(source, request ? LBM_MSG_REQUEST : LBM_MSG_DATA, m.sequence, m.payload);
    if (request) {
        message->answer_through(responder_.handle_for(source->context, request_number(m)));
    }
    out_.post({Delivery::What::data, nullptr, source, std::move(message), 0, 0, nullptr});
}

void Intake::lost(const SourcePtr& source, std::uint32_t first, std::uint32_t last)
{
    if (source->arrivals.arrive(last + 1)) {
        counters_.messages_lost.add(last - first + 1);
        out_.post_loss(nullptr, source, first, last);
    }
}

void Intake::ended(const SourcePtr& source, std::uint32_t next)
{
    counters_.sources.subtract();
    out_.post({Delivery::What::end, nullptr, source, Message::make(source, LBM_MSG_EOS, next), 0, 0, nullptr});
}

} // namespace qx::transport
