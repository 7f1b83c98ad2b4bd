/// A tracker of sources without a network, and what it tells.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "platform/transport/source/source_tracker.h"

namespace qx::transport::test {

/// What the tracker tells, a line each: "<what> <topic> <numbers>".
class Log : public SourceEvents {
public:
    void begun(const SourcePtr& s, std::uint32_t next) override { add("begun", s) += " " + std::to_string(next); }
    void data(const SourcePtr& s, const WireMessage& m) override
    {
        add(m.kind == Kind::request ? "request" : "data", s)
            .append(" " + std::to_string(m.sequence) + " ")
            .append(m.payload);
    }
    void lost(const SourcePtr& s, std::uint32_t first, std::uint32_t last) override
    {
        add("lost", s) += " " + std::to_string(first) + "-" + std::to_string(last);
    }
    void ended(const SourcePtr& s, std::uint32_t next) override { add("ended", s) += " " + std::to_string(next); }

    std::vector<std::string> lines;

private:
    std::string& add(const std::string& what, const SourcePtr& s) { return lines.emplace_back(what + " " + s->topic); }
};

/// A tracker with one context, stream and reader to tell about, and a clock of its own.
class SourceTrackerTest : public ::testing::Test {
protected:
    static WireMessage data(std::uint32_t sequence) { return {Kind::data, 7, sequence, "T", {}, "x"}; }
    static WireMessage close(std::uint32_t sequence) { return {Kind::close, 7, sequence, "T", {}, {}}; }
    CatalogueEntry closed_entry(std::uint32_t next, std::uint64_t frames) const
    {
        return {false, 7, 0, next, unheard + frames, "T"};
    }
    static WireMessage sync(std::uint32_t sequence) { return {Kind::sync, 7, sequence, "T", {}, {}}; }

    void frame(std::uint64_t stream_sequence, std::vector<WireMessage> messages, SourceTracker::ReaderId reader = 1)
    {
        tracker.frame(stream, reader, {unheard + stream_sequence, next_source, std::move(messages), 0}, now, carries);
    }
    void page(std::initializer_list<CatalogueEntry> entries)
    {
        tracker.page(context, 0, std::vector<CatalogueEntry>{entries}, now);
    }
    void pass(std::chrono::milliseconds time)
    {
        now += time;
        tracker.tick(now);
    }
    static WireMessage other_sources_sync() { return {Kind::sync, 8, 0, "O", {}, {}}; }
    void keep_busy(std::chrono::milliseconds time)
    {
        for (const auto until = now + time; now < until;) {
            frame(busy_frame++, {other_sources_sync()});
            pass(end_grace / 2);
        }
    }

    const ContextId context{{1, 2, 3}};
    const StreamId stream{context, 0};
    const CatalogueEntry open_entry{true, 7, 0, 0, 0, "T"};
    Log log;
    SourceTracker tracker{log};
    Clock::time_point now{std::chrono::hours{1}};
    Carries carries = Carries::one_token;
    std::uint64_t unheard = 10; ///< frames of the stream that went before those told of here
    std::uint64_t busy_frame = 0;
    std::uint32_t next_source = 100; ///< as frames say: all of the sources here are older
};

} // namespace qx::transport::test
