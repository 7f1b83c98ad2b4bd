#include "qxnotify/bench_observer.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include <google/protobuf/util/message_differencer.h>

#include "qxnotify/bench_message.h"

namespace qx::tool {

BenchObserver::BenchObserver(messaging::pds::InstrumentDownloadRecord reference, Tell tell)
    : m_tell(std::move(tell))
    , m_reference(std::move(reference))
{
}

void BenchObserver::begin(std::uint64_t messages)
{
    const std::lock_guard guard(m_lock);
    m_messages = messages;
    m_next = 0;
    m_fault.clear();
    m_microseconds.clear();
    m_microseconds.reserve(messages); // nothing is allocated while messages are timed
}

BenchFigures BenchObserver::finish()
{
    const std::lock_guard guard(m_lock);
    BenchFigures figures{m_microseconds.size(), m_fault, 0, summarise(m_microseconds)};
    if (!m_microseconds.empty()) {
        figures.seconds = static_cast<double>(m_lastCame - m_firstSent) / 1e9;
    }
    return figures;
}

void BenchObserver::OnProductDownloadRecord(messaging::pds::enums::PdsNotifyEventType /*event_type*/,
                                            messaging::pds::ProductDownloadRecord& /*record*/)
{
    const std::lock_guard guard(m_lock);
    find_fault("a product came, which nobody sent");
}

void BenchObserver::OnInstrumentDownloadRecord(messaging::pds::enums::PdsNotifyEventType /*event_type*/,
                                               messaging::pds::InstrumentDownloadRecord& record)
{
    const auto now = std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
    const std::lock_guard guard(m_lock);
    if (!m_fault.empty()) {
        return;
    }
    const std::uint64_t number = BenchMessage::number_of(record);
    if (number != m_next || number > m_messages) {
        return find_fault("message " + std::to_string(number) + " came where " +
                          (m_next > m_messages ? "none" : std::to_string(m_next)) + " was due");
    }
    take(record, now);
}

void BenchObserver::take(const messaging::pds::InstrumentDownloadRecord& record, std::int64_t now)
{
    const std::int64_t sent = BenchMessage::nanoseconds_of(record);
    if (m_next == 0) {
        compare(record);
    } else {
        m_firstSent = m_next == 1 ? sent : m_firstSent;
        m_lastCame = now;
        m_microseconds.push_back(static_cast<double>(now - sent) / 1e3);
    }
    ++m_next;
    if (m_fault.empty() && (m_next == 1 || m_next > m_messages || m_next % tell_every == 0)) {
        m_tell(m_next, false);
    }
}

void BenchObserver::compare(const messaging::pds::InstrumentDownloadRecord& record)
{
    m_reference.set_updated_time_ns(record.updated_time_ns());
    google::protobuf::util::MessageDifferencer differencer;
    std::string differences;
    differencer.ReportDifferencesToString(&differences);
    if (!differencer.Compare(m_reference, record)) {
        std::replace(differences.begin(), differences.end(), '\n', ' ');
        find_fault("the record came changed: " + differences);
    }
}

void BenchObserver::find_fault(std::string fault)
{
    if (m_fault.empty()) {
        m_fault = std::move(fault);
        m_tell(m_next, true);
    }
}

} // namespace qx::tool
