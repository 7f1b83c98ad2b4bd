/// The bench's listening process, as the publishing one sees it.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include <sys/types.h>

#include "qxnotify/pipe_lines.h"
#include "qxnotify/signals.h"

namespace qx::tool {

/// The listening process is gone; the text says how it ended.
class PeerEnded : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A stop signal came.
class Interrupted : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Started by the constructor, ended and reaped by the destructor. It also ends when this process does.
/// Threads   one at a time.
/// Errors    tell and wait throw PeerEnded, wait also Interrupted; all throw std::system_error.
class BenchPeer {
public:
    /// Call it before this process has a context: it starts a copy of this program.
    explicit BenchPeer(const std::string& domain_tag);
    ~BenchPeer();
    BenchPeer(const BenchPeer&) = delete;
    BenchPeer& operator=(const BenchPeer&) = delete;

    void tell(std::string_view line);
    /// Until it has said something, which then shows in what follows. False when the deadline passes before.
    bool wait(StopSignals& stop, Deadline deadline);

    /// Messages of the run that have arrived there, as it said last; less than there are, until the last one.
    std::uint64_t received() const { return m_received; }
    bool faulty() const { return m_faulty; }
    /// The next of its words that are no count.
    std::optional<std::string> take_word();
    /// A new run: nothing has been received.
    void forget_counts();

private:
    BenchPeer(const std::string& domain_tag, const std::array<int, 2>& sockets);
    void understand(const std::string& line);
    bool comes_to_its_end() noexcept;
    std::string reap();

    Descriptor m_socket; ///< the other process's standard input and output
    PipeLines m_lines;
    pid_t m_pid = -1;
    std::uint64_t m_received = 0;
    bool m_faulty = false;
    std::optional<std::string> m_word;
};

} // namespace qx::tool
