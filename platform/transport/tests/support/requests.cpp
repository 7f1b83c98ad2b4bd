#include "requests.h"

namespace test {

RequestHandle send_request(const SourceHandle& source, const std::string& payload, Recorder& answers,
                           lbm_event_queue_t* evq)
{
    lbm_request_t* req = nullptr;
    check(lbm_send_request(&req, source.get(), payload.data(), payload.size(), &Recorder::on_answer, &answers, evq,
                           LBM_MSG_FLUSH));
    return RequestHandle{req};
}

int answer(lbm_response_t* response, const std::string& payload, int flags)
{
    return lbm_send_response(response, payload.data(), payload.size(), flags);
}

KeptRequests::KeptRequests(Recorder& recorder)
{
    recorder.then = [this](lbm_msg_t& msg) {
        if (msg.type == LBM_MSG_REQUEST) {
            lbm_msg_retain(&msg);
            const std::lock_guard lock{mutex_};
            messages_.emplace_back(&msg);
        }
    };
}

std::size_t KeptRequests::size() const
{
    const std::lock_guard lock{mutex_};
    return messages_.size();
}

lbm_response_t* KeptRequests::response(std::size_t i) const
{
    const std::lock_guard lock{mutex_};
    return messages_.at(i)->response;
}

void KeptRequests::clear()
{
    const std::lock_guard lock{mutex_};
    messages_.clear();
}

} // namespace test
