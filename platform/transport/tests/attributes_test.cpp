#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/transport/source/attributes.h"

namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

/// The functions of one kind of attributes under common names.
#define QX_ATTRIBUTES(kind)                                                                                            \
    struct kind##_functions {                                                                                          \
        using Attr = lbm_##kind##_attr_t;                                                                              \
        static constexpr auto prefix = "lbm_" #kind "_attr_";                                                          \
        static constexpr auto create = lbm_##kind##_attr_create;                                                       \
        static constexpr auto dup = lbm_##kind##_attr_dup;                                                             \
        static constexpr auto destroy = lbm_##kind##_attr_delete;                                                      \
        static constexpr auto setopt = lbm_##kind##_attr_setopt;                                                       \
        static constexpr auto getopt = lbm_##kind##_attr_getopt;                                                       \
        static constexpr auto str_setopt = lbm_##kind##_attr_str_setopt;                                               \
        static constexpr auto str_getopt = lbm_##kind##_attr_str_getopt;                                               \
    }
QX_ATTRIBUTES(context);
QX_ATTRIBUTES(src_topic);
QX_ATTRIBUTES(rcv_topic);
QX_ATTRIBUTES(wildcard_rcv);
QX_ATTRIBUTES(event_queue);
#undef QX_ATTRIBUTES

template <class Functions>
class EveryAttributes : public ::testing::Test {
protected:
    EveryAttributes() { EXPECT_EQ(Functions::create(&attr), LBM_OK); }
    ~EveryAttributes() override { EXPECT_EQ(Functions::destroy(attr), LBM_OK); }

    static void expect_refusal(int result, const char* function, const char* reason)
    {
        EXPECT_EQ(result, LBM_FAILURE);
        EXPECT_EQ(lbm_errnum(), LBM_EINVAL);
        EXPECT_THAT(lbm_errmsg(), StartsWith(std::string(Functions::prefix) + function + '('));
        EXPECT_THAT(lbm_errmsg(), HasSubstr(reason));
    }

    typename Functions::Attr* attr = nullptr;
};

using Kinds = ::testing::Types<context_functions, src_topic_functions, rcv_topic_functions, wildcard_rcv_functions,
                               event_queue_functions>;
TYPED_TEST_SUITE(EveryAttributes, Kinds);

TYPED_TEST(EveryAttributes, GivenNullAttributes_WhenUsed_ThenEachCallIsRefused)
{
    char buffer[8] = {};
    std::size_t size = sizeof buffer;
    typename TypeParam::Attr* made = nullptr;
    this->expect_refusal(TypeParam::create(nullptr), "create", "attr is NULL");
    this->expect_refusal(TypeParam::dup(nullptr, this->attr), "dup", "attr is NULL");
    this->expect_refusal(TypeParam::dup(&made, nullptr), "dup", "original is NULL");
    this->expect_refusal(TypeParam::destroy(nullptr), "delete", "attr is NULL");
    this->expect_refusal(TypeParam::setopt(nullptr, "o", buffer, 1), "setopt", "attr is NULL");
    this->expect_refusal(TypeParam::getopt(nullptr, "o", buffer, &size), "getopt", "attr is NULL");
    this->expect_refusal(TypeParam::str_setopt(nullptr, "o", "v"), "str_setopt", "attr is NULL");
    this->expect_refusal(TypeParam::str_getopt(nullptr, "o", buffer, &size), "str_getopt", "attr is NULL");
    EXPECT_EQ(made, nullptr);
}

TYPED_TEST(EveryAttributes, GivenNullOption_WhenUsed_ThenEachCallIsRefused)
{
    char buffer[8] = {};
    std::size_t size = sizeof buffer;
    this->expect_refusal(TypeParam::setopt(this->attr, nullptr, buffer, 1), "setopt", "option is NULL");
    this->expect_refusal(TypeParam::getopt(this->attr, nullptr, buffer, &size), "getopt", "option is NULL");
    this->expect_refusal(TypeParam::str_setopt(this->attr, nullptr, "v"), "str_setopt", "option is NULL");
    this->expect_refusal(TypeParam::str_getopt(this->attr, nullptr, buffer, &size), "str_getopt", "option is NULL");
}

TYPED_TEST(EveryAttributes, GivenNullValueOrLength_WhenUsed_ThenEachCallIsRefused)
{
    char buffer[8] = {};
    std::size_t size = sizeof buffer;
    this->expect_refusal(TypeParam::setopt(this->attr, "o", nullptr, 1), "setopt", "value is NULL");
    this->expect_refusal(TypeParam::getopt(this->attr, "o", nullptr, &size), "getopt", "value is NULL");
    this->expect_refusal(TypeParam::getopt(this->attr, "o", buffer, nullptr), "getopt", "length is NULL");
    this->expect_refusal(TypeParam::str_setopt(this->attr, "o", nullptr), "str_setopt", "value is NULL");
    this->expect_refusal(TypeParam::str_getopt(this->attr, "o", nullptr, &size), "str_getopt", "value is NULL");
    this->expect_refusal(TypeParam::str_getopt(this->attr, "o", buffer, nullptr), "str_getopt", "length is NULL");
}

TYPED_TEST(EveryAttributes, GivenUnknownOption_WhenUsed_ThenEachCallIsRefused)
{
    char buffer[8] = {};
    std::size_t size = sizeof buffer;
    this->expect_refusal(TypeParam::setopt(this->attr, "warp", buffer, 1), "setopt", "option \"warp\"");
    this->expect_refusal(TypeParam::getopt(this->attr, "warp", buffer, &size), "getopt", "option \"warp\"");
    this->expect_refusal(TypeParam::str_setopt(this->attr, "warp", "v"), "str_setopt", "option \"warp\"");
    this->expect_refusal(TypeParam::str_getopt(this->attr, "warp", buffer, &size), "str_getopt", "option \"warp\"");
}

TYPED_TEST(EveryAttributes, GivenKeptOption_WhenDuplicated_ThenCopyHasItAndOutlivesTheOriginal)
{
    typename TypeParam::Attr* original = nullptr;
    typename TypeParam::Attr* copy = nullptr;
    ASSERT_EQ(TypeParam::create(&original), LBM_OK);
    original->options.set_or_keep("foreign", "x");
    ASSERT_EQ(TypeParam::dup(&copy, original), LBM_OK);
    ASSERT_EQ(TypeParam::destroy(original), LBM_OK);
    EXPECT_EQ(copy->options.get_text("foreign"), "x");
    EXPECT_EQ(TypeParam::destroy(copy), LBM_OK);
}

/// One context's attributes under their C functions.
class ContextAttributes : public ::testing::Test {
protected:
    ContextAttributes()
    {
        forget();
        EXPECT_EQ(lbm_context_attr_create(&attr), LBM_OK);
    }
    ~ContextAttributes() override
    {
        EXPECT_EQ(lbm_context_attr_delete(attr), LBM_OK);
        forget();
    }

    static void forget()
    {
        qx::transport::forget_configuration();
        unsetenv("LBM_XML_CONFIG_FILENAME");
    }

    lbm_context_attr_t* attr = nullptr;
};

TEST_F(ContextAttributes, GivenOptionSetAsText_WhenReadAsText_ThenTextAndLength)
{
    ASSERT_EQ(lbm_context_attr_str_setopt(attr, "context_name", "prices"), LBM_OK);
    char buffer[1024] = {};
    std::size_t length = 1023;
    ASSERT_EQ(lbm_context_attr_str_getopt(attr, "context_name", buffer, &length), LBM_OK);
    EXPECT_STREQ(buffer, "prices");
    EXPECT_EQ(length, 6U);
}

TEST_F(ContextAttributes, GivenOptionSetRaw_WhenReadAsText_ThenSameValue)
{
    const int domain = 230;
    ASSERT_EQ(lbm_context_attr_setopt(attr, "domain_id", &domain, sizeof domain), LBM_OK);
    char buffer[8] = {};
    std::size_t length = sizeof buffer;
    ASSERT_EQ(lbm_context_attr_str_getopt(attr, "domain_id", buffer, &length), LBM_OK);
    EXPECT_STREQ(buffer, "230");
}

TEST_F(ContextAttributes, GivenOptionSetAsText_WhenReadRaw_ThenSameValue)
{
    ASSERT_EQ(lbm_context_attr_str_setopt(attr, "domain_id", "3"), LBM_OK);
    int domain = -1;
    std::size_t length = sizeof domain;
    ASSERT_EQ(lbm_context_attr_getopt(attr, "domain_id", &domain, &length), LBM_OK);
    EXPECT_EQ(domain, 3);
}

TEST_F(ContextAttributes, GivenBadValue_WhenSet_ThenOptionValueAndRangeAreTold)
{
    EXPECT_EQ(lbm_context_attr_str_setopt(attr, "domain_id", "231"), LBM_FAILURE);
    EXPECT_STREQ(lbm_errmsg(), "lbm_context_attr_str_setopt(domain_id): option \"domain_id\" cannot be \"231\": "
                               "accepted is 0 to 230");
}

TEST_F(ContextAttributes, GivenBufferTooSmall_WhenRead_ThenRefusedAndUntouched)
{
    ASSERT_EQ(lbm_context_attr_str_setopt(attr, "context_name", "prices"), LBM_OK);
    char buffer[6] = {'x', 0, 0, 0, 0, 0};
    std::size_t length = sizeof buffer;
    EXPECT_EQ(lbm_context_attr_str_getopt(attr, "context_name", buffer, &length), LBM_FAILURE);
    EXPECT_STREQ(buffer, "x");
    EXPECT_EQ(length, sizeof buffer);
}

TEST_F(ContextAttributes, GivenNoConfiguration_WhenMadeFromXml_ThenContextNameIsTheName)
{
    lbm_context_attr_t* made = nullptr;
    ASSERT_EQ(lbm_context_attr_create_from_xml(&made, "prices"), LBM_OK);
    EXPECT_EQ(made->options.get_text("context_name"), "prices");
    EXPECT_EQ(lbm_context_attr_delete(made), LBM_OK);
}

TEST_F(ContextAttributes, GivenConfiguration_WhenMadeFromXml_ThenDefaultsOfOtherScopesAreKeptInCopies)
{
    ASSERT_EQ(lbm_config_xml_file(QX_XML_CASES "/full.xml", "pricing"), LBM_OK);
    lbm_context_attr_t* made = nullptr;
    lbm_context_attr_t* copy = nullptr;
    ASSERT_EQ(lbm_context_attr_create_from_xml(&made, "PriceEnvironmentContext"), LBM_OK);
    ASSERT_EQ(lbm_context_attr_dup(&copy, made), LBM_OK);
    EXPECT_EQ(copy->defaults_for(qx::transport::Scope::event_queue).get_integer("queue_bytes_max"), 65'536);
    EXPECT_EQ(lbm_context_attr_delete(made), LBM_OK);
    EXPECT_EQ(lbm_context_attr_delete(copy), LBM_OK);
}

TEST_F(ContextAttributes, GivenMissingContext_WhenMadeFromXml_ThenCallNamePlaceAndReasonAreTold)
{
    ASSERT_EQ(lbm_config_xml_file(QX_XML_CASES "/full.xml", "pricing"), LBM_OK);
    lbm_context_attr_t* made = nullptr;
    EXPECT_EQ(lbm_context_attr_create_from_xml(&made, "Other"), LBM_FAILURE);
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(lbm_errnum(), LBM_ENO_CONFIG);
    EXPECT_STREQ(lbm_errmsg(), "lbm_context_attr_create_from_xml(Other): " QX_XML_CASES
                               "/full.xml:10: the application has no context \"Other\"");
}

TEST_F(ContextAttributes, GivenNulls_WhenMadeFromXml_ThenRefused)
{
    lbm_context_attr_t* made = nullptr;
    EXPECT_EQ(lbm_context_attr_create_from_xml(nullptr, "prices"), LBM_FAILURE);
    EXPECT_EQ(lbm_context_attr_create_from_xml(&made, nullptr), LBM_FAILURE);
    EXPECT_STREQ(lbm_errmsg(), "lbm_context_attr_create_from_xml(): context_name is NULL");
}

TEST(EventQueueAttributes, GivenIntOption_WhenSetRaw_ThenItIsOn)
{
    lbm_event_queue_attr_t* attr = nullptr;
    ASSERT_EQ(lbm_event_queue_attr_create(&attr), LBM_OK);
    const int on = 1;
    EXPECT_EQ(lbm_event_queue_attr_setopt(attr, "queue_cancellation_callbacks_enabled", &on, sizeof on), LBM_OK);
    EXPECT_TRUE(attr->options.get_boolean("queue_cancellation_callbacks_enabled"));
    EXPECT_EQ(lbm_event_queue_attr_delete(attr), LBM_OK);
}

} // namespace
