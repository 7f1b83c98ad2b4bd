#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "platform/transport/source/catalogue.h"

using namespace qx::transport;
using namespace testing;

namespace {

const Clock::time_point start{std::chrono::hours{1}};

/// What a receiver would have after every page was sent: "open", or the final number and frames, by source.
class Shelf {
public:
    std::size_t take_from(CatalogueBook& book)
    {
        std::size_t pages = 0;
        Bytes bytes;
        while (const auto page = book.first_dirty(bytes)) {
            EXPECT_TRUE(decode_page(bytes, entries_));
            pages_[*page].clear();
            for (const CatalogueEntry& e : entries_) {
                pages_[*page][e.source] =
                    e.open ? "open" : std::to_string(e.final_sequence) + '/' + std::to_string(e.frames);
            }
            book.sent(*page);
            ++pages;
        }
        return pages;
    }
    std::map<std::uint32_t, std::string> sources() const
    {
        std::map<std::uint32_t, std::string> all;
        for (const auto& [page, sources] : pages_) {
            all.insert(sources.begin(), sources.end());
        }
        return all;
    }

private:
    std::vector<CatalogueEntry> entries_;
    std::map<std::uint32_t, std::map<std::uint32_t, std::string>> pages_;
};

TEST(Catalogue, GivenMoreSourcesThanAPageHolds_WhenSent_ThenAllAreListedOnFewPages)
{
    CatalogueBook book;
    for (std::uint32_t i = 0; i < page_entries_max + 1; ++i) {
        book.add(i, 0, "T." + std::to_string(i));
    }
    Shelf shelf;
    EXPECT_EQ(shelf.take_from(book), 2U);
    EXPECT_EQ(shelf.sources().size(), page_entries_max + 1);
    EXPECT_FALSE(book.dirty());
}

TEST(Catalogue, GivenAPageThatWasNotSent_WhenAskedAgain_ThenItIsStillDue)
{
    CatalogueBook book;
    book.add(0, 0, "T");
    Bytes bytes;
    EXPECT_EQ(book.first_dirty(bytes), 0U);
    EXPECT_EQ(book.first_dirty(bytes), 0U);
}

TEST(Catalogue, GivenAClosedSource_WhenSent_ThenItsFinalNumberIsListed)
{
    CatalogueBook book;
    book.add(4, 0, "T");
    book.close(4, 99, 8, start);
    book.close(4, 100, 9, start);
    Shelf shelf;
    shelf.take_from(book);
    EXPECT_THAT(shelf.sources(), ElementsAre(Pair(4, "99/8")));
}

TEST(Catalogue, GivenSourcesThatComeAndGo_WhenTimePasses_ThenPagesAreReused)
{
    CatalogueBook book;
    Shelf shelf;
    Clock::time_point now = start;
    for (std::uint32_t i = 0; i < 10 * page_entries_max; ++i) {
        book.add(i, 0, "T");
        book.close(i, 0, 0, now);
        now += closed_entry_kept;
        EXPECT_LE(shelf.take_from(book), 2U);
    }
    EXPECT_LE(shelf.sources().size(), 2U);
}

TEST(Catalogue, GivenManySourcesThatComeAndGoAtOnce_WhenTheirTimeIsNotOver_ThenTheOldestMakeRoom)
{
    CatalogueBook book;
    Shelf shelf;
    constexpr auto count = static_cast<std::uint32_t>(3 * closed_entries_max);
    for (std::uint32_t i = 0; i < count; ++i) {
        book.add(i, 0, "T");
        book.close(i, 7, 1, start);
    }
    EXPECT_LE(shelf.take_from(book), closed_entries_max / page_entries_max + 1);
    EXPECT_LE(shelf.sources().size(), closed_entries_max);
    EXPECT_THAT(shelf.sources(), Contains(Pair(count - 1, "7/1")));
}

TEST(Catalogue, GivenAPage_WhenCutAnywhereOrFollowedByBytes_ThenItIsRefused)
{
    CatalogueBook book;
    book.add(0, 0, "A.B");
    book.add(1, 2, "C");
    Bytes whole;
    book.first_dirty(whole);
    std::vector<CatalogueEntry> entries;
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_FALSE(decode_page(ByteView{whole}.first(length), entries)) << length;
    }
    whole.push_back(0);
    EXPECT_FALSE(decode_page(whole, entries));
}

TEST(Catalogue, GivenAnotherVersionOrTooManyEntries_WhenDecoded_ThenItIsRefused)
{
    std::vector<CatalogueEntry> entries;
    EXPECT_TRUE(decode_page(Bytes{catalogue_version, 0, 0, 0}, entries));
    EXPECT_FALSE(decode_page(Bytes{catalogue_version + 1, 0, 0, 0}, entries));
    EXPECT_FALSE(decode_page(Bytes{catalogue_version, 0, 0xFF, 0xFF}, entries));
}

} // namespace
