/// A responder without a context, and requesters that are made up: the engine finds them when the test wants it.
#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "context_fixture.h"
#include "platform/transport/source/domain.h"
#include "platform/transport/source/responder.h"

namespace test {

inline constexpr std::chrono::hours endless{1};
inline constexpr qx::transport::SendWait at_once{std::nullopt, true, true};

/// The test program's own, as its contexts have it.
qx::transport::DomainSettings own_domain();

qx::transport::ContextId made_up(std::size_t i);

/// The end of a made-up requester that hears its answers. What was sent to it is acknowledged.
class HearingEnd {
public:
    HearingEnd(dds_entity_t participant, const qx::transport::ContextId& requester);

    /// How many answers have come since the last call.
    std::size_t take() const;

private:
    qx::transport::DdsEntity topic_;
    qx::transport::DdsEntity reader_;
};

/// The error number of an answer, 0 when it was accepted.
int send(lbm_response& to, const std::string& payload = "x", const qx::transport::SendWait& wait = at_once);

class ResponderTest : public testing::Test {
protected:
    ResponderTest();
    ~ResponderTest() override;

    std::shared_ptr<qx::transport::Responder> make(std::size_t window, std::chrono::milliseconds lease = endless,
                                                   qx::transport::WriterLimits limits = {});
    HearingEnd hear(std::size_t requester) const { return {domain.participant(), made_up(requester)}; }

    qx::transport::DomainUse domain;
    std::vector<std::shared_ptr<qx::transport::Responder>> made;
    Recorder clock; ///< waits with a deadline
};

} // namespace test
