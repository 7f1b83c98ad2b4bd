/// qxnotify processes over the real transport on loopback, apart from whatever else runs on the machine.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "process.h"

namespace qx::system_test {

using nlohmann::json;

class QxNotify : public testing::Test {
protected:
    QxNotify();
    ~QxNotify() override;

    /// Any verb; it may still be running.
    std::unique_ptr<Process> start(std::vector<std::string> arguments, const Environment& changes = {});
    /// A listener that has said that it listens.
    std::unique_ptr<Process> listen(std::vector<std::string> arguments, const Environment& changes = {});
    /// A publisher that may still be running.
    std::unique_ptr<Process> start_publish(std::vector<std::string> arguments);
    /// A publisher that has ended as it should; its totals.
    json publish(std::vector<std::string> arguments, int exit_code = 0);
    /// Publishes lines, with further options.
    json publish_lines(const std::vector<std::string>& lines, std::vector<std::string> options = {}, int exit_code = 0);

    std::string write_file(const std::string& name, const std::string& content) const;
    const Environment& environment() const { return m_environment; }

    /// The records of a listener that writes JSON, without its summary and counters.
    static std::vector<json> records_of(const Process& listener);
    static json summary_of(const Process& listener);

private:
    std::filesystem::path m_folder;
    Environment m_environment;
};

/// Lines for `qxnotify publish`, each about the market and identifier.
std::string product_line(int market, int id, const std::string& event_type = "Update");
std::string instrument_line(int market, int id, const std::string& event_type = "Update");

} // namespace qx::system_test
