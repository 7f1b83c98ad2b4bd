#include "qxnotify/publish_dry_run.h"

#include <cerrno>
#include <string>
#include <system_error>

#include <nlohmann/json.hpp>

namespace qx::tool {

namespace {

/// An envelope of ours gets the market in front; anything else is kept whole, as it might have members of any name.
std::string line_of(std::uint64_t market, std::string_view payload)
{
    const std::string front = R"({"market":)" + std::to_string(market) + ",";
    if (payload.starts_with(R"({"et":)") && nlohmann::json::accept(payload)) {
        return front + std::string{payload.substr(1)} + "\n";
    }
    return front + R"("raw":)" + nlohmann::json(payload).dump() + "}\n";
}

} // namespace

SendResult DryRunSender::send(std::uint64_t market, Fate /*fate*/, std::string_view payload)
{
    switch (m_write(line_of(market, payload))) {
    case Written::yes:
        return SendResult::sent;
    case Written::closed:
        return SendResult::closed;
    case Written::failed:
        break;
    }
    throw std::system_error(errno, std::generic_category(), "standard output");
}

} // namespace qx::tool
