/// Stream-style log statements.
///
/// A statement is written with one of the macros at the end of this file:
///
///     QX_LOG(QXLOG_INFO) << "Subscribing for market_id=" << marketId;
///
/// The process-wide minimum level is tested first: a suppressed statement costs one integer comparison and evaluates
/// none of its operands. Otherwise a temporary `Logger` collects the text in the calling thread's stream and its
/// destructor, at the end of the full expression, hands the text to the back end.
///
/// Threads   statements of different threads never share a buffer. Statements of one thread must not nest: an operand
///           that itself logs would write into the same buffer.
/// Errors    a null `const char*` operand sets the stream's error state, as on any standard stream, and nothing resets
///           it: every later statement of that thread delivers an empty text. Test pointers before streaming them.
/// Formats   flags, precision and width are back to what they were when a statement ends. The fill character, the
/// locale
///           and the exception mask are not: as they are set, they stay for the thread's later statements.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <ostream>
#include <sstream>
#include <string>
#include <utility>

#include <boost/io/ios_state.hpp>

namespace qx::logging {

using String = std::string;
using IPString = std::string;
using IPStringStream = std::stringstream;

/// The numbers are on the wire of log back ends: they never change.
enum LogLevel : std::int32_t {
    QXLOG_DEBUG = 0,
    QXLOG_INFO = 10,
    QXLOG_INFO_LOCAL = 14,
    QXLOG_INFO_SEARCH = 17,
    QXLOG_WARNING = 20,
    QXLOG_ERROR = 30,
    QXLOG_ALERT = 35,
    QXLOG_CRITICAL = 40,
    QXLOG_WALL = 100,
};

/// How a reader of the log is to decode a statement's text.
enum DecodeType : std::int32_t {
    QXLOG_DECODE_AS_NONE = 0,
    QXLOG_DECODE_AS_KV = 1,
    QXLOG_DECODE_AS_JSON = 2,
    QXLOG_DECODE_AS_MIXED = 3,
    QXLOG_DECODE_AS_PB = 4,
};

class Source;
using ConstSourcePtr = std::shared_ptr<const Source>;
using SourcePtr = std::shared_ptr<Source>;

/// A named origin of log lines, immutable and shared once made. Safe to read from any thread.
class Source {
public:
    explicit Source(const char* name, ConstSourcePtr parent = {})
        : m_name(name)
        , m_parent(std::move(parent))
    {
    }
    explicit Source(IPString name, ConstSourcePtr parent = {})
        : m_name(std::move(name))
        , m_parent(std::move(parent))
    {
    }

    const IPString& Name() const noexcept { return m_name; }
    const ConstSourcePtr& Parent() const noexcept { return m_parent; }

    /// The chain the other way round, for writing it from the outside in: the result is named after the outermost
    /// parent and its parents lead down to this source. This source itself is not changed.
    ConstSourcePtr Reverse() const
    {
        ConstSourcePtr reversed = std::make_shared<const Source>(m_name);
        for (const Source* s = m_parent.get(); s != nullptr; s = s->m_parent.get()) {
            reversed = std::make_shared<const Source>(s->m_name, std::move(reversed));
        }
        return reversed;
    }

private:
    IPString m_name;
    ConstSourcePtr m_parent;
};

/// Makes a source from its constructor's arguments; counter and object share one allocation.
template <class... Args>
SourcePtr MakeSource(Args&&... args)
{
    return std::make_shared<Source>(std::forward<Args>(args)...);
}

/// One finished statement, as back ends pass it around. It borrows: `source` and `msg` must outlive it.
/// `function` is for back ends that take a text late; the one of this tree is always given it and reads `msg` alone.
struct LogRecord {
    struct Time {
        std::int64_t seconds;     ///< since 1970-01-01 UTC
        std::int64_t nanoseconds; ///< within the second
    };

    LogLevel level;
    std::uint32_t id;
    DecodeType decodeType;
    const ConstSourcePtr& source; ///< empty when the statement names none
    const char* file;
    std::int32_t line;
    const IPString& msg;
    Time logTime;
    std::size_t threadId;
    std::function<void(IPStringStream&)> function; ///< writes the text on demand; may be empty
};

// ---- What a back end must define -----------------------------------------------------------------------------------

/// The lowest level that is written. Read before each statement, on any thread.
extern std::atomic<std::int32_t> g_minLogLevel;
// A back end that was built apart may define it as a plain 32-bit integer.
static_assert(sizeof(g_minLogLevel) == sizeof(std::int32_t) && std::atomic<std::int32_t>::is_always_lock_free);

/// Writes one line. `text` is exact: it may hold any byte, control characters and NUL included.
/// `file` is borrowed for the program's life; `handlerName` is empty or names the one handler to write to.
void LogMessage(LogLevel level, unsigned id, DecodeType decodeType, const ConstSourcePtr& source, const char* file,
                int line, const String& text, const String& handlerName);

/// Called at the start of every statement's emission, before the text is taken.
void ForceLockHandlers();

/// The calling thread's stream: made on the thread's first statement, gone at the thread's exit. A static object may
/// still log while the process exits, when the main thread's own objects are gone: the stream is usable even then.
IPStringStream& GetThreadLocalStream();

// ---- One statement -------------------------------------------------------------------------------------------------

/// One log statement, emitted by its destructor. A failure while copying the text ends the process: the destructor
/// lets no exception out.
class Logger {
public:
    /// `file` is kept by pointer, never copied: give a literal.
    Logger(LogLevel level, unsigned id, DecodeType decodeType, const ConstSourcePtr& source, const char* file, int line,
           const String& handlerName);
    /// A copy shares the stream and emits as well: the first of the two to end delivers the text, the other an empty
    /// one.
    Logger(const Logger& other);
    Logger& operator=(const Logger&) = delete;
    virtual ~Logger();

    std::ostream& Stream() noexcept { return m_stream; }

private:
    LogLevel m_level;
    std::uint32_t m_id;
    DecodeType m_decodeType;
    const char* m_filename;
    std::int32_t m_lineNumber;
    ConstSourcePtr m_source;
    IPStringStream& m_stream;
    boost::io::ios_base_all_saver m_saver;
    const String m_handlerName;
};

/// Turns a streamed statement into an expression of no value, so that it can stand in a conditional expression.
/// `&` binds looser than `<<` and tighter than `?:`.
class VoidifyStream {
public:
    void operator&(std::ostream&) const noexcept {}
};

} // namespace qx::logging

// ---- The statements ------------------------------------------------------------------------------------------------

/// A statement with everything given. The operands streamed into it are evaluated only when the level is admitted.
// NOLINTBEGIN(bugprone-macro-parentheses): the operands are streamed into the end of it
#define QX_LOG_FULL(level, id, source, file, line)                                                                     \
    (::qx::logging::g_minLogLevel.load(std::memory_order_relaxed) > ::qx::logging::level)                              \
        ? static_cast<void>(0)                                                                                         \
        : ::qx::logging::VoidifyStream{} & ::qx::logging::Logger(::qx::logging::level, (id),                           \
                                                                 ::qx::logging::QXLOG_DECODE_AS_KV, (source), (file),  \
                                                                 (line), ::qx::logging::String{})                      \
                                               .Stream()
// NOLINTEND(bugprone-macro-parentheses)

/// An ordinary statement: id 0, no source, the place where it stands. `level` is the bare name, e.g. QXLOG_INFO.
#define QX_LOG(level) QX_LOG_FULL(level, 0, ::qx::logging::ConstSourcePtr{}, __FILE__, __LINE__)

/// A statement with a message id.
#define QX_LOG_ID(level, id) QX_LOG_FULL(level, id, ::qx::logging::ConstSourcePtr{}, __FILE__, __LINE__)

/// A statement whose source, file and line are given: for statements that operators know by a fixed place.
#define QX_LOG_AT(level, source, file, line) QX_LOG_FULL(level, 0, source, file, line)
