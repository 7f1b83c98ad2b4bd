/// The ways from a payload to a record that are compared.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <google/protobuf/message.h>

#include "records.h"

namespace qx::benchmark {

/// One way, for one sample.
class Path {
public:
    virtual ~Path() = default;
    /// The record is made and dropped again.
    virtual void pass() = 0;
    /// The record that the last pass made, for comparison; passes may be slower once this was called.
    virtual const google::protobuf::Message& record() = 0;
};

struct Kind {
    std::string name;
    std::function<std::unique_ptr<Path>(const Sample&)> make;
};

/// Ours first: the listener's callback.
/// "protobuf JSON"     `read_json`, and protobuf's own JSON reader for the record: what one would write today.
/// "straightforward"   `read_json`, nlohmann's document, an index in a map of strings, reflection.
/// "floor"             simdjson over both layers, and `ParseFromString` of the same record in protobuf's format: no
///                     reader of JSON can be faster than that by much.
std::vector<Kind> kinds();

} // namespace qx::benchmark
