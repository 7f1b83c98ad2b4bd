/// What a field of a sample record holds, told from its name.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "sample_records/random.h"
#include "sample_records/sample_records.h"

namespace qx::sample {

/// Where a product trades.
struct Venue {
    std::string_view mic; // ISO 10383
    std::string_view name;
    std::string_view group;
    std::string_view currency; // ISO 4217
    std::string_view time_zone;
};

/// What kind of thing it is. `type` and `cfi` agree.
struct Family {
    std::string_view symbol;
    std::string_view name;
    std::string_view asset_class;
    std::string_view type; // a name of ProductType
    std::string_view cfi;  // ISO 10962
};

/// What the fields of one record have in common, so that they do not contradict each other.
struct Subject {
    Subject(std::uint64_t seed, RecordSize wanted, Identity identity);

    Random random;
    RecordSize size;
    Identity who;
    const Venue& venue;
    const Family& family;
    std::uint64_t expiry_month; ///< months since January 2026
    std::uint64_t ticks;        ///< the price, in ticks

    bool is_option() const { return family.type == "PRODUCT_TYPE_OPTION"; }
    bool is_multileg() const { return family.type == "PRODUCT_TYPE_MULTILEG"; }
};

std::string text_value(std::string_view field, Subject& subject);
std::int64_t integer_value(std::string_view field, Subject& subject);
double decimal_value(std::string_view field, Subject& subject);

/// A random identifier in the 36-character form.
std::string uuid_text(Random& random);

/// "Mar27" for 14.
std::string contract_month(std::uint64_t months_since_2026);

} // namespace qx::sample
