/// Who the writers are whose packets arrive, by what the engine knows of them and not by what the packets say.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include <dds/dds.h>

#include "dds_entity.h"
#include "frame.h"
#include "ids.h"

namespace qx::transport {

/// A writer is remembered for that long after it went: packets of it may still wait in a reader.
inline constexpr std::chrono::seconds gone_sender_kept{60};

struct Sender {
    ParticipantKey participant{};
    bool any_topic = false;             ///< it may send topics of every first token
    std::optional<std::string> token;   ///< else that of the topics that it may send; empty: it may send none
    std::optional<ContextId> context{}; ///< that it speaks for; once it has spoken

    /// Whether every message has a topic that belongs into the writer's partition, which is all that permissions see.
    bool may_send(const Frame& frame) const noexcept;

    std::optional<std::chrono::steady_clock::time_point> gone_since{};
};

/// Threads   not synchronised.
class Senders {
public:
    explicit Senders(dds_entity_t participant);

    /// The writer of a packet of that context which a reader has given; null: the engine never told of it, or it is not
    /// that context's. Good until the next call.
    const Sender* find(dds_instance_handle_t writer, const ContextId& context);

    /// Learns of writers that came and went. Without it what the engine tells would pile up.
    void refresh(std::chrono::steady_clock::time_point now);

    /// The contexts without a writer of which one went, or was found once more, since the last call.
    std::unordered_set<ContextId> take_gone();

    /// Has something to read when writers have come or gone.
    dds_entity_t news() const noexcept { return publications_.get(); }

private:
    void learn(const dds_builtintopic_endpoint_t& writer, dds_instance_handle_t handle);
    void note_bereft(const Sender& sender);
    void forget(std::chrono::steady_clock::time_point now);

    DdsEntity publications_;
    std::unordered_map<dds_instance_handle_t, Sender> senders_;
    std::unordered_set<ContextId> bereft_; ///< contexts of which a writer went
    std::chrono::steady_clock::time_point last_forget_{};
};

} // namespace qx::transport
