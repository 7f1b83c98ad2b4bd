/// How the three kinds of packets travel: the names and settings that both ends must agree on.
#pragma once

#include <cstdint>
#include <string>

#include <dds/dds.h>

#include "dds_entity.h"

namespace qx::transport {

inline constexpr const char* frames_topic = "lbm_frames";
inline constexpr const char* answers_topic = "lbm_answers";
inline constexpr const char* catalogue_topic = "lbm_catalogue";

DdsEntity make_packet_topic(dds_entity_t participant, const char* name);

/// For frames and answers. Reliable, everything kept until it was acknowledged, nothing for late joiners. A write never
/// waits: a full window is DDS_RETCODE_TIMEOUT at once.
DdsQos frames_qos(const std::string& partition);

/// The same for a writer that keeps only the latest frames.
DdsQos latest_frames_qos(const std::string& partition, std::int32_t frames);

/// Reliable, the latest of each page kept for late joiners.
DdsQos catalogue_qos();

} // namespace qx::transport
