#pragma once

#include <string_view>

#include <libjson.h>
#include <miscutils/JSONtopb_non_static.h>

#include "converter_test.pb.h"

namespace qx::test {

inline constexpr bool strict = true;
inline constexpr bool lenient = false;

/// The message that comes of the text; what the converter throws passes through.
template <class Message = AllTypes>
Message convert(std::string_view json, bool mode)
{
    Message message;
    JSONProto{}.JSONToProtobuf(message, libjson::parse(json), mode, false);
    return message;
}

/// What strict conversion says of the text; "" when it takes it.
template <class Message = AllTypes>
std::string strict_failure(std::string_view json)
{
    try {
        convert<Message>(json, strict);
        return "";
    } catch (const JSONProtoException& e) {
        return e.what();
    }
}

} // namespace qx::test
