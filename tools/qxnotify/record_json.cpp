#include "qxnotify/record_json.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "gson_name.pb.h"
#include "uuid.pb.h"

namespace qx::tool {

namespace {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using Json = nlohmann::ordered_json;

const std::string& key_of(const FieldDescriptor& field)
{
    const auto& options = field.options();
    return options.HasExtension(messaging::gson_name) ? options.GetExtension(messaging::gson_name) : field.name();
}

void append_little_endian(std::string& text, std::uint64_t half)
{
    constexpr char digits[] = "0123456789abcdef";
    for (int byte = 0; byte < 8; ++byte, half >>= 8U) {
        text += digits[(half >> 4U) & 0xFU];
        text += digits[half & 0xFU];
    }
}

std::string uuid_text(const messaging::Uuid& uuid)
{
    std::string text;
    append_little_endian(text, uuid.hi());
    append_little_endian(text, uuid.lo());
    for (const std::size_t position : {8U, 13U, 18U, 23U}) {
        text.insert(position, 1, '-');
    }
    return text;
}

/// The double with the shortest text that still gives this float: 0.1f is written 0.1, not 0.10000000149011612.
double shortest(float value)
{
    std::array<char, 32> text{};
    const auto written = std::to_chars(text.data(), text.data() + text.size(), value);
    double result = value;
    std::from_chars(text.data(), written.ptr, result);
    return result;
}

Json message_value(const Message& message)
{
    if (message.GetDescriptor() == messaging::Uuid::descriptor()) {
        return uuid_text(static_cast<const messaging::Uuid&>(message));
    }
    return record_to_json(message);
}

/// A number without a name in the schema stays a number.
Json enum_value(const FieldDescriptor& field, int number)
{
    const auto* value = field.enum_type()->FindValueByNumber(number);
    return value != nullptr ? Json(value->name()) : Json(number);
}

/// One element of the field: of a repeated field the `i`-th, else the value itself.
class Element {
public:
    Element(const Message& record, const FieldDescriptor& field, int i)
        : m_record(record)
        , m_field(field)
        , m_i(i)
        , m_reflection(*record.GetReflection())
    {
    }

private:
    template <class Singular, class Repeated>
    auto get(Singular singular, Repeated repeated) const
    {
        return m_field.is_repeated() ? (m_reflection.*repeated)(m_record, &m_field, m_i)
                                     : (m_reflection.*singular)(m_record, &m_field);
    }

    const Message& message() const
    {
        return m_field.is_repeated() ? m_reflection.GetRepeatedMessage(m_record, &m_field, m_i)
                                     : m_reflection.GetMessage(m_record, &m_field);
    }

public:
    Json value() const
    {
        using Reflection = google::protobuf::Reflection;
        switch (m_field.cpp_type()) {
        case FieldDescriptor::CPPTYPE_INT32:
            return get(&Reflection::GetInt32, &Reflection::GetRepeatedInt32);
        case FieldDescriptor::CPPTYPE_INT64:
            return get(&Reflection::GetInt64, &Reflection::GetRepeatedInt64);
        case FieldDescriptor::CPPTYPE_UINT32:
            return get(&Reflection::GetUInt32, &Reflection::GetRepeatedUInt32);
        case FieldDescriptor::CPPTYPE_UINT64:
            return get(&Reflection::GetUInt64, &Reflection::GetRepeatedUInt64);
        case FieldDescriptor::CPPTYPE_DOUBLE:
            return get(&Reflection::GetDouble, &Reflection::GetRepeatedDouble);
        case FieldDescriptor::CPPTYPE_FLOAT:
            return shortest(get(&Reflection::GetFloat, &Reflection::GetRepeatedFloat));
        case FieldDescriptor::CPPTYPE_BOOL:
            return get(&Reflection::GetBool, &Reflection::GetRepeatedBool);
        case FieldDescriptor::CPPTYPE_STRING:
            return get(&Reflection::GetString, &Reflection::GetRepeatedString);
        case FieldDescriptor::CPPTYPE_ENUM:
            return enum_value(m_field, get(&Reflection::GetEnumValue, &Reflection::GetRepeatedEnumValue));
        case FieldDescriptor::CPPTYPE_MESSAGE:
            return message_value(message());
        }
        return {};
    }

private:
    const Message& m_record;
    const FieldDescriptor& m_field;
    int m_i;
    const google::protobuf::Reflection& m_reflection;
};

Json field_value(const Message& record, const FieldDescriptor& field)
{
    if (!field.is_repeated()) {
        return Element(record, field, 0).value();
    }
    Json list = Json::array();
    for (int i = 0; i < record.GetReflection()->FieldSize(record, &field); ++i) {
        list.push_back(Element(record, field, i).value());
    }
    return list;
}

} // namespace

Json record_to_json(const Message& record)
{
    std::vector<const FieldDescriptor*> fields;
    record.GetReflection()->ListFields(record, &fields);
    Json object = Json::object();
    for (const FieldDescriptor* field : fields) {
        object[key_of(*field)] = field_value(record, *field);
    }
    return object;
}

} // namespace qx::tool
