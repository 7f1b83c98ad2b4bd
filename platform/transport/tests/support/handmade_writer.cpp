#include "handmade_writer.h"

#include <algorithm>
#include <stdexcept>
#include <thread>

#include "context_fixture.h"
#include "platform/transport/source/wire_qos.h"
#include "wire.h"

namespace test {
namespace {

dds_entity_t made(dds_entity_t entity, const char* call)
{
    return qx::transport::check_dds(entity, call);
}

} // namespace

HandmadePeer::HandmadePeer()
    : participant_(made(dds_create_participant(0, nullptr, nullptr), "dds_create_participant"))
{
}

HandmadePeer::HandmadePeer(dds_entity_t participant)
    : participant_(participant)
{
}

HandmadePeer::~HandmadePeer()
{
    dds_delete(participant_);
}

qx::transport::ContextId HandmadePeer::context(std::uint32_t number) const
{
    dds_guid_t guid{};
    made(dds_get_guid(participant_, &guid), "dds_get_guid");
    qx::transport::ParticipantKey key{};
    std::ranges::copy(guid.v, key.begin());
    return qx::transport::ContextId::make("lo", key, number);
}

dds_entity_t HandmadePeer::writer(const char* topic, const std::vector<std::string>& partitions) const
{
    const bool pages = std::string{topic} == qx::transport::catalogue_topic;
    const qx::transport::DdsQos qos = pages ? qx::transport::catalogue_qos() : qx::transport::frames_qos("");
    std::vector<const char*> names;
    std::ranges::transform(partitions, std::back_inserter(names), &std::string::c_str);
    if (!names.empty()) {
        dds_qset_partition(qos.get(), static_cast<std::uint32_t>(names.size()), names.data());
    }
    const dds_entity_t dds_topic =
        made(dds_create_topic(participant_, &qx_wire_Packet_desc, topic, nullptr, nullptr), "dds_create_topic");
    return made(dds_create_writer(participant_, dds_topic, qos.get(), nullptr), "dds_create_writer");
}

void wait_for_readers(dds_entity_t writer, std::size_t count)
{
    const Recorder clock;
    if (!clock.wait([&] {
            const dds_return_t readers = dds_get_matched_subscriptions(writer, nullptr, 0);
            return readers >= 0 && static_cast<std::size_t>(readers) >= count;
        })) {
        throw std::runtime_error("no reader came");
    }
}

void write_packet(dds_entity_t writer, const qx::transport::ContextId& context, std::uint32_t part,
                  qx::transport::Bytes body)
{
    qx_wire_Packet packet{};
    std::ranges::copy(context.bytes, packet.context);
    packet.part = part;
    packet.body._buffer = body.data();
    packet.body._length = packet.body._maximum = static_cast<std::uint32_t>(body.size());
    made(dds_write(writer, &packet), "dds_write");
}

void dispose(dds_entity_t writer, const qx::transport::ContextId& context, std::uint32_t part)
{
    qx_wire_Packet packet{};
    std::ranges::copy(context.bytes, packet.context);
    packet.part = part;
    made(dds_dispose(writer, &packet), "dds_dispose");
}

qx::transport::Bytes page_of(std::string_view topic, std::uint32_t source)
{
    qx::transport::CatalogueBook book;
    qx::transport::Bytes page;
    book.add(source, 0, topic);
    book.first_dirty(page);
    return page;
}

qx::transport::Bytes frame_of(std::string_view topic, std::uint32_t source, std::uint32_t sequence)
{
    qx::transport::FrameBuilder frame{1'024};
    frame.add({qx::transport::Kind::data, source, sequence, topic, {}, "forged"});
    return frame.finish(sequence, source + 1);
}

} // namespace test
