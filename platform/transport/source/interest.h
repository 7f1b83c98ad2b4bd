/// Who wants which source.
#pragma once

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "message.h"
#include "receiver.h"
#include "receiver_index.h"

namespace qx::transport {

/// A pattern is matched here at most once per source; a source's `wanted_by` is the result.
/// Threads   not synchronised; `wanted_by` changes in these calls only.
class Interest {
public:
    void begin(const SourcePtr& source);
    void end(const SourcePtr& source);

    /// The sources that the receiver wants, of those that have begun and not ended.
    std::vector<SourcePtr> add(const std::shared_ptr<Receiver>& receiver);
    void remove(const std::shared_ptr<Receiver>& receiver);

private:
    struct ByTopic {
        using is_transparent = void;
        bool operator()(const SourcePtr& a, const SourcePtr& b) const noexcept
        {
            const int order = a->topic.compare(b->topic);
            return order != 0 ? order < 0 : std::less<>{}(a.get(), b.get());
        }
        bool operator()(const SourcePtr& a, std::string_view text) const noexcept { return a->topic < text; }
        bool operator()(std::string_view text, const SourcePtr& a) const noexcept { return text < a->topic; }
    };

    /// Calls `visit` with each source whose topic begins so.
    template <class Visit>
    void for_each_beginning(const std::string& text, Visit visit) const;

    ReceiverIndex receivers_;
    std::set<SourcePtr, ByTopic> sources_;
};

} // namespace qx::transport
