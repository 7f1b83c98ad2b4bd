#include "attributes.h"

#include <memory>
#include <utility>

#include "error.h"

// The functions of the five kinds of attributes differ in their names only: each hands its own name, for the error
// text, and its arguments to one of these. Results are stored last, so that a failed call leaves the caller's variables
// alone.
namespace {

using qx::transport::guarded;
using qx::transport::require;

template <class Attr>
int create(const char* call, Attr** attr) noexcept
{
    return guarded(call, "", [&] {
        require(attr, "attr");
        *attr = std::make_unique<Attr>().release();
    });
}

template <class Attr>
int duplicate(const char* call, Attr** attr, const Attr* original) noexcept
{
    return guarded(call, "", [&] {
        require(attr, "attr");
        require(original, "original");
        *attr = std::make_unique<Attr>(*original).release();
    });
}

template <class Attr>
int destroy(const char* call, Attr* attr) noexcept
{
    return guarded(call, "", [&] {
        require(attr, "attr");
        delete attr;
    });
}

template <class Attr>
int set_raw(const char* call, Attr* attr, const char* option, const void* value, std::size_t length) noexcept
{
    return guarded(call, option, [&] {
        require(attr, "attr");
        require(option, "option");
        require(value, "value");
        attr->options.set_raw(option, value, length);
    });
}

template <class Attr>
int get_raw(const char* call, const Attr* attr, const char* option, void* value, std::size_t* length) noexcept
{
    return guarded(call, option, [&] {
        require(attr, "attr");
        require(option, "option");
        require(value, "value");
        require(length, "length");
        attr->options.get_raw(option, value, *length);
    });
}

template <class Attr>
int set_text(const char* call, Attr* attr, const char* option, const char* value) noexcept
{
    return guarded(call, option, [&] {
        require(attr, "attr");
        require(option, "option");
        require(value, "value");
        attr->options.set_text(option, value);
    });
}

template <class Attr>
int get_text(const char* call, const Attr* attr, const char* option, char* value, std::size_t* length) noexcept
{
    return guarded(call, option, [&] {
        require(attr, "attr");
        require(option, "option");
        require(value, "value");
        require(length, "length");
        attr->options.copy_text(option, value, *length);
    });
}

} // namespace

// ---- Contexts -----------------------------------------------------------------------------------------------------

int lbm_context_attr_create(lbm_context_attr_t** attr)
{
    return create(__func__, attr);
}

int lbm_context_attr_create_from_xml(lbm_context_attr_t** attr, const char* context_name)
{
    return guarded(__func__, context_name, [&] {
        require(attr, "attr");
        require(context_name, "context_name");
        *attr = std::make_unique<lbm_context_attr>(lbm_context_attr{qx::transport::configured_context(context_name)})
                    .release();
    });
}

int lbm_context_attr_dup(lbm_context_attr_t** attr, const lbm_context_attr_t* original)
{
    return duplicate(__func__, attr, original);
}

int lbm_context_attr_delete(lbm_context_attr_t* attr)
{
    return destroy(__func__, attr);
}

int lbm_context_attr_setopt(lbm_context_attr_t* attr, const char* option, const void* value, size_t length)
{
    return set_raw(__func__, attr, option, value, length);
}

int lbm_context_attr_getopt(const lbm_context_attr_t* attr, const char* option, void* value, size_t* length)
{
    return get_raw(__func__, attr, option, value, length);
}

int lbm_context_attr_str_setopt(lbm_context_attr_t* attr, const char* option, const char* value)
{
    return set_text(__func__, attr, option, value);
}

int lbm_context_attr_str_getopt(const lbm_context_attr_t* attr, const char* option, char* value, size_t* length)
{
    return get_text(__func__, attr, option, value, length);
}

// ---- Sources ------------------------------------------------------------------------------------------------------

int lbm_src_topic_attr_create(lbm_src_topic_attr_t** attr)
{
    return create(__func__, attr);
}

int lbm_src_topic_attr_dup(lbm_src_topic_attr_t** attr, const lbm_src_topic_attr_t* original)
{
    return duplicate(__func__, attr, original);
}

int lbm_src_topic_attr_delete(lbm_src_topic_attr_t* attr)
{
    return destroy(__func__, attr);
}

int lbm_src_topic_attr_setopt(lbm_src_topic_attr_t* attr, const char* option, const void* value, size_t length)
{
    return set_raw(__func__, attr, option, value, length);
}

int lbm_src_topic_attr_getopt(const lbm_src_topic_attr_t* attr, const char* option, void* value, size_t* length)
{
    return get_raw(__func__, attr, option, value, length);
}

int lbm_src_topic_attr_str_setopt(lbm_src_topic_attr_t* attr, const char* option, const char* value)
{
    return set_text(__func__, attr, option, value);
}

int lbm_src_topic_attr_str_getopt(const lbm_src_topic_attr_t* attr, const char* option, char* value, size_t* length)
{
    return get_text(__func__, attr, option, value, length);
}

// ---- Receivers ----------------------------------------------------------------------------------------------------

int lbm_rcv_topic_attr_create(lbm_rcv_topic_attr_t** attr)
{
    return create(__func__, attr);
}

int lbm_rcv_topic_attr_dup(lbm_rcv_topic_attr_t** attr, const lbm_rcv_topic_attr_t* original)
{
    return duplicate(__func__, attr, original);
}

int lbm_rcv_topic_attr_delete(lbm_rcv_topic_attr_t* attr)
{
    return destroy(__func__, attr);
}

int lbm_rcv_topic_attr_setopt(lbm_rcv_topic_attr_t* attr, const char* option, const void* value, size_t length)
{
    return set_raw(__func__, attr, option, value, length);
}

int lbm_rcv_topic_attr_getopt(const lbm_rcv_topic_attr_t* attr, const char* option, void* value, size_t* length)
{
    return get_raw(__func__, attr, option, value, length);
}

int lbm_rcv_topic_attr_str_setopt(lbm_rcv_topic_attr_t* attr, const char* option, const char* value)
{
    return set_text(__func__, attr, option, value);
}

int lbm_rcv_topic_attr_str_getopt(const lbm_rcv_topic_attr_t* attr, const char* option, char* value, size_t* length)
{
    return get_text(__func__, attr, option, value, length);
}

// ---- Wildcard receivers -------------------------------------------------------------------------------------------

int lbm_wildcard_rcv_attr_create(lbm_wildcard_rcv_attr_t** attr)
{
    return create(__func__, attr);
}

int lbm_wildcard_rcv_attr_dup(lbm_wildcard_rcv_attr_t** attr, const lbm_wildcard_rcv_attr_t* original)
{
    return duplicate(__func__, attr, original);
}

int lbm_wildcard_rcv_attr_delete(lbm_wildcard_rcv_attr_t* attr)
{
    return destroy(__func__, attr);
}

int lbm_wildcard_rcv_attr_setopt(lbm_wildcard_rcv_attr_t* attr, const char* option, const void* value, size_t length)
{
    return set_raw(__func__, attr, option, value, length);
}

int lbm_wildcard_rcv_attr_getopt(const lbm_wildcard_rcv_attr_t* attr, const char* option, void* value, size_t* length)
{
    return get_raw(__func__, attr, option, value, length);
}

int lbm_wildcard_rcv_attr_str_setopt(lbm_wildcard_rcv_attr_t* attr, const char* option, const char* value)
{
    return set_text(__func__, attr, option, value);
}

int lbm_wildcard_rcv_attr_str_getopt(const lbm_wildcard_rcv_attr_t* attr, const char* option, char* value,
                                     size_t* length)
{
    return get_text(__func__, attr, option, value, length);
}

// ---- Event queues -------------------------------------------------------------------------------------------------

int lbm_event_queue_attr_create(lbm_event_queue_attr_t** attr)
{
    return create(__func__, attr);
}

int lbm_event_queue_attr_dup(lbm_event_queue_attr_t** attr, const lbm_event_queue_attr_t* original)
{
    return duplicate(__func__, attr, original);
}

int lbm_event_queue_attr_delete(lbm_event_queue_attr_t* attr)
{
    return destroy(__func__, attr);
}

int lbm_event_queue_attr_setopt(lbm_event_queue_attr_t* attr, const char* option, const void* value, size_t length)
{
    return set_raw(__func__, attr, option, value, length);
}

int lbm_event_queue_attr_getopt(const lbm_event_queue_attr_t* attr, const char* option, void* value, size_t* length)
{
    return get_raw(__func__, attr, option, value, length);
}

int lbm_event_queue_attr_str_setopt(lbm_event_queue_attr_t* attr, const char* option, const char* value)
{
    return set_text(__func__, attr, option, value);
}

int lbm_event_queue_attr_str_getopt(const lbm_event_queue_attr_t* attr, const char* option, char* value, size_t* length)
{
    return get_text(__func__, attr, option, value, length);
}
