#include "requester.h"

#include <utility>

#include "answer.h"

namespace qx::transport {

std::uint64_t Requester::open(const std::shared_ptr<Request>& request)
{
    const std::lock_guard lock{mutex_};
    requests_.emplace(++last_, request);
    return last_;
}

void Requester::forget(std::uint64_t number)
{
    const std::lock_guard lock{mutex_};
    requests_.erase(number);
}

void Requester::close()
{
    std::unordered_map<std::uint64_t, std::shared_ptr<Request>> requests;
    {
        const std::lock_guard lock{mutex_};
        requests.swap(requests_);
    }
    for (const auto& [number, request] : requests) {
        request->close(); // without the lock: a callback that is waited for may itself be making or deleting a request
    }
}

std::shared_ptr<Request> Requester::find(std::uint64_t number) const
{
    const std::lock_guard lock{mutex_};
    const auto found = requests_.find(number);
    return found != requests_.end() ? found->second : nullptr;
}

std::optional<Delivery> Requester::receive(const ContextId& from, ByteView bytes)
{
    Answer answer;
    std::shared_ptr<Request> request = decode_answer(bytes, answer) ? find(answer.request) : nullptr;
    if (!request) {
        ++dropped_;
        return std::nullopt;
    }
    const auto source = std::make_shared<RemoteSource>(from, request->topic());
    return Delivery{Delivery::What::answer,
                    nullptr,
                    source,
                    Message::make(source, LBM_MSG_RESPONSE, answer.number, answer.payload),
                    0,
                    0,
                    nullptr,
                    std::move(request)};
}

} // namespace qx::transport
