// What it costs to take a message to its receivers: one wildcard receiver for all topics beside a thousand that share
// them. Either way a message has one receiver. Only the routing and an empty callback are timed; the way through the
// network and the queues is the same for both and would hide the difference.
#include <algorithm>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "platform/transport/source/inflow.h"
#include "platform/transport/source/router.h"

namespace {

using namespace qx::transport;

constexpr std::size_t topics = 10'000;

struct Heard {
    std::size_t begun = 0;
    std::size_t data = 0;
    std::string topic;
};

int hear(lbm_rcv_t*, lbm_msg_t* msg, void* clientd)
{
    auto& heard = *static_cast<Heard*>(clientd);
    if (msg->type == LBM_MSG_BOS) {
        ++heard.begun;
        heard.topic = msg->topic_name;
    } else {
        ++heard.data;
    }
    return 0;
}

std::shared_ptr<Receiver> make_receiver(const std::string& pattern, Heard& heard)
{
    return std::make_shared<Receiver>(std::make_unique<TopicPattern>(pattern), Callback{&hear, &heard, nullptr},
                                      nullptr);
}

/// As many groups of topics as receivers, each with a pattern of its own.
class Network {
public:
    /// `literal`: the patterns begin with text; else they must be tried on every topic.
    Network(std::size_t receivers, bool literal)
        : heard_(receivers)
    {
        if (receivers == 0) {
            throw std::invalid_argument("somebody has to listen");
        }
        for (std::size_t i = 0; i < receivers; ++i) {
            const std::string group = receivers == 1 ? R"(\d+)" : std::to_string(i);
            inflow_.add(make_receiver((literal ? R"(M\.)" : R"([M]\.)") + group + R"(\.\d+)", heard_[i]));
        }
        for (std::size_t i = 0; i < topics; ++i) {
            const std::string topic = "M." + std::to_string(i % receivers) + "." + std::to_string(i);
            sources_.push_back(std::make_shared<RemoteSource>(SourceId{{}, static_cast<std::uint32_t>(i)}, topic));
        }
    }

    void begin_all()
    {
        for (const SourcePtr& source : sources_) {
            inflow_.begun(source, 0);
        }
        route_all();
    }
    void end_all()
    {
        for (const SourcePtr& source : sources_) {
            inflow_.ended(source, 0);
        }
        route_all();
    }

    /// One of each source, in an order without pattern.
    std::vector<Delivery> messages() const
    {
        std::vector<Delivery> made;
        for (const SourcePtr& source : sources_) {
            made.push_back(
                {Delivery::What::data, nullptr, source, Message::make(source, LBM_MSG_DATA, 0), 0, 0, nullptr});
        }
        std::shuffle(made.begin(), made.end(), std::mt19937{1});
        return made;
    }
    void route(Delivery& message) { router_.handle(message, {}); }

    /// Each receiver has heard as much of its own topics as it should, and of no other.
    bool right(std::size_t data_of_each_source) const
    {
        const std::size_t share = topics / heard_.size();
        return std::all_of(heard_.begin(), heard_.end(), [&](const Heard& heard) {
            const auto group = heard_.size() == 1 ? std::string{} : std::to_string(&heard - heard_.data()) + ".";
            return heard.begun == share && heard.data == share * data_of_each_source &&
                   heard.topic.starts_with("M." + group);
        });
    }

private:
    void route_all()
    {
        Delivery delivery;
        while (mailbox_.take_present(delivery) == Mailbox::Taken::item) {
            router_.handle(delivery, {});
        }
    }

    std::vector<Heard> heard_;
    std::shared_ptr<Counters> counters_ = std::make_shared<Counters>();
    Mailbox mailbox_{64U << 20U, counters_};
    Inflow inflow_{mailbox_, *counters_, nullptr};
    Router router_;
    std::vector<SourcePtr> sources_;
};

void BM_RouteAMessage(benchmark::State& state)
{
    Network network{static_cast<std::size_t>(state.range(0)), true};
    network.begin_all();
    std::vector<Delivery> messages = network.messages();
    for (Delivery& message : messages) {
        network.route(message);
    }
    if (!network.right(1)) {
        state.SkipWithError("a message went to another receiver than its own");
        return;
    }
    std::size_t next = 0;
    for (auto _ : state) {
        network.route(messages[next]);
        next = next + 1 == messages.size() ? 0 : next + 1;
    }
    state.SetItemsProcessed(state.iterations());
}

/// The start, when every topic is new: with patterns that begin with text, and with some that do not.
void BM_BeginTenThousandSources(benchmark::State& state)
{
    Network checked{static_cast<std::size_t>(state.range(0)), state.range(1) != 0};
    checked.begin_all();
    if (!checked.right(0)) {
        state.SkipWithError("a source went to another receiver than its own");
        return;
    }
    Network network{static_cast<std::size_t>(state.range(0)), state.range(1) != 0};
    for (auto _ : state) {
        network.begin_all();
        state.PauseTiming();
        network.end_all();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(topics));
}

BENCHMARK(BM_RouteAMessage)->ArgName("receivers")->Arg(1)->Arg(1'000);
BENCHMARK(BM_BeginTenThousandSources)
    ->ArgNames({"receivers", "literal"})
    ->Args({1, 1})
    ->Args({1'000, 1})
    ->Args({1'000, 0})
    ->Unit(benchmark::kMillisecond);

} // namespace
