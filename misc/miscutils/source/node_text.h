/// The texts of a JSON node: views of its document where the library offers them, else copies.
#pragma once

#include <string>

namespace qx::detail {

template <class Node>
auto name_of(const Node& node)
{
    if constexpr (requires { node.name_view(); }) {
        return node.name_view();
    } else {
        return node.name();
    }
}

template <class Node>
auto text_of(const Node& node)
{
    if constexpr (requires { node.text_view(); }) {
        return node.text_view();
    } else {
        return node.as_string();
    }
}

} // namespace qx::detail
