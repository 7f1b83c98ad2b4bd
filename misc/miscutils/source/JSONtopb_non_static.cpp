#include <miscutils/JSONtopb_non_static.h>

#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdlib>

#include <google/protobuf/descriptor.h>
#include <logger/logger.h>

#include "field_writer.h"
#include "node_text.h"
#include "uuid_text.h"

namespace qx {

using google::protobuf::EnumDescriptor;
using google::protobuf::EnumValueDescriptor;
using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using google::protobuf::Reflection;

namespace {

constexpr unsigned log_id = 13; // under which readers of the log find the converter's lines

const char* type_name(char type)
{
    switch (type) {
    case JSON_NULL:
        return "JSON_NULL";
    case JSON_STRING:
        return "JSON_STRING";
    case JSON_NUMBER:
        return "JSON_NUMBER";
    case JSON_BOOL:
        return "JSON_BOOL";
    case JSON_ARRAY:
        return "JSON_ARRAY";
    case JSON_NODE:
        return "JSON_NODE";
    default:
        return "UNKNOWN";
    }
}

bool is_container(const JSONNode& json)
{
    return json.type() == JSON_ARRAY || json.type() == JSON_NODE;
}

/// `strtod` in the C locale: records always write a decimal point, whatever locale the price server has set, and under
/// one with a decimal comma plain `strtod` would cut 1.5 down to 1.
double leading_double(std::string_view text)
{
    static const locale_t c_locale = newlocale(LC_ALL_MASK, "C", nullptr);
    return strtod_l(std::string(text).c_str(), nullptr, c_locale);
}

/// The same. Of the texts that it takes whole, which nearly all are, `from_chars` makes the same value without a copy;
/// out of a double's range, before what is no number, and in what "nan(1)" stands for, the two differ.
double to_double(std::string_view text)
{
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool same = error == std::errc{} && end == text.data() + text.size() && std::isfinite(value);
    return same ? value : leading_double(text);
}

/// What is to be known of the message that a UUID's text fills.
struct UuidType {
    explicit UuidType(const google::protobuf::Descriptor* type)
        : descriptor(type)
        , hi(type->FindFieldByNumber(messaging::Uuid::kHiFieldNumber))
        , lo(type->FindFieldByNumber(messaging::Uuid::kLoFieldNumber))
    {
    }

    const google::protobuf::Descriptor* descriptor;
    const FieldDescriptor* hi;
    const FieldDescriptor* lo;
};

std::uint64_t little_endian(const std::uint8_t* bytes)
{
    std::uint64_t value = 0;
    for (unsigned i = 0; i < 8; ++i) {
        value |= std::uint64_t{bytes[i]} << (8 * i);
    }
    return value;
}

/// protobuf looks for a std::string: among a few values, comparing with each costs less than that copy.
const EnumValueDescriptor* find_enum_name(const EnumDescriptor& type, std::string_view name)
{
    constexpr int few = 16;
    if (type.value_count() > few) {
        return type.FindValueByName(std::string(name));
    }
    for (int i = 0; i < type.value_count(); ++i) {
        if (type.value(i)->name() == name) {
            return type.value(i);
        }
    }
    return nullptr;
}

const EnumValueDescriptor* find_enum_value(const EnumDescriptor* type, const JSONNode& json)
{
    switch (json.type()) {
    case JSON_NUMBER:
        return type->FindValueByNumber(static_cast<std::int32_t>(json.as_int()));
    case JSON_STRING:
        return find_enum_name(*type, detail::text_of(json));
    default:
        return nullptr;
    }
}

void report_empty(const JSONNode& json, bool wanted)
{
    if (wanted) {
        QX_LOG_ID(QXLOG_INFO, log_id) << "JSON to protobuf conversion fails. Supplied JSON empty: message="
                                      << json.write();
    }
}

} // namespace

// ---- Checks --------------------------------------------------------------------------------------------------------

bool JSONProto::JSON2PB_VERIFY_TYPE(const std::string& json_name, const JSONNode& json, char expectedType,
                                    bool strict) const
{
    if (json.type() != expectedType && strict) {
        throw JSONProtoException(json_name + " is expected to be of type " + type_name(expectedType));
    }
    // Never false: lenient conversion takes a value of any type and reads it by the JSON library's own conversions.
    return true;
}

void JSONProto::JSON2PB_FAILED(const std::string& json_name, bool strict) const
{
    if (strict) {
        throw JSONProtoException(json_name + " has invalid value");
    }
}

void JSONProto::Verify(std::string_view name, const JSONNode& json, char expectedType, bool strict) const
{
    if (strict && json.type() != expectedType) { // looked at here, too, since a name is only copied to be told
        JSON2PB_VERIFY_TYPE(std::string(name), json, expectedType, strict);
    }
}

void JSONProto::Fail(std::string_view name, bool strict) const
{
    if (strict) {
        JSON2PB_FAILED(std::string(name), strict);
    }
}

// ---- One value -----------------------------------------------------------------------------------------------------

template <class Writer>
void JSONProto::WriteEnum(const Writer& write, std::string_view name, const JSONNode& json, bool strict) const
{
    if (const auto* value = find_enum_value(write.field->enum_type(), json)) {
        write.Enum(value);
    } else {
        Fail(name, strict);
    }
}

std::int64_t JSONProto::Integer(std::string_view name, const JSONNode& json, bool strict) const
{
    Verify(name, json, JSON_NUMBER, strict);
    return json.as_int();
}

double JSONProto::Floating(std::string_view name, const JSONNode& json, bool strict) const
{
    Verify(name, json, JSON_NUMBER, strict);
    return to_double(detail::text_of(json));
}

bool JSONProto::Truth(std::string_view name, const JSONNode& json, bool strict) const
{
    if (json.type() == JSON_NUMBER) {
        return json.as_int() != 0;
    }
    Verify(name, json, JSON_BOOL, strict);
    return json.as_bool();
}

/// Everything but messages. One line a type: numbers narrow by keeping their low bits.
template <class Writer>
void JSONProto::WriteScalar(const Writer& write, std::string_view name, const JSONNode& json, bool strict) const
{
    switch (write.field->cpp_type()) {
    case FieldDescriptor::CPPTYPE_INT32:
        return write.Int32(static_cast<std::int32_t>(Integer(name, json, strict)));
    case FieldDescriptor::CPPTYPE_INT64:
        return write.Int64(Integer(name, json, strict));
    case FieldDescriptor::CPPTYPE_UINT32:
        return write.UInt32(static_cast<std::uint32_t>(Integer(name, json, strict)));
    case FieldDescriptor::CPPTYPE_UINT64:
        return write.UInt64(static_cast<std::uint64_t>(Integer(name, json, strict)));
    case FieldDescriptor::CPPTYPE_DOUBLE:
        return write.Double(Floating(name, json, strict));
    case FieldDescriptor::CPPTYPE_FLOAT:
        return write.Float(static_cast<float>(Floating(name, json, strict)));
    case FieldDescriptor::CPPTYPE_BOOL:
        return write.Bool(Truth(name, json, strict));
    case FieldDescriptor::CPPTYPE_ENUM:
        return WriteEnum(write, name, json, strict);
    case FieldDescriptor::CPPTYPE_STRING:
        return write.String(std::string(detail::text_of(json)));
    case FieldDescriptor::CPPTYPE_MESSAGE:
        return; // the callers' business
    }
}

void JSONProto::ParseUuid(Message* msg, const Reflection* ref, const FieldDescriptor* field, std::string_view name,
                          const JSONNode& json, bool strict) const
{
    Verify(name, json, JSON_STRING, strict);
    // Made before its type is looked at, and left present when the type is wrong: receivers test for presence.
    Message* submsg = ref->MutableMessage(msg, field);
    // The member's type is asked, not the member: an owner may be destroyed while a last conversion still runs. The
    // answer is kept: a generated type goes through `call_once` for each, which writes to thread-local storage first.
    static const UuidType uuidType(decltype(m_sampleUUID)::descriptor());
    if (field->message_type() != uuidType.descriptor) {
        Fail(name, strict);
        return;
    }
    const boost::uuids::uuid uuid = detail::read_uuid(detail::text_of(json));
    const Reflection* subref = submsg->GetReflection();
    subref->SetUInt64(submsg, uuidType.hi, little_endian(uuid.data));
    subref->SetUInt64(submsg, uuidType.lo, little_endian(uuid.data + 8));
}

// ---- The walk ------------------------------------------------------------------------------------------------------

bool JSONProto::Convert(Message* msg, const Reflection* ref, const JSONNode& jsonMsg, bool strict,
                        bool logEmptyJson) const
{
    if (ref == nullptr) {
        return false;
    }
    if (!is_container(jsonMsg) || jsonMsg.empty()) {
        report_empty(jsonMsg, logEmptyJson);
        return false;
    }
    try {
        ParseJSON(msg, ref, jsonMsg, strict);
        return true;
    } catch (const std::invalid_argument& e) {
        QX_LOG_ID(QXLOG_INFO, log_id) << "Invalid argument in JSON to protobuf conversion " << e.what();
        return false;
    }
}

void JSONProto::ParseJSON(Message* msg, const Reflection* ref, const JSONNode& n, bool strict) const
{
    const FieldDescriptorIndex index(msg, n.size());
    if (!is_container(n)) {
        return;
    }
    for (const JSONNode& child : n) {
        const auto node_name = detail::name_of(child);
        if (const FieldDescriptor* field = index.FindFieldByName(node_name)) {
            ParseMember(msg, ref, field, node_name, child, strict);
        } else {
            Fail(node_name, strict);
        }
    }
}

void JSONProto::ParseMember(Message* msg, const Reflection* ref, const FieldDescriptor* field, std::string_view name,
                            const JSONNode& json, bool strict) const
{
    if (json.type() == JSON_ARRAY) {
        ParseElements(msg, ref, json, name, strict);
    } else if (json.type() == JSON_NODE) {
        Message* submsg = ref->MutableMessage(msg, field);
        ParseJSON(submsg, submsg->GetReflection(), json, strict);
    } else if (field->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) {
        ParseUuid(msg, ref, field, name, json, strict);
    } else {
        WriteScalar(detail::FieldSetter{{msg, ref, field}}, name, json, strict);
    }
}

void JSONProto::ParseJSONRepeating(Message* msg, const Reflection* ref, const JSONNode& n,
                                   std::string& repeatingFieldName, bool strict) const
{
    ParseElements(msg, ref, n, repeatingFieldName, strict);
}

void JSONProto::ParseElements(Message* msg, const Reflection* ref, const JSONNode& n, std::string_view name,
                              bool strict) const
{
    const FieldDescriptorIndex index(msg, 1);
    if (!is_container(n)) {
        return;
    }
    const FieldDescriptor* const field = index.FindFieldByName(name); // one for all elements: they share its key
    for (const JSONNode& element : n) {
        if (field != nullptr) {
            ParseElement(msg, ref, field, name, element, strict);
        } else {
            Fail(name, strict);
        }
    }
}

void JSONProto::ParseElement(Message* msg, const Reflection* ref, const FieldDescriptor* field, std::string_view name,
                             const JSONNode& json, bool strict) const
{
    if (json.type() == JSON_ARRAY) {
        // Under its own name, which is empty: nested arrays are not flattened, their elements are unknown keys.
        ParseElements(msg, ref, json, detail::name_of(json), strict);
    } else if (json.type() == JSON_NODE) {
        Message* submsg = ref->AddMessage(msg, field);
        ParseJSON(submsg, submsg->GetReflection(), json, strict);
    } else {
        // A scalar for a message field is passed over: repeated UUIDs are not supported.
        WriteScalar(detail::FieldAdder{{msg, ref, field}}, name, json, strict);
    }
}

} // namespace qx
