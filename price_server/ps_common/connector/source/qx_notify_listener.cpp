#include "qx_notify_listener.h"

#include <exception>
#include <utility>

#include <boost/property_tree/json_parser.hpp>
#include <libjson.h>
#include <logger/logger.h>

#include "notification_envelope.h"

/// A statement of the listener; `level` is the bare name.
#define QXNOTIFY_LOG(level) QX_LOG(level) << "QXNOTIFY | "

namespace ps_ns {
namespace {

namespace pds = qx::messaging::pds;

constexpr const char* contextName = "PriceEnvironmentContext";

/// The dots of the prefix are left unescaped on purpose, so each matches any character; the one after the id does not.
std::string TopicPattern(std::uint64_t marketId)
{
    return "qxnotify.public.pds.native." + std::to_string(marketId) + "\\..*";
}

/// Released, not reset: the price server counts on the market's records going on. The transport keeps calling the
/// receiver, so it must stay, without an owner.
void GiveUp(std::unique_ptr<lbm::WildcardReceiver>& receiver) noexcept
{
    static_cast<void>(receiver.release());
}

/// A null pointer would silence the thread's log for good.
const char* OrNothing(const char* text) noexcept
{
    return text != nullptr ? text : "";
}

void LogLoss(const char* kind, const lbm::Message& msg)
{
    QXNOTIFY_LOG(QXLOG_WARNING) << kind << " topic=" << OrNothing(msg.TopicName())
                                << " source=" << OrNothing(msg.Source()) << " sequence_no=" << msg.SequenceNumber();
}

void LogStream(const char* kind, const lbm::Message& msg)
{
    QXNOTIFY_LOG(QXLOG_DEBUG) << kind << " topic=" << OrNothing(msg.TopicName())
                              << " source=" << OrNothing(msg.Source());
}

void LogEvent(const lbm::Message& msg)
{
    switch (msg.Type()) {
    case LBM_MSG_UNRECOVERABLE_LOSS:
        return LogLoss("LOST", msg);
    case LBM_MSG_UNRECOVERABLE_LOSS_BURST:
        return LogLoss("LOSS_BURST", msg);
    case LBM_MSG_BOS:
        return LogStream("BOS", msg);
    case LBM_MSG_EOS:
        return LogStream("EOS", msg);
    case LBM_MSG_NO_SOURCE_NOTIFICATION:
        QXNOTIFY_LOG(QXLOG_DEBUG) << "NO_SOURCE topic=" << OrNothing(msg.TopicName());
        return;
    default:
        QXNOTIFY_LOG(QXLOG_INFO) << "Unsupported type=" << msg.Type();
    }
}

/// An envelope that is not JSON is taken for an empty one, and the caller goes on with it: the first member is missing
/// then, and that ends the process as the header says. This line is the last trace of what was wrong.
NotificationEnvelope ParseOrWarn(const std::string& payload)
{
    try {
        return NotificationEnvelope(payload);
    } catch (const boost::property_tree::json_parser::json_parser_error& error) {
        QXNOTIFY_LOG(QXLOG_WARNING) << "Bad JSON format outer data. reason=" << error.message();
    }
    return {};
}

/// What product and instrument downloads differ in.
struct ProductDownload {
    using Record = pds::ProductDownloadRecord;
    static constexpr auto deliver = &QXNotifyObserver::OnProductDownloadRecord;
    static constexpr const char* name = "Product Download";
    static constexpr const char* idLabel = " product_id=";
    static constexpr const char* reflection = "refelection"; // not a slip to mend: log searches look for it
};

struct InstrumentDownload {
    using Record = pds::InstrumentDownloadRecord;
    static constexpr auto deliver = &QXNotifyObserver::OnInstrumentDownloadRecord;
    static constexpr const char* name = "Instrument Download";
    static constexpr const char* idLabel = " instrument_id=";
    static constexpr const char* reflection = "reflection";
};

} // namespace

/// One data message, its envelope read.
struct QXNotifyListener::Notification {
    const NotificationEnvelope& envelope;
    PdsNotifyEventType eventType;
    const std::string& dataTypeText;
    PdsNotifyDataType dataType;
    const std::string& id;
};

QXNotifyListener::QXNotifyListener(QXNotifyObserver* observer)
    : m_qxNotifyLbmContext(lbm::ContextAttributes(contextName))
    , m_observer(observer)
{
}

void QXNotifyListener::SubscribeForMarket(std::uint64_t marketId)
{
    QXNOTIFY_LOG(QXLOG_INFO) << "Subscribing for market_id=" << marketId;
    const std::string pattern = TopicPattern(marketId);
    if (m_subscribedMarkets.contains(marketId)) {
        return;
    }
    QXNOTIFY_LOG(QXLOG_INFO) << "Listening on topic=" << pattern;
    // Before the receiver exists and for good: a market that failed is not retried behind the caller's back.
    m_subscribedMarkets.insert(marketId);
    const lbm::ReceiverTopicAttributes topicAttributes;
    const lbm::WildcardReceiverAttributes wildcardAttributes;
    auto receiver = std::make_unique<lbm::WildcardReceiver>(
        m_qxNotifyLbmContext, pattern, [this](lbm::Message msg) { DoHandleNotification(std::move(msg)); }, nullptr,
        topicAttributes, wildcardAttributes);
    m_marketUpdateReceivers.emplace(marketId, std::move(receiver));
}

void QXNotifyListener::UnsubscribeForMarket(std::uint64_t marketId)
{
    const auto found = m_marketUpdateReceivers.find(marketId);
    if (found == m_marketUpdateReceivers.end()) {
        QXNOTIFY_LOG(QXLOG_INFO) << "QXNotify receiver does not exist for market: " << marketId;
        return;
    }
    GiveUp(found->second);
    QXNOTIFY_LOG(QXLOG_INFO) << "Removed Receiver for market: " << marketId;
}

void QXNotifyListener::UnsubscribeAll()
{
    if (m_marketUpdateReceivers.empty()) {
        return;
    }
    for (auto& [marketId, receiver] : m_marketUpdateReceivers) {
        GiveUp(receiver);
    }
    m_marketUpdateReceivers.clear();
    QXNOTIFY_LOG(QXLOG_INFO) << "Removed Receivers for all markets";
}

PdsNotifyEventType QXNotifyListener::GetNotifyEventTypeFromString(const std::string& name)
{
    if (name == "Delete") {
        return pds::enums::Delete;
    }
    if (name == "Update") {
        return pds::enums::Update;
    }
    if (name == "Create") {
        return pds::enums::Create;
    }
    return static_cast<PdsNotifyEventType>(UnsupportedEventType);
}

PdsNotifyDataType QXNotifyListener::GetNotifyDataTypeFromString(const std::string& name)
{
    if (name == "ProductDownloadRecord") {
        return pds::enums::ProductDownloadRecord;
    }
    if (name == "ProductDeleteRecord") {
        return pds::enums::ProductDeleteRecord;
    }
    if (name == "InstrumentDownloadRecord") {
        return pds::enums::InstrumentDownloadRecord;
    }
    if (name == "InstrumentDeleteRecord") {
        return pds::enums::InstrumentDeleteRecord;
    }
    return static_cast<PdsNotifyDataType>(UnsupportedDataType);
}

// By value: the message's reference is this call's own and ends with it.
void QXNotifyListener::DoHandleNotification(lbm::Message msg) // NOLINT(performance-unnecessary-value-param): see above
{
    if (msg.Type() == LBM_MSG_DATA) {
        HandleData(msg);
    } else {
        LogEvent(msg);
    }
}

void QXNotifyListener::HandleData(const lbm::Message& msg)
{
    const std::string payload(msg.Data(), msg.Length());
    QXNOTIFY_LOG(QXLOG_DEBUG) << "Outer JSON Data=" << payload;
    const NotificationEnvelope envelope = ParseOrWarn(payload);
    HandleRecord(ReadMembers(envelope));
}

/// In the order in which a missing one is noticed.
QXNotifyListener::Notification QXNotifyListener::ReadMembers(const NotificationEnvelope& envelope)
{
    const PdsNotifyEventType eventType = GetNotifyEventTypeFromString(envelope.Text(envelope_key::eventType));
    const std::string& dataTypeText = envelope.Text(envelope_key::dataType);
    const PdsNotifyDataType dataType = GetNotifyDataTypeFromString(dataTypeText);
    return {envelope, eventType, dataTypeText, dataType, envelope.Text(envelope_key::id)};
}

void QXNotifyListener::HandleRecord(const Notification& notification)
{
    switch (notification.dataType) {
    case pds::enums::ProductDownloadRecord:
        HandleDownload<ProductDownload>(notification);
        break;
    case pds::enums::InstrumentDownloadRecord:
        HandleDownload<InstrumentDownload>(notification);
        break;
    default:
        LogDropped(notification);
        break;
    }
}

/// Deletes, and whatever this listener has no use for.
void QXNotifyListener::LogDropped(const Notification& notification)
{
    switch (notification.dataType) {
    case pds::enums::ProductDeleteRecord:
        QXNOTIFY_LOG(QXLOG_DEBUG) << "Product Delete will be ignored for product_id=" << notification.id;
        break;
    case pds::enums::InstrumentDeleteRecord:
        QXNOTIFY_LOG(QXLOG_DEBUG) << "Instrument Delete will be ignored for instrument_id=" << notification.id;
        break;
    default:
        QXNOTIFY_LOG(QXLOG_WARNING) << "Unsupported data_type=" << notification.dataTypeText
                                    << " security_id=" << notification.id;
        break;
    }
}

template <class Kind>
void QXNotifyListener::HandleDownload(const Notification& notification)
{
    const std::string& data = notification.envelope.Text(envelope_key::data);
    QXNOTIFY_LOG(QXLOG_DEBUG) << Kind::name << ": Inner JSON Data=" << data;
    try {
        ConvertAndDeliver<Kind>(notification, data);
    } catch (const std::exception& error) {
        // The observer's exceptions come here too, and are reported as a bad record: from the listener's side a record
        // that its consumer chokes on is one.
        QXNOTIFY_LOG(QXLOG_WARNING) << Kind::name << ": Bad JSON format data_type=" << notification.dataTypeText
                                    << Kind::idLabel << notification.id << " reason=" << OrNothing(error.what());
    }
}

template <class Kind>
void QXNotifyListener::ConvertAndDeliver(const Notification& notification, const std::string& data)
{
    const JSONNode node = libjson::parse(data);
    typename Kind::Record record;
    if (!m_jsonToProto.JSONToProtobuf(record, node, /*strict=*/false, /*logEmptyJson=*/false)) {
        QXNOTIFY_LOG(QXLOG_WARNING) << Kind::name << ": No corresponding " << Kind::reflection
                                    << " for data_type=" << notification.dataTypeText << Kind::idLabel
                                    << notification.id;
        return;
    }
    QXNOTIFY_LOG(QXLOG_DEBUG) << Kind::name << " Proto: " << record.ShortDebugString();
    (m_observer->*Kind::deliver)(notification.eventType, record);
}

} // namespace ps_ns
