// The five families of attribute functions, which differ in their names only.
#include "tests/doubles/lbm_double/state.h"

using namespace qx::test::details;

namespace {

const auto unprepared = [](auto&) {};

} // namespace

extern "C" {

// NOLINTBEGIN(bugprone-macro-parentheses): the arguments are types and parts of names
#define QX_ATTRIBUTE_FUNCTIONS(prefix, kind, type)                                                                     \
    int prefix##_create(type** attr)                                                                                   \
    {                                                                                                                  \
        return create(__func__, kind, attr, unprepared);                                                               \
    }                                                                                                                  \
    int prefix##_dup(type** attr, const type* original)                                                                \
    {                                                                                                                  \
        return create(                                                                                                 \
            __func__, kind, attr, [&](auto& copy) { copy.options = original->options; }, original);                    \
    }                                                                                                                  \
    int prefix##_delete(type* attr)                                                                                    \
    {                                                                                                                  \
        return destroy(__func__, attr);                                                                                \
    }                                                                                                                  \
    int prefix##_setopt(type* attr, const char* option, const void* value, size_t length)                              \
    {                                                                                                                  \
        return set_bytes(__func__, attr, option, value, length);                                                       \
    }                                                                                                                  \
    int prefix##_getopt(const type* attr, const char* option, void* value, size_t* length)                             \
    {                                                                                                                  \
        return get_bytes(__func__, attr, option, value, length);                                                       \
    }                                                                                                                  \
    int prefix##_str_setopt(type* attr, const char* option, const char* value)                                         \
    {                                                                                                                  \
        return set_option(__func__, attr, option, value, show(value));                                                 \
    }                                                                                                                  \
    int prefix##_str_getopt(const type* attr, const char* option, char* value, size_t* length)                         \
    {                                                                                                                  \
        return get_option(__func__, attr, option, value, length);                                                      \
    }
// NOLINTEND(bugprone-macro-parentheses)

QX_ATTRIBUTE_FUNCTIONS(lbm_context_attr, "context_attr", lbm_context_attr_t)
QX_ATTRIBUTE_FUNCTIONS(lbm_event_queue_attr, "event_queue_attr", lbm_event_queue_attr_t)
QX_ATTRIBUTE_FUNCTIONS(lbm_rcv_topic_attr, "rcv_topic_attr", lbm_rcv_topic_attr_t)
QX_ATTRIBUTE_FUNCTIONS(lbm_wildcard_rcv_attr, "wildcard_rcv_attr", lbm_wildcard_rcv_attr_t)
QX_ATTRIBUTE_FUNCTIONS(lbm_src_topic_attr, "src_topic_attr", lbm_src_topic_attr_t)

int lbm_context_attr_create_from_xml(lbm_context_attr_t** attr, const char* context_name)
{
    return create(
        __func__, "context_attr", attr, [&](auto& made) { made.options["context_name"] = context_name; }, context_name);
}

int lbm_config_xml_file(const char* path, const char* application_name)
{
    return plain(__func__, path, application_name);
}

int lbm_config_xml_string(const char* xml, const char* application_name)
{
    return plain(__func__, xml, application_name);
}
}
