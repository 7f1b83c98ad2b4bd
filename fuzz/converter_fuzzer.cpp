/// Any document into an instrument record: lenient conversion ends well, or with one of the two documented exceptions,
/// and both modes make of it what the plainest form of the conversion makes.
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string_view>

#include <google/protobuf/stubs/logging.h>
#include <libjson.h>
#include <logger/logger.h>
#include <miscutils/JSONtopb_non_static.h>

#include "instrument_download_record.pb.h"
#include "misc/miscutils/tests/reference_converter.h"

namespace {

std::optional<JSONNode> parsed(std::string_view text)
{
    try {
        return libjson::parse(text);
    } catch (const std::invalid_argument&) {
        return std::nullopt;
    }
}

bool is_malformed_uuid(const std::runtime_error& e)
{
    return std::string_view(e.what()) == "invalid uuid string";
}

void convert(const JSONNode& document)
{
    qx::messaging::pds::InstrumentDownloadRecord record;
    try {
        const bool converted = qx::JSONProto{}.JSONToProtobuf(record, document, false, false);
        if (converted == document.empty()) {
            __builtin_trap();
        }
    } catch (const google::protobuf::FatalException&) { // NOLINT(bugprone-empty-catch): a shape that does not fit
    } catch (const std::runtime_error& e) {             // strict mode's exception is one, too, and must not come
        if (!is_malformed_uuid(e)) {
            throw;
        }
    }
    record.SerializeAsString(); // whatever was written before a failure is a sound message
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    [[maybe_unused]] static auto* const quiet = google::protobuf::SetLogHandler(nullptr);
    qx::logging::g_minLogLevel = qx::logging::QXLOG_WALL + 1;
    if (const auto document = parsed({reinterpret_cast<const char*>(data), size})) { // bytes as characters
        convert(*document);
        for (const bool strict : {true, false}) {
            if (!qx::test::is_converted_alike<qx::messaging::pds::InstrumentDownloadRecord>(*document, strict)) {
                __builtin_trap();
            }
        }
    }
    return 0;
}
