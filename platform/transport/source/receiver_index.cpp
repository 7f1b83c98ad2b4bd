#include "receiver_index.h"

#include <algorithm>
#include <utility>

namespace qx::transport {

void ReceiverIndex::add(std::shared_ptr<Receiver> receiver)
{
    const std::string& beginning = receiver->beginning();
    by_beginning_[beginning.size()][beginning].push_back({added_++, std::move(receiver)});
}

void ReceiverIndex::remove(const std::shared_ptr<Receiver>& receiver)
{
    const std::string& beginning = receiver->beginning();
    const auto of_length = by_beginning_.find(beginning.size());
    if (of_length == by_beginning_.end()) {
        return;
    }
    const auto found = of_length->second.find(beginning);
    if (found == of_length->second.end()) {
        return;
    }
    std::erase_if(found->second, [&](const Item& item) { return item.receiver == receiver; });
    if (found->second.empty()) {
        of_length->second.erase(found);
    }
    if (of_length->second.empty()) {
        by_beginning_.erase(of_length);
    }
}

std::vector<std::shared_ptr<Receiver>> ReceiverIndex::matching(std::string_view topic) const
{
    Items found;
    for (const auto& [length, texts] : by_beginning_) {
        if (length > topic.size()) {
            break;
        }
        if (const auto items = texts.find(topic.substr(0, length)); items != texts.end()) {
            std::copy_if(items->second.begin(), items->second.end(), std::back_inserter(found),
                         [&](const Item& item) { return item.receiver->matches(topic); });
        }
    }
    std::sort(found.begin(), found.end(), [](const Item& a, const Item& b) { return a.position < b.position; });
    std::vector<std::shared_ptr<Receiver>> receivers;
    receivers.reserve(found.size());
    std::transform(found.begin(), found.end(), std::back_inserter(receivers),
                   [](Item& item) { return std::move(item.receiver); });
    return receivers;
}

} // namespace qx::transport
