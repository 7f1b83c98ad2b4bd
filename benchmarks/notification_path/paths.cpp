#include "paths.h"

#include <sstream>
#include <stdexcept>
#include <utility>

#include <boost/property_tree/json_parser.hpp>
#include <google/protobuf/util/json_util.h>
#include <qx_notify_listener.h>
#include <simdjson.h>

#include "platform/transport/source/message.h"
#include "straightforward.h"

namespace qx::benchmark {
namespace {

using google::protobuf::Message;

void keep_alive(const void* made)
{
    asm volatile("" : : "r"(made) : "memory");
}

/// The listener's callback, given messages as the transport makes them; none crosses a process.
class ListenerPath : public Path, private ps_ns::QXNotifyObserver {
public:
    explicit ListenerPath(const Sample& sample)
        : m_listener(this)
        , m_message(transport::Message::make(
              std::make_shared<transport::RemoteSource>(transport::SourceId{}, "qxnotify.public.pds.native.42.records"),
              LBM_MSG_DATA, 0, sample.payload))
        , m_last(sample.reference->New())
    {
    }

    void pass() override { m_listener.DoHandleNotification(lbm::Message(m_message.get())); }

    const Message& record() override
    {
        m_keeping = true;
        pass();
        m_keeping = false;
        return *m_last;
    }

private:
    void OnInstrumentDownloadRecord(ps_ns::PdsNotifyEventType,
                                    messaging::pds::InstrumentDownloadRecord& record) override
    {
        take(record);
    }
    void OnProductDownloadRecord(ps_ns::PdsNotifyEventType, messaging::pds::ProductDownloadRecord& record) override
    {
        take(record);
    }
    void take(const Message& record)
    {
        keep_alive(&record);
        if (m_keeping) {
            m_last->CopyFrom(record);
        }
    }

    ps_ns::QXNotifyListener m_listener;
    transport::MessagePtr m_message;
    std::unique_ptr<Message> m_last;
    bool m_keeping = false;
};

/// Four texts out of the envelope by the property tree's reader; the peers differ in what they make of the last.
class TreePath : public Path {
public:
    TreePath(std::string payload, const Sample& sample)
        : m_payload(std::move(payload))
        , m_prototype(sample.reference)
    {
    }

    void pass() override
    {
        std::istringstream stream(m_payload);
        boost::property_tree::ptree tree;
        boost::property_tree::read_json(stream, tree);
        for (const char* key : {"et", "dt", "id"}) {
            const auto text = tree.get_child(key).get_value<std::string>();
            keep_alive(&text);
        }
        m_record.reset(m_prototype->New());
        convert(tree.get_child("data").get_value<std::string>(), *m_record);
    }
    const Message& record() override { return *m_record; }

private:
    virtual void convert(const std::string& data, Message& record) = 0;

    const std::string m_payload;
    const std::shared_ptr<Message> m_prototype;
    std::unique_ptr<Message> m_record;
};

class ProtobufJsonPath : public TreePath {
public:
    explicit ProtobufJsonPath(const Sample& sample)
        : TreePath(sample.respelled, sample)
    {
    }

private:
    void convert(const std::string& data, Message& record) override
    {
        if (!google::protobuf::util::JsonStringToMessage(data, &record).ok()) {
            throw std::runtime_error("protobuf's own reader refuses the record");
        }
    }
};

class StraightforwardPath : public TreePath {
public:
    explicit StraightforwardPath(const Sample& sample)
        : TreePath(sample.payload, sample)
    {
    }

private:
    void convert(const std::string& data, Message& record) override
    {
        StraightforwardConverter::fill(record, nlohmann::json::parse(data));
    }
};

class FloorPath : public Path {
public:
    explicit FloorPath(const Sample& sample)
        : m_payload(sample.payload)
        , m_serialized(sample.serialized)
        , m_prototype(sample.reference)
    {
    }

    void pass() override
    {
        const std::string_view data = m_outer.parse(m_payload)["data"];
        const simdjson::padded_string padded(data);
        if (!m_inner.parse(padded).is_object()) {
            throw std::runtime_error("simdjson refuses the record");
        }
        m_record.reset(m_prototype->New());
        m_record->ParseFromString(m_serialized);
    }
    const Message& record() override { return *m_record; }

private:
    const simdjson::padded_string m_payload;
    const std::string m_serialized;
    const std::shared_ptr<Message> m_prototype;
    simdjson::dom::parser m_outer;
    simdjson::dom::parser m_inner;
    std::unique_ptr<Message> m_record;
};

template <class Made>
std::unique_ptr<Path> make(const Sample& sample)
{
    return std::make_unique<Made>(sample);
}

} // namespace

std::vector<Kind> kinds()
{
    return {{"listener", &make<ListenerPath>},
            {"protobuf JSON", &make<ProtobufJsonPath>},
            {"straightforward", &make<StraightforwardPath>},
            {"floor", &make<FloorPath>}};
}

} // namespace qx::benchmark
