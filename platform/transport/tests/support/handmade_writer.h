/// A peer that does not keep to the transport's rules: DDS writers made by hand, in this process's domain.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <dds/dds.h>

#include "platform/transport/source/catalogue.h"
#include "platform/transport/source/frame.h"
#include "platform/transport/source/ids.h"

namespace test {

/// A participant of its own; a context of this process must have set up the domain, and stay.
class HandmadePeer {
public:
    HandmadePeer();
    /// Takes a participant over.
    explicit HandmadePeer(dds_entity_t participant);
    ~HandmadePeer();
    HandmadePeer(const HandmadePeer&) = delete;
    HandmadePeer& operator=(const HandmadePeer&) = delete;

    dds_entity_t participant() const noexcept { return participant_; }

    /// As a context on this participant would be called.
    qx::transport::ContextId context(std::uint32_t number = 0) const;

    /// Writes in these partitions; none given: in the one without a name.
    dds_entity_t writer(const char* topic, const std::vector<std::string>& partitions) const;

private:
    dds_entity_t participant_;
};

/// Waits until as many readers are there. Throws std::runtime_error when they do not come.
void wait_for_readers(dds_entity_t writer, std::size_t count = 1);

void write_packet(dds_entity_t writer, const qx::transport::ContextId& context, std::uint32_t part,
                  qx::transport::Bytes body);

/// Says that what is under that key is no more.
void dispose(dds_entity_t writer, const qx::transport::ContextId& context, std::uint32_t part);

/// A catalogue page with that open source, of stream 0.
qx::transport::Bytes page_of(std::string_view topic, std::uint32_t source);

/// A frame with one message of data of that source; frame and message have the same sequence number.
qx::transport::Bytes frame_of(std::string_view topic, std::uint32_t source, std::uint32_t sequence);

} // namespace test
