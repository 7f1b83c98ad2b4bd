#include "options.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <optional>
#include <set>

#include "control_character.h"
#include "error.h"

namespace qx::transport {
namespace {

constexpr OptionSpec integer(Scope scope, std::string_view name, std::string_view unit, std::int64_t min,
                             std::int64_t max, std::string_view fallback, std::string_view about)
{
    return {scope, name, OptionType::integer, unit, min, max, "", fallback, about};
}

constexpr OptionSpec boolean(Scope scope, std::string_view name, std::string_view fallback, std::string_view about)
{
    return {scope, name, OptionType::boolean, "", 0, 1, "", fallback, about};
}

constexpr OptionSpec text(Scope scope, std::string_view name, std::int64_t bytes_min, std::int64_t bytes_max,
                          std::string_view fallback, std::string_view about)
{
    return {scope, name, OptionType::text, "", bytes_min, bytes_max, "", fallback, about};
}

constexpr OptionSpec choice(Scope scope, std::string_view name, std::string_view choices, std::string_view fallback,
                            std::string_view about)
{
    return {scope, name, OptionType::choice, "", 0, 0, choices, fallback, about};
}

constexpr std::int64_t kib = 1'024;
constexpr std::int64_t mib = 1'024 * kib;
constexpr std::int64_t gib = 1'024 * mib;
constexpr std::int64_t path_bytes_max = 4'095;

// clang-format off: one option, one line or two
constexpr auto catalogue = std::to_array<OptionSpec>({
    text(Scope::context, "context_name", 0, 246, "", "Name of the context, as operations tools select it"),
    integer(Scope::context, "domain_id", "", 0, 230, "0",
            "Contexts of one domain see each other, those of different domains do not"),
    text(Scope::context, "domain_tag", 0, 128, "", "Further separates contexts of one domain: only equal tags meet"),
    text(Scope::context, "interface", 1, 64, "lo",
         "Network interface, by name or IPv4 address; with lo nothing leaves this host"),
    boolean(Scope::context, "multicast", "1", "Whether the interface is used for multicast"),
    text(Scope::context, "peers", 0, 4'096, "",
         "Hosts to look for others on, beside this one: names or IPv4 addresses, separated by commas"),
    integer(Scope::context, "host_processes_max", "", 1, 119, "99",
            "Without multicast or with peers: how many processes of a host can be in a domain, the same everywhere"),
    integer(Scope::context, "lease_ms", "ms", 100, 600'000, "10000",
            "Silence after which another process counts as gone"),
    text(Scope::context, "security_identity_ca", 0, path_bytes_max, "",
         "File of the certificate of the authority that vouches for identities; all six files are set or none"),
    text(Scope::context, "security_identity_certificate", 0, path_bytes_max, "",
         "File of the certificate that says who this context is"),
    text(Scope::context, "security_private_key", 0, path_bytes_max, "",
         "File of that certificate's private key, without a password"),
    text(Scope::context, "security_permissions_ca", 0, path_bytes_max, "",
         "File of the certificate of the authority that signs the two documents, not that of identities"),
    text(Scope::context, "security_governance", 0, path_bytes_max, "",
         "File of the signed document that says what holds for everybody"),
    text(Scope::context, "security_permissions", 0, path_bytes_max, "",
         "File of the signed document that says what this identity may do"),
    integer(Scope::context, "frame_bytes_max", "bytes", 1 * kib, 60'000, "60000",
            "Messages are sent together up to this size; a larger one goes alone"),
    integer(Scope::context, "flush_gap_us", "us", 0, 1'000'000, "50",
            "A message that follows the last send sooner than this waits for company; 0 sends each at once"),
    choice(Scope::context, "source_order", "token|context", "token",
           "Order is kept among sources of one first topic token, or of all, if their when_full agrees; context is "
           "refused with security"),
    integer(Scope::context, "receive_queue_bytes_max", "bytes", 64 * kib, 64 * gib, "268435456",
            "Received messages that wait for callbacks; what exceeds it is reported as loss"),
    integer(Scope::context, "close_wait_ms", "ms", 0, 60'000, "10000",
            "How long deleting a context waits for acknowledgements of what was sent, and a source for room"),
    integer(Scope::context, "response_window_messages", "", 1, 65'536, "256",
            "Answers to one requester that may be unacknowledged, within 4 MiB; further ones wait or fail"),
    integer(Scope::context, "send_window_bytes", "bytes", 256 * kib, 1 * gib, "4194304",
            "What a stream may have sent without acknowledgement; a message should be far smaller"),
    integer(Scope::context, "fault_transmit_loss_permille", "permille", 0, 1'000, "0",
            "For tests and rehearsals: so many packets are not sent; the engine's repair is to mend it"),
    integer(Scope::context, "fault_drop_permille", "permille", 0, 1'000, "0",
            "For tests and rehearsals: so many frames that have arrived are dropped, which is loss"),
    integer(Scope::context, "fault_double_permille", "permille", 0, 1'000, "0",
            "For tests and rehearsals: so many frames that have arrived are taken twice"),
    integer(Scope::context, "fault_swap_permille", "permille", 0, 1'000, "0",
            "For tests and rehearsals: so many frames that have arrived change places with the next of their stream"),
    integer(Scope::context, "fault_seed", "", 0, 4'294'967'295, "1",
            "For tests and rehearsals: which frames are dropped, doubled and swapped follows from it"),
    choice(Scope::source, "when_full", "block|lose", "block",
           "Whether sends wait (or fail) while receivers do not keep up, or go on and those receivers lose"),
    integer(Scope::receiver, "no_source_ms", "ms", 0, 86'400'000, "0",
            "A topic without a source for so long is told of once, until one comes and goes; 0 tells of none"),
    integer(Scope::wildcard_receiver, "no_source_ms", "ms", 0, 86'400'000, "0", "The same for the topics of a pattern"),
    boolean(Scope::event_queue, "queue_cancellation_callbacks_enabled", "0",
            "Accepted for programs that set it: deleting a receiver always waits for its callback"),
    integer(Scope::event_queue, "queue_bytes_max", "bytes", 64 * kib, 64 * gib, "268435456",
            "Messages that wait for dispatch; what exceeds it is reported as loss"),
});
// clang-format on

/// The text with control characters replaced, so that it cannot break the line it is written to.
std::string printable(std::string_view raw)
{
    std::string line(raw);
    std::replace_if(line.begin(), line.end(), is_control, '?');
    return line;
}

std::optional<std::int64_t> parse_integer(std::string_view digits) noexcept
{
    std::int64_t value = 0;
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, value);
    if (error != std::errc{} || stop != end) {
        return std::nullopt;
    }
    return value;
}

bool is_one_of(std::string_view word, std::string_view choices) noexcept
{
    while (true) {
        const std::size_t bar = choices.find('|');
        if (choices.substr(0, bar) == word) {
            return true;
        }
        if (bar == std::string_view::npos) {
            return false;
        }
        choices.remove_prefix(bar + 1);
    }
}

bool accepts(const OptionSpec& spec, std::string_view value) noexcept
{
    const auto in_range = [&](std::int64_t number) { return spec.min <= number && number <= spec.max; };
    switch (spec.type) {
    case OptionType::integer: {
        const auto number = parse_integer(value);
        return number && in_range(*number);
    }
    case OptionType::boolean:
        return value == "0" || value == "1";
    case OptionType::text:
        return in_range(static_cast<std::int64_t>(value.size())) &&
               std::none_of(value.begin(), value.end(), is_control);
    case OptionType::choice:
        return is_one_of(value, spec.choices);
    }
    return false;
}

[[noreturn]] void refuse(const OptionSpec& spec, std::string_view value)
{
    throw TransportError(LBM_EINVAL, "option \"" + std::string(spec.name) + "\" cannot be \"" + printable(value) +
                                         "\": accepted is " + accepted_values(spec));
}

bool is_number(const OptionSpec& spec) noexcept
{
    return spec.type == OptionType::integer || spec.type == OptionType::boolean;
}

std::string raw_number_as_text(const OptionSpec& spec, const void* value, std::size_t size)
{
    if (size == sizeof(int)) {
        int number = 0;
        std::memcpy(&number, value, size);
        return std::to_string(number);
    }
    if (size == sizeof(std::int64_t)) {
        std::int64_t number = 0;
        std::memcpy(&number, value, size);
        return std::to_string(number);
    }
    throw TransportError(LBM_EINVAL, "option \"" + std::string(spec.name) + "\" is a number of 4 or 8 bytes, not of " +
                                         std::to_string(size));
}

std::string_view raw_text(const void* value, std::size_t size) noexcept
{
    const std::string_view bytes(static_cast<const char*>(value), size);
    return !bytes.empty() && bytes.back() == '\0' ? bytes.substr(0, size - 1) : bytes;
}

constexpr std::size_t reported_max = 1'000; // who reads on after that many lines is not helped by more

/// True the first time in this process. Never destroyed: contexts may be made while static objects are destroyed.
bool first_report(const std::string& what)
{
    static auto& lock = *new std::mutex;
    static auto& reported = *new std::set<std::string>;
    const std::lock_guard guard(lock);
    return reported.size() < reported_max && reported.insert(what).second;
}

} // namespace

std::string_view scope_name(Scope scope) noexcept
{
    switch (scope) {
    case Scope::context:
        return "context";
    case Scope::source:
        return "source";
    case Scope::receiver:
        return "receiver";
    case Scope::wildcard_receiver:
        return "wildcard_receiver";
    case Scope::event_queue:
        return "event_queue";
    }
    return "";
}

std::span<const OptionSpec> option_catalogue() noexcept
{
    return catalogue;
}

const OptionSpec* find_option(Scope scope, std::string_view name) noexcept
{
    const auto* const found = std::find_if(catalogue.begin(), catalogue.end(), [&](const OptionSpec& spec) {
        return spec.scope == scope && spec.name == name;
    });
    return found == catalogue.end() ? nullptr : found;
}

std::string accepted_values(const OptionSpec& spec)
{
    std::string range = std::to_string(spec.min) + " to " + std::to_string(spec.max);
    switch (spec.type) {
    case OptionType::integer:
        return range;
    case OptionType::boolean:
        return "0 or 1";
    case OptionType::text:
        return "a text of " + range + " bytes without control characters";
    case OptionType::choice: {
        std::string words(spec.choices);
        for (std::size_t bar = words.find('|'); bar != std::string::npos; bar = words.find('|', bar)) {
            words.replace(bar, 1, " or ");
        }
        return words;
    }
    }
    return {};
}

const OptionSpec& Options::spec(std::string_view name) const
{
    if (const OptionSpec* const found = find_option(scope_, name)) {
        return *found;
    }
    throw TransportError(LBM_EINVAL,
                         "there is no " + std::string(scope_name(scope_)) + " option \"" + printable(name) + "\"");
}

void Options::set_text(std::string_view name, std::string_view value)
{
    const OptionSpec& known = spec(name);
    if (!accepts(known, value)) {
        refuse(known, value);
    }
    values_.insert_or_assign(std::string(name), std::string(value));
}

void Options::set_raw(std::string_view name, const void* value, std::size_t size)
{
    const OptionSpec& known = spec(name);
    if (is_number(known)) {
        set_text(name, raw_number_as_text(known, value, size));
    } else {
        set_text(name, raw_text(value, size));
    }
}

void Options::set_or_keep(std::string_view name, std::string_view value)
{
    if (find_option(scope_, name) != nullptr) {
        set_text(name, value);
        return;
    }
    values_.insert_or_assign(std::string(name), std::string(value));
    report_unused(std::string(scope_name(scope_)) + " option", name);
}

std::string Options::get_text(std::string_view name) const
{
    const auto chosen = values_.find(name);
    return chosen != values_.end() ? chosen->second : std::string(spec(name).fallback);
}

std::int64_t Options::get_integer(std::string_view name) const
{
    const auto value = parse_integer(get_text(name));
    if (!value) {
        throw TransportError(LBM_EINVAL, "option \"" + printable(name) + "\" is not a number");
    }
    return *value;
}

bool Options::get_boolean(std::string_view name) const
{
    return get_integer(name) != 0;
}

void Options::get_raw(std::string_view name, void* value, std::size_t& size) const
{
    const OptionSpec* const known = find_option(scope_, name);
    if (known == nullptr || !is_number(*known)) {
        copy_text(name, static_cast<char*>(value), size);
        return;
    }
    const std::int64_t number = get_integer(name);
    if (size == sizeof number) {
        std::memcpy(value, &number, size);
    } else if (size == sizeof(int) && INT_MIN <= number && number <= INT_MAX) {
        const int narrow = static_cast<int>(number);
        std::memcpy(value, &narrow, size);
    } else {
        throw TransportError(LBM_EINVAL, "option \"" + std::string(name) + "\" is " + std::to_string(number) +
                                             " and needs a buffer of " + (number > INT_MAX ? "8" : "4 or 8") +
                                             " bytes, not of " + std::to_string(size));
    }
}

void Options::copy_text(std::string_view name, char* buffer, std::size_t& size) const
{
    const std::string value = get_text(name);
    if (size <= value.size()) {
        throw TransportError(LBM_EINVAL, "option \"" + printable(name) + "\" needs a buffer of " +
                                             std::to_string(value.size() + 1) + " bytes, not of " +
                                             std::to_string(size));
    }
    std::memcpy(buffer, value.c_str(), value.size() + 1);
    size = value.size();
}

void Options::fill_from(const Options& defaults)
{
    values_.insert(defaults.values_.begin(), defaults.values_.end());
}

void report_unused(std::string_view kind, std::string_view name)
{
    const std::string what = printable(kind) + " \"" + printable(name) + "\"";
    if (first_report(what)) {
        std::fprintf(stderr, "lbm: the transport does not use the %s\n", what.c_str());
    }
}

} // namespace qx::transport
