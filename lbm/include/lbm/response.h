/// Where a request is answered.
#pragma once

#include <lbm/lbm.h>

namespace lbm {

/// A view of a request's response handle; null when the message carried none.
/// Lifetime  owns nothing: the handle is valid for as long as the message that carried it is held.
class Response {
public:
    Response(lbm_response_t* response) noexcept
        : m_resp(response)
    {
    }

    operator lbm_response_t*() const noexcept { return m_resp; }

private:
    lbm_response_t* m_resp;
};

static_assert(sizeof(Response) == sizeof(lbm_response_t*), "a handle and nothing else");

} // namespace lbm
