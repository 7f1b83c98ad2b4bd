/// The process's one connection to the engine: a domain and one participant, which all contexts share. The engine asks
/// for what others have through one participant of a process, and forgets to ask again when that one is deleted before
/// it has the answer: with a participant each, a context that goes could leave the others deaf.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <dds/dds.h>

#include "flusher.h"
#include "ids.h"
#include "options.h"
#include "security.h"

namespace qx::transport {

/// What all contexts of a process must agree on while any of them lives.
/// Errors    TransportError (LBM_EINVAL): `peers` is no list of hosts, or as `SecurityFiles`.
struct DomainSettings {
    explicit DomainSettings(const Options& context_options);
    bool operator==(const DomainSettings&) const = default;

    std::uint32_t id;
    std::string tag;
    std::string interface;
    bool multicast;
    std::vector<std::string> peers; ///< hosts
    std::int64_t host_processes_max;
    std::int64_t lease_ms;
    std::int64_t send_window_bytes;
    std::int64_t transmit_loss_permille; ///< lost on purpose
    SecurityFiles security; ///< the engine's plug-ins take every participant of a process for the first one
};

/// The engine's configuration for these settings; texts are escaped.
std::string domain_xml(const DomainSettings& settings);

/// Keeps the domain alive: the first use creates it, the last one deletes it, so that a process may join another
/// domain later. Throws TransportError: LBM_EOP when other settings are in use, LBM_EOS when the engine refuses, and as
/// `make_participant`.
/// Threads   any.
class DomainUse {
public:
    explicit DomainUse(const DomainSettings& settings);
    ~DomainUse();
    DomainUse(const DomainUse&) = delete;
    DomainUse& operator=(const DomainUse&) = delete;

    /// Shared by all uses and as long there as any: what is made on it must be deleted before the use that made it.
    dds_entity_t participant() const noexcept { return participant_; }
    Flusher& flusher() const noexcept { return *flusher_; }
    /// Of the context that the use is for: no other use gets the same.
    const ContextId& context_id() const noexcept { return context_id_; }

private:
    dds_entity_t participant_;
    Flusher* flusher_;
    ContextId context_id_;
};

} // namespace qx::transport
