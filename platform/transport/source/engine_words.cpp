#include "engine_words.h"

#include <cstdio>
#include <string_view>
#include <utility>

#include <dds/ddsrt/log.h>

#include "control_character.h"

namespace qx::transport {
namespace {

thread_local std::string* listening = nullptr;

std::mutex& turns()
{
    static auto& instance = *new std::mutex;
    return instance;
}

/// Every control character, the final line feed included, becomes one blank, and several one.
void append_in_one_line(std::string& line, std::string_view text)
{
    for (const char c : text) {
        const char plain = is_control(c) ? ' ' : c;
        if (plain != ' ' || (!line.empty() && line.back() != ' ')) {
            line += plain;
        }
    }
}

void hear(void*, const dds_log_data_t* said)
{
    const std::string_view text{said->message, said->size};
    if (listening != nullptr) {
        append_in_one_line(*listening, text);
    } else {
        std::fprintf(stderr, "%.*s\n", static_cast<int>(text.size()), text.data());
    }
}

} // namespace

EngineWords::EngineWords()
    : turn_(turns())
{
    listening = &words_;
    dds_set_log_sink(&hear, nullptr);
}

EngineWords::~EngineWords()
{
    dds_set_log_sink(nullptr, nullptr);
    listening = nullptr;
    if (const std::string left = take(); !left.empty()) {
        std::fprintf(stderr, "%s\n", left.c_str());
    }
}

std::string EngineWords::take()
{
    std::string words = std::exchange(words_, {});
    words.erase(words.find_last_not_of(' ') + 1);
    return words;
}

} // namespace qx::transport
