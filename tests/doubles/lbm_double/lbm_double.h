/// A transport for tests: defines every function of <lbm/lbm.h>, records the calls, does what the test scripted and
/// keeps callbacks, so that a test fires messages by hand.
///
/// Link `qx::lbm_double` and make an LbmDouble in the test; calls, scripts and numbering start afresh with each. The
/// functions also work without one (static objects under test outlive the test), they just go unheeded.
///
/// Calls read as text, in order: `lbm_context_create(context_attr#1, null, null) = context#1`. Handles are named by
/// kind and number; texts stand in single quotes; callbacks and client data appear as `callback`, `clientd` or `null`;
/// the address that receives a handle is left out; a result is written when it is a new handle or not 0.
///
/// Threads   all operations may be called from any thread. Callbacks run without any lock held.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <lbm/lbm.h>

namespace qx::test {

using Calls = std::vector<std::string>;

/// What one call of a function is to do instead of succeeding.
struct Script {
    int result = LBM_FAILURE;
    int errnum = LBM_EINVAL;                                     ///< set when the result is LBM_FAILURE
    std::optional<std::string> errmsg = std::string("scripted"); ///< likewise; none: lbm_errmsg() gives a null pointer
    bool withoutHandle = false; ///< a successful creation that leaves the caller's handle alone
};

/// What make_message makes; the defaults are an empty data message.
struct MessageSpec {
    int type = LBM_MSG_DATA;
    std::string payload = {};
    std::string topic = "TOPIC";
    std::string source = "SOURCE";
    std::uint32_t sequenceNumber = 0;
    int flags = 0;
    bool withResponse = false;
};

class LbmDouble {
public:
    LbmDouble();
    ~LbmDouble();
    LbmDouble(const LbmDouble&) = delete;
    LbmDouble& operator=(const LbmDouble&) = delete;

    // ---- What happened ----
    Calls calls() const;
    /// Those whose text begins so, e.g. "lbm_msg_".
    Calls calls(const std::string& prefix) const;
    void clear_calls();
    /// Adds a line of the test's own between the calls, to show an order.
    void note(const std::string& text);
    /// How often lbm_errmsg() was asked; it is not among the calls.
    int errmsg_calls() const;
    /// Names of the handles made since this double and not deleted; topics belong to the transport and do not count.
    std::vector<std::string> leaks() const;

    // ---- What is to happen ----
    void fail_next(const std::string& function, int errnum = LBM_EINVAL, const std::string& errmsg = "scripted");
    /// n = 1 is the next call.
    void fail_nth(const std::string& function, int n, int errnum = LBM_EINVAL, const std::string& errmsg = "scripted");
    /// Until the end of this double.
    void fail_always(const std::string& function, int errnum = LBM_EINVAL, const std::string& errmsg = "scripted");
    void script_nth(const std::string& function, int n, const Script& script);
    /// Runs inside every call of that function, after it was recorded. What a creation, a shutdown or an option call
    /// does has happened by then. A deletion, an unblocking, a dispatch or a change of a reference count takes effect
    /// afterwards: a hook still finds the handle that is being deleted. May throw through the function, which then
    /// skips what comes afterwards.
    void on_call(const std::string& function, std::function<void()> hook);
    /// What lbm_errmsg() and lbm_errnum() give on this thread from now on.
    void set_error(int errnum, const std::string& errmsg);
    /// The value of an option of contexts made from now on, whatever their attributes say.
    void set_context_option(const std::string& option, const std::string& value);
    /// What every context, and every event queue, counts from now on; all 0 before.
    void set_context_stats(const lbm_context_stats_t& stats);
    void set_event_queue_stats(const lbm_event_queue_stats_t& stats);

    // ---- Messages ----
    /// A message with one reference, the transport's own. The double keeps the memory, whatever happens to references.
    lbm_msg_t* make_message(const MessageSpec& spec = {});
    int refcount(const lbm_msg_t* msg) const;
    /// Calls back the receiver that was made last for that topic or pattern, on this thread, and then gives back the
    /// transport's reference, also when an exception leaves the callback. Returns the callback's result; nullopt when
    /// no such receiver is left.
    std::optional<int> deliver(const std::string& topicOrPattern, lbm_msg_t* msg);
    /// Has the next running lbm_event_dispatch of the receiver's queue deliver it. False when no such receiver is left
    /// or it has no queue.
    bool post(const std::string& topicOrPattern, lbm_msg_t* msg);
    /// How many receivers for that topic or pattern are alive.
    int receivers(const std::string& topicOrPattern) const;

    // ---- Sources and requests ----
    /// Tells the source that was made last for that topic of an event, on this thread. False when there is no such
    /// source, or it does not want to be told.
    bool tell_source(const std::string& topic, int event);
    /// What the n-th request made since this double carries, 1 being the first. Empty when it is deleted, or there is
    /// none yet.
    std::string request(int n) const;
    /// Calls back the n-th request on this thread with an answer from that source. False when it is deleted, or there
    /// is none yet.
    bool answer(int n, const std::string& payload, const std::string& source = "RESPONDER",
                std::uint32_t sequenceNumber = 0);
};

} // namespace qx::test
