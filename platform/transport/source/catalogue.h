/// The catalogue: which sources a context has, for those who join later.
///
/// Entries lie in numbered pages; a page is one keyed packet of which the transport keeps the latest for late joiners.
/// Pages are reused, where a key of its own for each source would cost memory for every source that ever was.
///
///     page   u8 version (2), u8 0, u16 number of entries, entries
///     entry  u8 state (0 open, 1 closed), u8 0, u16 topic bytes, u32 source, u32 stream, u32 next sequence number,
///            u64 frames, topic. Sequence number and frames are final and given for closed sources, else 0: all that
///            the source ever said is in the first so many frames of its stream.
///
/// Threads   none of this is synchronised.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "bytes.h"

namespace qx::transport {

using Clock = std::chrono::steady_clock;

inline constexpr std::uint8_t catalogue_version = 2;
inline constexpr std::size_t page_entries_max = 100;

/// How long a receiver remembers a source whose sender was lost, for the gap after the sender's return; and a silent
/// context with which sources it has closed, against late copies of old news.
inline constexpr std::chrono::minutes ended_source_kept{5};

/// How long a closed source stays readable in its page, so that a receiver that missed the end, and be it by having
/// been taken for gone, learns of it and of what it lost before; the oldest go sooner when there are more, and are then
/// only missing from their page. The number is as many as a process may well close at once, and bounds what a process
/// costs that makes and closes sources all the time.
inline constexpr std::chrono::minutes closed_entry_kept = ended_source_kept;
inline constexpr std::size_t closed_entries_max = 10'000;

struct CatalogueEntry {
    bool open = true;
    std::uint32_t source = 0;
    std::uint32_t stream = 0;
    std::uint32_t final_sequence = 0; ///< of a closed source
    std::uint64_t frames = 0;         ///< of a closed source: its stream's, up to its last word
    std::string_view topic;           ///< views the page's bytes
};

/// False: the page is to be dropped as a whole and `out` means nothing.
bool decode_page(ByteView bytes, std::vector<CatalogueEntry>& out);

/// The publisher's side: what each page says and which of them have to be sent again.
class CatalogueBook {
public:
    void add(std::uint32_t source, std::uint32_t stream, std::string_view topic);
    void close(std::uint32_t source, std::uint32_t final_sequence, std::uint64_t frames, Clock::time_point now);

    /// Frees the places of what was closed long enough ago.
    void reuse_closed(Clock::time_point now);

    bool dirty() const noexcept { return !dirty_.empty(); }

    /// The number of a page that has to be sent, and its bytes in `out`; nothing when all are sent.
    std::optional<std::uint32_t> first_dirty(Bytes& out) const;
    void sent(std::uint32_t page) { dirty_.erase(page); }

private:
    struct Slot {
        bool used = false;
        bool open = false;
        std::uint32_t source = 0;
        std::uint32_t stream = 0;
        std::uint32_t final_sequence = 0;
        std::uint64_t frames = 0;
        std::string topic;
    };
    struct Closed {
        std::size_t slot;
        Clock::time_point since;
    };

    std::size_t free_slot();
    void mark(std::size_t slot) { dirty_.insert(static_cast<std::uint32_t>(slot / page_entries_max)); }
    void encode(std::uint32_t page, Bytes& out) const;

    std::vector<Slot> slots_;
    std::vector<std::size_t> free_;
    std::deque<Closed> closed_; ///< oldest first
    std::unordered_map<std::uint32_t, std::size_t> slot_of_;
    std::set<std::uint32_t> dirty_;
};

} // namespace qx::transport
