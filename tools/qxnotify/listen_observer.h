/// The listener's observer: filters, counts and writes.
#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <string>

#include <qx_notify_listener.h>

#include "qxnotify/listen_options.h"
#include "qxnotify/listen_totals.h"
#include "qxnotify/output.h"

namespace qx::tool {

/// Why an observer wants no more records.
enum class Satisfied { no, count, output_closed, output_failed };

/// Threads   records come on the transport's thread; totals, satisfied and finish may be called from any other.
/// Errors    lets no exception out: the listener would report it as a bad record. It ends as output_failed.
class PrintingObserver : public ps_ns::QXNotifyObserver {
public:
    using Write = std::function<Written(std::string_view)>;
    using WhenSatisfied = std::function<void()>;

    /// `when_satisfied` is called once, on the transport's thread.
    PrintingObserver(const ListenOptions& options, bool colour, Write write, WhenSatisfied when_satisfied);

    void OnProductDownloadRecord(messaging::pds::enums::PdsNotifyEventType event_type,
                                 messaging::pds::ProductDownloadRecord& record) override;
    void OnInstrumentDownloadRecord(messaging::pds::enums::PdsNotifyEventType event_type,
                                    messaging::pds::InstrumentDownloadRecord& record) override;

    /// Something else than a record, between the records. An output that refuses it ends the listening as well.
    void print(std::string_view text) noexcept;

    Satisfied satisfied() const;
    /// Records that come afterwards are neither counted nor printed: the totals are final.
    ListenTotals finish();

private:
    void take(int event_type, const google::protobuf::Message& record, std::uint64_t ListenTotals::*counter) noexcept;
    void satisfy(Satisfied how);
    Satisfied write(std::string_view text);
    Satisfied count_and_print(int event_type, const google::protobuf::Message& record);

    const ListenOptions& m_options;
    const bool m_colour;
    const Write m_write;
    const WhenSatisfied m_whenSatisfied;

    mutable std::mutex m_lock; ///< guards what follows
    ListenTotals m_totals;
    Satisfied m_satisfied = Satisfied::no;
    bool m_finished = false;
};

} // namespace qx::tool
