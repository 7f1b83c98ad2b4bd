/// Shows what would be sent, and sends nothing.
#pragma once

#include <functional>
#include <string_view>

#include "qxnotify/output.h"
#include "qxnotify/publish_sender.h"

namespace qx::tool {

/// Writes each notification as a line that `qxnotify publish` reads again. Throws std::system_error when it cannot.
class DryRunSender : public Sender {
public:
    explicit DryRunSender(std::function<Written(std::string_view line)> write)
        : m_write(std::move(write))
    {
    }

    SendResult send(std::uint64_t market, Fate fate, std::string_view payload) override;

private:
    std::function<Written(std::string_view line)> m_write;
};

} // namespace qx::tool
