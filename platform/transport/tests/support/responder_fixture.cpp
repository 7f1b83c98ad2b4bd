#include "responder_fixture.h"

#include "platform/transport/source/partition.h"
#include "platform/transport/source/wire_qos.h"

using namespace qx::transport;

namespace test {

DomainSettings own_domain()
{
    Options options{Scope::context};
    options.set_text("domain_tag", domain_tag());
    return DomainSettings{options};
}

ContextId made_up(std::size_t i)
{
    ContextId id{{127, 0, 0, 1}};
    id.bytes[14] = static_cast<std::uint8_t>(i >> 8U);
    id.bytes[15] = static_cast<std::uint8_t>(i);
    return id;
}

HearingEnd::HearingEnd(dds_entity_t participant, const ContextId& requester)
    : topic_(make_packet_topic(participant, answers_topic))
    , reader_(
          dds_create_reader(participant, topic_.get(), frames_qos(partition_of_requester(requester)).get(), nullptr),
          "dds_create_reader")
{
}

std::size_t HearingEnd::take() const
{
    std::size_t count = 0;
    void* loan = nullptr;
    dds_sample_info_t info{};
    while (dds_take(reader_.get(), &loan, &info, 1, 1) > 0) {
        count += info.valid_data ? 1 : 0;
        dds_return_loan(reader_.get(), &loan, 1);
        loan = nullptr;
    }
    return count;
}

int send(lbm_response& to, const std::string& payload, const SendWait& wait)
{
    try {
        to.responder->send(to, payload, wait);
        return 0;
    } catch (const TransportError& e) {
        return e.code();
    }
}

ResponderTest::ResponderTest()
    : domain(own_domain())
{
}

ResponderTest::~ResponderTest()
{
    for (const auto& responder : made) {
        responder->close({});
    }
}

std::shared_ptr<Responder> ResponderTest::make(std::size_t window, std::chrono::milliseconds lease, WriterLimits limits)
{
    return made.emplace_back(std::make_shared<Responder>(domain.participant(), ContextId{}, AnswerPolicy{window, lease},
                                                         domain.flusher(), limits));
}

} // namespace test
