/// The short way through an envelope as publishers write it: what `read_json` would make of it, for a fraction of the
/// time.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace ps_ns {

namespace envelope_key {
inline constexpr const char* eventType = "et"; ///< "Create", "Update" or "Delete"
inline constexpr const char* dataType = "dt";  ///< e.g. "ProductDownloadRecord"
inline constexpr const char* id = "id";        ///< of the record, for log lines only
inline constexpr const char* data = "data";    ///< the record: JSON once more, inside a string
} // namespace envelope_key

class PlainEnvelope {
public:
    /// In the order of `envelope_key`; none of a member that is not there.
    using Texts = std::array<std::optional<std::string>, 4>;

    /// Of an object of strings, numbers and literals that has "et", "dt" and "id". Nothing for everything else, right
    /// or wrong: that is for the full reader.
    static std::optional<PlainEnvelope> Read(std::string_view payload);

    /// Of one of the four members; null if the envelope has none of that name. Valid as long as the envelope.
    const std::string* Text(std::string_view key) const;

private:
    explicit PlainEnvelope(Texts texts)
        : m_texts(std::move(texts))
    {
    }

    Texts m_texts;
};

} // namespace ps_ns
