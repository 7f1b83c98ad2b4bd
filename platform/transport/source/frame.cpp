#include "frame.h"

#include <algorithm>

#include "topic_name.h"

namespace qx::transport {
namespace {

constexpr std::size_t header_bytes = 16;
constexpr std::size_t message_header_bytes = 20;
constexpr std::size_t count_at = 2;
constexpr std::size_t next_source_at = 4;
constexpr std::size_t stream_sequence_at = 8;

std::size_t encoded_bytes(const WireMessage& m) noexcept
{
    return message_header_bytes + m.topic.size() + m.extra.size() + m.payload.size();
}

bool known(std::uint8_t kind) noexcept
{
    return kind <= static_cast<std::uint8_t>(Kind::request);
}

bool makes_sense(const WireMessage& m) noexcept
{
    return is_wire_topic(m.topic) && (m.kind != Kind::request || m.extra.size() == sizeof(std::uint64_t));
}

WireMessage read_message(ByteReader& in, std::uint8_t& kind)
{
    WireMessage m;
    kind = in.number<std::uint8_t>();
    in.number<std::uint8_t>();
    const auto topic_bytes = in.number<std::uint16_t>();
    const auto extra_bytes = in.number<std::uint16_t>();
    in.number<std::uint16_t>();
    m.source = in.number<std::uint32_t>();
    m.sequence = in.number<std::uint32_t>();
    const auto payload_bytes = in.number<std::uint32_t>();
    m.topic = in.text(topic_bytes);
    m.extra = in.text(extra_bytes);
    m.payload = in.text(payload_bytes);
    return m;
}

} // namespace

std::array<char, sizeof(std::uint64_t)> encode_request_number(std::uint64_t number) noexcept
{
    std::array<char, sizeof(std::uint64_t)> bytes{};
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<char>(number >> (8 * i));
    }
    return bytes;
}

std::uint64_t request_number(const WireMessage& request)
{
    return ByteReader{{reinterpret_cast<const std::uint8_t*>(request.extra.data()), request.extra.size()}}
        .number<std::uint64_t>();
}

bool is_wire_topic(std::string_view topic) noexcept
{
    const auto is_control = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; };
    return !topic.empty() && topic.size() <= topic_bytes_max && std::none_of(topic.begin(), topic.end(), is_control);
}

FrameBuilder::FrameBuilder(std::size_t bytes_max)
    : bytes_max_(bytes_max)
{
    clear();
}

bool FrameBuilder::fits(const WireMessage& message) const noexcept
{
    return empty() || (count_ < frame_messages_max && body_.size() + encoded_bytes(message) <= bytes_max_);
}

void FrameBuilder::add(const WireMessage& m)
{
    body_.reserve(std::max(bytes_max_, body_.size() + encoded_bytes(m)));
    put(body_, static_cast<std::uint8_t>(m.kind));
    put(body_, std::uint8_t{0});
    put(body_, static_cast<std::uint16_t>(m.topic.size()));
    put(body_, static_cast<std::uint16_t>(m.extra.size()));
    put(body_, std::uint16_t{0});
    put(body_, m.source);
    put(body_, m.sequence);
    put(body_, static_cast<std::uint32_t>(m.payload.size()));
    put(body_, m.topic);
    put(body_, m.extra);
    put(body_, m.payload);
    ++count_;
}

Bytes& FrameBuilder::finish(std::uint64_t stream_sequence, std::uint32_t next_source)
{
    put_at(body_, 0, frame_version);
    put_at(body_, count_at, static_cast<std::uint16_t>(count_));
    put_at(body_, next_source_at, next_source);
    put_at(body_, stream_sequence_at, stream_sequence);
    return body_;
}

void FrameBuilder::clear()
{
    count_ = 0;
    if (body_.capacity() > 2 * bytes_max_) {
        body_ = Bytes{}; // one large message must not keep its memory for good
    }
    body_.assign(header_bytes, 0);
}

bool decode_frame(ByteView bytes, Frame& out)
{
    out.messages.clear();
    out.unknown_kinds = 0;
    ByteReader in{bytes};
    const auto version = in.number<std::uint8_t>();
    in.number<std::uint8_t>();
    const auto count = in.number<std::uint16_t>();
    out.next_source = in.number<std::uint32_t>();
    out.stream_sequence = in.number<std::uint64_t>();
    if (!in.ok() || version != frame_version) {
        return false;
    }
    for (std::size_t i = 0; i < count && in.ok(); ++i) {
        std::uint8_t kind = 0;
        WireMessage m = read_message(in, kind);
        out.unknown_kinds += known(kind) ? 0U : 1U;
        if (kind > numbered_kind_max) {
            continue;
        }
        m.kind = known(kind) ? static_cast<Kind>(kind) : Kind::numbered;
        if (!makes_sense(m)) {
            return false;
        }
        out.messages.push_back(m);
    }
    return in.ok() && in.at_end();
}

} // namespace qx::transport
