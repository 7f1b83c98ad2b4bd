/// What is delivered: records and the envelopes around them, made from seeds.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <google/protobuf/message.h>

namespace qx::benchmark {

struct Sample {
    std::string name;
    std::string payload;    ///< as publishers send it
    std::string respelled;  ///< the same with UUIDs as the messages that they are, which protobuf's own reader wants
    std::string serialized; ///< the reference in protobuf's format
    std::size_t record_bytes = 0;
    std::shared_ptr<google::protobuf::Message> reference; ///< what protobuf's own reader makes of it
};

/// An instrument record whose text has about that size, up to some 6 KB; beyond that its legs are repeated.
Sample instrument(std::size_t bytes);

Sample product();

/// An instrument record in an envelope with so many members that nobody asks for; each needs an escape.
Sample instrument_among_members(std::size_t members);

/// An instrument record with so many related instruments.
Sample instrument_with_list(std::size_t elements);

} // namespace qx::benchmark
