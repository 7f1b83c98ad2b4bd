/// The one owner of every transport handle: a std::unique_ptr whose deleter knows, from the handle's type, how it is
/// given back. The wrapper classes are thin: a Handle and the operations on it.
#pragma once

#include <memory>

#include <lbm/lbm.h>

namespace lbm::details {

/// Gives a handle back to the transport; defined for the types below only, each next to the class that owns it.
template <class T>
struct Close {
    void operator()(T* handle) const noexcept;
};

/// Attribute sets: a failure is logged.
template <>
void Close<lbm_context_attr_t>::operator()(lbm_context_attr_t* handle) const noexcept;
template <>
void Close<lbm_event_queue_attr_t>::operator()(lbm_event_queue_attr_t* handle) const noexcept;
template <>
void Close<lbm_rcv_topic_attr_t>::operator()(lbm_rcv_topic_attr_t* handle) const noexcept;
template <>
void Close<lbm_wildcard_rcv_attr_t>::operator()(lbm_wildcard_rcv_attr_t* handle) const noexcept;
/// The others: the result is ignored, there is nobody left who could act on it.
template <>
void Close<lbm_context_t>::operator()(lbm_context_t* handle) const noexcept;
template <>
void Close<lbm_event_queue_t>::operator()(lbm_event_queue_t* handle) const noexcept;
template <>
void Close<lbm_rcv_t>::operator()(lbm_rcv_t* handle) const noexcept;
template <>
void Close<lbm_wildcard_rcv_t>::operator()(lbm_wildcard_rcv_t* handle) const noexcept;
/// One reference of a message.
template <>
void Close<lbm_msg_t>::operator()(lbm_msg_t* handle) const noexcept;

template <class T>
using Handle = std::unique_ptr<T, Close<T>>;

static_assert(sizeof(Handle<lbm_context_t>) == sizeof(lbm_context_t*), "ownership costs nothing");

} // namespace lbm::details
