// What it costs to take a message to its receivers: one wildcard receiver for all topics beside a thousand that share
// them. Either way a message has one receiver. Only the routing and an empty callback are timed: the way through the
// network and the queues is the same for both and would hide the difference. The last one is about that way, too.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

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

/// A context of the transport with receivers whose patterns begin with different first tokens, so that each needs a
/// reader of its own; all messages are for one of them. From one send to its callback, through the engine.
class Tokens {
public:
    explicit Tokens(std::size_t receivers)
    {
        for (std::size_t i = 0; i < receivers; ++i) {
            lbm_wildcard_rcv_t* raw = nullptr;
            const std::string pattern = "T" + std::to_string(i) + R"(\..*)";
            check(
                lbm_wildcard_rcv_create(&raw, ctx_.get(), pattern.c_str(), nullptr, nullptr, &count, &heard_, nullptr));
            receivers_.emplace_back(raw);
        }
        lbm_topic_t* topic = nullptr;
        check(lbm_src_topic_alloc(&topic, ctx_.get(), "T0.A", nullptr));
        lbm_src_t* raw = nullptr;
        check(lbm_src_create(&raw, ctx_.get(), topic, nullptr, nullptr, nullptr));
        source_.reset(raw);
        while (heard_ == 0) { // until it is connected
            send();
        }
    }

    /// Sends one and waits until it is heard.
    void pass_one()
    {
        const std::size_t goal = ++sent_;
        send();
        while (heard_ < goal) {
            std::this_thread::yield();
        }
    }

    /// What connecting took is heard, and nothing is on its way.
    void settle()
    {
        for (std::size_t before = 0; before != heard_;) {
            before = heard_;
            std::this_thread::sleep_for(std::chrono::milliseconds{100});
        }
        sent_ = heard_;
    }

private:
    struct Delete {
        void operator()(lbm_context_t* handle) const { lbm_context_delete(handle); }
        void operator()(lbm_wildcard_rcv_t* handle) const { lbm_wildcard_rcv_delete(handle); }
        void operator()(lbm_src_t* handle) const { lbm_src_delete(handle); }
    };

    static void check(int result)
    {
        if (result != LBM_OK) {
            throw std::runtime_error(lbm_errmsg());
        }
    }
    static lbm_context_t* make_context()
    {
        const std::unique_ptr<lbm_context_attr_t, int (*)(lbm_context_attr_t*)> attr{
            [] {
                lbm_context_attr_t* raw = nullptr;
                check(lbm_context_attr_create(&raw));
                return raw;
            }(),
            &lbm_context_attr_delete};
        const std::string tag = "routing-" + std::to_string(getpid());
        check(lbm_context_attr_str_setopt(attr.get(), "domain_tag", tag.c_str()));
        lbm_context_t* ctx = nullptr;
        check(lbm_context_create(&ctx, attr.get(), nullptr, nullptr));
        return ctx;
    }
    static int count(lbm_rcv_t*, lbm_msg_t* msg, void* heard)
    {
        *static_cast<std::atomic<std::size_t>*>(heard) += msg->type == LBM_MSG_DATA ? 1 : 0;
        return 0;
    }
    void send() { check(lbm_src_send(source_.get(), "x", 1, LBM_MSG_FLUSH)); }

    std::atomic<std::size_t> heard_ = 0;
    std::size_t sent_ = 0;
    std::unique_ptr<lbm_context_t, Delete> ctx_{make_context()};
    std::vector<std::unique_ptr<lbm_wildcard_rcv_t, Delete>> receivers_;
    std::unique_ptr<lbm_src_t, Delete> source_;
};

void BM_HearThroughTheEngine(benchmark::State& state)
{
    Tokens tokens{static_cast<std::size_t>(state.range(0))};
    tokens.settle();
    for (auto _ : state) {
        tokens.pass_one();
    }
    state.SetItemsProcessed(state.iterations());
}

BENCHMARK(BM_HearThroughTheEngine)->ArgName("tokens")->Arg(1)->Arg(1'000)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_RouteAMessage)->ArgName("receivers")->Arg(1)->Arg(1'000);
BENCHMARK(BM_BeginTenThousandSources)
    ->ArgNames({"receivers", "literal"})
    ->Args({1, 1})
    ->Args({1'000, 1})
    ->Args({1'000, 0})
    ->Unit(benchmark::kMillisecond);

} // namespace
