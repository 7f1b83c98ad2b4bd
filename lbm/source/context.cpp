#include <lbm/context.h>

#include <iostream>
#include <utility>

#include "calls.h"
#include "catalogue.h"

namespace lbm {

template <>
void details::Close<lbm_context_t>::operator()(lbm_context_t* handle) const noexcept
{
    lbm_context_delete(handle);
}

Context::Context()
    : Context(ContextAttributes())
{
}

Context::Context(const String& name)
    : Context(ContextAttributes(name))
{
}

Context::Context(const ContextAttributes& attributes)
    : m_ctx(details::Open<lbm_context_t>(details::failure::createContext, [&](lbm_context_t** ctx) {
        return lbm_context_create(ctx, attributes, nullptr, nullptr);
    }))
{
    ReadContextName();
    LBM_LOG(QXLOG_INFO_SEARCH, line::contextCreated)
        << "Created LBM context=" << m_ctx.get() << " with attributes context_name=" << m_contextName;
    // TRIAGE REGISTRATION connects here, as the last step: whatever escapes it lets the members above go, the transport
    // context included. The destructor then unregisters before it deletes, and a move hands the registration over.
}

Context& Context::operator=(Context&& other) noexcept
{
    Context taken(std::move(other));
    std::swap(m_ctx, taken.m_ctx);
    std::swap(m_contextName, taken.m_contextName);
    return *this;
}

Context::~Context()
{
    PrintDestruction();
    m_ctx.reset();
}

/// An output that was told to throw must not keep the context from being deleted, nor end the process.
void Context::PrintDestruction() const noexcept
{
    try {
        std::cout << "Destroying LBM context=" << m_ctx.get() << " context_name=" << m_contextName << std::endl;
    } catch (...) {
        return;
    }
}

int Context::Poll(unsigned long timeoutMs)
{
    return details::Check(lbm_context_process_events(m_ctx.get(), timeoutMs), details::failure::pollContext);
}

int Context::Unblock()
{
    return details::Check(lbm_context_unblock(m_ctx.get()), details::failure::unblockContext);
}

String Context::GetStrOpt(const char* name) const
{
    return details::ReadText(details::failure::getContextOption, [&](char* value, std::size_t* length) {
        return lbm_context_str_getopt(m_ctx.get(), name, value, length);
    });
}

/// A context works without its name; it just cannot be picked by it.
void Context::ReadContextName()
{
    try {
        m_contextName = GetStrOpt(details::option::contextName);
    } catch (const LbmError& error) {
        LBM_LOG(QXLOG_WARNING, line::contextNameUnread) << "Failed to get context name from context " << error.what();
    }
}

} // namespace lbm
