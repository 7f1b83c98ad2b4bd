#include "frame_faults.h"

#include <algorithm>
#include <utility>

namespace qx::transport {

FaultPolicy::FaultPolicy(const Options& context_options)
    : dropped(static_cast<unsigned>(context_options.get_integer("fault_drop_permille")))
    , doubled(static_cast<unsigned>(context_options.get_integer("fault_double_permille")))
    , swapped(static_cast<unsigned>(context_options.get_integer("fault_swap_permille")))
    , seed(static_cast<std::uint32_t>(context_options.get_integer("fault_seed")))
{
}

FrameFaults::FrameFaults(const FaultPolicy& policy, Take take)
    : policy_(policy)
    , take_(std::move(take))
    , random_(policy.seed)
{
}

bool FrameFaults::happens(unsigned permille)
{
    return permille > 0 && random_() % 1'000 < permille;
}

std::vector<FrameFaults::Held>::iterator FrameFaults::find(const StreamId& stream, ReaderId reader)
{
    return std::find_if(held_.begin(), held_.end(),
                        [&](const Held& held) { return held.stream == stream && held.reader == reader; });
}

void FrameFaults::pass(const StreamId& stream, ReaderId reader, ByteView body, TimePoint now)
{
    if (happens(policy_.dropped)) {
        return;
    }
    if (happens(policy_.doubled)) {
        take_(stream, reader, body);
    }
    if (find(stream, reader) == held_.end() && happens(policy_.swapped)) {
        held_.push_back({stream, reader, {body.begin(), body.end()}, now + held_frame_kept});
        return;
    }
    take_(stream, reader, body);
    let_go(stream, reader);
}

void FrameFaults::let_go(const StreamId& stream, ReaderId reader)
{
    if (const auto found = find(stream, reader); found != held_.end()) {
        const Held held = std::move(*found);
        held_.erase(found);
        take_(held.stream, held.reader, held.body);
    }
}

void FrameFaults::let_go_due(TimePoint now)
{
    while (!held_.empty() && held_.front().due <= now) {
        const Held& oldest = held_.front();
        let_go(oldest.stream, oldest.reader);
    }
}

std::optional<FrameFaults::TimePoint> FrameFaults::next_due() const
{
    return held_.empty() ? std::nullopt : std::optional{held_.front().due};
}

} // namespace qx::transport
