#include <lbm/lbm.h>

#include <memory>
#include <utility>

#include "error.h"
#include "fork_guard.h"
#include "handles.h"
#include "send_arguments.h"

using namespace qx::transport;

namespace {

std::shared_ptr<Context> context_of(const lbm_src& src)
{
    if (auto context = src.context.lock()) {
        return context;
    }
    throw TransportError(LBM_EOP, "the context is deleted");
}

} // namespace

int lbm_send_request(lbm_request_t** req, lbm_src_t* src, const char* data, size_t length, lbm_request_cb_proc proc,
                     void* clientd, lbm_event_queue_t* evq, int flags)
{
    if (src == nullptr) {
        return guarded_live("lbm_send_request", nullptr, [&] { require(src, "src"); });
    }
    return guarded_live("lbm_send_request", src->source->topic.c_str(), [&] {
        require(req, "req");
        require(reinterpret_cast<const void*>(proc), "proc");
        check_send(data, length, flags);
        const std::shared_ptr<Context> context = context_of(*src);
        const std::shared_ptr<LocalSource> source = src->source;
        auto handle = std::make_unique<lbm_request>(lbm_request{nullptr, context, 0});
        handle->request = std::make_shared<Request>(source->topic, Request::Callback{proc, clientd, handle.get()},
                                                    queue_of(evq, *context));
        const std::uint64_t number = handle->number = context->subscriber().open(handle->request);
        lbm_request_t* const before = std::exchange(*req, handle.get()); // set before the first answer can come
        try {
            source->stream->send_request(*source, number, {data, length}, wait_by(flags));
        } catch (...) {
            *req = before;
            handle->request->close();
            context->subscriber().forget(number);
            throw;
        }
        static_cast<void>(handle.release()); // the first answer's callback may have deleted it already
    });
}

int lbm_request_delete(lbm_request_t* req)
{
    return guarded_live("lbm_request_delete", req != nullptr ? req->request->topic().c_str() : nullptr, [&] {
        require(req, "req");
        const std::unique_ptr<lbm_request> handle{req};
        handle->request->close();
        if (const auto context = handle->context.lock()) {
            context->subscriber().forget(handle->number);
        }
    });
}
