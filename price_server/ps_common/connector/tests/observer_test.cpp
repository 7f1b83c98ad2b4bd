#include <cstddef>
#include <cstring>
#include <type_traits>

#include <gtest/gtest.h>

#include <qx_notify_listener.h>

using ps_ns::PdsNotifyEventType;
using ps_ns::QXNotifyObserver;

static_assert(std::has_virtual_destructor_v<QXNotifyObserver>);
static_assert(!std::is_abstract_v<QXNotifyObserver>);
static_assert(sizeof(QXNotifyObserver) == sizeof(void*), "no data members");
static_assert(std::is_same_v<decltype(&QXNotifyObserver::OnInstrumentDeleteRecord),
                             void (QXNotifyObserver::*)(std::uint64_t, PdsNotifyEventType)>);
static_assert(std::is_same_v<decltype(&QXNotifyObserver::OnProductDeleteRecord),
                             void (QXNotifyObserver::*)(std::uint64_t, PdsNotifyEventType)>);
static_assert(
    std::is_same_v<decltype(&QXNotifyObserver::OnInstrumentDownloadRecord),
                   void (QXNotifyObserver::*)(PdsNotifyEventType, qx::messaging::pds::InstrumentDownloadRecord&)>);
static_assert(
    std::is_same_v<decltype(&QXNotifyObserver::OnProductDownloadRecord),
                   void (QXNotifyObserver::*)(PdsNotifyEventType, qx::messaging::pds::ProductDownloadRecord&)>);

static_assert(!std::is_polymorphic_v<ps_ns::QXNotifyListener>);
static_assert(!std::is_copy_constructible_v<ps_ns::QXNotifyListener>);
static_assert(!std::is_move_constructible_v<ps_ns::QXNotifyListener>);

namespace {

/// Which entry of the virtual table a member function has, as the platform's C++ ABI encodes it: byte offset plus one.
template <class Member>
std::ptrdiff_t SlotOf(Member member)
{
    struct {
        std::ptrdiff_t function;
        std::ptrdiff_t adjustment;
    } encoded{};
    static_assert(sizeof encoded == sizeof member);
    std::memcpy(&encoded, &member, sizeof encoded);
    return (encoded.function - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
}

} // namespace

// Observers compiled long ago are called by their slots: the destructor has the first two.
TEST(QXNotifyObserver, GivenVirtualTable_WhenItsSlotsAreRead_ThenTheOrderIsTheEstablishedOne)
{
    EXPECT_EQ(SlotOf(&QXNotifyObserver::OnInstrumentDeleteRecord), 2);
    EXPECT_EQ(SlotOf(&QXNotifyObserver::OnInstrumentDownloadRecord), 3);
    EXPECT_EQ(SlotOf(&QXNotifyObserver::OnProductDeleteRecord), 4);
    EXPECT_EQ(SlotOf(&QXNotifyObserver::OnProductDownloadRecord), 5);
}

TEST(QXNotifyObserver, GivenNothingOverridden_WhenCalled_ThenTheRecordsAreLeftAlone)
{
    QXNotifyObserver observer;
    qx::messaging::pds::ProductDownloadRecord product;
    product.set_symbol("P");
    qx::messaging::pds::InstrumentDownloadRecord instrument;
    instrument.set_symbol("I");
    observer.OnProductDownloadRecord(qx::messaging::pds::enums::Update, product);
    observer.OnInstrumentDownloadRecord(qx::messaging::pds::enums::Update, instrument);
    observer.OnProductDeleteRecord(1, qx::messaging::pds::enums::Delete);
    observer.OnInstrumentDeleteRecord(1, qx::messaging::pds::enums::Delete);
    EXPECT_EQ(product.symbol(), "P");
    EXPECT_EQ(instrument.symbol(), "I");
}
