/// The bench's observer: looks at every message's number and time.
#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include <qx_notify_listener.h>

#include "qxnotify/bench_figures.h"

namespace qx::tool {

/// Message 0 of a run is compared with the reference, field by field; those from 1 on are timed.
/// Threads   records come on the transport's thread; begin and finish may be called from any other.
class BenchObserver : public ps_ns::QXNotifyObserver {
public:
    /// `received` counts message 0, too.
    using Tell = std::function<void(std::uint64_t received, bool faulty)>;

    static constexpr std::uint64_t tell_every = 1'024;

    /// `reference` is what message 0 is to be, whatever its time. `tell` is called on the transport's thread: after
    /// message 0, from time to time, after the last one, and at the first fault, after which nothing is taken.
    BenchObserver(messaging::pds::InstrumentDownloadRecord reference, Tell tell);

    /// A run of so many messages, not counting message 0.
    void begin(std::uint64_t messages);
    /// What has come until now.
    BenchFigures finish();

    void OnProductDownloadRecord(messaging::pds::enums::PdsNotifyEventType event_type,
                                 messaging::pds::ProductDownloadRecord& record) override;
    void OnInstrumentDownloadRecord(messaging::pds::enums::PdsNotifyEventType event_type,
                                    messaging::pds::InstrumentDownloadRecord& record) override;

private:
    void take(const messaging::pds::InstrumentDownloadRecord& record, std::int64_t now);
    void compare(const messaging::pds::InstrumentDownloadRecord& record);
    void find_fault(std::string fault);

    const Tell m_tell;

    std::mutex m_lock; ///< guards what follows
    messaging::pds::InstrumentDownloadRecord m_reference;
    std::uint64_t m_messages = 0;
    std::uint64_t m_next = 0; ///< the number that is due
    std::string m_fault;
    std::vector<double> m_microseconds;
    std::int64_t m_firstSent = 0;
    std::int64_t m_lastCame = 0;
};

} // namespace qx::tool
