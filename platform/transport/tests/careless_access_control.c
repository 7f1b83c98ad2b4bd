/* The engine's access control without its check of this process's own writers: what a hostile peer would run, whose
 * limits then are the checks of others. QX_ACCESS_CONTROL names the real plug-in. */
#include <dds/security/dds_security_api.h>

#include <dlfcn.h>
#include <stdlib.h>

struct ddsi_domaingv;

static void* plugin;

static DDS_Security_boolean allow_any_writer(dds_security_access_control* self,
                                             const DDS_Security_PermissionsHandle permissions,
                                             const DDS_Security_DomainId domain, const DDS_Security_char* topic,
                                             const DDS_Security_Qos* qos,
                                             const DDS_Security_PartitionQosPolicy* partition,
                                             const DDS_Security_DataTags* tags, DDS_Security_SecurityException* refusal)
{
    (void)self, (void)permissions, (void)domain, (void)topic, (void)qos, (void)partition, (void)tags, (void)refusal;
    return 1;
}

int init_access_control(const char* argument, void** context, struct ddsi_domaingv* domain)
{
    plugin = dlopen(getenv("QX_ACCESS_CONTROL"), RTLD_NOW);
    if (plugin == NULL) {
        return -1;
    }
    int (*real)(const char*, void**, struct ddsi_domaingv*) =
        (int (*)(const char*, void**, struct ddsi_domaingv*))dlsym(plugin, "init_access_control");
    const int result = real(argument, context, domain);
    if (result == 0) {
        ((dds_security_access_control*)*context)->check_create_datawriter = allow_any_writer;
    }
    return result;
}

int finalize_access_control(void* context)
{
    int (*real)(void*) = (int (*)(void*))dlsym(plugin, "finalize_access_control");
    return real(context);
}
