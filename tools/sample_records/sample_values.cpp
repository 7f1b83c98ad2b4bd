#include "sample_records/sample_values.h"

#include <algorithm>
#include <initializer_list>

namespace qx::sample {

namespace {

constexpr Venue venues[] = {
    {"XEUR", "Frankfurt Derivatives", "EUR-FIXED", "EUR", "Europe/Berlin"},
    {"XCME", "Chicago Mercantile", "CME-INDEX", "USD", "America/Chicago"},
    {"XCBT", "Chicago Grains and Rates", "CBT-RATES", "USD", "America/Chicago"},
    {"XNYM", "New York Energy", "NYM-ENERGY", "USD", "America/New_York"},
    {"IFEU", "London Energy", "LON-ENERGY", "GBP", "Europe/London"},
    {"XOSE", "Osaka", "OSE-INDEX", "JPY", "Asia/Tokyo"},
    {"XSES", "Singapore", "SGX-INDEX", "SGD", "Asia/Singapore"},
    {"XASX", "Sydney", "ASX-RATES", "AUD", "Australia/Sydney"},
    {"XPAR", "Paris", "PAR-ACTIONS", "EUR", "Europe/Paris"},
    {"BVMF", "S\u00e3o Paulo", "BVMF-FX", "BRL", "America/Sao_Paulo"},
};

constexpr Family families[] = {
    {"GBL", "10-Year Government Bond Future", "Interest rate", "PRODUCT_TYPE_FUTURE", "FFDPSX"},
    {"ESX", "Blue Chip 50 Index Future", "Equity index", "PRODUCT_TYPE_FUTURE", "FFICSX"},
    {"CRD", "Light Sweet Crude Oil Future", "Energy", "PRODUCT_TYPE_FUTURE", "FCEPSX"},
    {"CRN", "Corn Future", "Agriculture", "PRODUCT_TYPE_FUTURE", "FCAPSX"},
    {"OGB", "Option on 10-Year Government Bond Future", "Interest rate", "PRODUCT_TYPE_OPTION", "OCAFPS"},
    {"OSX", "Blue Chip 50 Index Option", "Equity index", "PRODUCT_TYPE_OPTION", "OCEICS"},
    {"CAL", "Calendar spread \"front against back\"", "Interest rate", "PRODUCT_TYPE_MULTILEG", "KRXXXX"},
    {"BFL", "Butterfly", "Energy", "PRODUCT_TYPE_MULTILEG", "KCXXXX"},
    {"SOC", "Soci\u00e9t\u00e9 Industrielle du L\u00e9man", "Equity", "PRODUCT_TYPE_EQUITY", "ESVUFR"},
    {"BND", "3.25 % Treasury Note", "Interest rate", "PRODUCT_TYPE_BOND", "DBFTFR"},
    {"FXF", "Euro FX Future", "Currency", "PRODUCT_TYPE_FX", "FFCPSX"},
};

constexpr std::string_view months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                       "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

std::string contract_symbol(const Subject& s)
{
    return std::string{s.family.symbol} + contract_month(s.expiry_month);
}

std::string instrument_name(const Subject& s)
{
    return std::string{s.venue.mic} + " " + std::string{s.family.symbol} + " " + contract_month(s.expiry_month);
}

/// Letters and digits like those of an ISIN; the check digit is not computed.
std::string isin_text(Random& random)
{
    constexpr std::string_view countries[] = {"DE", "US", "GB", "FR", "JP", "NL", "AU", "CH"};
    std::string text{random.pick(countries)};
    for (int i = 0; i < 10; ++i) {
        text += static_cast<char>('0' + random.below(10));
    }
    return text;
}

std::string segment_text(Random& random)
{
    return "SEG-" + std::to_string(random.between(1, 24));
}

std::string group_text(Random& random)
{
    return "G" + std::to_string(random.between(10, 99));
}

std::string vendor_code(Random& random)
{
    return "V" + std::to_string(random.between(1'000'000, 9'999'999));
}

std::int64_t date_value(std::uint64_t months_since_2026, std::uint64_t day)
{
    const std::uint64_t year = 2026 + months_since_2026 / 12;
    return static_cast<std::int64_t>(year * 10'000 + (months_since_2026 % 12 + 1) * 100 + day);
}

bool ends_with_any(std::string_view field, std::initializer_list<std::string_view> endings)
{
    return std::ranges::any_of(endings, [&](std::string_view ending) { return field.ends_with(ending); });
}

std::int64_t id_value(std::string_view field, Subject& s)
{
    if (field == "market_id") {
        return static_cast<std::int64_t>(s.who.market);
    }
    if (field == "channel_id") { // 32 bits
        return static_cast<std::int64_t>(s.random.between(300, 399));
    }
    return static_cast<std::int64_t>(s.random.between(1'000'000'000'000, 9'007'199'254'740'993));
}

std::int64_t quantity_value(std::string_view field, Random& random)
{
    if (field.starts_with("max_")) {
        return static_cast<std::int64_t>(random.between(1, 50) * 1'000);
    }
    return static_cast<std::int64_t>(random.between(1, 10) * (field.starts_with("min_block") ? 100 : 1));
}

constexpr std::int64_t nanoseconds_of_a_day = 86'400'000'000'000;
constexpr std::int64_t new_year_2026_ns = 1'767'225'600'000'000'000;

} // namespace

Subject::Subject(std::uint64_t seed, RecordSize wanted, Identity identity)
    : random(seed)
    , size(wanted)
    , who(identity)
    , venue(random.pick(venues))
    , family(random.pick(families))
    , expiry_month(random.between(3, 35))
    , ticks(random.between(800, 250'000))
{
    if (who.id == 0) {
        who.id = random.between(1'000'000'000'000'000'000, 9'000'000'000'000'000'000);
    }
}

std::string contract_month(std::uint64_t months_since_2026)
{
    return std::string{months[months_since_2026 % 12]} + std::to_string(26 + months_since_2026 / 12);
}

std::string uuid_text(Random& random)
{
    // Version 4 and variant 1 stand where such identifiers carry them; the rest is random.
    std::string text = "xxxxxxxx-xxxx-4xxx-axxx-xxxxxxxxxxxx";
    for (char& c : text) {
        if (c == 'x') {
            c = "0123456789abcdef"[random.below(16)];
        }
    }
    return text;
}

std::string text_value(std::string_view field, Subject& s)
{
    const struct {
        std::string_view field;
        std::string_view value;
    } fixed[] = {
        {"security_exchange", s.venue.mic},
        {"mic", s.venue.mic},
        {"cfi_code", s.family.cfi},
        {"currency", s.venue.currency},
        {"settlement_currency", "USD"},
        {"strike_currency", s.venue.currency},
        {"exchange_group", s.venue.group},
        {"time_zone", s.venue.time_zone},
        {"asset_class", s.family.asset_class},
        {"underlying_symbol", s.family.symbol},
        {"alpha_code", s.family.symbol},
        {"exchange_ticker", s.family.symbol},
        {"description", s.family.name},
    };
    for (const auto& entry : fixed) {
        if (entry.field == field) {
            return std::string{entry.value};
        }
    }
    if (field == "name") {
        return instrument_name(s);
    }
    if (field == "display_name") {
        return std::string{s.family.name} + " " + contract_month(s.expiry_month);
    }
    if (ends_with_any(field, {"symbol", "alias"})) {
        return contract_symbol(s);
    }
    if (field == "term" || field == "contract_months") {
        return contract_month(s.expiry_month + s.random.below(8));
    }
    if (field == "isin") {
        return isin_text(s.random);
    }
    if (field == "segment") {
        return segment_text(s.random);
    }
    return field == "security_group" ? group_text(s.random) : vendor_code(s.random);
}

std::int64_t integer_value(std::string_view field, Subject& s)
{
    if (ends_with_any(field, {"_id", "_ids"})) {
        return id_value(field, s);
    }
    if (field.ends_with("_date")) {
        const bool begins = field.starts_with("first_trading") || field.starts_with("first_listing");
        return date_value(begins ? s.expiry_month - 3 : s.expiry_month, s.random.between(1, 28));
    }
    if (field.ends_with("_time_ns")) {
        return new_year_2026_ns + static_cast<std::int64_t>(s.random.below(330)) * nanoseconds_of_a_day +
               static_cast<std::int64_t>(s.random.below(static_cast<std::uint64_t>(nanoseconds_of_a_day)));
    }
    if (field.ends_with("_quantity")) {
        return quantity_value(field, s.random);
    }
    if (ends_with_any(field, {"_interest", "_volume"})) {
        return static_cast<std::int64_t>(s.random.below(2'500'000));
    }
    if (field == "ratio") {
        return s.random.chance(50) ? 1 : -1;
    }
    return static_cast<std::int64_t>(s.random.between(1, field.ends_with("_depth") ? 10 : 7));
}

double decimal_value(std::string_view field, Subject& s)
{
    // Whole numbers divided once: the quotient is the same double on every machine.
    if (field == "tick_size") {
        constexpr double sizes[] = {0.01, 0.005, 0.25, 0.5, 1.0, 0.0078125};
        return s.random.pick(sizes);
    }
    if (ends_with_any(field, {"tick_value", "point_value", "contract_size"})) {
        return static_cast<double>(s.random.between(1, 400) * 25) / 10.0;
    }
    if (field == "margin_rate") {
        return static_cast<double>(s.random.between(1, 32)) / 128.0; // exact in single precision too
    }
    if (ends_with_any(field, {"_rate", "delta", "display_factor"})) {
        return static_cast<double>(s.random.between(1, 1'000)) / 1'000.0;
    }
    return static_cast<double>(s.ticks + s.random.below(200)) / 100.0;
}

} // namespace qx::sample
