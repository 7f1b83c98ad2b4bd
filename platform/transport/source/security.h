/// DDS Security by configuration: six files that say who a context is, and what whoever is known may do.
#pragma once

#include <array>
#include <string>

#include <dds/dds.h>

#include "dds_entity.h"
#include "options.h"

namespace qx::transport {

/// An option of a context that names a file.
struct NamedFile {
    const char* option;
    const char* property; ///< the engine's name of it
    std::string path;     ///< "" when it is not set

    bool operator==(const NamedFile&) const = default;
};

/// Either all are set or none.
class SecurityFiles {
public:
    /// Throws TransportError (LBM_EINVAL) naming what is missing when only some are set.
    explicit SecurityFiles(const Options& context_options);

    bool operator==(const SecurityFiles&) const = default;

    bool given() const noexcept { return !files_.front().path.empty(); }

    /// Throws TransportError (LBM_EINVAL) with option, file and what is wrong with it, as far as can be told without
    /// the engine: unreadable, of another kind, expired, of another authority, not belonging together.
    void check() const;

    const NamedFile& identity_ca() const noexcept { return files_[0]; }
    const NamedFile& identity_certificate() const noexcept { return files_[1]; }
    const NamedFile& private_key() const noexcept { return files_[2]; }
    const NamedFile& permissions_ca() const noexcept { return files_[3]; }
    const NamedFile& governance() const noexcept { return files_[4]; }
    const NamedFile& permissions() const noexcept { return files_[5]; }
    const std::array<NamedFile, 6>& all() const noexcept { return files_; }

private:
    std::array<NamedFile, 6> files_;
};

/// What makes a participant one with that identity. Throws TransportError (LBM_EOS) when the engine's security plug-ins
/// are not there.
DdsQos security_qos(const SecurityFiles& security);

/// A participant with that identity, or without any. Throws TransportError: LBM_EINVAL as `check`, or with the engine's
/// own words; LBM_EOS as `security_qos`.
DdsEntity make_participant(dds_domainid_t domain, const SecurityFiles& security);

} // namespace qx::transport
