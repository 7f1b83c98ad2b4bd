/// What a log statement costs: suppressed, against a loop that compares one volatile integer, and emitted into a back
/// end that does nothing. This program is that back end.
#include <atomic>
#include <cstdint>
#include <string>

#include <benchmark/benchmark.h>
#include <logger/logger.h>

namespace qx::logging {

std::atomic<std::int32_t> g_minLogLevel{QXLOG_WARNING};

namespace {
std::uint64_t delivered = 0;
std::size_t lastTextBytes = 0;
} // namespace

void LogMessage(LogLevel, unsigned, DecodeType, const ConstSourcePtr&, const char*, int, const String& text,
                const String&)
{
    ++delivered;
    lastTextBytes = text.size();
}

void ForceLockHandlers() {}

IPStringStream& GetThreadLocalStream()
{
    thread_local IPStringStream stream;
    return stream;
}

} // namespace qx::logging

namespace {

using namespace qx::logging;

void BM_VolatileCompare(benchmark::State& state)
{
    volatile std::int32_t minimum = QXLOG_WARNING;
    std::uint64_t passed = 0;
    for (auto _ : state) {
        if (minimum <= QXLOG_INFO) {
            benchmark::DoNotOptimize(++passed);
        }
    }
    if (passed != 0) {
        state.SkipWithError("the comparison let something pass");
    }
}
BENCHMARK(BM_VolatileCompare);

void BM_SuppressedStatement(benchmark::State& state)
{
    const std::uint64_t before = delivered;
    std::uint64_t marketId = 1;
    for (auto _ : state) {
        QX_LOG(QXLOG_INFO) << "QXNOTIFY | Subscribing for market_id=" << ++marketId;
    }
    if (delivered != before || marketId != 1) {
        state.SkipWithError("a suppressed statement was delivered or evaluated");
    }
}
BENCHMARK(BM_SuppressedStatement);

void BM_EmittedStatement(benchmark::State& state)
{
    const std::string operand(static_cast<std::size_t>(state.range(0)), 'x');
    const std::uint64_t before = delivered;
    for (auto _ : state) {
        QX_LOG(QXLOG_WARNING) << operand;
    }
    const bool all = delivered == before + static_cast<std::uint64_t>(state.iterations());
    if (!all || lastTextBytes != operand.size()) {
        state.SkipWithError("a statement was lost or cut short");
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(operand.size()) * static_cast<std::int64_t>(state.iterations()));
}
BENCHMARK(BM_EmittedStatement)->ArgName("bytes")->Arg(0)->Arg(10)->Arg(100)->Arg(4000);

} // namespace
