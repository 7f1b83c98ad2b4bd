#include "engine_link.h"

#include <array>
#include <thread>

#include "platform/transport/source/domain.h"
#include "platform/transport/source/wire_qos.h"
#include "wire.h"

namespace qx::benchmark {
namespace {

using transport::check_dds;
using transport::DdsEntity;
using transport::DdsQos;

DdsQos data_qos()
{
    DdsQos qos{dds_create_qos()};
    dds_qset_reliability(qos.get(), DDS_RELIABILITY_RELIABLE, DDS_INFINITY);
    dds_qset_history(qos.get(), DDS_HISTORY_KEEP_ALL, 0);
    return qos;
}

DdsQos announcement_qos()
{
    DdsQos qos{dds_create_qos()};
    dds_qset_reliability(qos.get(), DDS_RELIABILITY_RELIABLE, DDS_INFINITY);
    dds_qset_history(qos.get(), DDS_HISTORY_KEEP_LAST, 1);
    dds_qset_durability(qos.get(), DDS_DURABILITY_TRANSIENT_LOCAL);
    return qos;
}

class EngineSender : public Sender {
public:
    EngineSender(dds_entity_t participant, const std::string& channel, const DdsQos& qos)
        : topic_(transport::make_packet_topic(participant, channel.c_str()))
        , writer_(dds_create_writer(participant, topic_.get(), qos.get(), nullptr), "dds_create_writer")
    {
    }

    void send(std::size_t topic, std::string_view payload) override
    {
        qx_wire_Packet packet{};
        packet.part = static_cast<std::uint32_t>(topic);
        // The engine only reads it.
        packet.body._buffer = const_cast<std::uint8_t*>(reinterpret_cast<const std::uint8_t*>(payload.data()));
        packet.body._length = packet.body._maximum = static_cast<std::uint32_t>(payload.size());
        check_dds(dds_write(writer_.get(), &packet), "dds_write");
    }
    void flush() override { dds_write_flush(writer_.get()); }

private:
    DdsEntity topic_;
    DdsEntity writer_;
};

class EngineListener : public Listener {
public:
    EngineListener(dds_entity_t participant, const std::string& channel, const DdsQos& qos, Callback callback)
        : callback_(std::move(callback))
        , topic_(transport::make_packet_topic(participant, channel.c_str()))
        , reader_(dds_create_reader(participant, topic_.get(), qos.get(), nullptr), "dds_create_reader")
        , condition_(dds_create_readcondition(reader_.get(), DDS_ANY_STATE), "dds_create_readcondition")
        , stop_(dds_create_guardcondition(participant), "dds_create_guardcondition")
        , waitset_(dds_create_waitset(participant), "dds_create_waitset")
    {
        check_dds(dds_waitset_attach(waitset_.get(), condition_.get(), 0), "dds_waitset_attach");
        check_dds(dds_waitset_attach(waitset_.get(), stop_.get(), 0), "dds_waitset_attach");
        thread_ = std::jthread{[this](const std::stop_token& stopped) { run(stopped); }};
    }
    ~EngineListener() override
    {
        thread_.request_stop();
        dds_set_guardcondition(stop_.get(), true);
    }
    EngineListener(const EngineListener&) = delete;
    EngineListener& operator=(const EngineListener&) = delete;

private:
    void run(const std::stop_token& stopped)
    {
        while (!stopped.stop_requested()) {
            dds_waitset_wait(waitset_.get(), nullptr, 0, DDS_INFINITY);
            while (take()) {
            }
        }
    }

    bool take()
    {
        constexpr std::size_t at_once = 64;
        std::array<void*, at_once> loans{};
        std::array<dds_sample_info_t, at_once> infos{};
        const dds_return_t taken = dds_take(reader_.get(), loans.data(), infos.data(), at_once, at_once);
        for (std::size_t i = 0; i < static_cast<std::size_t>(std::max(taken, 0)); ++i) {
            const auto& packet = *static_cast<const qx_wire_Packet*>(loans[i]);
            if (infos[i].valid_data) {
                callback_({reinterpret_cast<const char*>(packet.body._buffer), packet.body._length});
            }
        }
        return taken > 0 && dds_return_loan(reader_.get(), loans.data(), taken) == DDS_RETCODE_OK;
    }

    Callback callback_;
    DdsEntity topic_;
    DdsEntity reader_;
    DdsEntity condition_;
    DdsEntity stop_;
    DdsEntity waitset_;
    std::jthread thread_; // last: it uses all the others
};

class EngineLink : public Link {
public:
    EngineLink(const transport::DomainSettings& settings, bool batching)
        : domain_(dds_create_domain(settings.id, transport::domain_xml(settings).c_str()), "dds_create_domain")
        , participant_(dds_create_participant(settings.id, nullptr, nullptr), "dds_create_participant")
    {
        dds_write_set_batch(batching); // of every domain that exists
    }

    std::unique_ptr<Sender> make_sender(const std::string& channel, std::size_t) override
    {
        return std::make_unique<EngineSender>(participant_.get(), channel, data_qos());
    }
    std::unique_ptr<Listener> make_listener(const std::string& channel, Listener::Callback callback) override
    {
        return std::make_unique<EngineListener>(participant_.get(), channel, data_qos(), std::move(callback));
    }
    std::unique_ptr<Sender> announce(std::size_t sources) override
    {
        auto sender = std::make_unique<EngineSender>(participant_.get(), "announced", announcement_qos());
        for (std::size_t i = 0; i < sources; ++i) {
            sender->send(i, "announced.topic." + std::to_string(i));
        }
        return sender;
    }
    std::unique_ptr<Listener> discover(Listener::Callback callback) override
    {
        return std::make_unique<EngineListener>(participant_.get(), "announced", announcement_qos(),
                                                std::move(callback));
    }

private:
    DdsEntity domain_;
    DdsEntity participant_;
};

} // namespace

std::unique_ptr<Link> make_engine_link(const std::string& tag, bool batching)
{
    transport::Options options{transport::Scope::context};
    options.set_text("domain_tag", tag);
    return std::make_unique<EngineLink>(transport::DomainSettings{options}, batching);
}

} // namespace qx::benchmark
