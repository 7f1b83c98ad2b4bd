/// Which responders there should be.
///
/// A file of lines "NAME PATTERN": the pattern is a responder's address, its address:pid, its whole source, or a glob
/// (*, ?, [...]) on the whole source. What follows a # at a line's beginning or after white space is a comment.
#pragma once

#include <cstddef>
#include <istream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "qxnotify/signals.h"

namespace qx::tool {

struct InventoryEntry {
    std::string name;
    std::string pattern;
};

using Inventory = std::vector<InventoryEntry>;

/// Throws TriageSetupError: "price.txt:3: …" with what is wrong and what to do, or when there is no entry at all.
/// `label` names the input in errors.
Inventory parse_inventory(std::istream& input, const std::string& label);
/// Likewise when the file cannot be read, is larger than 1 MiB, or a signal comes.
Inventory read_inventory(const std::string& path, StopSignals& stop);

/// A responder's source is "LBMDDS:<address>:<pid>:<context>".
bool matches(const std::string& pattern, const std::string& source);

/// Which responder satisfies which entry. One responder satisfies one entry at most, the most specific one that it can;
/// as many entries are satisfied as possible. A pattern is more specific the more parts of the source it fixes.
struct InventoryMatch {
    std::vector<std::optional<std::size_t>> source_of_entry; ///< index into the sources, per entry
    std::vector<std::size_t> unexpected;                     ///< sources that no entry matches, not even a taken one

    bool complete() const;
};
InventoryMatch match_inventory(const Inventory& inventory, const std::vector<std::string>& sources);

} // namespace qx::tool
