// Counters: they say what the test wants.
#include "tests/doubles/lbm_double/state.h"

using namespace qx::test::details;

namespace {

template <class Stats>
int fill(int result, Stats* out, const Stats& stats)
{
    if (result != LBM_OK) {
        return result;
    }
    if (out == nullptr) {
        return fail(LBM_EINVAL, "nothing to fill in");
    }
    const std::scoped_lock guard(state().lock);
    *out = stats;
    return LBM_OK;
}

} // namespace

extern "C" {

int lbm_context_retrieve_stats(lbm_context_t* ctx, lbm_context_stats_t* stats)
{
    return fill(plain(__func__, ctx), stats, state().contextStats);
}

int lbm_event_queue_retrieve_stats(lbm_event_queue_t* evq, lbm_event_queue_stats_t* stats)
{
    const int result = plain(__func__, evq);
    return result == LBM_OK && evq == nullptr ? fail(LBM_EINVAL, "null handle")
                                              : fill(result, stats, state().eventQueueStats);
}
}
