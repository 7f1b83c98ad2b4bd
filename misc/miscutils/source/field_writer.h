/// The two ways of putting a converted value into a field, so that one table of conversions serves both.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

namespace qx::detail {

struct FieldTarget {
    google::protobuf::Message* message;
    const google::protobuf::Reflection* reflection;
    const google::protobuf::FieldDescriptor* field;
};

/// Sets a singular field. Enumerations go by number: with a descriptor, protobuf does not check that the field is
/// singular (nor, in the adder, that it is repeated) and would write over other memory.
struct FieldSetter : FieldTarget {
    void Int32(std::int32_t v) const { reflection->SetInt32(message, field, v); }
    void Int64(std::int64_t v) const { reflection->SetInt64(message, field, v); }
    void UInt32(std::uint32_t v) const { reflection->SetUInt32(message, field, v); }
    void UInt64(std::uint64_t v) const { reflection->SetUInt64(message, field, v); }
    void Double(double v) const { reflection->SetDouble(message, field, v); }
    void Float(float v) const { reflection->SetFloat(message, field, v); }
    void Bool(bool v) const { reflection->SetBool(message, field, v); }
    void Enum(const google::protobuf::EnumValueDescriptor* v) const
    {
        reflection->SetEnumValue(message, field, v->number());
    }
    void String(std::string v) const { reflection->SetString(message, field, std::move(v)); }
};

/// Appends to a repeated field.
struct FieldAdder : FieldTarget {
    void Int32(std::int32_t v) const { reflection->AddInt32(message, field, v); }
    void Int64(std::int64_t v) const { reflection->AddInt64(message, field, v); }
    void UInt32(std::uint32_t v) const { reflection->AddUInt32(message, field, v); }
    void UInt64(std::uint64_t v) const { reflection->AddUInt64(message, field, v); }
    void Double(double v) const { reflection->AddDouble(message, field, v); }
    void Float(float v) const { reflection->AddFloat(message, field, v); }
    void Bool(bool v) const { reflection->AddBool(message, field, v); }
    void Enum(const google::protobuf::EnumValueDescriptor* v) const
    {
        reflection->AddEnumValue(message, field, v->number());
    }
    void String(std::string v) const { reflection->AddString(message, field, std::move(v)); }
};

} // namespace qx::detail
