/// What `qxnotify publish` is asked to do.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "sample_records/sample_records.h"

namespace qx::tool {

enum class SummaryFormat { text, json };

struct GeneratorOptions {
    std::uint64_t count = 0; ///< 0: no generated records
    std::uint64_t seed = 1;
    sample::RecordSize size = sample::RecordSize::typical;
};

struct PublishOptions {
    std::vector<std::string> files; ///< "-" is standard input; empty without a generator means standard input
    GeneratorOptions generator;
    std::vector<std::uint64_t> markets; ///< of generated records; the first one also for lines that name none
    std::optional<double> rate_per_second;
    double listener_wait_seconds = 5; ///< 0: send at once
    bool strict = false;
    bool allow_fatal = false;
    bool dry_run = false;
    bool progress = true;
    SummaryFormat summary = SummaryFormat::text;
};

} // namespace qx::tool
