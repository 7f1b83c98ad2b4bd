/// Every fixed text and place of the wrapper's reports. Operators and their tools know log statements by these places,
/// whatever file the code lies in today, so they never follow the source.
#pragma once

#include <logger/logger.h>

namespace lbm::details {

inline constexpr const char* logFile = "lbm/include/lbm/lbm_cpp";

namespace line {
inline constexpr int thrownError = 65;
inline constexpr int loggedError = 71;
inline constexpr int contextNameUnread = 613;
inline constexpr int contextCreated = 616;
inline constexpr int receiverCreating = 1147;
inline constexpr int receiverDeleting = 1162;
inline constexpr int wildcardReceiverCreating = 1686;
inline constexpr int wildcardReceiverDeleting = 1701;
} // namespace line

/// What failed; ": " and the transport's text follow.
namespace failure {
inline constexpr const char* createContext = "Failed to create LBM context";
inline constexpr const char* getContextOption = "Failed to get context string option";
inline constexpr const char* pollContext = "Failed to process LBM context events";
inline constexpr const char* unblockContext = "Failed to unblock LBM context";

inline constexpr const char* createContextAttributes = "Failed to create LBM context attributes";
inline constexpr const char* duplicateContextAttributes = "Failed to duplicate LBM context attributes";
inline constexpr const char* deleteContextAttributes = "Failed to delete LBM context attributes";
inline constexpr const char* setContextAttribute = "Failed to set LBM context attribute";
inline constexpr const char* getContextAttribute = "Failed to get LBM context attribute";

inline constexpr const char* createEventQueueAttributes = "Failed to create LBM event queue attributes";
inline constexpr const char* duplicateEventQueueAttributes = "Failed to duplicate LBM event queue attributes";
inline constexpr const char* deleteEventQueueAttributes = "Failed to delete LBM event queue attributes";
inline constexpr const char* setEventQueueAttribute = "Failed to set LBM event queue attribute";
// "topic" although it is about an event queue: this is the text that alarms already match.
inline constexpr const char* setEventQueueAttributeBytes = "Failed to set LBM topic attribute";

inline constexpr const char* createReceiverTopicAttributes = "Failed to create LBM receiver topic attributes";
inline constexpr const char* duplicateReceiverTopicAttributes = "Failed to duplicate LBM receiver topic attributes";
inline constexpr const char* deleteReceiverTopicAttributes = "Failed to delete LBM receiver topic attributes";
inline constexpr const char* setReceiverTopicAttribute = "Failed to set LBM receiver topic attribute";

inline constexpr const char* createWildcardReceiverAttributes = "Failed to create LBM wildcard receiver attributes";
inline constexpr const char* duplicateWildcardReceiverAttributes =
    "Failed to duplicate LBM wildcard receiver attributes";
inline constexpr const char* deleteWildcardReceiverAttributes = "Failed to delete LBM wildcard receiver attributes";
inline constexpr const char* setWildcardReceiverAttribute = "Failed to set LBM wildcard receiver attribute";

inline constexpr const char* lookupTopic = "Failed to lookup LBM topic";
inline constexpr const char* createReceiver = "Failed to create LBM receiver"; // wildcard receivers too, by intent
inline constexpr const char* setReceiverOption = "Failed to set LBM receiver option";
inline constexpr const char* setWildcardReceiverOption = "Failed to set LBM wildcard receiver option";

inline constexpr const char* sendResponse = "Failed to send LBM response";

inline constexpr const char* createEventQueue = "Failed to create LBM event queue";
inline constexpr const char* runEventQueue = "Failed to run LBM event queue";
inline constexpr const char* unblockEventQueue = "Failed to unblock LBM event queue";
} // namespace failure

namespace option {
inline constexpr const char* contextName = "context_name";
inline constexpr const char* cancellationCallbacks = "queue_cancellation_callbacks_enabled";
} // namespace option

} // namespace lbm::details

/// A statement of the wrapper, which names no source. `level` is the bare name, `line` one of those above.
#define LBM_LOG(level, line)                                                                                           \
    QX_LOG_AT(level, ::qx::logging::ConstSourcePtr{}, ::lbm::details::logFile, ::lbm::details::line)
