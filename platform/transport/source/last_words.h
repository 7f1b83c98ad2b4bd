/// The end of a process whose callback let an exception out.
#pragma once

#include <cstdint>
#include <exception>
#include <string_view>
#include <utility>

namespace qx::transport {

/// Writes one line to standard error:
///
///     lbm: exception left a callback: topic="<topic>" sequence_number=<number> what="<text>"
///
/// Control characters, quotes and backslashes in the texts are written as \xNN, so that it is one line always.
void write_last_words(std::string_view topic, std::uint32_t sequence, std::string_view what) noexcept;

/// Runs a callback of the application. An exception that leaves it ends the process through std::terminate, after its
/// last words. Terminating inside the handler keeps the exception current for the application's own terminate handler;
/// rethrown, it may be gone when the optimiser has turned the way out into a plain call.
template <class F>
void call_or_die(std::string_view topic, std::uint32_t sequence, F&& callback) noexcept
{
    try {
        std::forward<F>(callback)();
    } catch (const std::exception& e) {
        write_last_words(topic, sequence, e.what());
        std::terminate();
    } catch (...) {
        write_last_words(topic, sequence, "not a std::exception");
        std::terminate();
    }
}

} // namespace qx::transport
