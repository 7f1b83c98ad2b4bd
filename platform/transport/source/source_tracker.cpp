#include "source_tracker.h"

#include <algorithm>

namespace qx::transport {
namespace {

/// How far `to` is ahead of `from`; negative when it is behind. Sequence numbers wrap.
std::int32_t ahead(std::uint32_t to, std::uint32_t from) noexcept
{
    return static_cast<std::int32_t>(to - from);
}

} // namespace

void SourceTracker::frame(const StreamId& id, ReaderId reader, const Frame& frame, Clock::time_point now,
                          Carries carries)
{
    Context& context = contexts_[id.context];
    const HeardStream::Frames came = context.streams[id.number].accept(reader, frame, carries, now);
    if (came == HeardStream::Frames::copy) {
        ++duplicates_;
        return;
    }
    if (came == HeardStream::Frames::anew) {
        forget_numbers(context, id.number);
    }
    for (const WireMessage& m : frame.messages) {
        message(context, id, m, now);
    }
}

void SourceTracker::forget_numbers(Context& context, std::uint32_t stream)
{
    for (auto& [number, entry] : context.sources) {
        if (entry.stream == stream) {
            entry.next.reset();
            entry.heard = false;
        }
    }
}

bool SourceTracker::owes_all(const Context& context, std::uint32_t stream, std::uint32_t source, std::string_view topic)
{
    const auto found = context.streams.find(stream);
    return found != context.streams.end() && found->second.owes_all(source, topic);
}

/// Numbers wrap. Of what is owed from 0 on the first number heard is ahead, however high it is: it is no copy.
bool SourceTracker::has_passed(const Entry& entry, std::uint32_t sequence)
{
    return entry.heard && ahead(sequence, *entry.next) < 0;
}

bool SourceTracker::has_skipped(const Entry& entry, std::uint32_t sequence)
{
    return entry.next && (entry.heard ? ahead(sequence, *entry.next) > 0 : sequence != *entry.next);
}

void SourceTracker::message(Context& context, const StreamId& stream, const WireMessage& m, Clock::time_point now)
{
    if (m.kind == Kind::close && context.sources.find(m.source) == context.sources.end() &&
        !owes_all(context, stream.number, m.source, m.topic)) {
        // Older than what is heard here, or ended already: no beginning is needed to have an end, only a mark against
        // older news.
        close(context, m.source, now);
        return;
    }
    Entry* entry = live(context, {stream.context, m.source}, stream.number, m.topic, m.sequence);
    if (entry == nullptr) {
        if (m.kind == Kind::close) {
            context.closed.insert(m.source); // refused for want of room, and not to begin for its end
        }
        return;
    }
    if (m.topic != entry->source->topic) {
        ++refused_; // under the number of another topic's source it would be that topic's message
        return;
    }
    switch (m.kind) {
    case Kind::data:
    case Kind::request:
    case Kind::numbered:
        data(*entry, m);
        break;
    case Kind::close:
        advance(*entry, m.sequence);
        close(context, m.source, now);
        break;
    case Kind::sync:
        advance(*entry, m.sequence);
        break;
    }
}

SourceTracker::Entry* SourceTracker::live(Context& context, const SourceId& id, std::uint32_t stream,
                                          std::string_view topic, std::uint32_t next)
{
    auto found = context.sources.find(id.number);
    if (found == context.sources.end()) {
        if (context.closed.contains(id.number)) {
            return nullptr;
        }
        if (context.sources.size() >= sources_per_context_max) {
            ++refused_;
            return nullptr;
        }
        found = context.sources.try_emplace(id.number).first;
    }
    Entry& entry = found->second;
    if (!entry.next && owes_all(context, stream, id.number, topic)) {
        entry.next = 0;
    }
    if (entry.open()) {
        return &entry;
    }
    entry.source = std::make_shared<RemoteSource>(id, topic);
    entry.stream = stream;
    entry.ending_since.reset();
    out_.begun(entry.source, entry.next.value_or(next));
    return &entry;
}

void SourceTracker::data(Entry& entry, const WireMessage& m)
{
    if (has_passed(entry, m.sequence)) {
        ++duplicates_;
        return;
    }
    advance(entry, m.sequence);
    if (m.kind != Kind::numbered) {
        out_.data(entry.source, m);
    }
    entry.next = m.sequence + 1;
}

void SourceTracker::advance(Entry& entry, std::uint32_t sequence)
{
    if (has_skipped(entry, sequence)) {
        out_.lost(entry.source, *entry.next, sequence - 1);
    }
    if (!has_passed(entry, sequence)) {
        entry.next = sequence;
    }
    entry.heard = true;
}

void SourceTracker::lose(Entry& entry, Clock::time_point now)
{
    out_.ended(entry.source, entry.next.value_or(0));
    entry.source.reset();
    entry.ending_since.reset();
    entry.lost_at = now;
}

void SourceTracker::close(Context& context, std::uint32_t source, Clock::time_point now)
{
    if (const auto found = context.sources.find(source); found != context.sources.end()) {
        out_.ended(found->second.source, found->second.next.value_or(0));
        context.sources.erase(found);
    }
    context.closed.insert(source);
    context.closed_at = now;
}

void SourceTracker::stream_gone(const StreamId& id, ReaderId reader, Clock::time_point now)
{
    Context& context = contexts_[id.context];
    if (!context.streams[id.number].lose_sender(reader)) {
        return;
    }
    for (auto& [number, entry] : context.sources) {
        if (entry.open() && entry.stream == id.number) {
            lose(entry, now);
        }
    }
}

bool SourceTracker::is_behind(ReaderId reader) const
{
    for (const auto& [id, context] : contexts_) {
        for (const auto& [number, stream] : context.streams) {
            if (stream.is_owned_by(reader) && stream.is_behind()) {
                return true;
            }
        }
    }
    return false;
}

void SourceTracker::reader_gone(ReaderId reader, bool last)
{
    for (auto& [id, context] : contexts_) {
        for (auto& [number, stream] : context.streams) {
            stream.lose_reader(reader, last);
        }
    }
}

void SourceTracker::page(const ContextId& id, std::uint32_t page, std::span<const CatalogueEntry> entries,
                         Clock::time_point now)
{
    Context& context = contexts_[id];
    std::vector<std::uint32_t> listed;
    listed.reserve(entries.size());
    for (const CatalogueEntry& entry : entries) {
        listed.push_back(entry.source);
        list(id, context, entry, now);
    }
    std::sort(listed.begin(), listed.end());
    std::vector<std::uint32_t>& before = context.pages[page];
    for (const std::uint32_t source : before) {
        if (!std::binary_search(listed.begin(), listed.end(), source)) {
            start_ending(id, source, now, true);
        }
    }
    before = std::move(listed);
}

void SourceTracker::list(const ContextId& id, Context& context, const CatalogueEntry& listed, Clock::time_point now)
{
    if (listed.open) {
        if (Entry* entry = live(context, {id, listed.source}, listed.stream, listed.topic, 0); entry != nullptr) {
            entry->ending_since.reset();
        }
        return;
    }
    if (went_on_unheard(context, listed)) {
        live(context, {id, listed.source}, listed.stream, listed.topic, 0);
    }
    const auto found = context.sources.find(listed.source);
    if (found != context.sources.end() && found->second.open()) {
        found->second.last_word = {listed.final_sequence, listed.frames};
        start_ending(id, listed.source, now);
    }
}

/// Whether there is a beginning to tell of a source that has closed: it came and went without a word, or said more
/// while its sender was out of hearing.
bool SourceTracker::went_on_unheard(const Context& context, const CatalogueEntry& closed)
{
    const auto found = context.sources.find(closed.source);
    if (found == context.sources.end()) {
        return owes_all(context, closed.stream, closed.source, closed.topic);
    }
    const Entry& entry = found->second;
    return !entry.open() && has_skipped(entry, closed.final_sequence);
}

void SourceTracker::page_gone(const ContextId& id, std::uint32_t page, Clock::time_point now)
{
    Context& context = contexts_[id];
    for (const std::uint32_t source : context.pages[page]) {
        start_ending(id, source, now);
    }
    context.pages.erase(page);
}

void SourceTracker::context_gone(const ContextId& id, Clock::time_point now)
{
    const auto found = contexts_.find(id);
    if (found == contexts_.end()) {
        return;
    }
    for (const auto& [number, entry] : found->second.sources) {
        start_ending(id, number, now);
    }
    found->second.pages.clear();
}

void SourceTracker::start_ending(const ContextId& id, std::uint32_t source, Clock::time_point now, bool unlisted)
{
    std::unordered_map<std::uint32_t, Entry>& sources = contexts_[id].sources;
    const auto found = sources.find(source);
    if (found == sources.end() || !found->second.open() || found->second.ending_since) {
        return;
    }
    found->second.ending_since = now;
    endings_.push_back({{id, source}, now, now + end_grace, unlisted});
}

void SourceTracker::tick(Clock::time_point now)
{
    const auto due =
        std::stable_partition(endings_.begin(), endings_.end(), [&](const Ending& e) { return e.due > now; });
    const std::vector<Ending> finished{due, endings_.end()};
    endings_.erase(due, endings_.end());
    for (const Ending& ending : finished) {
        finish(ending, now);
    }
    if (now - last_forget_ >= ended_source_kept / 5) {
        last_forget_ = now;
        forget(now);
    }
}

/// Frames come in order: once a later one is here, those before it are here or lost.
Clock::time_point SourceTracker::end_of(const Ending& ending, const Entry& entry, const HeardStream& stream)
{
    const Clock::time_point quiet_since = std::max(stream.active(), ending.since);
    if (!entry.last_word) {
        const Clock::time_point quiet = quiet_since + end_grace;
        return ending.unlisted ? std::min(quiet, ending.since + repair_grace) : quiet;
    }
    const bool complete = entry.last_word->sequence == entry.next.value_or(0);
    return complete || stream.has_passed(entry.last_word->frames) ? ending.since + end_grace
                                                                  : quiet_since + repair_grace;
}

void SourceTracker::finish(const Ending& ending, Clock::time_point now)
{
    Context& context = contexts_[ending.source.context];
    const auto found = context.sources.find(ending.source.number);
    if (found == context.sources.end() || found->second.ending_since != ending.since) {
        return;
    }
    Entry& entry = found->second;
    const HeardStream& stream = context.streams[entry.stream];
    if (const Clock::time_point end_at = end_of(ending, entry, stream); now < end_at) {
        Ending later = ending;
        later.due = std::min(end_at, now + end_grace);
        endings_.push_back(later);
        return;
    }
    if (!entry.last_word) {
        lose(entry, now);
        return;
    }
    if (!stream.is_handed_over()) {
        advance(entry, entry.last_word->sequence);
    }
    close(context, ending.source.number, now);
}

void SourceTracker::forget_lost(Context& context, Clock::time_point now)
{
    std::erase_if(context.sources, [&](const auto& item) {
        const auto& [number, entry] = item;
        if (entry.open() || now - entry.lost_at < ended_source_kept) {
            return false;
        }
        context.streams[entry.stream].forget(number);
        return true;
    });
}

void SourceTracker::forget(Clock::time_point now)
{
    for (auto context = contexts_.begin(); context != contexts_.end();) {
        forget_lost(context->second, now);
        const bool remembered = !context->second.closed.empty() && now - context->second.closed_at < ended_source_kept;
        const bool silent = context->second.sources.empty() && context->second.pages.empty() && !remembered;
        context = silent ? contexts_.erase(context) : std::next(context);
    }
}

std::optional<Clock::time_point> SourceTracker::next_due() const
{
    const auto earliest = std::min_element(endings_.begin(), endings_.end(),
                                           [](const Ending& a, const Ending& b) { return a.due < b.due; });
    return earliest == endings_.end() ? std::nullopt : std::optional{earliest->due};
}

} // namespace qx::transport
