/// Owners of the transport's attribute sets, from which contexts, receivers and event queues are made.
///
/// Errors    making, copying and setting throw LbmError; a failing deletion is logged.
/// Threads   one holder belongs to one thread at a time.
/// Lifetime  whatever is made from a holder keeps nothing of it: a holder may go as soon as the constructor that was
///           given it has returned. A moved-from holder has a null handle, and so has a copy of one.
#pragma once

#include <cstddef>
#include <type_traits>

#include <lbm/error.h>
#include <lbm/handle.h>

namespace lbm {
namespace details {

/// What the four holders have in common; T is the transport's attribute type.
template <class T>
class AttributeHolder {
public:
    AttributeHolder(const AttributeHolder& other);
    AttributeHolder& operator=(const AttributeHolder& other);
    AttributeHolder(AttributeHolder&& other) noexcept = default;
    AttributeHolder& operator=(AttributeHolder&& other) noexcept = default;
    virtual ~AttributeHolder() = default;

    operator T*() noexcept { return m_attr.get(); }
    operator const T*() const noexcept { return m_attr.get(); }

    /// Sets an option from its text form.
    void SetString(const char* name, const char* value);

protected:
    AttributeHolder();
    explicit AttributeHolder(Handle<T> attr) noexcept;

private:
    Handle<T> m_attr;
};

extern template class AttributeHolder<lbm_context_attr_t>;
extern template class AttributeHolder<lbm_event_queue_attr_t>;
extern template class AttributeHolder<lbm_rcv_topic_attr_t>;
extern template class AttributeHolder<lbm_wildcard_rcv_attr_t>;

} // namespace details

class ContextAttributes : public details::AttributeHolder<lbm_context_attr_t> {
public:
    /// The transport's defaults.
    ContextAttributes() = default;
    /// As the transport's XML configuration has them for the context of that name.
    explicit ContextAttributes(const String& contextName);

    /// The text form of an option; texts of 1023 bytes and more are a failure.
    String GetString(const char* name) const;
};

class EventQueueAttributes : public details::AttributeHolder<lbm_event_queue_attr_t> {
public:
    /// Sets an option whose value is a T, e.g. an int.
    template <class T>
    void Set(const char* name, const T& value)
    {
        static_assert(std::is_trivially_copyable_v<T>, "the transport copies the bytes of the value");
        SetBytes(name, &value, sizeof value);
    }

private:
    void SetBytes(const char* name, const void* value, std::size_t length);
};

class ReceiverTopicAttributes : public details::AttributeHolder<lbm_rcv_topic_attr_t> {};

class WildcardReceiverAttributes : public details::AttributeHolder<lbm_wildcard_rcv_attr_t> {};

static_assert(sizeof(WildcardReceiverAttributes) == 2 * sizeof(void*), "one handle, and virtual for its destructor");

} // namespace lbm
