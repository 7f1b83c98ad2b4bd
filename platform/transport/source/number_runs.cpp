#include "number_runs.h"

#include <iterator>

namespace qx::transport {

bool NumberRuns::contains(std::uint32_t number) const
{
    const auto behind = last_of_.upper_bound(number);
    return behind != last_of_.begin() && number <= std::prev(behind)->second;
}

void NumberRuns::insert(std::uint32_t number)
{
    if (contains(number)) {
        return;
    }
    const auto behind = last_of_.lower_bound(number);
    auto run = behind;
    if (behind != last_of_.begin() && std::prev(behind)->second + 1 == number) {
        run = std::prev(behind);
        run->second = number;
    } else {
        run = last_of_.emplace_hint(behind, number, number);
    }
    if (behind != last_of_.end() && behind->first == number + 1) {
        join_next(run);
    }
    if (last_of_.size() > runs_max_) {
        join_next(last_of_.begin());
    }
}

void NumberRuns::join_next(Runs::iterator run)
{
    const auto next = std::next(run);
    run->second = next->second;
    last_of_.erase(next);
}

} // namespace qx::transport
