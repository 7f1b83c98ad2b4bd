#include "scenarios.h"

#include <algorithm>
#include <memory>
#include <random>
#include <sstream>

#include "child.h"

namespace qx::benchmark {
namespace {

/// Runs do not meet, be they of one program or of two.
std::string make_tag()
{
    std::random_device random;
    return "benchmark-" + std::to_string(random()) + std::to_string(random());
}

template <class... Numbers>
std::unique_ptr<Child> start(const char* role, Kind kind, const std::string& tag, Numbers... numbers)
{
    return std::make_unique<Child>(
        std::vector<std::string>{"play", role, std::string{name_of(kind)}, tag, std::to_string(numbers)...});
}

double weigh(const char* role, Kind kind, std::size_t count)
{
    return std::stod(start(role, kind, make_tag(), count)->hear("bytes"));
}

} // namespace

double messages_per_second(Kind kind, const Throughput& load)
{
    const std::string tag = make_tag();
    std::vector<std::unique_ptr<Child>> listeners;
    for (std::size_t i = 0; i < load.listeners; ++i) {
        listeners.push_back(start("receive", kind, tag, load.topics, load.count, load.bytes));
        listeners.back()->hear("ready");
    }
    const auto sender = start("send", kind, tag, load.topics, load.count, load.bytes);
    sender->hear("ready");
    for (const auto& listener : listeners) {
        listener->hear("heard");
    }
    sender->tell("go");
    const std::int64_t began = std::stoll(sender->hear("start"));
    std::int64_t ended = began;
    for (const auto& listener : listeners) {
        ended = std::max<std::int64_t>(ended, std::stoll(listener->hear("end")));
    }
    return static_cast<double>(load.count) * 1e9 / static_cast<double>(ended - began);
}

RoundTrip round_trip(Kind kind, std::size_t count, std::size_t bytes)
{
    const std::string tag = make_tag();
    const auto echo = start("echo", kind, tag);
    echo->hear("ready");
    const auto asker = start("ask", kind, tag, count, bytes);
    std::istringstream trips{asker->hear("trips")};
    double p50_ns = 0;
    double p99_ns = 0;
    trips >> p50_ns >> p99_ns;
    return {p50_ns / 1e3, p99_ns / 1e3};
}

double discovery_ms(Kind kind, std::size_t sources)
{
    const std::string tag = make_tag();
    const auto announcing = start("announce", kind, tag, sources);
    announcing->hear("ready");
    return std::stod(start("discover", kind, tag, sources)->hear("found")) / 1e6;
}

double bytes_per_sender(Kind kind, std::size_t count)
{
    return weigh("weigh-senders", kind, count);
}

double bytes_per_listener(Kind kind, std::size_t count)
{
    return weigh("weigh-listeners", kind, count);
}

} // namespace qx::benchmark
