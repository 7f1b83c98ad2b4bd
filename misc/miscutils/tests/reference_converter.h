/// The conversion in its plainest form, with a copy of every text and a map of every key: what the converter, which
/// spares those, is held against.
#pragma once

#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unordered_map>

#include <boost/uuid/string_generator.hpp>
#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <libjson.h>
#include <miscutils/JSONtopb_non_static.h>

#include "gson_name.pb.h"
#include "uuid.pb.h"

namespace qx::test {

class ReferenceConverter {
public:
    explicit ReferenceConverter(bool mode)
        : m_strict(mode)
    {
    }

    void fill(google::protobuf::Message& message, const JSONNode& object) const
    {
        const auto keys = keys_of(message);
        for (const JSONNode& child : object) {
            if (const auto found = keys.find(child.name()); found != keys.end()) {
                member(message, *found->second, child);
            } else {
                fail(child.name());
            }
        }
    }

private:
    using Message = google::protobuf::Message;
    using Field = google::protobuf::FieldDescriptor;
    using Keys = std::unordered_map<std::string, const Field*>;

    static Keys keys_of(const Message& message)
    {
        Keys keys;
        for (int i = 0; i < message.GetDescriptor()->field_count(); ++i) {
            const Field* field = message.GetDescriptor()->field(i);
            const auto& options = field->options();
            const std::string key =
                options.HasExtension(messaging::gson_name) ? options.GetExtension(messaging::gson_name) : field->name();
            keys[key.c_str()] = field;
        }
        return keys;
    }

    void fail(const std::string& key) const
    {
        if (m_strict) {
            throw JSONProtoException(key + " has invalid value");
        }
    }

    void expect(const std::string& key, const JSONNode& node, char type, const std::string& name) const
    {
        if (m_strict && node.type() != type) {
            throw JSONProtoException(key + " is expected to be of type " + name);
        }
    }

    static double number_of(const JSONNode& node)
    {
        static const locale_t c_locale = newlocale(LC_ALL_MASK, "C", nullptr);
        return strtod_l(node.as_string().c_str(), nullptr, c_locale);
    }

    void member(Message& message, const Field& field, const JSONNode& node) const
    {
        if (node.type() == JSON_ARRAY) {
            elements(message, node, node.name());
        } else if (node.type() == JSON_NODE) {
            fill(*message.GetReflection()->MutableMessage(&message, &field), node);
        } else if (field.cpp_type() == Field::CPPTYPE_MESSAGE) {
            uuid(message, field, node);
        } else {
            scalar(message, field, node.name(), node, false);
        }
    }

    void elements(Message& message, const JSONNode& array, const std::string& key) const
    {
        const auto keys = keys_of(message);
        for (const JSONNode& element : array) {
            const auto found = keys.find(key);
            if (found == keys.end()) {
                fail(key);
            } else if (element.type() == JSON_ARRAY) {
                elements(message, element, element.name());
            } else if (element.type() == JSON_NODE) {
                fill(*message.GetReflection()->AddMessage(&message, found->second), element);
            } else {
                scalar(message, *found->second, key, element, true);
            }
        }
    }

    void uuid(Message& message, const Field& field, const JSONNode& node) const
    {
        expect(node.name(), node, JSON_STRING, "JSON_STRING");
        Message* const part = message.GetReflection()->MutableMessage(&message, &field);
        if (part->GetDescriptor() != messaging::Uuid::descriptor()) {
            fail(node.name());
            return;
        }
        const auto bytes = boost::uuids::string_generator{}(node.as_string());
        std::uint64_t halves[2]; // of a little-endian machine, as all that this is built for are
        std::memcpy(halves, bytes.data, sizeof halves);
        auto& target = dynamic_cast<messaging::Uuid&>(*part);
        target.set_hi(halves[0]);
        target.set_lo(halves[1]);
    }

    template <class Set, class Add>
    static void put(bool add, Set set, Add append)
    {
        add ? append() : set();
    }

    void scalar(Message& message, const Field& field, const std::string& key, const JSONNode& node, bool add) const
    {
        const auto* const r = message.GetReflection();
        Message* const m = &message;
        const Field* const f = &field;
        const auto integer = [&] {
            expect(key, node, JSON_NUMBER, "JSON_NUMBER");
            return node.as_int();
        };
        const auto floating = [&] {
            expect(key, node, JSON_NUMBER, "JSON_NUMBER");
            return number_of(node);
        };
        switch (field.cpp_type()) {
        case Field::CPPTYPE_INT32: {
            const auto v = static_cast<std::int32_t>(integer());
            return put(
                add, [&] { r->SetInt32(m, f, v); }, [&] { r->AddInt32(m, f, v); });
        }
        case Field::CPPTYPE_INT64: {
            const std::int64_t v = integer();
            return put(
                add, [&] { r->SetInt64(m, f, v); }, [&] { r->AddInt64(m, f, v); });
        }
        case Field::CPPTYPE_UINT32: {
            const auto v = static_cast<std::uint32_t>(integer());
            return put(
                add, [&] { r->SetUInt32(m, f, v); }, [&] { r->AddUInt32(m, f, v); });
        }
        case Field::CPPTYPE_UINT64: {
            const auto v = static_cast<std::uint64_t>(integer());
            return put(
                add, [&] { r->SetUInt64(m, f, v); }, [&] { r->AddUInt64(m, f, v); });
        }
        case Field::CPPTYPE_DOUBLE: {
            const double v = floating();
            return put(
                add, [&] { r->SetDouble(m, f, v); }, [&] { r->AddDouble(m, f, v); });
        }
        case Field::CPPTYPE_FLOAT: {
            const auto v = static_cast<float>(floating());
            return put(
                add, [&] { r->SetFloat(m, f, v); }, [&] { r->AddFloat(m, f, v); });
        }
        case Field::CPPTYPE_BOOL: {
            if (node.type() != JSON_NUMBER) {
                expect(key, node, JSON_BOOL, "JSON_BOOL");
            }
            const bool v = node.type() == JSON_NUMBER ? node.as_int() != 0 : node.as_bool();
            return put(
                add, [&] { r->SetBool(m, f, v); }, [&] { r->AddBool(m, f, v); });
        }
        case Field::CPPTYPE_ENUM:
            return enumeration(message, field, key, node, add);
        case Field::CPPTYPE_STRING:
            return put(
                add, [&] { r->SetString(m, f, node.as_string()); }, [&] { r->AddString(m, f, node.as_string()); });
        case Field::CPPTYPE_MESSAGE:
            return;
        }
    }

    void enumeration(Message& message, const Field& field, const std::string& key, const JSONNode& node, bool add) const
    {
        const google::protobuf::EnumValueDescriptor* value = nullptr;
        if (node.type() == JSON_NUMBER) {
            value = field.enum_type()->FindValueByNumber(static_cast<std::int32_t>(node.as_int()));
        } else if (node.type() == JSON_STRING) {
            value = field.enum_type()->FindValueByName(node.as_string());
        }
        if (value == nullptr) {
            fail(key);
            return;
        }
        const auto* const r = message.GetReflection();
        put(
            add, [&] { r->SetEnumValue(&message, &field, value->number()); },
            [&] { r->AddEnumValue(&message, &field, value->number()); });
    }

    bool m_strict;
};

/// What becomes of a document: the message, as far as it was filled, and the failure, if it failed.
template <class Record, class Convert>
std::string outcome_of(Convert convert)
{
    Record record;
    std::string failure;
    try {
        convert(record);
    } catch (const JSONProtoException& e) {
        failure = std::string("refused: ") + e.what();
    } catch (const google::protobuf::FatalException&) {
        failure = "does not fit"; // its text has a line number of protobuf's
    } catch (const std::exception& e) {
        failure = std::string("failed: ") + e.what();
    }
    return record.SerializePartialAsString() + '\n' + failure;
}

/// Whether the converter makes of a container with children what the plainest form makes of it.
template <class Record>
bool is_converted_alike(const JSONNode& document, bool mode)
{
    const std::string expected =
        outcome_of<Record>([&](Record& record) { ReferenceConverter(mode).fill(record, document); });
    return expected == outcome_of<Record>([&](Record& record) {
               JSONProto{}.ParseJSON(&record, record.GetReflection(), document, mode);
           });
}

} // namespace qx::test
