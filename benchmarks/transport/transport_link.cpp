#include "transport_link.h"

#include <stdexcept>
#include <vector>

#include <lbm/lbm.h>

namespace qx::benchmark {
namespace {

void check(int result)
{
    if (result != LBM_OK) {
        throw std::runtime_error(lbm_errmsg());
    }
}

struct Delete {
    void operator()(lbm_context_attr_t* attributes) const { lbm_context_attr_delete(attributes); }
    void operator()(lbm_context_t* context) const { lbm_context_delete(context); }
    void operator()(lbm_src_t* source) const { lbm_src_delete(source); }
    void operator()(lbm_wildcard_rcv_t* receiver) const { lbm_wildcard_rcv_delete(receiver); }
};
template <class T>
using Owned = std::unique_ptr<T, Delete>;

Owned<lbm_context_t> make_context(const std::string& tag)
{
    lbm_context_attr_t* attributes = nullptr;
    check(lbm_context_attr_create(&attributes));
    const Owned<lbm_context_attr_t> owned{attributes};
    check(lbm_context_attr_str_setopt(attributes, "domain_tag", tag.c_str()));
    lbm_context_t* context = nullptr;
    check(lbm_context_create(&context, attributes, nullptr, nullptr));
    return Owned<lbm_context_t>{context};
}

class TransportSender : public Sender {
public:
    TransportSender(lbm_context_t* context, const std::string& channel, std::size_t topics)
    {
        for (std::size_t i = 0; i < topics; ++i) {
            lbm_topic_t* topic = nullptr;
            check(lbm_src_topic_alloc(&topic, context, (channel + ".topic." + std::to_string(i)).c_str(), nullptr));
            lbm_src_t* source = nullptr;
            check(lbm_src_create(&source, context, topic, nullptr, nullptr, nullptr));
            sources_.emplace_back(source);
        }
    }

    void send(std::size_t topic, std::string_view payload) override
    {
        check(lbm_src_send(sources_[topic].get(), payload.data(), payload.size(), LBM_SRC_BLOCK));
    }
    void flush() override {} // the transport does it by itself

private:
    std::vector<Owned<lbm_src_t>> sources_;
};

class TransportListener : public Listener {
public:
    TransportListener(lbm_context_t* context, const std::string& pattern, int wanted, Callback callback)
        : wanted_(wanted)
        , callback_(std::move(callback))
    {
        lbm_wildcard_rcv_t* receiver = nullptr;
        check(
            lbm_wildcard_rcv_create(&receiver, context, pattern.c_str(), nullptr, nullptr, &on_message, this, nullptr));
        receiver_.reset(receiver);
    }

private:
    static int on_message(lbm_rcv_t*, lbm_msg_t* message, void* listener)
    {
        const auto& self = *static_cast<TransportListener*>(listener);
        if (message->type == self.wanted_) {
            self.callback_(message->type == LBM_MSG_BOS ? std::string_view{message->topic_name}
                                                        : std::string_view{message->data, message->len});
        }
        return 0;
    }

    int wanted_;
    Callback callback_;
    Owned<lbm_wildcard_rcv_t> receiver_; // last: gone before what its callbacks use
};

class TransportLink : public Link {
public:
    explicit TransportLink(const std::string& tag)
        : context_(make_context(tag))
    {
    }

    std::unique_ptr<Sender> make_sender(const std::string& channel, std::size_t topics) override
    {
        return std::make_unique<TransportSender>(context_.get(), channel, topics);
    }
    std::unique_ptr<Listener> make_listener(const std::string& channel, Listener::Callback callback) override
    {
        return std::make_unique<TransportListener>(context_.get(), channel + R"(\..*)", LBM_MSG_DATA,
                                                   std::move(callback));
    }
    std::unique_ptr<Sender> announce(std::size_t sources) override { return make_sender("announced", sources); }
    std::unique_ptr<Listener> discover(Listener::Callback callback) override
    {
        return std::make_unique<TransportListener>(context_.get(), R"(announced\..*)", LBM_MSG_BOS,
                                                   std::move(callback));
    }

private:
    Owned<lbm_context_t> context_;
};

} // namespace

std::unique_ptr<Link> make_transport_link(const std::string& tag)
{
    return std::make_unique<TransportLink>(tag);
}

} // namespace qx::benchmark
