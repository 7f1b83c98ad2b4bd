#include "wire_qos.h"

#include "wire.h"

namespace qx::transport {
namespace {

DdsQos reliable_qos()
{
    DdsQos qos{dds_create_qos()};
    dds_qset_reliability(qos.get(), DDS_RELIABILITY_RELIABLE, 0);
    dds_qset_writer_data_lifecycle(qos.get(), false);
    return qos;
}

} // namespace

DdsEntity make_packet_topic(dds_entity_t participant, const char* name)
{
    return {dds_create_topic(participant, &qx_wire_Packet_desc, name, nullptr, nullptr), "dds_create_topic"};
}

DdsQos frames_qos(const std::string& partition)
{
    DdsQos qos = reliable_qos();
    dds_qset_history(qos.get(), DDS_HISTORY_KEEP_ALL, 0);
    dds_qset_durability(qos.get(), DDS_DURABILITY_VOLATILE);
    dds_qset_partition1(qos.get(), partition.c_str());
    return qos;
}

DdsQos latest_frames_qos(const std::string& partition, std::int32_t frames)
{
    DdsQos qos = frames_qos(partition);
    dds_qset_history(qos.get(), DDS_HISTORY_KEEP_LAST, frames);
    return qos;
}

DdsQos catalogue_qos()
{
    DdsQos qos = reliable_qos();
    dds_qset_history(qos.get(), DDS_HISTORY_KEEP_LAST, 1);
    dds_qset_durability(qos.get(), DDS_DURABILITY_TRANSIENT_LOCAL);
    return qos;
}

} // namespace qx::transport
