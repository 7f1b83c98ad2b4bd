#include "roles.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <functional>
#include <iostream>
#include <map>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include <malloc.h>

#include "link.h"

namespace qx::benchmark {
namespace {

using Words = std::span<const std::string>;

constexpr std::uint64_t warm_up = ~std::uint64_t{0};

std::int64_t now_ns()
{
    return std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds{1};
}

template <class... Parts>
void say(const Parts&... parts)
{
    (std::cout << ... << parts) << std::endl;
}

void wait_for_line()
{
    std::string line;
    std::getline(std::cin, line);
}

/// A number, then bytes that follow from it.
std::string payload_of(std::uint64_t number, std::size_t bytes)
{
    std::string payload(std::max(bytes, sizeof number), static_cast<char>(number));
    std::memcpy(payload.data(), &number, sizeof number);
    return payload;
}

/// One payload for each last byte of a number: what follows the number is the same in all that share it.
std::vector<std::string> payloads_of(std::size_t bytes)
{
    std::vector<std::string> payloads;
    for (std::uint64_t number = 0; number < 256; ++number) {
        payloads.push_back(payload_of(number, bytes));
    }
    return payloads;
}

/// Reads numbers of payloads and looks at every byte of them.
class Checker {
public:
    explicit Checker(std::size_t bytes)
        : expected_(payloads_of(bytes))
    {
    }
    std::uint64_t number_of(std::string_view payload) const
    {
        std::uint64_t number = 0;
        if (payload.size() != expected_.front().size()) {
            throw std::runtime_error("a payload of another size");
        }
        std::memcpy(&number, payload.data(), sizeof number);
        const std::string_view expected = expected_[number % expected_.size()];
        if (payload.substr(sizeof number) != expected.substr(sizeof number)) {
            throw std::runtime_error("a payload of another message");
        }
        return number;
    }

private:
    std::vector<std::string> expected_;
};

void send(Link& link, Words numbers)
{
    const std::size_t topics = std::stoul(numbers[0]);
    const std::size_t count = std::stoul(numbers[1]);
    const std::size_t bytes = std::stoul(numbers[2]);
    const auto sender = link.make_sender("load", topics);
    std::atomic<bool> going = false;
    std::jthread waiting{[&] {
        wait_for_line();
        going = true;
    }};
    say("ready");
    for (const std::string greeting = payload_of(warm_up, bytes); !going;) {
        sender->send(0, greeting);
        sender->flush();
        std::this_thread::sleep_for(std::chrono::milliseconds{1}); // paces, nobody waits for it
    }
    std::vector<std::string> payloads = payloads_of(bytes);
    say("start ", now_ns());
    for (std::uint64_t number = 0; number < count; ++number) {
        std::string& payload = payloads[number % payloads.size()];
        std::memcpy(payload.data(), &number, sizeof number);
        sender->send(number % topics, payload);
    }
    sender->flush();
    wait_for_line();
}

/// Counts messages, each number once.
class Tally {
public:
    explicit Tally(std::size_t count)
        : seen_(count, false)
    {
    }
    /// True for the last one that was missing.
    bool add(std::uint64_t number)
    {
        if (number >= seen_.size() || seen_[number]) {
            throw std::runtime_error("a message twice, or one that was not sent");
        }
        seen_[number] = true;
        return ++count_ == seen_.size();
    }

private:
    std::vector<bool> seen_;
    std::size_t count_ = 0;
};

void receive(Link& link, Words numbers)
{
    const Checker checker{std::stoul(numbers[2])};
    Tally tally{std::stoul(numbers[1])};
    bool heard = false;
    const auto listener = link.make_listener("load", [&](std::string_view payload) {
        const std::uint64_t number = checker.number_of(payload);
        if (number == warm_up) {
            if (!std::exchange(heard, true)) {
                say("heard");
            }
        } else if (tally.add(number)) {
            say("end ", now_ns());
        }
    });
    say("ready");
    wait_for_line();
}

void echo(Link& link, Words)
{
    const auto sender = link.make_sender("back", 1);
    const auto listener = link.make_listener("forth", [&](std::string_view payload) {
        sender->send(0, payload);
        sender->flush();
    });
    say("ready");
    wait_for_line();
}

void ask(Link& link, Words numbers)
{
    const std::size_t count = std::stoul(numbers[0]);
    const std::size_t bytes = std::stoul(numbers[1]);
    const Checker checker{bytes};
    const auto sender = link.make_sender("forth", 1);
    std::vector<std::int64_t> trips;
    std::int64_t sent = 0;
    std::atomic<bool> heard = false;
    const auto next = [&] {
        sent = now_ns();
        sender->send(0, payload_of(trips.size(), bytes));
        sender->flush();
    };
    const auto listener = link.make_listener("back", [&](std::string_view payload) {
        const std::uint64_t number = checker.number_of(payload);
        if (number == warm_up) {
            heard = true;
            return;
        }
        if (number != trips.size()) {
            throw std::runtime_error("an answer to another message");
        }
        trips.push_back(now_ns() - sent);
        if (trips.size() < count) {
            next();
            return;
        }
        std::sort(trips.begin(), trips.end());
        say("trips ", trips[count / 2], ' ', trips[count * 99 / 100]);
    });
    while (!heard) {
        sender->send(0, payload_of(warm_up, bytes));
        sender->flush();
        std::this_thread::sleep_for(std::chrono::milliseconds{1});
    }
    next();
    wait_for_line();
}

void announce(Link& link, Words numbers)
{
    const auto sender = link.announce(std::stoul(numbers[0]));
    say("ready");
    wait_for_line();
}

void discover(Link& link, std::int64_t since, Words numbers)
{
    Tally tally{std::stoul(numbers[0])};
    const auto listener = link.discover([&](std::string_view topic) {
        const std::string number{topic.substr(topic.rfind('.') + 1)};
        if (tally.add(std::stoull(number))) {
            say("found ", now_ns() - since);
        }
    });
    wait_for_line();
}

std::size_t heap_bytes()
{
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

/// What each of them holds in this process, once nothing more is collected.
template <class Make>
void weigh(std::size_t count, const Make& make)
{
    const auto first = make(std::size_t{0}); // brings what is there once
    const std::size_t before = heap_bytes();
    const auto made = make(count);
    say("bytes ", (heap_bytes() - before) / count);
    wait_for_line();
}

void weigh_senders(Link& link, Words numbers)
{
    weigh(std::stoul(numbers[0]), [&](std::size_t count) {
        auto made = link.make_sender("weighed", count + 1);
        for (std::size_t i = 0; i <= count; ++i) {
            made->send(i, "x");
        }
        return made;
    });
}

void weigh_listeners(Link& link, Words numbers)
{
    weigh(std::stoul(numbers[0]), [&](std::size_t count) {
        std::vector<std::unique_ptr<Listener>> made;
        for (std::size_t i = 0; i <= count; ++i) {
            made.push_back(link.make_listener("weighed_" + std::to_string(i), [](std::string_view) {}));
        }
        return made;
    });
}

} // namespace

void play(std::span<const std::string> words)
{
    const std::int64_t since = now_ns();
    const auto link = make_link(kind_of(words[1]), words[2]);
    const Words numbers = words.subspan(3);
    const std::map<std::string, std::function<void()>> roles{
        {"send", [&] { send(*link, numbers); }},
        {"receive", [&] { receive(*link, numbers); }},
        {"echo", [&] { echo(*link, numbers); }},
        {"ask", [&] { ask(*link, numbers); }},
        {"announce", [&] { announce(*link, numbers); }},
        {"discover", [&] { discover(*link, since, numbers); }},
        {"weigh-senders", [&] { weigh_senders(*link, numbers); }},
        {"weigh-listeners", [&] { weigh_listeners(*link, numbers); }},
    };
    roles.at(words[0])();
}

} // namespace qx::benchmark
