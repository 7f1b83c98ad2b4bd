#include "qxnotify/listen_last_words.h"

#include <cstdlib>
#include <exception>

#include <unistd.h>

#include <lbm/lbm_cpp.h>

#include "qxnotify/output.h"
#include "qxnotify/terminal.h"

namespace qx::tool {

namespace {

constexpr std::size_t payload_bytes_max = 400; // enough for every envelope member but the record itself

std::string current_reason()
{
    try {
        if (const auto exception = std::current_exception()) {
            std::rethrow_exception(exception);
        }
    } catch (const std::exception& e) {
        return e.what();
    } catch (...) {
        return "an exception that is not a std::exception";
    }
    return "std::terminate without an exception";
}

[[noreturn]] void say_last_words()
{
    write_all(STDERR_FILENO, last_words(lbm::CurrentMessage(), current_reason()));
    std::abort();
}

} // namespace

std::string last_words(const lbm_msg_t* message, std::string_view reason)
{
    if (message == nullptr) {
        return "qxnotify listen: ended: " + escaped(reason) + "\n";
    }
    const std::string_view payload =
        message->len > 0 ? std::string_view{message->data, message->len} : std::string_view{};
    return "qxnotify listen: ended by the message topic=" + escaped(message->topic_name) +
           " source=" + escaped(message->source) + " sequence_number=" + std::to_string(message->sequence_number) +
           " payload=" + quoted(payload, payload_bytes_max) + ": " + escaped(reason) + "\n";
}

void install_last_words()
{
    std::set_terminate(&say_last_words);
}

} // namespace qx::tool
