/// From what happens to sources to what is posted for their receivers.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include <lbm/lbm.h>

#include "counters.h"
#include "interest.h"
#include "mailbox.h"
#include "source_tracker.h"

namespace qx::transport {

/// Posts each source's events in order, and nothing that nobody wants. A receiver that comes hears a source from what
/// arrives next; what is posted for others already is not for it, since its beginning is posted behind that.
/// Threads   not synchronised.
class Inflow : public SourceEvents {
public:
    /// Makes the handle through which a request of that context, of that number, is answered.
    using MakeResponse = std::function<std::unique_ptr<lbm_response>(const ContextId& from, std::uint64_t number)>;

    Inflow(Mailbox& out, Counters& counters, MakeResponse make_response);

    void add(const std::shared_ptr<Receiver>& receiver);
    void remove(const std::shared_ptr<Receiver>& receiver);

    void begun(const SourcePtr& source, std::uint32_t next) override;
    void data(const SourcePtr& source, const WireMessage& message) override;
    void lost(const SourcePtr& source, std::uint32_t first, std::uint32_t last) override;
    void ended(const SourcePtr& source, std::uint32_t next) override;

private:
    void join(const std::shared_ptr<Receiver>& receiver, const SourcePtr& source);

    Mailbox& out_;
    Counters& counters_;
    MakeResponse make_response_;
    Interest interest_;
};

} // namespace qx::transport
