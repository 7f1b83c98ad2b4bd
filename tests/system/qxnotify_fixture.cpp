#include "qxnotify_fixture.h"

#include <cstdlib>
#include <fstream>

namespace qx::system_test {

namespace {

std::filesystem::path make_folder()
{
    std::string path = std::filesystem::temp_directory_path() / "qxnotify_system_XXXXXX";
    if (::mkdtemp(path.data()) == nullptr) {
        throw std::runtime_error("no temporary folder like " + path);
    }
    return path;
}

/// A domain of its own for every test: the folder's name is unique on the machine.
std::string transport_configuration(const std::string& tag)
{
    return R"(<um-configuration version="1.0"><applications><application name="system"><contexts>)"
           R"(<context name="PriceEnvironmentContext"><options type="context"><option name="domain_tag" default-value=")" +
           tag + R"("/></options></context></contexts></application></applications></um-configuration>)";
}

} // namespace

QxNotify::QxNotify()
    : m_folder(make_folder())
{
    m_environment = {
        {"LBM_XML_CONFIG_FILENAME", write_file("transport.xml", transport_configuration(m_folder.filename()))},
        {"LBM_XML_CONFIG_APPNAME", "system"},
        {"QX_LOG_LEVEL", "QXLOG_DEBUG"},
        {"NO_COLOR", "1"},
    };
}

QxNotify::~QxNotify()
{
    std::filesystem::remove_all(m_folder);
}

std::string QxNotify::write_file(const std::string& name, const std::string& content) const
{
    const auto path = m_folder / name;
    std::ofstream(path) << content;
    return path;
}

std::unique_ptr<Process> QxNotify::start(std::vector<std::string> arguments, const Environment& changes)
{
    Environment environment = changes;
    environment.insert(m_environment.begin(), m_environment.end());
    arguments.insert(arguments.begin(), QXNOTIFY_PROGRAM);
    return std::make_unique<Process>(arguments, environment);
}

std::unique_ptr<Process> QxNotify::listen(std::vector<std::string> arguments, const Environment& changes)
{
    arguments.insert(arguments.begin(), "listen");
    auto listener = start(std::move(arguments), changes);
    EXPECT_TRUE(listener->until_error_has("qxnotify listen: listening")) << listener->error();
    return listener;
}

std::unique_ptr<Process> QxNotify::start_publish(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), {"publish", "--summary", "json", "--wait-for-listener", "30"});
    return start(std::move(arguments), {});
}

json QxNotify::publish(std::vector<std::string> arguments, int exit_code)
{
    const auto publisher = start_publish(std::move(arguments));
    EXPECT_EQ(publisher->wait(), exited(exit_code)) << publisher->error();
    return json::parse(publisher->output(), nullptr, false);
}

json QxNotify::publish_lines(const std::vector<std::string>& lines, std::vector<std::string> options, int exit_code)
{
    std::string content;
    for (const std::string& line : lines) {
        content += line + "\n";
    }
    options.push_back(write_file("lines.jsonl", content));
    return publish(std::move(options), exit_code);
}

std::vector<json> QxNotify::records_of(const Process& listener)
{
    std::vector<json> records;
    for (const std::string& line : listener.output_lines()) {
        json object = json::parse(line);
        if (!object.contains("summary") && !object.contains("stats")) {
            records.push_back(std::move(object));
        }
    }
    return records;
}

json QxNotify::summary_of(const Process& listener)
{
    const auto lines = listener.output_lines();
    return lines.empty() ? json{} : json::parse(lines.back()).value("summary", json{});
}

std::string product_line(int market, int id, const std::string& event_type)
{
    return json{{"market", market},
                {"et", event_type},
                {"dt", "ProductDownloadRecord"},
                {"id", id},
                {"data", {{"productId", id}, {"symbol", "GBL"}}}}
        .dump();
}

std::string instrument_line(int market, int id, const std::string& event_type)
{
    return json{{"market", market},
                {"et", event_type},
                {"dt", "InstrumentDownloadRecord"},
                {"id", id},
                {"data", {{"instrumentId", id}, {"symbol", "GBLMar27"}, {"tickSize", 0.01}}}}
        .dump();
}

} // namespace qx::system_test
