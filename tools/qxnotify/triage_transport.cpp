#include "qxnotify/triage_transport.h"

#include <utility>

namespace qx::tool {

TriageRequester::TriageRequester(const std::string& context_name, const std::string& topic, StopSignals& stop)
    : m_topic(topic)
    , m_stop(stop)
    // Who has not answered by then is reported as missing, so nothing is gained by waiting for it.
    , m_context(open_context(context_name, AtEnd::leaves))
    , m_source(m_context.get(), topic)
{
}

bool TriageRequester::send(std::string_view payload)
{
    end_request();
    forget_answers();
    lbm_request_t* request = nullptr;
    const auto send_once = [&] {
        m_sentAt = Clock::now();
        return lbm_send_request(&request, m_source.get(), payload.data(), payload.size(), &on_answer, &m_answers,
                                nullptr, LBM_MSG_FLUSH | LBM_SRC_NONBLOCK);
    };
    const bool sent = send_when_possible(send_once, "lbm_send_request", m_topic, m_stop);
    m_request.reset(request);
    return sent;
}

/// Memory that runs out here ends the process, as the transport lets no exception out of a callback.
int TriageRequester::on_answer(lbm_request_t* /*request*/, lbm_msg_t* msg, void* clientd)
{
    const auto now = Clock::now();
    auto& answers = *static_cast<Answers*>(clientd);
    const std::string_view payload = msg->len > 0 ? std::string_view{msg->data, msg->len} : std::string_view{};
    {
        const std::scoped_lock guard(answers.lock);
        const std::string_view source = msg->source;
        const std::size_t bytes = sizeof(ReceivedAnswer) + source.size() + payload.size();
        if (bytes > answer_bytes_max - answers.bytes) {
            ++answers.dropped;
            return 0;
        }
        answers.bytes += bytes;
        answers.untaken.push_back({std::string{source}, std::string{payload}, now});
    }
    answers.came.wake();
    return 0;
}

Woken TriageRequester::wait_for_answer(Deadline deadline)
{
    const Woken woken = wait_for(m_answers.came.fd(), m_stop, deadline);
    return woken == Woken::ready && passed(deadline) ? Woken::timed_out : woken;
}

std::vector<ReceivedAnswer> TriageRequester::take_answers()
{
    m_answers.came.clear(); // before the lock: an answer that comes in between is taken now and wakes once for nothing
    const std::scoped_lock guard(m_answers.lock);
    return std::exchange(m_answers.untaken, {});
}

std::uint64_t TriageRequester::dropped()
{
    const std::scoped_lock guard(m_answers.lock);
    return m_answers.dropped;
}

void TriageRequester::forget_answers()
{
    m_answers.came.clear();
    const std::scoped_lock guard(m_answers.lock);
    m_answers.untaken.clear();
    m_answers.bytes = 0;
    m_answers.dropped = 0;
}

} // namespace qx::tool
