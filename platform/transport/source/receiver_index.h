/// Which receivers a topic is for, without trying them all.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "receiver.h"

namespace qx::transport {

/// Receivers by the text that every topic they match begins with. A topic is tried by those only whose text begins it:
/// with a thousand patterns of different beginnings by one, where trying each would take seconds for ten thousand
/// topics.
/// Threads   not synchronised.
class ReceiverIndex {
public:
    void add(std::shared_ptr<Receiver> receiver);
    void remove(const std::shared_ptr<Receiver>& receiver);

    /// In the order of their adding.
    std::vector<std::shared_ptr<Receiver>> matching(std::string_view topic) const;

private:
    struct Item {
        std::uint64_t position; ///< in the order of adding
        std::shared_ptr<Receiver> receiver;
    };
    using Items = std::vector<Item>;

    /// By the text's length, then the text: a topic is looked up once for each length that occurs.
    std::map<std::size_t, std::map<std::string, Items, std::less<>>> by_beginning_;
    std::uint64_t added_ = 0;
};

} // namespace qx::transport
