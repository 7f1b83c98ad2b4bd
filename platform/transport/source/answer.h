/// The answer: what one packet to a requester carries.
///
///     answer   u8 version (1), u8 0, u16 0, u32 number of this answer, u64 number of the request, payload
///
/// Answers travel under a DDS topic of their own, in the requester's partition; the packet's key says who answers.
#pragma once

#include <cstdint>
#include <string_view>

#include "bytes.h"

namespace qx::transport {

inline constexpr std::uint8_t answer_version = 1;

struct Answer {
    std::uint64_t request = 0;
    std::uint32_t number = 0; ///< of the answers of one context to one request, from 0
    std::string_view payload;
};

Bytes encode_answer(const Answer& answer);

/// Changes the number of an encoded answer.
void renumber_answer(Bytes& answer, std::uint32_t number);

/// False: it makes no sense, and `out` means nothing. The payload views the bytes.
bool decode_answer(ByteView bytes, Answer& out);

} // namespace qx::transport
