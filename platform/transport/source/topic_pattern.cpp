#include "topic_pattern.h"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include "error.h"

namespace qx::transport {
namespace {

struct FreeCompileContext {
    void operator()(pcre2_compile_context* context) const noexcept { pcre2_compile_context_free(context); }
};
struct FreeMatchData {
    void operator()(pcre2_match_data* data) const noexcept { pcre2_match_data_free(data); }
};

PCRE2_SPTR bytes_of(std::string_view text) noexcept
{
    // PCRE2 wants a pointer even for no bytes.
    const char* const data = text.empty() ? "" : text.data();
    return reinterpret_cast<PCRE2_SPTR>(data); // PCRE2's code unit is unsigned char
}

std::string message_of(int error)
{
    PCRE2_UCHAR text[256];
    if (pcre2_get_error_message(error, text, sizeof text) < 0) {
        return "error " + std::to_string(error);
    }
    return reinterpret_cast<const char*>(text);
}

pcre2_code* compile(std::string_view pattern)
{
    // \C would match half a character; nobody needs it in a topic and it stops optimisations.
    constexpr std::uint32_t options = PCRE2_ANCHORED | PCRE2_ENDANCHORED | PCRE2_DOTALL | PCRE2_NEVER_BACKSLASH_C;
    const std::unique_ptr<pcre2_compile_context, FreeCompileContext> limits(pcre2_compile_context_create(nullptr));
    if (!limits) {
        throw std::bad_alloc();
    }
    pcre2_set_max_pattern_length(limits.get(), pattern_bytes_max);
    int error = 0;
    PCRE2_SIZE offset = 0;
    pcre2_code* const code = pcre2_compile(bytes_of(pattern), pattern.size(), options, &error, &offset, limits.get());
    if (code == nullptr) {
        throw TransportError(LBM_EINVAL, message_of(error) + " at offset " + std::to_string(offset));
    }
    // Where there is no just-in-time compiler the interpreter matches the same, only slower.
    pcre2_jit_compile(code, PCRE2_JIT_COMPLETE);
    return code;
}

pcre2_match_context* make_limits()
{
    pcre2_match_context* const limits = pcre2_match_context_create(nullptr);
    if (limits == nullptr) {
        throw std::bad_alloc();
    }
    pcre2_set_match_limit(limits, pattern_match_limit);
    pcre2_set_heap_limit(limits, pattern_heap_kib_max);
    return limits;
}

} // namespace

void TopicPattern::Deleter::operator()(pcre2_real_code_8* code) const noexcept
{
    pcre2_code_free(code);
}

void TopicPattern::Deleter::operator()(pcre2_real_match_context_8* context) const noexcept
{
    pcre2_match_context_free(context);
}

TopicPattern::TopicPattern(std::string_view pattern)
    : text_(pattern)
    , code_(compile(pattern))
    , limits_(make_limits())
{
}

TopicPattern::~TopicPattern() = default;

bool TopicPattern::matches(std::string_view topic) const
{
    attempts_.fetch_add(1, std::memory_order_relaxed);
    const std::unique_ptr<pcre2_match_data, FreeMatchData> found(pcre2_match_data_create(1, nullptr));
    if (!found) {
        throw std::bad_alloc();
    }
    const int result = pcre2_match(code_.get(), bytes_of(topic), topic.size(), 0, 0, found.get(), limits_.get());
    if (result < 0 && result != PCRE2_ERROR_NOMATCH) {
        abandoned_.fetch_add(1, std::memory_order_relaxed);
    }
    return result >= 0; // 0 says that not all groups fitted, which nobody asked for
}

} // namespace qx::transport
