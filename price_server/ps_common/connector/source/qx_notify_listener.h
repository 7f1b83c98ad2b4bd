/// Product and instrument records of the product-data service, market by market, as the price server receives them.
///
/// Threads    One control thread at a time constructs, subscribes, unsubscribes and destroys. Notifications of all
///            markets are handled on the listener's own transport thread, one after the other, and the observer is
///            called there; this may begin before SubscribeForMarket has returned.
/// Lifetime   The observer must outlive the listener, and what arrives after an unsubscription still reaches it: see
///            UnsubscribeForMarket. Callbacks hold the listener's address: it can be neither copied nor moved.
///            Destruction deletes the subscribed markets' receivers, each when its running callback has returned, and
///            then the context.
/// Errors     Transport failures while setting up throw lbm::LbmError. Bad records and exceptions of the observer are
///            logged and the next notification is handled.
/// Fatal      A notification without a readable envelope (not JSON at all, or without "et", "dt", "id", or, for a
///            download, without "data") ends the process: the publisher's contract is broken, and what was lost with it
///            cannot be known. Nothing between here and the transport catches that.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>

#include <lbm/lbm_cpp.h>
#include <miscutils/JSONtopb_non_static.h>

#include "instrument_download_record.pb.h"
#include "pds_enums.pb.h"
#include "product_download_record.pb.h"

namespace ps_ns {

using qx::messaging::pds::enums::PdsNotifyDataType;
using qx::messaging::pds::enums::PdsNotifyEventType;

/// What an unknown type name becomes, as a value of the enumerations although no enumerator has it.
inline constexpr int UnsupportedEventType = 100;
inline constexpr int UnsupportedDataType = 100;

/// What the price server is told. Override what is needed; the rest does nothing.
/// Threads    called on the listener's transport thread; the next notification waits until the call returns.
/// Lifetime   a record is valid during the call only; it may be changed or moved from.
/// Errors     a std::exception that leaves a callback is logged as a bad record, any other exception ends the process.
class QXNotifyObserver {
public:
    QXNotifyObserver() = default;
    QXNotifyObserver(const QXNotifyObserver&) = default;
    QXNotifyObserver& operator=(const QXNotifyObserver&) = default;
    virtual ~QXNotifyObserver() = default;

    // The arguments' order differs between deletes and downloads; implementations rely on it.
    // `eventType` may be UnsupportedEventType. Deletes are not reported yet: the listener only logs them.
    virtual void OnInstrumentDeleteRecord(std::uint64_t /*id*/, PdsNotifyEventType /*eventType*/) {}
    virtual void OnInstrumentDownloadRecord(PdsNotifyEventType /*eventType*/,
                                            qx::messaging::pds::InstrumentDownloadRecord& /*record*/)
    {
    }
    virtual void OnProductDeleteRecord(std::uint64_t /*id*/, PdsNotifyEventType /*eventType*/) {}
    virtual void OnProductDownloadRecord(PdsNotifyEventType /*eventType*/,
                                         qx::messaging::pds::ProductDownloadRecord& /*record*/)
    {
    }
};

class NotificationEnvelope;

class QXNotifyListener {
public:
    /// Opens a transport context of its own, configured as "PriceEnvironmentContext". `observer` may be null only
    /// as long as no download record arrives.
    explicit QXNotifyListener(QXNotifyObserver* observer);
    QXNotifyListener(const QXNotifyListener&) = delete;
    QXNotifyListener& operator=(const QXNotifyListener&) = delete;

    /// Starts receiving a market's notifications. Each market is started once in a listener's life: a repeated call
    /// does nothing, also after an unsubscription and after a failure.
    void SubscribeForMarket(std::uint64_t marketId);

    /// Gives up the market's receiver without ending it: it lives on and the market's records keep arriving for as long
    /// as the listener lives. It falls silent with the listener's context. Nobody waits for its callback then: it must
    /// not be in one while the listener is destroyed.
    void UnsubscribeForMarket(std::uint64_t marketId);
    /// The same for every market.
    void UnsubscribeAll();

    /// The receivers' callback; public so that a notification can be handed in by other means than the transport.
    void DoHandleNotification(lbm::Message msg);

    /// "Create", "Update" and "Delete", exactly so; else UnsupportedEventType.
    PdsNotifyEventType GetNotifyEventTypeFromString(const std::string& name);
    /// The names of the download and delete records; else, also for the other enumerators, UnsupportedDataType.
    PdsNotifyDataType GetNotifyDataTypeFromString(const std::string& name);

private:
    struct Notification;
    void HandleData(const lbm::Message& msg);
    Notification ReadMembers(const NotificationEnvelope& envelope);
    void HandleRecord(const Notification& notification);
    static void LogDropped(const Notification& notification);
    template <class Kind>
    void HandleDownload(const Notification& notification);
    template <class Kind>
    void ConvertAndDeliver(const Notification& notification, const std::string& data);

    // Destroyed in reverse: the receivers wait for their callbacks and go before the context they live on. A callback
    // may thus run when observer and converter are already past their destructors. That is harmless as long as neither
    // destructor touches what a callback reads: the pointer has none, and conversion reads no state of the converter.
    lbm::Context m_qxNotifyLbmContext;
    std::map<std::uint64_t, std::unique_ptr<lbm::WildcardReceiver>> m_marketUpdateReceivers; ///< null: given up
    std::set<std::uint64_t> m_subscribedMarkets;                                             ///< never shrinks
    qx::JSONProto m_jsonToProto;
    QXNotifyObserver* m_observer;
};

} // namespace ps_ns
