/// What the processes of a benchmark do. Each speaks lines on standard output and obeys lines on standard input.
#pragma once

#include <span>
#include <string>

namespace qx::benchmark {

/// `words`: the role, the link's kind, its tag, and the role's own numbers.
///
///     send <topics> <count> <bytes>      "ready"; sends warm-ups until told to "go"; "start <ns>"
///     receive <topics> <count> <bytes>   "ready"; "heard"; "end <ns>" with all received, each once and whole
///     echo                               "ready"; sends back what it hears
///     ask <count> <bytes>                "trips <ns> <ns> ..." of round trips, the slower the later
///     announce <sources>                 "ready"
///     discover <sources>                 "found <ns>", counted from the start of the joining; each found once
///     weigh-senders <count>              "bytes <bytes for each>", of heap
///     weigh-listeners <count>            "bytes <bytes for each>"
///
/// Then it waits for the end of its input. Times are of the steady clock, which all processes share.
void play(std::span<const std::string> words);

} // namespace qx::benchmark
