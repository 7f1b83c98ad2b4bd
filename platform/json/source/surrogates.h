#pragma once

#include <span>

namespace libjson::detail {

/// Rewrites each `\uXXXX` escape of a surrogate that lacks its partner to `\uFFFD`, in place.
void replace_lone_surrogates(std::span<char> text) noexcept;

} // namespace libjson::detail
