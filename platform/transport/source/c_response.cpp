#include <lbm/lbm.h>

#include "error.h"
#include "fork_guard.h"
#include "responder.h"
#include "send_arguments.h"

using namespace qx::transport;

int lbm_send_response(lbm_response_t* response, const char* data, size_t length, int flags)
{
    return guarded_live("lbm_send_response", nullptr, [&] {
        require(response, "response");
        check_send(data, length, flags);
        response->responder->send(*response, {data, length}, wait_by(flags));
    });
}
