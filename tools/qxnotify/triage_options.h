/// What `qxnotify triage` is asked to do.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "triage_action.pb.h"

#include "qxnotify/notification_names.h"

namespace qx::tool {

enum class TriageFormat { text, json, prometheus, nagios };

/// Whom to ask. What is not given comes from the environment variables that the responders read.
struct TriageTarget {
    std::optional<std::string> prefix = {};
    std::optional<std::string> environment = {};
    std::optional<std::string> data_center = {}; ///< given: ask the data centre
    bool whole_environment = true;               ///< false: ask the data centre only
    std::string context_name = price_context_name;
};

/// How answers are collected and told.
struct TriageCollecting {
    double wait_seconds = 2;               ///< for a first responder, and for the answers to a request
    double settle_seconds = 0.5;           ///< between the first responder's connection and the first request
    std::optional<std::uint64_t> expected; ///< responders, at least 1
    std::string inventory_path;            ///< empty: none
    TriageFormat format = TriageFormat::text;
    bool progress = true;
};

/// Of the slowest answer; none: never.
struct TriageThresholds {
    std::optional<double> warning_ms;
    std::optional<double> critical_ms;
};

struct TriagePingOptions {
    TriageTarget target;
    TriageCollecting collecting;
    TriageThresholds thresholds;
    std::uint64_t rounds = 1;
    double interval_seconds = 1; ///< from request to request
};

struct TriageNaksOptions {
    TriageTarget target;
    TriageCollecting collecting;
    bool enable = false;
    messaging::triage::LBMContext contexts = messaging::triage::ALL;
    bool confirmed = false; ///< on the command line
    bool dry_run = false;
};

struct TriageSendOptions {
    TriageTarget target;
    TriageCollecting collecting;
    std::string path; ///< "-" is standard input
};

} // namespace qx::tool
