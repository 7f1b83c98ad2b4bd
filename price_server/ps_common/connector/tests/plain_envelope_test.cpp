// The short reader gives the texts that the full one gives, or leaves the payload to it.
#include <algorithm>
#include <array>
#include <cstddef>
#include <random>
#include <string>
#include <string_view>

#include <gmock/gmock.h>

#include "envelope_twins.h"

using ps_ns::test::IsTakenAlike;

namespace {

constexpr std::string_view plain = R"({"et":"Update","dt":"InstrumentDownloadRecord","id":17,"data":"{\"a\":1}"})";

/// An envelope with that text where the record would be.
std::string WithData(const std::string& value)
{
    return R"({"et":"Create","dt":"x","id":"1","data":)" + value + "}";
}

TEST(PlainEnvelope, GivenWhatPublishersSend_WhenRead_ThenItIsTaken)
{
    EXPECT_TRUE(IsTakenAlike(std::string(plain)));
    EXPECT_TRUE(IsTakenAlike(" {\t\"et\" : \"a\" ,\r\n\"dt\":true, \"id\":-0.5e+07,\"more\":null} \n"));
    EXPECT_TRUE(IsTakenAlike(R"({"et":"","et":"2","dt":"","id":"","data":"","data":"2"})"));
    EXPECT_TRUE(IsTakenAlike(R"({"et":false,"dt":1E5,"id":1e-5,"data":0})"));
}

TEST(PlainEnvelope, GivenEscapesAndBytesAboveAscii_WhenRead_ThenTheyAreTakenAsTheFullReaderTakesThem)
{
    EXPECT_TRUE(IsTakenAlike(
        WithData(R"("\"\\\/\b\f\n\r\t\u0000\u0041\u007f\u0080\u00e9\u07FF\u0800\u20AC\uD7FF\uE000\uFFFF")")));
    EXPECT_TRUE(
        IsTakenAlike(WithData("\"\x7F\xC0\x80\xDF\xBF\xE0\x80\x80\xEF\xBF\xBF\xF0\x80\x80\x80\xF7\xBF\xBF\xBF\"")));
}

/// Strings are read by blocks of sixteen bytes, and byte by byte where the payload is about to end.
TEST(PlainEnvelope, GivenEachByteAnywhereInTwoBlocks_WhenRead_ThenItCountsAsForTheFullReader)
{
    constexpr std::size_t size = 34;
    for (const std::size_t behind : {0U, 16U}) {
        for (std::size_t at = 0; at < size; ++at) {
            std::string value(size, 'x');
            for (unsigned byte = 0; byte < 256; ++byte) {
                value[at] = static_cast<char>(byte);
                const std::string payload = WithData('"' + value + '"') + std::string(behind, ' ');
                const bool plainAscii = byte >= 0x20 && byte < 0x80 && byte != '"' && byte != '\\';
                ASSERT_EQ(IsTakenAlike(payload), plainAscii) << payload;
            }
        }
    }
}

TEST(PlainEnvelope, GivenEachByteAnywhereInAKey_WhenRead_ThenItCountsAsForTheFullReader)
{
    constexpr std::size_t size = 34;
    for (std::size_t at = 0; at < size; ++at) {
        std::string key(size, 'x');
        for (unsigned byte = 0; byte < 256; ++byte) {
            key[at] = static_cast<char>(byte);
            const std::string payload = "{\"" + key + R"(":0,"et":1,"dt":2,"id":3})";
            const bool plainAscii = byte >= 0x20 && byte < 0x80 && byte != '"' && byte != '\\';
            ASSERT_EQ(IsTakenAlike(payload), plainAscii) << payload;
        }
    }
}

TEST(PlainEnvelope, GivenEscapesAndLongCharactersAnywhereInTwoBlocks_WhenRead_ThenTheyAreTaken)
{
    for (const char* piece : {"\\\"", "\\\\\\n", "\\u20AC", "\xC3\xA9", "\xF0\x9F\x98\x80"}) {
        for (std::size_t before = 0; before < 34; ++before) {
            for (const std::size_t between : {0U, 1U, 15U, 16U, 17U}) {
                const std::string value =
                    std::string(before, 'x') + piece + std::string(between, 'y') + piece + std::string(before, 'z');
                ASSERT_TRUE(IsTakenAlike(WithData('"' + value + '"'))) << value;
            }
        }
    }
}

TEST(PlainEnvelope, GivenWhatItIsNotSureOf_WhenRead_ThenItIsLeftToTheFullReader)
{
    for (const std::string& payload : {std::string{},
                                       std::string{"17"},
                                       std::string{"{}"},
                                       std::string{"[]"},
                                       "\xEF\xBB\xBF" + std::string(plain),
                                       std::string(plain) + '\0',
                                       std::string(plain) + "x",
                                       WithData("{}"),
                                       WithData("[]"),
                                       WithData("01"),
                                       WithData("1."),
                                       WithData(".5"),
                                       WithData("1e"),
                                       WithData("+1"),
                                       WithData("-"),
                                       WithData("1e+-5"),
                                       WithData("nul"),
                                       WithData("True"),
                                       WithData("\"\x01\""),
                                       WithData("\"\x80\""),
                                       WithData("\"\x80\x80\""),
                                       WithData("\"\xBF\x80\""),
                                       WithData("\"\xC3\""),
                                       WithData("\"\xF8\x80\x80\x80\""),
                                       WithData("\"\xFF\x80\x80\x80\""),
                                       WithData(R"("\v")"),
                                       WithData(R"("\x")"),
                                       WithData(R"("\u12")"),
                                       WithData(R"("\u00g0")"),
                                       WithData(R"("\uD800")"),
                                       WithData(R"("\uDBFF")"),
                                       WithData(R"("\uD83D\uDE00")"),
                                       WithData(R"("\uDE00")"),
                                       WithData(R"("\uDFFF")"),
                                       WithData("\"open"),
                                       std::string{R"({"\u0065t":1,"dt":2,"id":3})"},
                                       std::string{"{\"\xC3\xA9\":0,\"et\":1,\"dt\":2,\"id\":3}"},
                                       std::string{R"({"dt":2,"id":3})"},
                                       std::string{R"({"et":1,"dt":2,"id":3,})"},
                                       std::string{R"({"et":1 "dt":2,"id":3})"}}) {
        EXPECT_FALSE(IsTakenAlike(payload)) << payload;
    }
}

TEST(PlainEnvelope, GivenAPayloadThatIsCutAnywhere_WhenRead_ThenItIsLeftToTheFullReader)
{
    for (const std::string& payload :
         {std::string(plain),
          WithData("\"as long as a block \\u20AC\xC3\xA9 and longer \xF0\x9F\x98\x80\xE2\x82\xAC\\u00e9\\\"\"")}) {
        ASSERT_TRUE(IsTakenAlike(payload));
        for (std::size_t size = 0; size < payload.size(); ++size) {
            EXPECT_FALSE(IsTakenAlike(payload.substr(0, size))) << size;
        }
    }
}

TEST(PlainEnvelope, GivenAnEnvelopeThatWasRead_WhenTextsAreAskedFor_ThenOnlyThoseOfItsOwnMembers)
{
    const auto envelope = ps_ns::PlainEnvelope::Read(plain);
    ASSERT_TRUE(envelope);
    EXPECT_THAT(envelope->Text("data"), testing::Pointee(std::string{R"({"a":1})"}));
    EXPECT_EQ(envelope->Text("none"), nullptr);
}

/// Changes envelopes in ways that mostly keep them close to right.
class Mutator {
public:
    explicit Mutator(unsigned seed)
        : m_random(seed)
    {
    }

    std::string Make()
    {
        std::string text(Pick(seeds));
        for (unsigned changes = 1 + Below(2); changes > 0; --changes) {
            Change(text);
        }
        return text;
    }

private:
    static constexpr std::array<std::string_view, 5> seeds{
        plain, R"({"et":"Delete","dt":"ProductDeleteRecord","id":"9"})",
        R"( { "x" : null , "et" : "\u0041" , "dt":"\/\\" , "id" : 1.0E+05 , "data" : "" } )",
        "{\"dt\":\"d\xC3\xA9\",\"id\":true,\"et\":\"e\",\"id\":false,\"data\":\"[\\\"\\u20ac\\\"]\"}",
        "{\"et\":\"as long as a block and longer\",\"dt\":\"\",\"id\":\"\",\"data\":\"{\\\"as long as a "
        "block\\\":\xE2\x82\xAC}\"}"};
    static constexpr std::array<std::string_view, 32> pieces{
        "\"",   "\\",   "\\\"", "\\u",      "\\u00e9", "\\uD800", "\\uDC00",   "\\n",
        "{",    "}",    "[",    "]",        ":",       ",",       " ",         "\n",
        "0",    "-",    ".5",   "e+1",      "01",      "true",    "null",      "\x1F",
        "\x7F", "\x80", "\xC3", "\xE2\x82", "\xF0",    "\xFF",    "\"et\":1,", "\"data\":\"\","};

    unsigned Below(std::size_t limit) { return static_cast<unsigned>(m_random() % limit); }
    template <class All>
    std::string_view Pick(const All& all)
    {
        return all[Below(all.size())];
    }

    void Change(std::string& text)
    {
        const std::size_t at = Below(text.size() + 1);
        switch (Below(5)) {
        case 0:
            text.insert(at, Pick(pieces));
            break;
        case 1:
            text.erase(at, 1 + Below(3));
            break;
        case 2:
            text.replace(at, std::min<std::size_t>(1, text.size() - at), Pick(pieces));
            break;
        case 3:
            text.insert(at, 1, static_cast<char>(m_random()));
            break;
        default: {
            const std::size_t from = Below(text.size() + 1);
            text.insert(at, text.substr(from, Below(12)));
        }
        }
    }

    std::mt19937 m_random;
};

/// The parameter is the seed. Several cases, so that an instrumented one stays short.
class MutatedEnvelopes : public testing::TestWithParam<unsigned> {};

TEST_P(MutatedEnvelopes, GivenManyOfThem_WhenRead_ThenNoneIsReadOtherwise)
{
    constexpr std::size_t count = 30'000;
    Mutator mutator(GetParam());
    std::size_t taken = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const std::string payload = mutator.Make();
        ASSERT_NO_THROW(taken += IsTakenAlike(payload) ? 1U : 0U) << payload;
    }
    EXPECT_GT(taken, count / 8);
    EXPECT_LT(taken, count / 2);
}

INSTANTIATE_TEST_SUITE_P(PlainEnvelope, MutatedEnvelopes, testing::Range(0U, 8U));

} // namespace
