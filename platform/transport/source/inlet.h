/// A reader at the engine, and which readers have something to be read.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include <dds/dds.h>

#include "bytes.h"
#include "dds_entity.h"
#include "ids.h"

namespace qx::transport {

using InletId = std::uint64_t;

/// A packet as the engine lends it: good until the visit is over.
struct Arrival {
    ContextId context; ///< as it says of itself, as is the part
    std::uint32_t part;
    ByteView body;
    dds_instance_handle_t writer;
    bool alive; ///< some writer of that context and part is there still
};

/// Threads   one at a time, but for what the engine calls.
class Inlet {
public:
    /// Runs on an engine's thread, which must not be held up, once after each `take`: for the first that arrives.
    using Notify = std::function<void(InletId)>;
    using Visit = std::function<void(const Arrival&)>;
    /// All that the last writer of that context and part has sent was visited.
    using VisitGone = std::function<void(const ContextId&, std::uint32_t part)>;

    /// Throws TransportError.
    Inlet(InletId id, dds_entity_t participant, dds_entity_t topic, const dds_qos_t* qos, Notify notify);
    Inlet(const Inlet&) = delete;
    Inlet& operator=(const Inlet&) = delete;

    InletId id() const noexcept { return id_; }

    enum class Left { nothing_came, nothing, perhaps_more };
    /// A steady flow is left after so many batches, so that others have their turn; what writers that are gone have
    /// left behind is taken whole.
    Left take(std::size_t batches, const Visit& visit, const VisitGone& visit_gone);

private:
    static constexpr std::size_t batch_max = 64;
    using Loans = std::array<void*, batch_max>;
    using Infos = std::array<dds_sample_info_t, batch_max>;

    struct Gone {
        ContextId context;
        std::uint32_t part;
        dds_instance_handle_t instance;
    };

    static void on_arrival(dds_entity_t reader, void* inlet);
    void give_back(Loans& loans, const Infos& infos, dds_return_t taken, const Visit& visit);
    void take_rest_of(const Gone& gone, const Visit& visit);

    const InletId id_;
    const Notify notify_;
    std::atomic<bool> notified_ = false;
    std::vector<Gone> gone_;
    DdsEntity reader_; ///< behind all that the engine's threads use
};

} // namespace qx::transport
