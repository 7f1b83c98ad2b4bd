#include "qxnotify/publish_sender.h"

#include "qxnotify/notification_names.h"

namespace qx::tool {

std::string topic_of(std::uint64_t market, Fate fate)
{
    const bool product = fate == Fate::product || fate == Fate::product_delete;
    const bool instrument = fate == Fate::instrument || fate == Fate::instrument_delete;
    return std::string{topic_prefix} + std::to_string(market) +
           (product ? ".product" : (instrument ? ".instrument" : ".other"));
}

} // namespace qx::tool
