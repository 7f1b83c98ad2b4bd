#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/transport/source/xml_config.h"
#include "platform/transport/tests/transport_error_of.h"

namespace qx::transport {
namespace {

using ::testing::HasSubstr;

constexpr const char* other_xml =
    "<um-configuration version='1.0'><applications><application name='a'><contexts><context name='c'>"
    "<options type='context'><option name='domain_id' default-value='9'/></options>"
    "</context></contexts></application></applications></um-configuration>";

/// Starts and ends without any configuration, whatever the environment of the tests has.
class ConfiguredContext : public ::testing::Test {
protected:
    ConfiguredContext() { clear(); }
    ~ConfiguredContext() override { clear(); }

    static void name_in_environment(const std::string& file, const char* application)
    {
        setenv("LBM_XML_CONFIG_FILENAME", (QX_XML_CASES "/" + file).c_str(), 1);
        setenv("LBM_XML_CONFIG_APPNAME", application, 1);
    }

private:
    static void clear()
    {
        forget_configuration();
        unsetenv("LBM_XML_CONFIG_FILENAME");
        unsetenv("LBM_XML_CONFIG_APPNAME");
    }
};

TEST_F(ConfiguredContext, GivenNoConfiguration_WhenAsked_ThenDefaultsUnderThatName)
{
    const ContextSettings settings = configured_context("any");
    EXPECT_EQ(settings.options.get_text("context_name"), "any");
    EXPECT_EQ(settings.options.get_text("interface"), "lo");
    EXPECT_TRUE(settings.defaults.empty());
}

TEST_F(ConfiguredContext, GivenNoConfigurationAndOverlongName_WhenAsked_ThenRefused)
{
    EXPECT_EQ(refusal_of([] { configured_context(std::string(247, 'n')); }).code, LBM_EINVAL);
}

TEST_F(ConfiguredContext, GivenEmptyFileName_WhenAsked_ThenDefaults)
{
    setenv("LBM_XML_CONFIG_FILENAME", "", 1);
    EXPECT_EQ(configured_context("any").options.get_text("context_name"), "any");
}

TEST_F(ConfiguredContext, GivenFileInEnvironment_WhenAsked_ThenItsContext)
{
    name_in_environment("full.xml", "pricing");
    EXPECT_EQ(configured_context("PriceEnvironmentContext").options.get_integer("domain_id"), 7);
}

TEST_F(ConfiguredContext, GivenFileButNoApplicationInEnvironment_WhenAsked_ThenTheOneWithoutName)
{
    name_in_environment("full.xml", "");
    unsetenv("LBM_XML_CONFIG_APPNAME");
    EXPECT_EQ(configured_context("anonymous").options.get_text("context_name"), "anonymous");
}

TEST_F(ConfiguredContext, GivenChangedEnvironment_WhenAskedAgain_ThenTheNewFileCounts)
{
    name_in_environment("full.xml", "pricing");
    configured_context("PriceEnvironmentContext");
    name_in_environment("full.xml", "");
    EXPECT_EQ(refusal_of([] { configured_context("PriceEnvironmentContext"); }).code, LBM_ENO_CONFIG);
}

TEST_F(ConfiguredContext, GivenFileThatCannotBeRead_WhenAsked_ThenRefusedNotDefaults)
{
    name_in_environment("none.xml", "pricing");
    EXPECT_THAT(refusal_of([] { configured_context("any"); }).text, HasSubstr("none.xml: No such file or directory"));
}

TEST_F(ConfiguredContext, GivenTextRead_WhenAsked_ThenItReplacesTheEnvironment)
{
    name_in_environment("full.xml", "pricing");
    ASSERT_EQ(lbm_config_xml_string(other_xml, "a"), LBM_OK);
    EXPECT_EQ(configured_context("c").options.get_integer("domain_id"), 9);
    EXPECT_EQ(refusal_of([] { configured_context("PriceEnvironmentContext"); }).code, LBM_ENO_CONFIG);
}

TEST_F(ConfiguredContext, GivenFileRead_WhenAsked_ThenItsContext)
{
    ASSERT_EQ(lbm_config_xml_file(QX_XML_CASES "/full.xml", "pricing"), LBM_OK);
    EXPECT_EQ(configured_context("renamed").options.get_text("context_name"), "other");
}

TEST_F(ConfiguredContext, GivenNullApplication_WhenRead_ThenTheOneWithoutName)
{
    ASSERT_EQ(lbm_config_xml_file(QX_XML_CASES "/full.xml", nullptr), LBM_OK);
    EXPECT_EQ(configured_context("anonymous").options.get_text("context_name"), "anonymous");
}

TEST_F(ConfiguredContext, GivenSecondRead_WhenAsked_ThenTheLastCounts)
{
    ASSERT_EQ(lbm_config_xml_file(QX_XML_CASES "/full.xml", "pricing"), LBM_OK);
    ASSERT_EQ(lbm_config_xml_string(other_xml, "a"), LBM_OK);
    EXPECT_EQ(configured_context("c").options.get_integer("domain_id"), 9);
}

TEST_F(ConfiguredContext, GivenFailedRead_WhenAsked_ThenEarlierConfigurationHolds)
{
    ASSERT_EQ(lbm_config_xml_string(other_xml, "a"), LBM_OK);
    EXPECT_EQ(lbm_config_xml_string("<broken", "a"), LBM_FAILURE);
    EXPECT_EQ(lbm_errnum(), LBM_ENO_CONFIG);
    EXPECT_EQ(configured_context("c").options.get_integer("domain_id"), 9);
}

TEST_F(ConfiguredContext, GivenBrokenText_WhenRead_ThenCallPlaceAndReasonAreTold)
{
    EXPECT_EQ(lbm_config_xml_string("\n<broken", "a"), LBM_FAILURE);
    EXPECT_STREQ(lbm_errmsg(), "lbm_config_xml_string(a): xml:2: Error parsing start element tag");
}

TEST_F(ConfiguredContext, GivenNulls_WhenRead_ThenRefused)
{
    EXPECT_EQ(lbm_config_xml_file(nullptr, "a"), LBM_FAILURE);
    EXPECT_STREQ(lbm_errmsg(), "lbm_config_xml_file(): path is NULL");
    EXPECT_EQ(lbm_config_xml_string(nullptr, nullptr), LBM_FAILURE);
    EXPECT_EQ(lbm_errnum(), LBM_EINVAL);
}

TEST_F(ConfiguredContext, GivenThreadsThatAskAndChange_WhenRunAtOnce_ThenEachSeesOneConfiguration)
{
    ASSERT_EQ(lbm_config_xml_string(other_xml, "a"), LBM_OK);
    std::atomic<int> wrong = 0;
    const auto work = [&] {
        for (int i = 0; i < 200; ++i) {
            wrong += lbm_config_xml_string(other_xml, "a") != LBM_OK;
            wrong += configured_context("c").options.get_integer("domain_id") != 9;
        }
    };
    {
        const std::jthread first(work);
        const std::jthread second(work);
    }
    EXPECT_EQ(wrong, 0);
}

} // namespace
} // namespace qx::transport
