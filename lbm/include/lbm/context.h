/// The transport's unit of threads, sockets and configuration.
#pragma once

#include <memory>

#include <lbm/attributes.h>
#include <lbm/error.h>
#include <lbm/handle.h>
#include <lbm/triage_source.h> // for the order of static objects: see there

namespace lbm {

class LbmTriageHandler;

/// Owns one transport context, which is registered with the process's triage handler (triage_handler.h) as long as it
/// lives. The first context of a process makes that handler, and what goes wrong with it comes out of the constructor.
///
/// Errors    constructors and operations throw LbmError; a name that cannot be read only costs the name. Destruction
///           reports nothing, and its line is lost when standard output refuses it.
/// Threads   several may be made, moved and destroyed at the same time, each on one thread at a time, but none is
///           destroyed in a callback of its own; its operations may be called from any.
/// Lifetime  receivers and topics made on a context must be gone before it. A moved-from context has no handle and no
///           name, and can only be assigned to or destroyed; its destruction prints its line all the same, with
///           "context=0 context_name=".
class Context {
public:
    /// From the transport's default attributes.
    Context();
    /// From the attributes that the transport's XML configuration has for the context of that name.
    explicit Context(const String& name);
    explicit Context(const ContextAttributes& attributes);

    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;
    /// The registration follows. A lock that fails then ends the process.
    Context(Context&& other) noexcept;
    /// What the target held is destroyed as any context is, with its line on standard output.
    Context& operator=(Context&& other) noexcept;

    /// Writes one line to standard output, whatever the log level: the last trace of a context in a process's output
    /// must not depend on a logger that may be gone or silent by then.
    virtual ~Context();

    operator lbm_context_t*() noexcept { return m_ctx.get(); }
    operator const lbm_context_t*() const noexcept { return m_ctx.get(); }

    /// Waits for at most that time or until unblocked, for programs written for sequential operation.
    int Poll(unsigned long timeoutMs);
    /// Ends one running Poll, or the next.
    int Unblock();

    /// Both leave the context alone, log that the transport's version has no such switch, and return -1.
    int EnableNAKs();
    int DisableNAKs();

    /// The text form of an option; texts of 1023 bytes and more are a failure.
    String GetStrOpt(const char* name) const;

private:
    void ReadContextName();
    void PrintDestruction() const noexcept;
    void Register();
    void TakeOver(Context& other) noexcept;

    details::Handle<lbm_context_t> m_ctx;
    String m_contextName;                              ///< the option "context_name"; empty when it could not be read
    std::shared_ptr<LbmTriageHandler> m_triageHandler; ///< null in a moved-from context
};

} // namespace lbm
