/// The conversion as one would write it first, on nlohmann's document.
#pragma once

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <unordered_map>

#include <boost/uuid/string_generator.hpp>
#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <nlohmann/json.hpp>

#include "gson_name.pb.h"
#include "uuid.pb.h"

namespace qx::benchmark {

class StraightforwardConverter {
public:
    using Json = nlohmann::json;
    using Message = google::protobuf::Message;
    using Field = google::protobuf::FieldDescriptor;

    static void fill(Message& message, const Json& object)
    {
        const auto index = index_of(message);
        for (const auto& [key, value] : object.items()) {
            if (const auto found = index.find(key); found != index.end()) {
                set(message, *found->second, value);
            }
        }
    }

private:
    static std::unordered_map<std::string, const Field*> index_of(const Message& message)
    {
        std::unordered_map<std::string, const Field*> index;
        for (int i = 0; i < message.GetDescriptor()->field_count(); ++i) {
            const Field* field = message.GetDescriptor()->field(i);
            const auto& options = field->options();
            index[options.HasExtension(messaging::gson_name) ? options.GetExtension(messaging::gson_name)
                                                             : field->name()] = field;
        }
        return index;
    }

    static void set(Message& message, const Field& field, const Json& value)
    {
        const auto* const reflection = message.GetReflection();
        if (value.is_array()) {
            for (const Json& element : value) {
                add(message, field, element);
            }
        } else if (field.cpp_type() == Field::CPPTYPE_MESSAGE) {
            Message& part = *reflection->MutableMessage(&message, &field);
            value.is_object() ? fill(part, value) : set_uuid(part, value.get<std::string>());
        } else {
            set_scalar(message, field, value);
        }
    }

    /// Lists of the records are of numbers and of messages.
    static void add(Message& message, const Field& field, const Json& element)
    {
        const auto* const reflection = message.GetReflection();
        if (field.cpp_type() == Field::CPPTYPE_MESSAGE) {
            fill(*reflection->AddMessage(&message, &field), element);
        } else {
            reflection->AddUInt64(&message, &field, element.get<std::uint64_t>());
        }
    }

    static void set_uuid(Message& uuid, const std::string& text)
    {
        const auto bytes = boost::uuids::string_generator{}(text);
        std::uint64_t halves[2];
        std::memcpy(halves, bytes.data, sizeof halves);
        auto& target = dynamic_cast<messaging::Uuid&>(uuid);
        target.set_hi(halves[0]);
        target.set_lo(halves[1]);
    }

    static void set_scalar(Message& message, const Field& field, const Json& value)
    {
        const auto* const r = message.GetReflection();
        switch (field.cpp_type()) {
        case Field::CPPTYPE_INT32:
            return r->SetInt32(&message, &field, value.get<std::int32_t>());
        case Field::CPPTYPE_INT64:
            return r->SetInt64(&message, &field, value.get<std::int64_t>());
        case Field::CPPTYPE_UINT32:
            return r->SetUInt32(&message, &field, value.get<std::uint32_t>());
        case Field::CPPTYPE_UINT64:
            return r->SetUInt64(&message, &field, value.get<std::uint64_t>());
        case Field::CPPTYPE_DOUBLE:
            return r->SetDouble(&message, &field, value.get<double>());
        case Field::CPPTYPE_FLOAT:
            return r->SetFloat(&message, &field, value.get<float>());
        case Field::CPPTYPE_BOOL:
            return r->SetBool(&message, &field, value.get<bool>());
        case Field::CPPTYPE_ENUM:
            return set_enum(message, field, value);
        case Field::CPPTYPE_STRING:
            return r->SetString(&message, &field, value.get<std::string>());
        case Field::CPPTYPE_MESSAGE:
            return;
        }
    }

    static void set_enum(Message& message, const Field& field, const Json& value)
    {
        const auto* const found = value.is_string() ? field.enum_type()->FindValueByName(value.get<std::string>())
                                                    : field.enum_type()->FindValueByNumber(value.get<int>());
        if (found == nullptr) {
            throw std::runtime_error("no value of " + field.full_name() + ": " + value.dump());
        }
        message.GetReflection()->SetEnum(&message, &field, found);
    }
};

} // namespace qx::benchmark
