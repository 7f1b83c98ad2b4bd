/// A record as JSON, with the keys under which the product-data service publishes it.
#pragma once

#include <google/protobuf/message.h>
#include <nlohmann/json.hpp>

namespace qx::tool {

/// Only fields that are set, in the order of the schema. Enumerations by name, UUIDs as text, 64-bit integers as
/// numbers: the converter makes an equal record of the result.
nlohmann::ordered_json record_to_json(const google::protobuf::Message& record);

} // namespace qx::tool
