/// The transport's options: one catalogue of what exists, and the values chosen for one object.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>

namespace qx::transport {

/// What an option belongs to. The names in XML are those of `scope_name`.
enum class Scope { context, source, receiver, wildcard_receiver, event_queue };

std::string_view scope_name(Scope scope) noexcept;

/// integer   decimal text; raw form int or std::int64_t, told apart by size
/// boolean   "0" or "1"; raw form int or std::int64_t
/// text      raw form the bytes, with or without a final NUL
/// choice    one of the words in `choices`; raw form as text
enum class OptionType { integer, boolean, text, choice };

struct OptionSpec {
    Scope scope;
    std::string_view name;
    OptionType type;
    std::string_view unit;     ///< of integers; "" when it is a number or no integer
    std::int64_t min;          ///< of integers the value, of texts the length in bytes
    std::int64_t max;          ///< as `min`, inclusive
    std::string_view choices;  ///< of a choice: the words, separated by '|'
    std::string_view fallback; ///< the value when nobody sets one, as text
    std::string_view about;    ///< one line for people
};

/// Every option there is. Adding one is one line in options.cpp.
std::span<const OptionSpec> option_catalogue() noexcept;

/// Null when the scope has no such option.
const OptionSpec* find_option(Scope scope, std::string_view name) noexcept;

/// What is accepted, for people: "0 to 230", "0 or 1", "a text of 1 to 64 bytes", "block or lose".
std::string accepted_values(const OptionSpec& spec);

/// The values of one object's options; what nobody set has the catalogue's default.
/// Errors    TransportError (LBM_EINVAL) for an option that does not exist and for a value that is not accepted; the
///           text names option, value and what is accepted. A failed call changes nothing.
/// Threads   as a standard container.
class Options {
public:
    explicit Options(Scope scope)
        : scope_(scope)
    {
    }

    bool operator==(const Options&) const = default;

    Scope scope() const noexcept { return scope_; }

    void set_text(std::string_view name, std::string_view value);
    void set_raw(std::string_view name, const void* value, std::size_t size);

    /// Keeps a value under a name that the transport does not know, so that it can be read back, and reports the name
    /// once per process on standard error. A known name is set as by `set_text`.
    void set_or_keep(std::string_view name, std::string_view value);

    /// Any option's value as text.
    std::string get_text(std::string_view name) const;
    std::int64_t get_integer(std::string_view name) const;
    bool get_boolean(std::string_view name) const;

    /// Writes the value in its raw form. `size` gives the buffer's size and receives the value's; for texts both forms
    /// of getting agree: a NUL is written and not counted. A buffer of the wrong size is left alone.
    void get_raw(std::string_view name, void* value, std::size_t& size) const;
    void copy_text(std::string_view name, char* buffer, std::size_t& size) const;

    /// Whether somebody chose a value, be it the default's.
    bool is_set(std::string_view name) const { return values_.find(name) != values_.end(); }

    /// Takes over what was chosen in `defaults` and not here. Both have the same scope.
    void fill_from(const Options& defaults);

private:
    const OptionSpec& spec(std::string_view name) const;

    Scope scope_;
    std::map<std::string, std::string, std::less<>> values_; ///< what was chosen, as text
};

/// Says once per process, on standard error, that something in a configuration has no effect. The transport knows no
/// logger: it lies below it.
void report_unused(std::string_view kind, std::string_view name);

} // namespace qx::transport
