/// Who wants which source.
#pragma once

#include <memory>
#include <unordered_set>
#include <vector>

#include "message.h"
#include "receiver.h"

namespace qx::transport {

/// Patterns are matched here, once per source and receiver; a source's `wanted_by` is the result.
/// Threads   not synchronised; `wanted_by` changes in these calls only.
class Interest {
public:
    void begin(const SourcePtr& source);
    void end(const SourcePtr& source);

    /// The sources that the receiver wants, of those that have begun and not ended.
    std::vector<SourcePtr> add(const std::shared_ptr<Receiver>& receiver);
    void remove(const std::shared_ptr<Receiver>& receiver);

private:
    std::vector<std::shared_ptr<Receiver>> receivers_;
    std::unordered_set<SourcePtr> sources_;
};

} // namespace qx::transport
