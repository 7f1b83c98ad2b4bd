#include "answer.h"

#include "frame.h"

namespace qx::transport {
namespace {

constexpr std::size_t header_bytes = 16;
constexpr std::size_t number_at = 4;

} // namespace

Bytes encode_answer(const Answer& answer)
{
    Bytes out;
    out.reserve(header_bytes + answer.payload.size());
    put(out, answer_version);
    put(out, std::uint8_t{0});
    put(out, std::uint16_t{0});
    put(out, answer.number);
    put(out, answer.request);
    put(out, answer.payload);
    return out;
}

void renumber_answer(Bytes& answer, std::uint32_t number)
{
    put_at(answer, number_at, number);
}

bool decode_answer(ByteView bytes, Answer& out)
{
    if (bytes.size() < header_bytes || bytes.size() - header_bytes > payload_bytes_max) {
        return false;
    }
    ByteReader in{bytes};
    const auto version = in.number<std::uint8_t>();
    in.number<std::uint8_t>();
    in.number<std::uint16_t>();
    out.number = in.number<std::uint32_t>();
    out.request = in.number<std::uint64_t>();
    out.payload = in.text(bytes.size() - header_bytes);
    return version == answer_version;
}

} // namespace qx::transport
