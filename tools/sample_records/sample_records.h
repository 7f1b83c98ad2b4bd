/// Product and instrument records as a product-data service might publish them: made up, but with codes, dates and
/// sizes that look right, and together covering every field of the schemas.
///
/// Everything is a pure function of its arguments: the same text on every machine and in every run.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace qx::sample {

enum class RecordSize {
    small,   ///< identity and names only, some 300 bytes
    typical, ///< what most notifications carry, some 1.5 KB
    large,   ///< every field that makes sense, long lists, some 6 KB
};

/// Who the record is about. An id of 0 is replaced by one made from the seed.
struct Identity {
    std::uint64_t market = 42;
    std::uint64_t id = 0;
};

/// The record as compact JSON text, with the keys that the converter knows (a field's `gson_name`, else its name).
/// Every record converts without a warning.
std::string make_product_json(std::uint64_t seed, RecordSize size = RecordSize::typical, Identity who = {});
std::string make_instrument_json(std::uint64_t seed, RecordSize size = RecordSize::typical, Identity who = {});

/// A notification: `data` becomes the string member that carries JSON inside JSON; empty, the member is left out.
std::string make_envelope(std::string_view event_type, std::string_view data_type, std::string_view id,
                          std::string_view data);

struct Notification {
    std::uint64_t market;
    std::string event_type;
    std::string data_type;
    std::string id;
    std::string data; ///< empty for kinds that carry none
};

/// The `index`-th notification of the series `seed`, on one of `markets` (at least one): of a hundred some 60
/// instruments, 25 products, 7 deleted instruments, 4 deleted products, and 4 of kinds that a listener does not
/// support.
Notification make_notification(std::uint64_t seed, std::uint64_t index, std::span<const std::uint64_t> markets,
                               RecordSize size = RecordSize::typical);

} // namespace qx::sample
