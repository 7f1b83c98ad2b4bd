#include "flusher.h"

#include <sys/prctl.h>

#include <algorithm>

namespace qx::transport {
namespace {

/// The kernel rounds waits up by 50 µs unless told otherwise: as long as a message may wait for company altogether.
constexpr unsigned long timer_slack_ns = 1'000;

} // namespace

Flusher::~Flusher()
{
    {
        const std::lock_guard lock{mutex_};
        stop_ = true;
    }
    changed_.notify_one();
    thread_.finish();
}

void Flusher::start()
{
    const std::lock_guard lock{mutex_};
    start_locked();
}

void Flusher::start_locked()
{
    if (!thread_.running()) {
        thread_ = Thread{"lbm_flusher", [this] { run(); }};
    }
}

void Flusher::arm(std::weak_ptr<Flushable> target, std::chrono::steady_clock::time_point when)
{
    std::unique_lock lock{mutex_};
    start_locked();
    armed_.push_back({when, std::move(target)});
    const bool earlier = when < sleeping_until_;
    lock.unlock();
    if (earlier) {
        changed_.notify_one();
    }
}

std::vector<Flusher::Armed> Flusher::take_due()
{
    const auto now = std::chrono::steady_clock::now();
    const auto due = std::partition(armed_.begin(), armed_.end(), [&](const Armed& a) { return a.when > now; });
    std::vector<Armed> taken{std::make_move_iterator(due), std::make_move_iterator(armed_.end())};
    armed_.erase(due, armed_.end());
    return taken;
}

void Flusher::run()
{
    prctl(PR_SET_TIMERSLACK, timer_slack_ns, 0, 0, 0);
    std::unique_lock lock{mutex_};
    while (!stop_) {
        const auto next = std::min_element(armed_.begin(), armed_.end(),
                                           [](const Armed& a, const Armed& b) { return a.when < b.when; });
        sleeping_until_ = next == armed_.end() ? std::chrono::steady_clock::now() + std::chrono::hours{1} : next->when;
        changed_.wait_until(lock, sleeping_until_);
        sleeping_until_ = {}; // awake: nobody needs to wake it
        std::vector<Armed> due = take_due();
        lock.unlock();
        std::vector<Armed> again;
        for (Armed& item : due) {
            const std::shared_ptr<Flushable> target = item.target.lock();
            if (const auto when = target ? target->flush() : std::nullopt) {
                again.push_back({*when, item.target});
            }
        }
        lock.lock();
        std::move(again.begin(), again.end(), std::back_inserter(armed_));
    }
}

} // namespace qx::transport
