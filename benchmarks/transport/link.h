/// What is compared: the transport and the engine under it, behind one face.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace qx::benchmark {

/// engine            one engine sample a message, each sent at once
/// engine_batching   the same with the engine's own batching switched on
enum class Kind { transport, engine, engine_batching };

Kind kind_of(std::string_view name); ///< throws std::invalid_argument
std::string_view name_of(Kind kind);

/// Sends under `topics` topics, numbered from 0: sources of the transport, instances of the engine. Throws on failure;
/// a receiver that does not keep up makes it wait.
class Sender {
public:
    virtual ~Sender() = default;
    virtual void send(std::size_t topic, std::string_view payload) = 0;
    /// What was collected goes out now.
    virtual void flush() = 0;
};

/// Hears all topics; the callback runs on one thread of the link's.
class Listener {
public:
    using Callback = std::function<void(std::string_view payload)>;
    virtual ~Listener() = default;
};

/// One participant of a domain: what a context is to the transport. Links of different `tag` do not meet, nor do
/// topics of different `channel`.
class Link {
public:
    virtual ~Link() = default;
    virtual std::unique_ptr<Sender> make_sender(const std::string& channel, std::size_t topics) = 0;
    virtual std::unique_ptr<Listener> make_listener(const std::string& channel, Listener::Callback callback) = 0;

    /// As many senders of their own as said, announced to late joiners, who are told of each.
    virtual std::unique_ptr<Sender> announce(std::size_t sources) = 0;
    /// The callback is given the source's topic, which ends in its number; one call a source.
    virtual std::unique_ptr<Listener> discover(Listener::Callback callback) = 0;
};

std::unique_ptr<Link> make_link(Kind kind, const std::string& tag);

} // namespace qx::benchmark
