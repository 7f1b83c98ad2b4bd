#include "document.h"

#include <algorithm>
#include <memory>

namespace libjson::detail {

namespace {

/// Records of short members take some two bytes of nodes for each byte of text. What is too little here is made up for
/// by the arena's growth.
constexpr std::size_t arena_bytes_per_text_byte = 3;
constexpr std::size_t arena_bytes_min = 128;

} // namespace

Document::Document(std::string_view text)
    : m_arena(arena_bytes_min + text.size() * arena_bytes_per_text_byte)
    , m_text(static_cast<char*>(m_arena.allocate(text.size() + 1, 1)), text.size() + 1)
{
    std::copy(text.begin(), text.end(), m_text.begin());
    m_text.back() = '\0';
}

JSONNode* Document::make_nodes(std::size_t count)
{
    auto* const nodes = static_cast<JSONNode*>(m_arena.allocate(count * sizeof(JSONNode), alignof(JSONNode)));
    std::uninitialized_default_construct_n(nodes, count);
    return nodes;
}

void Document::release() noexcept
{
    if (m_owners.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        delete this;
    }
}

} // namespace libjson::detail
