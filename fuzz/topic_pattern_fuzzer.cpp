/// A pattern on the first line, a topic on the rest. Whatever compiles matches only what its literal prefix begins.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/transport/source/error.h"
#include "platform/transport/source/topic_pattern.h"

using qx::transport::TopicPattern;
using qx::transport::TransportError;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view input(reinterpret_cast<const char*>(data), size); // bytes as characters
    const std::size_t line_end = input.find('\n');
    const std::string_view topic = line_end == std::string_view::npos ? "" : input.substr(line_end + 1);
    try {
        const TopicPattern pattern(input.substr(0, line_end));
        if (pattern.matches(topic) && !topic.starts_with(pattern.literal_prefix())) {
            __builtin_trap();
        }
    } catch (const TransportError&) { // NOLINT(bugprone-empty-catch): a refused pattern is a good end
    }
    return 0;
}
