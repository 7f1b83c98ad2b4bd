// Reading one instrument record and visiting every node of it, beside two well-known libraries. The tree of the first
// owns its strings; the second is given its preferred conditions, a padded text and a parser that is kept.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include <benchmark/benchmark.h>
#include <libjson.h>
#include <nlohmann/json.hpp>
#include <sample_records/sample_records.h>
#include <simdjson.h>

namespace {

/// What a visit finds: compared before anything is timed, so that all three do the same work.
struct Visit {
    std::size_t nodes = 0;
    std::size_t nameBytes = 0;
    std::size_t stringBytes = 0;

    bool operator==(const Visit&) const = default;
};

void visit(const JSONNode& node, Visit& found)
{
    ++found.nodes;
    if (node.type() == JSON_STRING) {
        found.stringBytes += node.as_string().size();
    }
    for (const JSONNode& child : node) {
        found.nameBytes += child.name().size();
        visit(child, found);
    }
}

void visit(const nlohmann::json& node, Visit& found)
{
    ++found.nodes;
    if (node.is_string()) {
        found.stringBytes += node.get_ref<const std::string&>().size();
    } else if (node.is_object()) {
        for (const auto& [name, child] : node.items()) {
            found.nameBytes += name.size();
            visit(child, found);
        }
    } else if (node.is_array()) {
        for (const auto& child : node) {
            visit(child, found);
        }
    }
}

void visit(const simdjson::dom::element& node, Visit& found)
{
    ++found.nodes;
    if (node.is_string()) {
        found.stringBytes += std::string_view(node.get_string()).size();
    } else if (node.is_object()) {
        const simdjson::dom::object members = node.get_object();
        for (const auto& [name, child] : members) {
            found.nameBytes += name.size();
            visit(child, found);
        }
    } else if (node.is_array()) {
        const simdjson::dom::array elements = node.get_array();
        for (const simdjson::dom::element child : elements) {
            visit(child, found);
        }
    }
}

Visit read_with_libjson(const std::string& text)
{
    Visit found;
    visit(libjson::parse(text), found);
    return found;
}

Visit read_with_nlohmann(const std::string& text)
{
    Visit found;
    visit(nlohmann::json::parse(text), found);
    return found;
}

Visit read_with_simdjson(simdjson::dom::parser& parser, const simdjson::padded_string& text)
{
    Visit found;
    visit(parser.parse(text).value(), found);
    return found;
}

std::size_t distance(std::size_t a, std::size_t b)
{
    return a > b ? a - b : b - a;
}

/// Of the first records of the series the one whose length is nearest.
std::string record_of_about(std::size_t bytes)
{
    std::string best;
    for (const auto size : {qx::sample::RecordSize::typical, qx::sample::RecordSize::large}) {
        for (std::uint64_t seed = 0; seed < 200; ++seed) {
            std::string record = qx::sample::make_instrument_json(seed, size);
            if (distance(record.size(), bytes) < distance(best.size(), bytes)) {
                best = std::move(record);
            }
        }
    }
    return best;
}

template <class Read>
void measure(benchmark::State& state, const std::string& text, Read read)
{
    const Visit expected = read_with_nlohmann(text);
    if (expected.nodes < 10 || read() != expected) {
        state.SkipWithError("the visit did not find what the reference finds");
        return;
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(read());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
    state.counters["record_bytes"] = static_cast<double>(text.size());
    state.counters["nodes"] = static_cast<double>(expected.nodes);
}

void BM_ParseAndVisit_JSONNode(benchmark::State& state)
{
    const std::string text = record_of_about(static_cast<std::size_t>(state.range(0)));
    measure(state, text, [&] { return read_with_libjson(text); });
}

void BM_ParseAndVisit_nlohmann(benchmark::State& state)
{
    const std::string text = record_of_about(static_cast<std::size_t>(state.range(0)));
    measure(state, text, [&] { return read_with_nlohmann(text); });
}

void BM_ParseAndVisit_simdjson(benchmark::State& state)
{
    const std::string text = record_of_about(static_cast<std::size_t>(state.range(0)));
    const simdjson::padded_string padded(text);
    simdjson::dom::parser parser;
    measure(state, text, [&] { return read_with_simdjson(parser, padded); });
}

BENCHMARK(BM_ParseAndVisit_JSONNode)->ArgName("about_bytes")->Arg(1'500)->Arg(4'000);
BENCHMARK(BM_ParseAndVisit_nlohmann)->ArgName("about_bytes")->Arg(1'500)->Arg(4'000);
BENCHMARK(BM_ParseAndVisit_simdjson)->ArgName("about_bytes")->Arg(1'500)->Arg(4'000);

} // namespace
