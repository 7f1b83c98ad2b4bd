/// For tests: what a call throws, as text and number.
#pragma once

#include <string>
#include <utility>

#include "platform/transport/source/error.h"

namespace qx::transport {

struct Refusal {
    int code = LBM_OK;
    std::string text = "accepted";
};

template <class F>
Refusal refusal_of(F&& f)
{
    try {
        std::forward<F>(f)();
    } catch (const TransportError& e) {
        return {e.code(), e.what()};
    }
    return {};
}

} // namespace qx::transport
