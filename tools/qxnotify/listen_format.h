/// How `qxnotify listen` writes one record.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

#include <google/protobuf/message.h>
#include <lbm/lbm.h>

namespace qx::tool {

enum class RecordFormat {
    line, ///< one line for people
    json, ///< one object a line; `qxnotify publish` reads it again
    text, ///< protobuf's text form under a comment line, then an empty line
};

/// What is known of the message that carried a record.
struct Delivery {
    std::chrono::system_clock::time_point time; ///< of delivery
    std::string topic;
    std::string source;
    std::uint32_t sequence_number = 0;
    std::string id; ///< as the notification has it
};

/// `message` null: nothing is known but the time.
Delivery describe_delivery(const lbm_msg_t* message, std::chrono::system_clock::time_point now);

struct ReceivedRecord {
    const Delivery& delivery;
    int event_type;
    const google::protobuf::Message& record;

    std::string_view data_type() const { return record.GetDescriptor()->name(); }
};

/// "2026-03-01T09:30:00.000123Z".
std::string utc_text(std::chrono::system_clock::time_point time);

/// Complete with its line feeds. Text from outside cannot break out of its line or reach the terminal as a control
/// character. `colour` concerns `line` only.
std::string format_record(const ReceivedRecord& received, RecordFormat format, bool colour);

} // namespace qx::tool
