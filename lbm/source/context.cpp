#include <lbm/context.h>

#include <iostream>
#include <utility>

#include <lbm/triage_handler.h>

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
    : m_triageHandler(LbmTriageHandler::getInstance())
{
    m_ctx = details::Open<lbm_context_t>(details::failure::createContext, [&](lbm_context_t** ctx) {
        return lbm_context_create(ctx, attributes, nullptr, nullptr);
    });
    ReadContextName();
    LBM_LOG(QXLOG_INFO_SEARCH, line::contextCreated)
        << "Created LBM context=" << m_ctx.get() << " with attributes context_name=" << m_contextName;
    Register();
}

Context::Context(Context&& other) noexcept
{
    TakeOver(other);
}

Context& Context::operator=(Context&& other) noexcept
{
    if (this != &other) {
        const Context replaced(std::move(*this));
        TakeOver(other);
    }
    return *this;
}

Context::~Context()
{
    PrintDestruction();
    if (m_triageHandler) {
        m_triageHandler->unregisterContext(this);
    }
    m_ctx.reset();
}

/// The handler must not know a context that was never made: what it has done by then is taken back.
void Context::Register()
{
    try {
        m_triageHandler->registerContext(m_contextName, this);
    } catch (...) {
        m_triageHandler->unregisterContext(this);
        throw;
    }
}

/// This context holds nothing.
void Context::TakeOver(Context& other) noexcept
{
    m_ctx = std::move(other.m_ctx);
    m_contextName = std::exchange(other.m_contextName, {});
    m_triageHandler = std::move(other.m_triageHandler);
    if (m_triageHandler) {
        m_triageHandler->moveContext(&other, this);
    }
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

int Context::EnableNAKs()
{
    QX_LOG(QXLOG_ERROR) << "Failed to enable NAKs. This feature is available in LBM versions 6.16.1 and above";
    return LBM_FAILURE;
}

int Context::DisableNAKs()
{
    QX_LOG(QXLOG_ERROR) << "Failed to disable NAKs. This feature is available in LBM versions 6.16.1 and above";
    return LBM_FAILURE;
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
