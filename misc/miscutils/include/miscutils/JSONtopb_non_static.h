/// Fills any protobuf message from a JSON document, by reflection.
///
/// Shape     A key is matched to the field whose `gson_name` option is that text, or to the field of that name where
///           the option is not set. Objects fill sub-messages, arrays fill repeated fields, enumerations take a value's
///           name or its number, a `qx.messaging.Uuid` takes the text of a UUID. A later duplicate of a key overwrites.
/// Errors    strict: the first unknown key or unusable value throws JSONProtoException and the message keeps what was
///           written before. Lenient: such keys and values are skipped, and a value of another kind than the field's is
///           read by the JSON library's own conversions.
///           In both: a malformed UUID text throws std::runtime_error. A document whose shape does not fit the schema
///           (a scalar for a repeated field, an object or a scalar in an array for a singular one, an object for a
///           scalar one) is a usage error, which protobuf reports as google::protobuf::FatalException once a value is
///           written. Where none is written there is no report, not even in strict mode: an empty array fits any
///           field, and what is no object in an array for a message field, repeated or not, is passed over.
/// Threads   A converter is never changed by its use: several threads may share one, each with its own message.
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <google/protobuf/message.h>
#include <libjson.h>

#include "uuid.pb.h"

namespace qx {

/// What strict conversion throws.
class JSONProtoException : public std::runtime_error {
public:
    explicit JSONProtoException(const std::string& message)
        : std::runtime_error(message)
    {
    }
};

class JSONProto {
public:
    /// The fields of one message type by JSON key. Of fields with the same key the last declared is found. The
    /// descriptors belong to protobuf and outlive the index.
    class FieldDescriptorIndex {
    public:
        /// `lookups`: about how often the index will be asked. It finds the same whatever that says; for one look-up it
        /// keeps no table, since making one costs more than looking through the fields.
        explicit FieldDescriptorIndex(google::protobuf::Message* msg, std::size_t lookups = many);
        /// Null when no field has that key. Keys are compared byte by byte.
        const google::protobuf::FieldDescriptor* FindFieldByName(std::string_view name) const;

    private:
        static constexpr std::size_t many = 2; ///< look-ups, from which on there is a table
        struct Slot {
            std::string_view key; ///< the descriptor's own text
            const google::protobuf::FieldDescriptor* field = nullptr;
        };
        void MakeTable();
        const google::protobuf::FieldDescriptor* LookThrough(std::string_view name) const;
        std::size_t SlotOf(std::string_view key) const;

        const google::protobuf::Descriptor* m_type;
        std::vector<Slot> m_index; ///< a hash table in one piece, made anew for every message; empty for one look-up
    };

    /// Fills `msg` from an object with at least one member; true when the document was converted. A document that is
    /// empty or no container gives false, and is logged when `logEmptyJson` says so.
    template <class T>
    bool JSONToProtobuf(T& msg, const JSONNode& jsonMsg, bool strict, bool logEmptyJson) const
    {
        return Convert(&msg, msg.GetReflection(), jsonMsg, strict, logEmptyJson);
    }

    /// Fills `msg` from the object `n`. `ref` is the message's own reflection. Nests as deep as the document does.
    void ParseJSON(google::protobuf::Message* msg, const google::protobuf::Reflection* ref, const JSONNode& n,
                   bool strict) const;

    /// Appends the elements of the array `n` to the repeated field with the key `repeatingFieldName`.
    void ParseJSONRepeating(google::protobuf::Message* msg, const google::protobuf::Reflection* ref, const JSONNode& n,
                            std::string& repeatingFieldName, bool strict) const;

    /// Throws when `json` is of another type than `expectedType` and `strict` is set; otherwise always true.
    bool JSON2PB_VERIFY_TYPE(const std::string& json_name, const JSONNode& json, char expectedType, bool strict) const;

    /// Throws when `strict` is set; otherwise does nothing.
    void JSON2PB_FAILED(const std::string& json_name, bool strict) const;

private:
    bool Convert(google::protobuf::Message* msg, const google::protobuf::Reflection* ref, const JSONNode& jsonMsg,
                 bool strict, bool logEmptyJson) const;
    void ParseMember(google::protobuf::Message* msg, const google::protobuf::Reflection* ref,
                     const google::protobuf::FieldDescriptor* field, std::string_view name, const JSONNode& json,
                     bool strict) const;
    void ParseElements(google::protobuf::Message* msg, const google::protobuf::Reflection* ref, const JSONNode& n,
                       std::string_view name, bool strict) const;
    void ParseElement(google::protobuf::Message* msg, const google::protobuf::Reflection* ref,
                      const google::protobuf::FieldDescriptor* field, std::string_view name, const JSONNode& json,
                      bool strict) const;
    void ParseUuid(google::protobuf::Message* msg, const google::protobuf::Reflection* ref,
                   const google::protobuf::FieldDescriptor* field, std::string_view name, const JSONNode& json,
                   bool strict) const;
    void Verify(std::string_view name, const JSONNode& json, char expectedType, bool strict) const;
    void Fail(std::string_view name, bool strict) const;
    std::int64_t Integer(std::string_view name, const JSONNode& json, bool strict) const;
    double Floating(std::string_view name, const JSONNode& json, bool strict) const;
    bool Truth(std::string_view name, const JSONNode& json, bool strict) const;
    template <class Writer>
    void WriteScalar(const Writer& write, std::string_view name, const JSONNode& json, bool strict) const;
    template <class Writer>
    void WriteEnum(const Writer& write, std::string_view name, const JSONNode& json, bool strict) const;

    qx::messaging::Uuid m_sampleUUID;
};

} // namespace qx
