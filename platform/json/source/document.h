/// What stands behind the nodes of one document: a text buffer and the arena of its nodes.
#pragma once

#include <libjson.h>

#include <atomic>
#include <memory_resource>
#include <span>
#include <string_view>

namespace libjson::detail {

/// Destroyed by the last owning node. Names and texts of the nodes are views of the one text buffer; the children of a
/// container lie side by side. Nodes in the arena own nothing, so the arena is released without visiting them.
class Document {
public:
    explicit Document(std::string_view text);

    /// The document's own copy of the text, ended by a NUL byte; strings are unescaped in place.
    std::span<char> text() noexcept { return m_text; }
    /// So many nodes in the arena, side by side, where they stay.
    JSONNode* make_nodes(std::size_t count);

    void retain() noexcept { m_owners.fetch_add(1, std::memory_order_relaxed); }
    void release() noexcept;

private:
    std::pmr::monotonic_buffer_resource m_arena;
    std::span<char> m_text;
    std::atomic<std::size_t> m_owners{0};
};

} // namespace libjson::detail
