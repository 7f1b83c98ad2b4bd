#include "counters.h"

#include <algorithm>
#include <mutex>
#include <vector>

namespace qx::transport {
namespace {

struct Registry {
    std::mutex mutex;
    std::vector<const Counters*> living;
    lbm_context_stats_t gone{};
};

/// Never destroyed: static objects of the application may delete their contexts at exit.
Registry& registry()
{
    static auto& instance = *new Registry;
    return instance;
}

void retire(Counters* counters)
{
    const std::unique_ptr<Counters> owned{counters};
    owned->sources.subtract(owned->sources.value()); // a level, not a sum
    Registry& r = registry();
    const std::lock_guard lock{r.mutex}; // for both, so that no sum is without it
    owned->add_to(r.gone);
    std::erase(r.living, counters);
}

} // namespace

void Counters::add_to(lbm_context_stats_t& sum) const noexcept
{
    sum.messages_sent += messages_sent.value();
    sum.bytes_sent += bytes_sent.value();
    sum.frames_sent += frames_sent.value();
    sum.sends_refused += sends_refused.value();
    sum.messages_received += messages_received.value();
    sum.bytes_received += bytes_received.value();
    sum.messages_lost += messages_lost.value();
    sum.messages_overflowed += messages_overflowed.value();
    sum.messages_unwanted += messages_unwanted.value();
    sum.copies_dropped += copies_dropped.value();
    sum.packets_refused += packets_refused.value();
    sum.answers_received += answers_received.value();
    sum.answers_dropped += answers_dropped.value();
    sum.queue_messages_max = std::max(sum.queue_messages_max, queue_messages_max.value());
    sum.queue_bytes_max = std::max(sum.queue_bytes_max, queue_bytes_max.value());
    sum.sources += sources.value();
}

std::shared_ptr<Counters> make_counters()
{
    std::shared_ptr<Counters> counters{new Counters, &retire};
    Registry& r = registry();
    const std::lock_guard lock{r.mutex};
    r.living.push_back(counters.get());
    return counters;
}

lbm_context_stats_t process_stats()
{
    Registry& r = registry();
    const std::lock_guard lock{r.mutex};
    lbm_context_stats_t sum = r.gone;
    for (const Counters* const counters : r.living) {
        counters->add_to(sum);
    }
    return sum;
}

} // namespace qx::transport
