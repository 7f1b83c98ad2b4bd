#include "catalogue.h"

#include <algorithm>

#include "frame.h"

namespace qx::transport {

bool decode_page(ByteView bytes, std::vector<CatalogueEntry>& out)
{
    out.clear();
    ByteReader in{bytes};
    const auto version = in.number<std::uint8_t>();
    in.number<std::uint8_t>();
    const auto count = in.number<std::uint16_t>();
    if (!in.ok() || version != catalogue_version || count > page_entries_max) {
        return false;
    }
    for (std::size_t i = 0; i < count; ++i) {
        CatalogueEntry entry;
        entry.open = in.number<std::uint8_t>() == 0;
        in.number<std::uint8_t>();
        const auto topic_bytes = in.number<std::uint16_t>();
        entry.source = in.number<std::uint32_t>();
        entry.stream = in.number<std::uint32_t>();
        entry.final_sequence = in.number<std::uint32_t>();
        entry.frames = in.number<std::uint64_t>();
        entry.topic = in.text(topic_bytes);
        if (!in.ok() || !is_wire_topic(entry.topic)) {
            return false;
        }
        out.push_back(entry);
    }
    return in.at_end();
}

void CatalogueBook::add(std::uint32_t source, std::uint32_t stream, std::string_view topic)
{
    const std::size_t slot = free_slot();
    slots_[slot] = {true, true, source, stream, 0, 0, std::string{topic}};
    slot_of_[source] = slot;
    mark(slot);
}

void CatalogueBook::close(std::uint32_t source, std::uint32_t final_sequence, std::uint64_t frames,
                          Clock::time_point now)
{
    reuse_closed(now);
    const auto found = slot_of_.find(source);
    if (found == slot_of_.end()) {
        return;
    }
    Slot& slot = slots_[found->second];
    slot.open = false;
    slot.final_sequence = final_sequence;
    slot.frames = frames;
    mark(found->second);
    closed_.push_back({found->second, now});
    slot_of_.erase(found);
}

std::optional<std::uint32_t> CatalogueBook::first_dirty(Bytes& out) const
{
    if (dirty_.empty()) {
        return std::nullopt;
    }
    const std::uint32_t page = *dirty_.begin();
    encode(page, out);
    return page;
}

std::size_t CatalogueBook::free_slot()
{
    if (free_.empty()) {
        slots_.emplace_back();
        return slots_.size() - 1;
    }
    const std::size_t slot = free_.back();
    free_.pop_back();
    return slot;
}

void CatalogueBook::reuse_closed(Clock::time_point now)
{
    while (!closed_.empty() &&
           (closed_.size() >= closed_entries_max || now - closed_.front().since >= closed_entry_kept)) {
        const std::size_t slot = closed_.front().slot;
        slots_[slot] = Slot{};
        free_.push_back(slot);
        mark(slot);
        closed_.pop_front();
    }
}

void CatalogueBook::encode(std::uint32_t page, Bytes& out) const
{
    const auto first = slots_.begin() + static_cast<std::ptrdiff_t>(page * page_entries_max);
    const auto last = first + std::min(static_cast<std::ptrdiff_t>(page_entries_max), slots_.end() - first);
    out.clear();
    put(out, catalogue_version);
    put(out, std::uint8_t{0});
    put(out, static_cast<std::uint16_t>(std::count_if(first, last, [](const Slot& s) { return s.used; })));
    for (auto slot = first; slot != last; ++slot) {
        if (!slot->used) {
            continue;
        }
        put(out, static_cast<std::uint8_t>(slot->open ? 0 : 1));
        put(out, std::uint8_t{0});
        put(out, static_cast<std::uint16_t>(slot->topic.size()));
        put(out, slot->source);
        put(out, slot->stream);
        put(out, slot->final_sequence);
        put(out, slot->frames);
        put(out, std::string_view{slot->topic});
    }
}

} // namespace qx::transport
