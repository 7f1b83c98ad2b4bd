/// What becomes of a notification at a listener.
#pragma once

#include <cstddef>
#include <string_view>

namespace qx::tool {

enum class Fate {
    product,
    instrument,
    product_delete,
    instrument_delete,
    unsupported,   ///< warned of: a data type that a listener does not know
    bad_inner,     ///< warned of: the record is not JSON, or does not fit the schema
    no_reflection, ///< warned of: the record is JSON but holds nothing to convert
    fatal,         ///< ends the listening process
};
inline constexpr std::size_t fate_count = 8;

/// The name in summaries, e.g. "product_delete".
std::string_view fate_name(Fate fate);

} // namespace qx::tool
