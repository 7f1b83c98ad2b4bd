/// Regular expressions over whole topics.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

// PCRE2's own types; its header needs a macro before it, which stays in the source file.
struct pcre2_real_code_8;
struct pcre2_real_match_context_8;

namespace qx::transport {

/// Limits against patterns that would cost without end. The match limit ends the worst short patterns after about a
/// millisecond; PCRE2's own default would allow a hundred times that for every topic that appears.
inline constexpr std::size_t pattern_bytes_max = 4'096;
inline constexpr std::uint32_t pattern_match_limit = 100'000;
inline constexpr std::uint32_t pattern_heap_kib_max = 1'024;

/// One compiled PCRE2 pattern that a topic matches as a whole: both ends are anchored, and the dot matches any byte.
/// Threads   `matches` may be called from any number of threads at once.
class TopicPattern {
public:
    /// Throws TransportError (LBM_EINVAL) with PCRE2's message and the offset in bytes.
    explicit TopicPattern(std::string_view pattern);
    ~TopicPattern();
    TopicPattern(const TopicPattern&) = delete;
    TopicPattern& operator=(const TopicPattern&) = delete;

    /// False as well when a limit ended the attempt; see `abandoned`.
    bool matches(std::string_view topic) const;

    /// The longest text that can be shown cheaply to begin every matching topic; "" when there is none or it is not
    /// clear. It is never too long, and may be shorter than a person would find.
    std::string literal_prefix() const;

    const std::string& text() const noexcept { return text_; }

    /// How many topics it was tried on.
    std::uint64_t attempts() const noexcept { return attempts_.load(std::memory_order_relaxed); }

    /// How many matches were given up because of a limit or an error of the matcher.
    std::uint64_t abandoned() const noexcept { return abandoned_.load(std::memory_order_relaxed); }

private:
    struct Deleter {
        void operator()(pcre2_real_code_8* code) const noexcept;
        void operator()(pcre2_real_match_context_8* context) const noexcept;
    };

    std::string text_;
    std::unique_ptr<pcre2_real_code_8, Deleter> code_;
    std::unique_ptr<pcre2_real_match_context_8, Deleter> limits_;
    mutable std::atomic<std::uint64_t> attempts_{0};
    mutable std::atomic<std::uint64_t> abandoned_{0};
};

} // namespace qx::transport
