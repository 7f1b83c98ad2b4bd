#include "platform/log_backend/source/escape.h"

#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using qx::logging::backend::appendEscapedText;
using qx::logging::backend::appendJsonString;

std::string text(std::string_view bytes)
{
    std::string out;
    appendEscapedText(out, bytes);
    return out;
}

std::string json(std::string_view bytes)
{
    std::string out;
    appendJsonString(out, bytes);
    return out;
}

std::string allBytes()
{
    std::string all;
    for (int i = 0; i < 256; ++i) {
        all += static_cast<char>(i);
    }
    return all;
}

/// The way back, as a reader of a log would write it.
std::string unescaped(std::string_view line)
{
    std::string out;
    while (!line.empty()) {
        if (line[0] != '\\') {
            out += line[0];
            line.remove_prefix(1);
        } else if (line[1] == 'x') {
            out += static_cast<char>(std::stoi(std::string(line.substr(2, 2)), nullptr, 16));
            line.remove_prefix(4);
        } else {
            const auto at = std::string_view("nrt\\").find(line[1]);
            out += std::string_view("\n\r\t\\")[at];
            line.remove_prefix(2);
        }
    }
    return out;
}

TEST(EscapedText, GivenNothing_ThenNothing)
{
    EXPECT_EQ(text(""), "");
}

TEST(EscapedText, GivenLineBreaks_ThenTheyAreWrittenAsEscapes)
{
    EXPECT_EQ(text("a\nb\r\tc"), "a\\nb\\r\\tc");
}

TEST(EscapedText, GivenOtherControlsAndDel_ThenTheyAreWrittenInHex)
{
    EXPECT_EQ(text(std::string_view("\0\x1b\x1f\x7f", 4)), "\\x00\\x1b\\x1f\\x7f");
}

TEST(EscapedText, GivenABackslash_ThenItIsDoubled)
{
    EXPECT_EQ(text("a\\nb"), "a\\\\nb");
}

TEST(EscapedText, GivenHighBytes_ThenTheyPass)
{
    EXPECT_EQ(text("\x80\xC3\xA9\xFF"), "\x80\xC3\xA9\xFF");
}

TEST(EscapedText, GivenEveryByte_ThenTheOriginalCanBeReadBack)
{
    EXPECT_EQ(unescaped(text(allBytes())), allBytes());
}

TEST(JsonString, GivenNothing_ThenEmptyString)
{
    EXPECT_EQ(json(""), "\"\"");
}

TEST(JsonString, GivenEveryAsciiByte_ThenAParserReadsItBack)
{
    const std::string ascii = allBytes().substr(0, 128);
    EXPECT_EQ(nlohmann::json::parse(json(ascii)).get<std::string>(), ascii);
}

TEST(JsonString, GivenEveryByte_ThenItStaysOneLineOfValidJson)
{
    EXPECT_EQ(json(allBytes()).find('\n'), std::string::npos);
    EXPECT_TRUE(nlohmann::json::accept(json(allBytes())));
}

TEST(JsonString, GivenWellFormedUtf8AtTheEndsOfItsRanges_ThenItPasses)
{
    for (const std::string character : {"\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF", "\xEE\x80\x80",
                                        "\xEF\xBF\xBF", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF"}) {
        EXPECT_EQ(json(character), '"' + character + '"');
        EXPECT_TRUE(nlohmann::json::accept(json(character)));
    }
}

TEST(JsonString, GivenIllFormedUtf8_ThenEachByteBecomesTheReplacementCharacter)
{
    const std::string r = "\xEF\xBF\xBD";
    EXPECT_EQ(json("\xFF"), '"' + r + '"');
    EXPECT_EQ(json("a\x80z"), "\"a" + r + "z\"");
    EXPECT_EQ(json("\xC0\xAF"), '"' + r + r + '"');                 // overlong
    EXPECT_EQ(json("\xC1\xBF"), '"' + r + r + '"');                 // overlong
    EXPECT_EQ(json("\xE0\x9F\xBF"), '"' + r + r + r + '"');         // overlong
    EXPECT_EQ(json("\xED\xA0\x80"), '"' + r + r + r + '"');         // surrogate
    EXPECT_EQ(json("\xF4\x90\x80\x80"), '"' + r + r + r + r + '"'); // beyond U+10FFFF
    EXPECT_EQ(json("\xF5\x80\x80\x80"), '"' + r + r + r + r + '"'); // no first byte at all
}

TEST(JsonString, GivenACharacterCutShort_ThenTheRestIsStillRead)
{
    const std::string r = "\xEF\xBF\xBD";
    EXPECT_EQ(json("\xE2\x82"), '"' + r + r + '"');
    EXPECT_EQ(json("\xE2\x82\""), '"' + r + r + "\\\"\"");
    EXPECT_EQ(json("\xF0\x90\x80z"), '"' + r + r + r + "z\"");
    EXPECT_EQ(json("\xF0\x90z"), '"' + r + r + "z\"");
}

} // namespace
