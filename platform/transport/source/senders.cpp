#include "senders.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "partition.h"
#include "topic_name.h"
#include "wire_qos.h"

namespace qx::transport {
namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr std::size_t take_max = 64;

bool is_ours(std::string_view topic) noexcept
{
    return topic == frames_topic || topic == answers_topic || topic == catalogue_topic;
}

struct DdsStringsDelete {
    std::uint32_t count;
    void operator()(char** strings) const noexcept
    {
        std::for_each_n(strings, count, dds_free);
        dds_free(strings);
    }
};

/// One partition, since a message in several would be under several permissions; else empty, as if it had no name.
std::string partition_of_writer(const dds_qos_t* qos)
{
    std::uint32_t count = 0;
    char** names = nullptr;
    if (qos == nullptr || !dds_qget_partition(qos, &count, &names)) {
        return {};
    }
    const std::unique_ptr<char*, DdsStringsDelete> owner{names, {count}};
    return count == 1 ? names[0] : "";
}

} // namespace

bool Sender::may_send(const Frame& frame) const noexcept
{
    return any_topic || (token && std::ranges::all_of(frame.messages, [&](const WireMessage& m) {
                             return first_token(m.topic) == *token;
                         }));
}

Senders::Senders(dds_entity_t participant)
    : publications_(dds_create_reader(participant, DDS_BUILTIN_TOPIC_DCPSPUBLICATION, nullptr, nullptr),
                    "dds_create_reader")
{
}

const Sender* Senders::find(dds_instance_handle_t writer, const ContextId& context)
{
    auto found = senders_.find(writer);
    if (found == senders_.end()) {
        refresh(SteadyClock::now()); // the engine tells of a writer before it gives anything of it
        found = senders_.find(writer);
    }
    if (found == senders_.end() || !context.is_of(found->second.participant)) {
        return nullptr;
    }
    Sender& sender = found->second;
    if (!sender.context) {
        sender.context = context;
    }
    if (sender.gone_since) {
        bereft_.insert(context); // a late packet may begin anew what has ended, and must not last
    }
    return *sender.context == context ? &sender : nullptr;
}

void Senders::refresh(SteadyClock::time_point now)
{
    std::array<void*, take_max> loans{};
    std::array<dds_sample_info_t, take_max> infos{};
    dds_return_t taken = 0;
    while ((taken = dds_take(publications_.get(), loans.data(), infos.data(), take_max, take_max)) > 0) {
        for (std::size_t i = 0; i < static_cast<std::size_t>(taken); ++i) {
            const dds_instance_handle_t handle = infos[i].instance_handle;
            if (infos[i].valid_data) {
                learn(*static_cast<const dds_builtintopic_endpoint_t*>(loans[i]), handle);
            }
            const auto known = senders_.find(handle);
            if (infos[i].instance_state != DDS_ALIVE_INSTANCE_STATE && known != senders_.end()) {
                known->second.gone_since = now;
                note_bereft(known->second);
            }
        }
        dds_return_loan(publications_.get(), loans.data(), taken);
        loans.fill(nullptr);
    }
    forget(now);
}

/// Of one that never spoke nobody knows whose it was, and there is nothing of it to end.
void Senders::note_bereft(const Sender& sender)
{
    if (sender.context) {
        bereft_.insert(*sender.context);
    }
}

std::unordered_set<ContextId> Senders::take_gone()
{
    std::unordered_set<ContextId> gone;
    gone.swap(bereft_);
    if (gone.empty()) {
        return gone;
    }
    for (const auto& [handle, sender] : senders_) {
        if (!sender.gone_since && sender.context) {
            gone.erase(*sender.context);
        }
    }
    return gone;
}

void Senders::learn(const dds_builtintopic_endpoint_t& writer, dds_instance_handle_t handle)
{
    if (writer.topic_name == nullptr || !is_ours(writer.topic_name)) {
        return;
    }
    Sender sender;
    std::ranges::copy(writer.participant_key.v, sender.participant.begin());
    const std::string partition = partition_of_writer(writer.qos);
    sender.any_topic = partition == any_topic_partition;
    sender.token = token_of_partition(partition);
    senders_.insert_or_assign(handle, std::move(sender));
}

void Senders::forget(SteadyClock::time_point now)
{
    if (now - last_forget_ < gone_sender_kept / 2) {
        return;
    }
    last_forget_ = now;
    std::erase_if(senders_, [&](const auto& item) {
        return item.second.gone_since && now - *item.second.gone_since >= gone_sender_kept;
    });
}

} // namespace qx::transport
