#include "sample_records/sample_records.h"

#include <algorithm>
#include <cstddef>

#include <google/protobuf/descriptor.h>
#include <nlohmann/json.hpp>

#include "gson_name.pb.h"
#include "instrument_download_record.pb.h"
#include "product_download_record.pb.h"
#include "sample_records/sample_values.h"
#include "uuid.pb.h"

namespace qx::sample {

namespace {

using google::protobuf::Descriptor;
using google::protobuf::EnumDescriptor;
using google::protobuf::FieldDescriptor;
using Json = nlohmann::ordered_json;

Json make_object(const Descriptor& type, Subject& subject);

std::string key_of(const FieldDescriptor& field)
{
    const auto& options = field.options();
    return options.HasExtension(messaging::gson_name) ? options.GetExtension(messaging::gson_name) : field.name();
}

/// Mostly by name, sometimes by number: both are in use. The product type follows the subject.
Json enum_value(const FieldDescriptor& field, Subject& s)
{
    const EnumDescriptor& type = *field.enum_type();
    const auto* value = type.FindValueByName(std::string{s.family.type});
    if (value == nullptr) {
        value = type.value(static_cast<int>(s.random.below(static_cast<std::uint64_t>(type.value_count()))));
    }
    return s.random.chance(85) ? Json(value->name()) : Json(value->number());
}

Json one_value(const FieldDescriptor& field, Subject& s)
{
    switch (field.cpp_type()) {
    case FieldDescriptor::CPPTYPE_STRING:
        return text_value(field.name(), s);
    case FieldDescriptor::CPPTYPE_BOOL:
        return s.random.chance(60);
    case FieldDescriptor::CPPTYPE_ENUM:
        return enum_value(field, s);
    case FieldDescriptor::CPPTYPE_DOUBLE:
    case FieldDescriptor::CPPTYPE_FLOAT:
        return decimal_value(field.name(), s);
    case FieldDescriptor::CPPTYPE_MESSAGE:
        if (field.message_type() == messaging::Uuid::descriptor()) {
            return uuid_text(s.random);
        }
        return make_object(*field.message_type(), s);
    default:
        return integer_value(field.name(), s);
    }
}

Json list_value(const FieldDescriptor& field, Subject& s)
{
    const std::uint64_t longest = s.size == RecordSize::large ? 12 : 3;
    Json list = Json::array();
    for (std::uint64_t n = s.random.between(1, longest); n > 0; --n) {
        list.push_back(one_value(field, s));
    }
    return list;
}

/// Whether the field says anything about this subject: a future has no strike, and only a strategy has legs.
bool applies(const FieldDescriptor& field, const Subject& s)
{
    const std::string_view name = field.name();
    if (name == "legs" || name == "strategy_type") {
        return s.is_multileg();
    }
    if (name.starts_with("strike_") || name == "option_kind" || name == "exercise_style") {
        return s.is_option();
    }
    return name != "coupon_rate" || s.family.type == "PRODUCT_TYPE_BOND";
}

bool chosen(const FieldDescriptor& field, Subject& s)
{
    constexpr std::string_view always[] = {"market_id", "symbol", "name", "product_type", "currency"};
    if (std::find(std::begin(always), std::end(always), field.name()) != std::end(always)) {
        return true;
    }
    if (s.size == RecordSize::large) {
        return true;
    }
    const unsigned percent = field.is_repeated() ? 35 : 78;
    return s.random.chance(s.size == RecordSize::small ? percent / 10 : percent);
}

Json make_object(const Descriptor& type, Subject& s)
{
    Json object = Json::object();
    for (int i = 0; i < type.field_count(); ++i) {
        const FieldDescriptor& field = *type.field(i);
        if (applies(field, s) && chosen(field, s)) {
            object[key_of(field)] = field.is_repeated() ? list_value(field, s) : one_value(field, s);
        }
    }
    return object;
}

/// A record of the type; its first field is its own identifier and always there.
std::string make_record(const Descriptor& type, std::uint64_t seed, RecordSize size, Identity who)
{
    Subject subject{seed, size, who};
    const std::string id_key = key_of(*type.field(0));
    Json record{{id_key, subject.who.id}};
    Json rest = make_object(type, subject);
    rest.erase(id_key);
    record.update(rest);
    return record.dump();
}

struct Kind {
    unsigned percent;
    std::string_view event_type; ///< empty: any
    std::string_view data_type;
};

constexpr Kind mix[] = {
    {60, "", "InstrumentDownloadRecord"},       {25, "", "ProductDownloadRecord"},
    {7, "Delete", "InstrumentDeleteRecord"},    {4, "Delete", "ProductDeleteRecord"},
    {2, "Update", "TickTableUploadRecord"},     {1, "Create", "CurrencyUploadRecord"},
    {1, "Update", "SyntheticRuleUploadRecord"},
};

const Kind& pick_kind(Random& random)
{
    std::uint64_t percent = random.below(100);
    const Kind* kind = std::begin(mix);
    while (percent >= kind->percent) {
        percent -= kind->percent;
        ++kind;
    }
    return *kind;
}

std::string record_for(const Kind& kind, std::uint64_t seed, RecordSize size, Identity who)
{
    if (kind.data_type == "InstrumentDownloadRecord") {
        return make_instrument_json(seed, size, who);
    }
    return kind.data_type == "ProductDownloadRecord" ? make_product_json(seed, size, who) : std::string{};
}

} // namespace

std::string make_product_json(std::uint64_t seed, RecordSize size, Identity who)
{
    return make_record(*messaging::pds::ProductDownloadRecord::descriptor(), seed, size, who);
}

std::string make_instrument_json(std::uint64_t seed, RecordSize size, Identity who)
{
    return make_record(*messaging::pds::InstrumentDownloadRecord::descriptor(), seed, size, who);
}

std::string make_envelope(std::string_view event_type, std::string_view data_type, std::string_view id,
                          std::string_view data)
{
    Json envelope{{"et", event_type}, {"dt", data_type}, {"id", id}};
    if (!data.empty()) {
        envelope["data"] = data;
    }
    // Bytes that are not UTF-8 have no place in JSON text; they are replaced rather than refused.
    return envelope.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Notification make_notification(std::uint64_t seed, std::uint64_t index, std::span<const std::uint64_t> markets,
                               RecordSize size)
{
    Random random{series_seed(seed, index)};
    const Kind& kind = pick_kind(random);
    const Identity who{random.pick(markets), random.between(1, 4'000'000'000)};
    constexpr std::string_view changes[] = {"Update", "Update", "Update", "Create"};
    const std::string_view event = kind.event_type.empty() ? random.pick(changes) : kind.event_type;
    return {who.market, std::string{event}, std::string{kind.data_type}, std::to_string(who.id),
            record_for(kind, random.bits(), size, who)};
}

} // namespace qx::sample
