/// What the engine says while it refuses something, for the error's text instead of its log.
#pragma once

#include <mutex>
#include <string>

namespace qx::transport {

/// From construction to destruction, what the engine reports on this thread is kept; what it reports on others goes to
/// standard error, as it would otherwise. One at a time: a second one waits.
class EngineWords {
public:
    EngineWords();
    ~EngineWords();
    EngineWords(const EngineWords&) = delete;
    EngineWords& operator=(const EngineWords&) = delete;

    /// In one line; what was not taken goes to standard error.
    std::string take();

private:
    std::unique_lock<std::mutex> turn_;
    std::string words_;
};

} // namespace qx::transport
