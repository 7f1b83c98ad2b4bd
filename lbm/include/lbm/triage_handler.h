/// The one responder of a process to operations ("triage") requests.
///
/// It is made by the first context, configured from environment variables, and answers on two topics, that of the
/// environment and that of the environment's data centre: a test request shows that the process lives, a NAK-kill
/// request switches negative acknowledgements of the contexts that it names. Price servers meet it by way of their log
/// and their environment only; contexts register by themselves.
///
///     DISABLE_LBM_TRIAGE_HANDLER              not empty: no triage in this process
///     CHEF_ENVIRONMENT, DATA_CENTER           make the topics; without both there is no triage in this process
///     LBM_TRIAGE_HANDLER_TOPIC_PREFIX         goes before the topics as it stands
///     TRIAGE_HANDLER_USE_EVENT_QUEUE          not empty: requests are handled on a thread of the handler's own
///     TRIAGE_HANDLER_MAX_RETRIES              attempts to send an answer: 1 with that thread, else 0
///     TRIAGE_HANDLER_TIME_BETWEEN_RETRIES_MS  pause between them: 55 with that thread, else 0
#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

#include <lbm/error.h>
#include <lbm/event_queue.h>
#include <lbm/message.h>
#include <lbm/receiver.h>
#include <lbm/triage_source.h>

namespace lbm {

class Context;

/// Threads   all operations save construction, Initialize and destruction may be called from any thread. Requests are
///           handled on the thread of the context that carries the receivers, or on the handler's own, "lbm_th_evq".
/// Lifetime  every context shares the handler, and so does the process until it exits. Contexts are borrowed from
///           registration until unregistration.
class LbmTriageHandler {
public:
    /// Enabled, not configured, with no contexts: for getInstance, and for tests that want a handler of their own.
    LbmTriageHandler() = default;
    LbmTriageHandler(const LbmTriageHandler&) = delete;
    LbmTriageHandler& operator=(const LbmTriageHandler&) = delete;
    /// Says on standard output what it does, whatever the log level. Throws nothing.
    ~LbmTriageHandler();

    /// The process's handler; the first call makes and configures it. What Initialize throws comes out of here, and the
    /// next call tries again.
    static std::shared_ptr<LbmTriageHandler> getInstance();

    /// Reads the environment; once, before anything else. Throws LbmError when the event queue cannot be made.
    void Initialize();
    /// The body of the handler's thread: dispatches its event queue until unblocked. Throws LbmError.
    void EventQueueLoop();

    /// Records the context under its name. The first one without a name also gets the two receivers; a failure to make
    /// them is logged, and the next context without a name tries again. Throws std::system_error when a lock fails.
    void registerContext(const String& contextName, Context* context);
    /// Forgets the context; receivers that live on it are destroyed, and no other context takes them over. Throws
    /// std::system_error when the lock fails: the receivers are gone by then, the record is not.
    void unregisterContext(Context* context);
    /// The registration of `from` is now `to`'s, which has taken over its transport context. Throws std::system_error
    /// when a lock fails: before anything, or when only the receivers have followed.
    void moveContext(Context* from, Context* to);

    /// The callback of both receivers. Always 0.
    int handleLbmMessage(const Message& msg);
    /// Carries out a request and answers it; what cannot be understood is logged, or passed over, and not answered.
    void handleTriageMessage(const Message& msg);
    /// Switches NAKs of the contexts that the name selects: all for exactly "ALL", those without a name for "", else
    /// those whose name contains it in any letter case. Throws std::system_error when the lock fails.
    void toggleNaks(bool enable, String contextName);

private:
    struct TriageRequest;

    void StartEventQueue(const String& requestedBy);
    void ReadRetrySettings();
    void CreateReceivers(const String& contextName, Context& context);
    std::shared_ptr<Receiver> CreateReceiver(Context& context, const ReceiverTopic& topic);
    void DestroyReceivers(Context& context);
    void StopEventQueue();
    void handleAction(const TriageRequest& request);
    void answerTest(const TriageRequest& request);
    void killNaks(const TriageRequest& request);
    void respond(const TriageRequest& request, const char* announcement) const;

    std::multimap<String, Context*> m_contextMap; ///< by name; names need not differ
    std::mutex m_contextMapLock;                  ///< of m_contextMap; never taken while m_receiversLock is held
    std::shared_ptr<Receiver> m_triageEnvReceiver;
    std::shared_ptr<Receiver> m_triageEnvDcReceiver;
    String m_chefEnvironment; ///< in upper case
    String m_dataCenter;      ///< in upper case
    bool m_disableTriageHandler = false;
    /// Which context carries the receivers. They are changed while it is null, under m_receiversLock, or by that
    /// context's own unregistration, which holds no lock: hence atomic.
    std::atomic<Context*> m_triageReceiversContextPtr{nullptr};
    int m_maxRetries = 0;
    int m_timeBetweenRetriesMs = 0;
    std::unique_ptr<EventQueue> m_eventQueuePtr;
    std::thread m_eventQueueThread; ///< dispatches m_eventQueuePtr
    std::mutex m_receiversLock;     ///< of making the receivers
};

} // namespace lbm
