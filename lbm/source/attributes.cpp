#include <lbm/attributes.h>

#include "calls.h"
#include "catalogue.h"

namespace lbm {
namespace details {
namespace {

/// The transport's functions for one kind of attributes, and what to say when they fail.
template <class T>
struct Calls;

template <>
struct Calls<lbm_context_attr_t> {
    static constexpr auto create = lbm_context_attr_create;
    static constexpr auto duplicate = lbm_context_attr_dup;
    static constexpr auto destroy = lbm_context_attr_delete;
    static constexpr auto setString = lbm_context_attr_str_setopt;
    static constexpr auto createFailure = failure::createContextAttributes;
    static constexpr auto duplicateFailure = failure::duplicateContextAttributes;
    static constexpr auto destroyFailure = failure::deleteContextAttributes;
    static constexpr auto setStringFailure = failure::setContextAttribute;
};

template <>
struct Calls<lbm_event_queue_attr_t> {
    static constexpr auto create = lbm_event_queue_attr_create;
    static constexpr auto duplicate = lbm_event_queue_attr_dup;
    static constexpr auto destroy = lbm_event_queue_attr_delete;
    static constexpr auto setString = lbm_event_queue_attr_str_setopt;
    static constexpr auto createFailure = failure::createEventQueueAttributes;
    static constexpr auto duplicateFailure = failure::duplicateEventQueueAttributes;
    static constexpr auto destroyFailure = failure::deleteEventQueueAttributes;
    static constexpr auto setStringFailure = failure::setEventQueueAttribute;
};

template <>
struct Calls<lbm_rcv_topic_attr_t> {
    static constexpr auto create = lbm_rcv_topic_attr_create;
    static constexpr auto duplicate = lbm_rcv_topic_attr_dup;
    static constexpr auto destroy = lbm_rcv_topic_attr_delete;
    static constexpr auto setString = lbm_rcv_topic_attr_str_setopt;
    static constexpr auto createFailure = failure::createReceiverTopicAttributes;
    static constexpr auto duplicateFailure = failure::duplicateReceiverTopicAttributes;
    static constexpr auto destroyFailure = failure::deleteReceiverTopicAttributes;
    static constexpr auto setStringFailure = failure::setReceiverTopicAttribute;
};

template <>
struct Calls<lbm_wildcard_rcv_attr_t> {
    static constexpr auto create = lbm_wildcard_rcv_attr_create;
    static constexpr auto duplicate = lbm_wildcard_rcv_attr_dup;
    static constexpr auto destroy = lbm_wildcard_rcv_attr_delete;
    static constexpr auto setString = lbm_wildcard_rcv_attr_str_setopt;
    static constexpr auto createFailure = failure::createWildcardReceiverAttributes;
    static constexpr auto duplicateFailure = failure::duplicateWildcardReceiverAttributes;
    static constexpr auto destroyFailure = failure::deleteWildcardReceiverAttributes;
    static constexpr auto setStringFailure = failure::setWildcardReceiverAttribute;
};

template <class T>
void DeleteOrLog(T* attr) noexcept
{
    if (Calls<T>::destroy(attr) == LBM_FAILURE) {
        LogLbmError(Calls<T>::destroyFailure);
    }
}

template <class T>
Handle<T> Duplicate(const T* original)
{
    if (original == nullptr) {
        return {};
    }
    return Open<T>(Calls<T>::duplicateFailure, [&](T** copy) { return Calls<T>::duplicate(copy, original); });
}

} // namespace

template <>
void Close<lbm_context_attr_t>::operator()(lbm_context_attr_t* handle) const noexcept
{
    DeleteOrLog(handle);
}

template <>
void Close<lbm_event_queue_attr_t>::operator()(lbm_event_queue_attr_t* handle) const noexcept
{
    DeleteOrLog(handle);
}

template <>
void Close<lbm_rcv_topic_attr_t>::operator()(lbm_rcv_topic_attr_t* handle) const noexcept
{
    DeleteOrLog(handle);
}

template <>
void Close<lbm_wildcard_rcv_attr_t>::operator()(lbm_wildcard_rcv_attr_t* handle) const noexcept
{
    DeleteOrLog(handle);
}

template <class T>
AttributeHolder<T>::AttributeHolder()
    : m_attr(Open<T>(Calls<T>::createFailure, Calls<T>::create))
{
}

template <class T>
AttributeHolder<T>::AttributeHolder(Handle<T> attr) noexcept
    : m_attr(std::move(attr))
{
}

template <class T>
AttributeHolder<T>::AttributeHolder(const AttributeHolder& other)
    : m_attr(Duplicate<T>(other.m_attr.get()))
{
}

template <class T>
AttributeHolder<T>& AttributeHolder<T>::operator=(const AttributeHolder& other)
{
    m_attr = Duplicate<T>(other.m_attr.get());
    return *this;
}

template <class T>
void AttributeHolder<T>::SetString(const char* name, const char* value)
{
    Check(Calls<T>::setString(m_attr.get(), name, value), Calls<T>::setStringFailure);
}

template class AttributeHolder<lbm_context_attr_t>;
template class AttributeHolder<lbm_event_queue_attr_t>;
template class AttributeHolder<lbm_rcv_topic_attr_t>;
template class AttributeHolder<lbm_wildcard_rcv_attr_t>;

} // namespace details

ContextAttributes::ContextAttributes(const String& contextName)
    : AttributeHolder(
          details::Open<lbm_context_attr_t>(details::failure::createContextAttributes, [&](lbm_context_attr_t** attr) {
              return lbm_context_attr_create_from_xml(attr, contextName.c_str());
          }))
{
}

String ContextAttributes::GetString(const char* name) const
{
    return details::ReadText(details::failure::getContextAttribute, [&](char* value, std::size_t* length) {
        return lbm_context_attr_str_getopt(*this, name, value, length);
    });
}

void EventQueueAttributes::SetBytes(const char* name, const void* value, std::size_t length)
{
    details::Check(lbm_event_queue_attr_setopt(*this, name, value, length),
                   details::failure::setEventQueueAttributeBytes);
}

} // namespace lbm
