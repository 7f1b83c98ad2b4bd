/// A peer with a certificate that does not keep to its permissions, nor to the transport's rules: DDS by hand, with the
/// checks of its own writers switched off. What stops it are the checks of those who hear it.
///
///     hostile_peer <domain tag> <plug-in without those checks> <security option>=<file>...
///
/// It writes data of the topic TRIAGE.ACTION from the partitions t:TRIAGE, *, a: and t:OTHER, and data of OTHER.A from
/// t:OTHER, a round for each line of standard input, answered with "ok".
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "platform/transport/source/domain.h"
#include "platform/transport/source/security.h"
#include "platform/transport/source/wire_qos.h"
#include "support/handmade_writer.h"

using namespace qx::transport;

namespace {

constexpr const char* access_control_path = "dds.sec.access.library.path";

class Hostile {
public:
    Hostile(const Options& options, const char* plugin)
        : domain_(dds_create_domain(0, domain_xml(DomainSettings{options}).c_str()), "dds_create_domain")
        , peer_(participant(SecurityFiles{options}, plugin))
    {
    }

    void write()
    {
        ++round_;
        write(guarded_, "TRIAGE.ACTION", 0);
        write(any_, "TRIAGE.ACTION", 1);
        write(other_, "TRIAGE.ACTION", 2);
        write(other_, "OTHER.A", 3);
        write(mixed_, "TRIAGE.ACTION", 4);
    }

private:
    /// Each source in a stream of its own.
    void write(dds_entity_t writer, const char* topic, std::uint32_t source) const
    {
        test::write_packet(writer, peer_.context(), source, test::frame_of(topic, source, round_));
    }

    static dds_entity_t participant(const SecurityFiles& security, const char* plugin)
    {
        const DdsQos qos = security_qos(security);
        char* real_plugin = nullptr;
        dds_qget_prop(qos.get(), access_control_path, &real_plugin);
        setenv("QX_ACCESS_CONTROL", real_plugin, 1);
        dds_free(real_plugin);
        dds_qset_prop(qos.get(), access_control_path, plugin);
        return check_dds(dds_create_participant(0, qos.get(), nullptr), "dds_create_participant");
    }

    DdsEntity domain_; ///< without the transport's participant: a process's first decides whose plug-ins it has
    test::HandmadePeer peer_;
    dds_entity_t guarded_ = peer_.writer(frames_topic, {"t:TRIAGE"});
    dds_entity_t any_ = peer_.writer(frames_topic, {"*"});
    dds_entity_t mixed_ = peer_.writer(frames_topic, {"a:"});
    dds_entity_t other_ = peer_.writer(frames_topic, {"t:OTHER"}); ///< last: who has met it has heard of the others
    std::uint32_t round_ = 0;
};

Options options_of(const std::vector<std::string>& settings)
{
    Options options{Scope::context};
    for (const std::string& setting : settings) {
        const std::size_t equals = setting.find('=');
        options.set_text(setting.substr(0, equals), setting.substr(equals + 1));
    }
    return options;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        const std::vector<std::string> arguments(argv + 1, argv + argc);
        Options options = options_of({arguments.begin() + 2, arguments.end()});
        options.set_text("domain_tag", arguments.at(0));
        Hostile hostile{options, arguments.at(1).c_str()};
        std::cout << "ok" << std::endl;
        for (std::string line; std::getline(std::cin, line);) {
            hostile.write();
            std::cout << "ok" << std::endl;
        }
    } catch (const std::exception& e) {
        std::cout << "failed: " << e.what() << std::endl;
    }
    std::_Exit(EXIT_SUCCESS);
}
