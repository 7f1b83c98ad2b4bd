#include <gtest/gtest.h>

#include "platform/transport/source/context.h"
#include "support/context_fixture.h"

using namespace qx::transport;

namespace {

TEST(ContextEvents, GivenAClosedContext_WhenEventsAreProcessedWithoutLimit_ThenTheCallReturns)
{
    ContextSettings settings;
    settings.options.set_text("domain_tag", test::domain_tag());
    Context context{settings};
    context.close();
    context.process_events(LBM_EVENT_QUEUE_BLOCK);
    context.process_events(LBM_EVENT_QUEUE_BLOCK);
}

} // namespace
