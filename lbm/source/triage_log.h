/// What the triage handler's files share: how its statements are written and how it compares names.
#pragma once

#include <lbm/triage_handler.h>

#include "catalogue.h"

namespace lbm::details {

/// The places of statements that operators know by them, like those in catalogue.h.
namespace triage_line {
inline constexpr int loopStarting = 1277;
inline constexpr int loopStopping = 1279;
inline constexpr int disabled = 1290;
inline constexpr int noEnvironment = 1297;
inline constexpr int initializing = 1305;
inline constexpr int usesEventQueue = 1310;
inline constexpr int threadNotNamed = 1317;
inline constexpr int eventQueueStarted = 1321;
inline constexpr int threadNotStarted = 1326;
inline constexpr int badMaxRetries = 1338;
inline constexpr int badTimeBetweenRetries = 1346;
inline constexpr int registering = 1359;
inline constexpr int createdEnvReceiver = 1374;
inline constexpr int createdEnvDcReceiver = 1376;
inline constexpr int receiversNotCreated = 1382;
inline constexpr int destroyingReceivers = 1402;
inline constexpr int unregistering = 1414;
} // namespace triage_line

/// Byte by byte, in the C locale's or whatever letters the process has chosen.
String ToUpper(String text);

} // namespace lbm::details

/// A statement of the triage handler. `level` is the bare name; `line` one of those above.
#define TRIAGE_LOG_AT(level, line) QX_LOG_AT(level, ::lbm::th_log, ::lbm::details::logFile, ::lbm::details::line)
/// A statement that nobody knows by its place.
#define TRIAGE_LOG(level) QX_LOG_AT(level, ::lbm::th_log, __FILE__, __LINE__)
