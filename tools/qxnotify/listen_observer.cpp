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
        satisfy(count_and_print(event_type, record));
    } catch (const std::exception&) {
        satisfy(Satisfied::output_failed);
    }
}

void PrintingObserver::print(std::string_view text) noexcept
{
    const std::lock_guard guard(m_lock);
    if (m_satisfied != Satisfied::no && m_satisfied != Satisfied::count) {
        return;
    }
    try {
        satisfy(write(text));
    } catch (const std::exception&) {
        satisfy(Satisfied::output_failed);
    }
}

/// Once: what came first is the reason.
void PrintingObserver::satisfy(Satisfied how)
{
    if (how != Satisfied::no && m_satisfied == Satisfied::no) {
        m_satisfied = how;
        m_whenSatisfied();
    }
}

Satisfied PrintingObserver::write(std::string_view text)
{
    const Written written = m_write(text);
    if (written == Written::yes) {
        return Satisfied::no;
    }
    return written == Written::closed ? Satisfied::output_closed : Satisfied::output_failed;
}

Satisfied PrintingObserver::count_and_print(int event_type, const google::protobuf::Message& record)
{
    if (!m_options.filter.admits(event_type_name(event_type), record.GetDescriptor()->name())) {
        ++m_totals.filtered;
        return Satisfied::no;
    }
    const Delivery delivery = describe_delivery(lbm::CurrentMessage(), std::chrono::system_clock::now());
    const Satisfied refused = write(format_record({delivery, event_type, record}, m_options.format, m_colour));
    if (refused != Satisfied::no) {
        return refused;
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
