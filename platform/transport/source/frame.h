/// The frame: what one packet of a stream carries.
///
///     frame    u8 version (2), u8 0, u16 number of messages, u32 next source, u64 sequence number within the stream,
///              messages
///     message  u8 kind, u8 0, u16 topic bytes, u16 extra bytes, u16 0, u32 source, u32 sequence number,
///              u32 payload bytes, topic, extra, payload
///
/// Numbers are little-endian. Sources are numbered as they are opened: one of the stream that was opened after the
/// frame has the number `next source` or a higher one, so who hears the frame knows which sources it hears from their
/// first message on. `extra` belongs to the kind: of a request it is the request's number, u64, else empty. A kind that
/// a reader does not know is stepped over: up to `numbered_kind_max` it takes a sequence number of its source, so that
/// no loss appears where a newer sender says something else; above it does not.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "bytes.h"

namespace qx::transport {

inline constexpr std::uint8_t frame_version = 2;
inline constexpr std::size_t frame_messages_max = 65'535;
inline constexpr std::size_t payload_bytes_max = 64U << 20U;

enum class Kind : std::uint8_t {
    data = 0,
    close = 1, ///< the source has ended; its sequence number is the one that the next message would have had
    sync = 2,  ///< the sequence number is the one that the next message will have
    request = 3,
    numbered = 127, ///< as received: one that is not known and takes a sequence number
};
inline constexpr std::uint8_t numbered_kind_max = 127;

struct WireMessage {
    Kind kind = Kind::data;
    std::uint32_t source = 0;
    std::uint32_t sequence = 0;
    std::string_view topic;
    std::string_view extra;
    std::string_view payload;
};

/// A request's number as `extra` carries it.
std::array<char, sizeof(std::uint64_t)> encode_request_number(std::uint64_t number) noexcept;
std::uint64_t request_number(const WireMessage& request);

/// What check_topic_name accepts, told without an exception: a peer's mistake is nothing exceptional.
bool is_wire_topic(std::string_view topic) noexcept;

/// Collects messages into one frame.
class FrameBuilder {
public:
    explicit FrameBuilder(std::size_t bytes_max);

    /// An empty frame takes any message, so that one larger than the limit goes alone.
    bool fits(const WireMessage& message) const noexcept;
    void add(const WireMessage& message);

    bool empty() const noexcept { return count_ == 0; }
    std::size_t bytes() const noexcept { return body_.size(); }

    /// The finished frame, valid until the next call that changes the builder.
    Bytes& finish(std::uint64_t stream_sequence, std::uint32_t next_source);
    void clear();

private:
    std::size_t bytes_max_;
    std::size_t count_ = 0;
    Bytes body_;
};

/// A frame as received. The messages' texts view the bytes it was decoded from.
struct Frame {
    std::uint64_t stream_sequence = 0;
    std::uint32_t next_source = 0; ///< what the stream's later sources are numbered from
    std::vector<WireMessage> messages;
    std::size_t unknown_kinds = 0; ///< how many messages were stepped over
};

/// Checks everything before it lets anything through: version, lengths, the count, that topics are topics, and that
/// nothing is left over. False: the frame is to be dropped as a whole and `out` means nothing.
bool decode_frame(ByteView bytes, Frame& out);

} // namespace qx::transport
