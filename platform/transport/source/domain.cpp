#include "domain.h"

#include <mutex>
#include <optional>

#include "dds_entity.h"
#include "fork_guard.h"

namespace qx::transport {
namespace {

struct Domain {
    explicit Domain(const DomainSettings& s)
        : settings(s)
        , entity(dds_create_domain(s.id, domain_xml(s).c_str()), "dds_create_domain")
    {
    }

    DomainSettings settings;
    EngineLife life;
    DdsEntity entity;
    Flusher flusher;
    std::size_t uses = 0;
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

/// With multicast everybody is found and no index is needed; without, peers on this host are looked for by index.
std::string discovery_xml(const DomainSettings& s)
{
    std::string xml = "<LeaseDuration>" + std::to_string(s.lease_ms) + "ms</LeaseDuration>";
    xml += s.multicast
               ? "<ParticipantIndex>none</ParticipantIndex>"
               : "<ParticipantIndex>auto</ParticipantIndex><MaxAutoParticipantIndex>99</MaxAutoParticipantIndex>"
                 "<Peers><Peer address=\"localhost\"/></Peers>";
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

} // namespace

DomainSettings::DomainSettings(const Options& context_options)
    : id(static_cast<std::uint32_t>(context_options.get_integer("domain_id")))
    , tag(context_options.get_text("domain_tag"))
    , interface(context_options.get_text("interface"))
    , multicast(context_options.get_boolean("multicast"))
    , lease_ms(context_options.get_integer("lease_ms"))
    , send_window_bytes(context_options.get_integer("send_window_bytes"))
    , transmit_loss_permille(context_options.get_integer("fault_transmit_loss_permille"))
{
}

std::string domain_xml(const DomainSettings& s)
{
    const bool loopback = s.interface == "lo";
    const std::string window = std::to_string(s.send_window_bytes) + "B";
    const std::string multicast = s.multicast ? "true" : "false";
    return "<CycloneDDS><Domain id=\"any\"><General><Interfaces><NetworkInterface name=\"" + xml_escaped(s.interface) +
           "\" multicast=\"" + multicast + "\"/></Interfaces><AllowMulticast>" + multicast + "</AllowMulticast>" +
           (loopback ? "<MaxMessageSize>65000B</MaxMessageSize><FragmentSize>8000B</FragmentSize>"
                     : "<MaxMessageSize>14720B</MaxMessageSize><FragmentSize>1344B</FragmentSize>") +
           "</General><Discovery>" + discovery_xml(s) + "</Discovery><Internal>" + fault_xml(s) +
           "<Watermarks><WhcAdaptive>false</WhcAdaptive><WhcLow>1kB</WhcLow><WhcHighInit>" + window +
           "</WhcHighInit><WhcHigh>" + window +
           "</WhcHigh></Watermarks>"
           "<WriterLingerDuration>0s</WriterLingerDuration>"
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
                             "multicast, lease_ms, send_window_bytes or fault_transmit_loss_permille; they must agree");
    }
    ++r.domain->uses;
    id_ = r.domain->settings.id;
    flusher_ = &r.domain->flusher;
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
