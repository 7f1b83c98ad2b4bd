#include "qxnotify/bench_listener.h"

#include <csignal>
#include <stdexcept>

#include <nlohmann/json.hpp>
#include <sys/prctl.h>
#include <unistd.h>

#include "qxnotify/bench_domain.h"
#include "qxnotify/bench_message.h"
#include "qxnotify/bench_observer.h"
#include "qxnotify/output.h"
#include "qxnotify/pipe_lines.h"
#include "qxnotify/signals.h"

namespace qx::tool {

namespace {

messaging::pds::InstrumentDownloadRecord reference_record()
{
    messaging::pds::InstrumentDownloadRecord record;
    if (!JSONProto().JSONToProtobuf(record, libjson::parse(BenchMessage().record_json()), true, true)) {
        throw std::logic_error("the record of the bench cannot be converted");
    }
    return record;
}

std::string count_line(std::uint64_t received, bool faulty)
{
    return R"({"received":)" + std::to_string(received) + R"(,"faulty":)" + (faulty ? "true" : "false") + "}\n";
}

/// What the line asks for is done; the answer.
std::string obey(const std::string& line, BenchObserver& observer)
{
    constexpr std::string_view begin = "begin ";
    if (line.starts_with(begin)) {
        const std::string messages = line.substr(begin.size());
        observer.begin(std::stoull(messages));
        return R"({"ready":)" + messages + "}\n";
    }
    if (line == "end") {
        return figures_line(observer.finish());
    }
    throw std::runtime_error("bench: the publishing process said \"" + line + '"');
}

ExitCode obey_all(BenchObserver& observer, int answers, StopSignals& stop)
{
    PipeLines lines(STDIN_FILENO);
    while (wait_for(STDIN_FILENO, stop, {}) == Woken::ready) {
        if (!lines.collect()) {
            return ExitCode::done;
        }
        while (const auto line = lines.next()) {
            write_all(answers, obey(*line, observer));
        }
    }
    return ExitCode::interrupted;
}

} // namespace

ExitCode run_bench_listener(const std::string& domain_tag)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL); // had the parent died before, standard input would have ended
    StopSignals stop;
    const RecordOutput answers;
    enter_domain(domain_tag);
    BenchObserver observer(reference_record(), [&](std::uint64_t received, bool faulty) {
        write_all(answers.fd(), count_line(received, faulty));
    });
    ps_ns::QXNotifyListener listener(&observer);
    listener.SubscribeForMarket(BenchMessage::market);
    write_all(answers.fd(), "{\"listening\":true}\n");
    return obey_all(observer, answers.fd(), stop);
}

} // namespace qx::tool
