#include "qxnotify/triage_inventory.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <sstream>
#include <utility>

#include <fnmatch.h>

#include "qxnotify/terminal.h"
#include "qxnotify/triage_exit.h"
#include "qxnotify/triage_input.h"

namespace qx::tool {

namespace {

constexpr std::string_view wildcards = "*?[";

bool is_glob(std::string_view text)
{
    return text.find_first_of(wildcards) != std::string_view::npos;
}

std::vector<std::string> fields_of(const std::string& text)
{
    std::vector<std::string> fields;
    std::istringstream stream(text);
    for (std::string field; std::getline(stream, field, ':');) {
        fields.push_back(field);
    }
    return fields;
}

/// Up to the first word that begins with a #.
std::vector<std::string> words_of(const std::string& line)
{
    std::vector<std::string> words;
    std::istringstream stream(line);
    for (std::string word; stream >> word && word.front() != '#';) {
        words.push_back(word);
    }
    return words;
}

/// None on a line without words.
std::optional<InventoryEntry> entry_of(const std::string& line, const std::string& place)
{
    const auto words = words_of(line);
    if (words.empty()) {
        return {};
    }
    if (words.size() != 2) {
        throw TriageSetupError(place + quoted(line, 80) +
                               " is no entry; write NAME PATTERN, the pattern an address, address:pid or a glob");
    }
    return InventoryEntry{words[0], words[1]};
}

/// How many of address, process and context the pattern fixes, and, among equals, with how many characters.
std::pair<std::size_t, std::size_t> specificity(const std::string& pattern)
{
    const auto fields = fields_of(pattern);
    if (!is_glob(pattern)) {
        return {fields.size() > 2 ? 3 : fields.size(), pattern.size()};
    }
    const auto fixed =
        std::count_if(fields.begin(), fields.end(), [](const std::string& field) { return !is_glob(field); });
    const std::size_t scheme = fields.size() > 1 && !is_glob(fields.front()) ? 1 : 0;
    const auto literals = std::count_if(pattern.begin(), pattern.end(),
                                        [](char c) { return wildcards.find(c) == std::string_view::npos; });
    return {static_cast<std::size_t>(fixed) - scheme, static_cast<std::size_t>(literals)};
}

std::vector<std::size_t> most_specific_first(const Inventory& inventory)
{
    std::vector<std::size_t> order(inventory.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        return specificity(inventory[a].pattern) > specificity(inventory[b].pattern);
    });
    return order;
}

/// Gives entries their sources one by one. An entry may take another's source if that one can take a different source
/// in turn, so none goes without that need not.
class Assignment {
public:
    Assignment(const Inventory& inventory, const std::vector<std::string>& sources)
        : m_inventory(inventory)
        , m_sources(sources)
        , m_entryOfSource(sources.size())
    {
    }

    void give(std::size_t entry)
    {
        m_seen.assign(m_sources.size(), false);
        try_give(entry);
    }
    const std::vector<std::optional<std::size_t>>& entry_of_source() const { return m_entryOfSource; }

private:
    bool try_give(std::size_t entry) { return take_free(entry) || take_over(entry); }

    bool take_free(std::size_t entry)
    {
        for (std::size_t source = 0; source < m_sources.size(); ++source) {
            if (!m_entryOfSource[source] && fits(entry, source)) {
                m_entryOfSource[source] = entry;
                return true;
            }
        }
        return false;
    }
    bool take_over(std::size_t entry)
    {
        for (std::size_t source = 0; source < m_sources.size(); ++source) {
            if (m_seen[source] || !fits(entry, source)) {
                continue;
            }
            m_seen[source] = true;
            if (try_give(*m_entryOfSource[source])) {
                m_entryOfSource[source] = entry;
                return true;
            }
        }
        return false;
    }
    bool fits(std::size_t entry, std::size_t source) const
    {
        return matches(m_inventory[entry].pattern, m_sources[source]);
    }

    const Inventory& m_inventory;
    const std::vector<std::string>& m_sources;
    std::vector<std::optional<std::size_t>> m_entryOfSource;
    std::vector<bool> m_seen; ///< sources, in the search for one entry
};

} // namespace

Inventory parse_inventory(std::istream& input, const std::string& label)
{
    Inventory inventory;
    std::map<std::string, std::size_t> line_of_name;
    std::size_t number = 0;
    for (std::string line; std::getline(input, line);) {
        const std::string place = label + ":" + std::to_string(++number) + ": ";
        if (const auto entry = entry_of(line, place)) {
            const auto [first, added] = line_of_name.try_emplace(entry->name, number);
            if (!added) {
                throw TriageSetupError(place + "the name " + escaped(entry->name) + " is taken by line " +
                                       std::to_string(first->second) + "; give every entry its own");
            }
            inventory.push_back(*entry);
        }
    }
    if (inventory.empty()) {
        throw TriageSetupError(label + ": no entries; write a line NAME PATTERN for each responder");
    }
    return inventory;
}

Inventory read_inventory(const std::string& path, StopSignals& stop)
{
    constexpr std::size_t bytes_max = std::size_t{1} << 20U; // tens of thousands of entries
    std::istringstream text(read_file(path, {bytes_max, "; check --inventory"}, stop));
    return parse_inventory(text, escaped(path));
}

bool matches(const std::string& pattern, const std::string& source)
{
    if (is_glob(pattern)) {
        return ::fnmatch(pattern.c_str(), source.c_str(), 0) == 0;
    }
    const auto fields = fields_of(source);
    const std::string address = fields.size() > 1 ? fields[1] : "";
    const std::string process = fields.size() > 2 ? address + ":" + fields[2] : "";
    return pattern == source || pattern == address || pattern == process;
}

bool InventoryMatch::complete() const
{
    return std::all_of(source_of_entry.begin(), source_of_entry.end(), [](const auto& source) { return source; });
}

InventoryMatch match_inventory(const Inventory& inventory, const std::vector<std::string>& sources)
{
    Assignment assignment(inventory, sources);
    for (const std::size_t entry : most_specific_first(inventory)) {
        assignment.give(entry);
    }
    InventoryMatch match;
    match.source_of_entry.resize(inventory.size());
    for (std::size_t source = 0; source < sources.size(); ++source) {
        if (const auto entry = assignment.entry_of_source()[source]) {
            match.source_of_entry[*entry] = source;
        } else if (std::none_of(inventory.begin(), inventory.end(), [&](const InventoryEntry& candidate) {
                       return matches(candidate.pattern, sources[source]);
                   })) {
            match.unexpected.push_back(source);
        }
    }
    return match;
}

} // namespace qx::tool
