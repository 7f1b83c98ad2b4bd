/// The answering half of a context: a writer for each requester that it has heard of.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <lbm/lbm.h>

#include "answer_writer.h"
#include "dds_entity.h"
#include "flusher.h"
#include "ids.h"

namespace qx::transport {

struct WriterLimits {
    /// So many requesters keep their writers when they ask no more; beyond that the least recently used are closed, and
    /// opened again when somebody answers.
    std::size_t idle = 64;
    /// Nor may requesters that do not acknowledge make us keep writers without end. At least `idle`.
    std::size_t all = 1'024;
};

/// A writer is opened when a request arrives, not when it is answered: mostly the engine has found the requester by
/// then.
/// Threads   any.
class Responder : public Flushable, public std::enable_shared_from_this<Responder> {
public:
    Responder(dds_entity_t participant, const ContextId& self, AnswerPolicy policy, Flusher& flusher,
              WriterLimits limits = {});

    /// What a request message is answered on; it may outlive the context.
    std::unique_ptr<lbm_response> handle_for(const ContextId& requester, std::uint64_t request);

    /// Throws TransportError, see AnswerWriter::send; there is no room either while too many writers are busy.
    void send(lbm_response& response, std::string_view payload, const SendWait& wait);

    /// Sends that wait give up, later ones fail.
    void stop() noexcept;

    /// Stops, waits at most until the deadline for requesters to have it all, and closes. One that stands still does
    /// not keep the others from theirs. False when some had not acknowledged it by then. Twice is harmless.
    bool close(std::chrono::steady_clock::time_point deadline) noexcept;

    std::size_t open_writers() const;

    /// Looks for requesters that are gone.
    std::optional<std::chrono::steady_clock::time_point> flush() noexcept override;

private:
    using Lock = std::unique_lock<std::mutex>;
    using WriterPtr = std::shared_ptr<AnswerWriter>;

    WriterPtr writer_for(const ContextId& requester);
    bool open(const WriterPtr& writer);
    bool make_room();
    void close_idle();
    void forget_vanished();

    const dds_entity_t participant_;
    const ContextId self_;
    const AnswerPolicy policy_;
    Flusher& flusher_;
    const WriterLimits limits_;
    mutable std::mutex mutex_;
    std::condition_variable room_;
    DdsEntity topic_;
    std::unordered_map<ContextId, std::weak_ptr<AnswerWriter>> known_; ///< closed ones live by their messages
    std::size_t known_looked_at_ = 0; ///< from that size on, those that are no more are looked for
    std::vector<WriterPtr> open_;
    bool armed_ = false;
    bool stopped_ = false;
};

} // namespace qx::transport

/// Shared by all receivers of one request message, which owns it.
struct lbm_response {
    std::shared_ptr<qx::transport::Responder> responder;
    std::shared_ptr<qx::transport::AnswerWriter> writer;
    qx::transport::AnswerTo to;
};
