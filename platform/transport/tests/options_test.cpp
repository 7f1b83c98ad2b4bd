#include <climits>
#include <cstdint>
#include <cstring>
#include <set>
#include <string>
#include <tuple>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/transport/source/options.h"
#include "platform/transport/tests/transport_error_of.h"

namespace qx::transport {
namespace {

using ::testing::HasSubstr;

TEST(Catalogue, GivenNothingChosen_WhenRead_ThenItIsTheFallback)
{
    for (const OptionSpec& spec : option_catalogue()) {
        EXPECT_EQ(Options(spec.scope).get_text(spec.name), spec.fallback) << spec.name;
    }
}

TEST(Catalogue, GivenEachFallback_WhenSet_ThenAccepted)
{
    for (const OptionSpec& spec : option_catalogue()) {
        Options options(spec.scope);
        EXPECT_EQ(refusal_of([&] { options.set_text(spec.name, spec.fallback); }).text, "accepted") << spec.name;
    }
}

TEST(Catalogue, GivenControlCharacter_WhenSet_ThenRefused)
{
    for (const OptionSpec& spec : option_catalogue()) {
        Options options(spec.scope);
        EXPECT_EQ(refusal_of([&] { options.set_text(spec.name, "1\n"); }).code, LBM_EINVAL) << spec.name;
    }
}

TEST(Catalogue, GivenEachDescription_WhenShown_ThenItIsOneLine)
{
    for (const OptionSpec& spec : option_catalogue()) {
        EXPECT_FALSE(spec.about.empty()) << spec.name;
        EXPECT_EQ(spec.about.find_first_of("\n|"), std::string_view::npos) << spec.name;
    }
}

TEST(Catalogue, GivenAllEntries_WhenCompared_ThenNoneIsListedTwice)
{
    std::set<std::tuple<Scope, std::string_view>> names;
    for (const OptionSpec& spec : option_catalogue()) {
        EXPECT_TRUE(names.emplace(spec.scope, spec.name).second) << spec.name;
    }
}

TEST(Options, GivenOptionOfAnotherScope_WhenSet_ThenRefused)
{
    Options options(Scope::receiver);
    const auto refusal = refusal_of([&] { options.set_text("domain_id", "1"); });
    EXPECT_EQ(refusal.code, LBM_EINVAL);
    EXPECT_EQ(refusal.text, "there is no receiver option \"domain_id\"");
}

TEST(Options, GivenUnknownOption_WhenRead_ThenRefused)
{
    EXPECT_EQ(refusal_of([] { Options(Scope::source).get_text("nothing"); }).text,
              "there is no source option \"nothing\"");
}

TEST(Options, GivenUnknownNameWithLineBreak_WhenRefused_ThenTextIsOneLine)
{
    EXPECT_EQ(refusal_of([] { Options(Scope::source).get_text("a\nb"); }).text, "there is no source option \"a?b\"");
}

TEST(Options, GivenRefusedValue_WhenRead_ThenEarlierOneIsKept)
{
    Options options(Scope::context);
    options.set_text("domain_id", "7");
    refusal_of([&] { options.set_text("domain_id", "231"); });
    EXPECT_EQ(options.get_text("domain_id"), "7");
}

TEST(Options, GivenBadValue_WhenRefused_ThenOptionValueAndRangeAreTold)
{
    Options options(Scope::context);
    EXPECT_EQ(refusal_of([&] { options.set_text("domain_id", "many"); }).text,
              "option \"domain_id\" cannot be \"many\": accepted is 0 to 230");
}

TEST(Options, GivenSetOption_WhenAskedWhetherSet_ThenYesEvenForTheFallback)
{
    Options options(Scope::context);
    EXPECT_FALSE(options.is_set("context_name"));
    options.set_text("context_name", "");
    EXPECT_TRUE(options.is_set("context_name"));
}

TEST(Options, GivenCopy_WhenChanged_ThenOriginalIsNot)
{
    Options original(Scope::context);
    original.set_text("context_name", "a");
    Options copy = original;
    copy.set_text("context_name", "b");
    EXPECT_EQ(original.get_text("context_name"), "a");
}

TEST(Options, GivenValuesAtTheEnds_WhenSet_ThenAcceptedInsideAndRefusedOutside)
{
    struct Entry {
        const char* option;
        std::string value;
        bool accepted;
    };
    const Entry entries[] = {
        {"domain_id", "0", true},
        {"domain_id", "230", true},
        {"domain_id", "-1", false},
        {"domain_id", "231", false},
        {"domain_id", "", false},
        {"domain_id", "7 ", false},
        {"domain_id", " 7", false},
        {"domain_id", "+7", false},
        {"domain_id", "0x7", false},
        {"domain_id", "99999999999999999999", false},
        {"multicast", "0", true},
        {"multicast", "1", true},
        {"multicast", "2", false},
        {"multicast", "true", false},
        {"interface", "", false},
        {"context_name", "", true},
        {"context_name", std::string(246, 'n'), true},
        {"context_name", std::string(247, 'n'), false},
    };
    for (const auto& [option, value, accepted] : entries) {
        Options options(Scope::context);
        const auto refusal = refusal_of([&, &name = option, &text = value] { options.set_text(name, text); });
        EXPECT_EQ(refusal.code, accepted ? LBM_OK : LBM_EINVAL) << option << " = " << value;
    }
}

TEST(RawOptions, GivenIntBoolean_WhenSet_ThenReadAsBoolean)
{
    Options options(Scope::event_queue);
    const int on = 1;
    options.set_raw("queue_cancellation_callbacks_enabled", &on, sizeof on);
    EXPECT_TRUE(options.get_boolean("queue_cancellation_callbacks_enabled"));
}

TEST(RawOptions, GivenEightByteNumber_WhenSet_ThenReadWhole)
{
    Options options(Scope::context);
    const std::int64_t bytes = std::int64_t{8} << 30;
    options.set_raw("receive_queue_bytes_max", &bytes, sizeof bytes);
    EXPECT_EQ(options.get_integer("receive_queue_bytes_max"), bytes);
}

TEST(RawOptions, GivenNumberOfOtherSize_WhenSet_ThenRefused)
{
    Options options(Scope::context);
    const std::int64_t one = 1;
    for (const std::size_t size : {0U, 1U, 2U, 3U, 5U, 7U}) {
        EXPECT_THAT(refusal_of([&] { options.set_raw("domain_id", &one, size); }).text, HasSubstr("4 or 8 bytes"));
    }
}

TEST(RawOptions, GivenNegativeInt_WhenSet_ThenRefused)
{
    Options options(Scope::context);
    const int negative = -1;
    EXPECT_EQ(refusal_of([&] { options.set_raw("domain_id", &negative, sizeof negative); }).code, LBM_EINVAL);
}

TEST(RawOptions, GivenTextWithFinalNul_WhenSet_ThenNulIsNoPart)
{
    Options options(Scope::context);
    options.set_raw("context_name", "abc", 4);
    EXPECT_EQ(options.get_text("context_name"), "abc");
}

TEST(RawOptions, GivenTextWithInnerNul_WhenSet_ThenRefused)
{
    Options options(Scope::context);
    EXPECT_EQ(refusal_of([&] { options.set_raw("context_name", "a\0b", 3); }).code, LBM_EINVAL);
}

TEST(RawOptions, GivenIntBuffer_WhenNumberIsRead_ThenItIsThere)
{
    Options options(Scope::context);
    options.set_text("domain_id", "230");
    int value = -1;
    std::size_t size = sizeof value;
    options.get_raw("domain_id", &value, size);
    EXPECT_EQ(value, 230);
    EXPECT_EQ(size, sizeof value);
}

TEST(RawOptions, GivenIntBufferTooSmallForTheNumber_WhenRead_ThenRefusedAndUntouched)
{
    Options options(Scope::context);
    options.set_text("receive_queue_bytes_max", std::to_string(std::int64_t{INT_MAX} + 1));
    int value = -7;
    std::size_t size = sizeof value;
    EXPECT_THAT(refusal_of([&] { options.get_raw("receive_queue_bytes_max", &value, size); }).text,
                HasSubstr("needs a buffer of 8 bytes, not of 4"));
    EXPECT_EQ(value, -7);
}

TEST(RawOptions, GivenEightByteBuffer_WhenNumberIsRead_ThenItIsThere)
{
    std::int64_t value = -1;
    std::size_t size = sizeof value;
    Options(Scope::context).get_raw("domain_id", &value, size);
    EXPECT_EQ(value, 0);
    EXPECT_EQ(size, sizeof value);
}

TEST(CopyText, GivenBufferOfExactSize_WhenRead_ThenTextAndNulFit)
{
    Options options(Scope::context);
    options.set_text("context_name", "abc");
    char buffer[4] = {'x', 'x', 'x', 'x'};
    std::size_t size = sizeof buffer;
    options.copy_text("context_name", buffer, size);
    EXPECT_STREQ(buffer, "abc");
    EXPECT_EQ(size, 3U);
}

TEST(CopyText, GivenBufferOneTooSmall_WhenRead_ThenRefusedAndUntouched)
{
    Options options(Scope::context);
    options.set_text("context_name", "abc");
    char buffer[3] = {'x', 'x', 'x'};
    std::size_t size = sizeof buffer;
    EXPECT_EQ(refusal_of([&] { options.copy_text("context_name", buffer, size); }).text,
              "option \"context_name\" needs a buffer of 4 bytes, not of 3");
    EXPECT_EQ(std::string_view(buffer, 3), "xxx");
    EXPECT_EQ(size, 3U);
}

TEST(CopyText, GivenEmptyValue_WhenRead_ThenOneByteIsEnough)
{
    char buffer[1] = {'x'};
    std::size_t size = sizeof buffer;
    Options(Scope::context).copy_text("context_name", buffer, size);
    EXPECT_EQ(buffer[0], '\0');
    EXPECT_EQ(size, 0U);
}

TEST(KeptOptions, GivenUnknownOption_WhenKept_ThenItCanBeReadAsText)
{
    Options options(Scope::receiver);
    options.set_or_keep("from_elsewhere", "5");
    char buffer[8];
    std::size_t size = sizeof buffer;
    options.get_raw("from_elsewhere", buffer, size);
    EXPECT_STREQ(buffer, "5");
    EXPECT_EQ(options.get_integer("from_elsewhere"), 5);
}

TEST(KeptOptions, GivenTextThatIsNoNumber_WhenReadAsNumber_ThenRefused)
{
    Options options(Scope::receiver);
    options.set_or_keep("from_elsewhere", "five");
    EXPECT_EQ(refusal_of([&] { options.get_integer("from_elsewhere"); }).text,
              "option \"from_elsewhere\" is not a number");
}

TEST(KeptOptions, GivenUnknownOptionTwice_WhenKept_ThenReportedOnce)
{
    ::testing::internal::CaptureStderr();
    Options(Scope::receiver).set_or_keep("reported\nonce", "1");
    Options(Scope::receiver).set_or_keep("reported\nonce", "2");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "lbm: the transport does not use the receiver option \"reported?once\"\n");
}

TEST(KeptOptions, GivenKnownOption_WhenKept_ThenItIsCheckedAndNotReported)
{
    Options options(Scope::context);
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(refusal_of([&] { options.set_or_keep("domain_id", "x"); }).code, LBM_EINVAL);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST(FillFrom, GivenDefaults_WhenFilled_ThenOwnChoicesStay)
{
    Options own(Scope::context);
    own.set_text("domain_id", "1");
    Options defaults(Scope::context);
    defaults.set_text("domain_id", "2");
    defaults.set_text("interface", "eth0");
    own.fill_from(defaults);
    EXPECT_EQ(own.get_text("domain_id"), "1");
    EXPECT_EQ(own.get_text("interface"), "eth0");
}

TEST(AcceptedValues, GivenChoice_WhenDescribed_ThenWordsAreJoined)
{
    const OptionSpec choice{Scope::source, "x", OptionType::choice, "", 0, 0, "block|lose|fail", "block", "y"};
    EXPECT_EQ(accepted_values(choice), "block or lose or fail");
}

} // namespace
} // namespace qx::transport
