#include <miscutils/JSONtopb_non_static.h>

#include <bit>
#include <cstring>

#include <google/protobuf/descriptor.h>

#include "gson_name.pb.h"

namespace qx {
namespace {

using google::protobuf::FieldDescriptor;
using google::protobuf::FieldOptions;

/// The option ends at its first zero byte, as a C string. A field's name is of letters, digits and underscores.
std::string_view key_of(const FieldDescriptor& field)
{
    const FieldOptions& options = field.options();
    if (&options == &FieldOptions::default_instance()) { // it has none at all, which is quick to see
        return field.name();
    }
    const std::string& name = options.GetExtension(messaging::gson_name);
    const bool is_set = &name != &messaging::gson_name.default_value(); // asking for it would be a second search
    return is_set ? std::string_view(name.c_str()) : field.name();
}

template <class Word>
std::uint64_t word_at(const char* text)
{
    Word word = 0;
    std::memcpy(&word, text, sizeof word);
    return word;
}

/// Of the length and both ends, which may overlap: enough to tell the keys of one message apart, for a fraction of what
/// all of a key costs.
std::uint32_t hash_of(std::string_view key)
{
    const char* const first = key.data();
    const char* const end = first + key.size();
    std::uint64_t ends[2] = {0, key.size()};
    if (key.size() >= 8) {
        ends[0] = word_at<std::uint64_t>(first);
        ends[1] += word_at<std::uint64_t>(end - 8);
    } else if (key.size() >= 2) {
        ends[0] = word_at<std::uint16_t>(first) << 16U | word_at<std::uint16_t>(end - 2);
        ends[1] += word_at<std::uint8_t>(first + key.size() / 2);
    } else if (key.size() == 1) {
        ends[0] = word_at<std::uint8_t>(first);
    }
    const std::uint64_t mixed = (ends[0] ^ (ends[1] * 0xC2B2AE3D27D4EB4FULL)) * 0x9E3779B97F4A7C15ULL;
    return static_cast<std::uint32_t>(mixed >> 32U);
}

/// A power of two, of which a quarter stays free at least.
std::size_t slots_for(std::size_t fields)
{
    return std::bit_ceil(fields + fields / 3 + 1);
}

} // namespace

JSONProto::FieldDescriptorIndex::FieldDescriptorIndex(google::protobuf::Message* msg, std::size_t lookups)
    : m_type(msg->GetDescriptor())
{
    if (lookups >= many) {
        MakeTable();
    }
}

void JSONProto::FieldDescriptorIndex::MakeTable()
{
    m_index.resize(slots_for(static_cast<std::size_t>(m_type->field_count())));
    for (int i = 0; i < m_type->field_count(); ++i) {
        const std::string_view key = key_of(*m_type->field(i));
        m_index[SlotOf(key)] = {key, m_type->field(i)};
    }
}

/// The key's own slot, or the free one that it would take: there always is one.
std::size_t JSONProto::FieldDescriptorIndex::SlotOf(std::string_view key) const
{
    const std::size_t mask = m_index.size() - 1;
    for (std::size_t at = hash_of(key) & mask;; at = (at + 1) & mask) {
        const Slot& slot = m_index[at];
        if (slot.field == nullptr || slot.key == key) {
            return at;
        }
    }
}

const FieldDescriptor* JSONProto::FieldDescriptorIndex::FindFieldByName(std::string_view name) const
{
    if (m_index.empty()) {
        return LookThrough(name);
    }
    return m_index[SlotOf(name)].field;
}

/// From the last declared, which wins among fields with one key.
const FieldDescriptor* JSONProto::FieldDescriptorIndex::LookThrough(std::string_view name) const
{
    for (int i = m_type->field_count() - 1; i >= 0; --i) {
        if (key_of(*m_type->field(i)) == name) {
            return m_type->field(i);
        }
    }
    return nullptr;
}

} // namespace qx
