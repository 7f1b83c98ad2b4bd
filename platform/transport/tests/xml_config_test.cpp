#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/transport/source/xml_config.h"
#include "platform/transport/tests/transport_error_of.h"

namespace qx::transport {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;

std::string data_file(const std::string& name)
{
    return QX_XML_CASES "/" + name;
}

Configuration full()
{
    return Configuration::from_file(data_file("full.xml"), "pricing");
}

TEST(Configuration, GivenOption_WhenContextIsAskedFor_ThenItIsSet)
{
    EXPECT_EQ(full().context("PriceEnvironmentContext").options.get_integer("domain_id"), 7);
}

TEST(Configuration, GivenEntityInValue_WhenRead_ThenItIsReplaced)
{
    EXPECT_EQ(full().context("PriceEnvironmentContext").options.get_text("domain_tag"), "a&b");
}

TEST(Configuration, GivenOptionThatIsNotUsed_WhenRead_ThenItIsKept)
{
    EXPECT_EQ(full().context("PriceEnvironmentContext").options.get_text("foreign_option"), "kept");
}

TEST(Configuration, GivenContextWithoutTheOption_WhenRead_ThenItsNameIsContextName)
{
    EXPECT_EQ(full().context("PriceEnvironmentContext").options.get_text("context_name"), "PriceEnvironmentContext");
}

TEST(Configuration, GivenEmptyContextName_WhenRead_ThenItStaysEmpty)
{
    EXPECT_EQ(full().context("unnamed").options.get_text("context_name"), "");
}

TEST(Configuration, GivenOtherContextName_WhenRead_ThenItIsTheOption)
{
    EXPECT_EQ(full().context("renamed").options.get_text("context_name"), "other");
}

TEST(Configuration, GivenOptionTwice_WhenRead_ThenTheLastCounts)
{
    EXPECT_EQ(full().context("changed_mind").options.get_integer("domain_id"), 2);
}

TEST(Configuration, GivenContextOfEmptyName_WhenAskedFor_ThenFound)
{
    EXPECT_EQ(full().context("").options.get_text("context_name"), "");
}

TEST(Configuration, GivenOtherScopes_WhenRead_ThenEachHasItsDefaults)
{
    const ContextSettings settings = full().context("PriceEnvironmentContext");
    EXPECT_EQ(settings.defaults_for(Scope::receiver).get_text("foreign_receiver_option"), "r");
    EXPECT_EQ(settings.defaults_for(Scope::wildcard_receiver).get_text("foreign_wildcard_option"), "w");
    EXPECT_EQ(settings.defaults_for(Scope::source).get_text("foreign_source_option"), "s");
    EXPECT_EQ(settings.defaults_for(Scope::event_queue).get_integer("queue_bytes_max"), 65'536);
}

TEST(Configuration, GivenScopeThatIsNotMentioned_WhenAskedFor_ThenNothingIsChosen)
{
    const Options options = full().context("unnamed").defaults_for(Scope::event_queue);
    EXPECT_EQ(options.scope(), Scope::event_queue);
    EXPECT_FALSE(options.is_set("queue_bytes_max"));
}

TEST(Configuration, GivenNoApplicationName_WhenRead_ThenTheOneWithoutNameIsTaken)
{
    const auto configuration = Configuration::from_file(data_file("full.xml"), "");
    EXPECT_EQ(configuration.context("anonymous").options.get_text("context_name"), "anonymous");
    EXPECT_EQ(refusal_of([&] { configuration.context("unnamed"); }).code, LBM_ENO_CONFIG);
}

TEST(Configuration, GivenMissingContext_WhenAskedFor_ThenPlaceOfApplicationIsTold)
{
    const auto refusal = refusal_of([] { full().context("Other"); });
    EXPECT_EQ(refusal.code, LBM_ENO_CONFIG);
    EXPECT_THAT(refusal.text, EndsWith("/full.xml:10: the application has no context \"Other\""));
}

TEST(Configuration, GivenUnusedElements_WhenRead_ThenEachIsReported)
{
    ::testing::internal::CaptureStderr();
    Configuration::from_file(data_file("unused-elements.xml"), "pricing");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "lbm: the transport does not use the element of <application> \"event-queues\"\n"
              "lbm: the transport does not use the options of type \"hyperdrive\"\n"
              "lbm: the transport does not use the element of <context> \"sources\"\n");
}

TEST(Configuration, GivenRefusedFiles_WhenRead_ThenFileLineAndReasonAreTold)
{
    struct Case {
        const char* file;
        const char* place_and_reason;
    };
    const Case cases[] = {
        {"empty.xml", ":1: No document element found"},
        {"cut-off.xml", ":5: Error parsing element attribute"},
        {"mismatched-tag.xml", ":3: Start-end tags mismatch"},
        {"wrong-root.xml", ":3: the root element is <configuration>, not <um-configuration>"},
        {"second-root.xml", ":2: a second root element <um-configuration>"},
        {"no-version.xml", ":1: <um-configuration> has no attribute \"version\""},
        {"other-version.xml", ":1: version \"2.0\" is not 1.0"},
        {"no-applications.xml", ":1: <um-configuration> has no <applications>"},
        {"context-without-name.xml", ":5: <context> has no attribute \"name\""},
        {"second-context.xml", ":7: a second context \"main\""},
        {"options-without-type.xml", ":6: <options> has no attribute \"type\""},
        {"option-without-name.xml", ":7: <option> has no attribute \"name\""},
        {"option-without-value.xml", ":7: <option> has no attribute \"default-value\""},
        {"full.xml", ":4: there is no application \"pricing2\""},
        {"unused-elements.xml", ":2: there is no application \"pricing2\""},
    };
    for (const auto& [name, place_and_reason] : cases) {
        const bool other = std::string(place_and_reason).find("pricing2") != std::string::npos;
        const std::string file = data_file(name);
        const auto refusal = refusal_of([&] { Configuration::from_file(file, other ? "pricing2" : "pricing"); });
        EXPECT_EQ(refusal.code, LBM_ENO_CONFIG) << file;
        EXPECT_EQ(refusal.text, file + place_and_reason);
    }
}

TEST(Configuration, GivenNoApplicationWithoutName_WhenAskedFor_ThenSaidSo)
{
    const auto refusal = refusal_of([] { Configuration::from_file(data_file("bad-value.xml"), ""); });
    EXPECT_THAT(refusal.text, EndsWith("bad-value.xml:2: there is no application without a name"));
}

TEST(Configuration, GivenBadValue_WhenRead_ThenPlaceOptionValueAndRangeAreTold)
{
    const auto refusal = refusal_of([] { Configuration::from_file(data_file("bad-value.xml"), "pricing"); });
    EXPECT_EQ(refusal.code, LBM_EINVAL);
    EXPECT_THAT(refusal.text,
                EndsWith("bad-value.xml:8: option \"domain_id\" cannot be \"231\": accepted is 0 to 230"));
}

TEST(Configuration, GivenBadDefaultOfAnotherScope_WhenRead_ThenRefusedToo)
{
    const auto refusal = refusal_of([] { Configuration::from_file(data_file("bad-default.xml"), "pricing"); });
    EXPECT_EQ(refusal.code, LBM_EINVAL);
    EXPECT_THAT(refusal.text, HasSubstr("bad-default.xml:7: option \"queue_bytes_max\" cannot be \"1\""));
}

TEST(Configuration, GivenOverlongContextName_WhenRead_ThenRefused)
{
    const auto refusal =
        refusal_of([] { Configuration::from_file(data_file("overlong-context-name.xml"), "pricing"); });
    EXPECT_EQ(refusal.code, LBM_EINVAL);
    EXPECT_THAT(refusal.text, HasSubstr("overlong-context-name.xml:5: option \"context_name\" cannot be"));
}

TEST(Configuration, GivenNoSuchFile_WhenRead_ThenReasonOfTheSystemIsTold)
{
    const auto refusal = refusal_of([] { Configuration::from_file(data_file("none.xml"), ""); });
    EXPECT_EQ(refusal.code, LBM_ENO_CONFIG);
    EXPECT_EQ(refusal.text, data_file("none.xml") + ": No such file or directory");
}

TEST(Configuration, GivenDirectory_WhenRead_ThenRefused)
{
    const auto refusal = refusal_of([] { Configuration::from_file(QX_XML_CASES, ""); });
    EXPECT_EQ(refusal.text, QX_XML_CASES ": Is a directory");
}

TEST(Configuration, GivenFileWithoutEnd_WhenRead_ThenRefusedBySize)
{
    const auto refusal = refusal_of([] { Configuration::from_file("/dev/zero", ""); });
    EXPECT_EQ(refusal.text, "/dev/zero: is larger than 16777216 bytes");
}

TEST(Configuration, GivenDeeplyNestedElements_WhenRead_ThenStackSuffices)
{
    constexpr std::size_t depth = 200'000;
    std::string xml;
    for (std::size_t i = 0; i < depth; ++i) {
        xml += "<a>";
    }
    for (std::size_t i = 0; i < depth; ++i) {
        xml += "</a>";
    }
    EXPECT_EQ(refusal_of([&] { Configuration::from_text(xml, "", "deep"); }).text,
              "deep:1: the root element is <a>, not <um-configuration>");
}

TEST(Configuration, GivenByteOrderMark_WhenRead_ThenAccepted)
{
    const std::string xml = "\xef\xbb\xbf<um-configuration version='1.0'><applications><application/></applications>"
                            "</um-configuration>";
    EXPECT_EQ(refusal_of([&] { Configuration::from_text(xml, "", "marked"); }).text, "accepted");
}

} // namespace
} // namespace qx::transport
