// Texts near valid ones: the reader must take them or refuse them, and what it takes must survive being written.
#include <libjson.h>

#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "platform/json/tests/equal.h"

namespace {

using qx::test::equal;

using namespace std::string_view_literals;

constexpr std::string_view seed_text =
    R"({"id":18446744073709551615,"name":"A\u00e9\ud834\udd1e\n","price":-1.50e-3,"on":true,"off":false,"none":null,)"
    R"("legs":[{"side":"Buy","ratio":1},{"side":"Sell","ratio":2}],"empty":{},"list":[[],[1,[2,[3]]]],"":""})";
constexpr std::string_view alphabet = "{}[]\",:\\u0D8dC9eE+-. \n\0\x1F\x80\xFFtrfn/"sv;

/// One to four edits: replace, insert, remove or repeat. The generator's own numbers are used, without a distribution,
/// since those differ between libraries.
class Mutator {
public:
    std::string next()
    {
        std::string text(seed_text);
        for (auto edits = below(4) + 1; edits > 0; --edits) {
            edit(text);
        }
        return text;
    }

private:
    std::size_t below(std::size_t bound) { return m_random() % bound; }

    void edit(std::string& text)
    {
        const std::size_t at = below(text.size());
        switch (below(4)) {
        case 0:
            text[at] = alphabet[below(alphabet.size())];
            break;
        case 1:
            text.insert(at, 1, alphabet[below(alphabet.size())]);
            break;
        case 2:
            text.erase(at, 1 + below(4));
            break;
        default:
            text.insert(at, text.substr(below(text.size()), below(12)));
        }
    }

    std::mt19937 m_random{20'250'131}; // NOLINT(cert-msc51-cpp): the same texts on every run
};

std::optional<JSONNode> parsed(const std::string& text)
{
    try {
        return libjson::parse(text);
    } catch (const std::invalid_argument&) {
        return std::nullopt;
    }
}

TEST(Mutation, GivenTwentyThousandDamagedTexts_WhenParsed_ThenEachIsRefusedOrSurvivesBeingWritten)
{
    Mutator mutator;
    int accepted = 0;
    for (int i = 0; i < 20'000; ++i) {
        const std::string text = mutator.next();
        const std::optional<JSONNode> node = parsed(text);
        if (node && node->type() == JSON_NODE) {
            ++accepted;
            ASSERT_TRUE(equal(*node, libjson::parse(node->write()))) << text;
            ASSERT_TRUE(equal(*node, libjson::parse(node->write_formatted()))) << text;
        }
    }
    // Both outcomes must be seen often: otherwise the edits no longer test anything.
    EXPECT_GT(accepted, 1'000);
    EXPECT_LT(accepted, 10'000);
}

} // namespace
