/// Calling the transport: exactly LBM_FAILURE is a failure, every other result counts as success.
#pragma once

#include <array>
#include <cstddef>

#include <lbm/error.h>
#include <lbm/handle.h>

namespace lbm::details {

/// Gives the result on, or throws.
inline int Check(int result, const char* failure)
{
    if (result == LBM_FAILURE) {
        ThrowLbmError(failure);
    }
    return result;
}

/// `create` is given where to put the handle and returns the transport's result.
template <class T, class Create>
Handle<T> Open(const char* failure, Create create)
{
    T* raw = nullptr;
    Check(create(&raw), failure);
    return Handle<T>(raw);
}

/// `get` is given buffer and length as the transport's …_str_getopt functions take them.
template <class Get>
String ReadText(const char* failure, Get get)
{
    std::array<char, 1024> buffer{};
    std::size_t length = buffer.size() - 1;
    Check(get(buffer.data(), &length), failure);
    return buffer.data();
}

} // namespace lbm::details
