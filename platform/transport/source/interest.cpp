#include "interest.h"

#include <algorithm>
#include <iterator>

namespace qx::transport {

void Interest::begin(const SourcePtr& source)
{
    std::copy_if(receivers_.begin(), receivers_.end(), std::back_inserter(source->wanted_by),
                 [&](const auto& receiver) { return receiver->matches(source->topic); });
    sources_.insert(source);
}

void Interest::end(const SourcePtr& source)
{
    source->wanted_by.clear();
    sources_.erase(source);
}

std::vector<SourcePtr> Interest::add(const std::shared_ptr<Receiver>& receiver)
{
    receivers_.push_back(receiver);
    std::vector<SourcePtr> wanted;
    std::copy_if(sources_.begin(), sources_.end(), std::back_inserter(wanted),
                 [&](const SourcePtr& source) { return receiver->matches(source->topic); });
    for (const SourcePtr& source : wanted) {
        source->wanted_by.push_back(receiver);
    }
    return wanted;
}

void Interest::remove(const std::shared_ptr<Receiver>& receiver)
{
    std::erase(receivers_, receiver);
    for (const SourcePtr& source : sources_) {
        std::erase(source->wanted_by, receiver);
    }
}

} // namespace qx::transport
