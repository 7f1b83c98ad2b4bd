#include <libjson.h>

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>

namespace {

using namespace std::string_literals;
using testing::HasSubstr;
using testing::ThrowsMessage;

std::string nested(std::size_t levels)
{
    return std::string(levels, '[') + std::string(levels, ']');
}

/// What `parse` says of a text that it refuses; "" when it accepts it.
std::string refusal(std::string_view text)
{
    try {
        libjson::parse(text);
        return "";
    } catch (const std::invalid_argument& e) {
        return e.what();
    }
}

struct Refused {
    std::string text;
    std::string expected;
    std::size_t offset;
};

class ParseRefused : public testing::TestWithParam<Refused> {};

TEST_P(ParseRefused, GivenBadText_WhenParsed_ThenTheMessageSaysWhatWasExpectedAndWhere)
{
    const Refused& refused = GetParam();
    EXPECT_THAT([&] { libjson::parse(refused.text); },
                ThrowsMessage<std::invalid_argument>("libjson::parse: expected " + refused.expected + " at byte " +
                                                     std::to_string(refused.offset)));
}

INSTANTIATE_TEST_SUITE_P(
    EachRule, ParseRefused,
    testing::Values(
        Refused{"", "a value", 0}, Refused{" \t\r\n", "a value", 4},
        Refused{"{'a':1}", "a member name in double quotes", 1}, Refused{"{a:1}", "a member name in double quotes", 1},
        Refused{R"({"a":1,})", "a member name in double quotes", 7}, Refused{"[1,]", "a value", 3},
        Refused{"[,1]", "a value", 1}, Refused{"[1 2]", "',' or ']'", 3}, Refused{R"({"a" 1})", "':'", 5},
        Refused{R"({"a":1 "b":2})", "',' or '}'", 7}, Refused{"[1]]", "the end of the text", 3},
        Refused{"1 2", "the end of the text", 2}, Refused{"007", "the end of the text", 1}, Refused{"+5", "a value", 0},
        Refused{"1.", "a digit behind the decimal point", 2}, Refused{"1e", "a digit in the exponent", 2},
        Refused{"-", "a value", 1}, Refused{".5", "a value", 0}, Refused{"NaN", "a value", 0},
        Refused{"Infinity", "a value", 0}, Refused{"tr ue", "a value", 2}, Refused{"nul", "a value", 3},
        Refused{"True", "a value", 0}, Refused{"[1] // one", "the end of the text", 4},
        Refused{"/* one */ 1", "a value", 0}, Refused{R"("abc)", "the rest of a string", 4},
        Refused{R"("\x")", "a known escape and no bare control character", 1},
        Refused{R"("\u12G4")", "four hexadecimal digits in the escape", 1},
        Refused{"\"a\tb\"", "a known escape and no bare control character", 2},
        Refused{"\"a\x1F\"", "a known escape and no bare control character", 2},
        Refused{"\xEF\xBB\xBF{}", "a value", 0}, Refused{"[1", "',' or ']'", 2}, Refused{"{\"a\":", "a value", 5},
        Refused{R"("\)", "a known escape and no bare control character", 1},
        Refused{R"("\u12)", "four hexadecimal digits in the escape", 1},
        Refused{R"(["\ud800\u12"])", "four hexadecimal digits in the escape", 8},
        Refused{"1e+", "a digit in the exponent", 3}));

TEST(Parse, GivenNulByteBehindTheDocument_WhenParsed_ThenItIsRefusedThere)
{
    EXPECT_EQ(refusal("[1]\0"s), "libjson::parse: expected the end of the text at byte 3");
}

TEST(Parse, GivenNulByteBeforeTheDocument_WhenParsed_ThenItIsRefused)
{
    EXPECT_EQ(refusal("\0[1]"s), "libjson::parse: expected a value at byte 0");
}

TEST(Parse, GivenBareNulByteInAString_WhenParsed_ThenItIsRefusedThere)
{
    EXPECT_EQ(refusal("\"a\0b\""s), "libjson::parse: expected the rest of a string at byte 2");
}

TEST(Parse, GivenOffsetBehindEscapes_WhenRefused_ThenItCountsTheBytesAsWritten)
{
    EXPECT_THAT(refusal(R"(["A\uD800", x])"), HasSubstr("at byte 12"));
}

TEST(Parse, GivenBareScalars_WhenParsed_ThenEachIsADocument)
{
    EXPECT_EQ(libjson::parse("null").type(), JSON_NULL);
    EXPECT_EQ(libjson::parse(R"("a")").type(), JSON_STRING);
    EXPECT_EQ(libjson::parse(" 1 ").type(), JSON_NUMBER);
    EXPECT_EQ(libjson::parse("true").type(), JSON_BOOL);
    EXPECT_EQ(libjson::parse("false").type(), JSON_BOOL);
}

TEST(Parse, GivenContainers_WhenParsed_ThenTheyAreArrayAndNode)
{
    EXPECT_EQ(libjson::parse("[]").type(), JSON_ARRAY);
    EXPECT_EQ(libjson::parse("{}").type(), JSON_NODE);
}

TEST(Parse, GivenTheTypeCodes_WhenCompared_ThenTheyAreTheDocumentedNumbers)
{
    const std::string codes{JSON_NULL, JSON_STRING, JSON_NUMBER, JSON_BOOL, JSON_ARRAY, JSON_NODE};
    EXPECT_EQ(codes, "\0\1\2\3\4\5"s);
}

TEST(Parse, GivenBytesThatAreNotUtf8_WhenParsed_ThenTheyPassUnchanged)
{
    const std::string bytes = "\x80\xC0\x80\xFF\xED\xA0\x80\xF8";
    const JSONNode node = libjson::parse("{\"" + bytes + "\":\"" + bytes + "\"}");
    EXPECT_EQ(node.at(0).name(), bytes);
    EXPECT_EQ(node.at(0).as_string(), bytes);
}

TEST(Parse, GivenEscapes_WhenParsed_ThenTheyAreResolved)
{
    EXPECT_EQ(libjson::parse(R"("\"\\\/\b\f\n\r\t")").as_string(), "\"\\/\b\f\n\r\t");
}

TEST(Parse, GivenEscapedNul_WhenParsed_ThenANulByteIsKept)
{
    const JSONNode node = libjson::parse(R"({"k\u0000y":"a\u0000b"})");
    EXPECT_EQ(node.at(0).name(), "k\0y"s);
    EXPECT_EQ(node.at(0).as_string(), "a\0b"s);
}

TEST(Parse, GivenUnicodeEscapes_WhenParsed_ThenTheyBecomeUtf8)
{
    EXPECT_EQ(libjson::parse(R"("\u0041\u00e9\u20AC\ud834\uDD1E")").as_string(),
              "A\xC3\xA9\xE2\x82\xAC\xF0\x9D\x84\x9E");
}

TEST(Parse, GivenUnicodeEscapesAtTheEndsOfEachUtf8Length_WhenParsed_ThenTheyBecomeUtf8)
{
    EXPECT_EQ(libjson::parse(R"("\u007f\u0080\u07ff\u0800\uffff\ud800\udc00\udbff\udfff")").as_string(),
              "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF");
}

TEST(Parse, GivenALoneSurrogateInAMemberName_WhenParsed_ThenItBecomesTheReplacementCharacter)
{
    EXPECT_EQ(libjson::parse(R"({"a\udfffb":1})").at(0).name(), "a\xEF\xBF\xBD"
                                                                "b");
}

TEST(Parse, GivenAnyBareControlCharacterInAString_WhenParsed_ThenItIsRefusedThere)
{
    for (char c = 0x01; c < 0x20; ++c) {
        EXPECT_EQ(refusal("\"a" + std::string(1, c) + "\""),
                  "libjson::parse: expected a known escape and no bare control character at byte 2")
            << int{c};
        EXPECT_NE(refusal("{\"" + std::string(1, c) + "\":1}"), "") << int{c};
    }
}

struct Surrogates {
    const char* text;
    const char* value;
};

class LoneSurrogate : public testing::TestWithParam<Surrogates> {};

TEST_P(LoneSurrogate, GivenNoPartner_WhenParsed_ThenItBecomesTheReplacementCharacter)
{
    EXPECT_EQ(libjson::parse(GetParam().text).as_string(), GetParam().value);
}

#define QX_FFFD "\xEF\xBF\xBD"
INSTANTIATE_TEST_SUITE_P(
    EachPlace, LoneSurrogate,
    testing::Values(Surrogates{R"("\uD800")", QX_FFFD}, Surrogates{R"("\uDC00")", QX_FFFD},
                    Surrogates{R"("\uD800a")", QX_FFFD "a"}, Surrogates{R"("\uD800\n")", QX_FFFD "\n"},
                    Surrogates{R"("\uD800\u0041")", QX_FFFD "A"}, Surrogates{R"("\uD800\uD800")", QX_FFFD QX_FFFD},
                    Surrogates{R"("\uD800\uD834\uDD1E")", QX_FFFD "\xF0\x9D\x84\x9E"},
                    Surrogates{R"("\uDD1E\uD834")", QX_FFFD QX_FFFD}, Surrogates{R"("\\\uDBFF")", "\\" QX_FFFD},
                    Surrogates{R"("\\uD800")", "\\uD800"}));
#undef QX_FFFD

TEST(Parse, GivenDeepestAllowedNesting_WhenParsed_ThenItIsAccepted)
{
    JSONNode node = libjson::parse(nested(libjson::depth_max));
    std::size_t levels = 1;
    while (!node.empty()) {
        node = JSONNode(node.at(0));
        ++levels;
    }
    EXPECT_EQ(levels, libjson::depth_max);
}

TEST(Parse, GivenOneLevelTooMany_WhenParsed_ThenItIsRefusedAtThatBracket)
{
    EXPECT_EQ(refusal(nested(libjson::depth_max + 1)), "libjson::parse: expected no more than 512 levels at byte 512");
}

TEST(Parse, GivenLevelsOpenedAndClosed_WhenCounted_ThenOnlyOpenOnesCount)
{
    std::string text = "[[]";
    for (std::size_t i = 0; i < libjson::depth_max; ++i) {
        text += ",{}";
    }
    EXPECT_EQ(refusal(text + "]"), "");
}

TEST(Parse, GivenOneObjectTooMany_WhenParsed_ThenItIsRefusedAtThatBrace)
{
    std::string text;
    for (std::size_t i = 0; i <= libjson::depth_max; ++i) {
        text += R"({"a":)";
    }
    EXPECT_EQ(refusal(text), "libjson::parse: expected no more than 512 levels at byte 2560");
}

TEST(Parse, GivenAMillionOpenBrackets_WhenParsed_ThenTheyAreRefused)
{
    EXPECT_THAT(refusal(std::string(1'000'000, '[')), HasSubstr("512 levels"));
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t small_stack = std::size_t{2} << 20U; // what is watched takes several times as much
#else
constexpr std::size_t small_stack = std::size_t{256} << 10U;
#endif

TEST(Parse, GivenAThreadWithASmallStack_WhenItParsesTheDeepestNesting_ThenItSuffices)
{
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, small_stack), 0);
    JSONNode node;
    pthread_t thread{};
    const auto parse_deepest = [](void* result) -> void* {
        *static_cast<JSONNode*>(result) = libjson::parse(nested(libjson::depth_max));
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, parse_deepest, &node), 0);
    ASSERT_EQ(pthread_join(thread, nullptr), 0);
    EXPECT_EQ(node.type(), JSON_ARRAY);
    pthread_attr_destroy(&attributes);
}

TEST(Parse, GivenTextBeyondTheSizeLimit_WhenParsed_ThenItIsRefusedUnread)
{
    EXPECT_THAT(refusal(std::string(libjson::text_bytes_max + 1, ' ')), HasSubstr("64 MiB"));
}

TEST(Parse, GivenBlanksUpToTheSizeLimit_WhenParsed_ThenTheyAreReadAndAValueIsMissing)
{
    EXPECT_EQ(refusal(std::string(libjson::text_bytes_max, ' ')),
              "libjson::parse: expected a value at byte " + std::to_string(libjson::text_bytes_max));
}

TEST(Parse, GivenTheTextIsGone_WhenTheDocumentIsRead_ThenItHasItsOwnCopy)
{
    std::string text = R"({"name":"value"})";
    const JSONNode node = libjson::parse(text);
    text.assign(text.size(), '#');
    EXPECT_EQ(node.write(), R"({"name":"value"})");
}

} // namespace
