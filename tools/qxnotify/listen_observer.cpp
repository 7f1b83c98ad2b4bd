#include "qxnotify/listen_observer.h"

#include <exception>
#include <utility>

#include <lbm/lbm_cpp.h>

#include "qxnotify/notification_names.h"

namespace qx::tool {

PrintingObserver::PrintingObserver(const ListenOptions& options, bool colour, Write write, WhenSatisfied when_satisfied)
    : m_options(options)
    , m_colour(colour)
    , m_write(std::move(write))
    , m_whenSatisfied(std::move(when_satisfied))
{
}

void PrintingObserver::OnProductDownloadRecord(messaging::pds::enums::PdsNotifyEventType event_type,
                                               messaging::pds::ProductDownloadRecord& record)
{
    take(event_type, record, &ListenTotals::products);
}

void PrintingObserver::OnInstrumentDownloadRecord(messaging::pds::enums::PdsNotifyEventType event_type,
                                                  messaging::pds::InstrumentDownloadRecord& record)
{
    take(event_type, record, &ListenTotals::instruments);
}

void PrintingObserver::take(int event_type, const google::protobuf::Message& record,
                            std::uint64_t ListenTotals::*counter) noexcept
{
    const std::lock_guard guard(m_lock);
    if (m_finished || m_satisfied != Satisfied::no) {
        return;
    }
    ++(m_totals.*counter);
    try {
        m_satisfied = count_and_print(event_type, record);
    } catch (const std::exception&) {
        m_satisfied = Satisfied::output_failed;
    }
    if (m_satisfied != Satisfied::no) {
        m_whenSatisfied();
    }
}

Satisfied PrintingObserver::count_and_print(int event_type, const google::protobuf::Message& record)
{
    if (!m_options.filter.admits(event_type_name(event_type), record.GetDescriptor()->name())) {
        ++m_totals.filtered;
        return Satisfied::no;
    }
    const Delivery delivery = describe_delivery(lbm::CurrentMessage(), std::chrono::system_clock::now());
    const Written written = m_write(format_record({delivery, event_type, record}, m_options.format, m_colour));
    if (written != Written::yes) {
        return written == Written::closed ? Satisfied::output_closed : Satisfied::output_failed;
    }
    ++m_totals.printed;
    return m_totals.printed == m_options.count ? Satisfied::count : Satisfied::no;
}

Satisfied PrintingObserver::satisfied() const
{
    const std::lock_guard guard(m_lock);
    return m_satisfied;
}

ListenTotals PrintingObserver::finish()
{
    const std::lock_guard guard(m_lock);
    m_finished = true;
    return m_totals;
}

} // namespace qx::tool
