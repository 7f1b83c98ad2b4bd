/// Two contexts without a registration, and a handler that is ready for them.
#pragma once

#include <optional>
#include <string>

#include "lbm/tests/triage_fixture.h"

namespace lbm::test {

class TriageRegistration : public TriageTest {
protected:
    explicit TriageRegistration(std::int32_t minLevel = qx::logging::QXLOG_DEBUG)
        : TriageTest(minLevel)
    {
        first.emplace();
        second.emplace();
        handler.emplace();
        handler->Initialize();
        transport.clear_calls();
        log.clear();
    }

    int Receivers() const { return transport.receivers(envTopic) + transport.receivers(envDcTopic); }

    /// How many contexts the handler knows: each says once that it cannot be switched.
    std::size_t Known()
    {
        log.clear();
        handler->toggleNaks(true, "ALL");
        return log.texts(qx::logging::QXLOG_ERROR).size();
    }

    std::optional<lbm::Context> first;
    std::optional<lbm::Context> second;
    std::optional<lbm::LbmTriageHandler> handler; ///< gone before the contexts
};

} // namespace lbm::test
