#include "inlet.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "wire.h"

namespace qx::transport {
namespace {

ContextId context_of(const qx_wire_Packet& packet)
{
    ContextId context;
    std::copy_n(packet.context, context.bytes.size(), context.bytes.begin());
    return context;
}

} // namespace

Inlet::Inlet(InletId id, dds_entity_t participant, dds_entity_t topic, const dds_qos_t* qos, Notify notify)
    : id_(id)
    , notify_(std::move(notify))
{
    const std::unique_ptr<dds_listener_t, decltype(&dds_delete_listener)> listener{dds_create_listener(this),
                                                                                   &dds_delete_listener};
    dds_lset_data_available(listener.get(), &Inlet::on_arrival);
    reader_ = {dds_create_reader(participant, topic, qos, listener.get()), "dds_create_reader"};
}

void Inlet::on_arrival(dds_entity_t, void* inlet)
{
    auto& self = *static_cast<Inlet*>(inlet);
    if (!self.notified_.exchange(true)) {
        self.notify_(self.id_);
    }
}

Inlet::Left Inlet::take(std::size_t batches, const Visit& visit, const VisitGone& visit_gone)
{
    notified_ = false; // before it is emptied: what arrives later is told of again
    Loans loans{};
    Infos infos{};
    bool full = true; // of the last batch: a smaller one was all that there was
    std::size_t batch = 0;
    for (; batch < batches && full; ++batch) {
        const dds_return_t taken = dds_take(reader_.get(), loans.data(), infos.data(), batch_max, batch_max);
        if (taken <= 0) {
            full = false;
            break;
        }
        give_back(loans, infos, taken, visit);
        full = taken == static_cast<dds_return_t>(batch_max);
    }
    for (const Gone& gone : std::exchange(gone_, {})) {
        take_rest_of(gone, visit);
        visit_gone(gone.context, gone.part);
    }
    if (full) {
        return Left::perhaps_more;
    }
    return batch == 0 ? Left::nothing_came : Left::nothing;
}

void Inlet::take_rest_of(const Gone& gone, const Visit& visit)
{
    Loans loans{};
    Infos infos{};
    dds_return_t taken = 0;
    while ((taken = dds_take_instance(reader_.get(), loans.data(), infos.data(), batch_max, batch_max, gone.instance)) >
           0) {
        give_back(loans, infos, taken, visit);
    }
    gone_.clear(); // it was told of itself again
}

void Inlet::give_back(Loans& loans, const Infos& infos, dds_return_t taken, const Visit& visit)
{
    for (std::size_t i = 0; i < static_cast<std::size_t>(taken); ++i) {
        const auto& packet = *static_cast<const qx_wire_Packet*>(loans[i]);
        // None of us ever disposes: who does so disposes of what is another's.
        const bool alive = infos[i].instance_state != DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE;
        const ContextId context = context_of(packet);
        if (infos[i].valid_data) {
            visit(
                {context, packet.part, {packet.body._buffer, packet.body._length}, infos[i].publication_handle, alive});
        }
        const auto is_this = [&](const Gone& gone) { return gone.instance == infos[i].instance_handle; };
        if (!alive && std::none_of(gone_.begin(), gone_.end(), is_this)) {
            gone_.push_back({context, packet.part, infos[i].instance_handle});
        }
    }
    dds_return_loan(reader_.get(), loans.data(), taken);
    loans.fill(nullptr);
}

} // namespace qx::transport
