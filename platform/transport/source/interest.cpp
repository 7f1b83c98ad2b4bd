#include "interest.h"

#include <vector>

namespace qx::transport {

void Interest::begin(const SourcePtr& source)
{
    source->wanted_by = receivers_.matching(source->topic);
    sources_.insert(source);
}

void Interest::end(const SourcePtr& source)
{
    source->wanted_by.clear();
    sources_.erase(source);
}

template <class Visit>
void Interest::for_each_beginning(const std::string& text, Visit visit) const
{
    for (auto at = sources_.lower_bound(text); at != sources_.end() && (*at)->topic.starts_with(text); ++at) {
        visit(*at);
    }
}

std::vector<SourcePtr> Interest::add(const std::shared_ptr<Receiver>& receiver)
{
    receivers_.add(receiver);
    std::vector<SourcePtr> wanted;
    for_each_beginning(receiver->beginning(), [&](const SourcePtr& source) {
        if (receiver->matches(source->topic)) {
            source->wanted_by.push_back(receiver);
            wanted.push_back(source);
        }
    });
    return wanted;
}

void Interest::remove(const std::shared_ptr<Receiver>& receiver)
{
    receivers_.remove(receiver);
    for_each_beginning(receiver->beginning(),
                       [&](const SourcePtr& source) { std::erase(source->wanted_by, receiver); });
}

} // namespace qx::transport
