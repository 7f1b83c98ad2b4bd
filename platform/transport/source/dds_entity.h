/// Owning handles over the engine's C interface.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include <dds/dds.h>

#include "error.h"

namespace qx::transport {

/// Throws TransportError (LBM_EOS) with the engine's reason if `result` is an error; gives it back otherwise.
inline dds_return_t check_dds(dds_return_t result, const char* call)
{
    if (result < 0) {
        throw TransportError(LBM_EOS, std::string{call} + ": " + dds_strretcode(-result));
    }
    return result;
}

/// Deleting an entity deletes what was made under it.
class DdsEntity {
public:
    DdsEntity() = default;
    DdsEntity(dds_entity_t created, const char* call)
        : handle_(check_dds(created, call))
    {
    }
    ~DdsEntity() { reset(); }
    DdsEntity(DdsEntity&& other) noexcept
        : handle_(std::exchange(other.handle_, 0))
    {
    }
    DdsEntity& operator=(DdsEntity&& other) noexcept
    {
        reset();
        handle_ = std::exchange(other.handle_, 0);
        return *this;
    }

    void reset() noexcept
    {
        if (handle_ != 0) {
            dds_delete(std::exchange(handle_, 0)); // a failure means that it is gone already
        }
    }
    dds_entity_t get() const noexcept { return handle_; }
    explicit operator bool() const noexcept { return handle_ != 0; }

private:
    dds_entity_t handle_ = 0;
};

struct DdsQosDelete {
    void operator()(dds_qos_t* qos) const noexcept { dds_delete_qos(qos); }
};
using DdsQos = std::unique_ptr<dds_qos_t, DdsQosDelete>;

} // namespace qx::transport
