/// What the fault scenarios have in common: leases, and publishers and listeners that have met.
#pragma once

#include <chrono>
#include <initializer_list>
#include <string>
#include <thread>

#include "scenario.h"
#include "socket_drops.h"

namespace test {

/// No stall of a busy machine may look like a death.
inline const OptionList patient{{"lease_ms", "60000"}};
/// For deaths that are waited for: longer than a busy machine stalls. The window takes all that such a sender sends,
/// so that it never waits for room and what it is known to have written has left it.
inline const OptionList mortal{{"lease_ms", "12000"}, {"send_window_bytes", "268435456"}};
/// For stops that are to be taken for deaths.
inline const OptionList hasty{{"lease_ms", "1500"}};
/// One message a frame: with many, a share of the frames would be few.
inline const OptionList single_frames{{"lease_ms", "60000"}, {"flush_gap_us", "0"}};

inline OptionList with(OptionList options, std::initializer_list<OptionList::value_type> more)
{
    options.insert(options.end(), more);
    return options;
}

/// How long a fault lasts, not what a test waits for.
inline void last(std::chrono::milliseconds time)
{
    std::this_thread::sleep_for(time);
}

class FaultScenario : public Faults {
protected:
    FaultProcess& start_listener(const OptionList& options, const std::string& pattern = "F[AB]\\.[0-9.]+")
    {
        FaultProcess& listener = start(options);
        listener.tell("listen " + pattern);
        return listener;
    }

    /// Two sources on each of two streams, which a receiver has found.
    FaultProcess& start_publisher(const OptionList& options, const std::string& source_options = "")
    {
        FaultProcess& publisher = start(options);
        const std::string number = std::to_string(processes.size());
        publisher.tell("open FA." + number + " 2 " + source_options);
        publisher.tell("open FB." + number + " 2 " + source_options);
        publisher.tell("connected");
        return publisher;
    }

    /// `end` is to end a publisher that sends without pause.
    template <class End>
    static void end_in_flow(const FaultProcess& listener, FaultProcess& publisher, const std::string& flow, End end)
    {
        const std::uint64_t before = packets_dropped(listener.pid());
        publisher.tell(flow);
        await_progress(listener, publisher, 500);
        end();
        publisher.unrepeated = packets_dropped(listener.pid()) - before;
    }

    std::vector<FaultProcess*> start_publishers(std::size_t count, const OptionList& options, const std::string& flow)
    {
        std::vector<FaultProcess*> publishers;
        for (std::size_t i = 0; i < count; ++i) {
            publishers.push_back(&start_publisher(options));
            publishers.back()->tell(flow);
        }
        return publishers;
    }
};

/// Nobody was taken for gone who was not: each source began and ended once for each receiver.
inline void expect_one_life_each(const Account& account, std::size_t heard_sources)
{
    EXPECT_EQ(account.begins, heard_sources);
    EXPECT_EQ(account.ends, heard_sources);
}

inline void expect_all_delivered(const Account& account)
{
    EXPECT_EQ(account.delivered, account.sent);
    EXPECT_EQ(account.lost, 0U);
}

} // namespace test
