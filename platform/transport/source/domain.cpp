#include "domain.h"

#include <algorithm>
#include <mutex>
#include <optional>
#include <string_view>

#include "dds_entity.h"
#include "fork_guard.h"
#include "network_interface.h"

namespace qx::transport {
namespace {

ParticipantKey key_of(const DdsEntity& participant)
{
    dds_guid_t guid{};
    check_dds(dds_get_guid(participant.get(), &guid), "dds_get_guid");
    ParticipantKey key{};
    std::ranges::copy(guid.v, key.begin());
    return key;
}

struct Domain {
    explicit Domain(const DomainSettings& s)
        : settings(s)
        , entity(dds_create_domain(s.id, domain_xml(s).c_str()), "dds_create_domain")
        , participant(make_participant(s.id, s.security))
        , key(key_of(participant))
    {
    }

    DomainSettings settings;
    EngineLife life;
    DdsEntity entity;
    DdsEntity participant;
    ParticipantKey key;
    Flusher flusher;
    std::size_t uses = 0;
    std::uint32_t contexts = 0; ///< that ever were
};

struct Registry {
    std::mutex mutex;
    std::optional<Domain> domain;
};

/// Never destroyed: static objects of the application may delete their contexts at exit.
Registry& registry()
{
    static auto& instance = *new Registry;
    return instance;
}

std::string xml_escaped(const std::string& text)
{
    std::string out;
    for (const char c : text) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += "&quot;";
            break;
        default:
            out += c;
        }
    }
    return out;
}

/// The engine itself only logs a peer that it cannot make sense of, and then nobody is found.
void check_host(std::string_view host)
{
    const auto is_plain = [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-' || c == '.' ||
               c == '_';
    };
    if (host.empty() || !std::all_of(host.begin(), host.end(), is_plain)) {
        throw TransportError(LBM_EINVAL, "option \"peers\" has \"" + std::string{host} +
                                             "\", which is neither a host's name nor an IPv4 address");
    }
}

std::string_view trimmed(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

std::vector<std::string> hosts(std::string_view list)
{
    std::vector<std::string> found;
    for (std::size_t begin = 0, end = 0; !list.empty() && end != std::string_view::npos; begin = end + 1) {
        end = list.find(',', begin);
        const std::string_view host = trimmed(list.substr(begin, end - begin));
        check_host(host);
        found.emplace_back(host);
    }
    return found;
}

std::string interface_xml(const std::string& interface)
{
    return (is_ipv4_address(interface) ? "address=\"" : "name=\"") + xml_escaped(interface) + '"';
}

/// With multicast alone everybody is found and no index is needed; who is looked for by address must have one, and so
/// must others on this host.
std::string participants_xml(const DomainSettings& s)
{
    if (s.multicast && s.peers.empty()) {
        return "<ParticipantIndex>none</ParticipantIndex>";
    }
    std::string xml = "<ParticipantIndex>auto</ParticipantIndex><MaxAutoParticipantIndex>" +
                      std::to_string(s.host_processes_max) +
                      "</MaxAutoParticipantIndex><Peers><Peer address=\"localhost\"/>";
    for (const std::string& host : s.peers) {
        xml += "<Peer address=\"" + host + "\"/>";
    }
    return xml + "</Peers>";
}

std::string discovery_xml(const DomainSettings& s)
{
    std::string xml = "<LeaseDuration>" + std::to_string(s.lease_ms) + "ms</LeaseDuration>" + participants_xml(s);
    if (!s.tag.empty()) {
        xml += "<Tag>" + xml_escaped(s.tag) + "</Tag>";
    }
    return xml;
}

std::string fault_xml(const DomainSettings& s)
{
    return s.transmit_loss_permille == 0
               ? ""
               : "<Test><XmitLossiness>" + std::to_string(s.transmit_loss_permille) + "</XmitLossiness></Test>";
}

/// Packets of a writer that a reader keeps while one before them is missing. Unless told otherwise the engine keeps
/// 128, and of what it then throws away it may acknowledge some (seen with version 0.10.2), which nobody repeats. What
/// a sender that waits has unacknowledged is bounded by its window. The largest takes fewer: a packet has more than 64
/// bytes.
constexpr std::string_view held_back_xml = "<PrimaryReorderMaxSamples>16777216</PrimaryReorderMaxSamples>"
                                           "<SecondaryReorderMaxSamples>16777216</SecondaryReorderMaxSamples>";

} // namespace

DomainSettings::DomainSettings(const Options& context_options)
    : id(static_cast<std::uint32_t>(context_options.get_integer("domain_id")))
    , tag(context_options.get_text("domain_tag"))
    , interface(context_options.get_text("interface"))
    , multicast(context_options.get_boolean("multicast"))
    , peers(hosts(context_options.get_text("peers")))
    , host_processes_max(context_options.get_integer("host_processes_max"))
    , lease_ms(context_options.get_integer("lease_ms"))
    , send_window_bytes(context_options.get_integer("send_window_bytes"))
    , transmit_loss_permille(context_options.get_integer("fault_transmit_loss_permille"))
    , security(context_options)
{
}

std::string domain_xml(const DomainSettings& s)
{
    const bool loopback = is_loopback(s.interface);
    const std::string window = std::to_string(s.send_window_bytes) + "B";
    const std::string multicast = s.multicast ? "true" : "false";
    return "<CycloneDDS><Domain id=\"any\"><General><Interfaces><NetworkInterface " + interface_xml(s.interface) +
           " multicast=\"" + multicast + "\"/></Interfaces><AllowMulticast>" + multicast + "</AllowMulticast>" +
           (loopback ? "<MaxMessageSize>65000B</MaxMessageSize><FragmentSize>8000B</FragmentSize>"
                     : "<MaxMessageSize>14720B</MaxMessageSize><FragmentSize>1344B</FragmentSize>") +
           "</General><Discovery>" + discovery_xml(s) + "</Discovery><Internal>" + fault_xml(s) +
           "<Watermarks><WhcAdaptive>false</WhcAdaptive><WhcLow>1kB</WhcLow><WhcHighInit>" + window +
           "</WhcHighInit><WhcHigh>" + window +
           "</WhcHigh></Watermarks>"
           "<WriterLingerDuration>0s</WriterLingerDuration>" +
           std::string{held_back_xml} +
           "<SocketReceiveBufferSize min=\"default\" max=\"4MB\"/></Internal></Domain></CycloneDDS>";
}

DomainUse::DomainUse(const DomainSettings& settings)
{
    Registry& r = registry();
    const std::lock_guard lock{r.mutex};
    if (!r.domain) {
        r.domain.emplace(settings);
    } else if (!(r.domain->settings == settings)) {
        throw TransportError(LBM_EOP,
                             "this process has contexts with other values of domain_id, domain_tag, interface, "
                             "multicast, peers, host_processes_max, lease_ms, send_window_bytes, security_... or "
                             "fault_transmit_loss_permille; they must agree");
    }
    ++r.domain->uses;
    participant_ = r.domain->participant.get();
    flusher_ = &r.domain->flusher;
    context_id_ = ContextId::make(settings.interface, r.domain->key, r.domain->contexts++);
}

DomainUse::~DomainUse()
{
    Registry& r = registry();
    const std::lock_guard lock{r.mutex};
    if (--r.domain->uses == 0) {
        r.domain.reset();
    }
}

} // namespace qx::transport
