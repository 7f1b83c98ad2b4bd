/// The process's one connection to the engine.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <dds/dds.h>

#include "flusher.h"
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
/// domain later. Throws TransportError: LBM_EOP when other settings are in use, LBM_EOS when the engine refuses.
/// Threads   any.
class DomainUse {
public:
    explicit DomainUse(const DomainSettings& settings);
    ~DomainUse();
    DomainUse(const DomainUse&) = delete;
    DomainUse& operator=(const DomainUse&) = delete;

    dds_domainid_t id() const noexcept { return id_; }
    Flusher& flusher() const noexcept { return *flusher_; }

private:
    dds_domainid_t id_;
    Flusher* flusher_;
};

} // namespace qx::transport
