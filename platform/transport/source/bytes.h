/// Reading and writing little-endian numbers with the bounds always checked.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <type_traits>
#include <vector>

namespace qx::transport {

using Bytes = std::vector<std::uint8_t>;
using ByteView = std::span<const std::uint8_t>;

template <class Unsigned>
void put_at(Bytes& out, std::size_t at, Unsigned value)
{
    static_assert(std::is_unsigned_v<Unsigned>);
    for (std::size_t i = 0; i < sizeof(Unsigned); ++i) {
        out[at + i] = static_cast<std::uint8_t>(value >> (8 * i));
    }
}

template <class Unsigned>
void put(Bytes& out, Unsigned value)
{
    out.resize(out.size() + sizeof(Unsigned));
    put_at(out, out.size() - sizeof(Unsigned), value);
}

inline void put(Bytes& out, std::string_view text)
{
    out.insert(out.end(), text.begin(), text.end());
}

/// Takes numbers and texts off the front of a buffer. Once something did not fit, `ok` is false for good and every
/// further value is 0 or empty: a decoder may read on and test once.
class ByteReader {
public:
    explicit ByteReader(ByteView bytes)
        : rest_(bytes)
    {
    }

    template <class Unsigned>
    Unsigned number()
    {
        static_assert(std::is_unsigned_v<Unsigned>);
        Unsigned value = 0;
        const ByteView raw = take(sizeof(Unsigned));
        for (std::size_t i = 0; i < raw.size(); ++i) {
            value = static_cast<Unsigned>(value | static_cast<Unsigned>(Unsigned{raw[i]} << (8 * i)));
        }
        return value;
    }

    /// Views the buffer.
    std::string_view text(std::size_t length)
    {
        const ByteView raw = take(length);
        return {reinterpret_cast<const char*>(raw.data()), raw.size()};
    }

    bool ok() const noexcept { return ok_; }
    bool at_end() const noexcept { return rest_.empty(); }

private:
    ByteView take(std::size_t length)
    {
        if (!ok_ || rest_.size() < length) {
            ok_ = false;
            return {};
        }
        const ByteView front = rest_.first(length);
        rest_ = rest_.subspan(length);
        return front;
    }

    ByteView rest_;
    bool ok_ = true;
};

} // namespace qx::transport
