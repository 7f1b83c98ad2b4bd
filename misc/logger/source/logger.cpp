#include <logger/logger.h>

namespace qx::logging {

Logger::Logger(LogLevel level, unsigned id, DecodeType decodeType, const ConstSourcePtr& source, const char* file,
               int line, const String& handlerName)
    : m_level(level)
    , m_id(id)
    , m_decodeType(decodeType)
    , m_filename(file)
    , m_lineNumber(line)
    , m_source(source)
    , m_stream(GetThreadLocalStream())
    , m_saver(m_stream)
    , m_handlerName(handlerName)
{
}

Logger::Logger(const Logger& other)
    : Logger(other.m_level, other.m_id, other.m_decodeType, other.m_source, other.m_filename, other.m_lineNumber,
             other.m_handlerName)
{
}

Logger::~Logger()
{
    ForceLockHandlers();
    const String text = m_stream.str();
    LogMessage(m_level, m_id, m_decodeType, m_source, m_filename, m_lineNumber, text, m_handlerName);
    // The buffer only, not the error state: a statement that broke the stream stays visible as empty texts instead of
    // being mended silently by the next one.
    m_stream.str(IPString{});
}

} // namespace qx::logging
