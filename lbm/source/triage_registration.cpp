// The triage handler's contexts: which there are, which of them carries the receivers, and switching their NAKs.
#include <algorithm>
#include <cctype>
#include <utility>

#include <lbm/context.h>

#include "triage_log.h"

namespace lbm {
namespace {

constexpr const char* topicPrefixVariable = "LBM_TRIAGE_HANDLER_TOPIC_PREFIX";
constexpr const char* everyContext = "ALL"; // in exactly this spelling

/// As statements show it.
const lbm_context_t* HandleOf(const Context& context) noexcept
{
    return context;
}

bool IsSelected(const String& name, const String& selector)
{
    if (selector.empty()) {
        return name.empty();
    }
    return details::ToUpper(name).find(details::ToUpper(selector)) != String::npos;
}

void SwitchNaks(Context& context, bool enable)
{
    // The results do not matter: each context has logged its own failure, and the others are switched all the same.
    static_cast<void>(enable ? context.EnableNAKs() : context.DisableNAKs());
}

template <class Map>
auto FindContext(Map& map, const Context* context)
{
    return std::find_if(map.begin(), map.end(), [&](const auto& entry) { return entry.second == context; });
}

} // namespace

String details::ToUpper(String text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

void LbmTriageHandler::registerContext(const String& contextName, Context* context)
{
    if (m_disableTriageHandler) {
        return;
    }
    TRIAGE_LOG_AT(QXLOG_INFO_SEARCH, triage_line::registering)
        << "registering context=" << HandleOf(*context) << " with context_name=" << contextName;
    // Contexts with a name never carry the receivers: they belong to somebody, who does not expect foreign callbacks.
    if (contextName.empty()) {
        const std::lock_guard lock(m_receiversLock);
        if (m_triageReceiversContextPtr == nullptr) {
            CreateReceivers(contextName, *context);
        }
    }
    const std::lock_guard lock(m_contextMapLock);
    m_contextMap.emplace(contextName, context);
}

/// Receivers that exist when a later step fails stay, until the next attempt replaces them.
void LbmTriageHandler::CreateReceivers(const String& contextName, Context& context)
{
    try {
        const String topic = getEnvVar(topicPrefixVariable) + "TRIAGE.ACTION." + m_chefEnvironment + ".LBM";
        const ReceiverTopic envTopic(context, topic, ReceiverTopicAttributes());
        const ReceiverTopic envDcTopic(context, topic + "." + m_dataCenter, ReceiverTopicAttributes());

        m_triageEnvReceiver = CreateReceiver(context, envTopic);
        TRIAGE_LOG_AT(QXLOG_INFO_SEARCH, triage_line::createdEnvReceiver)
            << "created triage_handler receiver topic=" << envTopic.GetString() << " on context=" << HandleOf(context)
            << " with context_name=" << contextName;
        m_triageEnvDcReceiver = CreateReceiver(context, envDcTopic);
        TRIAGE_LOG_AT(QXLOG_INFO_SEARCH, triage_line::createdEnvDcReceiver)
            << "created triage_handler receiver topic=" << envDcTopic.GetString() << " on context=" << HandleOf(context)
            << " with context_name=" << contextName;
        m_triageReceiversContextPtr = &context;
    } catch (const std::exception& error) {
        TRIAGE_LOG_AT(QXLOG_ERROR, triage_line::receiversNotCreated)
            << "failed to create triage receivers on context=" << HandleOf(context) << " exception=" << error.what();
    }
}

std::shared_ptr<Receiver> LbmTriageHandler::CreateReceiver(Context& context, const ReceiverTopic& topic)
{
    return std::make_shared<Receiver>(
        context, topic, [this](const Message& msg) { handleLbmMessage(msg); }, m_eventQueuePtr.get());
}

void LbmTriageHandler::unregisterContext(Context* context)
{
    if (m_disableTriageHandler) {
        return;
    }
    // No lock, on purpose: destroying a receiver waits for its callback, and nothing may be held meanwhile that another
    // context's construction needs.
    if (m_triageReceiversContextPtr == context) {
        DestroyReceivers(*context);
    }
    const std::lock_guard lock(m_contextMapLock);
    if (const auto found = FindContext(m_contextMap, context); found != m_contextMap.end()) {
        TRIAGE_LOG_AT(QXLOG_INFO_SEARCH, triage_line::unregistering)
            << "unregistering context=" << HandleOf(*context) << " with name=" << found->first;
        m_contextMap.erase(found);
    }
}

void LbmTriageHandler::DestroyReceivers(Context& context)
{
    TRIAGE_LOG_AT(QXLOG_INFO_SEARCH, triage_line::destroyingReceivers)
        << "destroying triage_handler receivers that were created on context=" << HandleOf(context)
        << " because this context is being destroyed";
    m_triageEnvReceiver.reset();
    m_triageEnvDcReceiver.reset();
    m_triageReceiversContextPtr = nullptr; // last: from here on another context may make new ones
}

void LbmTriageHandler::moveContext(Context* from, Context* to)
{
    {
        const std::lock_guard lock(m_receiversLock);
        if (m_triageReceiversContextPtr == from) {
            m_triageReceiversContextPtr = to;
        }
    }
    const std::lock_guard lock(m_contextMapLock);
    if (const auto found = FindContext(m_contextMap, from); found != m_contextMap.end()) {
        found->second = to;
    }
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): by value is how it is known
void LbmTriageHandler::toggleNaks(bool enable, String contextName)
{
    TRIAGE_LOG(QXLOG_INFO_SEARCH) << "begin toggling NAKs for contexts matching " << contextName
                                  << " enable_naks=" << enable;
    const std::lock_guard lock(m_contextMapLock);
    for (const auto& [name, context] : m_contextMap) {
        if (contextName == everyContext || IsSelected(name, contextName)) {
            SwitchNaks(*context, enable);
        }
    }
    TRIAGE_LOG(QXLOG_INFO_SEARCH) << "end toggling NAKs for contexts matching " << contextName
                                  << " enable_naks=" << enable;
}

} // namespace lbm
