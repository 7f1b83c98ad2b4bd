/// Who sends: contexts, their streams and their sources.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>

namespace qx::transport {

/// The engine's name of a participant, which it never gives to another and which, with security, nobody else can use.
using ParticipantKey = std::array<std::uint8_t, 16>;

/// One context of one process run. The first four bytes are the sender's IPv4 address, the next four its process id
/// (both big-endian), so that a person can see where a message came from; the rest is its process's participant's, plus
/// the context's number in the process: no two runs share an id, and a receiver can see whether a packet is from whom
/// it says.
struct ContextId {
    std::array<std::uint8_t, 16> bytes{};

    /// `number`: of the context among all that the participant's process has or had.
    static ContextId make(const std::string& interface, const ParticipantKey& participant, std::uint32_t number);
    /// Whether it is some context's of the participant's process.
    bool is_of(const ParticipantKey& participant) const noexcept;
    bool operator==(const ContextId&) const = default;
};

/// An ordered sequence of frames: what one context sends under one first topic token. Numbered from 0 per context.
struct StreamId {
    ContextId context;
    std::uint32_t number = 0;
    bool operator==(const StreamId&) const = default;
};

/// Numbered from 0 per context and never used again within it.
struct SourceId {
    ContextId context;
    std::uint32_t number = 0;
    bool operator==(const SourceId&) const = default;
};

/// "LBMDDS:<address>:<pid>:<context>", e.g. "LBMDDS:127.0.0.1:4711:9f8e7d6c5b4a3f2e".
std::string context_text(const ContextId& context);

/// "LBMDDS:<address>:<pid>:<context>:<source number>[<topic>]", e.g. "LBMDDS:127.0.0.1:4711:9f8e7d6c5b4a3f2e:7[A.B]".
std::string source_text(const SourceId& source, std::string_view topic);

} // namespace qx::transport

template <>
struct std::hash<qx::transport::ContextId> {
    std::size_t operator()(const qx::transport::ContextId& id) const noexcept
    {
        // All of it: a peer is free in some of the bytes, and could make all its ids alike in the rest.
        std::array<char, sizeof id.bytes> text{};
        std::memcpy(text.data(), id.bytes.data(), text.size());
        return std::hash<std::string_view>{}({text.data(), text.size()});
    }
};
