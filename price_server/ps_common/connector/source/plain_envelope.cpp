// Beside what plain_json.h relies on, this relies on two facts of the full reader:
// - Of several members with one name the first counts.
// - Behind the object only blanks may stand.
// Whatever is not sure to be right is left to the full reader, so that every failure is its own: a byte order mark,
// containers, keys that are not plain ASCII.
#include "plain_envelope.h"

#include <algorithm>
#include <utility>

#include "plain_json.h"

namespace ps_ns {
namespace {

using Texts = PlainEnvelope::Texts;

constexpr std::array<std::string_view, std::tuple_size_v<Texts>> keys{envelope_key::eventType, envelope_key::dataType,
                                                                      envelope_key::id, envelope_key::data};

/// Where the key is among those that matter; their number if it is none.
std::size_t IndexOf(std::string_view key)
{
    return static_cast<std::size_t>(std::find(keys.begin(), keys.end(), key) - keys.begin());
}

bool TakeKeyAndColon(plain_json::Cursor& cursor, std::string_view& key)
{
    cursor.SkipBlanks();
    if (!cursor.TakeKey(key)) {
        return false;
    }
    cursor.SkipBlanks();
    return cursor.Take(':');
}

bool TakeScalar(plain_json::Cursor& cursor, std::string* out)
{
    if (cursor.Take('"')) {
        return out != nullptr ? cursor.TakeString(*out) : cursor.SkipString();
    }
    const char* const begin = cursor.At();
    if (!cursor.TakeWord("true") && !cursor.TakeWord("false") && !cursor.TakeWord("null") && !cursor.TakeNumber()) {
        return false;
    }
    if (out != nullptr) {
        out->assign(begin, cursor.At());
    }
    return true;
}

/// Any value that is no container, and the blanks around it: its text, unless `out` is null.
bool TakeValue(plain_json::Cursor& cursor, std::string* out)
{
    cursor.SkipBlanks();
    const bool taken = TakeScalar(cursor, out);
    cursor.SkipBlanks();
    return taken;
}

/// Its text, where it is the first of that name and one that matters.
bool TakeMember(plain_json::Cursor& cursor, Texts& texts)
{
    std::string_view key;
    if (!TakeKeyAndColon(cursor, key)) {
        return false;
    }
    const std::size_t index = IndexOf(key);
    return TakeValue(cursor, index < keys.size() && !texts[index] ? &texts[index].emplace() : nullptr);
}

bool TakeMembers(plain_json::Cursor& cursor, Texts& texts)
{
    do {
        if (!TakeMember(cursor, texts)) {
            return false;
        }
    } while (cursor.Take(','));
    return true;
}

bool TakeEnvelope(plain_json::Cursor& cursor, Texts& texts)
{
    cursor.SkipBlanks();
    if (!cursor.Take('{') || !TakeMembers(cursor, texts) || !cursor.Take('}')) {
        return false;
    }
    cursor.SkipBlanks();
    return cursor.AtEnd();
}

/// The record is not always looked for, so that an envelope may lack it.
bool IsComplete(const Texts& texts)
{
    static_assert(keys.back() == envelope_key::data);
    return std::all_of(texts.begin(), texts.end() - 1, [](const auto& text) { return text.has_value(); });
}

} // namespace

std::optional<PlainEnvelope> PlainEnvelope::Read(std::string_view payload)
{
    Texts texts;
    plain_json::Cursor cursor(payload);
    if (!TakeEnvelope(cursor, texts) || !IsComplete(texts)) {
        return std::nullopt;
    }
    return PlainEnvelope(std::move(texts));
}

const std::string* PlainEnvelope::Text(std::string_view key) const
{
    const std::size_t index = IndexOf(key);
    return index < keys.size() && m_texts[index] ? &*m_texts[index] : nullptr;
}

} // namespace ps_ns
